// Lead sheets saved as Office Open XML workbooks (.xlsx): a zip archive of XML parts. The
// parts are parsed as they unpack, so neither the worksheet nor its shared texts are ever
// held whole, however large they unpack.

#include "scan/LeadColumn.h"

#include <QDir>
#include <QHash>
#include <QXmlStreamReader>

#include <quazip/quazip.h>
#include <quazip/quazipfile.h>

#include <memory>
#include <optional>
#include <vector>

namespace corvane {

namespace {

constexpr qint64 kChunkBytes = 64 * 1024;

// One XML part of the workbook, unpacked a chunk at a time into the XML reader.
class XmlPart
{
public:
    explicit XmlPart(SheetContext &context) : m_context(context) {}

    // False when the archive has no such part.
    Result<bool> open(QuaZip &zip, const QString &name)
    {
        m_name = name;
        if (!zip.setCurrentFile(name))
            return false;
        m_file = std::make_unique<QuaZipFile>(&zip);
        if (!m_file->open(QIODevice::ReadOnly))
            return m_context.refuse(QStringLiteral("its part %1 cannot be unpacked").arg(name));
        return true;
    }

    // The next token into xml(); false at the end of the part.
    Result<bool> next()
    {
        for (;;) {
            const QXmlStreamReader::TokenType token = m_xml.readNext();
            if (m_xml.error() == QXmlStreamReader::PrematureEndOfDocumentError) {
                if (const Result<void> fed = feed(); !fed)
                    return fed.error();
                continue;
            }
            if (m_xml.hasError())
                return m_context.refuse(QStringLiteral("its part %1 is damaged (%2, line %3)")
                                            .arg(m_name, m_xml.errorString())
                                            .arg(m_xml.lineNumber()));
            m_pending = 0;
            return token != QXmlStreamReader::EndDocument;
        }
    }

    // The next token inside an element, whose end must still come.
    Result<void> nextInside()
    {
        const Result<bool> more = next();
        if (!more)
            return more.error();
        if (!*more)
            return endsEarly();
        return {};
    }

    // Reads past the end of the element just started.
    Result<void> skipElement()
    {
        for (int depth = 1; depth > 0;) {
            if (const Result<void> more = nextInside(); !more)
                return more;
            if (m_xml.isStartElement())
                ++depth;
            else if (m_xml.isEndElement())
                --depth;
        }
        return {};
    }

    // The text of the element just started: its own text for <v>, the text of its <t>
    // elements for a string item (<is>, <si>), leaving out phonetic runs (<rPh>), which are
    // a reading aid and no part of the cell.
    Result<QString> readText()
    {
        QString text;
        int phonetic = 0;
        // Per open element: does text directly inside it belong to the value?
        std::vector<bool> holdsText{m_xml.name() == QLatin1String("v")};
        while (!holdsText.empty()) {
            if (const Result<void> more = nextInside(); !more)
                return more.error();
            if (m_xml.isStartElement()) {
                if (m_xml.name() == QLatin1String("rPh"))
                    ++phonetic;
                holdsText.push_back(m_xml.name() == QLatin1String("t"));
            } else if (m_xml.isEndElement()) {
                if (m_xml.name() == QLatin1String("rPh"))
                    --phonetic;
                holdsText.pop_back();
            } else if (m_xml.isCharacters() && holdsText.back() && phonetic == 0) {
                if (text.size() + m_xml.text().size() > m_context.limits().maxTextChars)
                    return m_context.textTooLong();
                text += m_xml.text();
            }
        }
        return text;
    }

    // On to the next start of an element of that name; false at the end of the part.
    Result<bool> nextStart(QLatin1String name)
    {
        for (;;) {
            const Result<bool> more = next();
            if (!more || !*more || isStart(name))
                return more;
        }
    }

    bool isStart(QLatin1String name) const
    {
        return m_xml.isStartElement() && m_xml.name() == name;
    }
    bool isEnd(QLatin1String name) const { return m_xml.isEndElement() && m_xml.name() == name; }
    QXmlStreamAttributes attributes() const { return m_xml.attributes(); }
    const QXmlStreamReader &xml() const { return m_xml; }

private:
    Error endsEarly() const
    {
        return m_context.refuse(QStringLiteral("its part %1 ends early").arg(m_name));
    }

