#include "engine/ResumeController.h"
#include "engine/ConnectionProbe.h"
#include "engine/RunLimits.h"

#include <gtest/gtest.h>

#include <QStringList>

using namespace corvane;

namespace {

// A connection check that answers only when the test says so.
class ScriptedCheck final : public ConnectionCheck
{
public:
    using ConnectionCheck::check;
    void check() override { ++requests; }
    void answer(bool connected) { finish(connected); }
    int requests = 0;
};

using Verdict = ResumeController::StepVerdict;
using Activation = ResumeController::ReturnAction;
using State = ResumeController::State;

struct ResumeRig
{
    VirtualTimerSource timers;
    ScriptedCheck probe;
    ResumeController resume{probe, timers};
    QStringList events;

    ResumeRig()
    {
        QObject::connect(&resume, &ResumeController::clockPaused, [this] { events << "pause"; });
        QObject::connect(&resume, &ResumeController::dialogOpened, [this] { events << "open"; });
        QObject::connect(&resume, &ResumeController::dialogClosed, [this] { events << "close"; });
        QObject::connect(&resume, &ResumeController::processLinksRequested,
                         [this] { events << "process"; });
        QObject::connect(&resume, &ResumeController::stopRequested, [this] { events << "stop"; });
    }

    QStringList takeEvents() { return std::exchange(events, {}); }

    // The connection goes: the question opens.
    void loseConnection()
    {
        EXPECT_EQ(resume.connectionTested(false), Verdict::Skip);
        EXPECT_EQ(takeEvents(), (QStringList{"pause", "open"}));
    }
};

} // namespace

TEST(ResumeController, OnlineStepsProceedAndNothingIsRestoredBeforeAnyQuestion)
{
    ResumeRig rig;
    EXPECT_EQ(rig.resume.connectionTested(true), Verdict::Proceed);
    EXPECT_EQ(rig.resume.state(), State::Online);
    EXPECT_EQ(rig.resume.actionAfterQuestion(), Activation::Nothing);
    EXPECT_TRUE(rig.resume.dialogReply().isEmpty());
    EXPECT_TRUE(rig.events.isEmpty());
}

TEST(ResumeController, ConnectionBackWithinOnePeriodClosesTheQuestionByItself)
{
    ResumeRig rig;
    rig.loseConnection();
    EXPECT_EQ(rig.resume.state(), State::OfflineAsking);
    EXPECT_EQ(rig.resume.actionAfterQuestion(), Activation::Nothing);

    // Crawl steps under the open question neither ask again nor resume anything, but a step
    // that finds the connection puts the run back online while the question stays up.
    EXPECT_EQ(rig.resume.connectionTested(false), Verdict::Skip);
    EXPECT_EQ(rig.resume.connectionTested(true), Verdict::Proceed);
    EXPECT_EQ(rig.resume.state(), State::Online);
    EXPECT_TRUE(rig.resume.isAsking());
    EXPECT_EQ(rig.resume.connectionTested(false), Verdict::Skip);
    EXPECT_EQ(rig.resume.state(), State::OfflineAsking);
    EXPECT_EQ(rig.takeEvents(), (QStringList{"pause", "pause"}));

    rig.timers.advance(9999);
    EXPECT_EQ(rig.probe.requests, 0);
    rig.timers.advance(1);
    EXPECT_EQ(rig.probe.requests, 1);
    rig.probe.answer(true);
    EXPECT_EQ(rig.takeEvents(), (QStringList{"process", "close"}));
    EXPECT_EQ(rig.resume.state(), State::Online);
    EXPECT_EQ(rig.resume.dialogReply(), QStringLiteral("ok"));
    EXPECT_FALSE(rig.resume.resumeMode());
    EXPECT_FALSE(rig.resume.isRetestTimerActive());
    EXPECT_EQ(rig.resume.actionAfterQuestion(), Activation::EnableTimers);
}

TEST(ResumeController, StillOfflineKeepsAskingEveryTenSecondsWithOneTestAtATime)
{
    ResumeRig rig;
    rig.loseConnection();
    rig.timers.advance(10000);
    rig.probe.answer(false);
    EXPECT_TRUE(rig.resume.isAsking());
    rig.timers.advance(10000);
    EXPECT_EQ(rig.probe.requests, 2);
    // The second test hangs: further ticks wait for it rather than piling up.
    rig.timers.advance(30000);
    EXPECT_EQ(rig.probe.requests, 2);
    rig.probe.answer(false);
    rig.timers.advance(10000);
    EXPECT_EQ(rig.probe.requests, 3);
    rig.takeEvents();
    rig.probe.answer(true);
    EXPECT_EQ(rig.takeEvents(), (QStringList{"process", "close"}));
}

