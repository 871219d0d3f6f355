#pragma once

#include "common/Result.h"
#include "kb/Catalogues.h"
#include "kb/KnowledgeBaseCatalogue.h"
#include "kb/RecordCursor.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <variant>

namespace corvane {

inline constexpr char kFileInUseMessage[] = "Cannot delete, the file is in use";

// A list entry as the confirmation dialog sees it.
struct DeleteListItem
{
    QString text;
    qint32 data = 0;
    bool selected = false;
    bool operator==(const DeleteListItem &) const = default;
};

// The deletions the confirmation dialog carries out once the user agrees. Each names only
// what it needs; the question shown with it is the caller's.

// The selected entries of one of the harvest window's own lists (start URLs, excluded
// domains, excluded or included e-mail types): nothing on disk changes.
struct ListEntriesDeletion
{
    QList<DeleteListItem> list;
};

// The selected taxonomy terms; Taxonomy.qdx is rewritten from the terms that stay.
// Knowledge-base folders already named after a removed term are not touched.
struct TaxonomyDeletion
{
    QList<DeleteListItem> terms;
};

// The selected keywords of the shown mail group. allKeywords holds every keyword of
// Keyword.qdx as "group@keyword" with its number; Keyword.qdx is rewritten from it, so the
// keywords of other mail groups stay.
struct KeywordDeletion
{
    QList<DeleteListItem> groupKeywords;
    QList<DeleteListItem> allKeywords;
};

// One knowledge base, as the viewer lists it: its records in both knowledge-base
// catalogues and its pages in the search index, then its folder, which must be the one the
// catalogue records for it and a knowledge-base folder by KnowledgeBaseLayout's rule.
struct KnowledgeBaseDeletion
{
    qint32 number = 0;
    QString folder;
};

using Deletion =
    std::variant<ListEntriesDeletion, TaxonomyDeletion, KeywordDeletion, KnowledgeBaseDeletion>;

// What a deletion changed, for the caller to show.
struct DeletionOutcome
{
    QList<DeleteListItem> list;        // what stays of the edited list (entries, terms, keywords)
    QList<DeleteListItem> allKeywords; // keywords: every keyword that stays
    bool reloadViewer = false;         // knowledge base: the viewer shows what is left
    QStringList problems;              // steps that failed and were skipped
};

// Carries out a deletion the user agreed to. Steps that fail are skipped and listed in
// problems, so the rest still happens.
DeletionOutcome carryOut(const Deletion &deletion);

// Removes a folder with everything in it, read-only items included. Fails with
// kFileInUseMessage when the system refuses for lack of permission or because a file is in
// use, else with "DeleteKBFiles->" + description. A missing folder is no error.
Result<void> DeleteKBFiles(const QString &folder);

// What "Delete Page" does with the page on show, by the rows of the keyword's index and the
// number of keywords the knowledge base has. The last page of a keyword takes the keyword
// folder with it; the last page of the only keyword would leave an empty knowledge base, so
// the user is asked whether to delete the whole knowledge base instead.
namespace PageDeletion {
struct Nothing
{
};
struct DeleteRow
{
};
struct RemoveKeyword
{
};
struct OfferKnowledgeBase
{
};
using Step = std::variant<Nothing, DeleteRow, RemoveKeyword, OfferKnowledgeBase>;
Step stepFor(int indexRows, int keywordCount);
} // namespace PageDeletion

// The removal of a keyword whose last page was deleted: drops the KBKeyword.qdx records of
// that keyword-folder number (other lines stay as stored) and its pages from the search
// index, then the keyword folder with everything in it. Refused when the term does not name a
// folder inside the knowledge base; the folder stays when the catalogue cannot be rewritten.
Result<void> removeKeywordFolder(const QString &knowledgeBaseFolder,
                                 const KeywordFolderRecord &keyword);

// Delete Page with rows to spare: the row goes from the keyword's index.qdx with its page
// file (RecordCursor::DeleteRow), and the page from the search index.
Result<void> deletePageRow(RecordCursor &cursor, int row, qint32 knowledgeBase,
                           const QString &term);

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

    // cmdDel: deletes the chosen knowledge bases (folders, records, indexed pages); when the
    // mail group has none left, also the mail group and its keywords. A refused folder
    // deletion fails with kFileInUseMessage, anything else with "DelMailGroup->" +
    // description (a record naming no knowledge-base folder included); the operation stops
    // there and files rewritten before stay rewritten.
    Result<void> deleteKnowledgeBases(const QList<qint32> &knowledgeBaseNumbers);

private:
    QList<CatalogueEntry> m_mailGroups;
    QList<QByteArray> m_kbLines;      // KBMailGroup.qdx as stored, blank lines dropped
    QList<QByteArray> m_keywordLines; // KBKeyword.qdx as stored, blank lines dropped
    qint32 m_selected = 0;
};

} // namespace corvane
