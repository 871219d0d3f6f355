#include "engine/DemoWebServer.h"

#include "common/HttpStatus.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrl>

#include <functional>

#include <sys/socket.h>

namespace corvane {

namespace {

constexpr qsizetype kMaxHeaderBytes = 16 * 1024;
constexpr qint64 kWriteBacklog = 256 * 1024;
constexpr qsizetype kMaxRequestsLogged = 100000; // a long demo harvest must not grow it forever

QByteArray contentTypeFor(const QString &path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String("htm") || suffix == QLatin1String("html"))
        return "text/html; charset=windows-1252";
    if (suffix == QLatin1String("txt"))
        return "text/plain";
    if (suffix == QLatin1String("css"))
        return "text/css";
    if (suffix == QLatin1String("png"))
        return "image/png";
    if (suffix == QLatin1String("gif"))
        return "image/gif";
    if (suffix == QLatin1String("jpg") || suffix == QLatin1String("jpeg"))
        return "image/jpeg";
    return "application/octet-stream";
}

} // namespace

// One client connection: reads requests one after another (keep-alive) and answers each.
class DemoWebServer::Connection : public QObject, public WebReply
{
public:
    Connection(DemoWebServer *server, QTcpSocket *socket)
        : QObject(server), m_server(server), m_socket(socket)
    {
        socket->setParent(this);
        connect(socket, &QTcpSocket::readyRead, this, &Connection::onReadyRead);
        connect(socket, &QTcpSocket::bytesWritten, this, &Connection::pump);
        connect(socket, &QTcpSocket::disconnected, this, &Connection::finish);
        connect(socket, &QAbstractSocket::errorOccurred, this, &Connection::finish);
    }

private:
    void onReadyRead()
    {
        m_buffer += m_socket->readAll();
        if (m_busy)
            return; // the next request waits until this answer is out
        handleBuffered();
    }

    void handleBuffered()
    {
        const qsizetype end = m_buffer.indexOf("\r\n\r\n");
        if (end < 0) {
            if (m_buffer.size() > kMaxHeaderBytes) {
                m_close = true;
                respond(400, "text/plain", "request too large\n");
            }
            return;
        }
        const QByteArray head = m_buffer.left(end);
        m_buffer.remove(0, end + 4);
        const QList<QByteArray> lines = head.split('\n');
        const QList<QByteArray> parts = lines.value(0).trimmed().split(' ');
        if (parts.size() < 3) {
            m_close = true;
            respond(400, "text/plain", "bad request\n");
            return;
        }
        m_head = parts[0] == "HEAD";
        bool close = parts[2] == "HTTP/1.0";
        for (qsizetype i = 1; i < lines.size(); ++i) {
            const QByteArray line = lines[i].trimmed().toLower();
            if (line.startsWith("connection:"))
                close = line.contains("close");
        }
        QByteArray target = parts[1];
        if (target.startsWith("http://")) { // absolute form, as a proxy forwards it
            const qsizetype slash = target.indexOf('/', 7);
            target = slash < 0 ? QByteArray("/") : target.mid(slash);
        }
        m_busy = true;
        m_close = close;
        m_server->answer(this, QString::fromLatin1(target));
    }

public:
    void respond(int status, const QByteArray &type, const QByteArray &body,
                 const QList<QByteArray> &extraHeaders = {}) override
    {
        const bool close = m_close;
        QByteArray out = "HTTP/1.1 " + QByteArray::number(status) + ' ' + httpReasonPhrase(status) +
                         "\r\nContent-Type: " + type +
                         "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n";
        for (const QByteArray &h : extraHeaders)
            out += h + "\r\n";
        out += close ? "Connection: close\r\n\r\n" : "\r\n";
        if (!m_head)
            out += body;
        m_socket->write(out);
        m_closeAfter = close;
        m_doneWriting = true;
        pump();
    }

    void stream(const QByteArray &headers, std::function<QByteArray()> source) override
    {
        m_socket->write(headers + "Connection: close\r\n\r\n");
        m_closeAfter = true;
        if (m_head) {
            m_doneWriting = true;
        } else {
            m_source = std::move(source);
        }
        pump();
    }

