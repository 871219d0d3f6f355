#include "DownloadTestSupport.h"
#include "TestProxies.h"
#include "support/FaultInjector.h"
#include "support/TestSupport.h"

#include "common/AppSettings.h"
#include "engine/CurlDownloader.h"
#include "engine/DemoWebServer.h"

#include <QRegularExpression>
#include <QTcpServer>
#include <QTest>

#include <gtest/gtest.h>

#include <set>

using namespace corvane;
using namespace corvane::test;

namespace {

constexpr int kPageTimeoutMs = 20000;

class DownloadTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        installFaults(server);
        ASSERT_TRUE(server.start()) << server.errorString().toStdString();
    }

    // A downloader with the given changes to the defaults.
    template <typename Change>
    std::unique_ptr<CurlDownloader> downloaderWith(Change change)
    {
        DownloadOptions options;
        change(options);
        return std::make_unique<CurlDownloader>(options);
    }
    std::unique_ptr<CurlDownloader> downloader()
    {
        return downloaderWith([](DownloadOptions &) {});
    }

    // Downloads one page and waits for it.
    QByteArray fetch(CurlDownloader &d, const QString &url, int timeoutMs = kPageTimeoutMs)
    {
        ArrivalLog log(&d);
        d.Download(url, timeoutMs, 1);
        EXPECT_TRUE(log.waitFor(1)) << url.toStdString();
        return log.arrivals.empty() ? QByteArray() : log.arrivals.front().body;
    }

    TempDataFolder home;
    DemoWebServer server;
};

TEST_F(DownloadTest, BurstOfFiftyReturnsEveryPageWithItsOwnSlot)
{
    auto d = downloader();
    ArrivalLog log(d.get());
    for (int slot = 1; slot <= 50; ++slot)
        d->Download(server.url(QStringLiteral("/_fault/hold?ms=50&page=%1").arg(slot)),
                    kPageTimeoutMs, slot);
    // A slot reused before its last page arrived: both pages come back.
    d->Download(server.url(QStringLiteral("/acme/about.htm")), kPageTimeoutMs, 7);
    EXPECT_EQ(d->inFlight(), 51);
    ASSERT_TRUE(log.waitFor(51));

    std::set<int> seenSlots;
    for (const Arrival &a : log.arrivals) {
        EXPECT_FALSE(a.body.isEmpty()) << a.url.toStdString();
        const auto match = QRegularExpression(QStringLiteral("page=(\\d+)$")).match(a.url);
        if (match.hasMatch()) {
            EXPECT_EQ(match.captured(1).toInt(), a.slot);
            seenSlots.insert(a.slot);
        } else {
            EXPECT_EQ(a.slot, 7);
            EXPECT_TRUE(a.body.contains("About Acme Tools"));
        }
    }
    EXPECT_EQ(seenSlots.size(), 50u);
    EXPECT_EQ(d->inFlight(), 0);
    // They ran side by side, within the per-host limit.
    EXPECT_GT(server.maxConcurrentConnections(), 1);
    EXPECT_LE(server.maxConcurrentConnections(), 8);
}

TEST_F(DownloadTest, ConnectionsPerHostFollowTheSetting)
{
    auto d = downloaderWith([](DownloadOptions &o) { o.maxConnectionsPerHost = 3; });
    ArrivalLog log(d.get());
    for (int i = 0; i < 20; ++i)
        d->Download(server.url(QStringLiteral("/_fault/hold?ms=100&n=%1").arg(i)), kPageTimeoutMs,
                    7 + i);
    ASSERT_TRUE(log.waitFor(20));
    EXPECT_LE(server.maxConcurrentConnections(), 3);
    EXPECT_EQ(server.requestCount(QStringLiteral("/_fault/hold")), 20);
}

TEST_F(DownloadTest, UnknownAndEscapingPathsArriveEmpty)
{
    auto d = downloader();
    EXPECT_TRUE(fetch(*d, server.url(QStringLiteral("/nowhere.htm"))).isEmpty());
    EXPECT_TRUE(fetch(*d, server.url(QStringLiteral("/../../etc/passwd"))).isEmpty());
}

TEST_F(DownloadTest, RedirectsAreFollowedUpToFive)
{
    auto d = downloader();
    EXPECT_TRUE(fetch(*d, server.url(QStringLiteral("/_fault/redirect?n=5&to=/acme/about.htm")))
                    .contains("About Acme Tools"));
    EXPECT_TRUE(
        fetch(*d, server.url(QStringLiteral("/_fault/redirect?n=6&to=/acme/about.htm"))).isEmpty());
    server.resetStatistics();
    EXPECT_TRUE(fetch(*d, server.url(QStringLiteral("/_fault/redirect-loop"))).isEmpty());
    EXPECT_LE(server.requestCount(QStringLiteral("/_fault/redirect-loop")), 6);
}

