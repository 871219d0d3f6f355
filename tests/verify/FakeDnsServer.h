#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QUdpSocket>

#include <functional>

namespace corvane::test {

// A scripted DNS server on 127.0.0.1: each query it hears is kept, and the replies the
// script returns for it are sent back to the asker, in order.
class FakeDnsServer : public QObject
{
public:
    using Script = std::function<QList<QByteArray>(const QByteArray &query)>;

    explicit FakeDnsServer(Script script = {}) : m_script(std::move(script))
    {
        m_socket.bind(QHostAddress::LocalHost, 0);
        connect(&m_socket, &QUdpSocket::readyRead, this, [this] {
            while (m_socket.hasPendingDatagrams()) {
                QByteArray query(m_socket.pendingDatagramSize(), Qt::Uninitialized);
                QHostAddress from;
                quint16 fromPort = 0;
                query.truncate(m_socket.readDatagram(query.data(), query.size(), &from, &fromPort));
                queries << query;
                if (m_script)
                    for (const QByteArray &reply : m_script(query))
                        m_socket.writeDatagram(reply, from, fromPort);
            }
        });
    }

    quint16 port() const { return m_socket.localPort(); }
    QList<QByteArray> queries;

private:
    QUdpSocket m_socket;
    Script m_script;
};

} // namespace corvane::test
