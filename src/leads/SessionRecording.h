#pragma once

#include "common/Result.h"
#include "leads/LeadRecords.h"
#include "leads/RunRecorder.h"

#include <QJsonObject>
#include <QSet>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace corvane {

// The runs one session (a window, or one command) records in the lead database of the data
// folder: at most one is open at a time, and the session keeps the number of every run it
// opened so that their leads can be saved together.
class SessionRecording
{
public:
    // Runs are recorded unless this is turned off before the next begin().
    void setWanted(bool on) { m_wanted = on; }

    // Records the start of a run described by job; does nothing when recording is off.
    // Ends the open run first, as stopped, if the caller has not.
    Result<void> begin(RunKind kind, const QJsonObject &job);
    // Ends the open run with message once all it found is written; does nothing when none
    // is open. Fails with the run's first write failure.
    Result<void> end(const QString &message);

    // The open run's recorder; null when none is open.
    RunRecorder *current() const { return m_recorder.get(); }
    // The numbers of the runs recorded so far, oldest first.
    const std::vector<qint64> &runs() const { return m_runs; }
    std::optional<qint64> lastRun() const
    {
        return m_runs.empty() ? std::nullopt : std::optional(m_runs.back());
    }

    // Writes the leads of the session's runs (only the given addresses, if given) to path as
    // the lead listings' CSV with sources, whole or not at all, and records the export;
    // returns how many. What the open run found so far is written first.
    Result<qint64> saveCsv(const QString &path,
                           const std::optional<QSet<QString>> &addresses = std::nullopt);

private:
    bool m_wanted = true;
    std::unique_ptr<RunRecorder> m_recorder;
    std::vector<qint64> m_runs;
};

} // namespace corvane
