#include "kb/SearchIndex.h"

#include "common/DataFolder.h"
#include "kb/KnowledgeBaseCatalogue.h"
#include "kb/KnowledgeBaseLayout.h"
#include "kb/NameRules.h"
#include "kb/PageText.h"
#include "kb/SearchQuery.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>

#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace corvane {

namespace {

constexpr int kSchemaVersion = 2;

// Only the start of a huge page file is read for the index (see visiblePageText).
constexpr qint64 kMaxIndexedPageBytes = 8 * 1024 * 1024;
// Titles and addresses are cut there; nobody searches for the rest.
constexpr qsizetype kMaxFieldLength = 2048;

// The deletions wait this long for a harvest's write before marking the index stale.
constexpr int kUpdateBusyTimeoutMs = 2000;

// The columns, in order: scope (filter words, see scopeToken), address, title, visible text.
// The title counts most; the scope never counts. Words of two and three letters are also kept
// as prefixes, so that bre* reads one list instead of merging every word it begins.
const char kCreateSchema[] =
    "CREATE TABLE pages(id INTEGER PRIMARY KEY, kb INTEGER NOT NULL, kb_name TEXT NOT NULL,"
    " term TEXT NOT NULL, page INTEGER NOT NULL, UNIQUE(kb, term, page));"
    "CREATE VIRTUAL TABLE page_text USING fts5(scope, address, title, body,"
    " tokenize = 'unicode61 remove_diacritics 2', prefix = '2 3');";

// Okapi BM25 as FTS5's bm25() computes it, with the weights of the columns above, save for
// where a phrase's rarity comes from. bm25() counts the pages holding each phrase by reading
// them all, which for two common words or a short prefix on a large index took longer than
// the rest of the search. Here each phrase's page count is an argument: an estimate from
// the newest pages (estimatedPageCount), and for a search of one phrase, whose rarity does
// not change the order, none at all.
constexpr double kColumnWeights[] = {0.0, 2.0, 10.0, 1.0};
constexpr char kRankFunction[] = "corvane_rank";

struct RankConstants
{
    double averageLength = 1;
    std::vector<double> idf; // per phrase
};

void rankPage(const Fts5ExtensionApi *api, Fts5Context *row, sqlite3_context *result,
              int argumentCount, sqlite3_value **arguments)
{
    constexpr double k1 = 1.2;
    constexpr double b = 0.75;
    const int phrases = api->xPhraseCount(row);
    auto *constants = static_cast<RankConstants *>(api->xGetAuxdata(row, 0));
    if (!constants) {
        sqlite3_int64 rows = 0;
        sqlite3_int64 tokens = 0;
        if (api->xRowCount(row, &rows) != SQLITE_OK ||
            api->xColumnTotalSize(row, -1, &tokens) != SQLITE_OK) {
            sqlite3_result_error(result, "the index has no totals", -1);
            return;
        }
        constants = new RankConstants;
        constants->averageLength = rows > 0 ? double(tokens) / double(rows) : 1.0;
        for (int phrase = 0; phrase < phrases; ++phrase) {
            const double pages =
                phrase < argumentCount ? sqlite3_value_double(arguments[phrase]) : double(rows);
            const double idf = std::log((double(rows) - pages + 0.5) / (pages + 0.5));
            constants->idf.push_back(idf > 0 ? idf : 1e-6);
        }
        if (api->xSetAuxdata(row, constants, [](void *data) {
                delete static_cast<RankConstants *>(data);
            }) != SQLITE_OK) {
            sqlite3_result_error_nomem(result);
            return;
        }
    }
    std::vector<double> frequency(size_t(phrases), 0.0);
    int instances = 0;
    if (api->xInstCount(row, &instances) != SQLITE_OK) {
        sqlite3_result_error(result, "the index has no positions", -1);
        return;
    }
    for (int i = 0; i < instances; ++i) {
        int phrase = 0, column = 0, offset = 0;
        if (api->xInst(row, i, &phrase, &column, &offset) == SQLITE_OK && phrase < phrases &&
            column >= 0 && column < int(std::size(kColumnWeights)))
            frequency[size_t(phrase)] += kColumnWeights[column];
    }
    int length = 0;
    (void)api->xColumnSize(row, -1, &length);
    double score = 0;
    for (int phrase = 0; phrase < phrases; ++phrase) {
        const double f = frequency[size_t(phrase)];
        score += constants->idf[size_t(phrase)] * f * (k1 + 1) /
                 (f + k1 * (1 - b + b * double(length) / constants->averageLength));
    }
    sqlite3_result_double(result, -score); // FTS5's convention: lower ranks better
}

// A MATCH expression limited to the page's own columns: the filter words in scope stay out
// of the user's reach.
QString inPageColumns(const QString &expression)
{
    return QStringLiteral("{address title body} : (%1)").arg(expression);
}

// Pages read to estimate how many pages hold a phrase: when the newest this many holding it
// span a part of the index, the rest is taken to hold it as densely.
constexpr qint64 kEstimateSample = 1000;

// Private-use characters the page text never holds (visiblePageText spaces them out), so
// they can mark the words found in a snippet.
const QChar kFoundStart(0xE000);
const QChar kFoundEnd(0xE001);

QString staleMarker(const QString &path)
{
    return path + QStringLiteral(".stale");
}

// A filter word standing for a knowledge-base name (k...) or a term (t...): letters and
// digits only, so the index keeps it as one word, and never a word of any page, which
// the query keeps to the other columns.
QString scopeToken(char kind, const QString &name)
{
    const QByteArray hash = QCryptographicHash::hash(name.toUtf8(), QCryptographicHash::Sha1);
    return QLatin1Char(kind) + QString::fromLatin1(hash.toHex().left(16));
}

QString scopeOf(const IndexedPage &page)
{
    return scopeToken('k', page.knowledgeBaseName) + QLatin1Char(' ') + scopeToken('t', page.term);
}

Error indexError(const Error &error)
{
    return fail(QStringLiteral("The search index failed: ") + error.message);
}

Result<QList<StoredPage>> storedPages()
{
    Result<QList<KnowledgeBaseRecord>> bases = KnowledgeBaseCatalogue::knowledgeBases();
    if (!bases)
        return bases.error();
    QList<StoredPage> pages;
    QSet<qint32> seen;
    for (const KnowledgeBaseRecord &base : *bases) {
        if (!seen.contains(base.number))
            pages += storedPagesOf(base);
        seen.insert(base.number);
    }
    return pages;
}

std::optional<QByteArray> readPageHead(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    QByteArray head = file.read(kMaxIndexedPageBytes);
    if (head.size() == kMaxIndexedPageBytes && !file.atEnd())
        head.truncate(withoutCutCharacter(head).size());
    return head;
}

// The snippet as FTS5 marks it, without its marks, and where they stood.
void takeSnippet(const QString &marked, SearchHit &hit)
{
    hit.snippet.reserve(marked.size());
    qsizetype start = -1;
    for (const QChar ch : marked) {
        if (ch == kFoundStart) {
            start = hit.snippet.size();
        } else if (ch == kFoundEnd) {
            if (start >= 0 && hit.snippet.size() > start)
                hit.found.append({start, hit.snippet.size() - start});
            start = -1;
        } else {
            hit.snippet += ch;
        }
    }
}

} // namespace

