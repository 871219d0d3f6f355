#include "engine/RunLimits.h"

#include "engine/HarvestJob.h"

namespace corvane {

namespace {

// The activity picture for positions 1, 2 and 3.
constexpr int ActivityImages[] = {4, 2, 3};

Result<double> limitValue(const QString &text, const char *fieldName)
{
    const std::optional<double> value = numericValue(text);
    if (!value)
        return fail(QStringLiteral("%1: \"%2\" is not a number.")
                        .arg(QString::fromLatin1(fieldName), text.trimmed()));
    return *value;
}

} // namespace

QString runLimitMessage(RunLimit limit)
{
    switch (limit) {
    case RunLimit::Time:
        return RunMessages::TimeLimit;
    case RunLimit::Pages:
        return RunMessages::PageLimit;
    case RunLimit::Leads:
        return RunMessages::LeadLimit;
    }
    return {};
}

QString RunClock::text() const
{
    return QStringLiteral("%1:%2:%3")
        .arg(hours)
        .arg(minutes, 2, 10, QLatin1Char('0'))
        .arg(seconds, 2, 10, QLatin1Char('0'));
}

void RunClock::advance(qint32 intervalMs)
{
    addInterval(intervalMs);
    turnOver();
}

void RunClock::addInterval(qint32 intervalMs)
{
    elapsedMs += intervalMs;
    seconds = elapsedMs / 1000;
}

void RunClock::turnOver()
{
    if (elapsedMs >= 60000) {
        seconds = 0;
        ++minutes;
        elapsedMs = 0;
    }
    // Turned on the same tick as the minute, so the clock never reads "60" minutes and no
    // second is lost at the hour.
    if (minutes >= 60) {
        ++hours;
        minutes = 0;
        seconds = 0;
        elapsedMs = 0;
    }
}

bool isCleanupMinute(int minutes)
{
    switch (minutes) {
    case 10:
    case 20:
    case 30:
    case 40:
    case 50:
    case 59:
        return true;
    default:
        return false;
    }
}

Result<std::optional<RunLimit>> firstLimitReached(const RunClock &clock,
                                                  const RunLimitInputs &inputs)
{
    // Each limit text is read only when the limits before it are not reached, so a bad text
    // in a later field does not stop an earlier limit from ending the run.
    const Result<double> minutes = limitValue(inputs.stopAfter, "Stop Search After");
    if (!minutes)
        return minutes.error();
    if (clock.totalMinutes() >= *minutes)
        return std::optional<RunLimit>(RunLimit::Time);

    const Result<double> pages = limitValue(inputs.maxPages, "Maximum Pages Search");
    if (!pages)
        return pages.error();
    if (inputs.pageCounter >= *pages)
        return std::optional<RunLimit>(RunLimit::Pages);

    const Result<double> leads = limitValue(inputs.maxLeads, "Maximum Leads Extraction");
    if (!leads)
        return leads.error();
    if (inputs.leadCounter >= *leads)
        return std::optional<RunLimit>(RunLimit::Leads);

    return std::optional<RunLimit>();
}

RunMonitor::RunMonitor(TimerSource &timers, InputProvider inputs, QObject *parent)
    : QObject(parent), m_timer(timers.createTimer()), m_inputs(std::move(inputs))
{
    connect(m_timer.get(), &Timer::timeout, this, &RunMonitor::tick);
}

RunMonitor::~RunMonitor() = default;

void RunMonitor::start()
{
    m_limit.reset();
    m_timer->start(IntervalMs);
}

void RunMonitor::stop()
{
    m_timer->stop();
}

bool RunMonitor::isActive() const
{
    return m_timer->isActive();
}

QString RunMonitor::progressLine() const
{
    QString line = QStringLiteral("%1 pages %2 leads %3")
                       .arg(m_clock.text())
                       .arg(m_last.pageCounter)
                       .arg(m_last.leadCounter);
    if (m_kbVisible)
        line += QStringLiteral(" kb %1").arg(m_kbCount);
    return line;
}

void RunMonitor::showConnectionLost()
{
    m_activityImage = ConnectionLostImage;
    emit ticked();
}

void RunMonitor::tick()
{
    m_activityImage = ActivityImages[m_activityPosition - 1];
    m_activityPosition = m_activityPosition % 3 + 1;

    const RunLimitInputs inputs = m_inputs ? m_inputs() : RunLimitInputs{};
    m_last = inputs;
    const Result<std::optional<RunLimit>> reached = firstLimitReached(m_clock, inputs);
    if (!reached) {
        emit ticked();
        emit tickFailed(RunMessages::TickErrorPrefix + reached.message());
        return;
    }
    if (const std::optional<RunLimit> limit = reached.value()) {
        // Off before anyone hears of it: a tick during the (modal) message would otherwise
        // report the same limit again.
        m_timer->stop();
        m_limit = limit;
        emit ticked();
        emit limitHit(*limit, runLimitMessage(*limit));
        return;
    }

    m_clock.addInterval(IntervalMs);
    if (isCleanupMinute(m_clock.minutes))
        emit cleanupDue();
    m_clock.turnOver();
    m_kbVisible = inputs.buildKnowledgeBase;
    if (m_kbVisible)
        m_kbCount = inputs.knowledgeBasePageCounter;
    emit ticked();
}

} // namespace corvane