TEST_F(DownloadTest, CompressedPagesArriveDecoded)
{
    auto d = downloader();
    const QByteArray expected = compressibleText(300000);
    EXPECT_EQ(fetch(*d, server.url(QStringLiteral("/_fault/gzip?bytes=300000"))), expected);
    EXPECT_EQ(fetch(*d, server.url(QStringLiteral("/_fault/deflate?bytes=300000"))), expected);
    // A small bomb that fits under the cap decodes completely and correctly.
    EXPECT_EQ(fetch(*d, server.url(QStringLiteral("/_fault/gzip-bomb?bytes=1000000"))),
              QByteArray(1000000, '\0'));
}

TEST_F(DownloadTest, DecodedSizeIsCapped)
{
    auto d = downloaderWith([](DownloadOptions &o) { o.maxPageBytes = 200000; });
    EXPECT_FALSE(fetch(*d, server.url(QStringLiteral("/_fault/gzip?bytes=150000"))).isEmpty());
    // Compressed it is small; decoded it passes the cap.
    EXPECT_TRUE(fetch(*d, server.url(QStringLiteral("/_fault/gzip?bytes=250000"))).isEmpty());
    EXPECT_TRUE(fetch(*d, server.url(QStringLiteral("/_fault/large?bytes=250000"))).isEmpty());
}

TEST_F(DownloadTest, HugeAndExplodingBodiesAreAbandonedWithBoundedMemory)
{
    auto d = downloader(); // default cap: 8 MiB
    ArrivalLog log(d.get());
    d->Download(server.url(QStringLiteral("/_fault/large")), 120000, 2);     // 1 GiB
    d->Download(server.url(QStringLiteral("/_fault/gzip-bomb")), 120000, 3); // 1 GiB decoded
    d->Download(server.url(QStringLiteral("/acme/")), 120000, 4);
    ASSERT_TRUE(log.waitFor(3, 120000));
    for (const Arrival &a : log.arrivals)
        EXPECT_EQ(a.body.isEmpty(), a.slot != 4) << a.url.toStdString();
    // Neither the server nor the downloader held a body anywhere near 1 GiB.
    EXPECT_LT(peakRssKib(), 400 * 1024);
}

TEST_F(DownloadTest, FailuresCompleteEmptyAndOthersGoOn)
{
    auto d = downloader();
    ArrivalLog log(d.get());
    d->Download(server.url(QStringLiteral("/_fault/stall")), 500, 1);
    d->Download(server.url(QStringLiteral("/_fault/reset")), kPageTimeoutMs, 2);
    d->Download(server.url(QStringLiteral("/_fault/status?code=404")), kPageTimeoutMs, 3);
    d->Download(server.url(QStringLiteral("/_fault/status?code=500")), kPageTimeoutMs, 4);
    d->Download(QStringLiteral("not an address"), kPageTimeoutMs, 5);
    d->Download(QStringLiteral("ftp://127.0.0.1/file.txt"), kPageTimeoutMs, 6);
    d->Download(QString(), kPageTimeoutMs, 7);
    d->Download(server.url(QStringLiteral("/birchwood/")), kPageTimeoutMs, 8);
    ASSERT_TRUE(log.waitFor(8));
    for (const Arrival &a : log.arrivals)
        EXPECT_EQ(a.body.isEmpty(), a.slot != 8) << a.slot << " " << a.url.toStdString();
    EXPECT_EQ(d->inFlight(), 0);
}

TEST_F(DownloadTest, StalledPageTimesOutWhileTheRestArrive)
{
    auto d = downloader();
    ArrivalLog log(d.get());
    d->Download(server.url(QStringLiteral("/_fault/stall")), 1000, 1);
    d->Download(server.url(QStringLiteral("/_fault/large?bytes=100000000")), 1000, 2);
    d->Download(server.url(QStringLiteral("/coastal/")), 1000, 3);
    ASSERT_TRUE(log.waitFor(3));
    ASSERT_NE(log.find(server.url(QStringLiteral("/coastal/"))), nullptr);
    EXPECT_FALSE(log.find(server.url(QStringLiteral("/coastal/")))->body.isEmpty());
    EXPECT_TRUE(log.find(server.url(QStringLiteral("/_fault/stall")))->body.isEmpty());
}

