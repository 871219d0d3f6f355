#include "verify/MxQuery.h"

#include <QMetaObject>

namespace corvane {

MxQuery::MxQuery(TimerSource &timers, QObject *parent)
    : QObject(parent), m_timer(timers.createTimer()), m_socket(this)
{
    connect(m_timer.get(), &Timer::timeout, this, &MxQuery::tick);
    connect(&m_socket, &QUdpSocket::readyRead, this, &MxQuery::readReplies);
    connect(&m_socket, &QUdpSocket::connected, this, &MxQuery::send);
    // A refused port or an unreachable network shows up here at once; no use waiting.
    connect(&m_socket, &QUdpSocket::errorOccurred, this, [this] {
        if (m_waiting)
            finishLater(Outcome::Failed);
    });
}

void MxQuery::start(const QHostAddress &server, quint16 port, const QString &domain)
{
    abort();
    m_domain = domain;
    m_message = modDNS::buildMxQuery(domain);
    m_ticks = 0;
    m_waiting = true;
    ++m_generation;
    if (server.isNull() || port == 0) {
        finishLater(Outcome::Failed);
        return;
    }
    m_timer->start(kTickMs);
    // A connected socket hears only from the server and learns of a refused port.
    m_socket.connectToHost(server, port);
    if (m_socket.state() == QAbstractSocket::ConnectedState)
        send();
}

void MxQuery::abort()
{
    m_waiting = false;
    m_timer->stop();
    m_socket.abort();
}

void MxQuery::send()
{
    if (!m_waiting || m_message.isEmpty())
        return;
    const QByteArray message = std::exchange(m_message, {});
    if (m_socket.write(message) != message.size())
        finishLater(Outcome::Failed);
}

void MxQuery::readReplies()
{
    // On a connected socket, a wake-up without a datagram is the server's port refusing
    // (an ICMP error); Qt reports no error for it, so this is the only sign.
    if (m_waiting && !m_socket.hasPendingDatagrams()) {
        finish({}, Outcome::Failed);
        return;
    }
    while (m_waiting && m_socket.hasPendingDatagrams()) {
        const qint64 size = m_socket.pendingDatagramSize();
        QByteArray reply(size > 0 ? size : 0, Qt::Uninitialized);
        const qint64 got = m_socket.readDatagram(reply.data(), reply.size());
        if (got < 0)
            break;
        reply.truncate(got);
        if (modDNS::replyMatches(reply, m_domain)) {
            finish(modDNS::readMxReply(reply), Outcome::Answered);
            return;
        }
    }
}

void MxQuery::tick()
{
    if (++m_ticks >= kTicksToWait)
        finish({}, Outcome::TimedOut);
}

void MxQuery::finish(const modDNS::MxAnswer &answer, Outcome outcome)
{
    if (!m_waiting)
        return;
    abort();
    emit finished(m_domain, answer, outcome);
}

void MxQuery::finishLater(Outcome outcome)
{
    QMetaObject::invokeMethod(
        this,
        [this, outcome, generation = m_generation] {
            if (generation == m_generation)
                finish({}, outcome);
        },
        Qt::QueuedConnection);
}

} // namespace corvane
