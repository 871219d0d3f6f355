#include "exchange/LeadExport.h"

#include "exchange/CategoryList.h"
#include "support/SheetFiles.h"
#include "support/TestSupport.h"

#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

TEST(LeadExport, ExportsEveryListedLeadAndEmptiesTheList)
{
    TempDataFolder home;
    QTemporaryDir dir;
    writeFile(dir.filePath("leads.csv"), "Email Id\r\na@b.com\r\nc@d.com\r\ne@f.com\r\n");
    LeadExport exporter;
    EXPECT_EQ(exporter.fetch("  ").message(), LeadExport::kSelectFileMessage);
    auto fetched = exporter.fetch(dir.filePath("leads.csv"));
    ASSERT_TRUE(fetched.ok());
    EXPECT_EQ(fetched.value(), 3);
    // Fetching the same file again lists its leads twice.
    EXPECT_EQ(exporter.fetch(dir.filePath("leads.csv")).value(), 6);

    QSignalSpy progress(&exporter, &LeadExport::progress);
    auto done = exporter.exportTo(dir.filePath("out.vcf"), "  Suppliers ");
    ASSERT_TRUE(done.ok());
    EXPECT_EQ(done.value(), LeadExport::kCompleteMessage);
    EXPECT_TRUE(exporter.leads().isEmpty());
    EXPECT_EQ(progress.size(), 6);
    const QByteArray cards = readFile(dir.filePath("out.vcf"));
    EXPECT_EQ(cards.count("BEGIN:VCARD"), 6);
    EXPECT_EQ(cards.count("CATEGORIES:Suppliers\r\n"), 6);
    EXPECT_EQ(cards.count("EMAIL;TYPE=INTERNET:c@d.com\r\n"), 2);

    auto nothing = exporter.exportTo(dir.filePath("empty.vcf"), "X");
    ASSERT_TRUE(nothing.ok());
    EXPECT_EQ(nothing.value(), LeadExport::kNoLeadsMessage);
    EXPECT_FALSE(QFile::exists(dir.filePath("empty.vcf")));
}

// The window's Extract reads on a worker through the lead-sheet reader; a workbook's formula
// cells give their stored results.
TEST(LeadExport, ExtractsWorkbooksOnAWorker)
{
    TempDataFolder home;
    QTemporaryDir dir;
    writeFile(dir.filePath("book.xls"), xlsBytes({{XlsCell::Kind::SharedText, "Email Id"},
                                                  {XlsCell::Kind::FormulaText, "a@b.com"},
                                                  {XlsCell::Kind::Label, "c@d.com"}}));
    LeadExport exporter;
    EXPECT_EQ(exporter.startFetch(" ").message(), LeadExport::kSelectFileMessage);
    QSignalSpy fetched(&exporter, &LeadExport::fetched);
    ASSERT_TRUE(exporter.startFetch(dir.filePath("book.xls")));
    EXPECT_TRUE(exporter.isFetching());
    ASSERT_TRUE(fetched.wait(10000));
    EXPECT_EQ(fetched.first().first().toLongLong(), 2);
    EXPECT_EQ(exporter.leads().texts(), QStringList({"a@b.com", "c@d.com"}));
}

TEST(LeadExport, FailedWriteKeepsTheList)
{
    TempDataFolder home;
    QTemporaryDir dir;
    writeFile(dir.filePath("leads.csv"), "Email Id\r\na@b.com\r\n");
    LeadExport exporter;
    ASSERT_TRUE(exporter.fetch(dir.filePath("leads.csv")).ok());
    EXPECT_FALSE(exporter.exportTo(dir.filePath("missing/out.vcf"), "X").ok());
    EXPECT_EQ(exporter.leads().texts(), QStringList({"a@b.com"}));
    EXPECT_FALSE(exporter.fetch(dir.filePath("nope.csv")).ok());
}

TEST(ExportVcardCommand, WritesCardsAndReportsMisuse)
{
    QTemporaryDir home;
    QTemporaryDir dir;
    writeFile(dir.filePath("leads.csv"), "Email Id\r\nann.lee@b.com\r\n");
    QByteArray out, err;
    const QString vcf = dir.filePath("x.vcf");
    EXPECT_EQ(runProgram("corvane-cli",
                         {"--home", home.path(), "export-vcard", dir.filePath("leads.csv"),
                          "--category", "Fair", "--out", vcf},
                         &out, &err),
              0)
        << err.constData();
    const QByteArray cards = readFile(vcf);
    EXPECT_TRUE(cards.contains("FN:Ann Lee\r\n"));
    EXPECT_TRUE(cards.contains("EMAIL;TYPE=INTERNET:ann.lee@b.com\r\n"));
    EXPECT_TRUE(cards.contains("CATEGORIES:Fair\r\n"));

    writeFile(dir.filePath("none.csv"), "Email Id\r\n");
    EXPECT_EQ(runProgram("corvane-cli",
                         {"--home", home.path(), "export-vcard", dir.filePath("none.csv"),
                          "--category", "F", "--out", vcf},
                         &out, &err),
              1);
    EXPECT_TRUE(err.contains("There are no leads to export to outlook."));

    for (const QStringList &args :
         {QStringList{dir.filePath("leads.csv"), "--out", vcf},
          QStringList{dir.filePath("leads.csv"), "--category", "F"},
          QStringList{dir.filePath("nope.csv"), "--category", "F", "--out", vcf},
          QStringList{"--category", "F"}}) {
        EXPECT_EQ(runProgram("corvane-cli",
                             QStringList{"--home", home.path(), "export-vcard"} + args, &out, &err),
                  2)
            << args.join(' ').toStdString();
        EXPECT_EQ(err.count('\n'), 1);
    }
}