TEST_F(DownloadTest, RobotsRulesAreHonouredAndFetchedOncePerSite)
{
    auto d = downloader();
    ArrivalLog log(d.get());
    const QStringList pages = {QStringLiteral("/private/roster.htm"), QStringLiteral("/private/"),
                               QStringLiteral("/acme/"),
                               QStringLiteral("/coastal/lessons.htm?level=beginner")};
    for (int i = 0; i < pages.size(); ++i)
        d->Download(server.url(pages[i]), kPageTimeoutMs, i + 1);
    ASSERT_TRUE(log.waitFor(4));
    EXPECT_TRUE(log.find(server.url(pages[0]))->body.isEmpty());
    EXPECT_TRUE(log.find(server.url(pages[1]))->body.isEmpty());
    EXPECT_FALSE(log.find(server.url(pages[2]))->body.isEmpty());
    EXPECT_FALSE(log.find(server.url(pages[3]))->body.isEmpty());
    EXPECT_EQ(server.requestCount(QStringLiteral("/private/roster.htm")), 0);
    EXPECT_EQ(server.requestCount(QStringLiteral("/private/")), 0);
    EXPECT_EQ(server.requestCount(QStringLiteral("/robots.txt")), 1);

    // Another "site" (another host name for the same server) gets its own robots.txt.
    const QString otherHost = QStringLiteral("http://localhost:%1/acme/").arg(server.port());
    EXPECT_FALSE(fetch(*d, otherHost).isEmpty());
    EXPECT_EQ(server.requestCount(QStringLiteral("/robots.txt")), 2);
    EXPECT_EQ(d->robotsFetches(), 2);
}

TEST_F(DownloadTest, RedirectsPassTheRobotsRulesOfWhereTheyLead)
{
    auto d = downloader();
    const auto redirect = [&](int hops, const QString &to) {
        return server.url(QStringLiteral("/_fault/redirect?n=%1&to=%2")
                              .arg(hops)
                              .arg(QString::fromLatin1(QUrl::toPercentEncoding(to))));
    };
    EXPECT_TRUE(fetch(*d, redirect(1, QStringLiteral("/private/roster.htm"))).isEmpty());
    EXPECT_EQ(d->robotsFetches(), 1);
    // Onto another site: its own robots.txt is asked for and decides.
    const QString other = QStringLiteral("http://localhost:%1").arg(server.port());
    EXPECT_TRUE(fetch(*d, redirect(2, other + QStringLiteral("/private/roster.htm"))).isEmpty());
    EXPECT_EQ(d->robotsFetches(), 2);
    EXPECT_EQ(server.requestCount(QStringLiteral("/private/roster.htm")), 0);
    EXPECT_FALSE(fetch(*d, redirect(2, other + QStringLiteral("/acme/"))).isEmpty());
    EXPECT_EQ(d->robotsFetches(), 2);
}

TEST_F(DownloadTest, RobotsRulesCanBeTurnedOff)
{
    openSettings()->setValue(QStringLiteral("Download/HonourRobots"), false);
    CurlDownloader d; // takes the user's settings
    EXPECT_TRUE(fetch(d, server.url(QStringLiteral("/private/roster.htm")))
                    .contains("alice@private-demo.com"));
    EXPECT_EQ(server.requestCount(QStringLiteral("/robots.txt")), 0);
}

TEST_F(DownloadTest, RobotsFileOfTheSiteDecidesForOurAgent)
{
    server.setOverride(QStringLiteral("/robots.txt"),
                       "User-agent: *\nDisallow: /\n\nUser-agent: corvane\nDisallow: /acme/\n"
                       "Allow: /acme/about.htm\n",
                       "text/plain");
    auto d = downloader();
    EXPECT_TRUE(fetch(*d, server.url(QStringLiteral("/acme/"))).isEmpty());
    EXPECT_FALSE(fetch(*d, server.url(QStringLiteral("/acme/about.htm"))).isEmpty());
    EXPECT_FALSE(fetch(*d, server.url(QStringLiteral("/coastal/"))).isEmpty());
}

TEST_F(DownloadTest, UnreachableOrFailingRobotsFileLeavesTheSiteOpen)
{
    server.setOverride(QStringLiteral("/robots.txt"), QByteArray(600 * 1024, 'x'));
    auto d = downloader();
    EXPECT_FALSE(fetch(*d, server.url(QStringLiteral("/private/"))).isEmpty());
}

