#include "leads/RunRecorder.h"

#include "common/Sqlite.h"
#include "leads/LeadDatabase.h"

#include <QDateTime>
#include <QHash>
#include <QJsonDocument>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace corvane {

namespace {

struct PendingLead
{
    QString email;
    QString source;
    QString title;
    qint64 seenMs;
};

// The writer's prepared statements, made before its thread starts so a failure shows at once.
struct Statements
{
    sqlite::Statement addSource;
    sqlite::Statement updateSource;
    sqlite::Statement addLead;
    sqlite::Statement updateLead;
    sqlite::Statement addSighting;
    sqlite::Statement endRun;
};

// Sources met recently, so a page's many leads look its address up once. Kept small: a
// run's pages are many, but their leads arrive together.
constexpr qsizetype kSourceCacheLimit = 1024;

} // namespace

// Owns the run's connection once the run has started; only its thread touches it after.
class RunRecorder::Writer
{
public:
    Writer(sqlite::Connection db, qint64 runId, Statements statements, Clock clock)
        : m_db(std::move(db)), m_runId(runId), m_statements(std::move(statements)),
          m_clock(std::move(clock)), m_thread([this] { loop(); })
    {
    }

    ~Writer() { (void)end({}); }

    void add(const QString &email, const QString &source, const QString &title)
    {
        const qint64 now = m_clock();
        std::lock_guard lock(m_mutex);
        if (m_ended)
            return; // nobody would write it
        m_queue.push_back({email, source, title, now});
        // The writer sleeps while nothing waits, and otherwise until its commit time.
        if (m_queue.size() == 1 || m_queue.size() == kBatchLimit)
            m_wake.notify_one();
    }

    Result<void> flush()
    {
        std::unique_lock lock(m_mutex);
        if (m_ended)
            return firstFailure();
        const quint64 ticket = ++m_flushWanted;
        m_wake.notify_one();
        m_flushed.wait(lock, [&] { return m_flushDone >= ticket; });
        return firstFailure();
    }

    Result<void> end(const QString &message)
    {
        {
            std::lock_guard lock(m_mutex);
            if (m_ended)
                return firstFailure();
            m_ended = true;
            m_endMessage = message;
            m_endMs = m_clock();
            m_wake.notify_one();
        }
        m_thread.join();
        std::lock_guard lock(m_mutex);
        return firstFailure();
    }

private:
    bool flushWanted() const { return m_flushWanted > m_flushDone; }

    Result<void> firstFailure() const
    {
        if (m_failure)
            return *m_failure;
        return {};
    }

    void loop()
    {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_wake.wait(lock, [&] { return !m_queue.empty() || m_ended || flushWanted(); });
            if (!m_ended && !flushWanted()) {
                const auto due =
                    std::chrono::steady_clock::now() + std::chrono::milliseconds(kCommitIntervalMs);
                m_wake.wait_until(lock, due, [&] {
                    return m_ended || flushWanted() || m_queue.size() >= kBatchLimit;
                });
            }
            std::vector<PendingLead> batch;
            batch.swap(m_queue);
            const bool ending = m_ended;
            const quint64 flushTicket = m_flushWanted;
            lock.unlock();

            Result<void> written = write(batch, ending);

            lock.lock();
            if (!written && !m_failure)
                m_failure = written.error();
            m_flushDone = flushTicket;
            m_flushed.notify_all();
            if (ending)
                break;
        }
        lock.unlock();
        // Closing the last connection folds the journal back into the file off the caller's
        // thread.
        m_statements.reset();
        m_db.reset();
    }

    Result<void> write(const std::vector<PendingLead> &batch, bool ending)
    {
        if (batch.empty() && !ending)
            return {};
        auto transaction = sqlite::Transaction::begin(*m_db);
        if (!transaction)
            return transaction.error();
        for (const PendingLead &lead : batch) {
            if (auto recorded = writeLead(lead); !recorded) {
                m_sourceIds.clear(); // ids of this batch's new sources are rolled back
                return recorded;
            }
        }
        if (ending) {
            sqlite::Statement &endRun = m_statements->endRun;
            endRun.bind(1, m_endMs);
            endRun.bind(2, m_endMessage);
            endRun.bind(3, m_runId);
            if (auto ended = endRun.run(); !ended)
                return ended;
        }
        auto committed = transaction.value().commit();
        if (!committed)
            m_sourceIds.clear();
        return committed;
    }

    Result<void> writeLead(const PendingLead &lead)
    {
        Statements &sql = *m_statements;
        qint64 sourceId = m_sourceIds.value(lead.source, -1);
        if (sourceId < 0) {
            sql.addSource.bind(1, lead.source);
            sql.addSource.bind(2, lead.title);
            sql.updateSource.bind(1, lead.source);
            sql.updateSource.bind(2, lead.title);
            auto id = addedOrUpdated(sql.addSource, sql.updateSource);
            if (!id)
                return id.error();
            sourceId = *id;
            if (m_sourceIds.size() >= kSourceCacheLimit)
                m_sourceIds.clear();
            m_sourceIds.insert(lead.source, sourceId);
        }
        for (sqlite::Statement *statement : {&sql.addLead, &sql.updateLead}) {
            statement->bind(1, lead.email);
            statement->bind(3, lead.seenMs);
            statement->bind(4, m_runId);
            statement->bind(5, sourceId);
        }
        sql.addLead.bind(2, leadDomain(lead.email));
        auto leadId = addedOrUpdated(sql.addLead, sql.updateLead);
        if (!leadId)
            return leadId.error();
        sql.addSighting.bind(1, m_runId);
        sql.addSighting.bind(2, *leadId);
        sql.addSighting.bind(3, sourceId);
        sql.addSighting.bind(4, lead.seenMs);
        return sql.addSighting.run();
    }

    // The id of the row add inserted, or else of the row update (... RETURNING id) changed.
    Result<qint64> addedOrUpdated(sqlite::Statement &add, sqlite::Statement &update)
    {
        if (auto added = add.run(); !added)
            return added.error();
        if (m_db->changes() > 0)
            return m_db->lastInsertId();
        const Result<bool> row = update.step();
        if (!row)
            return row.error();
        const qint64 id = *row ? update.integer(0) : -1;
        update.reset();
        if (id < 0)
            return fail(QStringLiteral("a record was not stored"));
        return id;
    }

    std::optional<sqlite::Connection> m_db;
    const qint64 m_runId;
    std::optional<Statements> m_statements;
    const Clock m_clock;
    QHash<QString, qint64> m_sourceIds; // writer thread only

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_flushed;
    std::vector<PendingLead> m_queue;
    quint64 m_flushWanted = 0;
    quint64 m_flushDone = 0;
    bool m_ended = false;
    QString m_endMessage;
    qint64 m_endMs = 0;
    std::optional<Error> m_failure;

    std::thread m_thread; // last, so it starts once everything above is in place
};

