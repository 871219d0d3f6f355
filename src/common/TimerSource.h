#pragma once

#include <QObject>

#include <map>
#include <memory>
#include <vector>

namespace corvane {

// A repeating or single-shot timer. The harvest's ticks, the resume wait and the
// verifier's pacing all run on these, so tests can drive them in virtual time.
class Timer : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    virtual void start(int intervalMs) = 0;
    virtual void stop() = 0;
    virtual bool isActive() const = 0;
    virtual int interval() const = 0;
    virtual void setSingleShot(bool singleShot) = 0;

signals:
    void timeout();
};

// Makes timers and tells the time in milliseconds since an arbitrary start.
class TimerSource
{
public:
    virtual ~TimerSource() = default;
    virtual std::unique_ptr<Timer> createTimer() = 0;
    virtual qint64 nowMs() const = 0;
};

// Wall-clock timers on the Qt event loop.
class RealTimerSource final : public TimerSource
{
public:
    RealTimerSource();
    std::unique_ptr<Timer> createTimer() override;
    qint64 nowMs() const override;

    // One shared instance for code that is not handed a source.
    static RealTimerSource &instance();

private:
    qint64 m_startMs;
};

// Virtual time for tests: nothing fires until advance() moves the clock, then every due
// timer fires in deadline order (ties in creation order), each at its own deadline.
class VirtualTimerSource final : public TimerSource
{
public:
    std::unique_ptr<Timer> createTimer() override;
    qint64 nowMs() const override { return m_nowMs; }

    void advance(qint64 ms);
    // Advances to the next deadline, if any; returns false when no timer is active.
    bool advanceToNext();

private:
    class VirtualTimer;
    friend class VirtualTimer;
    void schedule(VirtualTimer *timer, qint64 deadline);
    void unschedule(VirtualTimer *timer);

    qint64 m_nowMs = 0;
    quint64 m_sequence = 0;
    // deadline, sequence -> timer
    std::map<std::pair<qint64, quint64>, VirtualTimer *> m_queue;
};

} // namespace corvane
