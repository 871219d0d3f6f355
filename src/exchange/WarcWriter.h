#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

#include <utility>

class QIODevice;

namespace corvane {

// A stored page as an archived HTTP response.
struct WarcPage
{
    QString targetUri;
    QDateTime captured; // when it was fetched; now when invalid
    int status = 200;
    QByteArray contentType = "text/html"; // the HTTP Content-Type
    QByteArray body;                      // the stored bytes, unchanged
};

// Writes a WARC/1.1 archive: a warcinfo record first, then one response record per page,
// each record its own gzip member when compressed (the usual .warc.gz), so readers can start
// at any record. Records carry WARC-Record-ID (urn:uuid), WARC-Date, WARC-Target-URI,
// Content-Type application/http;msgtype=response, Content-Length and SHA-1 block and payload
// digests in Base32; the block is an HTTP/1.1 status line and headers, then the body.
class WarcWriter
{
public:
    WarcWriter(QIODevice &device, bool compressed);

    // fields: "name: value" lines of the warcinfo block (software, format, ...), in order.
    Result<void> writeWarcinfo(const QString &fileName,
                               const QList<std::pair<QByteArray, QByteArray>> &fields);
    Result<void> writeResponse(const WarcPage &page);

private:
    Result<void> writeRecord(const QList<std::pair<QByteArray, QByteArray>> &header,
                             const QByteArray &block);

    QIODevice &m_device;
    bool m_compressed;
};

// "sha1:" and the Base32 form (RFC 4648) of the bytes' SHA-1, as WARC digests are written.
QByteArray warcSha1Digest(const QByteArray &bytes);

} // namespace corvane
