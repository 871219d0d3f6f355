#include "engine/ResumeController.h"

#include "engine/ConnectionProbe.h"

#include <QPointer>

namespace corvane {

ResumeController::ResumeController(ConnectionCheck &probe, TimerSource &timers, QObject *parent)
    : QObject(parent), m_probe(probe), m_retestTimer(timers.createTimer())
{
    connect(m_retestTimer.get(), &Timer::timeout, this, &ResumeController::retest);
}

ResumeController::~ResumeController() = default;

bool ResumeController::isRetestTimerActive() const
{
    return m_retestTimer->isActive();
}

ResumeController::StepVerdict ResumeController::connectionTested(bool connected)
{
    if (connected) {
        if (!m_resumeMode) {
            // Online again, though an open question stays up until its own re-test or the
            // user settles it.
            setState(State::Online);
            return StepVerdict::Proceed;
        }
        m_resumeMode = false;
        setState(State::Online);
        return StepVerdict::ResumeThenProceed;
    }

    emit clockPaused();
    if (m_resumeMode) {
        setState(State::OfflineWaiting);
        return StepVerdict::Skip;
    }
    setState(State::OfflineAsking);
    // The crawl timer keeps ticking under the open question; one question is enough.
    if (m_dialogOpen)
        return StepVerdict::Skip;
    m_dialogOpen = true;
    m_retestTimer->start(RetestIntervalMs);
    emit dialogOpened();
    return StepVerdict::Skip;
}

void ResumeController::chooseResumeMode()
{
    if (!m_dialogOpen)
        return;
    m_reply = ResumeTexts::ReplyOk;
    m_resumeMode = true;
    setState(State::OfflineWaiting);
    closeDialog();
}

void ResumeController::cancel()
{
    if (!m_dialogOpen)
        return;
    m_reply = ResumeTexts::ReplyOk;
    m_resumeMode = false;
    m_endedByCancel = true;
    setState(State::Ended);
    closeDialog();
    emit stopRequested();
}

ResumeController::ReturnAction ResumeController::actionAfterQuestion() const
{
    // Nothing to bring back before the question has ever closed, while it is open, or after
    // the user ended the run with Cancel.
    if (m_reply != ResumeTexts::ReplyOk || m_endedByCancel || m_dialogOpen)
        return ReturnAction::Nothing;
    return m_resumeMode ? ReturnAction::EnableTimersAndProcessLinks : ReturnAction::EnableTimers;
}

void ResumeController::runStarted()
{
    m_endedByCancel = false;
    if (m_state == State::Ended)
        setState(State::Online);
}

void ResumeController::retest()
{
    if (m_retestPending)
        return; // the previous test has not answered yet
    m_retestPending = true;
    QPointer<ResumeController> self(this);
    m_probe.check([self](bool connected) {
        if (!self)
            return;
        self->m_retestPending = false;
        // The user may have answered while the test was under way.
        if (!connected || !self->m_dialogOpen)
            return;
        self->m_reply = ResumeTexts::ReplyOk;
        self->m_resumeMode = false;
        self->setState(State::Online);
        emit self->processLinksRequested();
        if (self)
            self->closeDialog();
    });
}

void ResumeController::closeDialog()
{
    m_dialogOpen = false;
    m_retestTimer->stop();
    emit dialogClosed();
}

void ResumeController::setState(State state)
{
    if (m_state == state)
        return;
    m_state = state;
    emit stateChanged(state);
}

} // namespace corvane
