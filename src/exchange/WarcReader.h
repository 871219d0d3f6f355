#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <utility>

class QIODevice;

namespace corvane {

class DeviceSource;
class PullSource;

// How much of an archive is taken in at once. Real headers are a few hundred bytes and pages
// a few megabytes; an archive claiming more is read past, not held.
struct WarcLimits
{
    // A record's header, and the HTTP header at the start of its block.
    qsizetype maxHeaderBytes = 64 * 1024;
    // The payload handed on per record; the rest of a longer one is passed over.
    qint64 maxPayloadBytes = qint64(64) << 20;
};

// Named fields as they were written, in order; look-ups ignore the letter case of names.
struct HeaderFields
{
    QList<std::pair<QByteArray, QByteArray>> fields;
    // The first field of that name, its value trimmed; empty when there is none.
    QByteArray value(QByteArrayView name) const;
};

struct WarcRecord
{
    QByteArray version; // "WARC/1.1"
    HeaderFields header;
    QByteArray type; // WARC-Type, lower-cased: "response", "warcinfo", ...
    // WARC-Target-URI without angle brackets, its escaped letters beyond ASCII read back (an
    // address as the page linked it); empty when none.
    QString targetUri;
    qint64 contentLength = 0;
    qint64 number = 0; // 1 for the archive's first record
};

// The HTTP message at the start of a record's block.
struct HttpHead
{
    int status = 0;         // 200, 404, ...; 0 for a request
    QByteArray contentType; // the HTTP Content-Type, e.g. "text/html; charset=utf-8"
    HeaderFields header;
};

// Reads a WARC archive (WARC/1.0 or 1.1, plain, gzip per record, or gzip as a whole) one
// record at a time. Only the current record's header and one piece of its block are ever in
// memory, so archives of any size pass; a payload is handed on in pieces and cut at
// maxPayloadBytes. Damage (a header that is no WARC header, a record longer than the rest of
// the file, compressed data cut off) fails with a message that says which record.
//
//     WarcReader reader(file);
//     while (reader.next() is true) { reader.record(); reader.httpHead(); reader.readPayload()... }
class WarcReader
{
public:
    explicit WarcReader(QIODevice &device, const WarcLimits &limits = {});
    ~WarcReader();
    WarcReader(const WarcReader &) = delete;
    WarcReader &operator=(const WarcReader &) = delete;

    // On to the next record, passing over whatever of the current one was not read. False
    // after the last record.
    Result<bool> next();
    const WarcRecord &record() const { return m_record; }

    // The HTTP head of a record whose block is an HTTP message (WARC Content-Type
    // application/http, or a response or request block that begins like one); null for
    // other records. Read on the first call, before any payload.
    Result<const HttpHead *> httpHead();

    // The next piece of the record's payload; an empty piece at its end. For an HTTP block
    // the payload is the body after the head, with chunked transfer coding undone and gzip or
    // deflate content coding decoded; for any other block it is the block. A view into the
    // reader, valid until the next call.
    Result<QByteArrayView> readPayload();
    // The rest of the payload, a piece at a time, to take; take returns false to stop there.
    Result<void> readPayloadPieces(const std::function<bool(QByteArrayView piece)> &take);
    // The payload went on past maxPayloadBytes, or its coding broke off; what came is kept.
    bool payloadCut() const { return m_payloadCut; }

    // Bytes taken from the device so far, for progress.
    qint64 deviceBytesRead() const;

private:
    class BlockSource;
    struct Payload;

    Result<bool> readHeader();
    // Up to max bytes of the current block; 0 at its end.
    Result<qsizetype> readBlock(char *out, qsizetype max);
    Result<void> skipBlock();
    Result<bool> fillBuffer();
    Result<void> openPayload();
    Error damaged(const QString &what) const;

    WarcLimits m_limits;
    std::unique_ptr<DeviceSource> m_device;
    std::unique_ptr<PullSource> m_unpacked; // the device's stream, inflated when it is gzip
    PullSource *m_stream = nullptr;
    bool m_started = false;
    QByteArray m_buffer;
    qsizetype m_pos = 0;
    qint64 m_offset = 0; // of m_buffer[m_pos] in the unpacked stream
    bool m_streamDone = false;

    WarcRecord m_record;
    qint64 m_blockLeft = 0;
    bool m_haveRecord = false;
    std::unique_ptr<BlockSource> m_block;
    std::unique_ptr<Payload> m_payload;
    bool m_headRead = false;
    HttpHead m_http;
    bool m_isHttp = false;
    qint64 m_payloadGiven = 0;
    bool m_payloadCut = false;
    QByteArray m_piece;
};

// A response record's capture, for importing pages.
struct WarcResponse
{
    QString targetUri;
    int status = 0;
    QByteArray contentType; // the HTTP Content-Type
    QByteArray payload;     // decoded, at most maxPayloadBytes
    bool payloadCut = false;
};

// Calls visit for every 'response' record that holds an HTTP response, in archive order;
// visit returns false to stop early. When given, wanted first sees each response without its
// payload, and the payload of one it refuses is passed over unread. Fails as the reader does.
using WarcResponseFilter = std::function<bool(const WarcResponse &)>;
Result<void> forEachWarcResponse(QIODevice &device,
                                 const std::function<bool(const WarcResponse &)> &visit,
                                 const WarcLimits &limits = {},
                                 const WarcResponseFilter &wanted = {});

} // namespace corvane
