#include "DnsmasqServer.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <QUdpSocket>

#include <unistd.h>

namespace corvane::test {

namespace {

quint16 freeUdpPort()
{
    QUdpSocket probe;
    if (!probe.bind(QHostAddress::LocalHost, 0))
        return 0;
    return probe.localPort();
}

// A bare MX question for "probe.test"; any reply at all means the server is up.
QByteArray probeQuery()
{
    return QByteArray::fromHex("abcd01000001000000000000") +
           QByteArray("\x05probe\x04test\x00", 12) + QByteArray::fromHex("000f0001");
}

} // namespace

DnsmasqServer::~DnsmasqServer()
{
    stop();
}

bool DnsmasqServer::available()
{
    return QFileInfo(program()).isExecutable();
}

QString DnsmasqServer::endpoint() const
{
    return QStringLiteral("127.0.0.1:%1").arg(m_port);
}

bool DnsmasqServer::start(const QList<Mx> &records, QString *error)
{
    if (!available()) {
        *error = QStringLiteral("%1 is not installed").arg(program());
        return false;
    }
    // Thousands of records would overflow a command line, so they go in a config file.
    QFile config(m_dir.filePath(QStringLiteral("dnsmasq.conf")));
    if (!config.open(QIODevice::WriteOnly)) {
        *error = config.errorString();
        return false;
    }
    for (const Mx &mx : records)
        config.write(QStringLiteral("mx-host=%1,%2,%3\n")
                         .arg(mx.domain, mx.exchanger)
                         .arg(mx.preference)
                         .toUtf8());
    config.close();

    for (int attempt = 0; attempt < 5; ++attempt) {
        m_port = freeUdpPort();
        QStringList args{QStringLiteral("--keep-in-foreground"),
                         QStringLiteral("--no-resolv"),
                         QStringLiteral("--no-hosts"),
                         QStringLiteral("-C"),
                         config.fileName(),
                         QStringLiteral("--pid-file=%1").arg(m_dir.filePath(QStringLiteral("pid"))),
                         QStringLiteral("--port=%1").arg(m_port),
                         QStringLiteral("--listen-address=127.0.0.1"),
                         QStringLiteral("--bind-interfaces"),
                         QStringLiteral("--local=/test/"),
                         QStringLiteral("--cache-size=0"),
                         QStringLiteral("--log-facility=-")};
        if (geteuid() == 0)
            args << QStringLiteral("--user=root");
        m_process = std::make_unique<QProcess>();
        m_process->setProcessChannelMode(QProcess::MergedChannels);
        m_process->start(program(), args);
        if (!m_process->waitForStarted(5000)) {
            *error = m_process->errorString();
            return false;
        }
        QElapsedTimer waited;
        waited.start();
        while (waited.elapsed() < 5000 && m_process->state() == QProcess::Running) {
            if (answers())
                return true;
            QThread::msleep(20);
        }
        *error = QString::fromLocal8Bit(m_process->readAll()).trimmed();
        stop();
    }
    return false;
}

void DnsmasqServer::stop()
{
    if (!m_process)
        return;
    m_process->terminate();
    if (!m_process->waitForFinished(3000)) {
        m_process->kill();
        m_process->waitForFinished(3000);
    }
    m_process.reset();
}

bool DnsmasqServer::answers() const
{
    QUdpSocket socket;
    socket.writeDatagram(probeQuery(), QHostAddress::LocalHost, m_port);
    return socket.waitForReadyRead(200) && socket.hasPendingDatagrams();
}

} // namespace corvane::test
