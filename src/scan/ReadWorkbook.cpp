#include "scan/ReadWorkbook.h"

#include "common/Cp1252.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QXmlStreamReader>

#include <quazip/quazip.h>
#include <quazip/quazipfile.h>

#include <freexl.h>

#include <map>
#include <memory>
#include <variant>
#include <vector>

namespace corvane {

namespace {

bool hasAt(const QString &cell)
{
    return cell.contains(QLatin1Char('@'));
}

// ---- comma-separated text -------------------------------------------------------------

// The first field of one line; a quoted field may hold commas and doubled quotes.
QByteArray firstField(QByteArray line)
{
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    if (line.startsWith('"')) {
        QByteArray field;
        for (qsizetype i = 1; i < line.size(); ++i) {
            if (line[i] == '"') {
                if (i + 1 < line.size() && line[i + 1] == '"') {
                    field += '"';
                    ++i;
                    continue;
                }
                break;
            }
            field += line[i];
        }
        return field;
    }
    const qsizetype comma = line.indexOf(',');
    return comma < 0 ? line : line.left(comma);
}

Result<QStringList> readText(QFile &file)
{
    QStringList leads;
    // A sheet saved as UTF-8 text starts with a byte-order mark, which is no part of a cell.
    if (file.peek(3) == "\xEF\xBB\xBF")
        file.skip(3);
    // Lines are read one at a time, so a huge sheet never sits in memory whole.
    while (!file.atEnd()) {
        const QByteArray line = file.readLine(1 << 20);
        if (line.isEmpty() && file.error() != QFile::NoError)
            return fail(
                QStringLiteral("Cannot read %1: %2").arg(file.fileName(), file.errorString()));
        const QString cell = fromCp1252(firstField(line));
        if (cell.isEmpty())
            break;
        if (hasAt(cell))
            leads << cell;
    }
    return leads;
}

// ---- .xlsx ------------------------------------------------------------------------------

// Opens one member of the archive for streaming.
Result<std::unique_ptr<QuaZipFile>> openMember(QuaZip &zip, const QString &name)
{
    if (!zip.setCurrentFile(name))
        return fail(QStringLiteral("the workbook has no part %1").arg(name));
    auto member = std::make_unique<QuaZipFile>(&zip);
    if (!member->open(QIODevice::ReadOnly))
        return fail(QStringLiteral("the part %1 cannot be unpacked").arg(name));
    return member;
}

// Text of a string item (<si> or <is>): every <t>, phonetic runs left out.
QString readStringItem(QXmlStreamReader &xml)
{
    const QString endName = xml.name().toString();
    QString text;
    int phonetic = 0;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement()) {
            if (xml.name() == QLatin1String("rPh"))
                ++phonetic;
            else if (xml.name() == QLatin1String("t") && phonetic == 0)
                text += xml.readElementText(QXmlStreamReader::IncludeChildElements);
        } else if (xml.isEndElement()) {
            if (xml.name() == QLatin1String("rPh"))
                --phonetic;
            else if (xml.name() == endName)
                break;
        }
    }
    return text;
}

// Zero-based column and one-based row of a reference such as "A12".
bool parseReference(const QString &ref, int *column, int *row)
{
    int col = 0;
    qsizetype i = 0;
    while (i < ref.size() && ref[i].isLetter()) {
        col = col * 26 + (ref[i].toUpper().unicode() - 'A' + 1);
        if (col > 1 << 20)
            return false;
        ++i;
    }
    bool ok = false;
    const int r = ref.mid(i).toInt(&ok);
    if (col == 0 || !ok)
        return false;
    *column = col - 1;
    *row = r;
    return true;
}

// A column-1 cell: its own text, or the index of a shared string.
using Cell = std::variant<QString, int>;

