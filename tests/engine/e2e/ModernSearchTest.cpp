// A modern search-engine harvest through the command line against a local engine whose
// result pages, sites and link pages are all served by one logging server.

#include "HarvestRun.h"
#include "support/StampingWebServer.h"
#include "support/TestSupport.h"

#include <QRegularExpression>
#include <QUrlQuery>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;
using namespace std::chrono_literals;

namespace {

const QStringList kKeywords = {"red", "green", "blue"};
constexpr int kResultPages = 2;

// The engine: "/results{page}.htm?q=K" lists one site "/K{page}/", the second page through
// a redirect link of the engine. Each site links to two link pages, each with one address
// written for people and one image name that looks like an address.
StampingWebServer::Answer answer(const QByteArray &target, const QString &root)
{
    static const QRegularExpression results(QStringLiteral("^/results(\\d)\\.htm\\?q=(\\w+)$"));
    static const QRegularExpression site(QStringLiteral("^/(\\w+?)(\\d)/$"));
    static const QRegularExpression linkPage(QStringLiteral("^/(\\w+?)(\\d)/(one|two)\\.htm$"));
    const QString path = QString::fromLatin1(target);
    if (const auto m = results.match(path); m.hasMatch()) {
        const QString siteUrl = root + QStringLiteral("/%1%2/").arg(m.captured(2), m.captured(1));
        const QString href = m.captured(1) == u"0"
                                 ? siteUrl
                                 : QStringLiteral("/url?q=%1&amp;sa=U")
                                       .arg(QString::fromLatin1(QUrl::toPercentEncoding(siteUrl)));
        return {200, QStringLiteral("<a href=\"%1\">result</a>").arg(href).toLatin1(), {}};
    }
    if (const auto m = site.match(path); m.hasMatch())
        return {200,
                "<a href=\"/" + target.mid(1) + "one.htm\">1</a> <a href=\"/" + target.mid(1) +
                    "two.htm\">2</a>",
                {}};
    if (const auto m = linkPage.match(path); m.hasMatch()) {
        const QString name = m.captured(1) + m.captured(2) + m.captured(3);
        return {200,
                QStringLiteral("<p>Mail %1 [at] shop [dot] com</p><img src=\"%1@2x.png\">")
                    .arg(name)
                    .toLatin1(),
                {}};
    }
    return {404, "none", {}};
}

} // namespace

TEST(ModernSearch, EveryKeywordsResultPagesAndEveryLinkPageArePacedAndTheRunEndsByItself)
{
    TempDataFolder home;
    QString root;
    StampingWebServer server([&root](const QByteArray &target) { return answer(target, root); });
    ASSERT_TRUE(server.start());
    root = server.url(QString());
    writeFile(home.file(QStringLiteral("search/engines.txt")), "Local$" + root.toLatin1() + "/#\n");
    writeFile(home.file(QStringLiteral("search/queries.txt")),
              "Local$" + root.toLatin1() + "/results{page}.htm?q={keyword}$" +
                  QByteArray::number(kResultPages - 1) + '\n');

    const CliRun run =
        harvest(home, {"--engine", "Local", "--keywords", kKeywords.join(u','), "--profile",
                       "modern", "--delay", "250", "--timeout", "5", "--probe", root + "/"});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_TRUE(run.endedWith(QStringLiteral("Corvane has completed the specified search.")));

    QStringList expectedLeads;
    for (const QString &keyword : kKeywords) {
        for (int page = 0; page < kResultPages; ++page) {
            const QByteArray site = QStringLiteral("/%1%2/").arg(keyword).arg(page).toLatin1();
            EXPECT_EQ(
                server.hits(QStringLiteral("/results%1.htm?q=%2").arg(page).arg(keyword).toLatin1())
                    .size(),
                1u)
                << keyword.toStdString() << page;
            for (const char *link : {"one", "two"}) {
                EXPECT_EQ(server.hits(site + link + ".htm").size(), 1u)
                    << site.toStdString() << link;
                expectedLeads << QStringLiteral("%1%2%3@shop.com").arg(keyword).arg(page).arg(link);
            }
        }
    }
    EXPECT_TRUE(server.hits("/url").empty()) << "the redirect link is followed to its target";
    EXPECT_EQ(run.leads, sorted(expectedLeads));
    // The connection probe ("/") is no request for pages.
    std::vector<StampingWebServer::Hit> requests = server.hits();
    std::erase_if(requests, [](const auto &hit) { return hit.target == "/"; });
    EXPECT_GE(shortestGap(requests), 250ms);
}
