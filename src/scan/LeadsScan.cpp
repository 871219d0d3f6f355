#include "scan/LeadsScan.h"

#include "common/LeadFile.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>

namespace corvane {

namespace {

// Long enough to list a good many leads per event-loop turn, short enough that a click on
// the stop button is answered without a noticeable wait.
constexpr qint64 kSliceMs = 20;
constexpr int kProgressMs = 250;

const QString kAlreadyRunning = QStringLiteral("A scan is already running.");

// A file named relative to the working folder is recorded by its full path, so the record
// still finds it later; an archived page's address stays as it is.
QString fullSource(const QString &source)
{
    if (source.contains(QStringLiteral("://")) || !QDir::isRelativePath(source))
        return source;
    return QFileInfo(source).absoluteFilePath();
}

} // namespace

LeadsScan::LeadsScan(AddressFilterList addressFilters, QObject *parent)
    : QObject(parent), m_types(FileTypeList::load()), m_leadSet(std::make_shared<LeadSet>())
{
    // Only the ending rule applies to local files: no excluded domains or e-mail types, no
    // lead limit.
    m_settings.addressFilters = std::move(addressFilters);
    m_progressTimer.setInterval(kProgressMs);
    connect(&m_progressTimer, &QTimer::timeout, this, &LeadsScan::reportProgress);
}

LeadsScan::~LeadsScan()
{
    m_job.reset();
    endRecording(kRunStoppedMessage);
}

QString LeadsScan::leadCountText() const
{
    return QString::number(m_leads.count()) + QStringLiteral(" Leads ");
}

QString LeadsScan::filesScannedText() const
{
    return QString::number(m_filesScanned) + QStringLiteral(" Files Scanned");
}

Result<std::unique_ptr<ScanJob>> LeadsScan::prepareFile(const QString &path)
{
    if (m_active)
        return fail(kAlreadyRunning);
    if (path.trimmed().isEmpty())
        return fail(kSelectFileMessage);
    const QFileInfo info(path);
    if (!info.exists()) {
        return fail(info.isSymLink() ? QStringLiteral("the link points to nothing")
                                     : QStringLiteral("the file does not exist"));
    }
    // Pipes and devices could block for ever or never end; only plain files hold text.
    if (!info.isFile())
        return fail(QStringLiteral("not a regular file"));
    if (QFile probe(path); !probe.open(QIODevice::ReadOnly))
        return fail(probe.errorString());
    auto job = std::make_unique<ScanJob>(m_settings);
    job->startFile(path);
    m_runJob = {{QStringLiteral("file"), info.absoluteFilePath()}};
    return job;
}

Result<std::unique_ptr<ScanJob>> LeadsScan::prepareFolder(const QString &folder,
                                                          const QSet<QString> &types)
{
    if (m_active)
        return fail(kAlreadyRunning);
    if (folder.isEmpty())
        return fail(kSelectFolderMessage);
    if (!QFileInfo(folder).isDir())
        return fail(kFolderMissingMessage);
    if (types.isEmpty())
        return fail(kSelectTypeMessage);
    auto job = std::make_unique<ScanJob>(m_settings);
    if (const Result<void> started = job->startFolder(folder, types); !started)
        return started.error();
    m_filesScanned = 0;
    QStringList sortedTypes(types.cbegin(), types.cend());
    sortedTypes.sort();
    m_runJob = {{QStringLiteral("folder"), QFileInfo(folder).absoluteFilePath()},
                {QStringLiteral("types"), QJsonArray::fromStringList(sortedTypes)},
                {QStringLiteral("depth"), m_settings.depth}};
    return job;
}

Result<void> LeadsScan::runFileScan(const QString &path)
{
    return run(prepareFile(path));
}

Result<void> LeadsScan::startFileScan(const QString &path)
{
    return start(prepareFile(path));
}

Result<void> LeadsScan::startFolderScan(const QString &folder)
{
    return start(prepareFolder(folder, m_types.checkedTypes()));
}

Result<void> LeadsScan::runFolderScan(const QString &folder)
{
    return runFolderScan(folder, m_types.checkedTypes());
}

Result<void> LeadsScan::runFolderScan(const QString &folder, const QSet<QString> &types)
{
    return run(prepareFolder(folder, types));
}

Result<void> LeadsScan::start(Result<std::unique_ptr<ScanJob>> prepared)
{
    if (!prepared)
        return prepared.error();
    m_job = std::move(prepared).value();
    m_active = true;
    beginRecording();
    // Called on a reading thread: the findings are listed on this object's thread.
    m_job->setReadyCallback(
        [this] { QMetaObject::invokeMethod(this, &LeadsScan::drain, Qt::QueuedConnection); });
    m_progressTimer.start();
    QMetaObject::invokeMethod(this, &LeadsScan::drain, Qt::QueuedConnection);
    return {};
}

Result<void> LeadsScan::run(Result<std::unique_ptr<ScanJob>> prepared)
{
    if (!prepared)
        return prepared.error();
    m_job = std::move(prepared).value();
    m_active = true;
    beginRecording();
    while (m_active) {
        std::vector<ScanBatch> batches = m_job->take(true);
        if (batches.empty() && m_job->isDone())
            break;
        for (ScanBatch &batch : batches) {
            if (!commit(batch))
                return {};
        }
    }
    m_active = false;
    m_job.reset();
    endRecording(filesScannedText() + QLatin1Char('.'));
    return {};
}

void LeadsScan::drain()
{
    if (!m_active || !m_job)
        return;
    QElapsedTimer slice;
    slice.start();
    {
        const TextListModel::Batch oneNotice(m_leads);
        for (;;) {
            if (m_pending.empty()) {
                for (ScanBatch &batch : m_job->take(false))
                    m_pending.push_back(std::move(batch));
                if (m_pending.empty())
                    break;
            }
            ScanBatch batch = std::move(m_pending.front());
            m_pending.pop_front();
            if (!commit(batch))
                return;
            if (slice.elapsed() >= kSliceMs) {
                QMetaObject::invokeMethod(this, &LeadsScan::drain, Qt::QueuedConnection);
                return;
            }
        }
    }
    if (m_job->isDone())
        end(false);
}

bool LeadsScan::commit(ScanBatch &batch)
{
    int added = 0;
    for (qsizetype i = 0; i < batch.addresses.size(); ++i) {
        const QString lead = QString::fromLatin1(batch.addresses[i]);
        if (m_leads.contains(lead) || m_leadSet->contains(lead))
            continue;
        m_leadSet->add(lead);
        m_leads.append(lead);
        m_sources.append(batch.sources[i]);
        if (RunRecorder *recorder = m_recording.current())
            recorder->recordLead(lead, fullSource(batch.sources[i]));
        ++added;
    }
    if (added > 0)
        emit leadsAdded(added);
    if (!m_active)
        return false;
    switch (batch.end) {
    case ScanBatch::End::None:
        break;
    case ScanBatch::End::Scanned:
        if (!batch.problem.isEmpty()) {
            emit fileError(batch.path, batch.problem);
            if (!m_active)
                return false;
        }
        ++m_filesScanned;
        emit fileScanned(batch.path, m_filesScanned);
        break;
    case ScanBatch::End::FileFailed:
        emit fileError(batch.path, batch.problem);
        break;
    case ScanBatch::End::FolderFailed:
        emit folderError(batch.path, batch.problem);
        break;
    }
    return m_active;
}

void LeadsScan::reportProgress()
{
    if (!m_job)
        return;
    const ScanActivity now = m_job->activity();
    if (!now.path.isEmpty())
        emit progress(now.path, now.bytesRead, now.size);
}

void LeadsScan::end(bool cancelled)
{
    m_active = false;
    m_progressTimer.stop();
    m_pending.clear();
    if (m_job)
        m_job->cancel();
    m_job.reset();
    endRecording(cancelled ? kRunStoppedMessage : filesScannedText() + QLatin1Char('.'));
    emit finished(cancelled);
}

void LeadsScan::stop()
{
    if (m_active)
        end(true);
}

void LeadsScan::removeLeads(QList<int> rows)
{
    std::sort(rows.begin(), rows.end(), std::greater<>());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    for (const int row : rows) {
        if (row >= 0 && row < m_leads.count()) {
            m_leads.removeAt(row);
            m_sources.removeAt(row);
        }
    }
}

void LeadsScan::removeSelectedLeads()
{
    QList<int> rows;
    for (qsizetype row = 0; row < m_leads.count(); ++row) {
        if (m_leads.isSelected(row))
            rows << int(row);
    }
    removeLeads(rows);
}

Result<LeadsScan::SaveOutcome>
LeadsScan::saveLeads(const QString &chosenName,
                     const std::function<bool(const QString &question)> &confirmReplace)
{
    SaveOutcome outcome;
    if (m_leads.isEmpty())
        return outcome;
    outcome.path = leadFileName(chosenName);
    if (QFileInfo::exists(outcome.path) && !(confirmReplace && confirmReplace(kReplaceQuestion))) {
        outcome.kind = SaveOutcome::KeptExisting;
        return outcome;
    }
    if (auto written = LeadFile::write(outcome.path, m_leads.texts()); !written)
        return written.error();
    outcome.kind = SaveOutcome::Saved;
    return outcome;
}

Result<qint64> LeadsScan::saveLeadsCsv(const QString &path)
{
    const QStringList listed = m_leads.texts();
    return m_recording.saveCsv(path, QSet<QString>(listed.begin(), listed.end()));
}

void LeadsScan::beginRecording()
{
    if (Result<void> begun = m_recording.begin(RunKind::Scan, m_runJob); !begun)
        emit recordingProblem(begun.message());
}

void LeadsScan::endRecording(const QString &message)
{
    if (Result<void> ended = m_recording.end(message); !ended)
        emit recordingProblem(ended.message());
}

} // namespace corvane
