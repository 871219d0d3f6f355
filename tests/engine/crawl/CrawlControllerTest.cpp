#include "CrawlFakes.h"

#include "engine/CrawlSlots.h"
#include "engine/RunLimits.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

// A URL-list rig whose start page has been requested.
void startUrlList(CrawlRig &rig, const char *url = "http://site/dir/start.html")
{
    rig.job.searchType = SearchType::UrlList;
    CrawlRig::fill(rig.job.urlList, {{url, true}});
    rig.start();
}

} // namespace

TEST(CrawlArrivals, EmptyBlankAndOutOfRangeCompletionsChangeNothing)
{
    CrawlRig rig;
    startUrlList(rig);
    const qint32 pages = rig.crawl().pageCounter();
    emit rig.downloader.DownloadComplete(1, QStringLiteral("http://site/"), QByteArray());
    emit rig.downloader.DownloadComplete(1, QStringLiteral("http://site/"), QByteArray(" \r\n\t "));
    emit rig.downloader.DownloadComplete(0, QStringLiteral("http://site/"),
                                         QByteArray("links: x a@b.com"));
    emit rig.downloader.DownloadComplete(51, QStringLiteral("http://site/"),
                                         QByteArray("links: x a@b.com"));
    EXPECT_TRUE(rig.analysis.calls.isEmpty());
    EXPECT_TRUE(rig.store.saved.isEmpty());
    EXPECT_EQ(rig.crawl().pageCounter(), pages);
}

TEST(CrawlArrivals, EachSlotGoesToItsOwnAnalyserAndOnlyLaterPagesAreStored)
{
    CrawlRig rig;
    rig.job.buildKnowledgeBase = true;
    rig.job.knowledgeBaseRoot = QStringLiteral("/data/kb");
    startUrlList(rig);
    emit rig.downloader.DownloadComplete(1, QStringLiteral("ignored"),
                                         QByteArray("links: http://m/ x@y.com"));
    EXPECT_EQ(rig.crawl().pageCounter(), 2); // one request, one arrival of slot 1
    emit rig.downloader.DownloadComplete(6, QStringLiteral(" http://m/p "),
                                         QByteArray("no address here"));
    emit rig.downloader.DownloadComplete(7, QStringLiteral("http://m/q"), QByteArray("a@b.com"));
    emit rig.downloader.DownloadComplete(41, QStringLiteral("http://m/r"),
                                         QByteArray("links: http://m/s"));
    EXPECT_EQ(rig.analysis.calls,
              (QStringList{QStringLiteral("FetchURLLinks 0 base:http://site/dir/start.html"),
                           QStringLiteral("ExtractEmails 0"),
                           QStringLiteral("FetchURLDetails 1 base: http://m/p"),
                           QStringLiteral("FetchURLDetails 2 base:http://m/q"),
                           QStringLiteral("ExtractEmails 2"),
                           QStringLiteral("FetchURLDetails 6 base:http://m/r")}));
    EXPECT_EQ(rig.store.saved,
              (QStringList{QStringLiteral("http://m/p"), QStringLiteral("http://m/q"),
                           QStringLiteral("http://m/r")}));
    EXPECT_EQ(rig.analysis.mainQueue, QStringList{QStringLiteral("http://m/")});
    EXPECT_EQ(rig.analysis.linkQueue, QStringList{QStringLiteral("http://m/s")});
    // Arrivals of pages other than slot 1 do not count.
    EXPECT_EQ(rig.crawl().pageCounter(), 2);
}

TEST(CrawlArrivals, EachPageSeesTheCheckedFiltersAsTheyStandAndReportsEveryStoreProblem)
{
    CrawlRig rig;
    CrawlRig::fill(rig.job.excludedDomains, {{"a.com", true}, {"b.com", false}});
    rig.job.typeMode = EmailTypeMode::Include;
    CrawlRig::fill(rig.job.includedEmailTypes, {{"sales", true}, {"info", false}});
    rig.job.maxLeads = QStringLiteral("7");
    rig.job.buildKnowledgeBase = true;
    rig.store.problems = {QStringLiteral("SavePage->disk full"),
                          QStringLiteral("SaveFavorites->denied")};
    QStringList problems;
    QObject::connect(&rig.crawl(), &CrawlController::storeProblem,
                     [&](const QString &text) { problems << text; });
    startUrlList(rig);
    emit rig.downloader.DownloadComplete(7, QStringLiteral("http://m/1"), QByteArray("a@b.com"));
    EXPECT_EQ(
        rig.analysis.userFilters,
        (UserLeadFilters{
            {QStringLiteral("a.com")}, EmailTypeMode::Include, {}, {QStringLiteral("sales")}}));
    EXPECT_EQ(rig.analysis.leadLimit, 7);
    EXPECT_EQ(problems, rig.store.problems);

    // Checked while the run goes on; a limit being retyped keeps the last number.
    rig.job.excludedDomains.setMarked(1, true);
    rig.job.maxLeads = QStringLiteral("1x");
    emit rig.downloader.DownloadComplete(8, QStringLiteral("http://m/2"), QByteArray("c@d.com"));
    EXPECT_EQ(rig.analysis.userFilters.excludedDomains,
              (QStringList{QStringLiteral("a.com"), QStringLiteral("b.com")}));
    EXPECT_EQ(rig.analysis.leadLimit, 7);
    EXPECT_EQ(rig.crawl().storeProblemCount(), 4);
    EXPECT_TRUE(rig.messages.isEmpty()); // problems are not end-of-run messages
}

