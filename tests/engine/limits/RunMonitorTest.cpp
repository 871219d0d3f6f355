#include "engine/RunLimits.h"

#include <gtest/gtest.h>

#include <QStringList>

using namespace corvane;

namespace {

// A running monitor in virtual time whose inputs the test changes between ticks.
struct MonitorRig
{
    VirtualTimerSource timers;
    RunLimitInputs inputs{QStringLiteral("60"), QStringLiteral("100000"), QStringLiteral("10000")};
    RunMonitor monitor{timers, [this] { return inputs; }};
    QStringList messages;
    QList<qint64> limitTimes;
    QStringList failures;
    QList<int> cleanupMinutes;
    int ticks = 0;

    MonitorRig()
    {
        QObject::connect(&monitor, &RunMonitor::limitHit, [this](RunLimit, const QString &m) {
            messages << m;
            limitTimes << timers.nowMs();
        });
        QObject::connect(&monitor, &RunMonitor::tickFailed,
                         [this](const QString &m) { failures << m; });
        QObject::connect(&monitor, &RunMonitor::cleanupDue,
                         [this] { cleanupMinutes << monitor.clock().minutes; });
        QObject::connect(&monitor, &RunMonitor::ticked, [this] { ++ticks; });
        monitor.start();
    }

    void runTicks(int n) { timers.advance(qint64(n) * RunMonitor::IntervalMs); }
};

} // namespace

TEST(RunClock, MinuteAndHourTurnOverAsTheLabelsDo)
{
    RunClock clock;
    for (int i = 0; i < 59; ++i)
        clock.advance(1000);
    EXPECT_EQ(clock.seconds, 59);
    EXPECT_EQ(clock.text(), QStringLiteral("0:00:59"));
    clock.advance(1000);
    EXPECT_EQ(clock.minutes, 1);
    EXPECT_EQ(clock.seconds, 0);

    for (int i = 60; i < 3599; ++i)
        clock.advance(1000);
    EXPECT_EQ(clock.text(), QStringLiteral("0:59:59"));
    clock.advance(1000);
    EXPECT_EQ(clock.hours, 1);
    EXPECT_EQ(clock.text(), QStringLiteral("1:00:00"));
    EXPECT_EQ(clock.totalMinutes(), 60);
    clock.advance(1000);
    EXPECT_EQ(clock.text(), QStringLiteral("1:00:01"));
    for (int i = 0; i < 59; ++i)
        clock.advance(1000);
    EXPECT_EQ(clock.text(), QStringLiteral("1:01:00"));
}

TEST(RunMonitor, TimeLimitEndsTheRunOnTheTickAfterTheClockReachesIt)
{
    MonitorRig rig;
    rig.inputs.stopAfter = QStringLiteral(" 20 ");
    rig.runTicks(1200);
    EXPECT_TRUE(rig.messages.isEmpty());
    EXPECT_EQ(rig.monitor.clock().text(), QStringLiteral("0:20:00"));
    rig.runTicks(1);
    EXPECT_EQ(rig.messages, QStringList{QStringLiteral("Corvane has scanned for specified time.")});
    EXPECT_EQ(rig.limitTimes, QList<qint64>{1201000});
    EXPECT_EQ(rig.monitor.limitReached(), RunLimit::Time);
    // The clock stands where the limit found it and the timer is off: no second message.
    EXPECT_FALSE(rig.monitor.isActive());
    rig.runTicks(100);
    EXPECT_EQ(rig.messages.size(), 1);
    EXPECT_EQ(rig.monitor.clock().text(), QStringLiteral("0:20:00"));
}

TEST(RunMonitor, SixtyMinutesEndsWhenTheClockReachesOneHour)
{
    MonitorRig rig;
    rig.runTicks(3600);
    EXPECT_TRUE(rig.messages.isEmpty());
    EXPECT_EQ(rig.monitor.clock().text(), QStringLiteral("1:00:00"));
    rig.runTicks(1);
    EXPECT_EQ(rig.limitTimes, QList<qint64>{3601000});
}

TEST(RunMonitor, FirstLimitInOrderTimePagesLeadsWins)
{
    MonitorRig rig;
    rig.inputs.stopAfter = QStringLiteral("1");
    rig.inputs.maxPages = QStringLiteral("100");
    rig.inputs.maxLeads = QStringLiteral("5");
    rig.runTicks(60);
    // Every limit is reached before the next tick: time is named, alone.
    rig.inputs.pageCounter = 100;
    rig.inputs.leadCounter = 5;
    rig.runTicks(1);
    EXPECT_EQ(rig.messages, QStringList{QStringLiteral("Corvane has scanned for specified time.")});

    MonitorRig pages;
    pages.inputs.maxPages = QStringLiteral("100");
    pages.inputs.maxLeads = QStringLiteral("5");
    pages.inputs.pageCounter = 150;
    pages.inputs.leadCounter = 9;
    pages.runTicks(1);
    EXPECT_EQ(pages.messages,
              QStringList{QStringLiteral("Corvane has scanned specified number of pages.")});

    MonitorRig leads;
    leads.inputs.maxLeads = QStringLiteral("5");
    leads.inputs.leadCounter = 5;
    leads.runTicks(1);
    EXPECT_EQ(leads.messages,
              QStringList{QStringLiteral("Corvane has fetched specified number of Leads.")});
}

