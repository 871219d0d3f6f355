#include "CrawlFakes.h"

#include "engine/CrawlSlots.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

QStringList numbered(const QString &prefix, int n)
{
    QStringList list;
    for (int i = 1; i <= n; ++i)
        list << QStringLiteral("%1%2").arg(prefix).arg(i);
    return list;
}

QList<int> range(int first, int last)
{
    QList<int> r;
    for (int i = first; i <= last; ++i)
        r << i;
    return r;
}

} // namespace

TEST(UrlSources, LinkBurstTakesFortyFourFromTheFrontAndLeavesTheRest)
{
    CrawlRig rig;
    rig.job.searchType = SearchType::UrlList;
    rig.analysis.linkQueue = numbered(QStringLiteral(" http://site/l"), 60);
    rig.start();
    EXPECT_EQ(rig.downloader.slotNumbers(), range(7, 50));
    EXPECT_EQ(rig.downloader.urls().first(), QStringLiteral("http://site/l1")); // trimmed
    EXPECT_EQ(rig.downloader.urls().last(), QStringLiteral("http://site/l44"));
    EXPECT_EQ(rig.analysis.linkQueue.size(), 16);
    EXPECT_EQ(rig.analysis.linkQueue.first(), QStringLiteral(" http://site/l45"));
    EXPECT_EQ(rig.crawl().pageCounter(), 44);
    for (const auto &request : rig.downloader.requests)
        EXPECT_EQ(request.timeoutMs, 20000);
}

