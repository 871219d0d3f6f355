#include "engine/ConnectionProbe.h"

#include "common/AppSettings.h"

#include <QTcpSocket>

namespace corvane {

void ConnectionCheck::check(std::function<void(bool connected)> done)
{
    if (done)
        m_waiting.push_back(std::move(done));
    check();
}

void ConnectionCheck::finish(bool connected)
{
    // Callbacks may start the next check; they must find an empty list.
    std::vector<std::function<void(bool)>> waiting;
    waiting.swap(m_waiting);
    emit checked(connected);
    for (const auto &done : waiting)
        done(connected);
}

QUrl ConnectionProbe::defaultAddress()
{
    return QUrl(QStringLiteral("http://www.example.com/"));
}

QUrl ConnectionProbe::configuredAddress()
{
    const QString configured =
        openSettings()->value(QStringLiteral("Connection/ProbeAddress")).toString().trimmed();
    if (configured.isEmpty())
        return defaultAddress();
    const QUrl url = QUrl::fromUserInput(configured);
    return url.isValid() && !url.host().isEmpty() ? url : defaultAddress();
}

ConnectionProbe::ConnectionProbe(const QUrl &address, TimerSource &timers, QObject *parent)
    : ConnectionCheck(parent), m_address(address), m_deadline(timers.createTimer())
{
    m_deadline->setSingleShot(true);
    connect(m_deadline.get(), &Timer::timeout, this, [this] { conclude(false); });
}

ConnectionProbe::~ConnectionProbe() = default;

void ConnectionProbe::check()
{
    if (m_socket)
        return; // the check under way answers this request too

    m_socket = new QTcpSocket(this);
    connect(m_socket, &QTcpSocket::connected, this, [this] { conclude(true); });
    connect(m_socket, &QTcpSocket::errorOccurred, this, [this] { conclude(false); });
    m_deadline->start(m_timeoutMs);

    const QString host = m_address.host();
    if (host.isEmpty()) {
        // Answer on the next turn of the event loop, like every other failure.
        QMetaObject::invokeMethod(
            this, [this] { conclude(false); }, Qt::QueuedConnection);
        return;
    }
    const int defaultPort = m_address.scheme() == QLatin1String("https") ? 443 : 80;
    m_socket->connectToHost(host, quint16(m_address.port(defaultPort)));
}

void ConnectionProbe::conclude(bool connected)
{
    QTcpSocket *socket = m_socket;
    if (!socket)
        return; // a late signal of a check already settled
    m_socket = nullptr;
    m_deadline->stop();
    socket->disconnect(this);
    socket->abort();
    socket->deleteLater();
    finish(connected);
}

} // namespace corvane
