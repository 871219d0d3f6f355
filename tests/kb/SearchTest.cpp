#include "support/TestSupport.h"

#include "common/Sqlite.h"
#include "kb/Catalogues.h"
#include "kb/Deletion.h"
#include "kb/KnowledgeBaseLayout.h"
#include "kb/PageStore.h"
#include "kb/PageText.h"
#include "kb/SearchIndex.h"
#include "kb/SearchQuery.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

using namespace corvane;
using namespace corvane::test;

namespace {

const QStringList kWords = {"amber", "basalt", "cobalt", "dune", "ember",
                            "fjord", "garnet", "heron",  "iris", "jade"};

// Pages as "knowledge base/term/page", a set gtest prints readably.
using Pages = std::set<std::string>;

std::string key(const IndexedPage &page)
{
    return QStringLiteral("%1/%2/%3")
        .arg(page.knowledgeBaseName, page.term)
        .arg(page.page)
        .toStdString();
}

Pages common(const Pages &a, const Pages &b)
{
    Pages both;
    std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::inserter(both, both.end()));
    return both;
}

// Knowledge bases filled through the real store with pages whose words are known: each page
// holds a random choice of kWords in one paragraph (in that order), "café" written as a
// character reference on some, and a word in its script that no reader sees; every fifth
// page is long, its words a hundred thousand characters down.
class Searched : public ::testing::Test
{
protected:
    struct Stored
    {
        IndexedPage where;
        QStringList words; // in page order, title words first
    };

    void harvest(const QString &base, const QStringList &terms, int pages)
    {
        PageStore store([] { return QDateTime(QDate(2026, 3, 4), QTime(10, 20)); });
        PageStoreSettings settings;
        settings.root = home.file(QStringLiteral("KB"));
        settings.baseName = base;
        settings.selectedTerms = terms;
        store.setSettings(settings);
        for (int n = 0; n < pages; ++n) {
            const QString term = terms[n % terms.size()];
            QStringList words;
            for (const QString &word : kWords) {
                if (m_random.bounded(3) == 0)
                    words.append(word);
            }
            const bool cafe = m_random.bounded(2) == 0;
            const bool longPage = stored.size() % 5 == 4;
            const QString address = QStringLiteral("http://host%1.test/p").arg(stored.size());
            const QString html =
                QStringLiteral("<html><head><title>%1 page</title><script>var zircon = 1;"
                               "</script></head><body>%2<p>%3%4</p></body></html>")
                    .arg(term,
                         longPage ? QStringLiteral("<p>%1</p>")
                                        .arg(QStringLiteral("filler ").repeated(15000))
                                  : QString(),
                         words.join(QLatin1Char(' ')),
                         cafe ? QStringLiteral(" caf&eacute;") : QString());
            const Result<SaveOutcome> outcome = store.SaveTaxonomy(address, html.toUtf8());
            ASSERT_TRUE(outcome && outcome->stored() && outcome->problems.isEmpty());
            if (cafe)
                words.append(QStringLiteral("café"));
            if (longPage)
                words.prepend(QStringLiteral("filler"));
            stored.append({{store.currentKnowledgeBaseNumber(), store.KnowledgeBaseName(), term,
                            outcome->pageNumber, address},
                           QStringList{term.toLower(), QStringLiteral("page")} + words});
        }
    }

    void SetUp() override
    {
        MailGroupCatalogue groups;
        ASSERT_TRUE(groups.LoadMailGroups());
        ASSERT_TRUE(groups.AddMailGroup(QStringLiteral("Coasts")));
        harvest(QStringLiteral("North"), {QStringLiteral("Alpha"), QStringLiteral("Beta")}, 24);
        harvest(QStringLiteral("South"), {QStringLiteral("Alpha"), QStringLiteral("Gamma")}, 16);
        m_north = stored.first().where.knowledgeBaseName;
    }

