#include "exchange/WarcReader.h"

#include "common/PercentEncoding.h"
#include "exchange/WarcStreams.h"

#include <QIODevice>

#include <cstring>
#include <optional>

namespace corvane {

namespace {

constexpr qsizetype kBufferBytes = 256 * 1024;

bool startsWithNoCase(QByteArrayView text, QByteArrayView prefix)
{
    return text.size() >= prefix.size() &&
           text.first(prefix.size()).compare(prefix, Qt::CaseInsensitive) == 0;
}

// The end of a header block: the offset just past its blank line, or -1. A bare line feed
// counts as a line end, as lenient writers use it.
qsizetype headerEnd(QByteArrayView text, qsizetype from)
{
    for (qsizetype eol = text.indexOf('\n', from); eol >= 0; eol = text.indexOf('\n', eol + 1)) {
        qsizetype next = eol + 1;
        if (next < text.size() && text[next] == '\r')
            ++next;
        if (next < text.size() && text[next] == '\n')
            return next + 1;
    }
    return -1;
}

// "Name: value" lines after a first line; a line that begins with a blank continues the
// value before it.
HeaderFields parseFields(QByteArrayView block, QByteArray *firstLine)
{
    HeaderFields parsed;
    bool first = true;
    for (QByteArrayView line : block.toByteArray().split('\n')) {
        if (line.endsWith('\r'))
            line.chop(1);
        if (first) {
            *firstLine = line.toByteArray();
            first = false;
            continue;
        }
        if (line.isEmpty())
            break;
        if ((line[0] == ' ' || line[0] == '\t') && !parsed.fields.isEmpty()) {
            QByteArray &value = parsed.fields.last().second;
            value += ' ' + line.trimmed().toByteArray();
            continue;
        }
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0)
            continue;
        parsed.fields.append({line.first(colon).trimmed().toByteArray(),
                              line.sliced(colon + 1).trimmed().toByteArray()});
    }
    return parsed;
}

// A status line ("HTTP/1.1 200 OK") or a request line ("GET / HTTP/1.1") at the start.
bool looksLikeHttp(QByteArrayView block)
{
    if (block.startsWith("HTTP/"))
        return true;
    const qsizetype eol = block.indexOf('\n');
    return eol > 0 && block.first(eol).contains(" HTTP/1.");
}

bool parseLength(QByteArrayView text, qint64 *length)
{
    if (text.isEmpty() || text.size() > 18)
        return false;
    qint64 value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return false;
        value = value * 10 + (c - '0');
    }
    *length = value;
    return true;
}

} // namespace

