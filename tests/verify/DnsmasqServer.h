#pragma once

#include <QList>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <memory>

namespace corvane::test {

// A real DNS server for the verifier's tests and measurements: dnsmasq on 127.0.0.1 at a
// free high port, authoritative for ".test" with the MX records it is given and nothing
// else. Stopped when the object goes.
class DnsmasqServer
{
public:
    struct Mx
    {
        QString domain;
        QString exchanger;
        int preference = 10;
    };

    DnsmasqServer() = default;
    ~DnsmasqServer();
    DnsmasqServer(const DnsmasqServer &) = delete;
    DnsmasqServer &operator=(const DnsmasqServer &) = delete;

    // Starts the server and waits until it answers; false with a reason when it cannot.
    bool start(const QList<Mx> &records, QString *error);
    void stop();

    quint16 port() const { return m_port; }
    // "127.0.0.1:PORT", as the verifier takes it.
    QString endpoint() const;

    static QString program() { return QStringLiteral("/usr/sbin/dnsmasq"); }
    static bool available();

private:
    bool answers() const;

    QTemporaryDir m_dir;
    std::unique_ptr<QProcess> m_process;
    quint16 m_port = 0;
};

} // namespace corvane::test
