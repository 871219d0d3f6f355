#include "scan/DocumentText.h"

#include "exchange/WarcStreams.h"

#include <QIODevice>

namespace corvane {

namespace {

constexpr qsizetype kPieceBytes = 256 * 1024;

} // namespace

ContentFormat sniffContentFormat(QByteArrayView start)
{
    if (isGzipStart(start))
        return ContentFormat::Gzip;
    if (start.startsWith("WARC/"))
        return ContentFormat::Warc;
    if (start.startsWith("PK\x03\x04"))
        return ContentFormat::Zip;
    // Readers accept a PDF header anywhere in the first kilobyte.
    if (start.first(std::min<qsizetype>(start.size(), 1024)).indexOf("%PDF-") >= 0)
        return ContentFormat::Pdf;
    return ContentFormat::Raw;
}

Result<void> readWarcText(QIODevice &device, TextSink &sink, const DocumentLimits &limits)
{
    WarcReader reader(device, limits.warc);
    for (;;) {
        if (sink.stopRequested())
            return {};
        const Result<bool> more = reader.next();
        if (!more)
            return more.error();
        if (!*more)
            return {};
        sink.progress(reader.deviceBytesRead());
        // The captures themselves; requests, metadata and the archive's own description
        // are the crawler's, not the pages'.
        const QByteArray &type = reader.record().type;
        if (type != "response" && type != "resource" && type != "conversion")
            continue;
        sink.beginSource(reader.record().targetUri);
        const Result<void> read = reader.readPayloadPieces([&sink](QByteArrayView piece) {
            sink.text(piece);
            return !sink.stopRequested();
        });
        if (!read)
            return read;
    }
}

Result<void> readGzipText(QIODevice &device, TextSink &sink, const DocumentLimits &limits)
{
    const qint64 start = device.pos();
    DeviceSource packed(device);
    InflateSource unpacked(packed, InflateSource::Gzip);
    QByteArray piece(kPieceBytes, Qt::Uninitialized);
    for (bool first = true;; first = false) {
        if (sink.stopRequested())
            return {};
        const Result<qsizetype> got = unpacked.pull(piece.data(), piece.size());
        if (!got)
            return got.error();
        if (*got == 0)
            return {};
        const QByteArrayView text(piece.constData(), *got);
        if (first && text.startsWith("WARC/")) {
            if (!device.seek(start))
                return fail(device.errorString());
            return readWarcText(device, sink, limits);
        }
        sink.text(text);
        sink.progress(packed.bytesRead());
    }
}

} // namespace corvane
