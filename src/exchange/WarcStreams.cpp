#include "exchange/WarcStreams.h"

#include "common/PercentEncoding.h"

#include <QIODevice>

#include <zlib.h>

#include <cstring>

namespace corvane {

namespace {

constexpr qsizetype kInputBytes = 64 * 1024;
// A chunk-size line is a few hex digits and perhaps an extension; one this long is no line.
constexpr qsizetype kMaxSizeLine = 4096;

bool isZlibHeader(QByteArrayView bytes)
{
    return bytes.size() >= 2 && (uchar(bytes[0]) & 0x0f) == 8 &&
           ((uchar(bytes[0]) << 8) | uchar(bytes[1])) % 31 == 0;
}

} // namespace

QByteArray gzipCompressed(QByteArrayView bytes, int level)
{
    z_stream z{};
    if (deflateInit2(&z, level, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        qFatal("zlib cannot start a compressor");
    QByteArray out(qsizetype(deflateBound(&z, uLong(bytes.size()))), Qt::Uninitialized);
    z.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(bytes.data()));
    z.avail_in = uInt(bytes.size());
    z.next_out = reinterpret_cast<Bytef *>(out.data());
    z.avail_out = uInt(out.size());
    deflate(&z, Z_FINISH); // the output holds deflateBound bytes: it finishes in one call
    out.resize(qsizetype(z.total_out));
    deflateEnd(&z);
    return out;
}

Result<qsizetype> DeviceSource::pull(char *out, qsizetype max)
{
    if (!m_ahead.isEmpty()) {
        const qsizetype n = std::min(max, m_ahead.size());
        std::memcpy(out, m_ahead.constData(), size_t(n));
        m_ahead.remove(0, n);
        return n;
    }
    const qint64 n = m_device.read(out, max);
    if (n < 0)
        return fail(m_device.errorString());
    m_read += n;
    return qsizetype(n);
}

Result<QByteArrayView> DeviceSource::peek(qsizetype n)
{
    while (m_ahead.size() < n) {
        const qsizetype had = m_ahead.size();
        m_ahead.resize(n);
        const qint64 got = m_device.read(m_ahead.data() + had, n - had);
        m_ahead.resize(had + std::max<qint64>(got, 0));
        if (got < 0)
            return fail(m_device.errorString());
        if (got == 0)
            break;
        m_read += got;
    }
    return QByteArrayView(m_ahead).first(std::min(n, m_ahead.size()));
}

struct InflateSource::Stream
{
    z_stream z{};
    bool live = false;
    ~Stream()
    {
        if (live)
            inflateEnd(&z);
    }
};

InflateSource::InflateSource(PullSource &input, Format format)
    : m_input(input), m_format(format), m_in(kInputBytes, Qt::Uninitialized)
{
}

InflateSource::~InflateSource() = default;

Result<bool> InflateSource::refill()
{
    if (m_inPos > 0) {
        std::memmove(m_in.data(), m_in.constData() + m_inPos, size_t(m_inEnd - m_inPos));
        m_inEnd -= m_inPos;
        m_inPos = 0;
    }
    if (m_inputDone || m_inEnd == m_in.size())
        return m_inEnd > 0;
    const Result<qsizetype> got = m_input.pull(m_in.data() + m_inEnd, m_in.size() - m_inEnd);
    if (!got)
        return got.error();
    if (*got == 0)
        m_inputDone = true;
    m_inEnd += *got;
    return *got > 0;
}

Result<void> InflateSource::start()
{
    while (m_inEnd - m_inPos < 2 && !m_inputDone) {
        if (const Result<bool> more = refill(); !more)
            return more.error();
    }
    const QByteArrayView start = QByteArrayView(m_in).sliced(m_inPos, m_inEnd - m_inPos);
    if (m_lenient && m_format == Gzip && !isGzipStart(start) && !start.isEmpty()) {
        m_passThrough = true;
        return {};
    }
    int windowBits = 15 + 16;
    if (m_format == Deflate)
        windowBits =
            isZlibHeader(QByteArrayView(m_in).sliced(m_inPos, m_inEnd - m_inPos)) ? 15 : -15;
    m_stream = std::make_unique<Stream>();
    if (inflateInit2(&m_stream->z, windowBits) != Z_OK)
        return fail(QStringLiteral("the decompressor could not start"));
    m_stream->live = true;
    return {};
}

Result<qsizetype> InflateSource::pull(char *out, qsizetype max)
{
    if (m_finished || max <= 0)
        return 0;
    if (!m_stream && !m_passThrough) {
        if (const Result<void> started = start(); !started)
            return started.error();
        if (m_inEnd == 0) {
            m_finished = true;
            return 0;
        }
    }
    if (m_passThrough) {
        if (m_inPos < m_inEnd) {
            const qsizetype n = std::min(max, m_inEnd - m_inPos);
            std::memcpy(out, m_in.constData() + m_inPos, size_t(n));
            m_inPos += n;
            return n;
        }
        return m_input.pull(out, max);
    }
    z_stream &z = m_stream->z;
    z.next_out = reinterpret_cast<Bytef *>(out);
    z.avail_out = uInt(std::min<qsizetype>(max, 1 << 30));
    const uInt room = z.avail_out;
    while (z.avail_out == room) {
        if (m_memberDone) {
            // Between gzip members: padding NULs may follow the last one; anything else must
            // be the next member.
            while (m_inPos < m_inEnd && m_in[m_inPos] == '\0')
                ++m_inPos;
            if (m_inEnd - m_inPos < 2 && !m_inputDone) {
                if (const Result<bool> more = refill(); !more)
                    return more.error();
                continue;
            }
            if (m_inPos == m_inEnd) {
                m_finished = true;
                break;
            }
            if (!isGzipStart(QByteArrayView(m_in).sliced(m_inPos, m_inEnd - m_inPos)))
                return fail(QStringLiteral("the compressed data is followed by bytes that are "
                                           "not compressed"));
            inflateReset(&z);
            m_memberDone = false;
        }
        if (m_inPos == m_inEnd && !m_inputDone) {
            if (const Result<bool> more = refill(); !more)
                return more.error();
        }
        z.next_in = reinterpret_cast<Bytef *>(m_in.data() + m_inPos);
        z.avail_in = uInt(m_inEnd - m_inPos);
        const int status = inflate(&z, Z_NO_FLUSH);
        m_inPos = m_inEnd - qsizetype(z.avail_in);
        if (status == Z_STREAM_END) {
            if (m_format == Deflate) {
                m_finished = true;
                break;
            }
            m_memberDone = true;
            if (m_lenient) {
                m_finished = true;
                break;
            }
            continue;
        }
        if (status == Z_OK)
            continue;
        if (status == Z_BUF_ERROR && m_inPos == m_inEnd && !m_inputDone)
            continue;
        if (status == Z_BUF_ERROR)
            return fail(QStringLiteral("the compressed data ends early (the file is cut off)"));
        return fail(QStringLiteral("the compressed data is damaged (%1)")
                        .arg(QString::fromLatin1(z.msg ? z.msg : "zlib error")));
    }
    return qsizetype(room - z.avail_out);
}

Result<bool> ChunkedSource::fill()
{
    if (m_pos > 0) {
        m_in.remove(0, m_pos);
        m_pos = 0;
    }
    if (m_inputDone)
        return false;
    const qsizetype had = m_in.size();
    m_in.resize(had + kInputBytes);
    const Result<qsizetype> got = m_input.pull(m_in.data() + had, kInputBytes);
    m_in.resize(had + (got ? *got : 0));
    if (!got)
        return got.error();
    if (*got == 0)
        m_inputDone = true;
    return *got > 0;
}

bool ChunkedSource::readSizeLine(bool &complete)
{
    const qsizetype eol = m_in.indexOf('\n', m_pos);
    complete = eol >= 0;
    if (!complete)
        return m_in.size() - m_pos <= kMaxSizeLine;
    qint64 size = 0;
    qsizetype i = m_pos;
    for (; i < eol; ++i) {
        const int digit = hexDigitValue(m_in[i]);
        if (digit < 0)
            break;
        if (size > (qint64(1) << 58))
            return false;
        size = size * 16 + digit;
    }
    if (i == m_pos)
        return false;
    for (; i < eol; ++i) {
        const char c = m_in[i];
        if (c == ';')
            break;
        if (c != ' ' && c != '\t' && c != '\r')
            return false;
    }
    m_pos = eol + 1;
    m_chunkLeft = size;
    m_inChunk = size > 0;
    m_done = size == 0; // trailer fields after the last chunk say nothing about the body
    return true;
}

Result<qsizetype> ChunkedSource::pull(char *out, qsizetype max)
{
    while (!m_done) {
        if (m_inChunk) {
            if (m_pos == m_in.size()) {
                const Result<bool> more = fill();
                if (!more)
                    return more.error();
                if (!*more) {
                    m_done = true;
                    break;
                }
            }
            const qsizetype n =
                qsizetype(std::min<qint64>({max, m_chunkLeft, m_in.size() - m_pos}));
            std::memcpy(out, m_in.constData() + m_pos, size_t(n));
            m_pos += n;
            m_chunkLeft -= n;
            if (m_chunkLeft == 0) {
                m_inChunk = false;
                m_afterChunk = true;
            }
            return n;
        }
        if (m_afterChunk) {
            // The line end that closes a chunk's data.
            if (m_in.size() - m_pos < 2 && !m_inputDone) {
                if (const Result<bool> more = fill(); !more)
                    return more.error();
                continue;
            }
            if (m_pos < m_in.size() && m_in[m_pos] == '\r')
                ++m_pos;
            if (m_pos < m_in.size() && m_in[m_pos] == '\n')
                ++m_pos;
            m_afterChunk = false;
        }
        bool complete = false;
        if (!readSizeLine(complete)) {
            m_done = true;
            break;
        }
        if (!complete) {
            const Result<bool> more = fill();
            if (!more)
                return more.error();
            if (!*more)
                m_done = true;
        }
    }
    return 0;
}

Result<qsizetype> PrefixedSource::pull(char *out, qsizetype max)
{
    if (m_pos < m_prefix.size()) {
        const qsizetype n = std::min(max, m_prefix.size() - m_pos);
        std::memcpy(out, m_prefix.constData() + m_pos, size_t(n));
        m_pos += n;
        if (m_pos == m_prefix.size()) {
            m_prefix.clear();
            m_pos = 0;
        }
        return n;
    }
    return m_rest.pull(out, max);
}

} // namespace corvane
