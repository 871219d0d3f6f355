#include "TestProxies.h"

#include <QHostAddress>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrl>

namespace corvane::test {

namespace {

QHostAddress addressOf(const QString &host)
{
    // The tests only ever reach loopback; names resolve there too.
    const QHostAddress address(host);
    return address.isNull() ? QHostAddress(QHostAddress::LocalHost) : address;
}

quint16 port16(const QByteArray &b, qsizetype at)
{
    return static_cast<quint16>((static_cast<quint8>(b[at]) << 8) | static_cast<quint8>(b[at + 1]));
}

QString ipv4(const QByteArray &b, qsizetype at)
{
    return QStringLiteral("%1.%2.%3.%4")
        .arg(static_cast<quint8>(b[at]))
        .arg(static_cast<quint8>(b[at + 1]))
        .arg(static_cast<quint8>(b[at + 2]))
        .arg(static_cast<quint8>(b[at + 3]));
}

} // namespace

LoopbackProxy::LoopbackProxy(Kind kind, QObject *parent)
    : QObject(parent), m_kind(kind), m_server(new QTcpServer(this))
{
    connect(m_server, &QTcpServer::newConnection, this, &LoopbackProxy::onConnection);
}

LoopbackProxy::~LoopbackProxy() = default;

bool LoopbackProxy::start()
{
    return m_server->listen(QHostAddress::LocalHost, 0);
}

quint16 LoopbackProxy::port() const
{
    return m_server->serverPort();
}

void LoopbackProxy::requireCredentials(const QString &user, const QString &password)
{
    m_user = user;
    m_password = password;
}

void LoopbackProxy::onConnection()
{
    while (QTcpSocket *client = m_server->nextPendingConnection()) {
        ++m_connections;
        connect(client, &QTcpSocket::disconnected, client, &QObject::deleteLater);
        if (m_kind == Kind::Http)
            handleHttp(client);
        else
            handleSocks(client);
    }
}

void LoopbackProxy::handleHttp(QTcpSocket *client)
{
    auto buffer = std::make_shared<QByteArray>();
    auto conn = std::make_shared<QMetaObject::Connection>();
    *conn = connect(client, &QTcpSocket::readyRead, this, [this, client, buffer, conn] {
        *buffer += client->readAll();
        const qsizetype end = buffer->indexOf("\r\n\r\n");
        if (end < 0)
            return;
        disconnect(*conn);
        const QList<QByteArray> lines = buffer->left(end).split('\n');
        const QList<QByteArray> parts = lines.value(0).trimmed().split(' ');
        m_requests.append(QString::fromLatin1(lines.value(0).trimmed()));
        for (const QByteArray &line : lines)
            if (line.toLower().startsWith("proxy-authorization:"))
                m_credentials.append(QString::fromLatin1(line.mid(20).trimmed()));
        if (parts.size() < 3) {
            client->abort();
            return;
        }
        QString target = QString::fromLatin1(parts[1]);
        if (parts[0] == "CONNECT") {
            const QStringList hp = target.split(QLatin1Char(':'));
            relay(client, hp.value(0), static_cast<quint16>(hp.value(1).toUInt()), {},
                  "HTTP/1.1 200 Connection established\r\n\r\n");
            return;
        }
        const QUrl url(target);
        relay(client, url.host(), static_cast<quint16>(url.port(80)), *buffer, {});
    });
}

void LoopbackProxy::handleSocks(QTcpSocket *client)
{
    struct State
    {
        QByteArray buffer;
        int stage = 0; // v5: 0 greeting, 1 auth, 2 request
    };
    auto state = std::make_shared<State>();
    auto conn = std::make_shared<QMetaObject::Connection>();
    *conn = connect(client, &QTcpSocket::readyRead, this, [this, client, state, conn] {
        QByteArray &b = state->buffer;
        b += client->readAll();
        if (b.isEmpty())
            return;
        if (b[0] == 4) { // SOCKS4 / 4a: VN CD DSTPORT DSTIP USERID 0 [HOST 0]
            const qsizetype userEnd = b.indexOf('\0', 8);
            if (b.size() < 9 || userEnd < 0)
                return;
            const quint16 port = port16(b, 2);
            QString host = ipv4(b, 4);
            const bool named = b[4] == 0 && b[5] == 0 && b[6] == 0 && b[7] != 0;
            if (named) {
                const qsizetype hostEnd = b.indexOf('\0', userEnd + 1);
                if (hostEnd < 0)
                    return;
                host = QString::fromLatin1(b.mid(userEnd + 1, hostEnd - userEnd - 1));
            }
            disconnect(*conn);
            m_credentials.append(QString::fromLatin1(b.mid(8, userEnd - 8)));
            m_requests.append(QStringLiteral("%1 %2:%3")
                                  .arg(named ? QStringLiteral("socks4a") : QStringLiteral("socks4"))
                                  .arg(host)
                                  .arg(port));
            relay(client, host, port, {}, QByteArray("\x00\x5a\x00\x00\x00\x00\x00\x00", 8));
            return;
        }
        if (b[0] != 5 && state->stage != 1) {
            client->abort();
            return;
        }
        if (state->stage == 0) {
            if (b.size() < 2 || b.size() < 2 + static_cast<quint8>(b[1]))
                return;
            const QByteArray methods = b.mid(2, static_cast<quint8>(b[1]));
            b.remove(0, 2 + methods.size());
            const bool wantAuth = !m_user.isEmpty();
            if (wantAuth && !methods.contains('\x02')) {
                client->write(QByteArray("\x05\xff", 2));
                client->disconnectFromHost();
                return;
            }
            client->write(wantAuth ? QByteArray("\x05\x02", 2) : QByteArray("\x05\x00", 2));
            state->stage = wantAuth ? 1 : 2;
            if (b.isEmpty())
                return;
        }
        if (state->stage == 1) { // VER ULEN UNAME PLEN PASSWD
            if (b.size() < 2)
                return;
            const int ulen = static_cast<quint8>(b[1]);
            if (b.size() < 3 + ulen)
                return;
            const int plen = static_cast<quint8>(b[2 + ulen]);
            if (b.size() < 3 + ulen + plen)
                return;
            const QString user = QString::fromLatin1(b.mid(2, ulen));
            const QString pass = QString::fromLatin1(b.mid(3 + ulen, plen));
            b.remove(0, 3 + ulen + plen);
            m_credentials.append(user);
            const bool ok = user == m_user && pass == m_password;
            client->write(ok ? QByteArray("\x01\x00", 2) : QByteArray("\x01\x01", 2));
            if (!ok) {
                client->disconnectFromHost();
                return;
            }
            state->stage = 2;
            if (b.isEmpty())
                return;
        }
        // VER CMD RSV ATYP ADDR PORT
        if (b.size() < 5)
            return;
        QString host;
        qsizetype at = 0;
        QString kind;
        if (b[3] == 1) {
            if (b.size() < 10)
                return;
            host = ipv4(b, 4);
            at = 8;
            kind = QStringLiteral("ip");
        } else if (b[3] == 3) {
            const int len = static_cast<quint8>(b[4]);
            if (b.size() < 5 + len + 2)
                return;
            host = QString::fromLatin1(b.mid(5, len));
            at = 5 + len;
            kind = QStringLiteral("name");
        } else {
            client->abort();
            return;
        }
        const quint16 port = port16(b, at);
        disconnect(*conn);
        m_requests.append(QStringLiteral("socks5 %1 %2:%3").arg(kind, host).arg(port));
        relay(client, host, port, {}, QByteArray("\x05\x00\x00\x01\x00\x00\x00\x00\x00\x00", 10));
    });
}

// Connects to the target, answers the client with `reply`, forwards `first`, then copies
// bytes both ways until either side closes.
void LoopbackProxy::relay(QTcpSocket *client, const QString &host, quint16 port,
                          const QByteArray &first, const QByteArray &reply)
{
    auto *upstream = new QTcpSocket(client);
    QPointer<QTcpSocket> c(client);
    connect(upstream, &QTcpSocket::connected, client, [client, upstream, first, reply] {
        if (!reply.isEmpty())
            client->write(reply);
        if (!first.isEmpty())
            upstream->write(first);
        if (client->bytesAvailable() > 0)
            upstream->write(client->readAll());
    });
    connect(upstream, &QTcpSocket::readyRead, client,
            [client, upstream] { client->write(upstream->readAll()); });
    connect(client, &QTcpSocket::readyRead, upstream, [client, upstream] {
        if (upstream->state() == QAbstractSocket::ConnectedState)
            upstream->write(client->readAll());
    });
    connect(upstream, &QTcpSocket::disconnected, client, [c] {
        if (c)
            c->disconnectFromHost();
    });
    connect(upstream, &QAbstractSocket::errorOccurred, client, [c] {
        if (c)
            c->abort();
    });
    upstream->connectToHost(addressOf(host), port);
}

} // namespace corvane::test
