#pragma once

// The text the leads scan searches, taken out of the files people keep: web archives (WARC,
// plain or gzip), gzip files, office documents (Word, Excel and PowerPoint files of Office
// 2007 on, OpenDocument files) and PDF. Every other file is searched as its raw bytes.
//
// The format is told by the content, never by the name. Each reader hands its text on in
// pieces to a TextSink and keeps within DocumentLimits, so a hostile file (a zip or gzip bomb,
// an archive record claiming a terabyte, a PDF built to exhaust its reader) ends with a
// message and never with a crash or exhausted memory.

#include "common/Result.h"
#include "exchange/WarcReader.h"

#include <QByteArrayView>
#include <QString>

class QIODevice;

namespace corvane {

struct DocumentLimits
{
    // All the XML of one office document, unpacked.
    qint64 maxUnpackedBytes = qint64(256) << 20;
    // The text handed on from one office document or PDF.
    qint64 maxTextBytes = qint64(64) << 20;
    // PDF text is taken in a helper process with its own memory and time limits, so that a
    // PDF built to exhaust the reader ends that process and not the scan.
    int maxPdfPages = 10000;
    qint64 pdfMemoryBytes = qint64(512) << 20;
    int pdfSeconds = 120;
    WarcLimits warc;
};

// Receives the text of a file. Text between two beginSource() calls comes from that source:
// the file itself, or a page inside a web archive (its target URI).
class TextSink
{
public:
    virtual ~TextSink() = default;
    virtual void beginSource(const QString &source) = 0;
    virtual void text(QByteArrayView piece) = 0;
    // Polled between pieces; true ends the read early (not a failure).
    virtual bool stopRequested() const { return false; }
    // Bytes of the file read so far, now and then while a long file is read.
    virtual void progress(qint64 bytesRead) { Q_UNUSED(bytesRead); }
};

// What the first bytes of a file say it is.
enum class ContentFormat { Raw, Gzip, Warc, Zip, Pdf };
ContentFormat sniffContentFormat(QByteArrayView start);

// The readers: each reads the device from its current position (the file's start) to the
// end. The text of raw files goes to the sink unchanged; these take the other formats.
//
// A web archive's response and resource records, each as its own source named by its
// target URI (the payload: HTTP body decoded, at most limits.warc.maxPayloadBytes).
Result<void> readWarcText(QIODevice &device, TextSink &sink, const DocumentLimits &limits);
// A gzip file: a web archive inside is read as one; anything else as its unpacked bytes.
Result<void> readGzipText(QIODevice &device, TextSink &sink, const DocumentLimits &limits);
// The text of an office document's XML parts; false for a zip archive that holds no office
// document (the caller reads such a file as raw bytes).
Result<bool> readOfficeText(QIODevice &device, TextSink &sink, const DocumentLimits &limits);
// The page text of a PDF, taken by the helper program corvane-pdf-text.
Result<void> readPdfText(const QString &path, TextSink &sink, const DocumentLimits &limits);

// Text out of markup, fed in pieces: tags dropped, entities decoded, text runs joined as they
// stand (a word split over two runs stays one word) while paragraphs, cells, line breaks and
// tabs part the text around them. Deleted revisions and phonetic guides are left out.
class MarkupText
{
public:
    explicit MarkupText(TextSink &sink) : m_sink(sink) {}
    void feed(QByteArrayView xml);
    // Hands on what is held back; call after the last piece of a part.
    void finish();
    qint64 textBytes() const { return m_textBytes; }

private:
    enum class State { Text, Tag, Quoted, Entity, Comment, CData };
    void emitText(QByteArrayView text);
    void endTag();
    void endEntity();
    void flush();

    TextSink &m_sink;
    State m_state = State::Text;
    char m_quote = 0;
    QByteArray m_name; // of the tag being read, up to a bounded length
    bool m_nameDone = false;
    bool m_selfClosing = false;
    QByteArray m_entity; // after "&", up to a bounded length
    QByteArray m_marker; // the last bytes seen in a comment or CDATA section
    QByteArray m_out;
    int m_hidden = 0; // depth inside elements whose text is left out
    qint64 m_textBytes = 0;
};

} // namespace corvane