    // The pages holding every word of the list, each word as given or, with a trailing
    // star, as the start of one; consecutive words of a phrase must follow each other.
    Pages expected(const QStringList &phrase, const SearchFilter &filter = {}) const
    {
        Pages pages;
        for (const Stored &page : stored) {
            if ((!filter.knowledgeBaseName.isEmpty() &&
                 page.where.knowledgeBaseName != filter.knowledgeBaseName) ||
                (!filter.term.isEmpty() && page.where.term != filter.term))
                continue;
            for (qsizetype at = 0; at + phrase.size() <= page.words.size(); ++at) {
                bool all = true;
                for (qsizetype i = 0; i < phrase.size(); ++i) {
                    const QString &word = phrase[i];
                    const QString &there = page.words[at + i];
                    all =
                        all && (word.endsWith(QLatin1Char('*')) ? there.startsWith(word.chopped(1))
                                                                : there == word);
                }
                if (all)
                    pages.insert(key(page.where));
            }
        }
        return pages;
    }

    Pages found(const QString &query, const SearchFilter &filter = {}) const
    {
        const Result<SearchResults> results = searchKnowledgeBases(query, filter, 0);
        EXPECT_TRUE(results) << query.toStdString() << ": " << results.message().toStdString();
        Pages pages;
        for (const SearchHit &hit : results ? results->hits : QList<SearchHit>())
            pages.insert(key(hit.page));
        EXPECT_EQ(results ? results->total : -1, qint64(pages.size()));
        return pages;
    }

    void expectExactHits(const char *when) const
    {
        SCOPED_TRACE(when);
        for (const QString &word : kWords + QStringList{QStringLiteral("café")})
            EXPECT_EQ(found(word), expected({word})) << word.toStdString();
        EXPECT_EQ(found(QStringLiteral("CAFE")), expected({QStringLiteral("café")}));
        EXPECT_EQ(found(QStringLiteral("amber heron")),
                  common(expected({QStringLiteral("amber")}), expected({QStringLiteral("heron")})));
        EXPECT_EQ(found(QStringLiteral("\"dune ember\"")),
                  expected({QStringLiteral("dune"), QStringLiteral("ember")}));
        EXPECT_EQ(found(QStringLiteral("gar*")), expected({QStringLiteral("gar*")}));
        EXPECT_TRUE(found(QStringLiteral("zircon")).empty());
        const SearchFilter northAlpha{m_north, QStringLiteral("Alpha")};
        EXPECT_EQ(found(QStringLiteral("iris"), northAlpha),
                  expected({QStringLiteral("iris")}, northAlpha));
        EXPECT_EQ(found(QStringLiteral("iris"), {{}, QStringLiteral("Alpha")}),
                  expected({QStringLiteral("iris")}, {{}, QStringLiteral("Alpha")}));
    }

    void forget(const std::function<bool(const Stored &)> &gone) { stored.removeIf(gone); }

    TempDataFolder home;
    QList<Stored> stored;

private:
    QRandomGenerator m_random{42};
    QString m_north;
};

