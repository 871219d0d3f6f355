// Office documents (zip archives of XML parts), given to the leads scan.

#include "FuzzTarget.h"

#include "CollectedText.h"

#include <QBuffer>

using namespace corvane;

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
    fuzz::CollectedText sink;
    const Result<bool> read = readOfficeText(buffer, sink, limits);
    CORVANE_EXPECT(read || !read.message().isEmpty());
    CORVANE_EXPECT(sink.all.size() <= limits.maxTextBytes + (64 << 10) + 1);
}
