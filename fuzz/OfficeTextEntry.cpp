// Office documents (zip archives of XML parts), given to the leads scan.

#include "FuzzTarget.h"

#include "scan/DocumentText.h"

#include <QBuffer>

using namespace corvane;

namespace {

struct Collected : TextSink
{
    QByteArray all;
    void beginSource(const QString &) override {}
    void text(QByteArrayView piece) override { all += piece; }
};

} // namespace

// Reading ends with the text or a message, and hands on no more text than the limit and one
// piece beyond it.
CORVANE_FUZZ_TARGET(office_text)
{
    QBuffer buffer;
    buffer.setData(input.toByteArray());
    buffer.open(QIODevice::ReadOnly);
    DocumentLimits limits;
    limits.maxUnpackedBytes = 16 << 20;
    limits.maxTextBytes = 1 << 20;
    Collected sink;
    const Result<bool> read = readOfficeText(buffer, sink, limits);
    CORVANE_EXPECT(read || !read.message().isEmpty());
    CORVANE_EXPECT(sink.all.size() <= limits.maxTextBytes + (64 << 10) + 1);
}
