#include "exchange/WarcWriter.h"

#include <QCryptographicHash>
#include <QIODevice>
#include <QUuid>

#include <zlib.h>

namespace corvane {

namespace {

using Fields = QList<std::pair<QByteArray, QByteArray>>;

QByteArray base32(const QByteArray &bytes)
{
    static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ234567";
    QByteArray out;
    quint32 bits = 0;
    int count = 0;
    for (const char byte : bytes) {
        bits = (bits << 8) | uchar(byte);
        count += 8;
        while (count >= 5) {
            out += kAlphabet[(bits >> (count - 5)) & 31];
            count -= 5;
        }
    }
    if (count > 0)
        out += kAlphabet[(bits << (5 - count)) & 31];
    while (out.size() % 8 != 0)
        out += '=';
    return out;
}

// A header value on one line: blanks and control bytes inside a URI are escaped, and a value
// taken from a stored page can never start a field of its own.
QByteArray headerValue(const QByteArray &value, bool escapeBlanks)
{
    QByteArray out;
    for (const char c : value) {
        const uchar byte = uchar(c);
        if (byte < 0x20 || byte == 0x7f || (escapeBlanks && byte == ' '))
            out += escapeBlanks
                       ? "%" + QByteArray::number(byte, 16).rightJustified(2, '0').toUpper()
                       : QByteArray(" ");
        else
            out += c;
    }
    return out;
}

QByteArray recordId()
{
    return "<" + QUuid::createUuid().toByteArray(QUuid::WithoutBraces).prepend("urn:uuid:") + ">";
}

QByteArray warcDate(const QDateTime &when)
{
    const QDateTime utc = (when.isValid() ? when : QDateTime::currentDateTimeUtc()).toUTC();
    return utc.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ssZ")).toLatin1();
}

// One gzip member holding the bytes.
Result<QByteArray> gzipMember(const QByteArray &bytes)
{
    z_stream z{};
    if (deflateInit2(&z, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        return fail(QStringLiteral("the compressor could not start"));
    QByteArray out(qsizetype(deflateBound(&z, uLong(bytes.size()))), Qt::Uninitialized);
    z.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(bytes.constData()));
    z.avail_in = uInt(bytes.size());
    z.next_out = reinterpret_cast<Bytef *>(out.data());
    z.avail_out = uInt(out.size());
    const int status = deflate(&z, Z_FINISH);
    out.resize(qsizetype(z.total_out));
    deflateEnd(&z);
    if (status != Z_STREAM_END)
        return fail(QStringLiteral("the compressor failed"));
    return out;
}

// The HTTP reason phrases a browser shows; others get a neutral word.
QByteArray reasonPhrase(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 301:
        return "Moved Permanently";
    case 302:
        return "Found";
    case 304:
        return "Not Modified";
    case 404:
        return "Not Found";
    default:
        return status < 400 ? "OK" : "Error";
    }
}

} // namespace

QByteArray warcSha1Digest(const QByteArray &bytes)
{
    return "sha1:" + base32(QCryptographicHash::hash(bytes, QCryptographicHash::Sha1));
}

WarcWriter::WarcWriter(QIODevice &device, bool compressed)
    : m_device(device), m_compressed(compressed)
{
}

Result<void> WarcWriter::writeRecord(const Fields &header, const QByteArray &block)
{
    QByteArray record = "WARC/1.1\r\n";
    for (const auto &[name, value] : header)
        record += name + ": " + value + "\r\n";
    record += "Content-Length: " + QByteArray::number(block.size()) + "\r\n\r\n";
    record += block;
    record += "\r\n\r\n";
    if (m_compressed) {
        Result<QByteArray> packed = gzipMember(record);
        if (!packed)
            return packed.error();
        record = std::move(packed).value();
    }
    if (m_device.write(record) != record.size())
        return fail(m_device.errorString());
    return {};
}

Result<void> WarcWriter::writeWarcinfo(const QString &fileName, const Fields &fields)
{
    QByteArray block;
    for (const auto &[name, value] : fields)
        block += name + ": " + value + "\r\n";
    return writeRecord({{"WARC-Type", "warcinfo"},
                        {"WARC-Record-ID", recordId()},
                        {"WARC-Date", warcDate({})},
                        {"WARC-Filename", headerValue(fileName.toUtf8(), false)},
                        {"Content-Type", "application/warc-fields"},
                        {"WARC-Block-Digest", warcSha1Digest(block)}},
                       block);
}

Result<void> WarcWriter::writeResponse(const WarcPage &page)
{
    QByteArray block =
        "HTTP/1.1 " + QByteArray::number(page.status) + ' ' + reasonPhrase(page.status) + "\r\n";
    if (!page.contentType.isEmpty())
        block += "Content-Type: " + headerValue(page.contentType, false) + "\r\n";
    block += "Content-Length: " + QByteArray::number(page.body.size()) + "\r\n\r\n";
    block += page.body;
    return writeRecord({{"WARC-Type", "response"},
                        {"WARC-Record-ID", recordId()},
                        {"WARC-Date", warcDate(page.captured)},
                        {"WARC-Target-URI", headerValue(page.targetUri.toUtf8(), true)},
                        {"Content-Type", "application/http;msgtype=response"},
                        {"WARC-Payload-Digest", warcSha1Digest(page.body)},
                        {"WARC-Block-Digest", warcSha1Digest(block)}},
                       block);
}

} // namespace corvane
