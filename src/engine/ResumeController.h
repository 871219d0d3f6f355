#pragma once

#include "common/TimerSource.h"

#include <QObject>
#include <QString>
#include <QUrl>

#include <memory>

namespace corvane {

class ConnectionCheck;

// Captions of the "Resume Support" dialog `ResumeDialog`.
namespace ResumeTexts {
inline const QString Caption = QStringLiteral("Resume Support");
inline const QString Title = QStringLiteral(
    "Internet connetion is not available, however the application is resume supported.");
inline const QString ResumeHint = QStringLiteral(
    "Click \"Resume Mode\" to automaticaly resume the process, once the connection is available");
inline const QString CancelHint =
    QStringLiteral("Click \"Cancel\" to terminate the process and save the results.");
inline const QString ResumeButton = QStringLiteral("&Resume Mode");
inline const QString CancelButton = QStringLiteral("&Cancel");
// The reply the dialog leaves behind whenever it closes.
inline const QString ReplyOk = QStringLiteral("ok");
// Which address the connection test reaches, so that a run on a network without the
// Internet can be told where to look instead.
inline QString probeLine(const QUrl &probe)
{
    return QStringLiteral("The connection is tested by reaching %1.").arg(probe.toString());
}
} // namespace ResumeTexts

// How a run lives through a lost connection, without any window: the crawl step reports each
// connection test here, a dialog (or the command line) shows the questions and reports the
// user's choice, and this object says what the run must do through its signals. Its own
// timer `tmrResume` re-tests the connection every 10 s while the question is open.
//
//   Online          --test fails, resume mode off-->  OfflineAsking (dialogOpened)
//   Online          --test fails, resume mode on -->  OfflineWaiting
//   OfflineAsking   --crawl step finds connection-->  Online (the question stays open)
//   OfflineAsking   --tmrResume finds connection-->   Online (processLinksRequested, dialogClosed)
//   OfflineAsking   --chooseResumeMode-->             OfflineWaiting (dialogClosed)
//   OfflineAsking   --cancel-->                       Ended (dialogClosed, stopRequested)
//   OfflineWaiting  --crawl step finds connection-->  Online (step returns ResumeThenProceed)
//   Ended           --runStarted-->                   Online
class ResumeController : public QObject
{
    Q_OBJECT
public:
    static constexpr int RetestIntervalMs = 10000;

    enum class State { Online, OfflineAsking, OfflineWaiting, Ended };

    // What the crawl step does after its connection test.
    enum class StepVerdict {
        Proceed,           // carry on with the step
        ResumeThenProceed, // leave resume mode: enable the crawl timer, run ProcessLinks, carry on
        Skip,              // no connection: the step ends here, nothing is downloaded
    };

    // What the run does once the question has closed.
    enum class ReturnAction {
        Nothing,
        EnableTimers,                // enable `tmrTimer` and the crawl timer
        EnableTimersAndProcessLinks, // the same, then run ProcessLinks
    };

    ResumeController(ConnectionCheck &probe, TimerSource &timers, QObject *parent = nullptr);
    ~ResumeController() override;

    // The crawl step's connection test came back. On failure this stops the clock (signal
    // clockPaused) and, unless resume mode is on or the question is already open, asks.
    StepVerdict connectionTested(bool connected);

    // The user's answers in the dialog.
    void chooseResumeMode(); // `cmdResume`
    void cancel();           // `cmdCancel`

    // What brings the run's timers back once the question has closed: nothing before it has
    // ever closed, while it is open, or after Cancel ended the run.
    ReturnAction actionAfterQuestion() const;

    // A new Start: the run is no longer ended by Cancel.
    void runStarted();

    State state() const { return m_state; }
    bool resumeMode() const { return m_resumeMode; }
    // "ok" once the dialog has closed, empty before; never cleared.
    const QString &dialogReply() const { return m_reply; }
    // The question is open: from the failed test until it is answered or settles itself.
    bool isAsking() const { return m_dialogOpen; }
    bool isRetestTimerActive() const;

signals:
    // The connection is gone: stop `tmrTimer` and show the lost-connection picture.
    void clockPaused();
    // Show the "Resume Support" question (modal in the window).
    void dialogOpened();
    // The question is answered or settled by itself: close it.
    void dialogClosed();
    // The connection came back while asking: run ProcessLinks (it restarts `tmrTimer`).
    void processLinksRequested();
    // The user cancelled: end the run with `cmdStop`.
    void stopRequested();
    void stateChanged(corvane::ResumeController::State state);

private:
    void retest();
    void closeDialog();
    void setState(State state);

    ConnectionCheck &m_probe;
    std::unique_ptr<Timer> m_retestTimer;
    State m_state = State::Online;
    bool m_resumeMode = false;
    bool m_endedByCancel = false;
    bool m_retestPending = false;
    bool m_dialogOpen = false;
    QString m_reply;
};

} // namespace corvane
