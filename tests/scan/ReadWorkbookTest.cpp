#include "scan/ReadWorkbook.h"

#include "support/SheetFiles.h"
#include "support/TestSupport.h"

#include <QFileInfo>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>

#include <functional>

using namespace corvane;
using namespace corvane::test;
using Kind = XlsCell::Kind;

namespace {

const QByteArray kWorkbook =
    "<workbook xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" "
    "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">"
    "<sheets><sheet name=\"Chart\" sheetId=\"3\" r:id=\"rId9\"/>"
    "<sheet name=\"Leads\" sheetId=\"1\" r:id=\"rId7\"/>"
    "<sheet name=\"Other\" sheetId=\"2\" r:id=\"rId8\"/></sheets></workbook>";
const QByteArray kRels =
    "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
    "<Relationship Id=\"rId9\" Type=\"http://x/relationships/chartsheet\" "
    "Target=\"chartsheets/sheet1.xml\"/>"
    "<Relationship Id=\"rId8\" Type=\"http://x/relationships/worksheet\" "
    "Target=\"worksheets/sheet1.xml\"/>"
    "<Relationship Id=\"rId7\" Type=\"http://x/relationships/worksheet\" "
    "Target=\"/xl/worksheets/leads.xml\"/>"
    "<Relationship Id=\"rId3\" Type=\"http://x/relationships/sharedStrings\" "
    "Target=\"texts.xml\"/></Relationships>";
const QByteArray kShared = "<sst><si><t>Email Id</t></si><si><t>ann@firm.com</t></si>"
                           "<si>\n <r><t>bo</t></r>\n <r><t>b@x.org</t></r>"
                           "<rPh><t>ignored</t></rPh></si><si><t>no at sign</t></si>"
                           "<si><t/></si></sst>";
// Rows 1-5 and 7 in column A, around cells of column B; row 6 is empty.
const QByteArray kSheet =
    "<worksheet><sheetData>"
    "<row r=\"1\"><c r=\"A1\" t=\"s\"><v>0</v></c><c r=\"B1\" t=\"s\"><v>1</v></c></row>"
    "<row r=\"2\"><c r=\"A2\" t=\"s\"><v>1</v></c></row>"
    "<row r=\"3\"><c r=\"A3\" t=\"inlineStr\"><is>\n  <t>Cy@Inline.NET</t>\n</is></c></row>"
    "<row r=\"4\"><c r=\"A4\" t=\"str\"><f>LOWER(B4)</f><v>dee@formula.org</v></c>"
    "<c r=\"B4\" t=\"inlineStr\"><is><t>DEE@formula.org</t></is></c></row>"
    "<row r=\"5\"><c r=\"A5\"><v>42</v></c><c r=\"B5\"><v>1</v></c></row>"
    "<row r=\"6\"><c r=\"B6\" t=\"s\"><v>1</v></c></row>"
    "<row r=\"7\"><c r=\"A7\" t=\"inlineStr\"><is><t>after@gap.com</t></is></c></row>"
    "</sheetData></worksheet>";

QByteArray utf16le(const QString &text)
{
    QStringEncoder encoder(QStringConverter::Utf16LE);
    return "\xFF\xFE" + QByteArray(encoder(text));
}

// Writes one file of the case into dir and returns its path.
using Builder = std::function<QString(const QTemporaryDir &dir)>;

Builder text(const QByteArray &bytes)
{
    return [bytes](const QTemporaryDir &dir) {
        writeFile(dir.filePath("sheet.csv"), bytes);
        return dir.filePath("sheet.csv");
    };
}

Builder zip(const QList<std::pair<QString, QByteArray>> &members)
{
    return [members](const QTemporaryDir &dir) {
        writeZip(dir.filePath("book.xlsx"), members);
        return dir.filePath("book.xlsx");
    };
}

Builder xls(const QList<XlsCell> &cells)
{
    return [cells](const QTemporaryDir &dir) {
        writeFile(dir.filePath("book.xls"), xlsBytes(cells));
        return dir.filePath("book.xls");
    };
}

struct Sheet
{
    const char *what;
    Builder build;
    QStringList leads;
};

QStringList manyLeads(int count)
{
    QStringList leads;
    for (int i = 0; i < count; ++i)
        leads << QStringLiteral("lead%1@many.test").arg(i);
    return leads;
}

QList<XlsCell> sharedCells(const QStringList &texts)
{
    QList<XlsCell> cells;
    for (const QString &text : texts)
        cells.append({Kind::SharedText, text});
    return cells;
}

// Two bytes a character up to the record's end, one byte a character after it.
const QString kLongLead = QStringLiteral("\u4E2D") + QString(6000, QChar(0x00E9)) + "@long.test";

} // namespace