TEST(CrawlArrivals, NoLeadsAreSoughtWhenExtractionIsExcludedAndNothingStoredWithoutKnowledgeBase)
{
    CrawlRig rig;
    rig.job.excludeEmailExtraction = true;
    startUrlList(rig);
    emit rig.downloader.DownloadComplete(1, QStringLiteral("u"), QByteArray("a@b.com"));
    emit rig.downloader.DownloadComplete(9, QStringLiteral("http://v/"), QByteArray("c@d.com"));
    for (const QString &call : rig.analysis.calls)
        EXPECT_FALSE(call.startsWith(QLatin1String("ExtractEmails"))) << call.toStdString();
    EXPECT_TRUE(rig.store.saved.isEmpty());
    EXPECT_TRUE(rig.store.diskChecks.isEmpty());
}

TEST(CrawlRun, StopThenStartResumesWithQueuesCountersAndAnImmediateStep)
{
    CrawlRig rig;
    startUrlList(rig);
    rig.analysis.linkQueue = {QStringLiteral("http://l/1"), QStringLiteral("http://l/2")};
    rig.crawl().Stop();
    EXPECT_EQ(rig.crawl().state(), CrawlState::Stopped);
    EXPECT_FALSE(rig.crawl().monitor().isActive());
    EXPECT_FALSE(rig.crawl().crawlTimerRunning());
    // Pages in flight still arrive and are analysed after Stop.
    rig.downloader.bodies[QStringLiteral("http://site/dir/start.html")] = "links: http://m/1";
    rig.downloader.deliverAll();
    EXPECT_EQ(rig.analysis.mainQueue.size(), 1);

    const qint32 before = rig.crawl().pageCounter();
    rig.timers.advance(100000); // nothing ticks while stopped
    EXPECT_EQ(rig.downloader.requests.size(), 1);
    rig.start();
    EXPECT_EQ(rig.crawl().state(), CrawlState::Running);
    EXPECT_EQ(rig.downloader.urls().mid(1),
              (QStringList{QStringLiteral("http://l/1"), QStringLiteral("http://l/2")}));
    EXPECT_EQ(rig.crawl().pageCounter(), before + 2);
    EXPECT_EQ(rig.analysis.mainQueue.size(), 1);
    EXPECT_EQ(rig.searchList.filterReads, 1); // a resume loads nothing afresh
}

TEST(CrawlRun, LimitsChangedMidRunCountFromTheNextTickAndEndTheRunForGood)
{
    CrawlRig rig;
    rig.job.stopAfter = QStringLiteral("1");
    QStringList finished;
    QObject::connect(&rig.crawl(), &CrawlController::finished, &rig.crawl(),
                     [&](const QString &t) { finished << t; });
    rig.startUrlList(1000);
    rig.timers.advance(50000);
    rig.job.stopAfter = QStringLiteral("2"); // raised: the run goes past its first minute
    rig.timers.advance(30000);
    EXPECT_EQ(rig.crawl().state(), CrawlState::Running);
    rig.job.maxPages = QStringLiteral("1"); // lowered: the next tick ends the run
    rig.timers.advance(1000);
    EXPECT_EQ(rig.crawl().state(), CrawlState::EndedByLimit);
    EXPECT_EQ(rig.messages, QStringList{RunMessages::PageLimit});
    EXPECT_EQ(finished, rig.messages);
    EXPECT_FALSE(rig.crawl().monitor().isActive());
    EXPECT_FALSE(rig.crawl().crawlTimerRunning());
    const RunClock clock = rig.crawl().monitor().clock();
    rig.timers.advance(600000);
    EXPECT_EQ(rig.crawl().monitor().clock().seconds, clock.seconds); // nothing ticks after
}

