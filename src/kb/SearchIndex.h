#pragma once

#include "common/Result.h"
#include "common/Sqlite.h"
#include "kb/StoredPages.h"

#include <QByteArrayView>
#include <QList>
#include <QString>

#include <functional>
#include <memory>

namespace corvane {

struct SearchHit
{
    IndexedPage page;
    QString title;
    // A stretch of the page's text, best around the words found, and where those words
    // stand in it.
    QString snippet;
    struct Span
    {
        qsizetype start = 0;
        qsizetype length = 0;
    };
    QList<Span> found;
};

// Restricts a search to one knowledge base and/or one taxonomy term (exact names); empty
// means every one.
struct SearchFilter
{
    QString knowledgeBaseName;
    QString term;
};

struct SearchResults
{
    QList<SearchHit> hits; // best first
    qint64 total = 0;      // pages that match; at least that many with manyMatches
    // More than kRankedCandidates pages match (and the search has a limit): the hits are the
    // best of the kRankedCandidates most recently stored, and the rest are not counted. This
    // keeps a search for a common word quick on any number of pages.
    bool manyMatches = false;
};

inline constexpr qint64 kRankedCandidates = 4000;

struct RebuildSummary
{
    qint64 pages = 0;   // pages indexed
    qint64 missing = 0; // index records whose page file could not be read
};

// Called now and then while the index is rebuilt; returning false cancels the rebuild,
// which then leaves the index as it was.
using RebuildProgress = std::function<bool(qint64 done, qint64 total)>;

// Full-text index of the stored pages: one SQLite file in the data folder (search.sqlite),
// derived from the knowledge bases' catalogues, index.qdx files and page files, which stay
// the truth; it may be deleted or rebuilt at any time. Each page gives its address, title
// and visible text (see visiblePageText).
//
// An index that may lack pages is stale: made while knowledge bases already held pages, or
// left behind by an update that failed (see SearchIndexUpdate). A stale index is rebuilt
// before the next search (searchKnowledgeBases). A damaged file is replaced by a fresh,
// stale one.
//
// One object per thread; several programs may use the file at once.
class SearchIndex
{
public:
    static QString defaultPath();
    // Opens the index, making it when missing or replacing it when damaged or of another
    // version. busyTimeoutMs: how long to wait for another program's write.
    static Result<SearchIndex> open(const QString &path = defaultPath(),
                                    int busyTimeoutMs = sqlite::kDefaultBusyTimeoutMs);

    // Marks the index at path stale without opening it (works while it is locked).
    static void markStale(const QString &path = defaultPath());
    bool isStale() const;

    // Adds a page, or replaces the one indexed at the same place.
    Result<void> addPage(const IndexedPage &page, const QString &title, QByteArrayView html);
    Result<void> removePage(qint32 knowledgeBase, const QString &term, qint32 page);
    Result<void> removeTerm(qint32 knowledgeBase, const QString &term);
    Result<void> removeKnowledgeBase(qint32 knowledgeBase);

    // The pages matching query (see matchExpression), best first, at most limit of them
    // (0: all). Fails with a message for the user when the query has no word to look for.
    Result<SearchResults> search(const QString &query, const SearchFilter &filter, int limit);

    // Builds the index anew from every knowledge base the catalogues list, in one
    // transaction: other programs keep searching the old index meanwhile.
    Result<RebuildSummary> rebuild(const RebuildProgress &progress = {});

    // How many of the newest matches are ranked (kRankedCandidates unless set).
    void setRankedCandidates(qint64 count) { m_rankedCandidates = count; }

    qint64 pageCount();
    // The last failure found the file damaged; the caller may replace it (discard).
    bool damaged() const { return m_db.lastErrorMeansDamage(); }
    // Removes the index file (and its journal) at path, for a fresh start.
    static void discard(const QString &path = defaultPath());

private:
    SearchIndex(sqlite::Connection db, QString path) : m_db(std::move(db)), m_path(std::move(path))
    {
    }
    Result<void> createSchema();
    Result<void> insert(const IndexedPage &page, const QString &title, QByteArrayView html);
    // About how many pages hold a match phrase, from the newest of them.
    Result<double> estimatedPageCount(const QString &phrase);
    // Removes the pages the condition on table pages selects (inside a transaction).
    template <typename... Values>
    Result<void> removeWhere(const QString &condition, const Values &...values);
    // The same in a transaction of its own.
    template <typename... Values>
    Result<void> removeAll(const QString &condition, const Values &...values);

    sqlite::Connection m_db;
    QString m_path;
    qint64 m_rankedCandidates = kRankedCandidates;
};

// What the store and the deletions call to keep the index current. They never fail the
// work they follow: an index that cannot follow is marked stale instead. A missing index
// is left missing (it is made, and rebuilt, at the next search).
namespace SearchIndexUpdate {
void pageRemoved(qint32 knowledgeBase, const QString &term, qint32 page);
void termRemoved(qint32 knowledgeBase, const QString &term);
void knowledgeBaseRemoved(qint32 knowledgeBase);
} // namespace SearchIndexUpdate

// A search as both front ends run it: on the index in the data folder, rebuilt first when
// it is stale, missing or damaged (rebuildProgress hears of that rebuild).
Result<SearchResults> searchKnowledgeBases(const QString &query, const SearchFilter &filter,
                                           int limit, const RebuildProgress &rebuildProgress = {});

// kb reindex: rebuilds the index in the data folder, replacing a damaged file.
Result<RebuildSummary> rebuildSearchIndex(const RebuildProgress &progress = {});

} // namespace corvane
