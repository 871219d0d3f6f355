#include "scan/DocumentText.h"

#include "DocumentFiles.h"
#include "analysis/EmailMatcher.h"
#include "support/SheetFiles.h"
#include "support/TestSupport.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

struct Collected : TextSink
{
    QByteArray all;
    QStringList sources;
    void beginSource(const QString &source) override { sources << source; }
    void text(QByteArrayView piece) override { all += piece; }

    QList<QByteArray> addresses() const
    {
        QList<QByteArray> found;
        for (const QByteArrayView match : findEmailMatches(all))
            found << match.toByteArray();
        return found;
    }
};

Result<bool> officeText(const QString &path, Collected &into, const DocumentLimits &limits = {})
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return readOfficeText(file, into, limits);
}

QByteArray markupText(const QList<QByteArrayView> &pieces)
{
    Collected sink;
    MarkupText markup(sink);
    for (const QByteArrayView piece : pieces)
        markup.feed(piece);
    markup.finish();
    return sink.all;
}

} // namespace

TEST(DocumentText, OfficeDocumentsJoinTheirRunsAndPartTheirParagraphs)
{
    QTemporaryDir dir;
    // Word: a lead split over runs, a paragraph end, a tab, an entity, deleted text, headers.
    writeDocx(
        dir.filePath("a.docx"),
        docxBody({"<w:r><w:t>mail jo</w:t></w:r><w:r><w:rPr/><w:t>hn@firm.com</w:t></w:r>",
                  "<w:r><w:t>next@firm</w:t></w:r>",
                  "<w:r><w:t>.com<w:tab/>tab@firm.com</w:t></w:r><w:del><w:r><w:delText>"
                  "gone@firm.com</w:delText></w:r></w:del>",
                  "<w:r><w:t>ent&#64;firm&#x2E;com &amp; &bogus; a&b</w:t></w:r>"}),
        {{"word/header1.xml", "<w:hdr><w:p><w:r><w:t>head@firm.com</w:t></w:r></w:p></w:hdr>"},
         {"word/styles.xml", "<w:styles>style@firm.com</w:styles>"}});
    // Excel: shared texts with rich runs and a phonetic guide, an inline string, cells apart.
    writeZip(
        dir.filePath("b.xlsx"),
        {{"xl/workbook.xml", "<workbook/>"},
         {"xl/sharedStrings.xml", "<sst><si><r><t>ri</t></r><r><t>ch@firm.com</t></r>"
                                  "<rPh><t>phon@firm.com</t></rPh></si><si><t>x</t></si></sst>"},
         {"xl/worksheets/sheet1.xml", "<worksheet><sheetData><row><c><v>1</v></c><c "
                                      "t=\"inlineStr\"><is><t>@cell.com</t></is></c><c "
                                      "t=\"inlineStr\"><is><t>in@firm.com</t></is></c></row>"
                                      "</sheetData></worksheet>"}});
    writeZip(dir.filePath("c.pptx"),
             {{"ppt/presentation.xml", "<p:presentation/>"},
              {"ppt/slides/slide1.xml", "<p:sld><a:p><a:r><a:t>slide@</a:t></a:r><a:r><a:t>"
                                        "firm.com</a:t></a:r></a:p></p:sld>"}});
    writeZip(dir.filePath("d.odt"),
             {{"mimetype", "application/vnd.oasis.opendocument.text"},
              {"content.xml", "<office:text><text:tracked-changes><text:p>old@firm.com</text:p>"
                              "</text:tracked-changes><text:p>odt@<text:span>firm.com</text:span>"
                              "</text:p><text:p>second@firm.com</text:p></office:text>"},
              {"styles.xml", "<style:footer><text:p>foot@firm.com</text:p></style:footer>"}});
    writeZip(dir.filePath("e.zip"), {{"notes.txt", "zipped@firm.com"}});

    const struct
    {
        const char *file;
        QList<QByteArray> addresses;
    } documents[] = {
        {"a.docx", {"john@firm.com", "tab@firm.com", "ent@firm.com", "head@firm.com"}},
        {"b.xlsx", {"rich@firm.com", "in@firm.com"}},
        {"c.pptx", {"slide@firm.com"}},
        {"d.odt", {"odt@firm.com", "second@firm.com", "foot@firm.com"}},
    };
    for (const auto &document : documents) {
        Collected text;
        const Result<bool> read = officeText(dir.filePath(document.file), text);
        ASSERT_TRUE(read.ok()) << document.file << ": " << read.message().toStdString();
        EXPECT_TRUE(*read) << document.file;
        EXPECT_EQ(text.addresses(), document.addresses)
            << document.file << ": " << text.all.constData();
    }
    Collected plain;
    const Result<bool> zip = officeText(dir.filePath("e.zip"), plain);
    ASSERT_TRUE(zip.ok());
    EXPECT_FALSE(*zip);
}