QString SearchIndex::defaultPath()
{
    return QDir(DataFolder::root()).filePath(QStringLiteral("search.sqlite"));
}

void SearchIndex::markStale(const QString &path)
{
    QFile marker(staleMarker(path));
    (void)marker.open(QIODevice::WriteOnly);
}

bool SearchIndex::isStale() const
{
    return QFileInfo::exists(staleMarker(m_path));
}

void SearchIndex::discard(const QString &path)
{
    for (const char *suffix : {"", "-wal", "-shm", "-journal"})
        QFile::remove(path + QLatin1String(suffix));
}

Result<SearchIndex> SearchIndex::open(const QString &path, int busyTimeoutMs)
{
    for (int attempt = 0;; ++attempt) {
        Result<sqlite::Connection> db = sqlite::Connection::open(path, true, busyTimeoutMs);
        if (!db)
            return fail(QStringLiteral("Cannot open the search index %1: %2")
                            .arg(QDir::toNativeSeparators(path), db.message()));
        {
            SearchIndex index(std::move(db).value(), path);
            Result<void> ready = index.createSchema();
            if (ready)
                ready = index.m_db.addSearchFunction(kRankFunction, rankPage);
            if (ready)
                return index;
            if (attempt > 0 || !index.damaged())
                return indexError(ready.error());
        } // closed before the file goes
        // Derived data: a damaged file is replaced, and filled again before the next search.
        discard(path);
        markStale(path);
    }
}

