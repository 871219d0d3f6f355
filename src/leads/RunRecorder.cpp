#include "leads/RunRecorder.h"

#include "common/Sqlite.h"
#include "leads/LeadDatabase.h"
#include "leads/LeadFormats.h"

#include <QDateTime>
#include <QJsonDocument>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace corvane {

namespace {

// Leads recorded together from one source.
struct PendingPage
{
    QStringList emails;
    QString source;
    QString title;
    qint64 seenMs;
};

// The writer's prepared statements, made before its thread starts so a failure shows at once.
struct Statements
{
    sqlite::Statement addPending;
    sqlite::Statement endRun;
};

// A commit's leads as one pending row (see the lead database's layout): the pages they were
// found at, in order, each [source, title, seen, email, ...]. Pages recorded one after the
// other from one source at one moment share an entry.
QByteArray pendingLeads(const std::vector<PendingPage> &pages)
{
    QByteArray json;
    json.reserve(qsizetype(pages.size()) * 128);
    json += '[';
    const PendingPage *open = nullptr;
    for (const PendingPage &page : pages) {
        if (!open || page.source != open->source || page.title != open->title ||
            page.seenMs != open->seenMs) {
            json += open ? "],[" : "[";
            appendJsonString(json, page.source);
            json += ',';
            appendJsonString(json, page.title);
            json += ',';
            json += QByteArray::number(page.seenMs);
            open = &page;
        }
        for (const QString &email : page.emails) {
            json += ',';
            appendJsonString(json, email);
        }
    }
    json += open ? "]]" : "]";
    return json;
}

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

    void add(const QStringList &emails, const QString &source, const QString &title)
    {
        if (emails.isEmpty())
            return;
        const qint64 now = m_clock();
        std::lock_guard lock(m_mutex);
        if (m_ended)
            return; // nobody would write it
        const bool wasEmpty = m_queue.empty();
        const bool wasShort = m_queuedLeads < kBatchLimit;
        m_queue.push_back({emails, source, title, now});
        m_queuedLeads += emails.size();
        // The writer sleeps while nothing waits, and otherwise until its commit time.
        if (wasEmpty || (wasShort && m_queuedLeads >= kBatchLimit))
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
                    return m_ended || flushWanted() || m_queuedLeads >= kBatchLimit;
                });
            }
            std::vector<PendingPage> batch;
            batch.swap(m_queue);
            m_queuedLeads = 0;
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
        m_statements.reset();
        m_db.reset();
    }

    Result<void> write(const std::vector<PendingPage> &batch, bool ending)
    {
        if (batch.empty() && !ending)
            return {};
        auto transaction = sqlite::Transaction::begin(*m_db);
        if (!transaction)
            return transaction.error();
        if (!batch.empty()) {
            sqlite::Statement &add = m_statements->addPending;
            add.bind(1, m_runId);
            add.bindUtf8(2, pendingLeads(batch));
            if (auto added = add.run(); !added)
                return added;
        }
        if (ending) {
            sqlite::Statement &endRun = m_statements->endRun;
            endRun.bind(1, m_endMs);
            endRun.bind(2, m_endMessage);
            endRun.bind(3, m_runId);
            if (auto ended = endRun.run(); !ended)
                return ended;
        }
        return transaction.value().commit();
    }

    std::optional<sqlite::Connection> m_db;
    const qint64 m_runId;
    std::optional<Statements> m_statements;
    const Clock m_clock;

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_flushed;
    std::vector<PendingPage> m_queue;
    qsizetype m_queuedLeads = 0;
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
    const auto problem = [&databasePath](const QString &reason) {
        return fail(QStringLiteral("The lead database %1 cannot record the run: %2")
                        .arg(databasePath, reason));
    };

    // The run's end waits for its last commit, which is all a harvest should wait for: each
    // commit is synced as it is made (on the writer's thread), and folding the journal into
    // the file is left to the next reader rather than done when the run closes.
    if (auto synced = db.exec("PRAGMA synchronous = FULL"); !synced)
        return problem(synced.message());
    db.leaveJournalOnClose();
    auto addPending = db.prepare(QStringLiteral("INSERT INTO pending(run, leads) VALUES(?1, ?2)"));
    auto endRun =
        db.prepare(QStringLiteral("UPDATE runs SET ended = ?1, message = ?2 WHERE id = ?3"));
    for (const Result<sqlite::Statement> *prepared : {&addPending, &endRun}) {
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

    Statements statements{std::move(addPending).value(), std::move(endRun).value()};
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
    m_writer->add({email}, source, title);
}

void RunRecorder::recordLeads(const QStringList &emails, const QString &source,
                              const QString &title)
{
    m_writer->add(emails, source, title);
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
