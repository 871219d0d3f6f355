#include "DownloadTestSupport.h"
#include "support/TestSupport.h"

#include "engine/CurlDownloader.h"
#include "engine/DemoWebServer.h"

#include <QRegularExpression>
#include <QSet>
#include <QTcpSocket>
#include <QTest>
#include <QUrl>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

class DemoWebServerTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(server.start()); }

    // Sends raw bytes on one connection and collects what comes back until the server
    // closes or `until` appears `times` times.
    QByteArray exchange(const QByteArray &request, const QByteArray &until = {}, int times = 1)
    {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, server.port());
        EXPECT_TRUE(socket.waitForConnected(10000));
        socket.write(request);
        QByteArray reply;
        (void)QTest::qWaitFor(
            [&] {
                reply += socket.readAll();
                return socket.state() == QAbstractSocket::UnconnectedState ||
                       (!until.isEmpty() && reply.count(until) >= times);
            },
            10000);
        return reply + socket.readAll();
    }

    TempDataFolder home;
    DemoWebServer server;
};

TEST_F(DemoWebServerTest, BadRequestsAreRefusedAndPipelinedOnesAnsweredInOrder)
{
    EXPECT_TRUE(exchange("GARBAGE\r\n\r\n").startsWith("HTTP/1.1 400"));
    EXPECT_TRUE(exchange("GET /" + QByteArray(20000, 'a')).startsWith("HTTP/1.1 400"));

    const QByteArray two = exchange("GET /acme/about.htm HTTP/1.1\r\nHost: x\r\n\r\n"
                                    "GET /birchwood/events.htm HTTP/1.1\r\nHost: x\r\n\r\n",
                                    "</html>", 2);
    const qsizetype first = two.indexOf("About Acme Tools");
    const qsizetype second = two.indexOf("Autumn readings");
    EXPECT_GE(first, 0);
    EXPECT_GT(second, first);

    const QByteArray head = exchange("HEAD /acme/ HTTP/1.0\r\n\r\n");
    EXPECT_TRUE(head.startsWith("HTTP/1.1 200"));
    EXPECT_FALSE(head.contains("<html>"));
    EXPECT_TRUE(exchange("GET /robots.txt HTTP/1.0\r\n\r\n").contains("Disallow: /private/"));
}

// Walks the whole demo web from its front page: every http link leads to a page that
// exists, no "{{HOST}}" is left, and the pages hold the addresses and link shapes a demo
// harvest needs.
TEST_F(DemoWebServerTest, DemoWebHasNoBrokenLinks)
{
    DownloadOptions options;
    options.honourRobots = false;
    CurlDownloader downloader(options);
    ArrivalLog log(&downloader);
    const QRegularExpression href(QStringLiteral("href=\"([^\"]*)\""));
    QSet<QString> seen{server.url(QStringLiteral("/"))};
    downloader.Download(server.url(QStringLiteral("/")), 20000, 1);
    QSet<QString> hrefs;
    QByteArray all;
    for (std::size_t done = 0; done < static_cast<std::size_t>(seen.size()); ++done) {
        ASSERT_TRUE(log.waitFor(done + 1));
        const Arrival &page = log.arrivals[done];
        EXPECT_FALSE(page.body.isEmpty()) << "broken link " << page.url.toStdString();
        EXPECT_FALSE(page.body.contains("{{HOST}}"));
        all += page.body;
        for (const auto &m : href.globalMatch(QString::fromLatin1(page.body))) {
            hrefs.insert(m.captured(1));
            QUrl target = QUrl(page.url).resolved(QUrl(m.captured(1)));
            target.setFragment(QString());
            if (target.scheme() != QLatin1String("http"))
                continue;
            EXPECT_EQ(target.port(), server.port()) << m.captured(1).toStdString();
            const QString next = target.toString();
            if (!seen.contains(next)) {
                seen.insert(next);
                downloader.Download(next, 20000, 7);
            }
        }
    }
    EXPECT_GE(seen.size(), 18);
    // Every shape of link is there at least once.
    const auto has = [&](auto pred) { return std::any_of(hrefs.begin(), hrefs.end(), pred); };
    EXPECT_TRUE(has([](const QString &h) { return h.startsWith(QLatin1String("../")); }));
    EXPECT_TRUE(has([](const QString &h) { return h.startsWith(QLatin1String("./")); }));
    EXPECT_TRUE(has([](const QString &h) { return h.startsWith(QLatin1Char('?')); }));
    EXPECT_TRUE(has([](const QString &h) { return h.startsWith(QLatin1Char('#')); }));
    EXPECT_TRUE(has([](const QString &h) { return h.startsWith(QLatin1String("https://")); }));
    EXPECT_TRUE(has([](const QString &h) { return h.startsWith(QLatin1String("mailto:")); }));
    EXPECT_TRUE(has([](const QString &h) { return h.startsWith(QLatin1Char('/')); }));
    EXPECT_TRUE(has([](const QString &h) {
        return !h.contains(QLatin1Char('/')) && h.endsWith(QLatin1String(".htm"));
    }));
    EXPECT_TRUE(all.contains("alice@private-demo.com")); // only reachable without robots
    EXPECT_TRUE(all.contains("regatta@coastal-demo.net"));
}

} // namespace
