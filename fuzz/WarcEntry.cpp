// A web archive given to the leads scan (and to the knowledge-base import): WARC records,
// plain, gzip per record or gzip as a whole.

#include "FuzzTarget.h"

#include "exchange/WarcReader.h"
#include "exchange/WarcStreams.h"
#include "exchange/WarcWriter.h"

#include <QBuffer>

using namespace corvane;

namespace {

// A record takes at least its version line, a Content-Length field and the blank line.
constexpr qsizetype kSmallestRecord = 24;

} // namespace

// Reading ends after the last record or with a message; no piece and no payload is larger than
// the limits say, and an archive that is not compressed holds no more records than its size
// allows. Whatever bytes a page holds, an archive we write gives them back unchanged.
CORVANE_FUZZ_TARGET(warc)
{
    QBuffer buffer;
    buffer.setData(input.toByteArray());
    buffer.open(QIODevice::ReadOnly);
    WarcLimits limits;
    limits.maxHeaderBytes = 4096;
    limits.maxPayloadBytes = 256 * 1024;
    WarcReader reader(buffer, limits);
    qsizetype records = 0;
    for (bool reading = true; reading;) {
        const Result<bool> more = reader.next();
        if (!more || !*more) {
            CORVANE_EXPECT(more || !more.message().isEmpty());
            break;
        }
        ++records;
        CORVANE_EXPECT(reader.record().contentLength >= 0);
        const Result<const HttpHead *> head = reader.httpHead();
        if (!head) {
            CORVANE_EXPECT(!head.message().isEmpty());
            break;
        }
        qint64 payload = 0;
        for (;;) {
            const Result<QByteArrayView> piece = reader.readPayload();
            if (!piece) {
                CORVANE_EXPECT(!piece.message().isEmpty());
                reading = false;
                break;
            }
            if (piece->isEmpty())
                break;
            payload += piece->size();
        }
        CORVANE_EXPECT(payload <= limits.maxPayloadBytes);
    }
    if (!isGzipStart(input))
        CORVANE_EXPECT(records <= input.size() / kSmallestRecord + 1);

    QBuffer written;
    written.open(QIODevice::WriteOnly);
    WarcWriter writer(written, input.size() % 2 == 0);
    CORVANE_EXPECT(
        writer
            .writeResponse({QString::fromLatin1(input.first(std::min<qsizetype>(input.size(), 64))),
                            {},
                            200,
                            "text/html",
                            input.toByteArray()})
            .ok());
    written.close();
    written.open(QIODevice::ReadOnly);
    QByteArray back;
    CORVANE_EXPECT(forEachWarcResponse(written, [&](const WarcResponse &response) {
                       back = response.payload;
                       return true;
                   }).ok());
    CORVANE_EXPECT(back == input);
}