Result<void> SearchIndex::createSchema()
{
    // Readers go on while a harvest or a rebuild writes; a crash loses at most the last
    // pages, which the stale mark or the next rebuild brings back.
    if (Result<void> wal = m_db.exec("PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL");
        !wal)
        return wal;
    Result<qint64> version = m_db.queryInt("PRAGMA user_version");
    if (!version)
        return version.error();
    if (*version == kSchemaVersion)
        return {};
    Result<sqlite::Transaction> transaction = sqlite::Transaction::begin(m_db);
    if (!transaction)
        return transaction.error();
    version = m_db.queryInt("PRAGMA user_version"); // another program may just have made it
    if (!version)
        return version.error();
    if (*version == kSchemaVersion)
        return {};
    if (Result<void> made = m_db.exec("DROP TABLE IF EXISTS page_text; DROP TABLE IF EXISTS pages");
        !made)
        return made;
    if (Result<void> made = m_db.exec(kCreateSchema); !made)
        return made;
    if (Result<void> made = m_db.exec(
            QByteArray("PRAGMA user_version = " + QByteArray::number(kSchemaVersion)).constData());
        !made)
        return made;
    if (Result<void> committed = transaction.value().commit(); !committed)
        return committed;
    // Knowledge bases stored before the index was made are not in it yet.
    Result<QList<KnowledgeBaseRecord>> bases = KnowledgeBaseCatalogue::knowledgeBases();
    if (!bases || !bases->isEmpty())
        markStale(m_path);
    return {};
}

Result<void> SearchIndex::insert(const IndexedPage &page, const QString &title, QByteArrayView html)
{
    if (Result<void> gone = removeWhere(QStringLiteral("kb = ?1 AND term = ?2 AND page = ?3"),
                                        page.knowledgeBase, page.term, page.page);
        !gone)
        return gone;
    if (Result<void> added = m_db.run(
            QStringLiteral("INSERT INTO pages(kb, kb_name, term, page) VALUES(?1, ?2, ?3, ?4)"),
            qint64(page.knowledgeBase), page.knowledgeBaseName, page.term, qint64(page.page));
        !added)
        return added;
    return m_db.run(QStringLiteral("INSERT INTO page_text(rowid, scope, address, title, body) "
                                   "VALUES(?1, ?2, ?3, ?4, ?5)"),
                    m_db.lastInsertId(), scopeOf(page), page.address.left(kMaxFieldLength),
                    title.left(kMaxFieldLength), visiblePageText(html));
}

template <typename... Values>
Result<void> SearchIndex::removeWhere(const QString &condition, const Values &...values)
{
    if (Result<void> gone = m_db.run(
            QStringLiteral("DELETE FROM page_text WHERE rowid IN (SELECT id FROM pages WHERE %1)")
                .arg(condition),
            values...);
        !gone)
        return gone;
    return m_db.run(QStringLiteral("DELETE FROM pages WHERE %1").arg(condition), values...);
}

Result<void> SearchIndex::addPage(const IndexedPage &page, const QString &title,
                                  QByteArrayView html)
{
    Result<sqlite::Transaction> transaction = sqlite::Transaction::begin(m_db);
    if (!transaction)
        return indexError(transaction.error());
    if (Result<void> added = insert(page, title, html); !added)
        return indexError(added.error());
    if (Result<void> committed = transaction.value().commit(); !committed)
        return indexError(committed.error());
    return {};
}

