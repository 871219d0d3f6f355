#include "engine/DemoWebServer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUrl>
#include <QUrlQuery>

#include <array>
#include <functional>

#include <sys/socket.h>

namespace corvane {

namespace {

constexpr qsizetype kMaxHeaderBytes = 16 * 1024;
constexpr qint64 kStreamChunk = 64 * 1024;
constexpr qint64 kWriteBacklog = 256 * 1024;
constexpr qint64 kOneGiB = qint64(1) << 30;
constexpr qsizetype kMaxRequestsLogged = 100000; // a long demo harvest must not grow it forever

quint32 crc32Update(quint32 crc, const char *data, qint64 size)
{
    static const std::array<quint32, 256> table = [] {
        std::array<quint32, 256> t{};
        for (quint32 n = 0; n < 256; ++n) {
            quint32 c = n;
            for (int k = 0; k < 8; ++k)
                c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            t[n] = c;
        }
        return t;
    }();
    crc = ~crc;
    for (qint64 i = 0; i < size; ++i)
        crc = table[(crc ^ static_cast<quint8>(data[i])) & 0xFF] ^ (crc >> 8);
    return ~crc;
}

void appendLe32(QByteArray *out, quint32 v)
{
    for (int i = 0; i < 4; ++i)
        out->append(static_cast<char>((v >> (8 * i)) & 0xFF));
}

const QByteArray kGzipHeader("\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\xff", 10);

// A whole gzip member, compressed with Qt's zlib (qCompress writes a 4-byte length, the
// 2-byte zlib header, raw deflate data and a 4-byte Adler-32; gzip wants the raw part).
QByteArray gzipOf(const QByteArray &data)
{
    const QByteArray z = qCompress(data, 9);
    QByteArray out = kGzipHeader;
    out += z.mid(6, z.size() - 6 - 4);
    appendLe32(&out, crc32Update(0, data.constData(), data.size()));
    appendLe32(&out, static_cast<quint32>(data.size()));
    return out;
}

// Produces the next piece of a streamed body; empty = the body is complete.
using ChunkSource = std::function<QByteArray()>;

// gzip-encoded zeros decoding to `total` bytes, written as one fixed-Huffman deflate block of
// back-references (258 bytes per 13 bits), produced piece by piece so nothing large is held.
class ZeroBombSource
{
public:
    explicit ZeroBombSource(qint64 total) : m_total(total) {}

    QByteArray operator()()
    {
        if (m_finished)
            return {};
        QByteArray out;
        if (!m_started) {
            m_started = true;
            out = kGzipHeader;
            putBits(1, 1); // final block
            putBits(1, 2); // fixed Huffman
        }
        qint64 zeros = 0;
        while (m_emitted < m_total && m_bytes.size() < kStreamChunk) {
            const qint64 left = m_total - m_emitted;
            if (m_emitted == 0 || left < 258) {
                putCode(0x30, 8); // literal 0
                m_emitted += 1;
                zeros += 1;
            } else {
                putCode(0xC5, 8); // length 258
                putCode(0, 5);    // distance 1
                m_emitted += 258;
                zeros += 258;
            }
        }
        static const QByteArray zeroBlock(kStreamChunk, '\0');
        while (zeros > 0) {
            const qint64 n = std::min(zeros, kStreamChunk);
            m_crc = crc32Update(m_crc, zeroBlock.constData(), n);
            zeros -= n;
        }
        if (m_emitted >= m_total) {
            putCode(0, 7); // end of block
            if (m_bitCount > 0)
                m_bytes.append(static_cast<char>(m_bitBuffer));
            m_bitBuffer = m_bitCount = 0;
            appendLe32(&m_bytes, m_crc);
            appendLe32(&m_bytes, static_cast<quint32>(m_total));
            m_finished = true;
        }
        out += m_bytes;
        m_bytes.clear();
        return out;
    }

private:
    void putBits(quint32 value, int count)
    {
        for (int i = 0; i < count; ++i)
            pushBit((value >> i) & 1);
    }
    // Huffman codes go most significant bit first.
    void putCode(quint32 code, int length)
    {
        for (int i = length - 1; i >= 0; --i)
            pushBit((code >> i) & 1);
    }
    void pushBit(quint32 bit)
    {
        m_bitBuffer |= bit << m_bitCount;
        if (++m_bitCount == 8) {
            m_bytes.append(static_cast<char>(m_bitBuffer));
            m_bitBuffer = m_bitCount = 0;
        }
    }

    qint64 m_total;
    qint64 m_emitted = 0;
    quint32 m_crc = 0;
    quint32 m_bitBuffer = 0;
    int m_bitCount = 0;
    bool m_started = false;
    bool m_finished = false;
    QByteArray m_bytes;
};

// `total` bytes of printable filler, one address near the start.
class FillerSource
{
public:
    explicit FillerSource(qint64 total) : m_total(total) {}
    QByteArray operator()()
    {
        if (m_sent >= m_total)
            return {};
        static const QByteArray line = QByteArray(
            "<p>filler text filler text filler text filler text filler text filler text</p>\n");
        QByteArray out;
        if (m_sent == 0)
            out = "<html><body><p>Write to big@large-page.example</p>\n";
        while (out.size() < kStreamChunk)
            out += line;
        out.truncate(std::min<qint64>(out.size(), m_total - m_sent));
        m_sent += out.size();
        return out;
    }

private:
    qint64 m_total;
    qint64 m_sent = 0;
};

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

QByteArray reasonFor(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 301:
        return "Moved Permanently";
    case 302:
        return "Found";
    case 400:
        return "Bad Request";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 500:
        return "Internal Server Error";
    case 503:
        return "Service Unavailable";
    default:
        return "Status";
    }
}

qint64 queryNumber(const QUrlQuery &query, const char *key, qint64 fallback)
{
    bool ok = false;
    const qint64 v = query.queryItemValue(QString::fromLatin1(key)).toLongLong(&ok);
    return ok && v >= 0 ? v : fallback;
}

} // namespace

