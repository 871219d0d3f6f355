#pragma once

// Byte streams read piece by piece, each stage pulling from the one before: a device, gzip
// or deflate data inflated, HTTP chunked coding undone. Every stage holds one small buffer,
// so a stream of any length passes in bounded memory.

#include "common/Result.h"

#include <QByteArray>
#include <QByteArrayView>

#include <memory>

class QIODevice;

namespace corvane {

class PullSource
{
public:
    virtual ~PullSource() = default;
    // Up to max bytes into out; 0 at the end of the stream.
    virtual Result<qsizetype> pull(char *out, qsizetype max) = 0;
};

// A device's bytes, with a look at the first ones before they are taken.
class DeviceSource : public PullSource
{
public:
    explicit DeviceSource(QIODevice &device) : m_device(device) {}
    Result<qsizetype> pull(char *out, qsizetype max) override;
    // Up to n bytes from the current position on, left in place for pull().
    Result<QByteArrayView> peek(qsizetype n);
    qint64 bytesRead() const { return m_read; }

private:
    QIODevice &m_device;
    QByteArray m_ahead;
    qint64 m_read = 0;
};

// Inflates what it pulls. Gzip mode takes one member or many in a row (a .warc.gz has one per
// record) and fails on data that is cut off or damaged; deflate mode takes zlib-wrapped or
// raw deflate data, as HTTP servers send under "deflate".
class InflateSource : public PullSource
{
public:
    enum Format { Gzip, Deflate };
    InflateSource(PullSource &input, Format format);
    ~InflateSource() override;
    // For bodies a server may have sent uncoded after all: data that does not begin like its
    // format passes unchanged, and a gzip stream ends with its first member.
    void setLenient(bool lenient) { m_lenient = lenient; }
    Result<qsizetype> pull(char *out, qsizetype max) override;

private:
    struct Stream;
    Result<void> start();
    Result<bool> refill();

    PullSource &m_input;
    Format m_format;
    std::unique_ptr<Stream> m_stream;
    QByteArray m_in;
    qsizetype m_inPos = 0;
    qsizetype m_inEnd = 0;
    bool m_inputDone = false;
    bool m_memberDone = false;
    bool m_finished = false;
    bool m_lenient = false;
    bool m_passThrough = false;
};

// Undoes HTTP's chunked transfer coding. Framing that breaks off ends the stream where it
// breaks: an archived body is handed on as far as it goes.
class ChunkedSource : public PullSource
{
public:
    explicit ChunkedSource(PullSource &input) : m_input(input) {}
    Result<qsizetype> pull(char *out, qsizetype max) override;

private:
    Result<bool> fill();
    // A size line; false when it is not one.
    bool readSizeLine(bool &complete);

    PullSource &m_input;
    QByteArray m_in;
    qsizetype m_pos = 0;
    qint64 m_chunkLeft = 0;
    bool m_inChunk = false;
    bool m_afterChunk = false;
    bool m_done = false;
    bool m_inputDone = false;
};

// Bytes held in memory, then the rest of another source.
class PrefixedSource : public PullSource
{
public:
    PrefixedSource(QByteArray prefix, PullSource &rest) : m_prefix(std::move(prefix)), m_rest(rest)
    {
    }
    Result<qsizetype> pull(char *out, qsizetype max) override;

private:
    QByteArray m_prefix;
    qsizetype m_pos = 0;
    PullSource &m_rest;
};

// One gzip member holding the bytes (level: zlib's, 1 fastest to 9 smallest).
QByteArray gzipCompressed(QByteArrayView bytes, int level = 6);

// Whether the bytes begin a gzip member.
inline bool isGzipStart(QByteArrayView bytes)
{
    return bytes.size() >= 2 && uchar(bytes[0]) == 0x1f && uchar(bytes[1]) == 0x8b;
}

} // namespace corvane
