#pragma once

#include "common/TimerSource.h"
#include "verify/DnsMessage.h"

#include <QHostAddress>
#include <QObject>
#include <QUdpSocket>

#include <memory>

namespace corvane {

// One MX question to one DNS server over UDP: sent at start(), answered by the first
// matching reply, given up after ten one-second ticks or at the first socket error.
// Each query has its own socket, so a late reply to an earlier query never lands here.
class MxQuery : public QObject
{
    Q_OBJECT
public:
    enum class Outcome { Answered, TimedOut, Failed };
    Q_ENUM(Outcome)

    static constexpr int kTickMs = 1000;
    static constexpr int kTicksToWait = 10;

    explicit MxQuery(TimerSource &timers, QObject *parent = nullptr);

    // finished() follows exactly once, always from the event loop, never from inside start().
    void start(const QHostAddress &server, quint16 port, const QString &domain);
    // Drops the query without emitting finished().
    void abort();

    const QString &domain() const { return m_domain; }

signals:
    void finished(const QString &domain, const corvane::modDNS::MxAnswer &answer,
                  corvane::MxQuery::Outcome outcome);

private:
    void send();
    void readReplies();
    void tick();
    void finish(const modDNS::MxAnswer &answer, Outcome outcome);
    void finishLater(Outcome outcome);

    std::unique_ptr<Timer> m_timer;
    QUdpSocket m_socket;
    QString m_domain;
    QByteArray m_message;
    int m_ticks = 0;
    // Tells a deferred failure of an earlier start() from the current one.
    quint64 m_generation = 0;
    bool m_waiting = false;
};

} // namespace corvane
