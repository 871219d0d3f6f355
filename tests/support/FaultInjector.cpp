#include "support/FaultInjector.h"

#include <QPointer>
#include <QTimer>
#include <QUrlQuery>

#include <array>

namespace corvane::test {

namespace {

constexpr qint64 kStreamChunk = 64 * 1024;
constexpr qint64 kOneGiB = qint64(1) << 30;

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

qint64 queryNumber(const QUrlQuery &query, const char *key, qint64 fallback)
{
    bool ok = false;
    const qint64 v = query.queryItemValue(QString::fromLatin1(key)).toLongLong(&ok);
    return ok && v >= 0 ? v : fallback;
}

} // namespace

static void answerFault(DemoWebServer &web, WebReply &c, const QString &fault,
                        const QUrlQuery &query)
{
    if (fault == QLatin1String("reset")) {
        c.reset();
    } else if (fault == QLatin1String("stall")) {
        // The request is read and never answered.
    } else if (fault == QLatin1String("large")) {
        const qint64 bytes = queryNumber(query, "bytes", kOneGiB);
        c.stream("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: " +
                     QByteArray::number(bytes) + "\r\n",
                 FillerSource(bytes));
    } else if (fault == QLatin1String("gzip-bomb")) {
        const qint64 bytes = queryNumber(query, "bytes", kOneGiB);
        c.stream("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Encoding: gzip\r\n",
                 ZeroBombSource(bytes));
    } else if (fault == QLatin1String("gzip") || fault == QLatin1String("deflate")) {
        const QByteArray text = compressibleText(queryNumber(query, "bytes", 100000));
        const bool gzip = fault == QLatin1String("gzip");
        const QByteArray encoded = gzip ? gzipOf(text) : qCompress(text, 9).mid(4);
        c.respond(200, "text/html", encoded,
                  {QByteArray("Content-Encoding: ") + (gzip ? "gzip" : "deflate")});
    } else if (fault == QLatin1String("redirect-loop")) {
        c.respond(302, "text/html", "loop\n",
                  {"Location: " + web.url(QStringLiteral("/_fault/redirect-loop")).toLatin1()});
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
        const QString location = next.startsWith(QLatin1String("http")) ? next : web.url(next);
        c.respond(302, "text/html", "moved\n", {"Location: " + location.toLatin1()});
    } else if (fault == QLatin1String("hold")) {
        const int ms = static_cast<int>(std::min<qint64>(queryNumber(query, "ms", 200), 600000));
        QPointer<QObject> guard(c.lifetime());
        WebReply *reply = &c;
        QTimer::singleShot(ms, &web, [guard, reply] {
            if (guard)
                reply->respond(200, "text/html", "<html><body>held page</body></html>\n");
        });
    } else if (fault == QLatin1String("status")) {
        const int code = static_cast<int>(queryNumber(query, "code", 500));
        c.respond(code >= 200 && code <= 599 ? code : 500, "text/html",
                  "<html><body>status page info@status-page.example</body></html>\n");
    } else {
        c.respond(404, "text/html", "<html><body>no such fault</body></html>\n");
    }
}

QByteArray compressibleText(qint64 bytes)
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

void installFaults(DemoWebServer &server)
{
    DemoWebServer *web = &server;
    server.setRequestHook([web](WebReply &reply, const QUrl &target) {
        const QString path = target.path();
        if (!path.startsWith(QLatin1String("/_fault/")))
            return false;
        answerFault(*web, reply, path.mid(8), QUrlQuery(target));
        return true;
    });
}

} // namespace corvane::test