TEST_F(DownloadTest, CancelledPagesNeverArrive)
{
    auto d = downloader();
    ArrivalLog log(d.get());
    for (int slot = 7; slot < 17; ++slot)
        d->Download(server.url(QStringLiteral("/_fault/stall?n=%1").arg(slot)), kPageTimeoutMs,
                    slot);
    d->Download(server.url(QStringLiteral("/_fault/hold?ms=20")), kPageTimeoutMs, 2);
    d->cancelAll();
    EXPECT_EQ(d->inFlight(), 0);
    d->Download(server.url(QStringLiteral("/acme/about.htm")), kPageTimeoutMs, 3);
    ASSERT_TRUE(log.waitFor(1));
    QTest::qWait(300); // give a wrongly delivered cancelled page the chance to show up
    ASSERT_EQ(log.arrivals.size(), 1u);
    EXPECT_EQ(log.arrivals[0].slot, 3);
    EXPECT_EQ(d->inFlight(), 0);
}

TEST_F(DownloadTest, DestroyingWithStalledPagesReturns)
{
    auto d = downloader();
    for (int slot = 1; slot <= 10; ++slot)
        d->Download(server.url(QStringLiteral("/_fault/stall?n=%1").arg(slot)), 600000, slot);
    d->Download(server.url(QStringLiteral("/_fault/large")), 600000, 11);
    QTest::qWait(200);
    d.reset(); // must not wait for the stalled pages
    SUCCEED();
}

// ---------------------------------------------------------------------------------------
// Proxies

class ProxyDownloadTest : public DownloadTest
{
protected:
    ProxySettings proxyAt(ProxySettings::Kind kind, quint16 port, bool remoteDns = false)
    {
        ProxySettings p;
        p.kind = kind;
        p.host = QStringLiteral("127.0.0.1");
        p.port = port;
        p.remoteDns = remoteDns;
        return p;
    }
    std::unique_ptr<CurlDownloader> through(const ProxySettings &proxy)
    {
        return downloaderWith([&](DownloadOptions &o) {
            o.proxy = proxy;
            o.honourRobots = false;
        });
    }
};

TEST_F(ProxyDownloadTest, HttpProxyCarriesPagesAndCredentials)
{
    LoopbackProxy proxy(LoopbackProxy::Kind::Http);
    ASSERT_TRUE(proxy.start());
    ProxySettings settings = proxyAt(ProxySettings::Kind::Http, proxy.port());
    settings.userName = QStringLiteral("Administrator");
    settings.password = QStringLiteral("guestuser");
    auto d = through(settings);
    EXPECT_TRUE(fetch(*d, server.url(QStringLiteral("/acme/"))).contains("Acme Tools"));
    ASSERT_FALSE(proxy.requests().isEmpty());
    EXPECT_TRUE(proxy.requests().front().startsWith(
        QStringLiteral("GET http://") + server.hostAndPort() + QStringLiteral("/acme/")));
    ASSERT_FALSE(proxy.credentials().isEmpty());
    EXPECT_EQ(QByteArray::fromBase64(proxy.credentials().front().section(' ', 1).toLatin1()),
              QByteArray("Administrator:guestuser"));
}

TEST_F(ProxyDownloadTest, Socks5ProxyResolvesLocallyOrRemotely)
{
    LoopbackProxy proxy(LoopbackProxy::Kind::Socks);
    ASSERT_TRUE(proxy.start());
    proxy.requireCredentials(QStringLiteral("user"), QStringLiteral("secret"));
    ProxySettings settings = proxyAt(ProxySettings::Kind::Socks5, proxy.port());
    settings.userName = QStringLiteral("user");
    settings.password = QStringLiteral("secret");
    {
        auto d = through(settings);
        EXPECT_TRUE(fetch(*d, server.url(QStringLiteral("/acme/"))).contains("Acme Tools"));
    }
    settings.remoteDns = true;
    {
        auto d = through(settings);
        const QString named = QStringLiteral("http://localhost:%1/coastal/").arg(server.port());
        EXPECT_TRUE(fetch(*d, named).contains("Coastal Sailing Club"));
    }
    const QString port = QString::number(server.port());
    EXPECT_EQ(proxy.requests(), QStringList({QStringLiteral("socks5 ip 127.0.0.1:") + port,
                                             QStringLiteral("socks5 name localhost:") + port}));
    EXPECT_EQ(proxy.credentials(), QStringList({QStringLiteral("user"), QStringLiteral("user")}));

    // Wrong password: the page completes empty.
    settings.password = QStringLiteral("wrong");
    auto d = through(settings);
    EXPECT_TRUE(fetch(*d, server.url(QStringLiteral("/acme/"))).isEmpty());
}

