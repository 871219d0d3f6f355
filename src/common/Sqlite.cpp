#include "common/Sqlite.h"

#include <sqlite3.h>

#include <utility>

namespace corvane::sqlite {

namespace {

QString messageOf(sqlite3 *db)
{
    return db ? QString::fromUtf8(sqlite3_errmsg(db)) : QStringLiteral("out of memory");
}

} // namespace

Result<Connection> Connection::open(const QString &path, bool create, int busyTimeoutMs)
{
    // Each connection is used by one thread at a time (the recorder hands its connection to
    // its writer thread), so SQLite's per-connection mutex is not needed.
    int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX;
    if (create)
        flags |= SQLITE_OPEN_CREATE;
    // SQLite's memory statistics take a process-wide lock on every allocation, which the
    // recorder's writer pays on each row; nothing here reads them. The setting only applies
    // before SQLite's first use, and a failure leaves them on.
    static const bool statisticsOff = sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0) == SQLITE_OK;
    (void)statisticsOff;
    sqlite3 *db = nullptr;
    const int code = sqlite3_open_v2(path.toUtf8().constData(), &db, flags, nullptr);
    Connection connection(db);
    if (code != SQLITE_OK)
        return fail(messageOf(db));
    sqlite3_extended_result_codes(db, 1);
    sqlite3_busy_timeout(db, busyTimeoutMs);
    // A file edited by hand must not reach anything outside itself through its schema.
    sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    return connection;
}

Connection::Connection(Connection &&other) noexcept : m_db(std::exchange(other.m_db, nullptr)) {}

Connection &Connection::operator=(Connection &&other) noexcept
{
    if (this != &other) {
        sqlite3_close_v2(m_db);
        m_db = std::exchange(other.m_db, nullptr);
    }
    return *this;
}

Connection::~Connection()
{
    sqlite3_close_v2(m_db);
}

Result<void> Connection::exec(const char *sql)
{
    char *error = nullptr;
    if (sqlite3_exec(m_db, sql, nullptr, nullptr, &error) != SQLITE_OK) {
        const QString message = error ? QString::fromUtf8(error) : messageOf(m_db);
        sqlite3_free(error);
        return fail(message);
    }
    return {};
}

Result<Statement> Connection::prepare(const QString &sql)
{
    const QByteArray utf8 = sql.toUtf8();
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v3(m_db, utf8.constData(), int(utf8.size()), SQLITE_PREPARE_PERSISTENT,
                           &statement, nullptr) != SQLITE_OK)
        return fail(messageOf(m_db));
    return Statement(m_db, statement);
}

Result<qint64> Connection::queryInt(const char *sql)
{
    auto prepared = prepare(QString::fromUtf8(sql));
    if (!prepared)
        return prepared.error();
    Statement &statement = prepared.value();
    const Result<bool> row = statement.step();
    if (!row)
        return row.error();
    return *row ? statement.integer(0) : qint64(0);
}

qint64 Connection::lastInsertId() const
{
    return sqlite3_last_insert_rowid(m_db);
}

qint64 Connection::changes() const
{
    return sqlite3_changes64(m_db);
}

QString Connection::lastError() const
{
    return messageOf(m_db);
}

bool Connection::lastErrorMeansDamage() const
{
    const int code = sqlite3_errcode(m_db) & 0xFF;
    return code == SQLITE_CORRUPT || code == SQLITE_NOTADB;
}

bool Connection::lastErrorMeansBusy() const
{
    const int code = sqlite3_errcode(m_db) & 0xFF;
    return code == SQLITE_BUSY || code == SQLITE_LOCKED;
}

void Connection::setBusyTimeout(int milliseconds)
{
    sqlite3_busy_timeout(m_db, milliseconds);
}

