#include "common/TimerSource.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QTimer>

namespace corvane {

namespace {

class QtTimer final : public Timer
{
public:
    QtTimer()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        connect(&m_timer, &QTimer::timeout, this, &Timer::timeout);
    }
    void start(int intervalMs) override { m_timer.start(intervalMs); }
    void stop() override { m_timer.stop(); }
    bool isActive() const override { return m_timer.isActive(); }
    int interval() const override { return m_timer.interval(); }
    void setSingleShot(bool singleShot) override { m_timer.setSingleShot(singleShot); }

private:
    QTimer m_timer;
};

qint64 monotonicMs()
{
    static QElapsedTimer clock = [] {
        QElapsedTimer t;
        t.start();
        return t;
    }();
    return clock.elapsed();
}

} // namespace

RealTimerSource::RealTimerSource() : m_startMs(monotonicMs()) {}

std::unique_ptr<Timer> RealTimerSource::createTimer()
{
    return std::make_unique<QtTimer>();
}

qint64 RealTimerSource::nowMs() const
{
    return monotonicMs() - m_startMs;
}

RealTimerSource &RealTimerSource::instance()
{
    static RealTimerSource source;
    return source;
}

class VirtualTimerSource::VirtualTimer final : public Timer
{
public:
    explicit VirtualTimer(VirtualTimerSource *source) : m_source(source) {}
    ~VirtualTimer() override { stop(); }

    void start(int intervalMs) override
    {
        stop();
        m_interval = intervalMs < 0 ? 0 : intervalMs;
        m_active = true;
        m_source->schedule(this, m_source->m_nowMs + m_interval);
    }
    void stop() override
    {
        if (m_active)
            m_source->unschedule(this);
        m_active = false;
    }
    bool isActive() const override { return m_active; }
    int interval() const override { return m_interval; }
    void setSingleShot(bool singleShot) override { m_singleShot = singleShot; }

    // Called by the source at the deadline.
    void fire()
    {
        if (m_singleShot)
            m_active = false;
        else
            m_source->schedule(this, m_source->m_nowMs + (m_interval > 0 ? m_interval : 1));
        emit timeout();
    }

private:
    VirtualTimerSource *m_source;
    int m_interval = 0;
    bool m_active = false;
    bool m_singleShot = false;
};

std::unique_ptr<Timer> VirtualTimerSource::createTimer()
{
    return std::make_unique<VirtualTimer>(this);
}

void VirtualTimerSource::schedule(VirtualTimer *timer, qint64 deadline)
{
    m_queue.emplace(std::make_pair(deadline, m_sequence++), timer);
}

void VirtualTimerSource::unschedule(VirtualTimer *timer)
{
    for (auto it = m_queue.begin(); it != m_queue.end();) {
        if (it->second == timer)
            it = m_queue.erase(it);
        else
            ++it;
    }
}

void VirtualTimerSource::advance(qint64 ms)
{
    const qint64 target = m_nowMs + ms;
    while (!m_queue.empty() && m_queue.begin()->first.first <= target) {
        auto first = m_queue.begin();
        VirtualTimer *timer = first->second;
        m_nowMs = first->first.first;
        m_queue.erase(first);
        timer->fire();
    }
    m_nowMs = target;
}

bool VirtualTimerSource::advanceToNext()
{
    if (m_queue.empty())
        return false;
    advance(m_queue.begin()->first.first - m_nowMs);
    return true;
}

} // namespace corvane
