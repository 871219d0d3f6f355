#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>

class QTcpServer;
class QTcpSocket;

namespace corvane::test {

// Loopback proxies for download tests. Both relay bytes to the asked-for target and record
// what the client told them, so tests can see that the downloader really went through
// them, with which credentials and whether it named the host or sent an address.
class LoopbackProxy : public QObject
{
    Q_OBJECT
public:
    enum class Kind { Http, Socks };
    explicit LoopbackProxy(Kind kind, QObject *parent = nullptr);
    ~LoopbackProxy() override;

    bool start();
    quint16 port() const;

    // SOCKS5: demand this user name and password (RFC 1929); empty accepts anyone.
    void requireCredentials(const QString &user, const QString &password);

    int connections() const { return m_connections; }
    // HTTP: request lines ("GET http://..." or "CONNECT host:port"), Proxy-Authorization
    // values. SOCKS: "socks4 1.2.3.4:80", "socks4a name:80", "socks5 ip 1.2.3.4:80",
    // "socks5 name localhost:80"; the user names given.
    QStringList requests() const { return m_requests; }
    QStringList credentials() const { return m_credentials; }

private:
    void onConnection();
    void handleHttp(QTcpSocket *client);
    void handleSocks(QTcpSocket *client);
    void relay(QTcpSocket *client, const QString &host, quint16 port, const QByteArray &first,
               const QByteArray &reply);

    Kind m_kind;
    QTcpServer *m_server;
    QString m_user;
    QString m_password;
    int m_connections = 0;
    QStringList m_requests;
    QStringList m_credentials;
};

} // namespace corvane::test
