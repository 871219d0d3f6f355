#include "scan/ReadWorkbook.h"

#include "support/TestSupport.h"

#include <QTemporaryDir>

#include <quazip/quazip.h>
#include <quazip/quazipfile.h>
#include <quazip/quazipnewinfo.h>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

void writeZip(const QString &path, const QList<std::pair<QString, QByteArray>> &members)
{
    QuaZip zip(path);
    ASSERT_TRUE(zip.open(QuaZip::mdCreate));
    for (const auto &[name, bytes] : members) {
        QuaZipFile out(&zip);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly, QuaZipNewInfo(name)));
        out.write(bytes);
        out.close();
    }
    zip.close();
}

const QByteArray kWorkbook =
    "<workbook xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" "
    "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">"
    "<sheets><sheet name=\"Leads\" sheetId=\"1\" r:id=\"rId7\"/><sheet name=\"Other\" "
    "sheetId=\"2\" r:id=\"rId8\"/>"
    "</sheets></workbook>";
const QByteArray kRels =
    "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
    "<Relationship Id=\"rId8\" Target=\"worksheets/sheet1.xml\"/>"
    "<Relationship Id=\"rId7\" Target=\"worksheets/leads.xml\"/></Relationships>";
const QByteArray kShared = "<sst><si><t>Email Id</t></si><si><t>ann@firm.com</t></si>"
                           "<si><r><t>bo</t></r><r><t>b@x.org</t></r><rPh><t>ignored</t></rPh></"
                           "si><si><t>no at sign</t></si></sst>";
const QByteArray kSheet =
    "<worksheet><sheetData>"
    "<row r=\"1\"><c r=\"A1\" t=\"s\"><v>0</v></c><c r=\"B1\" t=\"s\"><v>3</v></c></row>"
    "<row r=\"2\"><c r=\"A2\" t=\"s\"><v>1</v></c></row>"
    "<row r=\"3\"><c r=\"B3\"><v>5</v></c><c r=\"A3\" "
    "t=\"inlineStr\"><is><t>Cy@Inline.NET</t></is></c></row>"
    "<row r=\"4\"><c r=\"A4\" t=\"s\"><v>3</v></c></row>"
    "<row r=\"5\"><c r=\"A5\" t=\"s\"><v>2</v></c></row>"
    "<row r=\"7\"><c r=\"A7\" t=\"inlineStr\"><is><t>after@gap.com</t></is></c></row>"
    "</sheetData></worksheet>";

} // namespace

TEST(ReadWorkbook, TextSheetsGiveColumnOneCellsWithAnAt)
{
    QTemporaryDir dir;
    writeFile(
        dir.filePath("l.csv"),
        "Email Id\r\na@b.com,Ann\r\n\"q,x@y.com\",1\r\nplain\r\nc@d.com\r\n\r\nlate@e.com\r\n");
    auto leads = ReadWorkbook(dir.filePath("l.csv"));
    ASSERT_TRUE(leads.ok()) << leads.message().toStdString();
    EXPECT_EQ(leads.value(), QStringList({"a@b.com", "q,x@y.com", "c@d.com"}));

    writeFile(dir.filePath("bom.txt"), "\xEF\xBB\xBF"
                                       "first@b.com\nsecond@b.com");
    EXPECT_EQ(ReadWorkbook(dir.filePath("bom.txt")).value(),
              QStringList({"first@b.com", "second@b.com"}));
}

TEST(ReadWorkbook, XlsxFirstSheetWithSharedAndInlineStrings)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("book.xlsx");
    writeZip(path, {{"xl/workbook.xml", kWorkbook},
                    {"xl/_rels/workbook.xml.rels", kRels},
                    {"xl/sharedStrings.xml", kShared},
                    {"xl/worksheets/sheet1.xml", "<worksheet><sheetData/></worksheet>"},
                    {"xl/worksheets/leads.xml", kSheet}});
    auto leads = ReadWorkbook(path);
    ASSERT_TRUE(leads.ok()) << leads.message().toStdString();
    // Stops at the empty row 6; phonetic text is no part of the cell.
    EXPECT_EQ(leads.value(), QStringList({"ann@firm.com", "Cy@Inline.NET", "bob@x.org"}));
}

TEST(ReadWorkbook, XlsxWithoutWorkbookPartFallsBackToSheetOne)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("plain.xlsx");
    writeZip(path,
             {{"xl/worksheets/sheet1.xml",
               "<worksheet><sheetData><row><c t=\"inlineStr\"><is><t>a@b.com</t></is></c></row>"
               "<row><c t=\"str\"><v>c@d.com</v></c></row></sheetData></worksheet>"}});
    auto leads = ReadWorkbook(path);
    ASSERT_TRUE(leads.ok()) << leads.message().toStdString();
    EXPECT_EQ(leads.value(), QStringList({"a@b.com", "c@d.com"}));
}

TEST(ReadWorkbook, MalformedWorkbooksSayWhatIsWrong)
{
    QTemporaryDir dir;
    const auto message = [&](const QString &name) {
        auto result = ReadWorkbook(dir.filePath(name));
        EXPECT_FALSE(result.ok()) << name.toStdString();
        return result.ok() ? QString() : result.message();
    };
    writeFile(dir.filePath("torn.xlsx"), QByteArray("PK\x03\x04", 4) + QByteArray(200, 'z'));
    EXPECT_TRUE(message("torn.xlsx").contains("not a readable .xlsx workbook"))
        << message("torn.xlsx").toStdString();

    writeZip(dir.filePath("nosheet.xlsx"),
             {{"xl/workbook.xml", kWorkbook}, {"xl/_rels/workbook.xml.rels", kRels}});
    EXPECT_TRUE(message("nosheet.xlsx").contains("has no part xl/worksheets/leads.xml"));

    writeZip(dir.filePath("badxml.xlsx"),
             {{"xl/worksheets/sheet1.xml", "<worksheet><sheetData><row><c>"}});
    EXPECT_TRUE(message("badxml.xlsx").contains("not well-formed"));

    writeZip(
        dir.filePath("noshared.xlsx"),
        {{"xl/worksheets/sheet1.xml",
          "<worksheet><sheetData><row><c t=\"s\"><v>4</v></c></row></sheetData></worksheet>"}});
    EXPECT_TRUE(message("noshared.xlsx").contains("sharedStrings"));

    writeFile(dir.filePath("text.xlsx"), "a@b.com\n");
    EXPECT_TRUE(message("text.xlsx").contains("neither a zip archive"));

    writeFile(dir.filePath("torn.xls"),
              QByteArray("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8) + QByteArray(100, '\0'));
    EXPECT_TRUE(message("torn.xls").contains("not a readable .xls workbook"));

    EXPECT_TRUE(message("missing.csv").contains("does not exist"));
}
