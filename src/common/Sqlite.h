#pragma once

#include "common/Result.h"

#include <QByteArrayView>
#include <QString>

#include <functional>

struct sqlite3;
struct sqlite3_stmt;
struct sqlite3_context;
struct sqlite3_value;
struct Fts5Context;
struct Fts5ExtensionApi;

// Small owners of the SQLite C API's handles: each closes or finalizes what it holds, and
// every failure comes back as a Result carrying SQLite's own words.
namespace corvane::sqlite {

class Statement;

// How long a connection waits for another one's write lock unless told otherwise.
inline constexpr int kDefaultBusyTimeoutMs = 5000;

class Connection
{
public:
    // Opens (and with create, makes) the file at path; the connection waits up to
    // busyTimeoutMs for another connection's write lock before giving up.
    static Result<Connection> open(const QString &path, bool create,
                                   int busyTimeoutMs = kDefaultBusyTimeoutMs);

    Connection(Connection &&other) noexcept;
    Connection &operator=(Connection &&other) noexcept;
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;
    ~Connection();

    // Runs one or more statements whose rows, if any, are not wanted.
    Result<void> exec(const char *sql);
    Result<Statement> prepare(const QString &sql);
    // Prepares sql, binds values to ?1, ?2, ... and runs it to its end.
    template <typename... Values>
    Result<void> run(const QString &sql, const Values &...values);
    // The single integer a query such as "PRAGMA user_version" answers.
    Result<qint64> queryInt(const char *sql);

    qint64 lastInsertId() const;
    // Rows the last INSERT, UPDATE or DELETE changed.
    qint64 changes() const;
    QString lastError() const;
    // The last failure found the file damaged or not a database at all.
    bool lastErrorMeansDamage() const;
    // The last failure was another connection's lock outlasting the busy time-out.
    bool lastErrorMeansBusy() const;
    void setBusyTimeout(int milliseconds);
    // Leaves the write-ahead log for the next connection to fold into the file, rather than
    // doing so, with its syncs, when this connection closes.
    void leaveJournalOnClose();
    // Makes name(text) callable from this connection's SQL; function gives the same answer
    // for the same text and touches nothing else. A NULL argument gives NULL.
    Result<void> addTextFunction(const char *name, QString (*function)(const QString &));
    // Makes name(table, ...) callable in full-text queries of this connection, as FTS5's own
    // bm25() and snippet() are.
    using SearchFunction = void (*)(const Fts5ExtensionApi *api, Fts5Context *row,
                                    sqlite3_context *result, int argumentCount,
                                    sqlite3_value **arguments);
    Result<void> addSearchFunction(const char *name, SearchFunction function);

private:
    explicit Connection(sqlite3 *db) : m_db(db) {}
    sqlite3 *m_db = nullptr;
};

class Statement
{
public:
    Statement(Statement &&other) noexcept;
    Statement &operator=(Statement &&other) noexcept;
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;
    ~Statement();

    // Parameters count from 1, as in SQL's ?1.
    void bind(int index, qint64 value);
    void bind(int index, const QString &text);
    void bindUtf8(int index, const QByteArray &text);
    void bindNull(int index);

    // True while a row is there to read, false once the statement is done.
    Result<bool> step();
    // Runs a statement to its end, ignoring any rows.
    Result<void> run();
    // Steps through the rows, calling visit on each until it returns false.
    Result<void> forEachRow(const std::function<bool()> &visit);
    // Ready to run again; bindings stay unless rebound.
    void reset();

    // Columns count from 0.
    bool isNull(int column) const;
    qint64 integer(int column) const;
    double real(int column) const;
    QString text(int column) const;
    QByteArray bytes(int column) const;

private:
    friend class Connection;
    Statement(sqlite3 *db, sqlite3_stmt *statement) : m_db(db), m_statement(statement) {}
    sqlite3 *m_db = nullptr;
    sqlite3_stmt *m_statement = nullptr;
};

template <typename... Values>
Result<void> Connection::run(const QString &sql, const Values &...values)
{
    auto prepared = prepare(sql);
    if (!prepared)
        return prepared.error();
    int index = 0;
    (prepared.value().bind(++index, values), ...);
    return prepared.value().run();
}

// A transaction that rolls back unless committed. Immediate takes the write lock at once,
// so two writers never both read, then fail to upgrade.
class Transaction
{
public:
    static Result<Transaction> begin(Connection &db);
    Transaction(Transaction &&other) noexcept;
    Transaction &operator=(Transaction &&) = delete;
    Transaction(const Transaction &) = delete;
    ~Transaction();

    Result<void> commit();

private:
    explicit Transaction(Connection *db) : m_db(db) {}
    Connection *m_db = nullptr;
};

} // namespace corvane::sqlite
