// Whole harvests over real HTTP on 127.0.0.1: the command line with its in-process demo web,
// and the crawl controller with the real downloader, analysis and store.

#include "DemoWebLeads.h"
#include "HarvestRun.h"
#include "support/FaultInjector.h"
#include "support/TestSupport.h"

#include "analysis/AnalysisContext.h"
#include "common/DataFolder.h"
#include "common/LeadFile.h"
#include "common/TimerSource.h"
#include "engine/ConnectionProbe.h"
#include "engine/CrawlController.h"
#include "engine/CrawlWiring.h"
#include "engine/CurlDownloader.h"
#include "engine/DemoWebServer.h"
#include "engine/ResumeController.h"
#include "engine/SearchListProvider.h"
#include "leads/LeadDatabase.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <QDir>
#include <QEventLoop>
#include <QTcpServer>
#include <QTimer>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

TEST(HarvestEndToEnd, DemoUrlListHarvestsEveryReachablePublicPage)
{
    TempDataFolder home;
    const CliRun run = harvest(home, {"--demo"});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_TRUE(run.endedWith(QStringLiteral("Corvane has completed the specified search.")));
    // The contact page of Acme is linked only relatively from a sub-folder page, which
    // resolves against the site root and misses it; the members' area is forbidden by
    // robots.txt; the search engine's ads are not on any site.
    EXPECT_EQ(run.leads, sorted(kAcmeLeads + kBirchwoodLeads + kCoastalLeads));
    // Start pages reached first as start pages are never stored; the others are stored once,
    // under the term their title names.
    EXPECT_EQ(storedPages(home), (QMap<QString, int>{{QStringLiteral("Books"), 2},
                                                     {QStringLiteral("Sailing"), 3},
                                                     {QStringLiteral("Tools"), 4}}));
    EXPECT_TRUE(run.err.contains(QStringLiteral("pages 27 ")));
}

TEST(HarvestEndToEnd, EveryRecordedSourceHoldsItsLeadAndARepeatFindsNothingNew)
{
    TempDataFolder home;
    for (int round = 0; round < 2; ++round) {
        const CliRun run = harvest(home, {"--demo"});
        ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    }
    auto db = LeadDatabase::open(home.file(QStringLiteral("leads.sqlite")));
    ASSERT_TRUE(db.ok()) << db.message().toStdString();
    const auto runs = db.value().runs();
    ASSERT_TRUE(runs.ok());
    ASSERT_EQ(runs.value().size(), 2u);
    for (const RunSummary &summary : runs.value()) {
        EXPECT_TRUE(summary.endedMs.has_value());
        EXPECT_EQ(summary.message, QStringLiteral("Corvane has completed the specified search."));
        EXPECT_EQ(summary.leads,
                  qint64(kAcmeLeads.size() + kBirchwoodLeads.size() + kCoastalLeads.size()));
    }
    EXPECT_EQ(runs.value()[0].newLeads, runs.value()[0].leads);
    EXPECT_EQ(runs.value()[1].newLeads, 0);

    // The program's demo web is gone with it; the same pages are served here to be read.
    DemoWebServer web;
    ASSERT_TRUE(web.start());
    QNetworkAccessManager network;
    const auto page = [&](const QString &source) {
        QNetworkReply *reply = network.get(QNetworkRequest(QUrl(web.url(QUrl(source).path()))));
        QEventLoop wait;
        QObject::connect(reply, &QNetworkReply::finished, &wait, &QEventLoop::quit);
        wait.exec();
        reply->deleteLater();
        return QString::fromUtf8(reply->readAll());
    };
    qint64 checked = 0;
    const auto listed =
        db.value().forEachLead({.run = runs.value()[0].id}, [&](const LeadRow &lead) {
            const QString body = page(lead.source);
            EXPECT_TRUE(body.contains(lead.email))
                << lead.email.toStdString() << " is not on " << lead.source.toStdString();
            if (!lead.title.isEmpty()) {
                EXPECT_TRUE(body.contains(lead.title)) << lead.title.toStdString();
            }
            ++checked;
            return true;
        });
    ASSERT_TRUE(listed.ok());
    EXPECT_EQ(checked, runs.value()[0].leads);
    const auto fresh = db.value().forEachLead({.run = runs.value()[1].id, .newOnly = true},
                                              [](const LeadRow &) { return true; });
    EXPECT_EQ(fresh.value(), 0);
}

TEST(HarvestEndToEnd, SingleUrlEndsWhenItsPagesAreDone)
{
    TempDataFolder home;
    const CliRun run = harvest(home, {"--demo", "--url", "http://{{HOST}}/coastal/", "--timeout",
                                      "1", "--profile", "classic"});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_TRUE(run.endedWith(QStringLiteral("Corvane has scanned specified URL.")));
    EXPECT_EQ(run.leads, kFromCoastalLeads);
}

TEST(HarvestEndToEnd, SearchEngineRunEndsAtThePageLimit)
{
    TempDataFolder home;
    const QStringList demoSearch = {"--demo", "--engine", "Demo", "--keywords",
                                    "tools",  "--pages",  "15"};
    const CliRun run = harvest(home, demoSearch + QStringList{"--no-emails"});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_TRUE(run.endedWith(QStringLiteral("Corvane has scanned specified number of pages.")));
    EXPECT_TRUE(run.leads.isEmpty()); // extraction excluded

    TempDataFolder withLeads;
    const CliRun leads =
        harvest(withLeads, demoSearch + QStringList{"--exclude-domain", "birchwood-demo"});
    ASSERT_EQ(leads.exitCode, 0) << leads.err.toStdString();
    // The result page's own address is a lead too; the excluded domain gives none.
    EXPECT_TRUE(leads.leads.contains(QStringLiteral("ads@demosearch-demo.com")));
    for (const QString &lead : leads.leads)
        EXPECT_FALSE(lead.contains(QStringLiteral("birchwood"))) << lead.toStdString();
}

