#include "common/LeadFile.h"
#include "exchange/WarcStreams.h"
#include "support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

CliOutput scan(const QString &home, const QStringList &args)
{
    return runCli(home, QStringList{"scan"} + args);
}

} // namespace

TEST(ScanCommand, PrintsLeadsOfFilesAndFoldersByType)
{
    QTemporaryDir home;
    QTemporaryDir dir;
    writeFile(dir.filePath("t/a.txt"), "one@firm.com");
    writeFile(dir.filePath("t/sub/b.htm"), "two@firm.com");
    writeFile(dir.filePath("t/sub/deeper/c.txt"), "three@firm.com");
    writeFile(dir.filePath("t/d.log"), "four@firm.com");
    writeFile(dir.filePath("single.bin"), "five@firm.com one@firm.com");

    auto all = scan(home.path(), {dir.filePath("t"), dir.filePath("single.bin")});
    EXPECT_EQ(all.code, 0) << all.err.constData();
    EXPECT_EQ(all.out,
              "one@firm.com\nfour@firm.com\ntwo@firm.com\nthree@firm.com\nfive@firm.com\n");

    auto typed = scan(home.path(), {dir.filePath("t"), "--types", ".txt,.htm", "--depth", "2"});
    EXPECT_EQ(typed.code, 0);
    EXPECT_EQ(typed.out, "one@firm.com\ntwo@firm.com\n");

    const QString out = dir.filePath("leads.csv");
    auto saved = scan(home.path(), {dir.filePath("t"), "--types", ".txt", "--out", out});
    EXPECT_EQ(saved.code, 0);
    EXPECT_TRUE(saved.out.isEmpty());
    EXPECT_EQ(readFile(out), "Email Id\r\none@firm.com\r\nthree@firm.com\r\n");
}

TEST(ScanCommand, UnreadablePathsAreReportedAndTheScanGoesOn)
{
    QTemporaryDir home;
    QTemporaryDir dir;
    writeFile(dir.filePath("a.txt"), "a@firm.com");
    ASSERT_TRUE(QFile::link(dir.filePath("nowhere"), dir.filePath("b.txt")));
    auto run = scan(home.path(), {dir.filePath("missing"), dir.path()});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.out, "a@firm.com\n");
    const QString err = QString::fromUtf8(run.err);
    EXPECT_TRUE(err.contains("missing: no such file or folder")) << err.toStdString();
    EXPECT_TRUE(err.contains("b.txt: the link points to nothing")) << err.toStdString();
}

// Damaged archives give the leads before the damage (not one cut by it) and one line that says
// where it is.
TEST(ScanCommand, DamagedArchivesAreReportedWithWhatTheyGaveBefore)
{
    QTemporaryDir home;
    QTemporaryDir dir;
    const auto record = [](const QByteArray &uri, const QByteArray &block, qint64 length) {
        return "WARC/1.1\r\nWARC-Type: resource\r\nWARC-Target-URI: " + uri +
               "\r\nContent-Length: " + QByteArray::number(length) + "\r\n\r\n" + block +
               "\r\n\r\n";
    };
    const QByteArray cut = gzipCompressed(record("http://a/", "cut@a.com", 9)) +
                           gzipCompressed(record("http://b/", "lost@b.com", 10)).chopped(12);
    writeFile(dir.filePath("cut.warc.gz"), cut);
    writeFile(dir.filePath("huge.warc"),
              record("http://c/", "huge@c.com", 10) + record("http://d/", "tiny", qint64(1) << 40));
    auto run = scan(home.path(), {"--sources", "--types", ".warc,.warc.gz", dir.path()});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.out, "cut@a.com\thttp://a/\nhuge@c.com\thttp://c/\n");
    const QStringList err = QString::fromUtf8(run.err).split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(err.size(), 2) << run.err.constData();
    EXPECT_EQ(err[0], "corvane-cli: " + dir.filePath("cut.warc.gz") +
                          ": record 2: the compressed data ends early (the file is cut off)");
    EXPECT_EQ(err[1], "corvane-cli: " + dir.filePath("huge.warc") +
                          ": record 2: the archive ends inside it (its header claims 1099511627776 "
                          "bytes; 1099511627768 are missing)");
}

TEST(ScanCommand, UsageErrorsAreOneLineWithExitTwo)
{
    QTemporaryDir home;
    for (const QStringList &args :
         {QStringList{}, QStringList{".", "--depth", "-1"}, QStringList{".", "--depth", "x"},
          QStringList{".", "--types", ".html"}, QStringList{".", "--bogus"}}) {
        auto run = scan(home.path(), args);
        EXPECT_EQ(run.code, 2) << args.join(' ').toStdString();
        EXPECT_EQ(run.err.count('\n'), 1) << run.err.constData();
        EXPECT_TRUE(run.err.startsWith("corvane-cli: "));
    }
}