// Column 1 from row 1 down to the first empty cell, cells with "@" unchanged and in order,
// whatever the format says about the name.
TEST(ReadWorkbook, ReadsTheFirstColumnOfEveryFormat)
{
    const QList<Sheet> sheets{
        {"lead file as saved", text("Email Id\r\na@b.com\r\nc@d.com\r\n"), {"a@b.com", "c@d.com"}},
        {"comma separated with quotes, stops at the empty row",
         text("Email Id,Name\r\na@b.com,Ann\r\n\"q,x@y.com\",1\r\nplain\r\n"
              "\"say \"\"hi\"\"@z.com\",\"two\r\nlines\"\r\n\"multi\nline@x.com\"\r\n\r\n"
              "late@e.com\r\n"),
         {"a@b.com", "q,x@y.com", "say \"hi\"@z.com", "multi\nline@x.com"}},
        {"tab separated, commas inside cells",
         text("Email Id\tName\nLee, Ann <ann@t.com>\tx,y\nbob@t.com\t\n"),
         {"Lee, Ann <ann@t.com>", "bob@t.com"}},
        {"CR line ends, no last line end",
         text("Email Id\ra@b.com\rc@d.com"),
         {"a@b.com", "c@d.com"}},
        {"an empty first cell ends the column", text("a@b.com\n,c@d.com\ne@f.com\n"), {"a@b.com"}},
        {"UTF-8 with a byte-order mark",
         text("\xEF\xBB\xBF"
              "Email Id\r\njos\xC3\xA9@b.com\r\n"),
         {"jos\u00E9@b.com"}},
        {"no mark: UTF-8 or Windows-1252 cell by cell",
         text("jos\xE9@b.com\r\nren\xC3\xA9@c.com\r\n\x80@euro.com\r\n"),
         {"jos\u00E9@b.com", "ren\u00E9@c.com", "\u20AC@euro.com"}},
        {"UTF-16 text with a mark, tab separated",
         text(utf16le("Email Id\tName\r\n\u00E5sa@b.se\t\u00C5sa\r\n")),
         {"\u00E5sa@b.se"}},
        {".xlsx: first worksheet, shared and inline texts, formula result",
         zip({{"xl/workbook.xml", kWorkbook},
              {"xl/_rels/workbook.xml.rels", kRels},
              {"xl/texts.xml", kShared},
              {"xl/worksheets/sheet1.xml",
               "<worksheet><sheetData><row><c t=\"inlineStr\"><is><t>other@sheet.com</t></is>"
               "</c></row></sheetData></worksheet>"},
              {"xl/worksheets/leads.xml", kSheet}}),
         {"ann@firm.com", "Cy@Inline.NET", "dee@formula.org"}},
        {".xlsx without a workbook part, cells without references",
         zip({{"xl/worksheets/sheet1.xml",
               "<worksheet><sheetData><row><c t=\"inlineStr\"><is><t>a@b.com</t></is></c>"
               "<c t=\"inlineStr\"><is><t>b2@b.com</t></is></c></row>"
               "<row><c t=\"str\"><v>c@d.com</v></c></row></sheetData></worksheet>"}}),
         {"a@b.com", "c@d.com"}},
        {".xlsx: an empty shared text ends the column",
         zip({{"xl/sharedStrings.xml", kShared},
              {"xl/worksheets/sheet1.xml",
               "<worksheet><sheetData><row><c t=\"s\"><v>1</v></c></row>"
               "<row><c t=\"s\"><v>4</v></c></row><row><c t=\"s\"><v>1</v></c></row>"
               "</sheetData></worksheet>"}}),
         {"ann@firm.com"}},
        {".xls: every kind of cell, stops at a formula's empty result",
         xls({{Kind::SharedText, "Email Id"},
              {Kind::SharedText, "ann@firm.com"},
              {Kind::Label, "bob@label.org"},
              {Kind::Number, {}},
              {Kind::FormulaText, "cy@formula.net"},
              {Kind::FormulaNumber, {}},
              {Kind::SharedText, "d\u00F6rte@wide.de"},
              {Kind::FormulaEmpty, {}},
              {Kind::Label, "after@empty.com"}}),
         {"ann@firm.com", "bob@label.org", "cy@formula.net", "d\u00F6rte@wide.de"}},
        {".xls: a blank cell ends the column",
         xls({{Kind::Label, "a@b.com"}, {Kind::Blank, {}}, {Kind::Label, "c@d.com"}}),
         {"a@b.com"}},
        {".xls: a large workbook, shared texts continued over several records",
         xls(sharedCells(manyLeads(300) + QStringList{kLongLead, "end@many.test"})),
         manyLeads(300) + QStringList{kLongLead, "end@many.test"}},
    };
    for (const Sheet &sheet : sheets) {
        QTemporaryDir dir;
        const Result<QStringList> leads = ReadWorkbook(sheet.build(dir));
        ASSERT_TRUE(leads.ok()) << sheet.what << ": " << leads.message().toStdString();
        EXPECT_EQ(leads.value(), sheet.leads) << sheet.what;
    }
}