// One client connection: reads requests one after another (keep-alive) and answers each.
class DemoWebServer::Connection : public QObject
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
            if (m_buffer.size() > kMaxHeaderBytes)
                respond(400, "text/plain", "request too large\n", true);
            return;
        }
        const QByteArray head = m_buffer.left(end);
        m_buffer.remove(0, end + 4);
        const QList<QByteArray> lines = head.split('\n');
        const QList<QByteArray> parts = lines.value(0).trimmed().split(' ');
        if (parts.size() < 3) {
            respond(400, "text/plain", "bad request\n", true);
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
        m_server->answer(this, QString::fromLatin1(target), close);
    }

public:
    void respond(int status, const QByteArray &type, const QByteArray &body, bool close,
                 const QList<QByteArray> &extraHeaders = {})
    {
        QByteArray out = "HTTP/1.1 " + QByteArray::number(status) + ' ' + reasonFor(status) +
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

    // Headers now, then the body piece by piece as the client takes it.
    void stream(const QByteArray &headers, ChunkSource source)
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

    void reset()
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

    void stall() {} // the request is read; nothing is ever answered

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
    ChunkSource m_source;
    bool m_busy = false;
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

void DemoWebServer::answer(Connection *c, const QString &target, bool close)
{
    if (m_requests.size() < kMaxRequestsLogged)
        m_requests.append(target);
    const QUrl url(target);
    const QString path = url.path();
    const QUrlQuery query(url);

    if (path.startsWith(QLatin1String("/_fault/"))) {
        answerFault(c, path.mid(8), query, close);
        return;
    }
    const auto over = m_overrides.constFind(path);
    if (over != m_overrides.constEnd()) {
        c->respond(200, over->second, over->first, close);
        return;
    }
    QByteArray type;
    bool found = false;
    const QByteArray body = fileBody(path, &type, &found);
    if (!found) {
        c->respond(404, "text/html", "<html><body><h1>Not Found</h1></body></html>\n", close);
        return;
    }
    c->respond(200, type, body, close);
}

void DemoWebServer::answerFault(Connection *c, const QString &fault, const QUrlQuery &query,
                                bool close)
{
    if (fault == QLatin1String("reset")) {
        c->reset();
    } else if (fault == QLatin1String("stall")) {
        c->stall();
    } else if (fault == QLatin1String("large")) {
        const qint64 bytes = queryNumber(query, "bytes", kOneGiB);
        c->stream("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: " +
                      QByteArray::number(bytes) + "\r\n",
                  FillerSource(bytes));
    } else if (fault == QLatin1String("gzip-bomb")) {
        const qint64 bytes = queryNumber(query, "bytes", kOneGiB);
        c->stream("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Encoding: gzip\r\n",
                  ZeroBombSource(bytes));
    } else if (fault == QLatin1String("gzip") || fault == QLatin1String("deflate")) {
        const QByteArray text = compressibleText(queryNumber(query, "bytes", 100000));
        const bool gzip = fault == QLatin1String("gzip");
        const QByteArray encoded = gzip ? gzipOf(text) : qCompress(text, 9).mid(4);
        c->respond(200, "text/html", encoded, close,
                   {QByteArray("Content-Encoding: ") + (gzip ? "gzip" : "deflate")});
    } else if (fault == QLatin1String("redirect-loop")) {
        c->respond(302, "text/html", "loop\n", close,
                   {"Location: " + url(QStringLiteral("/_fault/redirect-loop")).toLatin1()});
    } else if (fault == QLatin1String("redirect")) {
        const qint64 n = queryNumber(query, "n", 1);
        QString to = query.queryItemValue(QStringLiteral("to"), QUrl::FullyDecoded);
        if (to.isEmpty())
            to = QStringLiteral("/acme/");
        const QString next = n <= 1 ? to
                                    : QStringLiteral("/_fault/redirect?n=%1&to=%2")
                                          .arg(n - 1)
                                          .arg(QString::fromLatin1(QUrl::toPercentEncoding(to)));
        // The last hop may lead to another site.
        const QString location = next.startsWith(QLatin1String("http")) ? next : url(next);
        c->respond(302, "text/html", "moved\n", close, {"Location: " + location.toLatin1()});
    } else if (fault == QLatin1String("hold")) {
        const int ms = static_cast<int>(std::min<qint64>(queryNumber(query, "ms", 200), 600000));
        QPointer<Connection> guard(c);
        QTimer::singleShot(ms, this, [guard, close] {
            if (guard)
                guard->respond(200, "text/html", "<html><body>held page</body></html>\n", close);
        });
    } else if (fault == QLatin1String("status")) {
        const int code = static_cast<int>(queryNumber(query, "code", 500));
        c->respond(code >= 200 && code <= 599 ? code : 500, "text/html",
                   "<html><body>status page info@status-page.example</body></html>\n", close);
    } else {
        c->respond(404, "text/html", "<html><body>no such fault</body></html>\n", close);
    }
}

QByteArray DemoWebServer::compressibleText(qint64 bytes)
{
    QByteArray text;
    text.reserve(bytes);
    int line = 0;
    while (text.size() < bytes)
        text += "<p>line " + QByteArray::number(line++) +
                " of the packed page, sales@packed.example</p>\n";
    text.truncate(bytes);
    return text;
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