template <typename... Values>
Result<void> SearchIndex::removeAll(const QString &condition, const Values &...values)
{
    Result<sqlite::Transaction> transaction = sqlite::Transaction::begin(m_db);
    if (!transaction)
        return indexError(transaction.error());
    if (Result<void> gone = removeWhere(condition, values...); !gone)
        return indexError(gone.error());
    if (Result<void> committed = transaction.value().commit(); !committed)
        return indexError(committed.error());
    return {};
}

Result<void> SearchIndex::removePage(qint32 knowledgeBase, const QString &term, qint32 page)
{
    return removeAll(QStringLiteral("kb = ?1 AND term = ?2 AND page = ?3"), qint64(knowledgeBase),
                     term.trimmed(), qint64(page));
}

Result<void> SearchIndex::removeTerm(qint32 knowledgeBase, const QString &term)
{
    return removeAll(QStringLiteral("kb = ?1 AND term = ?2"), qint64(knowledgeBase),
                     term.trimmed());
}

Result<void> SearchIndex::removeKnowledgeBase(qint32 knowledgeBase)
{
    return removeAll(QStringLiteral("kb = ?1"), qint64(knowledgeBase));
}

Result<double> SearchIndex::estimatedPageCount(const QString &phrase)
{
    Result<sqlite::Statement> sample = m_db.prepare(
        QStringLiteral("SELECT count(*), min(rowid) FROM (SELECT rowid FROM page_text WHERE "
                       "page_text MATCH ?1 ORDER BY rowid DESC LIMIT ?2)"));
    if (!sample)
        return sample.error();
    sample.value().bind(1, inPageColumns(phrase));
    sample.value().bind(2, kEstimateSample);
    if (Result<bool> row = sample.value().step(); !row)
        return row.error();
    const qint64 found = sample.value().integer(0);
    if (found < kEstimateSample)
        return double(found);
    // The sample is every page holding the phrase from its lowest one on.
    Result<sqlite::Statement> span = m_db.prepare(
        QStringLiteral("SELECT count(*), (SELECT count(*) FROM pages WHERE id >= ?1) FROM pages"));
    if (!span)
        return span.error();
    span.value().bind(1, sample.value().integer(1));
    if (Result<bool> row = span.value().step(); !row)
        return row.error();
    const double pages = double(span.value().integer(0));
    const double sampled = std::max<double>(1, double(span.value().integer(1)));
    return std::min(pages, double(found) * pages / sampled);
}

qint64 SearchIndex::pageCount()
{
    const Result<qint64> count = m_db.queryInt("SELECT count(*) FROM pages");
    return count ? *count : 0;
}

