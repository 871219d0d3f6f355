// Markup text (the XML parts of office documents), fed in pieces as the readers feed it.

#include "FuzzTarget.h"

#include "CollectedText.h"

using namespace corvane;

namespace {

QByteArray markupText(const QList<QByteArrayView> &pieces)
{
    fuzz::CollectedText sink;
    MarkupText markup(sink);
    for (const QByteArrayView piece : pieces)
        markup.feed(piece);
    markup.finish();
    return sink.all;
}

} // namespace

// Markup gives the same text however it is cut into pieces, and never more text than it has
// bytes (tags and entities only ever shrink), plus the closing line end.
CORVANE_FUZZ_TARGET(markup_text)
{
    const QByteArray whole = markupText({input});
    CORVANE_EXPECT(whole.size() <= input.size() + 1);
    const qsizetype cut = input.isEmpty() ? 0 : uchar(input[0]) % (input.size() + 1);
    CORVANE_EXPECT(markupText({input.first(cut), input.sliced(cut)}) == whole);
}
