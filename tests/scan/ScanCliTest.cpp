#include "common/LeadFile.h"
#include "support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

struct CliRun
{
    int code;
    QByteArray out;
    QByteArray err;
};

CliRun scan(const QString &home, const QStringList &args)
{
    CliRun run;
    run.code =
        runProgram("corvane-cli", QStringList{"--home", home, "scan"} + args, &run.out, &run.err);
    return run;
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