Result<SearchResults> SearchIndex::search(const QString &query, const SearchFilter &filter,
                                          int limit)
{
    Result<QStringList> phrases = matchPhrases(query);
    if (!phrases)
        return phrases.error();
    QString match = inPageColumns(phrases->join(QLatin1String(" AND ")));
    if (!filter.knowledgeBaseName.isEmpty())
        match += QStringLiteral(" AND scope : \"%1\"")
                     .arg(scopeToken('k', filter.knowledgeBaseName.trimmed()));
    if (!filter.term.isEmpty())
        match += QStringLiteral(" AND scope : \"%1\"").arg(scopeToken('t', filter.term.trimmed()));

    SearchResults results;
    // Ranking costs a few microseconds per matching page; past kRankedCandidates only the
    // newest ones are ranked. One walk from the newest match backwards scores them and tells
    // whether there are more.
    struct Ranked
    {
        double score;
        qint64 id;
    };
    std::vector<Ranked> ranked;
    const qint64 candidates = limit > 0 ? m_rankedCandidates + 1 : -1;
    QString rank = QLatin1String(kRankFunction) + QStringLiteral("(page_text");
    if (phrases->size() > 1) {
        for (const QString &phrase : *phrases) {
            const Result<double> pages = estimatedPageCount(phrase);
            if (!pages)
                return indexError(pages.error());
            rank += QStringLiteral(", %1").arg(*pages);
        }
    }
    rank += QLatin1Char(')');
    Result<sqlite::Statement> scores =
        m_db.prepare(QStringLiteral("SELECT rowid, %1 FROM page_text WHERE page_text MATCH ?1 "
                                    "ORDER BY rowid DESC LIMIT ?2")
                         .arg(rank));
    if (!scores)
        return indexError(scores.error());
    scores.value().bind(1, match);
    scores.value().bind(2, candidates);
    if (Result<void> read = scores.value().forEachRow([&] {
            ranked.push_back({scores.value().real(1), scores.value().integer(0)});
            return true;
        });
        !read)
        return indexError(read.error());
    results.total = qint64(ranked.size());
    if (candidates > 0 && qint64(ranked.size()) == candidates) {
        // Counting them all would cost another walk over every match.
        ranked.pop_back();
        results.manyMatches = true;
    }
    // Lower scores are better; among equals the newer page comes first.
    const auto better = [](const Ranked &a, const Ranked &b) {
        return a.score != b.score ? a.score < b.score : a.id > b.id;
    };
    const auto shown = ranked.begin() + (limit > 0 ? std::min<qsizetype>(limit, ranked.size())
                                                   : qsizetype(ranked.size()));
    std::partial_sort(ranked.begin(), shown, ranked.end(), better);

    // The details of the hits shown, a batch at a time. One query per batch, not per hit: a
    // prefix is looked up whole each time the index is asked, which for a common one costs
    // more than everything else. The rowid range lets the index walk only that stretch;
    // the list (kept from the index by the +) picks the hits in it.
    constexpr qsizetype kBatch = 200;
    for (auto batchStart = ranked.begin(); batchStart != shown;) {
        const auto batchEnd = shown - batchStart > kBatch ? batchStart + kBatch : shown;
        qint64 low = std::numeric_limits<qint64>::max();
        qint64 high = std::numeric_limits<qint64>::min();
        QStringList ids;
        for (auto it = batchStart; it != batchEnd; ++it) {
            low = std::min(low, it->id);
            high = std::max(high, it->id);
            ids.append(QString::number(it->id));
        }
        Result<sqlite::Statement> details = m_db.prepare(
            QStringLiteral(
                "SELECT page_text.rowid, pages.kb, pages.kb_name, pages.term, pages.page, "
                "page_text.address, page_text.title, "
                "snippet(page_text, 3, ?2, ?3, '\u2026', 16) "
                "FROM page_text JOIN pages ON pages.id = page_text.rowid "
                "WHERE page_text MATCH ?1 AND page_text.rowid >= ?4 AND page_text.rowid <= ?5 "
                "AND +page_text.rowid IN (%1)")
                .arg(ids.join(QLatin1Char(','))));
        if (!details)
            return indexError(details.error());
        sqlite::Statement &detail = details.value();
        detail.bind(1, match);
        detail.bind(2, QString(kFoundStart));
        detail.bind(3, QString(kFoundEnd));
        detail.bind(4, low);
        detail.bind(5, high);
        QHash<qint64, SearchHit> found;
        if (Result<void> read = detail.forEachRow([&] {
                SearchHit hit;
                hit.page = {qint32(detail.integer(1)), detail.text(2), detail.text(3),
                            qint32(detail.integer(4)), detail.text(5)};
                hit.title = detail.text(6);
                takeSnippet(detail.text(7), hit);
                found.insert(detail.integer(0), std::move(hit));
                return true;
            });
            !read)
            return indexError(read.error());
        for (auto it = batchStart; it != batchEnd; ++it) {
            if (auto hit = found.find(it->id); hit != found.end())
                results.hits.append(std::move(*hit));
        }
        batchStart = batchEnd;
    }
    return results;
}

