#pragma once

#include "common/TimerSource.h"

#include <QObject>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <vector>

class QTcpSocket;

namespace corvane {

// Answers "is the Internet there?" without blocking. Start, every crawl step and the resume
// wait ask it; the answer arrives later as checked(). Tests substitute their own.
class ConnectionCheck : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    // Starts a check; a check already under way answers this request too.
    virtual void check() = 0;
    // Same, and also calls done with the answer once it is known.
    void check(std::function<void(bool connected)> done);

signals:
    void checked(bool connected);

protected:
    // Implementations call this exactly once per finished check.
    void finish(bool connected);

private:
    std::vector<std::function<void(bool)>> m_waiting;
};

// Checks the connection by opening a TCP connection to the host and port of a probe address
// and closing it at once, like forcing a connection to a well-known site. No data is sent.
// The check fails when the host cannot be resolved, refuses the connection or does not
// answer within the time-out.
class ConnectionProbe final : public ConnectionCheck
{
    Q_OBJECT
public:
    static constexpr int DefaultTimeoutMs = 5000;
    // The probe address unless the settings name another (see configuredAddress()).
    static QUrl defaultAddress();
    // [Connection] ProbeAddress in the program's settings, else defaultAddress().
    static QUrl configuredAddress();

    explicit ConnectionProbe(const QUrl &address = configuredAddress(),
                             TimerSource &timers = RealTimerSource::instance(),
                             QObject *parent = nullptr);
    ~ConnectionProbe() override;

    void setAddress(const QUrl &address) { m_address = address; }
    QUrl address() const { return m_address; }
    void setTimeoutMs(int ms) { m_timeoutMs = ms; }
    int timeoutMs() const { return m_timeoutMs; }

    using ConnectionCheck::check;
    void check() override;
    bool isChecking() const { return m_socket != nullptr; }

private:
    void conclude(bool connected);

    QUrl m_address;
    int m_timeoutMs = DefaultTimeoutMs;
    std::unique_ptr<Timer> m_deadline;
    QTcpSocket *m_socket = nullptr;
};

} // namespace corvane