TEST(HarvestEndToEnd, FailedPagesAreSkippedAndTheRunGoesOn)
{
    TempDataFolder home;
    DemoWebServer faults;
    installFaults(faults);
    ASSERT_TRUE(faults.start());
    writeFile(home.file(QStringLiteral("urls.txt")),
              faults.url(QStringLiteral("/_fault/reset\n")).toUtf8() +
                  faults.url(QStringLiteral("/_fault/status?code=500\n")).toUtf8() +
                  faults.url(QStringLiteral("/_fault/stall\n")).toUtf8() +
                  "http://{{HOST}}/acme/\n");
    // The test's own server answers while the program runs.
    const CliRun run = harvest(home, {"--demo", "--urls", home.file("urls.txt"), "--timeout", "2"},
                               ServeEvents::Yes);
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_TRUE(run.endedWith(QStringLiteral("Corvane has completed the specified search.")));
    for (const QString &lead : kAcmeLeads)
        EXPECT_TRUE(run.leads.contains(lead)) << lead.toStdString();
}

TEST(HarvestEndToEnd, BadFlagsAreRefusedWithTheJobsMessages)
{
    TempDataFolder home;
    const std::pair<QStringList, const char *> cases[] = {
        {{"--url", "http://127.0.0.1:9/", "--minutes", "0"},
         "The Search duration should be greater than zero, under settings tab."},
        {{"--url", "http://127.0.0.1:9/", "--leads", "abc"},
         "Please enter numeric Leads count under settings tab."},
        {{"--engine", "Bing"}, "Please select desired keywords under keyword tab."},
        {{"--demo", "--exclude-type", "info", "--include-type", "sales"},
         "--exclude-type and --include-type cannot be combined"},
    };
    for (const auto &[args, message] : cases) {
        QByteArray err;
        EXPECT_EQ(runProgram(QStringLiteral("corvane-cli"),
                             QStringList{"--home", home.path(), "harvest"} + args, nullptr, &err),
                  2);
        EXPECT_EQ(QString::fromUtf8(err).trimmed(),
                  QStringLiteral("corvane-cli: ") + QLatin1String(message));
    }
}

// The probe's server goes away mid-run and comes back: the run waits with its queues as they
// are, the resume controller's own re-test finds the connection, and the run ends normally.
TEST(HarvestEndToEnd, LostConnectionIsWaitedOutAndTheRunResumes)
{
    TempDataFolder home;
    DemoWebServer web;
    ASSERT_TRUE(web.start());
    QTcpServer probeServer;
    ASSERT_TRUE(probeServer.listen(QHostAddress::LocalHost));
    const quint16 probePort = probeServer.serverPort();

    HarvestJob job;
    job.searchType = SearchType::SingleUrl;
    job.url = web.url(QStringLiteral("/coastal/"));
    AnalysisContext context;
    context.filters.leadLimit = 10000;
    ExtractorAnalysis analysis(context);
    SearchListProvider provider;
    SearchListForCrawl searchList(provider);
    CurlDownloader downloader;
    ConnectionProbe probe(QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(probePort)));
    probe.setTimeoutMs(500);
    CrawlController crawl(job, CrawlController::Parts{&downloader, &RealTimerSource::instance(),
                                                      &analysis, nullptr, &searchList, &probe});
    QStringList messages;
    QObject::connect(&crawl, &CrawlController::message,
                     [&](const QString &text) { messages << text; });
    int dialogs = 0;
    qint32 pagesWhenLost = -1;
    QObject::connect(&crawl.resume(), &ResumeController::dialogOpened, [&] {
        ++dialogs;
        pagesWhenLost = crawl.pageCounter();
        // Back after a while: the 10-second re-test must find it.
        QTimer::singleShot(3000, [&] { probeServer.listen(QHostAddress::LocalHost, probePort); });
    });
    QEventLoop loop;
    QObject::connect(&crawl, &CrawlController::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(90000, &loop, &QEventLoop::quit);

    crawl.Start(CrawlSettings{1000, CrawlProfile::Classic});
    // Gone right after the start page went out.
    QTimer::singleShot(200, [&] { probeServer.close(); });
    loop.exec();
    if (crawl.pending() > 0) { // the last pages still arrive after the end
        QEventLoop drain;
        QObject::connect(&crawl, &CrawlController::allPagesBack, &drain, &QEventLoop::quit);
        QTimer::singleShot(10000, &drain, &QEventLoop::quit);
        drain.exec();
    }

    EXPECT_EQ(dialogs, 1);
    EXPECT_GT(pagesWhenLost, 0);
    EXPECT_EQ(messages, QStringList{QStringLiteral("Corvane has scanned specified URL.")});
    EXPECT_EQ(crawl.state(), CrawlState::EndedBySingleUrl);
    // Every page of the run is reached despite the pause, as in a run that never lost it.
    EXPECT_EQ(sorted(analysis.leads()), kFromCoastalLeads);
}