Result<RebuildSummary> SearchIndex::rebuild(const RebuildProgress &progress)
{
    const auto failed = [this](const Error &error) {
        markStale(m_path);
        return indexError(error);
    };
    // The write lock first, so that every page stored from now on waits for the new index.
    Result<sqlite::Transaction> transaction = sqlite::Transaction::begin(m_db);
    if (!transaction)
        return indexError(transaction.error());
    QFile::remove(staleMarker(m_path));
    Result<QList<StoredPage>> pages = storedPages();
    if (!pages)
        return failed(pages.error());
    if (Result<void> dropped = m_db.exec("DROP TABLE page_text; DROP TABLE pages"); !dropped)
        return failed(dropped.error());
    if (Result<void> made = m_db.exec(kCreateSchema); !made)
        return failed(made.error());

    RebuildSummary summary;
    const qint64 total = pages->size();
    for (qint64 done = 0; done < total; ++done) {
        if (progress && done % 64 == 0 && !progress(done, total))
            return failed(fail(QStringLiteral("cancelled")));
        const StoredPage &file = pages->at(done);
        const std::optional<QByteArray> html = readPageHead(file.file);
        if (!html) {
            ++summary.missing;
            continue;
        }
        if (Result<void> added = insert(file.page, pageTitle(*html).value_or(QString()), *html);
            !added)
            return failed(added.error());
        ++summary.pages;
    }
    if (Result<void> committed = transaction.value().commit(); !committed)
        return failed(committed.error());
    if (progress)
        progress(total, total);
    // The journal held the whole new index; give the space back.
    (void)m_db.exec("PRAGMA wal_checkpoint(TRUNCATE)");
    return summary;
}

namespace {

template <typename Change>
void follow(Change change)
{
    const QString path = SearchIndex::defaultPath();
    if (!QFileInfo::exists(path))
        return;
    Result<SearchIndex> index = SearchIndex::open(path, kUpdateBusyTimeoutMs);
    if (!index || !change(index.value()))
        SearchIndex::markStale(path);
}

} // namespace

void SearchIndexUpdate::pageRemoved(qint32 knowledgeBase, const QString &term, qint32 page)
{
    follow([&](SearchIndex &index) { return index.removePage(knowledgeBase, term, page).ok(); });
}

void SearchIndexUpdate::termRemoved(qint32 knowledgeBase, const QString &term)
{
    follow([&](SearchIndex &index) { return index.removeTerm(knowledgeBase, term).ok(); });
}

void SearchIndexUpdate::knowledgeBaseRemoved(qint32 knowledgeBase)
{
    follow([&](SearchIndex &index) { return index.removeKnowledgeBase(knowledgeBase).ok(); });
}

Result<SearchResults> searchKnowledgeBases(const QString &query, const SearchFilter &filter,
                                           int limit, const RebuildProgress &rebuildProgress)
{
    // A query with nothing to look for is told at once, before any rebuild.
    if (Result<QString> words = matchExpression(query); !words)
        return words.error();
    for (int attempt = 0;; ++attempt) {
        bool damaged = false;
        {
            Result<SearchIndex> index = SearchIndex::open();
            if (!index)
                return index.error();
            Result<SearchResults> results = [&]() -> Result<SearchResults> {
                if (index->isStale()) {
                    if (Result<RebuildSummary> rebuilt = index.value().rebuild(rebuildProgress);
                        !rebuilt)
                        return rebuilt.error();
                }
                return index.value().search(query, filter, limit);
            }();
            damaged = !results && index->damaged();
            if (results || !damaged || attempt > 0)
                return results;
        }
        SearchIndex::discard();
        SearchIndex::markStale();
    }
}

Result<RebuildSummary> rebuildSearchIndex(const RebuildProgress &progress)
{
    for (int attempt = 0;; ++attempt) {
        {
            Result<SearchIndex> index = SearchIndex::open();
            if (!index)
                return index.error();
            Result<RebuildSummary> rebuilt = index.value().rebuild(progress);
            if (rebuilt || !index->damaged() || attempt > 0)
                return rebuilt;
        }
        SearchIndex::discard();
    }
}

} // namespace corvane