TEST_F(Searched, FindsExactlyThePagesHoldingTheWordsThroughDeletionsAndRebuilds)
{
    expectExactHits("as stored");

    // Delete Page on three pages of North's Alpha, as the viewer does.
    const IndexedPage first = stored.first().where;
    const KnowledgeBaseRecord north =
        KnowledgeBaseCatalogue::findByName(first.knowledgeBaseName).value().value();
    const QString alpha = KnowledgeBaseLayout::keywordFolder(north.folder, first.term).value();
    RecordCursor cursor;
    ASSERT_TRUE(cursor.OpenFile(alpha, QStringLiteral("index.qdx")));
    for (int row : {5, 2, 1})
        ASSERT_TRUE(deletePageRow(cursor, row, first.knowledgeBase, first.term));
    const QSet<qint32> left = [&] {
        QSet<qint32> pages;
        const QList<KnowledgeBaseLayout::IndexRow> rows =
            KnowledgeBaseLayout::readIndex(alpha).value();
        for (const auto &row : rows)
            pages.insert(row.record.page);
        return pages;
    }();
    forget([&](const Stored &page) {
        return page.where.knowledgeBase == first.knowledgeBase && page.where.term == first.term &&
               !left.contains(page.where.page);
    });
    ASSERT_EQ(left.size(), 9);

    // The last page of South's Gamma takes its keyword folder along.
    const Stored &gammaPage = *std::find_if(stored.begin(), stored.end(), [](const Stored &page) {
        return page.where.term == QLatin1String("Gamma");
    });
    const IndexedPage gamma = gammaPage.where;
    const KnowledgeBaseRecord south =
        KnowledgeBaseCatalogue::findByNumber(gamma.knowledgeBase).value().value();
    const QList<KeywordFolderRecord> terms =
        KnowledgeBaseCatalogue::keywordFoldersOf(south.number).value();
    const KeywordFolderRecord gammaFolder =
        *std::find_if(terms.begin(), terms.end(), [](const KeywordFolderRecord &record) {
            return record.term == QLatin1String("Gamma");
        });
    ASSERT_TRUE(removeKeywordFolder(south.folder, gammaFolder));
    forget([&](const Stored &page) { return page.where.term == QLatin1String("Gamma"); });
    expectExactHits("after Delete Page and a removed keyword");

    ASSERT_TRUE(rebuildSearchIndex());
    expectExactHits("after a rebuild");
    SearchIndex::discard();
    expectExactHits("with the index file gone");

    const DeletionOutcome outcome = carryOut(KnowledgeBaseDeletion{south.number, south.folder});
    ASSERT_TRUE(outcome.problems.isEmpty()) << outcome.problems.join('\n').toStdString();
    forget([&](const Stored &page) { return page.where.knowledgeBase == south.number; });
    expectExactHits("after the knowledge base was deleted");

    MailGroupDeletion groups;
    ASSERT_TRUE(groups.open(north.mailGroup));
    ASSERT_TRUE(groups.deleteKnowledgeBases({north.number}));
    stored.clear();
    expectExactHits("after its mail group was deleted");
    EXPECT_EQ(SearchIndex::open().value().pageCount(), 0);
}

TEST_F(Searched, StaleDamagedOrBusyIndexesAreRebuiltNeverLosingAPage)
{
    // Made anew while knowledge bases exist: stale until rebuilt.
    SearchIndex::discard();
    EXPECT_TRUE(SearchIndex::open().value().isStale());
    EXPECT_EQ(found(QStringLiteral("page")).size(), size_t(stored.size()));
    EXPECT_FALSE(SearchIndex::open().value().isStale());

    writeFile(SearchIndex::defaultPath(), QByteArray(8192, 'x'));
    for (const char *suffix : {"-wal", "-shm"})
        QFile::remove(SearchIndex::defaultPath() + QLatin1String(suffix));
    EXPECT_EQ(found(QStringLiteral("page")).size(), size_t(stored.size()));

    // Another program holds the write lock while pages are stored: they are stored all the
    // same, the problem is told once, and the next search brings the index up to date.
    {
        sqlite::Connection other =
            sqlite::Connection::open(SearchIndex::defaultPath(), false).value();
        ASSERT_TRUE(other.exec("BEGIN IMMEDIATE"));
        PageStore store;
        PageStoreSettings settings;
        settings.root = home.file(QStringLiteral("KB"));
        settings.baseName = QStringLiteral("Busy");
        settings.selectedTerms = {QStringLiteral("Alpha")};
        store.setSettings(settings);
        QStringList problems;
        for (int n = 0; n < 3; ++n) {
            const Result<SaveOutcome> outcome =
                store.SaveTaxonomy(QStringLiteral("http://busy%1.test/").arg(n),
                                   "<title>Alpha</title><p>lockedword</p>");
            ASSERT_TRUE(outcome && outcome->stored());
            problems += outcome->problems;
        }
        ASSERT_EQ(problems.size(), 1);
        EXPECT_TRUE(problems.first().startsWith(QLatin1String("SearchIndex->")));
    }
    EXPECT_EQ(found(QStringLiteral("lockedword")).size(), 3u);
}