TEST(UrlSources, MainBurstTakesWhatThereIsUpToFive)
{
    CrawlRig rig;
    rig.job.searchType = SearchType::UrlList;
    rig.analysis.mainQueue = numbered(QStringLiteral("http://m/"), 3);
    rig.start();
    EXPECT_EQ(rig.downloader.slotNumbers(), (QList<int>{2, 3, 4}));
    EXPECT_TRUE(rig.analysis.mainQueue.isEmpty());

    CrawlRig full;
    full.job.searchType = SearchType::SingleUrl;
    full.job.url = QStringLiteral("http://one/");
    full.start();
    full.analysis.mainQueue = numbered(QStringLiteral("http://m/"), 8);
    full.crawl().crawlStep();
    EXPECT_EQ(full.downloader.slotNumbers(), (QList<int>{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(full.analysis.mainQueue.size(), 3);
}

TEST(UrlSources, UrlListPrefersLinkPagesThenMainPagesThenTheNextStartUrl)
{
    CrawlRig rig;
    rig.job.searchType = SearchType::UrlList;
    CrawlRig::fill(rig.job.urlList,
                   {{"http://a/", true}, {"http://skip/", false}, {"http://b/", true}});
    rig.start();
    EXPECT_EQ(rig.downloader.urls(), QStringList{QStringLiteral("http://a/")});
    EXPECT_EQ(rig.crawl().currentMainUrl(), QStringLiteral("http://a/"));
    EXPECT_EQ(rig.job.urlList.count(), 2); // used up as it starts

    rig.analysis.mainQueue = {QStringLiteral("http://a/m1")};
    rig.analysis.linkQueue = {QStringLiteral("http://a/l1")};
    rig.crawl().crawlStep();
    rig.crawl().crawlStep();
    rig.crawl().crawlStep();
    EXPECT_EQ(rig.downloader.urls(),
              (QStringList{QStringLiteral("http://a/"), QStringLiteral("http://a/l1"),
                           QStringLiteral("http://a/m1"), QStringLiteral("http://b/")}));
    EXPECT_TRUE(rig.messages.isEmpty());

    // Pages still out may bring links back: the list is not done until they are in.
    rig.crawl().crawlStep();
    EXPECT_TRUE(rig.messages.isEmpty());
    rig.downloader.deliverAll();
    rig.crawl().crawlStep();
    EXPECT_EQ(rig.messages, QStringList{QString::fromLatin1(kUrlListDoneMessage)});
    EXPECT_EQ(rig.crawl().state(), CrawlState::EndedByUrlList);
    EXPECT_FALSE(rig.crawl().monitor().isActive());
    EXPECT_FALSE(rig.crawl().crawlTimerRunning());
    // The unselected entry stays in the list.
    EXPECT_EQ(rig.job.urlList.texts(), QStringList{QStringLiteral("http://skip/")});
}

TEST(UrlSources, SingleUrlCountsTwiceAndEndsWhenTheQueuesRunDry)
{
    CrawlRig rig;
    rig.job.searchType = SearchType::SingleUrl;
    rig.job.url = QStringLiteral("  http://one/  ");
    rig.start();
    EXPECT_EQ(rig.downloader.urls(), QStringList{QStringLiteral("http://one/")});
    EXPECT_EQ(rig.crawl().pageCounter(), 2);
    EXPECT_TRUE(rig.messages.isEmpty());

    rig.analysis.linkQueue = {QStringLiteral("http://one/x")};
    rig.crawl().crawlStep();
    EXPECT_EQ(rig.downloader.urls().size(), 2);
    rig.crawl().crawlStep();
    EXPECT_TRUE(rig.messages.isEmpty()); // both pages still out
    rig.downloader.deliverAll();
    rig.crawl().crawlStep();
    EXPECT_EQ(rig.messages, QStringList{QString::fromLatin1(kSingleUrlDoneMessage)});
    EXPECT_EQ(rig.crawl().state(), CrawlState::EndedBySingleUrl);
    EXPECT_FALSE(rig.crawl().crawlTimerRunning());
}

TEST(UrlSources, SingleUrlClearedAfterStartAsksForTheUrlAndStartsNothing)
{
    CrawlRig rig;
    rig.job.searchType = SearchType::SingleUrl;
    rig.connection.online = false; // Start leaves the first step to the timer
    rig.start();
    rig.connection.online = true;
    rig.job.url = QStringLiteral("   ");
    rig.timers.advance(rig.crawl().crawlIntervalMs());
    EXPECT_EQ(rig.messages.value(0), QString::fromLatin1(kEnterUrlMessage));
    EXPECT_TRUE(rig.downloader.requests.isEmpty());
    EXPECT_EQ(rig.crawl().pageCounter(), 0);
}

TEST(UrlSources, SearchEnginesTakeOneEngineAndPageThroughTheFirstKeyword)
{
    CrawlRig rig;
    rig.job.engines.setEntries({{QStringLiteral("One"), 1, QStringLiteral("http://one/"), false},
                                {QStringLiteral("Two"), 2, QStringLiteral("http://two/"), true}});
    CrawlRig::fill(rig.job.keywords, {{"skip", false}, {" lamps ", true}});
    rig.start();
    EXPECT_EQ(rig.searchList.queries, QStringList{QStringLiteral("0/2/lamps")});
    EXPECT_EQ(rig.crawl().currentMainUrl(), QStringLiteral("http://two/"));
    EXPECT_FALSE(rig.job.engines.isMarked(1)); // consumed
    EXPECT_TRUE(rig.analysis.pending);
    EXPECT_EQ(rig.downloader.slotNumbers(), QList<int>{1});
    EXPECT_EQ(rig.analysis.filterList, QStringLiteral(".com#.net#"));

    // The result page arrives with two main pages; the next step takes them.
    rig.downloader.bodies[rig.downloader.urls().first()] = "links: http://a/ http://b/";
    rig.downloader.deliverAll();
    EXPECT_EQ(rig.analysis.calls.value(0), QStringLiteral("FetchLinks 0 base:http://two/"));
    EXPECT_EQ(rig.crawl().pageCounter(), 2);
    rig.crawl().crawlStep();
    EXPECT_EQ(rig.downloader.slotNumbers(), (QList<int>{1, 2, 3}));
    // Queues empty again: the next result page of the same keyword.
    rig.crawl().crawlStep();
    EXPECT_EQ(rig.searchList.queries.last(), QStringLiteral("1/2/lamps"));
}

TEST(UrlSources, EmptyQueryAddressMovesOnAndRestsOneStepAfterAnEmptyResultPage)
{
    CrawlRig rig;
    rig.job.engines.setEntries({{QStringLiteral("E"), 1, QStringLiteral("http://e/"), true}});
    CrawlRig::fill(rig.job.keywords, {{"first", true}, {"second", true}});
    rig.searchList.emptyFor = {QStringLiteral("first")};
    rig.analysis.pending = true;
    rig.start();
    // "first" gave no address; the same step asks with the keywords from index 1.
    EXPECT_EQ(rig.searchList.queries,
              (QStringList{QStringLiteral("0/1/first"), QStringLiteral("0/1/second")}));
    EXPECT_EQ(rig.downloader.urls(), QStringList{QStringLiteral("http://engine1/q=second&p=0")});

    // That result page gives nothing: the first-page flag was set by Start, so the next step
    // still asks; then one step rests and sets the flag, and the one after asks again.
    rig.downloader.deliverAll();
    rig.crawl().crawlStep();
    EXPECT_EQ(rig.downloader.urls().size(), 2);
    rig.analysis.pending = false;
    rig.crawl().crawlStep();
    EXPECT_EQ(rig.downloader.urls().size(), 2);
    EXPECT_TRUE(rig.analysis.pending);
    rig.crawl().crawlStep();
    EXPECT_EQ(rig.downloader.urls().size(), 3);
    EXPECT_EQ(rig.downloader.urls().last(), QStringLiteral("http://engine1/q=second&p=3"));
}

TEST(UrlSources, ModernSearchPagesEachKeywordFromItsFirstPageAndEndsWhenAllIsDone)
{
    CrawlRig rig;
    rig.profile = CrawlProfile::Modern;
    rig.firstResultPage = 2; // page index 1
    rig.searchList.lastPage = 2;
    rig.job.engines.setEntries({{QStringLiteral("E"), 1, QStringLiteral("http://e/"), true}});
    CrawlRig::fill(rig.job.keywords, {{"a", true}, {"b", false}, {"c", true}, {"d", true}});
    QStringList pages; // every main and link page the engine's results lead to
    for (const char *keyword : {"a", "c"}) {
        for (int page = 1; page <= 2; ++page) {
            const QString main = QStringLiteral("http://%1%2/").arg(keyword).arg(page);
            rig.downloader
                .bodies[QStringLiteral("http://engine1/q=%1&p=%2").arg(keyword).arg(page)] =
                "links: " + main.toLatin1();
            rig.downloader.bodies[main] =
                "links: " + (main + "one ").toLatin1() + (main + "two").toLatin1();
            pages << main << main + "one" << main + "two";
        }
    }
    // d's first result page brings nothing: d is done.
    rig.downloader.bodies[QStringLiteral("http://engine1/q=d&p=1")] = "no results";

    rig.start();
    for (int step = 0; step < 50 && rig.crawl().isRunning(); ++step) {
        rig.downloader.deliverAll();
        QCoreApplication::processEvents(); // the chained step
    }
    EXPECT_EQ(rig.searchList.queries,
              (QStringList{"1/1/a", "2/1/a", "3/1/a", "1/1/c", "2/1/c", "3/1/c", "1/1/d"}));
    for (const QString &page : pages)
        EXPECT_TRUE(rig.downloader.urls().contains(page)) << page.toStdString();
    EXPECT_EQ(rig.downloader.requests.size(), 5 + pages.size());
    EXPECT_EQ(rig.crawl().state(), CrawlState::EndedBySearch);
    EXPECT_EQ(rig.messages, QStringList{QString::fromLatin1(kUrlListDoneMessage)});
}

TEST(UrlSources, BlankAddressFilterListIsRefreshedOnceAtStart)
{
    CrawlRig rig;
    rig.job.searchType = SearchType::UrlList;
    rig.searchList.initialFilter = QStringLiteral("  ");
    rig.start();
    EXPECT_EQ(rig.searchList.filterReads, 2);
    EXPECT_EQ(rig.analysis.filterList, QStringLiteral(".com#"));

    CrawlRig noLeads;
    noLeads.job.searchType = SearchType::UrlList;
    noLeads.job.excludeEmailExtraction = true;
    noLeads.start();
    EXPECT_EQ(noLeads.searchList.filterReads, 0);
}
