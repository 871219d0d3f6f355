#pragma once

#include "analysis/TextListModel.h"
#include "common/Result.h"
#include "scan/LeadSheetLoader.h"

#include <QObject>
#include <QString>
#include <QStringList>

namespace corvane {

// The export behind VCardExportWindow: leads read from a lead file or sheet into lstEmail,
// the category list, and the export of every listed lead as a contact (one vCard file that
// Outlook and other mail programs import). A window shows the list and forwards clicks; the
// command line drives the same object.
class LeadExport : public QObject
{
    Q_OBJECT
public:
    static inline const QString kSelectFileMessage =
        QStringLiteral("Please select a file to extract leads.");
    static inline const QString kNoLeadsMessage =
        QStringLiteral("There are no leads to export to outlook.");
    static inline const QString kCompleteMessage =
        QStringLiteral("Exporting leads to outlook is complete.");

    explicit LeadExport(QObject *parent = nullptr);

    // lstEmail: entry 0 is exported next.
    TextListModel &leads() { return m_leads; }

    // cmdFetch: appends the leads of a lead file or sheet (ReadWorkbook) to lstEmail (a
    // second fetch of the same file lists them twice) and returns the number of entries for
    // lblTotLeads. Fails with kSelectFileMessage on an empty path. For the command line.
    Result<qsizetype> fetch(const QString &path);
    // The same, read on a worker thread for the window: fetchProgress while reading, then
    // fetched (the number of entries) or fetchFailed.
    Result<void> startFetch(const QString &path);
    bool isFetching() const { return m_loader.isLoading(); }

    // cmbCategory, as loaded; reload after addCategory (cmdAddCat).
    const QStringList &categories() const { return m_categories; }
    void reloadCategories();
    bool addCategory(const QString &name);

    // cmdImport: writes every listed lead as a contact of the trimmed category to vcfPath
    // and empties the list. Returns the message to show: kNoLeadsMessage when the list is
    // empty (nothing written), kCompleteMessage when done. On a write failure the list
    // stays as it was. The export is recorded in the lead database of the data folder.
    Result<QString> exportTo(const QString &vcfPath, const QString &category);

signals:
    void fetchProgress(int rowsRead);
    void fetched(qsizetype entries);
    void fetchFailed(const QString &message);
    // During exportTo, after each contact.
    void progress(int exported, int total);
    // The export was written but could not be recorded in the lead database.
    void recordingProblem(const QString &message);

private:
    LeadSheetLoader m_loader;
    TextListModel m_leads;
    QStringList m_categories;
};

} // namespace corvane