void Connection::leaveJournalOnClose()
{
    sqlite3_db_config(m_db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

Result<void> Connection::addSearchFunction(const char *name, SearchFunction function)
{
    // FTS5 hands its API out through a pointer bound to "SELECT fts5(?1)".
    fts5_api *api = nullptr;
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v2(m_db, "SELECT fts5(?1)", -1, &statement, nullptr) != SQLITE_OK)
        return fail(messageOf(m_db));
    sqlite3_bind_pointer(statement, 1, static_cast<void *>(&api), "fts5_api_ptr", nullptr);
    sqlite3_step(statement);
    sqlite3_finalize(statement);
    if (!api)
        return fail(QStringLiteral("this SQLite has no full-text search"));
    if (api->xCreateFunction(api, name, nullptr, function, nullptr) != SQLITE_OK)
        return fail(messageOf(m_db));
    return {};
}

Result<void> Connection::addTextFunction(const char *name, QString (*function)(const QString &))
{
    const auto call = [](sqlite3_context *context, int, sqlite3_value **arguments) {
        const auto *text = sqlite3_value_text(arguments[0]);
        if (!text) {
            sqlite3_result_null(context);
            return;
        }
        const auto apply =
            reinterpret_cast<QString (*)(const QString &)>(sqlite3_user_data(context));
        const QByteArray answer = apply(QString::fromUtf8(reinterpret_cast<const char *>(text),
                                                          sqlite3_value_bytes(arguments[0])))
                                      .toUtf8();
        sqlite3_result_text64(context, answer.constData(), sqlite3_uint64(answer.size()),
                              SQLITE_TRANSIENT, SQLITE_UTF8);
    };
    if (sqlite3_create_function_v2(
            m_db, name, 1, SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS,
            reinterpret_cast<void *>(function), call, nullptr, nullptr, nullptr) != SQLITE_OK)
        return fail(messageOf(m_db));
    return {};
}

Statement::Statement(Statement &&other) noexcept
    : m_db(other.m_db), m_statement(std::exchange(other.m_statement, nullptr))
{
}

Statement &Statement::operator=(Statement &&other) noexcept
{
    if (this != &other) {
        sqlite3_finalize(m_statement);
        m_db = other.m_db;
        m_statement = std::exchange(other.m_statement, nullptr);
    }
    return *this;
}

Statement::~Statement()
{
    sqlite3_finalize(m_statement);
}

void Statement::bind(int index, qint64 value)
{
    sqlite3_bind_int64(m_statement, index, value);
}

void Statement::bind(int index, const QString &text)
{
    const QByteArray utf8 = text.toUtf8();
    sqlite3_bind_text64(m_statement, index, utf8.constData(), sqlite3_uint64(utf8.size()),
                        SQLITE_TRANSIENT, SQLITE_UTF8);
}

void Statement::bindUtf8(int index, const QByteArray &text)
{
    sqlite3_bind_text64(m_statement, index, text.constData(), sqlite3_uint64(text.size()),
                        SQLITE_TRANSIENT, SQLITE_UTF8);
}

void Statement::bindNull(int index)
{
    sqlite3_bind_null(m_statement, index);
}

Result<bool> Statement::step()
{
    switch (sqlite3_step(m_statement)) {
    case SQLITE_ROW:
        return true;
    case SQLITE_DONE:
        return false;
    default: {
        // The statement's error lives on the connection until the reset clears it.
        const QString message = messageOf(m_db);
        sqlite3_reset(m_statement);
        return fail(message);
    }
    }
}

Result<void> Statement::run()
{
    return forEachRow([] { return true; });
}

Result<void> Statement::forEachRow(const std::function<bool()> &visit)
{
    for (;;) {
        const Result<bool> row = step();
        if (!row)
            return row.error();
        if (!*row || !visit())
            break;
    }
    reset();
    return {};
}

void Statement::reset()
{
    sqlite3_reset(m_statement);
}

bool Statement::isNull(int column) const
{
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

qint64 Statement::integer(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

double Statement::real(int column) const
{
    return sqlite3_column_double(m_statement, column);
}

QString Statement::text(int column) const
{
    const auto *utf8 = reinterpret_cast<const char *>(sqlite3_column_text(m_statement, column));
    return QString::fromUtf8(utf8, sqlite3_column_bytes(m_statement, column));
}

QByteArray Statement::bytes(int column) const
{
    const auto *data = static_cast<const char *>(sqlite3_column_blob(m_statement, column));
    return QByteArray(data, sqlite3_column_bytes(m_statement, column));
}

Result<Transaction> Transaction::begin(Connection &db)
{
    if (auto begun = db.exec("BEGIN IMMEDIATE"); !begun)
        return begun.error();
    return Transaction(&db);
}

Transaction::Transaction(Transaction &&other) noexcept : m_db(std::exchange(other.m_db, nullptr)) {}

Transaction::~Transaction()
{
    if (m_db)
        (void)m_db->exec("ROLLBACK");
}

Result<void> Transaction::commit()
{
    Connection *db = std::exchange(m_db, nullptr);
    if (auto committed = db->exec("COMMIT"); !committed) {
        (void)db->exec("ROLLBACK");
        return committed;
    }
    return {};
}

} // namespace corvane::sqlite
