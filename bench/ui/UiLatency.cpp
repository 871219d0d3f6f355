#include "UiLatency.h"

#include <QEvent>
#include <QMetaEnum>
#include <QThread>

#include <algorithm>

namespace corvane::bench {

LatencySummary summarize(std::vector<qint64> samples)
{
    LatencySummary out;
    out.count = qsizetype(samples.size());
    if (samples.empty())
        return out;
    out.overBudget =
        std::count_if(samples.begin(), samples.end(), [](qint64 ns) { return ns > kBudgetNs; });
    const auto p99 = samples.begin() + qsizetype(samples.size() - 1) * 99 / 100;
    std::nth_element(samples.begin(), p99, samples.end());
    out.p99Ns = *p99;
    out.worstNs = *std::max_element(p99, samples.end());
    return out;
}

QString eventTypeName(int type)
{
    const QMetaEnum names = QMetaEnum::fromType<QEvent::Type>();
    const char *name = names.valueToKey(type);
    return name ? QString::fromLatin1(name) : QStringLiteral("event %1").arg(type);
}

LatencyApplication::LatencyApplication(int &argc, char **argv) : QApplication(argc, argv)
{
    m_samples.reserve(1 << 20);
}

bool LatencyApplication::notify(QObject *receiver, QEvent *event)
{
    // The downloader's worker thread delivers its own events; only the UI thread counts.
    if (!m_recording || m_depth > 0 || QThread::currentThread() != thread())
        return QApplication::notify(receiver, event);
    // Neither the event nor the receiver has to outlive the delivery.
    const KindKey key{event->type(), receiver ? receiver->metaObject() : nullptr};
    ++m_depth;
    QElapsedTimer timer;
    timer.start();
    const bool handled = QApplication::notify(receiver, event);
    const qint64 ns = timer.nsecsElapsed();
    --m_depth;
    m_samples.push_back(ns);
    Kind &kind = m_kinds[key];
    kind.worstNs = std::max(kind.worstNs, ns);
    kind.totalNs += ns;
    ++kind.count;
    return handled;
}

QList<LatencyApplication::Kind> LatencyApplication::kinds() const
{
    QList<Kind> out;
    for (auto it = m_kinds.cbegin(); it != m_kinds.cend(); ++it) {
        Kind kind = it.value();
        kind.what = eventTypeName(it.key().first) + QStringLiteral(" to ") +
                    (it.key().second ? QString::fromLatin1(it.key().second->className())
                                     : QStringLiteral("nothing"));
        out.append(kind);
    }
    return out;
}

LatencyApplication::Kind LatencyApplication::worst() const
{
    const QList<Kind> slowest = slowestKinds(1);
    return slowest.isEmpty() ? Kind{} : slowest.first();
}

QList<LatencyApplication::Kind> LatencyApplication::slowestKinds(int n) const
{
    QList<Kind> out = kinds();
    std::sort(out.begin(), out.end(),
              [](const Kind &a, const Kind &b) { return a.worstNs > b.worstNs; });
    return out.mid(0, n);
}

QList<LatencyApplication::Kind> LatencyApplication::busiestKinds(int n) const
{
    QList<Kind> out = kinds();
    std::sort(out.begin(), out.end(),
              [](const Kind &a, const Kind &b) { return a.totalNs > b.totalNs; });
    return out.mid(0, n);
}

EventLoopProbe::EventLoopProbe(int intervalMs, QObject *parent)
    : QObject(parent), m_intervalMs(intervalMs)
{
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(intervalMs);
    connect(&m_timer, &QTimer::timeout, this, &EventLoopProbe::tick);
}

void EventLoopProbe::start()
{
    m_clock.start();
    m_lastNs = 0;
    m_timer.start();
}

void EventLoopProbe::stop()
{
    m_timer.stop();
}

void EventLoopProbe::tick()
{
    const qint64 now = m_clock.nsecsElapsed();
    m_lateness.push_back(std::max<qint64>(0, now - m_lastNs - qint64(m_intervalMs) * 1000000));
    m_lastNs = now;
}

} // namespace corvane::bench