    Result<void> feed()
    {
        const QByteArray chunk = m_file->read(kChunkBytes);
        if (chunk.isEmpty()) {
            if (m_file->getZipError() != UNZ_OK)
                return m_context.refuse(QStringLiteral("its part %1 is damaged").arg(m_name));
            return endsEarly();
        }
        if (const Result<void> ok = m_context.advance(chunk.size()); !ok)
            return ok.error();
        // The reader keeps a token whole until it ends; a token that keeps growing is a text
        // (or tag) far beyond any cell's, so the read stops before it fills memory.
        m_pending += chunk.size();
        if (m_pending > m_context.limits().maxPieceBytes)
            return m_context.textTooLong();
        m_xml.addData(chunk);
        return {};
    }

    SheetContext &m_context;
    QString m_name;
    std::unique_ptr<QuaZipFile> m_file;
    QXmlStreamReader m_xml;
    qint64 m_pending = 0;
};

// Where the first worksheet and the shared texts are, from the workbook and its
// relationships; the usual names when the workbook does not say.
struct WorkbookParts
{
    QString sheet = QStringLiteral("xl/worksheets/sheet1.xml");
    QString sharedTexts = QStringLiteral("xl/sharedStrings.xml");
};

QString partPath(const QString &target)
{
    if (target.startsWith(QLatin1Char('/')))
        return QDir::cleanPath(target.mid(1));
    return QDir::cleanPath(QStringLiteral("xl/") + target);
}

Result<WorkbookParts> findParts(QuaZip &zip, SheetContext &context)
{
    WorkbookParts parts;
    QStringList sheetIds;
    {
        XmlPart book(context);
        const Result<bool> opened = book.open(zip, QStringLiteral("xl/workbook.xml"));
        if (!opened)
            return opened.error();
        if (!*opened)
            return parts;
        for (;;) {
            const Result<bool> more = book.nextStart(QLatin1String("sheet"));
            if (!more)
                return more.error();
            if (!*more)
                break;
            for (const QXmlStreamAttribute &attribute : book.attributes()) {
                if (attribute.name() == QLatin1String("id"))
                    sheetIds << attribute.value().toString();
            }
        }
    }

    struct Relationship
    {
        QString type;
        QString target;
    };
    QHash<QString, Relationship> relationships;
    XmlPart rels(context);
    const Result<bool> opened = rels.open(zip, QStringLiteral("xl/_rels/workbook.xml.rels"));
    if (!opened)
        return opened.error();
    if (!*opened)
        return parts;
    for (;;) {
        const Result<bool> more = rels.nextStart(QLatin1String("Relationship"));
        if (!more)
            return more.error();
        if (!*more)
            break;
        const QXmlStreamAttributes attributes = rels.attributes();
        const Relationship relationship{attributes.value(QLatin1String("Type")).toString(),
                                        attributes.value(QLatin1String("Target")).toString()};
        relationships.insert(attributes.value(QLatin1String("Id")).toString(), relationship);
        if (relationship.type.endsWith(QLatin1String("/sharedStrings")))
            parts.sharedTexts = partPath(relationship.target);
    }
    // The first sheet that is a worksheet (charts and dialogs are sheets too).
    for (const QString &id : std::as_const(sheetIds)) {
        const auto found = relationships.constFind(id);
        if (found != relationships.cend() && found->type.endsWith(QLatin1String("/worksheet"))) {
            parts.sheet = partPath(found->target);
            return parts;
        }
    }
    return context.refuse(QStringLiteral("it has no worksheet"));
}

// Column (1 = A) and row of a reference such as "A12".
std::optional<std::pair<qint64, qint64>> parseReference(QStringView reference)
{
    qint64 column = 0;
    qsizetype i = 0;
    for (; i < reference.size() && i < 3 && reference[i].isLetter(); ++i)
        column = column * 26 + (reference[i].toUpper().unicode() - 'A' + 1);
    bool ok = false;
    const qint64 row = reference.mid(i).toLongLong(&ok);
    if (column <= 0 || !ok || row <= 0)
        return std::nullopt;
    return std::pair{column, row};
}

// One column-1 cell, after its start tag: hands its value to the column. A formula cell's
// <v> holds the formula's stored result.
Result<bool> readCell(XmlPart &sheet, qint64 row, LeadColumn &column)
{
    const QString type = sheet.attributes().value(QLatin1String("t")).toString();
    std::optional<QString> value;
    for (;;) {
        if (const Result<void> more = sheet.nextInside(); !more)
            return more.error();
        if (sheet.xml().isEndElement())
            break;
        if (!sheet.xml().isStartElement())
            continue;
        if (sheet.isStart(QLatin1String("v")) || sheet.isStart(QLatin1String("is"))) {
            Result<QString> text = sheet.readText();
            if (!text)
                return text.error();
            value = std::move(text).value();
        } else if (const Result<void> skipped = sheet.skipElement(); !skipped) {
            return skipped.error();
        }
    }
    if (type == QLatin1String("s") && value) {
        bool ok = false;
        const qint64 index = value->toLongLong(&ok);
        if (!ok || index < 0)
            return column.addText(row, QString());
        return column.addShared(row, index);
    }
    return column.addText(row, value.value_or(QString()));
}

Result<void> readFirstColumn(XmlPart &sheet, LeadColumn &column, const SheetContext &context)
{
    qint64 row = 0;
    qint64 lastColumn = 0;
    for (;;) {
        const Result<bool> more = sheet.next();
        if (!more)
            return more.error();
        if (!*more)
            return {};
        if (sheet.isStart(QLatin1String("row"))) {
            bool ok = false;
            const qint64 number = sheet.attributes().value(QLatin1String("r")).toLongLong(&ok);
            row = ok ? number : row + 1;
            lastColumn = 0;
        } else if (sheet.isStart(QLatin1String("c"))) {
            const QXmlStreamAttributes attributes = sheet.attributes();
            const QStringView reference = attributes.value(QLatin1String("r"));
            qint64 cellColumn = lastColumn + 1;
            qint64 cellRow = row;
            if (!reference.isEmpty()) {
                const auto parsed = parseReference(reference);
                if (!parsed)
                    return context.refuse(
                        QStringLiteral("a cell has the bad reference \"%1\"").arg(reference));
                std::tie(cellColumn, cellRow) = *parsed;
            }
            lastColumn = cellColumn;
            if (cellColumn != 1) {
                if (const Result<void> skipped = sheet.skipElement(); !skipped)
                    return skipped;
                continue;
            }
            const Result<bool> going = readCell(sheet, cellRow, column);
            if (!going)
                return going.error();
            if (!*going)
                return {};
        } else if (sheet.isEnd(QLatin1String("row"))) {
            // Rows come in order, so a row without a column-1 cell ends the column; a sheet
            // of endless empty rows is not read to its end.
            if (!column.endRow(row))
                return {};
        } else if (sheet.isEnd(QLatin1String("sheetData"))) {
            return {};
        }
    }
}

// The shared texts with the given indices (ascending), in that order; reading stops after
// the last one.
Result<std::vector<QString>> readSharedTexts(XmlPart &part, const std::vector<qint64> &wanted)
{
    std::vector<QString> texts;
    texts.reserve(wanted.size());
    for (qint64 index = 0; texts.size() < wanted.size(); ++index) {
        const Result<bool> more = part.nextStart(QLatin1String("si"));
        if (!more)
            return more.error();
        if (!*more)
            break;
        if (wanted[texts.size()] == index) {
            Result<QString> text = part.readText();
            if (!text)
                return text.error();
            texts.push_back(std::move(text).value());
        } else if (const Result<void> skipped = part.skipElement(); !skipped) {
            return skipped.error();
        }
    }
    return texts;
}

} // namespace

Result<QStringList> readXlsxSheet(QIODevice &device, SheetContext &context)
{
    QuaZip zip(&device);
    zip.setAutoClose(false);
    if (!zip.open(QuaZip::mdUnzip))
        return context.refuse(QStringLiteral("it is a damaged zip archive"));
    const Result<WorkbookParts> parts = findParts(zip, context);
    if (!parts)
        return parts.error();

    LeadColumn column(context);
    {
        XmlPart sheet(context);
        const Result<bool> opened = sheet.open(zip, parts->sheet);
        if (!opened)
            return opened.error();
        if (!*opened)
            return context.refuse(QStringLiteral("its worksheet %1 is missing").arg(parts->sheet));
        if (const Result<void> read = readFirstColumn(sheet, column, context); !read)
            return read.error();
    }
    const std::vector<qint64> &wanted = column.sharedIndices();
    std::vector<QString> shared;
    if (!wanted.empty()) {
        XmlPart part(context);
        const Result<bool> opened = part.open(zip, parts->sharedTexts);
        if (!opened)
            return opened.error();
        if (!*opened)
            return context.refuse(
                QStringLiteral("its shared texts %1 are missing").arg(parts->sharedTexts));
        Result<std::vector<QString>> texts = readSharedTexts(part, wanted);
        if (!texts)
            return texts.error();
        shared = std::move(texts).value();
    }
    return column.leads(shared);
}

} // namespace corvane