TEST(RunMonitor, PageLimitFiresOnTheFirstTickAtOrAboveIt)
{
    MonitorRig rig;
    rig.inputs.maxPages = QStringLiteral("100");
    rig.inputs.pageCounter = 99;
    rig.runTicks(5);
    EXPECT_TRUE(rig.messages.isEmpty());
    rig.timers.advance(300); // the crawl counts pages between ticks
    rig.inputs.pageCounter = 100;
    rig.runTicks(1);
    EXPECT_EQ(rig.limitTimes, QList<qint64>{6000});
    EXPECT_EQ(rig.monitor.clock().seconds, 5);

    // A resumed run (Start again) with the limit still reached ends at its first tick.
    rig.monitor.start();
    rig.runTicks(1);
    EXPECT_EQ(rig.messages.size(), 2);
}

TEST(RunMonitor, BadLimitTextFailsTheTickWithoutStoppingTheRun)
{
    MonitorRig rig;
    rig.inputs.stopAfter = QStringLiteral("abc");
    rig.runTicks(2);
    EXPECT_EQ(
        rig.failures,
        (QStringList{QStringLiteral("tmrTimer-->Stop Search After: \"abc\" is not a number."),
                     QStringLiteral("tmrTimer-->Stop Search After: \"abc\" is not a number.")}));
    EXPECT_EQ(rig.monitor.clock().seconds, 0); // the clock does not advance on a failed tick
    EXPECT_TRUE(rig.monitor.isActive());

    rig.inputs.stopAfter = QStringLiteral("60");
    rig.inputs.maxLeads = QString();
    rig.runTicks(1);
    EXPECT_EQ(rig.failures.last(),
              QStringLiteral("tmrTimer-->Maximum Leads Extraction: \"\" is not a number."));

    // A limit reached before the bad field is still honoured.
    rig.inputs.maxPages = QStringLiteral("10");
    rig.inputs.pageCounter = 10;
    rig.runTicks(1);
    EXPECT_EQ(rig.messages,
              QStringList{QStringLiteral("Corvane has scanned specified number of pages.")});
    EXPECT_EQ(rig.failures.size(), 3);
}

TEST(RunMonitor, CleanupIsAskedOnEveryTickOfTheMarkedMinutes)
{
    MonitorRig rig;
    rig.inputs.stopAfter = QStringLiteral("90");
    rig.runTicks(600);
    EXPECT_TRUE(rig.cleanupMinutes.isEmpty()); // the label has just turned to 10
    rig.runTicks(1);
    EXPECT_EQ(rig.cleanupMinutes.size(), 1);
    rig.runTicks(3000);
    // Minutes 10, 20, 30, 40, 50 and 59, sixty ticks each.
    EXPECT_EQ(rig.cleanupMinutes.size(), 360);
    for (int m : {10, 20, 30, 40, 50, 59})
        EXPECT_EQ(rig.cleanupMinutes.count(m), 60) << m;

    rig.runTicks(60); // minute 0 of hour 1 asks for nothing
    EXPECT_EQ(rig.cleanupMinutes.size(), 360);
    EXPECT_EQ(rig.monitor.clock().hours, 1);
}

TEST(RunMonitor, ActivityPictureCyclesAndShowsALostConnection)
{
    MonitorRig rig;
    QList<int> images;
    for (int i = 0; i < 4; ++i) {
        rig.runTicks(1);
        images << rig.monitor.activityImage();
    }
    EXPECT_EQ(images, (QList<int>{4, 2, 3, 4}));
    rig.monitor.stop();
    rig.monitor.showConnectionLost();
    EXPECT_EQ(rig.monitor.activityImage(), ConnectionLostImage);
    rig.runTicks(10);
    EXPECT_EQ(rig.monitor.clock().seconds, 4); // the clock stands still while stopped
    rig.monitor.start();
    rig.runTicks(1);
    EXPECT_EQ(rig.monitor.activityImage(), 2);
    EXPECT_EQ(rig.monitor.clock().seconds, 5);
}

TEST(RunMonitor, KnowledgeBaseCountFollowsTheCheckBoxOnTheNextTick)
{
    MonitorRig rig;
    rig.inputs.buildKnowledgeBase = true;
    rig.inputs.knowledgeBasePageCounter = 7;
    rig.runTicks(1);
    EXPECT_TRUE(rig.monitor.knowledgeBaseCountVisible());
    EXPECT_EQ(rig.monitor.knowledgeBaseCount(), 7);
    rig.inputs.pageCounter = 12;
    rig.inputs.leadCounter = 3;
    rig.runTicks(1);
    EXPECT_EQ(rig.monitor.progressLine(), QStringLiteral("0:00:02 pages 12 leads 3 kb 7"));
    rig.inputs.buildKnowledgeBase = false;
    EXPECT_TRUE(rig.monitor.knowledgeBaseCountVisible());
    rig.runTicks(1);
    EXPECT_FALSE(rig.monitor.knowledgeBaseCountVisible());
    EXPECT_EQ(rig.monitor.progressLine(), QStringLiteral("0:00:03 pages 12 leads 3"));
}
