#include "common/TimerSource.h"

#include <gtest/gtest.h>

#include <QString>
#include <QStringList>

using namespace corvane;

namespace {

// Records "name@time" for every timeout.
struct FireLog
{
    VirtualTimerSource &source;
    QStringList entries;

    void watch(Timer &timer, const QString &name)
    {
        QObject::connect(&timer, &Timer::timeout, [this, name] {
            entries << QStringLiteral("%1@%2").arg(name).arg(source.nowMs());
        });
    }
};

} // namespace

TEST(VirtualTimerSource, FiresInDeadlineOrderWithTiesInCreationOrder)
{
    VirtualTimerSource source;
    FireLog log{source, {}};
    auto slow = source.createTimer();
    auto fastA = source.createTimer();
    auto fastB = source.createTimer();
    log.watch(*slow, QStringLiteral("slow"));
    log.watch(*fastA, QStringLiteral("a"));
    log.watch(*fastB, QStringLiteral("b"));
    // Started in reverse of creation; equal deadlines still go in start order.
    slow->start(1500);
    fastB->start(1000);
    fastA->start(1000);

    source.advance(999);
    EXPECT_TRUE(log.entries.isEmpty());
    source.advance(2001);
    EXPECT_EQ(log.entries, (QStringList{QStringLiteral("b@1000"), QStringLiteral("a@1000"),
                                        QStringLiteral("slow@1500"), QStringLiteral("b@2000"),
                                        QStringLiteral("a@2000"), QStringLiteral("slow@3000"),
                                        QStringLiteral("b@3000"), QStringLiteral("a@3000")}));
    EXPECT_EQ(source.nowMs(), 3000);
}

TEST(VirtualTimerSource, SingleShotFiresOnceAndCanBeRestarted)
{
    VirtualTimerSource source;
    FireLog log{source, {}};
    auto timer = source.createTimer();
    timer->setSingleShot(true);
    log.watch(*timer, QStringLiteral("t"));
    timer->start(100);
    source.advance(1000);
    EXPECT_EQ(log.entries, QStringList{QStringLiteral("t@100")});
    EXPECT_FALSE(timer->isActive());
    EXPECT_FALSE(source.advanceToNext());

    timer->start(50);
    EXPECT_TRUE(source.advanceToNext());
    EXPECT_EQ(log.entries.last(), QStringLiteral("t@1050"));
}

TEST(VirtualTimerSource, StopAndRestartMoveTheDeadline)
{
    VirtualTimerSource source;
    FireLog log{source, {}};
    auto timer = source.createTimer();
    log.watch(*timer, QStringLiteral("t"));
    timer->start(1000);
    source.advance(600);
    timer->stop();
    EXPECT_FALSE(timer->isActive());
    source.advance(1000);
    EXPECT_TRUE(log.entries.isEmpty());

    // A restart counts the whole interval again from now.
    timer->start(1000);
    source.advance(400);
    timer->start(1000);
    source.advance(999);
    EXPECT_TRUE(log.entries.isEmpty());
    source.advance(1);
    EXPECT_EQ(log.entries, QStringList{QStringLiteral("t@3000")});
    EXPECT_EQ(timer->interval(), 1000);
}

TEST(VirtualTimerSource, TimeoutHandlersMayStopOtherTimersAndThemselves)
{
    VirtualTimerSource source;
    FireLog log{source, {}};
    auto first = source.createTimer();
    auto second = source.createTimer();
    log.watch(*first, QStringLiteral("first"));
    log.watch(*second, QStringLiteral("second"));
    QObject::connect(first.get(), &Timer::timeout, [&] {
        second->stop();
        first->stop();
    });
    first->start(10);
    second->start(10);
    source.advance(100);
    EXPECT_EQ(log.entries, QStringList{QStringLiteral("first@10")});

    // A destroyed timer leaves nothing behind in the queue.
    second->start(5);
    second.reset();
    EXPECT_FALSE(source.advanceToNext());
}