TEST_F(ProxyDownloadTest, Socks4ProxySendsAddressOrNameForRemoteDns)
{
    LoopbackProxy proxy(LoopbackProxy::Kind::Socks);
    ASSERT_TRUE(proxy.start());
    {
        auto d = through(proxyAt(ProxySettings::Kind::Socks4, proxy.port()));
        EXPECT_TRUE(fetch(*d, server.url(QStringLiteral("/acme/"))).contains("Acme Tools"));
    }
    {
        auto d = through(proxyAt(ProxySettings::Kind::Socks4, proxy.port(), true));
        const QString named = QStringLiteral("http://localhost:%1/acme/").arg(server.port());
        EXPECT_TRUE(fetch(*d, named).contains("Acme Tools"));
    }
    const QString port = QString::number(server.port());
    EXPECT_EQ(proxy.requests(), QStringList({QStringLiteral("socks4 127.0.0.1:") + port,
                                             QStringLiteral("socks4a localhost:") + port}));
}

TEST_F(ProxyDownloadTest, RefusingProxyGivesEmptyPagesAndTheRunGoesOn)
{
    QTcpServer closed;
    ASSERT_TRUE(closed.listen(QHostAddress::LocalHost, 0));
    const quint16 deadPort = closed.serverPort();
    closed.close();

    auto d = through(proxyAt(ProxySettings::Kind::Http, deadPort));
    ArrivalLog log(d.get());
    for (int slot = 2; slot <= 6; ++slot)
        d->Download(server.url(QStringLiteral("/acme/")), kPageTimeoutMs, slot);
    ASSERT_TRUE(log.waitFor(5));
    for (const Arrival &a : log.arrivals)
        EXPECT_TRUE(a.body.isEmpty());

    d->setProxy(ProxySettings{});
    d->Download(server.url(QStringLiteral("/acme/")), kPageTimeoutMs, 7);
    ASSERT_TRUE(log.waitFor(6));
    EXPECT_FALSE(log.arrivals.back().body.isEmpty());
}

TEST(ProxySettingsTest, JobTextsChooseTheProxyKind)
{
    using K = ProxySettings::Kind;
    const auto kindOf = [](const char *type) {
        return ProxySettings::fromJob(QString::fromLatin1(type), QStringLiteral("10.0.0.1"), 80, {},
                                      {}, false)
            .kind;
    };
    EXPECT_EQ(kindOf("No Proxy"), K::None);
    EXPECT_EQ(kindOf("Normal Proxy"), K::Http);
    EXPECT_EQ(kindOf("SOCKS4 Proxy"), K::Socks4);
    EXPECT_EQ(kindOf("SOCKS5 Proxy"), K::Socks5);
    EXPECT_EQ(kindOf("something else"), K::None);

    const ProxySettings p =
        ProxySettings::fromJob(QStringLiteral("SOCKS5 Proxy"), QStringLiteral(" proxy.lan "), 1080,
                               QStringLiteral("Administrator"), QStringLiteral("guestuser"), true);
    EXPECT_EQ(p.host, QStringLiteral("proxy.lan"));
    EXPECT_EQ(p.port, 1080);
    EXPECT_TRUE(p.remoteDns);
    EXPECT_EQ(p.userName, QStringLiteral("Administrator"));
    // No host, or a port out of range: no proxy at all.
    EXPECT_EQ(
        ProxySettings::fromJob(QStringLiteral("Normal Proxy"), QString(), 80, {}, {}, false).kind,
        K::None);
    EXPECT_EQ(ProxySettings::fromJob(QStringLiteral("Normal Proxy"), QStringLiteral("h"), 70000, {},
                                     {}, false)
                  .kind,
              K::None);
}

TEST(DownloadOptionsTest, SettingsFileChangesTheSizeCap)
{
    TempDataFolder home;
    // Turning robots off through the settings is checked on a real download.
    EXPECT_EQ(DownloadOptions::fromSettings().maxPageBytes, 8 * 1024 * 1024);
    openSettings()->setValue(QStringLiteral("Download/MaxPageBytes"), 1000);
    EXPECT_EQ(DownloadOptions::fromSettings().maxPageBytes, 1000);
    openSettings()->setValue(QStringLiteral("Download/MaxPageBytes"), QStringLiteral("lots"));
    EXPECT_EQ(DownloadOptions::fromSettings().maxPageBytes, 8 * 1024 * 1024);
}

} // namespace