Result<std::unique_ptr<RunRecorder>> RunRecorder::start(const QString &databasePath, RunKind kind,
                                                        const QJsonObject &job, Clock clock)
{
    if (!clock)
        clock = [] { return QDateTime::currentMSecsSinceEpoch(); };
    auto opened = openLeadConnection(databasePath);
    if (!opened)
        return opened.error();
    sqlite::Connection &db = opened.value();
    // The address index takes new leads in no order; with SQLite's small default cache a
    // large batch would spill and rewrite the same pages many times over.
    (void)db.exec("PRAGMA cache_size = -65536; PRAGMA temp_store = MEMORY");
    const auto problem = [&databasePath](const QString &reason) {
        return fail(QStringLiteral("The lead database %1 cannot record the run: %2")
                        .arg(databasePath, reason));
    };

    // Plain inserts that ignore a row already there, then an update of that row: unlike an
    // upsert, neither needs an undo journal of its own, which halves the writer's work.
    auto addSource =
        db.prepare(QStringLiteral("INSERT OR IGNORE INTO sources(location, title) VALUES(?1, ?2)"));
    auto updateSource = db.prepare(
        QStringLiteral("UPDATE sources SET title = ?2 WHERE location = ?1 RETURNING id"));
    auto addLead = db.prepare(QStringLiteral(
        "INSERT OR IGNORE INTO leads(email, domain, first_seen, last_seen, first_run, last_run,"
        " last_source) VALUES(?1, ?2, ?3, ?3, ?4, ?4, ?5)"));
    // A lead seen again keeps its first sighting; its latest run and time move on, and its
    // latest source is the first one of its latest run.
    auto updateLead = db.prepare(QStringLiteral(
        "UPDATE leads SET last_source = CASE WHEN last_run = ?4 THEN last_source ELSE ?5 END,"
        " last_run = ?4, last_seen = max(last_seen, ?3) WHERE email = ?1 RETURNING id"));
    auto addSighting = db.prepare(QStringLiteral(
        "INSERT OR IGNORE INTO sightings(run, lead, source, seen) VALUES(?1, ?2, ?3, ?4)"));
    auto endRun =
        db.prepare(QStringLiteral("UPDATE runs SET ended = ?1, message = ?2 WHERE id = ?3"));
    for (const Result<sqlite::Statement> *prepared :
         {&addSource, &updateSource, &addLead, &updateLead, &addSighting, &endRun}) {
        if (!*prepared)
            return problem(prepared->message());
    }

    const QString jobText = QString::fromUtf8(QJsonDocument(job).toJson(QJsonDocument::Compact));
    if (auto inserted =
            db.run(QStringLiteral("INSERT INTO runs(kind, job, started) VALUES(?1, ?2, ?3)"),
                   runKindName(kind), jobText, clock());
        !inserted)
        return problem(inserted.message());
    const qint64 runId = db.lastInsertId();

    Statements statements{std::move(addSource).value(),   std::move(updateSource).value(),
                          std::move(addLead).value(),     std::move(updateLead).value(),
                          std::move(addSighting).value(), std::move(endRun).value()};
    auto writer = std::make_unique<Writer>(std::move(opened).value(), runId, std::move(statements),
                                           std::move(clock));
    return std::unique_ptr<RunRecorder>(new RunRecorder(runId, std::move(writer)));
}

RunRecorder::RunRecorder(qint64 runId, std::unique_ptr<Writer> writer)
    : m_runId(runId), m_writer(std::move(writer))
{
}

RunRecorder::~RunRecorder() = default;

void RunRecorder::recordLead(const QString &email, const QString &source, const QString &title)
{
    m_writer->add(email, source, title);
}

Result<void> RunRecorder::flush()
{
    return m_writer->flush();
}

Result<void> RunRecorder::endRun(const QString &message)
{
    return m_writer->end(message);
}

} // namespace corvane
