#pragma once

#include "analysis/LeadFilters.h"
#include "analysis/TextListModel.h"
#include "analysis/TextSet.h"
#include "common/Result.h"
#include "leads/LeadRecords.h"
#include "leads/SessionRecording.h"
#include "scan/FileTypeList.h"
#include "scan/ScanJob.h"

#include <QJsonObject>
#include <QObject>
#include <QSet>
#include <QString>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace corvane {

// The leads scan behind LeadsScanWindow: scans one file or the files of a folder tree whose
// type is checked, lists every new address that passes the ending rule, and saves the list
// as a lead file. It owns the window's state (type list, lead list with each lead's source,
// own lead set, files counter) so that a window only shows it and forwards clicks; the
// command line drives the same object.
//
// The reading runs off the calling thread (ScanJob): start...() returns at once and the
// findings arrive as signals on this object's thread, in the order of the walk; run...() does
// the same work and returns when it is done. Files are read by their content
// (DocumentText.h): web archives, gzip files, office documents and PDF give their text,
// every other file its raw bytes, whatever its size or content.
//
// Each scan is a run of the lead database in the data folder: every new lead is recorded with
// where it was found, and the run ends with the scan. A database that cannot be written never
// stops the scan; it is reported once per run (recordingProblem).
class LeadsScan : public QObject
{
    Q_OBJECT
public:
    static inline const QString kSelectFileMessage =
        QStringLiteral("Please select a file to scan.");
    static inline const QString kFileMissingMessage =
        QStringLiteral("Selected file doesn't exist.");
    static inline const QString kSelectFolderMessage =
        QStringLiteral("Please select a folder to scan.");
    static inline const QString kFolderMissingMessage =
        QStringLiteral("The folder you selected does not exist.");
    static inline const QString kSelectTypeMessage =
        QStringLiteral("Please select atleast one file type.");
    static inline const QString kNoLeadsMessage =
        QStringLiteral("Search didn't produce any Leads.");
    static inline const QString kReplaceQuestion =
        QStringLiteral("File Exist. Do you wish to replace?");
    static inline const QString kFolderFailedLabel = QStringLiteral("cmdScanFolder->");
    static inline const QString kSaveFailedLabel = QStringLiteral("SaveClick->");

    // The address filter list is read once, as the window does when it opens.
    explicit LeadsScan(AddressFilterList addressFilters, QObject *parent = nullptr);
    ~LeadsScan() override;

    // lstExt, loaded from "extractor.ini"; saveFileTypes() when the window closes.
    FileTypeList &fileTypes() { return m_types; }
    void saveFileTypes() const { m_types.save(); }

    // lstEmails, in order of discovery.
    TextListModel &leads() { return m_leads; }
    // Where the lead in that row of lstEmails was found: the file's path, or the target URI
    // of the archived page it came from.
    QString leadSource(qsizetype row) const { return m_sources.value(row); }
    // The scan's own lead set; the harvest takes it over while this scan lives.
    std::shared_ptr<LeadSet> sharedLeadSet() const { return m_leadSet; }

    int filesScanned() const { return m_filesScanned; }
    // lbllistcount and lblscancount.
    QString leadCountText() const;
    QString filesScannedText() const;

    void setChunkSize(qsizetype bytes) { m_settings.chunkBytes = std::max<qsizetype>(1, bytes); }
    qsizetype chunkSize() const { return m_settings.chunkBytes; }
    // Walk depth for folder scans: 0 = the whole tree (what the window uses).
    void setDepth(int depth) { m_settings.depth = depth; }
    DocumentLimits &documentLimits() { return m_settings.limits; }

    // cmdScanFile: the chosen file, whatever its type. Fails with the window's message when
    // none is chosen, or with the reason when it cannot be opened; trouble while reading it
    // is reported through fileError.
    Result<void> runFileScan(const QString &path);
    Result<void> startFileScan(const QString &path);