TEST(SearchIndexTest, TitlesRankFirstSnippetsMarkTheWordsAndCommonWordsRankTheNewest)
{
    TempDataFolder home;
    SearchIndex index = SearchIndex::open().value();
    const auto add = [&](qint32 page, const QString &title, const QString &body) {
        const QByteArray html = QStringLiteral("<p>%1</p>").arg(body).toUtf8();
        ASSERT_TRUE(index.addPage({1, QStringLiteral("Base"), QStringLiteral("Term"), page,
                                   QStringLiteral("http://x.test/%1").arg(page)},
                                  title, html));
    };
    const QString filler = QStringLiteral("lorem ipsum dolor sit amet ").repeated(8);
    for (qint32 page = 1; page <= 10; ++page)
        add(page, QStringLiteral("Page %1").arg(page),
            filler + (page == 3 ? QStringLiteral("the Heron flies ") : QString()) + filler);
    add(11, QStringLiteral("All about herons and a heron"), filler);
    add(7, QStringLiteral("Page 7 again"), QStringLiteral("a heron replaced it"));

    Result<SearchResults> results = index.search(QStringLiteral("heron"), {}, 10);
    ASSERT_TRUE(results);
    ASSERT_EQ(results->total, 3);
    EXPECT_EQ(results->hits[0].page.page, 11);
    const SearchHit &three = results->hits[1].page.page == 3 ? results->hits[1] : results->hits[2];
    ASSERT_EQ(three.found.size(), 1);
    EXPECT_EQ(three.snippet.mid(three.found[0].start, three.found[0].length), u"Heron");
    EXPECT_EQ(index.pageCount(), 11);

    // Of two words the rarer counts more: on pages of one length, three egrets outweigh a
    // page full of lorem.
    add(12, QStringLiteral("Twelve"), QStringLiteral("egret ") + filler + filler);
    add(13, QStringLiteral("Thirteen"),
        QStringLiteral("egret egret egret lorem ") +
            QStringLiteral("alpha beta gamma delta epsilon ").repeated(16));
    results = index.search(QStringLiteral("lorem egret"), {}, 10);
    ASSERT_TRUE(results);
    ASSERT_EQ(results->hits.size(), 2);
    EXPECT_EQ(results->hits[0].page.page, 13);
    EXPECT_EQ(results->hits[1].page.page, 12);

    // Past the candidates, the newest pages alone are ranked; the count stays exact.
    index.setRankedCandidates(4);
    results = index.search(QStringLiteral("lorem"), {}, 2);
    ASSERT_TRUE(results);
    EXPECT_TRUE(results->manyMatches);
    EXPECT_EQ(results->total, 5);
    ASSERT_EQ(results->hits.size(), 2);
    for (const SearchHit &hit : results->hits)
        EXPECT_TRUE(QList<qint32>({13, 12, 11, 10}).contains(hit.page.page)) << hit.page.page;
    EXPECT_EQ(index.search(QStringLiteral("lorem"), {}, 0)->hits.size(), 12);
}