// Whatever a file holds, the read ends with the leads or a message, in little memory.
TEST(ReadWorkbook, RefusesWhatIsNoLeadSheet)
{
    const QByteArray xlsx = [] {
        QTemporaryDir dir;
        writeXlsx(dir.filePath("x.xlsx"), manyLeads(50));
        return readFile(dir.filePath("x.xlsx"));
    }();
    const QByteArray book = xlsBytes(sharedCells(manyLeads(300)));
    // About 25 MB of column formats ahead of the cells, from an archive of a few KB.
    const Builder bomb = [](const QTemporaryDir &dir) {
        int chunks = 0;
        writeZip(dir.filePath("bomb.xlsx"), {}, "xl/worksheets/sheet1.xml", [&chunks] {
            if (chunks == 100)
                return QByteArray();
            return (chunks++ == 0 ? "<worksheet><cols>" : "") +
                   QByteArray("<col min=\"2\" max=\"2\"/>").repeated(10000);
        });
        return dir.filePath("bomb.xlsx");
    };
    const Builder rows51 = [](const QTemporaryDir &dir) {
        writeXlsx(dir.filePath("rows.xlsx"), manyLeads(51));
        return dir.filePath("rows.xlsx");
    };
    LeadSheetLimits small;
    small.maxBytes = 1 << 20;
    small.maxTextChars = 100;
    small.maxRows = 50;

    struct Refused
    {
        const char *what;
        Builder build;
        QString reason;
    };
    const QList<Refused> refused{
        {"zip bomb", bomb, "it unpacks to more than 1 MiB"},
        {"larger than the limit", text(QByteArray(2 << 20, 'a')), "it is larger than 1 MiB"},
        {"a long first-column text", text("a@b.com\n" + QByteArray(101, 'x') + "\n"),
         "it holds a text longer than 100 characters"},
        {"a long worksheet text",
         zip({{"xl/worksheets/sheet1.xml", "<worksheet><sheetData><row><c t=\"inlineStr\"><is><t>" +
                                               QByteArray(101, 'x') + "</t></is></c></row>"}}),
         "it holds a text longer than 100 characters"},
        {"too many rows", rows51, "it has more than 50 rows"},
        {"binary data", text(QByteArray("a@b.com\n\0\x01\x02", 11)),
         "it holds binary data, not text"},
        {"truncated .xlsx", text(xlsx.left(xlsx.size() / 2)), "it is a damaged zip archive"},
        {"garbage after a zip mark", text("PK\x03\x04" + QByteArray(300, '\x7F')),
         "it is a damaged zip archive"},
        {"zip without a worksheet", zip({{"word/document.xml", "<document/>"}}),
         "its worksheet xl/worksheets/sheet1.xml is missing"},
        {"shared texts missing",
         zip({{"xl/worksheets/sheet1.xml",
               "<worksheet><sheetData><row><c t=\"s\"><v>4</v></c></row></sheetData>"
               "</worksheet>"}}),
         "its shared texts xl/sharedStrings.xml are missing"},
        {"malformed worksheet", zip({{"xl/worksheets/sheet1.xml", "<worksheet><row><c>"}}),
         "its part xl/worksheets/sheet1.xml ends early"},
        {"rows out of order",
         zip({{"xl/worksheets/sheet1.xml",
               "<worksheet><sheetData><row r=\"1\"><c r=\"A1\"><v>1</v></c></row><row r=\"2\">"
               "<c r=\"A2\"><v>1</v></c><c r=\"A1\"><v>1</v></c></row></sheetData></worksheet>"}}),
         "its rows are out of order at row 1"},
        {"truncated .xls", text(book.left(book.size() - 1000)), "it ends early"},
        {"garbage after a compound file mark",
         text("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1" + QByteArray(600, '\x7F')),
         "its header is damaged"},
        {"compound file without a workbook", text([&] {
             QByteArray other = book;
             other.replace(QByteArray("W\0o\0r\0k\0b\0o\0o\0k\0", 16),
                           QByteArray("W\0o\0r\0d\0D\0o\0c\0s\0", 16));
             return other;
         }()),
         "it is an Office document but not a workbook"},
        {"Excel 5.0/95 workbook", text([&] {
             // The version in the workbook's first record, which starts the first sector.
             QByteArray older = book;
             qToLittleEndian<quint16>(0x0500, older.data() + 512 + 4);
             return older;
         }()),
         "its workbook is in an Excel format older than 97"},
        {"looping sector chain", text([&] {
             // The directory's sector points at itself in the sector table.
             QByteArray looped = book;
             const quint32 directory = qFromLittleEndian<quint32>(looped.constData() + 0x30);
             const quint32 fat = qFromLittleEndian<quint32>(looped.constData() + 0x4C);
             qToLittleEndian<quint32>(directory, looped.data() + 512 * (fat + 1) + 4 * directory);
             return looped;
         }()),
         "its sector chain is damaged"},
    };
    for (const Refused &file : refused) {
        QTemporaryDir dir;
        const QString path = file.build(dir);
        const Result<QStringList> leads = readLeadSheet(path, {}, small);
        ASSERT_FALSE(leads.ok()) << file.what;
        EXPECT_EQ(leads.message().toStdString(), QStringLiteral("%1 is not a lead sheet: %2.")
                                                     .arg(QFileInfo(path).fileName(), file.reason)
                                                     .toStdString())
            << file.what;
    }

    // The column ends at the first row without a column-1 cell: empty rows past the limit
    // are never unpacked.
    QTemporaryDir dir;
    int chunks = 0;
    writeZip(dir.filePath("rows.xlsx"), {}, "xl/worksheets/sheet1.xml", [&chunks] {
        if (chunks == 100)
            return QByteArray();
        return (chunks++ == 0 ? "<worksheet><sheetData><row><c t=\"inlineStr\"><is><t>a@b.com"
                                "</t></is></c></row>"
                              : "") +
               QByteArray("<row></row>").repeated(10000);
    });
    const Result<QStringList> rows = readLeadSheet(dir.filePath("rows.xlsx"), {}, small);
    ASSERT_TRUE(rows.ok()) << rows.message().toStdString();
    EXPECT_EQ(rows.value(), QStringList{"a@b.com"});

    EXPECT_EQ(ReadWorkbook(dir.filePath("gone.csv")).message(),
              dir.filePath("gone.csv") + " does not exist or is not a file.");
    writeFile(dir.filePath("l.csv"), "a@b.com\n");
    LeadSheetWatch stop;
    stop.cancelled = [] { return true; };
    EXPECT_EQ(readLeadSheet(dir.filePath("l.csv"), stop).message(), "Reading l.csv was stopped.");
}

// A file of about 512 KB that unpacks to one shared text of 512 MB: refused after its
// first MiB, without ever holding the text.
TEST(ReadWorkbook, RefusesAHugeSharedTextWithoutUnpackingIt)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("huge.xlsx");
    int chunks = 0;
    writeZip(path,
             {{"xl/worksheets/sheet1.xml", "<worksheet><sheetData><row><c t=\"s\"><v>0</v></c>"
                                           "</row></sheetData></worksheet>"}},
             "xl/sharedStrings.xml", [&chunks] {
                 ++chunks;
                 if (chunks == 1)
                     return QByteArray("<sst><si><t>");
                 if (chunks == 514)
                     return QByteArray("</t></si></sst>");
                 return chunks > 514 ? QByteArray() : QByteArray(1 << 20, 'a');
             });
    ASSERT_LT(QFileInfo(path).size(), 1 << 20);
    EXPECT_EQ(ReadWorkbook(path).message(),
              "huge.xlsx is not a lead sheet: it holds a text longer than 65536 characters.");
}
