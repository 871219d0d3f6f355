#pragma once

#include <QString>

#include <utility>
#include <variant>

namespace corvane {

// What went wrong, in words fit for the user; the edge decides how to show it.
struct Error
{
    QString message;
};

// A value or an Error. The core reports failures through this instead of exceptions.
template <typename T = void>
class [[nodiscard]] Result
{
public:
    Result(T value) : m_state(std::move(value)) {}
    Result(Error error) : m_state(std::move(error)) {}

    bool ok() const { return std::holds_alternative<T>(m_state); }
    explicit operator bool() const { return ok(); }

    const T &value() const & { return std::get<T>(m_state); }
    T &value() & { return std::get<T>(m_state); }
    T &&value() && { return std::get<T>(std::move(m_state)); }
    const T &operator*() const & { return value(); }
    const T *operator->() const { return &value(); }

    const Error &error() const { return std::get<Error>(m_state); }
    const QString &message() const { return error().message; }

private:
    std::variant<T, Error> m_state;
};

template <>
class [[nodiscard]] Result<void>
{
public:
    Result() = default;
    Result(Error error) : m_error(std::move(error)), m_failed(true) {}

    bool ok() const { return !m_failed; }
    explicit operator bool() const { return ok(); }
    const Error &error() const { return m_error; }
    const QString &message() const { return m_error.message; }

private:
    Error m_error;
    bool m_failed = false;
};

inline Error fail(QString message)
{
    return Error{std::move(message)};
}

} // namespace corvane
