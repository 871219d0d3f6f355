#pragma once

#include "common/Result.h"
#include "kb/Catalogues.h"
#include "kb/KnowledgeBaseCatalogue.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

namespace corvane {

inline constexpr char kFileInUseMessage[] = "Cannot delete, the file is in use";

// The confirmation dialog's request kinds.
enum class DeleteRequestKind {
    Urls = 1,                // lstURLList
    Keywords = 2,            // lstKeyword, with lstKey and Keyword.qdx
    Taxonomy = 3,            // lstTaxonomy and Taxonomy.qdx
    Domains = 4,             // lstDomains
    ExcludeEmailTypes = 5,   // lstEmail
    IncludeEmailTypes = 6,   // lstIncEmail
    SkipEmailExtraction = 7, // chkEmail
    ReplaceLeadFile = 9,     // the leads scan's lead file
    KnowledgeBase = 10,      // one knowledge base, from the viewer
};

// A list entry as the dialog sees it.
struct DeleteListItem
{
    QString text;
    qint32 data = 0;
    bool selected = false;
    bool operator==(const DeleteListItem &) const = default;
};

// What the caller publishes before showing the dialog; only the fields of its kind count.
struct DeleteRequest
{
    int kind = 0;
    QString question;
    // Kinds 1, 3, 4, 5, 6: the list to edit. Kind 2: lstKeyword (keyword, number).
    QList<DeleteListItem> list;
    // Kind 2: lstKey, every keyword as "group@keyword" with its number.
    QList<DeleteListItem> allKeywords;
    // Kind 9: the chosen name (".csv" is appended) and the leads of lstEmails.
    QString leadFileName;
    QStringList leads;
    // Kind 10: the viewer's selected knowledge base.
    qint32 knowledgeBaseNumber = 0;
    QString knowledgeBaseFolder;
};

// What the dialog changed, for the caller to show.
struct DeleteOutcome
{
    QList<DeleteListItem> list;        // the edited list (kinds 1 to 6)
    QList<DeleteListItem> allKeywords; // kind 2
    std::optional<bool> skipEmail;     // kind 7: the new state of chkEmail
    bool reloadViewer = false;         // kind 10: show the placeholder, counters "0", LoadKB
    QStringList problems;              // steps that failed and were skipped
};

// OK: carries out the request. Steps that fail are skipped and listed in problems, as the
// dialog goes on with the next step; an unknown kind fails with a message.
Result<DeleteOutcome> confirmDelete(const DeleteRequest &request);
// Cancel: nothing changes, except that kind 7 clears chkEmail.
DeleteOutcome declineDelete(const DeleteRequest &request);

// Removes a folder with everything in it, read-only items included. Fails with
// kFileInUseMessage when the system refuses for lack of permission or because a file is in
// use, else with "DeleteKBFiles->" + description. A missing folder is no error.
Result<void> DeleteKBFiles(const QString &folder);

// The viewer's removal of a keyword whose last page was deleted: drops the KBKeyword.qdx
// records of that keyword-folder number (other lines stay as stored), then the folder with
// everything in it. The folder stays when the catalogue cannot be rewritten.
Result<void> removeKeywordFolder(qint32 keywordFolderNumber, const QString &keywordFolder);

// Test seam: the folder remover DeleteKBFiles uses (std::filesystem::remove_all by default).
using FolderRemover = std::function<std::error_code(const QString &folder)>;
void setFolderRemover(FolderRemover remover); // empty restores the default

// The knowledge-base deletion dialog, by mail group.
class MailGroupDeletion
{
public:
    // One lstKB entry: a knowledge base of the selected mail group.
    struct KnowledgeBaseItem
    {
        qint32 number = 0;
        QString name;
        QString folder;
        // "name" + 30 spaces + "!" + folder, as the list shows it.
        QString displayText() const;
    };

    // Opening: loads the mail groups, knowledge bases and keyword folders. The mail group
    // whose number is preselect becomes the selected one.
    Result<void> open(qint32 preselect);

    const QList<CatalogueEntry> &mailGroups() const { return m_mailGroups; }
    qint32 selectedMailGroup() const { return m_selected; }
    void selectMailGroup(qint32 number) { m_selected = number; }
    // lstKB for the selected mail group.
    QList<KnowledgeBaseItem> knowledgeBases() const;

    // cmdDel: deletes the chosen knowledge bases (folders, records); when the mail group has
    // none left, also the mail group and its keywords. A refused folder deletion fails with
    // kFileInUseMessage, anything else with "DelMailGroup->" + description; the operation
    // stops there and files rewritten before stay rewritten.
    Result<void> deleteKnowledgeBases(const QList<qint32> &knowledgeBaseNumbers);

private:
    QList<CatalogueEntry> m_mailGroups;
    QList<QByteArray> m_kbLines;      // KBMailGroup.qdx as stored, blank lines dropped
    QList<QByteArray> m_keywordLines; // KBKeyword.qdx as stored, blank lines dropped
    qint32 m_selected = 0;
};

} // namespace corvane