Result<std::map<int, Cell>> readFirstColumn(QIODevice &sheet)
{
    std::map<int, Cell> cells;
    QXmlStreamReader xml(&sheet);
    int row = 0;
    int column = -1;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement())
            continue;
        if (xml.name() == QLatin1String("row")) {
            bool ok = false;
            const int r = xml.attributes().value(QLatin1String("r")).toInt(&ok);
            row = ok ? r : row + 1;
            column = -1;
        } else if (xml.name() == QLatin1String("c")) {
            const auto attrs = xml.attributes();
            int cellColumn = column + 1;
            int cellRow = row;
            if (attrs.hasAttribute(QLatin1String("r")) &&
                !parseReference(attrs.value(QLatin1String("r")).toString(), &cellColumn, &cellRow))
                return fail(QStringLiteral("the sheet has a bad cell reference"));
            column = cellColumn;
            if (cellColumn != 0) {
                xml.skipCurrentElement();
                continue;
            }
            const QString type = attrs.value(QLatin1String("t")).toString();
            Cell cell = QString();
            while (xml.readNextStartElement()) {
                if (xml.name() == QLatin1String("v")) {
                    const QString v = xml.readElementText();
                    if (type == QLatin1String("s")) {
                        bool ok = false;
                        const int index = v.toInt(&ok);
                        if (!ok || index < 0)
                            return fail(QStringLiteral("the sheet refers to a bad shared string"));
                        cell = index;
                    } else {
                        cell = v;
                    }
                } else if (xml.name() == QLatin1String("is")) {
                    cell = readStringItem(xml);
                } else {
                    xml.skipCurrentElement();
                }
            }
            cells[cellRow] = cell;
        }
    }
    if (xml.hasError())
        return fail(QStringLiteral("the sheet is not well-formed XML (%1)").arg(xml.errorString()));
    return cells;
}

// Only the shared strings the first column uses are kept.
Result<QHash<int, QString>> readSharedStrings(QIODevice &part, const QSet<int> &wanted)
{
    QHash<int, QString> strings;
    QXmlStreamReader xml(&part);
    int index = 0;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() == QLatin1String("si")) {
            if (wanted.contains(index))
                strings.insert(index, readStringItem(xml));
            else
                xml.skipCurrentElement();
            ++index;
        }
    }
    if (xml.hasError())
        return fail(QStringLiteral("the shared strings are not well-formed XML (%1)")
                        .arg(xml.errorString()));
    return strings;
}

// The part name of the workbook's first worksheet, from workbook.xml and its relationships.
QString firstSheetPart(QuaZip &zip)
{
    const QString fallback = QStringLiteral("xl/worksheets/sheet1.xml");
    QString relationId;
    if (auto book = openMember(zip, QStringLiteral("xl/workbook.xml")); book) {
        QXmlStreamReader xml(book.value().get());
        while (!xml.atEnd() && relationId.isEmpty()) {
            xml.readNext();
            if (xml.isStartElement() && xml.name() == QLatin1String("sheet")) {
                for (const auto &attr : xml.attributes()) {
                    if (attr.name() == QLatin1String("id"))
                        relationId = attr.value().toString();
                }
            }
        }
    }
    if (relationId.isEmpty())
        return fallback;
    auto rels = openMember(zip, QStringLiteral("xl/_rels/workbook.xml.rels"));
    if (!rels)
        return fallback;
    QXmlStreamReader xml(rels.value().get());
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() == QLatin1String("Relationship") &&
            xml.attributes().value(QLatin1String("Id")) == relationId) {
            QString target = xml.attributes().value(QLatin1String("Target")).toString();
            if (target.startsWith(QLatin1Char('/')))
                return target.mid(1);
            return QStringLiteral("xl/") + target;
        }
    }
    return fallback;
}