    void reset() override
    {
        // A zero linger makes close() send RST instead of FIN.
        const qintptr fd = m_socket->socketDescriptor();
        if (fd >= 0) {
            linger hard{1, 0};
            ::setsockopt(static_cast<int>(fd), SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
        }
        m_socket->abort();
        finish();
    }

    QObject *lifetime() override { return this; }

private:
    void pump()
    {
        if (m_finished)
            return;
        while (m_source && m_socket->bytesToWrite() < kWriteBacklog) {
            const QByteArray piece = m_source();
            if (piece.isEmpty()) {
                m_source = nullptr;
                m_doneWriting = true;
                break;
            }
            m_socket->write(piece);
        }
        if (!m_doneWriting || m_socket->bytesToWrite() > 0)
            return;
        m_doneWriting = false;
        m_busy = false;
        if (m_closeAfter) {
            m_socket->disconnectFromHost();
            return;
        }
        if (!m_buffer.isEmpty())
            handleBuffered();
    }

    void finish()
    {
        if (m_finished)
            return;
        m_finished = true;
        m_source = nullptr;
        m_server->connectionClosed();
        deleteLater();
    }

    DemoWebServer *m_server;
    QTcpSocket *m_socket;
    QByteArray m_buffer;
    std::function<QByteArray()> m_source;
    bool m_busy = false;
    bool m_close = false; // the current request's connection closes after its answer
    bool m_head = false;
    bool m_closeAfter = false;
    bool m_doneWriting = false;
    bool m_finished = false;
};

DemoWebServer::DemoWebServer(QObject *parent)
    : QObject(parent), m_root(QStringLiteral(":/corvane/demo"))
{
}

DemoWebServer::~DemoWebServer()
{
    stop();
}

void DemoWebServer::setRoot(const QString &root)
{
    m_root = root;
}

bool DemoWebServer::start(quint16 port)
{
    stop();
    m_server = new QTcpServer(this);
    m_server->setMaxPendingConnections(1000);
    connect(m_server, &QTcpServer::newConnection, this, &DemoWebServer::onNewConnection);
    if (!m_server->listen(QHostAddress::LocalHost, port)) {
        m_error = m_server->errorString();
        delete m_server;
        m_server = nullptr;
        return false;
    }
    return true;
}

void DemoWebServer::stop()
{
    if (!m_server)
        return;
    m_server->close();
    delete m_server;
    m_server = nullptr;
    const auto connections = findChildren<Connection *>(Qt::FindDirectChildrenOnly);
    for (Connection *c : connections)
        delete c;
    m_openConnections = 0;
}

bool DemoWebServer::isListening() const
{
    return m_server && m_server->isListening();
}

quint16 DemoWebServer::port() const
{
    return m_server ? m_server->serverPort() : 0;
}

QString DemoWebServer::hostAndPort() const
{
    return QStringLiteral("127.0.0.1:") + QString::number(port());
}

QString DemoWebServer::url(const QString &path) const
{
    return QStringLiteral("http://") + hostAndPort() + path;
}

QString DemoWebServer::errorString() const
{
    return m_error;
}

void DemoWebServer::setOverride(const QString &path, const QByteArray &body,
                                const QByteArray &contentType)
{
    m_overrides.insert(path, {body, contentType});
}

void DemoWebServer::clearOverrides()
{
    m_overrides.clear();
}

int DemoWebServer::requestCount(const QString &path) const
{
    int n = 0;
    for (const QString &r : m_requests)
        n += QUrl(r).path() == path ? 1 : 0;
    return n;
}

void DemoWebServer::resetStatistics()
{
    m_requests.clear();
    m_maxConnections = m_openConnections;
}

void DemoWebServer::onNewConnection()
{
    while (QTcpSocket *socket = m_server->nextPendingConnection()) {
        new Connection(this, socket);
        ++m_openConnections;
        m_maxConnections = std::max(m_maxConnections, m_openConnections);
    }
}

void DemoWebServer::connectionClosed()
{
    m_openConnections = std::max(0, m_openConnections - 1);
}

void DemoWebServer::setRequestHook(RequestHook hook)
{
    m_hook = std::move(hook);
}

void DemoWebServer::answer(Connection *c, const QString &target)
{
    if (m_requests.size() < kMaxRequestsLogged)
        m_requests.append(target);
    const QUrl url(target);
    const QString path = url.path();

    if (m_hook && m_hook(*c, url))
        return;
    const auto over = m_overrides.constFind(path);
    if (over != m_overrides.constEnd()) {
        c->respond(200, over->second, over->first);
        return;
    }
    QByteArray type;
    bool found = false;
    const QByteArray body = fileBody(path, &type, &found);
    if (!found) {
        c->respond(404, "text/html", "<html><body><h1>Not Found</h1></body></html>\n");
        return;
    }
    c->respond(200, type, body);
}

QByteArray DemoWebServer::fileBody(const QString &path, QByteArray *contentType, bool *found) const
{
    *found = false;
    QString clean = QDir::cleanPath(QLatin1Char('/') + path);
    if (clean.contains(QLatin1String("..")))
        return {};
    QString file = m_root + clean;
    if (QFileInfo(file).isDir())
        file += clean.endsWith(QLatin1Char('/')) ? QStringLiteral("index.htm")
                                                 : QStringLiteral("/index.htm");
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    QByteArray body = f.readAll();
    *found = true;
    *contentType = contentTypeFor(file);
    if (contentType->startsWith("text/"))
        body.replace("{{HOST}}", hostAndPort().toLatin1());
    return body;
}

} // namespace corvane
