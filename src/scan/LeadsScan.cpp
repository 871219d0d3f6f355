#include "scan/LeadsScan.h"

#include "analysis/PageAnalyser.h"
#include "common/LeadFile.h"
#include "leads/LeadDatabase.h"
#include "leads/RunRecorder.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>
#include <limits>

namespace corvane {

namespace {

// Long enough to get real work done per event-loop turn, short enough that a click on
// the stop button is answered without a noticeable wait.
constexpr qint64 kSliceMs = 20;

} // namespace

LeadsScan::LeadsScan(AddressFilterList addressFilters, QObject *parent)
    : QObject(parent), m_types(FileTypeList::load()), m_leadSet(std::make_shared<LeadSet>())
{
    // Only the ending rule applies to local files: no excluded domains or e-mail types, no
    // lead limit.
    m_filters.addressFilters = std::move(addressFilters);
    m_filters.typeMode = EmailTypeMode::Exclude;
    m_filters.leadLimit = std::numeric_limits<qint64>::max();

    connect(&m_scanner, &DirScanner::newfile, this, &LeadsScan::onNewFile);
    connect(&m_scanner, &DirScanner::scanError, this, &LeadsScan::folderError);
    m_tick.setInterval(0);
    connect(&m_tick, &QTimer::timeout, this, &LeadsScan::onTick);
}

LeadsScan::~LeadsScan()
{
    m_scanner.Cancel();
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

Result<void> LeadsScan::runFileScan(const QString &path)
{
    if (auto started = startFileScan(path); !started)
        return started;
    m_tick.stop();
    QString failure;
    const auto connection =
        connect(this, &LeadsScan::fileError,
                [&](const QString &, const QString &reason) { failure = reason; });
    runToEnd();
    disconnect(connection);
    if (!failure.isEmpty())
        return fail(failure);
    return {};
}

Result<void> LeadsScan::startFileScan(const QString &path)
{
    if (m_active)
        return fail(QStringLiteral("A scan is already running."));
    if (path.trimmed().isEmpty())
        return fail(kSelectFileMessage);
    if (auto opened = openFile(path); !opened)
        return opened;
    beginRecording({{QStringLiteral("file"), m_filePath}});
    m_active = true;
    m_tick.start();
    return {};
}

Result<void> LeadsScan::checkFolder(const QString &folder) const
{
    if (m_active)
        return fail(QStringLiteral("A scan is already running."));
    if (folder.isEmpty())
        return fail(kSelectFolderMessage);
    if (!QFileInfo(folder).isDir())
        return fail(kFolderMissingMessage);
    return {};
}

Result<void> LeadsScan::beginFolder(const QString &folder, const QSet<QString> &types)
{
    if (auto checked = checkFolder(folder); !checked)
        return checked;
    if (types.isEmpty())
        return fail(kSelectTypeMessage);
    m_walkTypes = types;
    m_filesScanned = 0;
    if (auto begun = m_scanner.begin(folder); !begun)
        return begun;
    m_walking = true;
    QStringList sortedTypes(types.cbegin(), types.cend());
    sortedTypes.sort();
    beginRecording({{QStringLiteral("folder"), QFileInfo(folder).absoluteFilePath()},
                    {QStringLiteral("types"), QJsonArray::fromStringList(sortedTypes)},
                    {QStringLiteral("depth"), m_scanner.Scandepth()}});
    return {};
}

Result<void> LeadsScan::startFolderScan(const QString &folder)
{
    if (auto begun = beginFolder(folder, m_types.checkedTypes()); !begun)
        return begun;
    m_active = true;
    m_tick.start();
    return {};
}

Result<void> LeadsScan::runFolderScan(const QString &folder)
{
    return runFolderScan(folder, m_types.checkedTypes());
}

Result<void> LeadsScan::runFolderScan(const QString &folder, const QSet<QString> &types)
{
    if (auto begun = beginFolder(folder, types); !begun)
        return begun;
    runToEnd();
    return {};
}

void LeadsScan::stop()
{
    m_scanner.Cancel();
    m_walking = false;
    if (m_file)
        closeFile(false);
    if (m_active) {
        m_active = false;
        m_tick.stop();
        endRecording(kRunStoppedMessage);
        emit finished(true);
    }
}

void LeadsScan::onTick()
{
    QElapsedTimer slice;
    slice.start();
    while (m_active && slice.elapsed() < kSliceMs) {
        if (!advance()) {
            m_active = false;
            m_tick.stop();
            endRecording(filesScannedText() + QLatin1Char('.'));
            emit finished(false);
            return;
        }
    }
}

void LeadsScan::runToEnd()
{
    m_active = true;
    while (advance()) {
    }
    m_active = false;
    endRecording(filesScannedText() + QLatin1Char('.'));
}

bool LeadsScan::advance()
{
    if (m_file) {
        const qint64 read = m_file->read(m_buffer.data(), m_buffer.size());
        if (read < 0) {
            const QString path = m_file->fileName();
            const QString reason = m_file->errorString();
            closeFile(false);
            emit fileError(path, reason);
        } else if (read == 0) {
            closeFile(true);
        } else {
            m_splitter->feed(QByteArrayView(m_buffer.constData(), read));
        }
        return true;
    }
    if (m_walking) {
        m_walking = m_scanner.step();
        return m_walking || m_file;
    }
    return false;
}

void LeadsScan::onNewFile(const QFileInfo &file)
{
    const QString path = file.filePath();
    if (!fileTypeMatches(m_walkTypes, path))
        return;
    if (auto opened = openFile(path); !opened)
        emit fileError(path, opened.message());
}

Result<void> LeadsScan::openFile(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists()) {
        return fail(info.isSymLink() ? QStringLiteral("the link points to nothing")
                                     : QStringLiteral("the file does not exist"));
    }
    // Pipes and devices could block for ever or never end; only plain files hold text.
    if (!info.isFile())
        return fail(QStringLiteral("not a regular file"));
    auto file = std::make_unique<QFile>(path);
    if (!file->open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return fail(file->errorString());
    m_file = std::move(file);
    m_filePath = info.absoluteFilePath();
    m_splitter =
        std::make_unique<AddressRunSplitter>([this](QByteArrayView segment) { extract(segment); });
    m_buffer.resize(m_chunkSize);
    return {};
}

void LeadsScan::closeFile(bool completed)
{
    if (completed)
        m_splitter->finish();
    const QString path = m_file->fileName();
    m_file.reset();
    m_splitter.reset();
    if (completed) {
        ++m_filesScanned;
        emit fileScanned(path, m_filesScanned);
    }
}

void LeadsScan::extract(QByteArrayView segment)
{
    const int added = ExtractEmails(segment, m_filters, *m_leadSet, m_leads);
    if (added <= 0)
        return;
    // The accepted leads are the list's last ones.
    for (qsizetype row = m_leads.count() - added; row < m_leads.count(); ++row) {
        const QString &lead = m_leads.at(row);
        m_leadFiles.insert(lead, m_filePath);
        if (m_recorder)
            m_recorder->recordLead(lead, m_filePath);
    }
    emit leadsAdded(added);
}

std::optional<LeadSource> LeadsScan::leadSource(const QString &lead) const
{
    const auto found = m_leadFiles.constFind(lead);
    if (found == m_leadFiles.cend())
        return std::nullopt;
    return LeadSource{*found, {}};
}

void LeadsScan::beginRecording(const QJsonObject &job)
{
    endRecording(kRunStoppedMessage);
    if (!m_recordingWanted)
        return;
    auto started = RunRecorder::start(LeadDatabase::defaultPath(), RunKind::Scan, job);
    if (!started) {
        emit recordingProblem(started.message());
        return;
    }
    m_recorder = std::move(started).value();
    m_recordedRuns.push_back(m_recorder->runId());
}

void LeadsScan::endRecording(const QString &message)
{
    if (!m_recorder)
        return;
    const Result<void> ended = m_recorder->endRun(message);
    m_recorder.reset();
    if (!ended)
        emit recordingProblem(ended.message());
}

void LeadsScan::removeLeads(QList<int> rows)
{
    std::sort(rows.begin(), rows.end(), std::greater<>());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    for (const int row : rows) {
        if (row >= 0 && row < m_leads.count())
            m_leads.removeAt(row);
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

} // namespace corvane
