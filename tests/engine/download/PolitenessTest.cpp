// The downloader's pace per site: the delay, robots.txt's Crawl-delay, the page cap and
// backing off from a busy site, checked on the times the servers logged each request.

#include "DownloadTestSupport.h"
#include "support/StampingWebServer.h"
#include "support/TestSupport.h"

#include "engine/CurlDownloader.h"

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;
using namespace std::chrono_literals;

namespace {

constexpr int kPageTimeoutMs = 20000;

StampingWebServer::Answer page(const QByteArray &target)
{
    return {200, "<html><body>page " + target + "</body></html>", {}};
}

std::unique_ptr<CurlDownloader> politeDownloader(int delayMs, int maxPagesPerSite = 0)
{
    DownloadOptions options;
    options.politeness = SitePoliteness{delayMs, true, maxPagesPerSite, true};
    return std::make_unique<CurlDownloader>(options);
}

int withBody(const ArrivalLog &log)
{
    return int(std::count_if(log.arrivals.begin(), log.arrivals.end(),
                             [](const Arrival &a) { return !a.body.isEmpty(); }));
}

} // namespace

TEST(Politeness, EachSiteKeepsItsDelayOrCrawlDelayWithoutHoldingUpTheOthers)
{
    TempDataFolder home;
    StampingWebServer plain(page);
    StampingWebServer slow([](const QByteArray &target) {
        if (target == "/robots.txt")
            return StampingWebServer::Answer{200, "User-agent: *\nCrawl-delay: 0.4\n", {}};
        return page(target);
    });
    ASSERT_TRUE(plain.start() && slow.start());

    auto d = politeDownloader(250);
    ArrivalLog log(d.get());
    for (int i = 0; i < 4; ++i) {
        d->Download(plain.url(QStringLiteral("/p%1.htm").arg(i)), kPageTimeoutMs, 7 + i);
        d->Download(slow.url(QStringLiteral("/s%1.htm").arg(i)), kPageTimeoutMs, 20 + i);
    }
    ASSERT_TRUE(log.waitFor(8));
    EXPECT_EQ(withBody(log), 8);

    // robots.txt and four pages from each site, robots.txt counted like any request.
    ASSERT_EQ(plain.hits().size(), 5u);
    ASSERT_EQ(slow.hits().size(), 5u);
    EXPECT_GE(shortestGap(plain.hits()), 250ms);
    EXPECT_GE(shortestGap(slow.hits()), 400ms);
    // The slow site's pages went out while the other site's were still coming.
    EXPECT_LT(slow.hits("/s").front().at, plain.hits("/p").back().at);
}

TEST(Politeness, BusySiteIsLeftAloneForItsRetryAfterAndThePageAskedAgain)
{
    TempDataFolder home;
    std::atomic<int> busyAnswers = 0;
    StampingWebServer server([&](const QByteArray &target) {
        if (target == "/busy.htm" && busyAnswers++ == 0)
            return StampingWebServer::Answer{503, "busy", "Retry-After: 1\r\n"};
        return page(target);
    });
    ASSERT_TRUE(server.start());

    // A short delay lets the busy answer arrive before the second page's turn.
    auto d = politeDownloader(300);
    ArrivalLog log(d.get());
    d->Download(server.url(QStringLiteral("/busy.htm")), kPageTimeoutMs, 7);
    d->Download(server.url(QStringLiteral("/next.htm")), kPageTimeoutMs, 8);
    ASSERT_TRUE(log.waitFor(2));
    EXPECT_EQ(withBody(log), 2) << "the busy page is asked again and arrives";

    const auto busy = server.hits("/busy.htm");
    const auto next = server.hits("/next.htm");
    ASSERT_EQ(busy.size(), 2u);
    ASSERT_EQ(next.size(), 1u);
    EXPECT_GE(next.front().at - busy.front().at, 1s);
    EXPECT_GE(busy.back().at - busy.front().at, 1s);

    // A site that wants to be left alone for longer than a page may wait gives its pages up.
    busyAnswers = 0;
    StampingWebServer closed([](const QByteArray &target) {
        if (target == "/robots.txt")
            return page(target);
        return StampingWebServer::Answer{429, "later", "Retry-After: 120\r\n"};
    });
    ASSERT_TRUE(closed.start());
    ArrivalLog refused(d.get());
    for (int i = 0; i < 3; ++i)
        d->Download(closed.url(QStringLiteral("/c%1.htm").arg(i)), 5000, 9 + i);
    ASSERT_TRUE(refused.waitFor(3));
    EXPECT_EQ(withBody(refused), 0);
    EXPECT_EQ(closed.hits("/c").size(), 1u) << "nothing more after the first answer";
}

TEST(Politeness, PagesPastTheSiteCapCompleteEmptyWithoutARequest)
{
    TempDataFolder home;
    StampingWebServer server(page);
    ASSERT_TRUE(server.start());
    auto d = politeDownloader(0, 3);
    ArrivalLog log(d.get());
    for (int i = 0; i < 5; ++i)
        d->Download(server.url(QStringLiteral("/p%1.htm").arg(i)), kPageTimeoutMs, 7 + i);
    ASSERT_TRUE(log.waitFor(5));
    EXPECT_EQ(withBody(log), 3);
    EXPECT_EQ(server.hits("/p").size(), 3u);
}
