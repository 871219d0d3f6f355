#include "leads/SessionRecording.h"

#include "leads/LeadDatabase.h"
#include "leads/LeadFormats.h"

namespace corvane {

Result<void> SessionRecording::begin(RunKind kind, const QJsonObject &job)
{
    const Result<void> ended = end(kRunStoppedMessage);
    if (!m_wanted)
        return ended;
    auto started = RunRecorder::start(LeadDatabase::defaultPath(), kind, job);
    if (!started)
        return started.error();
    m_recorder = std::move(started).value();
    m_runs.push_back(m_recorder->runId());
    return ended;
}

Result<void> SessionRecording::end(const QString &message)
{
    if (!m_recorder)
        return {};
    const Result<void> ended = m_recorder->endRun(message);
    m_recorder.reset();
    return ended;
}

Result<qint64> SessionRecording::saveCsv(const QString &path,
                                         const std::optional<QSet<QString>> &addresses)
{
    if (m_recorder) {
        if (Result<void> flushed = m_recorder->flush(); !flushed)
            return flushed.error();
    }
    return exportRunLeads(LeadDatabase::defaultPath(), m_runs, QStringLiteral("csv"), path,
                          addresses);
}

} // namespace corvane