Result<QStringList> readXlsx(const QString &path)
{
    const auto bad = [&](const QString &why) {
        return fail(QStringLiteral("%1 is not a readable .xlsx workbook: %2.")
                        .arg(QFileInfo(path).fileName(), why));
    };
    QuaZip zip(path);
    if (!zip.open(QuaZip::mdUnzip))
        return bad(QStringLiteral("the zip archive is damaged"));

    auto sheet = openMember(zip, firstSheetPart(zip));
    if (!sheet)
        return bad(sheet.message());
    auto cells = readFirstColumn(*sheet.value());
    sheet.value()->close();
    if (!cells)
        return bad(cells.message());

    QSet<int> wanted;
    for (const auto &[row, cell] : cells.value()) {
        if (const int *index = std::get_if<int>(&cell))
            wanted.insert(*index);
    }
    QHash<int, QString> shared;
    if (!wanted.isEmpty()) {
        auto part = openMember(zip, QStringLiteral("xl/sharedStrings.xml"));
        if (!part)
            return bad(part.message());
        auto strings = readSharedStrings(*part.value(), wanted);
        if (!strings)
            return bad(strings.message());
        shared = std::move(strings.value());
    }

    QStringList leads;
    for (int row = 1;; ++row) {
        const auto it = cells.value().find(row);
        if (it == cells.value().end())
            break;
        QString text;
        if (const int *index = std::get_if<int>(&it->second)) {
            if (!shared.contains(*index))
                return bad(QStringLiteral("the sheet refers to a missing shared string"));
            text = shared.value(*index);
        } else {
            text = std::get<QString>(it->second);
        }
        if (text.isEmpty())
            break;
        if (hasAt(text))
            leads << text;
    }
    return leads;
}

// ---- .xls -------------------------------------------------------------------------------

Result<QStringList> readXls(const QString &path)
{
    const QString name = QFileInfo(path).fileName();
    const void *handle = nullptr;
    if (freexl_open(QFile::encodeName(path).constData(), &handle) != FREEXL_OK) {
        if (handle)
            freexl_close(handle);
        return fail(QStringLiteral("%1 is not a readable .xls workbook.").arg(name));
    }
    const std::unique_ptr<const void, int (*)(const void *)> guard(handle, freexl_close);
    unsigned int rows = 0;
    unsigned short columns = 0;
    if (freexl_select_active_worksheet(handle, 0) != FREEXL_OK ||
        freexl_worksheet_dimensions(handle, &rows, &columns) != FREEXL_OK)
        return fail(QStringLiteral("%1 has no readable worksheet.").arg(name));
    QStringList leads;
    for (unsigned int row = 0; row < rows && columns > 0; ++row) {
        FreeXL_CellValue value;
        if (freexl_get_cell_value(handle, row, 0, &value) != FREEXL_OK)
            return fail(QStringLiteral("%1: row %2 cannot be read.").arg(name).arg(row + 1));
        QString text;
        switch (value.type) {
        case FREEXL_CELL_INT:
            text = QString::number(value.value.int_value);
            break;
        case FREEXL_CELL_DOUBLE:
            text = QString::number(value.value.double_value);
            break;
        case FREEXL_CELL_TEXT:
        case FREEXL_CELL_SST_TEXT:
        case FREEXL_CELL_DATE:
        case FREEXL_CELL_DATETIME:
        case FREEXL_CELL_TIME:
            text = value.value.text_value ? QString::fromUtf8(value.value.text_value) : QString();
            break;
        default:
            break;
        }
        if (text.isEmpty())
            break;
        if (hasAt(text))
            leads << text;
    }
    return leads;
}

} // namespace

Result<QStringList> ReadWorkbook(const QString &path)
{
    if (path.trimmed().isEmpty())
        return fail(QStringLiteral("No file given."));
    QFile file(path);
    if (!QFileInfo(path).isFile())
        return fail(QStringLiteral("%1 does not exist or is not a file.").arg(path));
    if (!file.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("Cannot read %1: %2").arg(path, file.errorString()));
    const QByteArray magic = file.peek(8);
    if (magic.startsWith("PK\x03\x04")) {
        file.close();
        return readXlsx(path);
    }
    if (magic.startsWith("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1")) {
        file.close();
        return readXls(path);
    }
    if (path.endsWith(QLatin1String(".xlsx"), Qt::CaseInsensitive) ||
        path.endsWith(QLatin1String(".xls"), Qt::CaseInsensitive))
        return fail(QStringLiteral("%1 is not a readable %2 workbook: it is neither a zip archive "
                                   "nor an Excel 97-2003 file.")
                        .arg(QFileInfo(path).fileName(),
                             path.endsWith(QLatin1String("x"), Qt::CaseInsensitive)
                                 ? QStringLiteral(".xlsx")
                                 : QStringLiteral(".xls")));
    return readText(file);
}

} // namespace corvane