TEST(CrawlRun, ClassicCadenceIsOneStepPerTimeoutPlusOneAndAHalfSeconds)
{
    CrawlRig rig;
    rig.job.pageTimeout = QStringLiteral("20");
    rig.startUrlList(44 * 10); // first burst at once
    EXPECT_EQ(rig.crawl().crawlIntervalMs(), 21500);
    rig.timers.advance(21499);
    EXPECT_EQ(rig.downloader.requests.size(), 44);
    rig.timers.advance(1);
    EXPECT_EQ(rig.downloader.requests.size(), 88);
    // Pages arriving at once do not hurry the classic pacing.
    rig.downloader.deliverAll();
    QCoreApplication::processEvents();
    EXPECT_EQ(rig.downloader.requests.size(), 88);
    rig.timers.advance(21500 * 3);
    EXPECT_EQ(rig.downloader.requests.size(), 88 + 3 * 44);
    EXPECT_EQ(rig.crawl().monitor().clock().totalMinutes() * 60 +
                  rig.crawl().monitor().clock().seconds,
              (21500 * 4) / 1000);
}

TEST(CrawlRun, ModernChainsTheNextBurstWhenTheLastOneHasCompleted)
{
    CrawlRig rig;
    rig.profile = CrawlProfile::Modern;
    rig.startUrlList(100);
    ASSERT_EQ(rig.downloader.requests.size(), 44);
    // Half the burst back: no new burst yet.
    for (int i = 0; i < 22; ++i)
        rig.downloader.deliverNext();
    QCoreApplication::processEvents();
    EXPECT_EQ(rig.downloader.requests.size(), 44);
    const int checksBefore = rig.connection.checks;
    rig.downloader.bodies[rig.downloader.requests[30].url] = "a page";
    rig.downloader.deliverAll();
    QCoreApplication::processEvents();
    EXPECT_EQ(rig.downloader.requests.size(), 88);
    EXPECT_EQ(rig.connection.checks, checksBefore); // the arrivals proved the connection
    // A burst that brought nothing back is checked like a tick.
    rig.downloader.deliverAll();
    QCoreApplication::processEvents();
    EXPECT_EQ(rig.downloader.requests.size(), 100);
    EXPECT_EQ(rig.connection.checks, checksBefore + 1);
    // The list is done only once the last burst is back, and then without waiting a tick.
    rig.timers.advance(rig.crawl().crawlIntervalMs());
    EXPECT_TRUE(rig.messages.isEmpty());
    rig.downloader.deliverAll();
    QCoreApplication::processEvents();
    EXPECT_EQ(rig.messages, QStringList{QString::fromLatin1(kUrlListDoneMessage)});
}

TEST(CrawlRun, DiskSpaceIsCheckedOnTheRootsDriveAtEveryStep)
{
    CrawlRig rig;
    rig.job.buildKnowledgeBase = true;
    rig.job.knowledgeBaseRoot = QStringLiteral("  C:\\kb\\store ");
    rig.store.lowDisk = true;
    rig.startUrlList(100);
    EXPECT_TRUE(rig.store.diskChecks.isEmpty()); // Start's own first step is not a crawl step
    rig.timers.advance(rig.crawl().crawlIntervalMs() * 2);
    EXPECT_EQ(rig.store.diskChecks, (QStringList{QStringLiteral("C:\\"), QStringLiteral("C:\\")}));
    EXPECT_EQ(rig.messages.first(), QStringLiteral("Insufficient hard disk space (below 5 MB)"));
}

TEST(CrawlConnection, LossStopsTheClockAsksOnceAndTheReturnResumesWithTheQueues)
{
    CrawlRig rig;
    rig.startUrlList(50);
    ASSERT_EQ(rig.downloader.requests.size(), 44);
    const qint32 pages = rig.crawl().pageCounter();

    rig.connection.online = false;
    rig.timers.advance(rig.crawl().crawlIntervalMs());
    EXPECT_EQ(rig.crawl().state(), CrawlState::WaitingForConnection);
    EXPECT_FALSE(rig.crawl().monitor().isActive());
    EXPECT_TRUE(rig.crawl().crawlTimerRunning());
    EXPECT_EQ(rig.dialogs, 1);
    const RunClock clock = rig.crawl().monitor().clock();
    rig.timers.advance(rig.crawl().crawlIntervalMs() * 3);
    EXPECT_EQ(rig.dialogs, 1); // the open dialog is not opened again
    EXPECT_EQ(rig.crawl().monitor().clock().seconds, clock.seconds); // the clock stands still
    EXPECT_EQ(rig.crawl().monitor().activityImage(), ConnectionLostImage);
    EXPECT_EQ(rig.downloader.requests.size(), 44);
    EXPECT_EQ(rig.analysis.linkQueue.size(), 6);
    EXPECT_EQ(rig.crawl().pageCounter(), pages);

    // The resume dialog's own re-test finds the connection and the run goes on.
    rig.connection.online = true;
    rig.timers.advance(ResumeController::RetestIntervalMs);
    EXPECT_EQ(rig.crawl().state(), CrawlState::Running);
    EXPECT_TRUE(rig.crawl().monitor().isActive());
    EXPECT_EQ(rig.downloader.requests.size(), 50);
}

