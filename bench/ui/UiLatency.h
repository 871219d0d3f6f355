#pragma once

#include <QApplication>
#include <QElapsedTimer>
#include <QHash>
#include <QString>
#include <QTimer>

#include <vector>

namespace corvane::bench {

// The longest a handler may keep the UI thread.
inline constexpr qint64 kBudgetNs = 50 * 1000000LL;

// Worst case, 99th percentile and count of a series of durations in nanoseconds.
struct LatencySummary
{
    qint64 worstNs = 0;
    qint64 p99Ns = 0;
    qsizetype count = 0;
    qsizetype overBudget = 0; // samples above kBudgetNs
};
LatencySummary summarize(std::vector<qint64> samples);

// Times every event the UI thread delivers at the outermost level (an event sent from
// inside a handler is part of that handler's time) and remembers the longest, with what
// it was and who got it.
class LatencyApplication : public QApplication
{
public:
    LatencyApplication(int &argc, char **argv);

    bool notify(QObject *receiver, QEvent *event) override;

    void setRecording(bool on) { m_recording = on; }

    // One kind of delivery: an event type to a receiver class.
    struct Kind
    {
        QString what; // "MetaCall to corvane::CurlDownloader"
        qint64 worstNs = 0;
        qint64 totalNs = 0;
        qint64 count = 0;
    };
    Kind worst() const;
    LatencySummary summary() const { return summarize(m_samples); }
    // At most `n` kinds, the one with the slowest single delivery first.
    QList<Kind> slowestKinds(int n) const;
    // At most `n` kinds, the one that took the most time in all first.
    QList<Kind> busiestKinds(int n) const;

private:
    using KindKey = std::pair<int, const QMetaObject *>;
    QList<Kind> kinds() const;

    bool m_recording = false;
    int m_depth = 0;
    std::vector<qint64> m_samples;
    QHash<KindKey, Kind> m_kinds;
};

// A 10 ms timer on the UI thread: how late each tick comes is how long a click or a
// repaint would have waited for the event loop.
class EventLoopProbe : public QObject
{
public:
    explicit EventLoopProbe(int intervalMs = 10, QObject *parent = nullptr);
    void start();
    void stop();
    LatencySummary summary() const { return summarize(m_lateness); }

private:
    void tick();

    int m_intervalMs;
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_lastNs = 0;
    std::vector<qint64> m_lateness;
};

QString eventTypeName(int type);

} // namespace corvane::bench
