// A PDF given to the leads scan: its text comes from the helper program corvane-pdf-text.

#include "FuzzTarget.h"

#include "scan/DocumentText.h"

using namespace corvane;

namespace {

struct Counted : TextSink
{
    qint64 bytes = 0;
    void beginSource(const QString &) override {}
    void text(QByteArrayView piece) override { bytes += piece.size(); }
};

} // namespace

// Whatever the helper meets (a damaged file, a bomb that ends it), the scan's side ends with
// the text or a message and takes in no more text than the limit.
CORVANE_FUZZ_TARGET(pdf_text)
{
    const QString path = fuzz::inputFile(input, QStringLiteral("document.pdf"));
    if (path.isEmpty())
        return;
    DocumentLimits limits;
    limits.maxPdfPages = 50;
    limits.maxTextBytes = 1 << 20;
    limits.pdfMemoryBytes = qint64(256) << 20;
    limits.pdfSeconds = 5;
    Counted sink;
    const Result<void> read = readPdfText(path, sink, limits);
    CORVANE_EXPECT(read || !read.message().isEmpty());
    CORVANE_EXPECT(sink.bytes <= limits.maxTextBytes);
}