TEST(CrawlConnection, ResumeModeWaitsSilentlyAndTheFirstStepOnlineResumes)
{
    CrawlRig rig;
    rig.startUrlList(200);
    rig.connection.online = false;
    rig.timers.advance(rig.crawl().crawlIntervalMs());
    // The question closing brings the timers back and, in resume mode, one step at once.
    rig.crawl().resume().chooseResumeMode();
    EXPECT_EQ(rig.downloader.requests.size(), 88);
    rig.timers.advance(rig.crawl().crawlIntervalMs() * 2);
    EXPECT_EQ(rig.dialogs, 1);
    EXPECT_EQ(rig.downloader.requests.size(), 88);

    rig.connection.online = true;
    rig.timers.advance(rig.crawl().crawlIntervalMs());
    // ProcessLinks and then the step itself: two bursts.
    EXPECT_EQ(rig.downloader.requests.size(), 176);
    EXPECT_FALSE(rig.crawl().resume().resumeMode());
    EXPECT_TRUE(rig.crawl().monitor().isActive());
}

TEST(CrawlConnection, ModernGoesOnAfterTheResumedBurstWithoutWaitingForATick)
{
    CrawlRig rig;
    rig.profile = CrawlProfile::Modern;
    rig.startUrlList(100);
    rig.connection.online = false;
    rig.downloader.deliverAll();
    QCoreApplication::processEvents(); // the chained step finds the connection gone
    ASSERT_EQ(rig.dialogs, 1);
    ASSERT_EQ(rig.crawl().state(), CrawlState::WaitingForConnection);

    // Resume Mode closes the question, and the run takes its next burst at once.
    rig.crawl().resume().chooseResumeMode();
    EXPECT_EQ(rig.downloader.requests.size(), 88);
    rig.connection.online = true;
    rig.downloader.deliverAll();
    QCoreApplication::processEvents();
    EXPECT_EQ(rig.downloader.requests.size(), 100);
    EXPECT_EQ(rig.crawl().state(), CrawlState::Running);
    EXPECT_FALSE(rig.crawl().resume().resumeMode());
}

TEST(CrawlConnection, CancelEndsTheRunResumably)
{
    CrawlRig rig;
    startUrlList(rig);
    rig.connection.online = false;
    rig.timers.advance(rig.crawl().crawlIntervalMs());
    rig.crawl().resume().cancel();
    EXPECT_EQ(rig.crawl().state(), CrawlState::Stopped);
    EXPECT_FALSE(rig.crawl().crawlTimerRunning());
}

TEST(CrawlRun, SkipDomainDropsTheQueuedLinkPagesAndGoesOnWithTheMainPages)
{
    CrawlRig rig;
    rig.job.searchType = SearchType::UrlList;
    CrawlRig::fill(rig.job.urlList, {{"http://a/", true}});
    rig.start();
    rig.analysis.linkQueue = {QStringLiteral("http://a/l1"), QStringLiteral("http://a/l2")};
    rig.analysis.mainQueue = {QStringLiteral("http://b/")};
    rig.crawl().SkipDomain();
    EXPECT_TRUE(rig.analysis.linkQueue.isEmpty());
    EXPECT_EQ(rig.downloader.urls(),
              (QStringList{QStringLiteral("http://a/"), QStringLiteral("http://b/")}));
    EXPECT_TRUE(rig.crawl().crawlTimerRunning());

    // A stopped run loses the queued link pages but does not start again.
    rig.crawl().Stop();
    rig.analysis.linkQueue = {QStringLiteral("http://a/l3")};
    rig.analysis.mainQueue = {QStringLiteral("http://c/")};
    rig.crawl().SkipDomain();
    EXPECT_TRUE(rig.analysis.linkQueue.isEmpty());
    EXPECT_EQ(rig.downloader.requests.size(), 2);
    EXPECT_FALSE(rig.crawl().crawlTimerRunning());
    EXPECT_EQ(rig.crawl().state(), CrawlState::Stopped);
}