    // cmdScanFolder: checks in the window's order, then scans by the checked types. A
    // folder that cannot be listed or a file that cannot be read is reported (folderError,
    // fileError) and the scan goes on. The start folder failing to list fails the scan.
    Result<void> runFolderScan(const QString &folder);
    Result<void> startFolderScan(const QString &folder);
    // The same walk with the types given here instead of the checked entries of lstExt.
    Result<void> runFolderScan(const QString &folder, const QSet<QString> &types);

    // Scans are recorded unless this is turned off before they start.
    void setRecording(bool on) { m_recording.setWanted(on); }
    // The lead database's numbers of the runs recorded so far, oldest first.
    const std::vector<qint64> &recordedRuns() const { return m_recording.runs(); }

    // cmdStopScanningFolder (and closing the window).
    void stop();
    bool isScanning() const { return m_active; }

    // cmdremoveselectedemails: removes the given rows of lstEmails; the lead set and the
    // counts stay as they are, so a removed address is not listed again by later scans.
    void removeLeads(QList<int> rows);
    // Removes the rows marked selected in lstEmails.
    void removeSelectedLeads();

    // cmdsavelist. chosenName is the save dialog's answer; the lead file is chosenName +
    // ".csv", always. When it exists, confirmReplace is asked kReplaceQuestion: true
    // replaces it, false leaves it as it is.
    struct SaveOutcome
    {
        enum Kind { NoLeads, Saved, KeptExisting };
        Kind kind = NoLeads;
        QString path;
        QString message() const { return kind == NoLeads ? kNoLeadsMessage : QString(); }
    };
    static QString leadFileName(const QString &chosenName)
    {
        return chosenName + QStringLiteral(".csv");
    }
    Result<SaveOutcome>
    saveLeads(const QString &chosenName,
              const std::function<bool(const QString &question)> &confirmReplace);
    // Writes the listed leads to path as the lead listings' CSV, each with the file it was
    // found in, whole or not at all, and records the export; returns how many. Leads the
    // user removed from the list stay out.
    Result<qint64> saveLeadsCsv(const QString &path);

signals:
    // After each file whose scan completed; filesScanned is the new counter.
    void fileScanned(const QString &path, int filesScanned);
    // Now and then during a scan: the file being read and how far (size 0: unknown).
    void progress(const QString &path, qint64 bytesRead, qint64 size);
    // Leads appended by the last piece of text; the process-wide lead counter grows by n.
    void leadsAdded(int n);
    void fileError(const QString &path, const QString &reason);
    void folderError(const QString &path, const QString &reason);
    // A scan started with start...() has ended (cancelled: by stop()).
    void finished(bool cancelled);
    // The lead database cannot record the scan; the scan goes on.
    void recordingProblem(const QString &message);

private:
    // The checks in the window's order, then the job, not yet running on this object.
    Result<std::unique_ptr<ScanJob>> prepareFile(const QString &path);
    Result<std::unique_ptr<ScanJob>> prepareFolder(const QString &folder,
                                                   const QSet<QString> &types);
    Result<void> start(Result<std::unique_ptr<ScanJob>> prepared);
    Result<void> run(Result<std::unique_ptr<ScanJob>> prepared);
    // Takes in the job's findings; on the event loop, a slice at a time.
    void drain();
    // False when the scan was stopped by a listener on the way.
    bool commit(ScanBatch &batch);
    void reportProgress();
    void end(bool cancelled);
    void beginRecording();
    void endRecording(const QString &message);

    FileTypeList m_types;
    TextListModel m_leads;
    QStringList m_sources; // per row of m_leads
    std::shared_ptr<LeadSet> m_leadSet;
    int m_filesScanned = 0;
    ScanJob::Settings m_settings;

    std::unique_ptr<ScanJob> m_job;
    std::deque<ScanBatch> m_pending; // taken from the job, not yet listed
    bool m_active = false;
    bool m_drainQueued = false;
    QTimer m_progressTimer;

    QJsonObject m_runJob; // what the scan being prepared is recorded as
    SessionRecording m_recording;
};

} // namespace corvane