TEST(DocumentText, MarkupReadsTheSameInWhateverPiecesItComes)
{
    const QByteArray xml =
        "<?xml version=\"1.0\"?><!-- a <comment> -- with -> inside --><r a=\"x>y\" b='<'>"
        "one&lt;two&gt;&quot;&apos;&amp;&#233;&#x1F600;&nope;&#99999999;&amp</r>"
        "<t><![CDATA[<raw>]]]]><t>&amp;</t><p/>end";
    const QByteArray expected = "one<two>\"'&\xc3\xa9\xf0\x9f\x98\x80&nope;&#99999999;&amp"
                                "<raw>]]&\nend\n";
    EXPECT_EQ(markupText({xml}), expected);
    for (qsizetype cut = 1; cut < xml.size(); ++cut)
        ASSERT_EQ(markupText({QByteArrayView(xml).first(cut), QByteArrayView(xml).sliced(cut)}),
                  expected)
            << "cut at " << cut;
    QList<QByteArrayView> bytes;
    for (qsizetype i = 0; i < xml.size(); ++i)
        bytes << QByteArrayView(xml).sliced(i, 1);
    EXPECT_EQ(markupText(bytes), expected);
}

TEST(DocumentText, HostileDocumentsEndWithAMessage)
{
    QTemporaryDir dir;
    DocumentLimits limits;
    limits.maxUnpackedBytes = 8 << 20;
    limits.maxTextBytes = 1 << 20;

    // A zip bomb: a few kilobytes on disk, far more unpacked; the reading stops at the limit,
    // and the text before it is kept.
    int chunks = 0;
    writeZip(dir.filePath("bomb.docx"), {{"[Content_Types].xml", "<Types/>"}}, "word/document.xml",
             [&] {
                 if (++chunks == 1)
                     return QByteArray("<w:t>kept@firm.com</w:t>");
                 return chunks <= 65 ? QByteArray("<w:b/>").repeated(1 << 17) : QByteArray();
             });
    ASSERT_LT(QFile(dir.filePath("bomb.docx")).size(), 1 << 20);
    Collected bombText;
    const Result<bool> bomb = officeText(dir.filePath("bomb.docx"), bombText, limits);
    EXPECT_TRUE(bomb.message().contains("unpacks to more than 8 MiB"))
        << bomb.message().toStdString();
    EXPECT_EQ(bombText.addresses(), QList<QByteArray>{"kept@firm.com"});

    int textChunks = 0;
    writeZip(dir.filePath("long.docx"), {}, "word/document.xml",
             [&] { return ++textChunks <= 4 ? QByteArray(1 << 20, 'w') : QByteArray(); });
    Collected longText;
    EXPECT_TRUE(officeText(dir.filePath("long.docx"), longText, limits)
                    .message()
                    .contains("text is longer than 1 MiB"));

    // A part whose compressed data is damaged.
    writeDocx(dir.filePath("damaged.docx"), docxBody({QString(4000, QLatin1Char('x'))}));
    QByteArray bytes = readFile(dir.filePath("damaged.docx"));
    const qsizetype part = bytes.indexOf("word/document.xml") + 17;
    for (qsizetype i = part + 4; i < part + 40; ++i)
        bytes[i] = char(0xff);
    writeFile(dir.filePath("damaged.docx"), bytes);
    Collected damagedText;
    EXPECT_TRUE(officeText(dir.filePath("damaged.docx"), damagedText)
                    .message()
                    .contains("part word/document.xml is damaged"));
}

TEST(DocumentText, PdfPagesGiveTheirTextAndABombEndsOnlyTheHelper)
{
    if (!pdfHelperBuilt())
        GTEST_SKIP() << "corvane-pdf-text was not built (poppler-cpp missing)";
    QTemporaryDir dir;
    writeFile(dir.filePath("two.pdf"), pdfBytes({"first@page.com", "second@page.com"}));
    writeFile(dir.filePath("bomb.pdf"), pdfStringBomb(qint64(128) << 20));
    writeFile(dir.filePath("broken.pdf"), "%PDF-1.4\nnothing else");
    ASSERT_LT(QFile(dir.filePath("bomb.pdf")).size(), 1 << 20);

    Collected two;
    ASSERT_TRUE(readPdfText(dir.filePath("two.pdf"), two, {}).ok());
    EXPECT_EQ(two.addresses(), QList<QByteArray>({"first@page.com", "second@page.com"}));

    DocumentLimits onePage;
    onePage.maxPdfPages = 1;
    Collected first;
    EXPECT_EQ(readPdfText(dir.filePath("two.pdf"), first, onePage).message(),
              "only the first 1 of its pages were read");
    EXPECT_EQ(first.addresses(), QList<QByteArray>({"first@page.com"}));

    DocumentLimits tight;
    tight.pdfMemoryBytes = 64 << 20;
    Collected bomb;
    EXPECT_TRUE(readPdfText(dir.filePath("bomb.pdf"), bomb, tight)
                    .message()
                    .contains("needed more than 64 MiB of memory"));
    Collected broken;
    EXPECT_EQ(readPdfText(dir.filePath("broken.pdf"), broken, {}).message(),
              "it is not a PDF that can be read");
}
