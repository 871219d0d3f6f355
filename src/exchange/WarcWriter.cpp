#include "exchange/WarcWriter.h"

#include "common/HttpStatus.h"
#include "exchange/WarcStreams.h"

#include <QCryptographicHash>
#include <QIODevice>
#include <QUrl>
#include <QUuid>

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

// A header value on one line: a value taken from a stored page can never start a field of
// its own.
QByteArray headerValue(const QByteArray &value)
{
    QByteArray out = value;
    for (char &c : out) {
        if (uchar(c) < 0x20 || c == 0x7f)
            c = ' ';
    }
    return out;
}

// A target URI as the format wants it: one token, escaped as RFC 3986 says (blanks, controls
// and bytes above ASCII as %XX). Stored addresses may hold escapes already (the store keeps
// some addresses escaped): those stay as they are, and the rest is escaped around them.
QByteArray escapedUri(const QString &uri)
{
    const QUrl url(uri, QUrl::TolerantMode);
    if (url.isValid())
        return url.toEncoded();
    return QUrl::toPercentEncoding(uri, "!#$&'()*+,/:;=?@[]~");
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
    if (m_compressed)
        record = gzipCompressed(record);
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
                        {"WARC-Filename", headerValue(fileName.toUtf8())},
                        {"Content-Type", "application/warc-fields"},
                        {"WARC-Block-Digest", warcSha1Digest(block)}},
                       block);
}

Result<void> WarcWriter::writeResponse(const WarcPage &page)
{
    QByteArray block = "HTTP/1.1 " + QByteArray::number(page.status) + ' ' +
                       httpReasonPhrase(page.status) + "\r\n";
    if (!page.contentType.isEmpty())
        block += "Content-Type: " + headerValue(page.contentType) + "\r\n";
    block += "Content-Length: " + QByteArray::number(page.body.size()) + "\r\n\r\n";
    block += page.body;
    return writeRecord({{"WARC-Type", "response"},
                        {"WARC-Record-ID", recordId()},
                        {"WARC-Date", warcDate(page.captured)},
                        {"WARC-Target-URI", escapedUri(page.targetUri)},
                        {"Content-Type", "application/http;msgtype=response"},
                        {"WARC-Payload-Digest", warcSha1Digest(page.body)},
                        {"WARC-Block-Digest", warcSha1Digest(block)}},
                       block);
}

} // namespace corvane
