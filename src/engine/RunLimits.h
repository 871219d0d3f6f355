#pragma once

#include "common/Result.h"
#include "common/TimerSource.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace corvane {

// The messages that end a run.
namespace RunMessages {
inline const QString TimeLimit = QStringLiteral("Corvane has scanned for specified time.");
inline const QString PageLimit = QStringLiteral("Corvane has scanned specified number of pages.");
inline const QString LeadLimit = QStringLiteral("Corvane has fetched specified number of Leads.");
inline const QString UrlListDone = QStringLiteral("Corvane has completed the specified search.");
inline const QString SingleUrlDone = QStringLiteral("Corvane has scanned specified URL.");
// Prefix of an error inside one tick of the elapsed-time timer.
inline const QString TickErrorPrefix = QStringLiteral("tmrTimer-->");
} // namespace RunMessages

enum class RunLimit { Time, Pages, Leads };

QString runLimitMessage(RunLimit limit);

// What a tick reads live each second: the limit texts as they stand in the settings tab
// (`cmbStop`, `cmbSearched`, `cmbEmail`, untrimmed) and the run's counters.
struct RunLimitInputs
{
    QString stopAfter;
    QString maxPages;
    QString maxLeads;
    qint32 pageCounter = 0;
    qint32 leadCounter = 0;
    bool buildKnowledgeBase = false; // `chkKB`
    qint32 knowledgeBasePageCounter = 0;
};

// The "Total Time Taken" clock as its three labels show it. The labels start at 0 when the
// harvest window loads and are never reset by Start, so a resumed run keeps counting.
struct RunClock
{
    int hours = 0;        // `lblHr`
    int minutes = 0;      // `lblMin`
    int seconds = 0;      // `lblSec`
    qint32 elapsedMs = 0; // milliseconds within the current minute

    int totalMinutes() const { return hours * 60 + minutes; }
    // "H:MM:SS" for the command line.
    QString text() const;

    // Adds intervalMs to the seconds, then turns the minute (60000 ms or more) and the hour
    // (60 minutes or more): after 3600 one-second ticks the clock reads 1:00:00.
    void advance(qint32 intervalMs);
    // The two halves of advance(): the seconds, then the hour and minute turn-over. The
    // clean-up mark is looked at between them.
    void addInterval(qint32 intervalMs);
    void turnOver();
};

// The minute marks at which the browser cache and old temporary files are purged: every
// tick while the minute label shows one of them.
bool isCleanupMinute(int minutes);

// The first limit reached, checked in the order time, pages, leads; an error when a limit
// text does not read as a number (the error text names the field).
Result<std::optional<RunLimit>> firstLimitReached(const RunClock &clock,
                                                  const RunLimitInputs &inputs);

// The activity picture `imgDisp`: images 4, 2, 3 cycle one per tick; image 1 marks a
// lost connection.
constexpr int ConnectionLostImage = 1;

// The elapsed-time timer `tmrTimer` of a harvest window, without the window: it ticks every
// 1000 ms, ends the run at the first limit reached and keeps the progress values that the
// window's labels or the command line show.
//
// The crawl controller owns one, enables it at Start, in ProcessLinks and when the
// connection returns, and disables it at Stop and when the connection is lost.
class RunMonitor : public QObject
{
    Q_OBJECT
public:
    static constexpr int IntervalMs = 1000;

    using InputProvider = std::function<RunLimitInputs()>;

    // inputs is asked once per tick; the limits are read live, not from the captured values.
    RunMonitor(TimerSource &timers, InputProvider inputs, QObject *parent = nullptr);
    ~RunMonitor() override;

    // Enable/disable `tmrTimer`. start() keeps the clock where it stands.
    void start();
    void stop();
    bool isActive() const;

    // One tick, as the timer runs it; public so a caller can drive the logic directly.
    void tick();

    const RunClock &clock() const { return m_clock; }
    // Restores a clock (a window that outlives a run, a test).
    void setClock(const RunClock &clock) { m_clock = clock; }

    // Progress for the result tab.
    int activityImage() const { return m_activityImage; }          // 4, 2, 3 or ConnectionLostImage
    bool knowledgeBaseCountVisible() const { return m_kbVisible; } // `lblKB`, `lblKBCount`
    qint32 knowledgeBaseCount() const { return m_kbCount; }        // `lblKBCount`
    std::optional<RunLimit> limitReached() const { return m_limit; }
    // The counters as the last tick read them.
    qint32 pageCount() const { return m_last.pageCounter; }
    qint32 leadCount() const { return m_last.leadCounter; }
    // One line for the command line: "0:05:12 pages 120 leads 34", plus " kb 7" while the
    // knowledge-base count is shown.
    QString progressLine() const;

    // Shows image 1 (the crawl step found no connection).
    void showConnectionLost();

signals:
    // After every tick, whatever it did, so the labels can be refreshed.
    void ticked();
    // The run hit a limit: the timer is already off, so no second message can follow.
    // The receiver shows message, sets its limit-reached flag, runs `cmdStop`, turns the
    // crawl timer off and disables Start.
    void limitHit(corvane::RunLimit limit, const QString &message);
    // The clock stands at a clean-up minute: purge the browser cache and temporary files.
    void cleanupDue();
    // A tick failed; message is "tmrTimer-->" plus the error text. The next tick runs as usual.
    void tickFailed(const QString &message);

private:
    std::unique_ptr<Timer> m_timer;
    InputProvider m_inputs;
    RunClock m_clock;
    int m_activityPosition = 1; // 1 to 3
    int m_activityImage = 4;
    bool m_kbVisible = false;
    qint32 m_kbCount = 0;
    std::optional<RunLimit> m_limit;
    RunLimitInputs m_last;
};

} // namespace corvane