TEST(SearchQueryTest, UserTextIsQuotedWordByWordAndNeverReachesTheQueryLanguage)
{
    const std::pair<const char *, const char *> cases[] = {
        {"bread  cake", R"("bread" AND "cake")"},
        {"\"fresh bread\" cake*", R"("fresh bread" AND "cake" *)"},
        {"\"open phrase", R"("open phrase")"},
        {"\"half phrase\"** x", R"("half phrase" * AND "x")"},
        {"a\"b", R"("a" AND "b")"},
        {"NEAR(x y) OR -z title:w ^v",
         R"q("NEAR(x" AND "y)" AND "OR" AND "-z" AND "title:w" AND "^v")q"},
        {"c*t ab*", R"("c t" AND "ab" *)"},
        {"* -- ! bread", R"("bread")"},
    };
    for (const auto &[query, expected] : cases)
        EXPECT_EQ(matchExpression(QString::fromUtf8(query)).value(), QString::fromUtf8(expected))
            << query;
    EXPECT_FALSE(matchExpression(QStringLiteral(" * \"\" !? ")));
    EXPECT_FALSE(matchExpression(QStringLiteral("bread c*")));
    EXPECT_FALSE(matchExpression(QStringLiteral("\"bread c.\"*")));
    EXPECT_FALSE(matchExpression(QStringLiteral("w ").repeated(kMaxSearchWords + 1)));

    // Whatever the user types, the index answers or the query is refused in words.
    TempDataFolder home;
    SearchIndex index = SearchIndex::open().value();
    ASSERT_TRUE(index.addPage({1, QStringLiteral("B"), QStringLiteral("T"), 1, QStringLiteral("u")},
                              QStringLiteral("title"), "<p>and or not near bread</p>"));
    const QString alphabet = QStringLiteral("ab \"*():^-+{},.'\\\u00e9\u6f22\U0001F600");
    QRandomGenerator random(5);
    for (int n = 0; n < 2000; ++n) {
        QString query;
        for (int i = int(random.bounded(12)); i > 0; --i)
            query += random.bounded(4) == 0
                         ? QStringList{"AND", "OR", "NOT", "NEAR", "title"}[random.bounded(5)]
                         : QString(alphabet[random.bounded(alphabet.size())]);
        const Result<SearchResults> results = index.search(query, {}, 5);
        if (!results) {
            EXPECT_FALSE(matchExpression(query))
                << query.toStdString() << ": " << results.message().toStdString();
        }
    }
}

TEST(PageTextTest, KeepsWhatAReaderSees)
{
    const std::pair<QByteArray, QString> cases[] = {
        {"<html><head><title>T</title><style>p{}</style><script>if (a<b) x='</p>';</script>"
         "</head><body><p>One</p><p>two<b>3</b> &amp; caf&eacute; &#x41;&#66; &#150;</p>"
         "<!-- hidden --><template>no</template><td a='>'>cell</td></body></html>",
         QStringLiteral("One two3 & café AB \u2013 cell")},
        {"a < b &unknown; &#0; &#xD800; &#99999999999; &",
         QStringLiteral("a < b &unknown; \uFFFD \uFFFD \uFFFD &")},
        {"caf\xe9 \x80", QStringLiteral("café €")},             // Windows-1252
        {"caf\xc3\xa9 \xe2\x82\xac", QStringLiteral("café €")}, // UTF-8
        {"x<!-- never closed <p>y</p>", QStringLiteral("x")},
        {"x<script>never closed", QStringLiteral("x")},
        {"x<p title=\"never closed>y", QStringLiteral("x")},
        {"\t line\r\n\u00a0 two ", QStringLiteral("line two")},
    };
    for (const auto &[html, text] : cases)
        EXPECT_EQ(visiblePageText(html), text) << html.toStdString();

    // The cap never splits a character that takes two UTF-16 units.
    const QString emoji = QStringLiteral("\U0001F600");
    EXPECT_EQ(visiblePageText((emoji + emoji).toUtf8(), 3), emoji);
    EXPECT_EQ(visiblePageText(QByteArray(100000, 'w'), 10).size(), 10);
    EXPECT_EQ(withoutCutCharacter("ab\xc3").toByteArray(), "ab");
    EXPECT_EQ(withoutCutCharacter("ab\xe2\x82\xac").toByteArray(), "ab\xe2\x82\xac");
}

} // namespace
