#pragma once

#include "common/Result.h"
#include "leads/LeadRecords.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

namespace corvane {

// Records one harvest or scan in the lead database while it runs.
//
// recordLead(s) only queues the leads (a lock and an append), so it is safe on the UI thread;
// a writer thread of the recorder's own commits the queue every kCommitIntervalMs, or sooner
// once kBatchLimit leads wait. A killed program loses at most that last moment, and the file
// stays sound. The writer only appends the leads; the next read of the database files them
// under their lead, source and run (see LeadDatabase), so a fast crawl pays little for its
// record. Typical use by a run's model:
//
//     auto started = RunRecorder::start(LeadDatabase::defaultPath(), RunKind::Harvest, job);
//     if (started) m_recorder = std::move(started).value(); else <warn: started.message()>
//     m_recorder->recordLeads(addresses, pageUrl, pageTitle); // for each page's new leads
//     m_recorder->endRun(message);                           // when the run ends
class RunRecorder
{
public:
    static constexpr int kCommitIntervalMs = 250;
    static constexpr int kBatchLimit = 4096;

    // Milliseconds since 1970-01-01 UTC; tests pass their own.
    using Clock = std::function<qint64()>;

    // Records the start of a run described by job and returns its recorder.
    static Result<std::unique_ptr<RunRecorder>> start(const QString &databasePath, RunKind kind,
                                                      const QJsonObject &job, Clock clock = {});

    // Ends the run without a message if endRun was not called.
    ~RunRecorder();
    RunRecorder(const RunRecorder &) = delete;
    RunRecorder &operator=(const RunRecorder &) = delete;

    qint64 runId() const { return m_runId; }

    // A lead found in source (a page address or a file path) with that page's title (empty
    // for files), seen now. Addresses are kept exactly as given. The first source a lead is
    // found at in a run is the one kept for that run. Ignored once the run has ended.
    void recordLead(const QString &email, const QString &source, const QString &title = {});
    // The same for several leads of one page, in one step.
    void recordLeads(const QStringList &emails, const QString &source, const QString &title = {});

    // Waits until everything recorded so far is committed. Fails with the run's first write
    // failure, if any (later leads are still written after a failure).
    Result<void> flush();

    // Commits what is queued together with the run's end (time and message) and stops the
    // writer. Fails with the run's first write failure. Calls after the first do nothing.
    Result<void> endRun(const QString &message);

private:
    class Writer;
    RunRecorder(qint64 runId, std::unique_ptr<Writer> writer);

    qint64 m_runId;
    std::unique_ptr<Writer> m_writer;
};

} // namespace corvane