TEST(ResumeController, ResumeModeWaitsSilentlyForTheCrawlStepToFindTheConnection)
{
    ResumeRig rig;
    rig.loseConnection();
    rig.resume.chooseResumeMode();
    EXPECT_EQ(rig.takeEvents(), QStringList{"close"});
    EXPECT_EQ(rig.resume.state(), State::OfflineWaiting);
    EXPECT_TRUE(rig.resume.resumeMode());
    EXPECT_EQ(rig.resume.dialogReply(), QStringLiteral("ok"));
    EXPECT_EQ(rig.resume.actionAfterQuestion(), Activation::EnableTimersAndProcessLinks);

    // The question's own re-test stops with it; only crawl steps test from now on.
    rig.timers.advance(60000);
    EXPECT_EQ(rig.probe.requests, 0);
    EXPECT_EQ(rig.resume.connectionTested(false), Verdict::Skip);
    EXPECT_EQ(rig.takeEvents(), QStringList{"pause"}); // no further question
    EXPECT_EQ(rig.resume.connectionTested(true), Verdict::ResumeThenProceed);
    EXPECT_EQ(rig.resume.state(), State::Online);
    EXPECT_FALSE(rig.resume.resumeMode());
    EXPECT_EQ(rig.resume.connectionTested(true), Verdict::Proceed);
    EXPECT_EQ(rig.resume.actionAfterQuestion(), Activation::EnableTimers);

    // Lost again later with resume mode off: the question comes back.
    rig.loseConnection();
}

TEST(ResumeController, CancelEndsTheRunUntilTheNextStart)
{
    ResumeRig rig;
    rig.loseConnection();
    rig.resume.cancel();
    EXPECT_EQ(rig.takeEvents(), (QStringList{"close", "stop"}));
    EXPECT_EQ(rig.resume.state(), State::Ended);
    EXPECT_EQ(rig.resume.dialogReply(), QStringLiteral("ok"));
    EXPECT_EQ(rig.resume.actionAfterQuestion(), Activation::Nothing);
    rig.timers.advance(60000);
    EXPECT_EQ(rig.probe.requests, 0);

    // Answers that come when no question is open change nothing.
    rig.resume.chooseResumeMode();
    rig.resume.cancel();
    EXPECT_TRUE(rig.events.isEmpty());
    EXPECT_FALSE(rig.resume.resumeMode());

    // The reply stays "ok", so after a new Start every closed question brings the timers back.
    rig.resume.runStarted();
    EXPECT_EQ(rig.resume.state(), State::Online);
    EXPECT_EQ(rig.resume.actionAfterQuestion(), Activation::EnableTimers);
}

TEST(ResumeController, AnAnswerDuringAPendingTestWins)
{
    ResumeRig rig;
    rig.loseConnection();
    rig.timers.advance(10000);
    ASSERT_EQ(rig.probe.requests, 1);
    rig.resume.chooseResumeMode();
    rig.takeEvents();
    rig.probe.answer(true); // late: the user already chose
    EXPECT_TRUE(rig.events.isEmpty());
    EXPECT_EQ(rig.resume.state(), State::OfflineWaiting);
    EXPECT_TRUE(rig.resume.resumeMode());
}

TEST(ResumeController, ALateAnswerAfterTheControllerIsGoneIsHarmless)
{
    VirtualTimerSource timers;
    ScriptedCheck probe;
    int answers = 0;
    QObject::connect(&probe, &ConnectionCheck::checked, [&] { ++answers; });
    {
        ResumeController resume(probe, timers);
        (void)resume.connectionTested(false);
        timers.advance(10000);
        ASSERT_EQ(probe.requests, 1);
    }
    probe.answer(true);
    EXPECT_EQ(answers, 1);
}

TEST(ResumeController, TheClockStandsStillWhileTheConnectionIsGone)
{
    VirtualTimerSource timers;
    ScriptedCheck probe;
    RunLimitInputs inputs{QStringLiteral("60"), QStringLiteral("1000"), QStringLiteral("1000")};
    RunMonitor monitor(timers, [&] { return inputs; });
    ResumeController resume(probe, timers);
    // The wiring a harvest window makes.
    QObject::connect(&resume, &ResumeController::clockPaused, [&] {
        monitor.stop();
        monitor.showConnectionLost();
    });
    QObject::connect(&resume, &ResumeController::processLinksRequested, [&] { monitor.start(); });

    monitor.start();
    timers.advance(5000);
    (void)resume.connectionTested(false);
    EXPECT_EQ(monitor.activityImage(), ConnectionLostImage);
    timers.advance(10000);
    probe.answer(true);
    EXPECT_TRUE(monitor.isActive());
    EXPECT_EQ(monitor.clock().seconds, 5);
    timers.advance(1000);
    EXPECT_EQ(monitor.clock().seconds, 6);
}
