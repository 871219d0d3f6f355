// Office documents are zip archives of XML parts; the parts that hold what the document says
// are unpacked a piece at a time straight into the markup reader, so no part is ever held
// whole and a zip bomb ends at the unpacked-size limit.

#include "scan/DocumentText.h"

#include <QIODevice>

#include <quazip/quazip.h>
#include <quazip/quazipfile.h>

namespace corvane {

namespace {

constexpr qint64 kChunkBytes = 64 * 1024;
// A document has tens of parts; a directory far longer than any is no document's.
constexpr int kMaxEntries = 100000;

enum class Family { None, Word, Excel, PowerPoint, OpenDocument };

bool matches(const QString &name, QLatin1StringView prefix, QLatin1StringView suffix = {})
{
    return name.startsWith(prefix) && name.endsWith(suffix) &&
           name.size() >= prefix.size() + suffix.size();
}

// The parts whose text is the document's: body, headers, footers, notes and comments (Word);
// shared texts, sheets and comments (Excel); slides and notes (PowerPoint); content and the
// styles part, which holds headers and footers (OpenDocument).
bool isTextPart(Family family, const QString &name)
{
    switch (family) {
    case Family::Word:
        return name == QLatin1String("word/document.xml") ||
               matches(name, QLatin1String("word/header"), QLatin1String(".xml")) ||
               matches(name, QLatin1String("word/footer"), QLatin1String(".xml")) ||
               name == QLatin1String("word/footnotes.xml") ||
               name == QLatin1String("word/endnotes.xml") ||
               name == QLatin1String("word/comments.xml");
    case Family::Excel:
        return name == QLatin1String("xl/sharedStrings.xml") ||
               matches(name, QLatin1String("xl/worksheets/sheet"), QLatin1String(".xml")) ||
               matches(name, QLatin1String("xl/comments"), QLatin1String(".xml"));
    case Family::PowerPoint:
        return matches(name, QLatin1String("ppt/slides/slide"), QLatin1String(".xml")) ||
               matches(name, QLatin1String("ppt/notesSlides/notesSlide"), QLatin1String(".xml"));
    case Family::OpenDocument:
        return name == QLatin1String("content.xml") || name == QLatin1String("styles.xml");
    case Family::None:
        break;
    }
    return false;
}

// Told by the parts a family always has; the folders alone are enough for the files some
// programs write without the rest.
Family familyOf(const QString &name)
{
    if (name.startsWith(QLatin1String("word/")))
        return Family::Word;
    if (name.startsWith(QLatin1String("xl/")))
        return Family::Excel;
    if (name.startsWith(QLatin1String("ppt/")))
        return Family::PowerPoint;
    if (name == QLatin1String("content.xml"))
        return Family::OpenDocument;
    return Family::None;
}

QString sizeInWords(qint64 bytes)
{
    return QStringLiteral("%1 MiB").arg(bytes >> 20);
}

} // namespace

Result<bool> readOfficeText(QIODevice &device, TextSink &sink, const DocumentLimits &limits)
{
    QuaZip zip(&device);
    zip.setAutoClose(false);
    if (!zip.open(QuaZip::mdUnzip))
        return false;

    Family family = Family::None;
    QStringList names;
    int entries = 0;
    for (bool more = zip.goToFirstFile(); more; more = zip.goToNextFile()) {
        if (++entries > kMaxEntries)
            return false;
        const QString name = zip.getCurrentFileName();
        if (family == Family::None)
            family = familyOf(name);
        names << name;
    }
    if (family == Family::None)
        return false;

    MarkupText markup(sink);
    qint64 unpacked = 0;
    QByteArray chunk(kChunkBytes, Qt::Uninitialized);
    for (const QString &name : std::as_const(names)) {
        if (!isTextPart(family, name))
            continue;
        // What came before the trouble is the document's text: it is handed on first.
        const auto stop = [&](const QString &problem) {
            markup.finish();
            return fail(problem);
        };
        const auto damaged = [&] {
            return stop(QStringLiteral("its part %1 is damaged").arg(name));
        };
        if (!zip.setCurrentFile(name))
            return damaged();
        QuaZipFile part(&zip);
        if (!part.open(QIODevice::ReadOnly))
            return damaged();
        for (;;) {
            if (sink.stopRequested())
                return true;
            const qint64 got = part.read(chunk.data(), chunk.size());
            if (got < 0 || (got == 0 && part.getZipError() != UNZ_OK))
                return damaged();
            if (got == 0)
                break;
            unpacked += got;
            if (unpacked > limits.maxUnpackedBytes)
                return stop(QStringLiteral("it unpacks to more than %1 (a zip bomb?)")
                                .arg(sizeInWords(limits.maxUnpackedBytes)));
            markup.feed(QByteArrayView(chunk.constData(), got));
            if (markup.textBytes() > limits.maxTextBytes)
                return stop(QStringLiteral("its text is longer than %1")
                                .arg(sizeInWords(limits.maxTextBytes)));
        }
        markup.finish();
    }
    return true;
}

} // namespace corvane