QByteArray HeaderFields::value(QByteArrayView name) const
{
    for (const auto &[field, value] : fields) {
        if (QByteArrayView(field).compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

// The current record's block, as far as it goes.
class WarcReader::BlockSource : public PullSource
{
public:
    explicit BlockSource(WarcReader &reader) : m_reader(reader) {}
    Result<qsizetype> pull(char *out, qsizetype max) override
    {
        Result<qsizetype> got = m_reader.readBlock(out, max);
        if (!got)
            archiveError = got.error();
        return got;
    }
    std::optional<Error> archiveError;

private:
    WarcReader &m_reader;
};

struct WarcReader::Payload
{
    std::unique_ptr<PrefixedSource> prefixed;
    std::unique_ptr<ChunkedSource> chunked;
    std::unique_ptr<InflateSource> inflated;
    PullSource *out = nullptr;
};

WarcReader::WarcReader(QIODevice &device, const WarcLimits &limits)
    : m_limits(limits), m_device(std::make_unique<DeviceSource>(device))
{
}

WarcReader::~WarcReader() = default;

qint64 WarcReader::deviceBytesRead() const
{
    return m_device->bytesRead();
}

Error WarcReader::damaged(const QString &what) const
{
    if (m_record.number == 0)
        return fail(what);
    return fail(QStringLiteral("record %1: %2").arg(m_record.number).arg(what));
}

Result<bool> WarcReader::fillBuffer()
{
    if (m_streamDone)
        return false;
    if (m_pos > 0) {
        m_buffer.remove(0, m_pos);
        m_pos = 0;
    }
    const qsizetype had = m_buffer.size();
    m_buffer.resize(had + kBufferBytes);
    const Result<qsizetype> got = m_stream->pull(m_buffer.data() + had, kBufferBytes);
    m_buffer.resize(had + (got ? *got : 0));
    if (!got)
        return damaged(got.message());
    if (*got == 0)
        m_streamDone = true;
    return *got > 0;
}

Result<qsizetype> WarcReader::readBlock(char *out, qsizetype max)
{
    if (m_blockLeft == 0 || max <= 0)
        return 0;
    if (m_pos == m_buffer.size()) {
        // Large reads go straight to the caller: no copy through the buffer.
        if (max >= 16 * 1024 && !m_streamDone) {
            const qsizetype want = qsizetype(std::min<qint64>(max, m_blockLeft));
            const Result<qsizetype> got = m_stream->pull(out, want);
            if (!got)
                return damaged(got.message());
            if (*got > 0) {
                m_blockLeft -= *got;
                m_offset += *got;
                return got;
            }
            m_streamDone = true;
        }
        const Result<bool> more = fillBuffer();
        if (!more)
            return more.error();
        if (!*more)
            return damaged(QStringLiteral("the archive ends inside it (its header claims %1 "
                                          "bytes; %2 are missing)")
                               .arg(m_record.contentLength)
                               .arg(m_blockLeft));
    }
    const qsizetype n = qsizetype(std::min<qint64>({max, m_blockLeft, m_buffer.size() - m_pos}));
    std::memcpy(out, m_buffer.constData() + m_pos, size_t(n));
    m_pos += n;
    m_offset += n;
    m_blockLeft -= n;
    return n;
}

Result<void> WarcReader::skipBlock()
{
    m_payload.reset();
    m_block.reset();
    QByteArray scratch;
    while (m_blockLeft > 0) {
        if (m_pos < m_buffer.size()) {
            const qsizetype n = qsizetype(std::min<qint64>(m_blockLeft, m_buffer.size() - m_pos));
            m_pos += n;
            m_offset += n;
            m_blockLeft -= n;
            continue;
        }
        if (scratch.isEmpty())
            scratch.resize(kBufferBytes);
        const Result<qsizetype> got = readBlock(scratch.data(), scratch.size());
        if (!got)
            return got.error();
    }
    return {};
}

Result<bool> WarcReader::readHeader()
{
    // The line ends that close the previous block.
    for (;;) {
        while (m_pos < m_buffer.size() && (m_buffer[m_pos] == '\r' || m_buffer[m_pos] == '\n')) {
            ++m_pos;
            ++m_offset;
        }
        if (m_pos < m_buffer.size())
            break;
        const Result<bool> more = fillBuffer();
        if (!more)
            return more.error();
        if (!*more)
            return false;
    }
    ++m_record.number;
    const qint64 start = m_offset;
    while (m_buffer.size() - m_pos < 5) {
        const Result<bool> more = fillBuffer();
        if (!more)
            return more.error();
        if (!*more)
            break;
    }
    if (!QByteArrayView(m_buffer).sliced(m_pos).startsWith("WARC/")) {
        if (m_record.number == 1)
            return fail(QStringLiteral("it is not a WARC archive (it does not begin with a "
                                       "WARC/ version line)"));
        return damaged(QStringLiteral("no WARC record begins at byte %1 of the archive%2")
                           .arg(start)
                           .arg(m_unpacked ? QStringLiteral(" (unpacked)") : QString()));
    }
    qsizetype end = -1;
    // Searched so far, relative to m_pos (filling the buffer moves m_pos).
    for (qsizetype searched = 0;;) {
        end = headerEnd(m_buffer, m_pos + std::max<qsizetype>(0, searched - 2));
        if (end >= 0)
            break;
        searched = m_buffer.size() - m_pos;
        if (searched > m_limits.maxHeaderBytes)
            return damaged(
                QStringLiteral("its header is longer than %1 bytes").arg(m_limits.maxHeaderBytes));
        const Result<bool> more = fillBuffer();
        if (!more)
            return more.error();
        if (!*more)
            return damaged(QStringLiteral("the archive ends inside its header"));
    }
    const QByteArrayView block = QByteArrayView(m_buffer).sliced(m_pos, end - m_pos);
    WarcRecord record;
    record.number = m_record.number;
    record.header = parseFields(block, &record.version);
    if (!parseLength(record.header.value("Content-Length"), &record.contentLength))
        return damaged(QStringLiteral("its header has no valid Content-Length"));
    record.type = record.header.value("WARC-Type").toLower();
    QByteArray uri = record.header.value("WARC-Target-URI");
    if (uri.startsWith('<') && uri.endsWith('>'))
        uri = uri.sliced(1, uri.size() - 2);
    record.targetUri = lettersUnescaped(uri);
    m_record = std::move(record);
    m_offset += end - m_pos;
    m_pos = end;
    m_blockLeft = m_record.contentLength;
    return true;
}

Result<bool> WarcReader::next()
{
    if (!m_started) {
        m_started = true;
        const Result<QByteArrayView> start = m_device->peek(2);
        if (!start)
            return start.error();
        if (isGzipStart(*start)) {
            m_unpacked = std::make_unique<InflateSource>(*m_device, InflateSource::Gzip);
            m_stream = m_unpacked.get();
        } else {
            m_stream = m_device.get();
        }
    }
    if (m_haveRecord) {
        if (const Result<void> skipped = skipBlock(); !skipped)
            return skipped.error();
    }
    m_haveRecord = false;
    m_headRead = false;
    m_isHttp = false;
    m_http = {};
    m_payloadGiven = 0;
    m_payloadCut = false;
    const Result<bool> found = readHeader();
    if (!found)
        return found;
    m_haveRecord = *found;
    return found;
}

Result<void> WarcReader::openPayload()
{
    m_headRead = true;
    m_block = std::make_unique<BlockSource>(*this);
    m_payload = std::make_unique<Payload>();
    m_payload->out = m_block.get();
    const bool httpType =
        startsWithNoCase(m_record.header.value("Content-Type"), "application/http");
    if (!httpType && m_record.type != "response" && m_record.type != "request")
        return {};

    // The HTTP head: read until its blank line, within the header limit.
    QByteArray head;
    qsizetype end = -1;
    while (end < 0) {
        if (head.size() > m_limits.maxHeaderBytes) {
            m_payloadCut = true;
            m_payload->out = nullptr;
            return {};
        }
        const qsizetype had = head.size();
        head.resize(had + 4096);
        const Result<qsizetype> got = readBlock(head.data() + had, 4096);
        head.resize(had + (got ? *got : 0));
        if (!got)
            return got.error();
        const bool looksHttp = httpType || looksLikeHttp(head);
        if (!looksHttp && (head.size() >= 5 || *got == 0)) {
            // Not an HTTP message after all: the block is the payload.
            m_payload->prefixed = std::make_unique<PrefixedSource>(head, *m_block);
            m_payload->out = m_payload->prefixed.get();
            return {};
        }
        end = headerEnd(head, std::max<qsizetype>(0, had - 3));
        if (*got == 0 && end < 0)
            end = head.size();
    }
    m_isHttp = true;
    QByteArray statusLine;
    m_http.header = parseFields(QByteArrayView(head).first(end), &statusLine);
    m_http.contentType = m_http.header.value("Content-Type");
    if (statusLine.startsWith("HTTP/")) {
        const QList<QByteArray> parts = statusLine.split(' ');
        if (parts.size() >= 2)
            m_http.status = parts[1].toInt();
    }

    m_payload->prefixed = std::make_unique<PrefixedSource>(head.sliced(end), *m_block);
    m_payload->out = m_payload->prefixed.get();
    if (m_http.header.value("Transfer-Encoding").toLower().contains("chunked")) {
        m_payload->chunked = std::make_unique<ChunkedSource>(*m_payload->out);
        m_payload->out = m_payload->chunked.get();
    }
    const QByteArray coding = m_http.header.value("Content-Encoding").toLower();
    if (coding == "gzip" || coding == "x-gzip" || coding == "deflate") {
        m_payload->inflated = std::make_unique<InflateSource>(
            *m_payload->out, coding == "deflate" ? InflateSource::Deflate : InflateSource::Gzip);
        m_payload->inflated->setLenient(true);
        m_payload->out = m_payload->inflated.get();
    }
    return {};
}

Result<const HttpHead *> WarcReader::httpHead()
{
    if (!m_haveRecord)
        return static_cast<const HttpHead *>(nullptr);
    if (!m_headRead) {
        if (const Result<void> opened = openPayload(); !opened)
            return opened.error();
    }
    return m_isHttp ? &m_http : nullptr;
}

Result<QByteArrayView> WarcReader::readPayload()
{
    if (!m_haveRecord)
        return QByteArrayView();
    if (!m_headRead) {
        if (const Result<void> opened = openPayload(); !opened)
            return opened.error();
    }
    if (!m_payload || !m_payload->out)
        return QByteArrayView();
    const qint64 room = m_limits.maxPayloadBytes - m_payloadGiven;
    if (m_piece.isEmpty())
        m_piece.resize(kBufferBytes);
    const qsizetype want = qsizetype(std::min<qint64>(m_piece.size(), std::max<qint64>(room, 1)));
    const Result<qsizetype> got = m_payload->out->pull(m_piece.data(), want);
    if (!got) {
        if (m_block->archiveError)
            return *m_block->archiveError;
        // The body's own coding broke off: what came before stays, the rest is passed over.
        m_payloadCut = true;
        m_payload->out = nullptr;
        return QByteArrayView();
    }
    if (*got == 0) {
        m_payload->out = nullptr;
        return QByteArrayView();
    }
    if (room <= 0) {
        // One byte past the limit: there is more than is handed on.
        m_payloadCut = true;
        m_payload->out = nullptr;
        return QByteArrayView();
    }
    m_payloadGiven += *got;
    return QByteArrayView(m_piece.constData(), *got);
}

Result<void> WarcReader::readPayloadPieces(const std::function<bool(QByteArrayView)> &take)
{
    for (;;) {
        const Result<QByteArrayView> piece = readPayload();
        if (!piece)
            return piece.error();
        if (piece->isEmpty() || !take(*piece))
            return {};
    }
}

Result<void> forEachWarcResponse(QIODevice &device,
                                 const std::function<bool(const WarcResponse &)> &visit,
                                 const WarcLimits &limits, const WarcResponseFilter &wanted)
{
    WarcReader reader(device, limits);
    for (;;) {
        const Result<bool> more = reader.next();
        if (!more)
            return more.error();
        if (!*more)
            return {};
        if (reader.record().type != "response")
            continue;
        const Result<const HttpHead *> head = reader.httpHead();
        if (!head)
            return head.error();
        if (!*head || (*head)->status == 0)
            continue;
        WarcResponse response;
        response.targetUri = reader.record().targetUri;
        response.status = (*head)->status;
        response.contentType = (*head)->contentType;
        if (wanted && !wanted(response))
            continue;
        const Result<void> read = reader.readPayloadPieces([&](QByteArrayView piece) {
            response.payload += piece;
            return true;
        });
        if (!read)
            return read;
        response.payloadCut = reader.payloadCut();
        if (!visit(response))
            return {};
    }
}

} // namespace corvane
