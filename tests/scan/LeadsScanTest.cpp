#include "scan/LeadsScan.h"

#include "DocumentFiles.h"
#include "analysis/PageAnalyser.h"
#include "exchange/WarcStreams.h"
#include "exchange/WarcWriter.h"
#include "leads/LeadDatabase.h"
#include "scan/DirScanner.h"
#include "scan/ReadWorkbook.h"
#include "support/TestSupport.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <random>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace corvane;
using namespace corvane::test;

namespace {

struct Fixture
{
    TempDataFolder home;
    QTemporaryDir dir;
    QString path(const QString &rel) const { return dir.filePath(rel); }
};

LeadsScan makeScan()
{
    return LeadsScan(AddressFilterList(QStringLiteral(".com#.net#")));
}

} // namespace

TEST(LeadsScan, FolderScanListsNewLeadsOnceAndCountsFiles)
{
    Fixture f;
    writeFile(f.path("one.txt"), "mail ann@firm.com or bob@site.org today");
    writeFile(f.path("sub/two.htm"), "<a href=\"mailto:Ann@firm.com\">ann@firm.com</a> cy@x.net.");
    writeFile(f.path("sub/skip.dat"), "dee@skip.com");
    LeadsScan scan(AddressFilterList(".com#.net#"));
    scan.fileTypes().setChecked(0, false);
    scan.fileTypes().add(".txt");
    scan.fileTypes().add(".htm");
    scan.fileTypes().setChecked(scan.fileTypes().count() - 2, true);
    scan.fileTypes().setChecked(scan.fileTypes().count() - 1, true);
    QSignalSpy added(&scan, &LeadsScan::leadsAdded);

    ASSERT_TRUE(scan.runFolderScan(f.dir.path()).ok());
    // bob@site.org fails the ending rule; the letter case makes Ann a new lead.
    EXPECT_EQ(scan.leads().texts(), QStringList({"ann@firm.com", "Ann@firm.com", "cy@x.net"}));
    EXPECT_EQ(scan.filesScanned(), 2);
    EXPECT_EQ(scan.filesScannedText(), "2 Files Scanned");
    EXPECT_EQ(scan.leadCountText(), "3 Leads ");
    int total = 0;
    for (const auto &call : added)
        total += call.at(0).toInt();
    EXPECT_EQ(total, 3);

    // A second folder scan restarts the counter; nothing already found is listed again.
    ASSERT_TRUE(scan.runFolderScan(f.path("sub")).ok());
    EXPECT_EQ(scan.filesScanned(), 1);
    EXPECT_EQ(scan.leads().count(), 3);

    // Each scan is a finished run of the lead database; every lead names its file in full.
    const QString two = QFileInfo(f.path("sub/two.htm")).absoluteFilePath();
    EXPECT_EQ(scan.leadSource(2), two);
    auto db = LeadDatabase::open(LeadDatabase::defaultPath());
    ASSERT_TRUE(db.ok());
    const auto runs = db.value().runs();
    ASSERT_TRUE(runs.ok());
    ASSERT_EQ(runs.value().size(), 2u);
    EXPECT_EQ(runs.value()[0].message, QStringLiteral("2 Files Scanned."));
    EXPECT_EQ(runs.value()[1].leads, 0); // nothing new was listed
    QStringList found;
    ASSERT_TRUE(db.value().forEachLead({.run = runs.value()[0].id}, [&](const LeadRow &lead) {
        found << lead.email + QLatin1Char(' ') + lead.source;
        return true;
    }));
    EXPECT_EQ(found, QStringList({"ann@firm.com " + QFileInfo(f.path("one.txt")).absoluteFilePath(),
                                  "Ann@firm.com " + two, "cy@x.net " + two}));
}

TEST(LeadsScan, FolderChecksComeInTheWindowsOrder)
{
    Fixture f;
    LeadsScan scan = makeScan();
    EXPECT_EQ(scan.runFolderScan(QString()).message(), LeadsScan::kSelectFolderMessage);
    EXPECT_EQ(scan.runFolderScan(f.path("missing")).message(), LeadsScan::kFolderMissingMessage);
    scan.fileTypes().setChecked(0, false);
    EXPECT_EQ(scan.runFolderScan(f.dir.path()).message(), LeadsScan::kSelectTypeMessage);
    EXPECT_EQ(scan.runFileScan("  ").message(), LeadsScan::kSelectFileMessage);
}

TEST(LeadsScan, ChosenFileIsReadWhateverItsTypeAndCountsAccumulate)
{
    Fixture f;
    writeFile(f.path("notes.xyz"), "x@y.com");
    writeFile(f.path("more"), "z@y.com");
    LeadsScan scan = makeScan();
    scan.fileTypes().setChecked(0, false);
    ASSERT_TRUE(scan.runFileScan(f.path("notes.xyz")).ok());
    ASSERT_TRUE(scan.runFileScan(f.path("more")).ok());
    EXPECT_EQ(scan.filesScanned(), 2);
    EXPECT_EQ(scan.leads().texts(), QStringList({"x@y.com", "z@y.com"}));
    EXPECT_FALSE(scan.runFileScan(f.path("absent.txt")).ok());
    EXPECT_EQ(scan.filesScanned(), 2);
}

TEST(LeadsScan, BinaryFilesAreSearchedWholeAndChunkBordersLoseNothing)
{
    Fixture f;
    QByteArray binary("\x00\x01\xff\xfe", 4);
    binary += "first@lead.com";
    binary += QByteArray(300, '\0');
    binary += "\x89PNG\r\n\x1a\nsecond.one@deep.inside.net\xff";
    writeFile(f.path("doc.bin"), binary);
    for (qsizetype chunk : {1, 3, 5, 16, 1 << 20}) {
        LeadsScan scan = makeScan();
        scan.setChunkSize(chunk);
        ASSERT_TRUE(scan.runFileScan(f.path("doc.bin")).ok());
        EXPECT_EQ(scan.leads().texts(),
                  QStringList({"first@lead.com", "second.one@deep.inside.net"}))
            << "chunk " << chunk;
    }
}

TEST(LeadsScan, UnreadableFilesAreReportedAndTheScanGoesOn)
{
    Fixture f;
    writeFile(f.path("a.txt"), "a@ok.com");
    ASSERT_TRUE(QFile::link(f.path("gone.txt"), f.path("b.txt")));
    ASSERT_EQ(mkfifo(QFile::encodeName(f.path("c.txt")).constData(), 0600), 0);
    writeFile(f.path("d.txt"), "d@ok.com");
    LeadsScan scan = makeScan();
    QStringList errors;
    QObject::connect(&scan, &LeadsScan::fileError, [&](const QString &path, const QString &reason) {
        errors << QFileInfo(path).fileName() + ": " + reason;
    });
    ASSERT_TRUE(scan.runFolderScan(f.dir.path()).ok());
    EXPECT_EQ(errors,
              QStringList({"b.txt: the link points to nothing", "c.txt: not a regular file"}));
    EXPECT_EQ(scan.leads().texts(), QStringList({"a@ok.com", "d@ok.com"}));
    EXPECT_EQ(scan.filesScanned(), 2);
}

TEST(LeadsScan, RemovedLeadsStayKnown)
{
    Fixture f;
    writeFile(f.path("a.txt"), "p@q.com r@s.com t@u.com");
    LeadsScan scan = makeScan();
    ASSERT_TRUE(scan.runFileScan(f.path("a.txt")).ok());
    scan.leads().setSelected(0, true);
    scan.leads().setSelected(2, true);
    scan.removeSelectedLeads();
    EXPECT_EQ(scan.leads().texts(), QStringList({"r@s.com"}));
    ASSERT_TRUE(scan.runFileScan(f.path("a.txt")).ok());
    EXPECT_EQ(scan.leads().texts(), QStringList({"r@s.com"}));
}

TEST(LeadsScan, SaveAppendsCsvAndAsksBeforeReplacing)
{
    Fixture f;
    LeadsScan scan = makeScan();
    int asked = 0;
    const auto answer = [&](bool yes) {
        return [&asked, yes](const QString &question) {
            ++asked;
            EXPECT_EQ(question, LeadsScan::kReplaceQuestion);
            return yes;
        };
    };
    auto empty = scan.saveLeads(f.path("leads"), answer(true));
    ASSERT_TRUE(empty.ok());
    EXPECT_EQ(empty->kind, LeadsScan::SaveOutcome::NoLeads);
    EXPECT_EQ(empty->message(), LeadsScan::kNoLeadsMessage);
    EXPECT_FALSE(QFile::exists(f.path("leads.csv")));

    writeFile(f.path("in.txt"), "x@y.com Z@y.com");
    ASSERT_TRUE(scan.runFileScan(f.path("in.txt")).ok());
    auto saved = scan.saveLeads(f.path("leads.csv"), answer(true));
    ASSERT_TRUE(saved.ok());
    EXPECT_EQ(saved->kind, LeadsScan::SaveOutcome::Saved);
    EXPECT_EQ(saved->path, f.path("leads.csv.csv"));
    EXPECT_EQ(readFile(saved->path), "Email Id\r\nx@y.com\r\nZ@y.com\r\n");
    EXPECT_EQ(asked, 0);

    // The lead sheet reader gives back exactly the saved leads.
    auto back = ReadWorkbook(saved->path);
    ASSERT_TRUE(back.ok());
    EXPECT_EQ(back.value(), scan.leads().texts());

    writeFile(f.path("old.csv"), "keep me");
    auto declined = scan.saveLeads(f.path("old"), answer(false));
    ASSERT_TRUE(declined.ok());
    EXPECT_EQ(declined->kind, LeadsScan::SaveOutcome::KeptExisting);
    EXPECT_EQ(readFile(f.path("old.csv")), "keep me");
    auto replaced = scan.saveLeads(f.path("old"), answer(true));
    ASSERT_TRUE(replaced.ok());
    EXPECT_EQ(readFile(f.path("old.csv")), "Email Id\r\nx@y.com\r\nZ@y.com\r\n");
    EXPECT_EQ(asked, 2);

    EXPECT_FALSE(scan.saveLeads(f.path("no/such/dir/x"), answer(true)).ok());
}

// Readers work on several files at once; the leads must still come as reading the files one
// after the other in walk order gives them.
TEST(LeadsScan, BackgroundScanListsWhatReadingFileAfterFileWouldAndStops)
{
    Fixture f;
    std::mt19937 random(5);
    for (int i = 0; i < 90; ++i) {
        QByteArray text;
        for (int n = int(random() % 40); n > 0; --n) {
            const auto pick = random() % 300;
            text += (pick % 7 == 0 ? "odd" : "lead") + QByteArray::number(pick) + "@firm." +
                    (pick % 5 == 0 ? "org" : "com") + (random() % 2 ? " " : ",\n");
        }
        writeFile(f.path(QStringLiteral("d%1/f%2.txt").arg(i % 3).arg(i, 3, 10, QChar('0'))), text);
    }
    QStringList walk;
    DirScanner scanner;
    QObject::connect(&scanner, &DirScanner::newfile,
                     [&](const QFileInfo &file) { walk << file.filePath(); });
    ASSERT_TRUE(scanner.Scan(f.dir.path()).ok());
    LeadFilters filters;
    filters.addressFilters = AddressFilterList(".com#.net#");
    LeadSet oracleSet;
    TextListModel oracle;
    for (const QString &path : walk)
        ExtractEmails(readFile(path), filters, oracleSet, oracle);
    ASSERT_GT(oracle.count(), 100);

    LeadsScan background = makeScan();
    background.setChunkSize(7);
    QSignalSpy finished(&background, &LeadsScan::finished);
    ASSERT_TRUE(background.startFolderScan(f.dir.path()).ok());
    EXPECT_TRUE(background.isScanning());
    EXPECT_FALSE(background.startFileScan(walk.first()).ok());
    ASSERT_TRUE(finished.wait(60000));
    EXPECT_FALSE(finished.first().at(0).toBool());
    EXPECT_EQ(background.leads().texts(), oracle.texts());
    EXPECT_EQ(background.filesScanned(), 90);

    // Stop from a listener: no file is finished after it.
    LeadsScan stopped = makeScan();
    QSignalSpy stoppedFinished(&stopped, &LeadsScan::finished);
    int scannedAfterStop = 0;
    bool stopRequested = false;
    QObject::connect(&stopped, &LeadsScan::fileScanned, [&](const QString &, int count) {
        if (stopRequested)
            ++scannedAfterStop;
        if (count == 3) {
            stopRequested = true;
            stopped.stop();
        }
    });
    ASSERT_TRUE(stopped.startFolderScan(f.dir.path()).ok());
    ASSERT_TRUE(stoppedFinished.wait(60000));
    EXPECT_TRUE(stoppedFinished.first().at(0).toBool());
    EXPECT_EQ(stopped.filesScanned(), 3);
    EXPECT_EQ(scannedAfterStop, 0);
    EXPECT_FALSE(stopped.isScanning());
}

TEST(LeadsScan, DocumentsAndArchivesGiveTheirTextAndEachLeadItsSource)
{
    Fixture f;
    writeDocx(f.path("a.docx"),
              docxBody({"<w:r><w:t>doc@</w:t></w:r><w:r><w:t>firm.com</w:t></w:r>"}));
    QBuffer archive;
    archive.open(QIODevice::WriteOnly);
    WarcWriter writer(archive, true);
    ASSERT_TRUE(
        writer.writeResponse({"http://x/1", {}, 200, "text/html", "p1@firm.com doc@firm.com"})
            .ok());
    ASSERT_TRUE(writer.writeResponse({"http://x/2", {}, 200, "text/html", "p2@firm.com"}).ok());
    writeFile(f.path("b.warc.gz"), archive.data());
    // Cut inside its second record: the first one's leads stay.
    writeFile(f.path("c.warc.gz"), archive.data().first(archive.data().size() - 30));
    writeFile(f.path("d.txt.gz"), gzipCompressed("gz@firm.com\n"));
    writeFile(f.path("e.pdf"), "%PDF-1.4\nnot really: broken@firm.com\n");

    LeadsScan scan = makeScan();
    QStringList errors;
    QObject::connect(&scan, &LeadsScan::fileError, [&](const QString &path, const QString &reason) {
        errors << QFileInfo(path).fileName() + ": " + reason;
    });
    ASSERT_TRUE(scan.runFolderScan(f.dir.path()).ok());
    EXPECT_EQ(scan.leads().texts(), QStringList({"doc@firm.com", "p1@firm.com", "p2@firm.com",
                                                 "gz@firm.com", "broken@firm.com"}));
    QStringList sources;
    for (qsizetype row = 0; row < scan.leads().count(); ++row)
        sources << scan.leadSource(row);
    EXPECT_EQ(sources, QStringList({f.path("a.docx"), "http://x/1", "http://x/2",
                                    f.path("d.txt.gz"), f.path("e.pdf")}));
    ASSERT_EQ(errors.size(), 2) << errors.join('\n').toStdString();
    EXPECT_TRUE(errors[0].startsWith("c.warc.gz: record 2: ")) << errors[0].toStdString();
    EXPECT_TRUE(errors[1].startsWith("e.pdf: ")) << errors[1].toStdString();
    EXPECT_TRUE(errors[1].endsWith("; its bytes were searched as they are"));
    EXPECT_EQ(scan.filesScanned(), 5);

    // Removing a lead removes its source with it.
    scan.removeLeads({0});
    EXPECT_EQ(scan.leadSource(0), "http://x/1");
}

// A web archive of pages gives the same leads as the pages themselves.
TEST(LeadsScan, ArchiveGivesTheLeadsOfItsPages)
{
    Fixture f;
    std::mt19937 random(11);
    QBuffer archive;
    archive.open(QIODevice::WriteOnly);
    WarcWriter writer(archive, true);
    for (int page = 0; page < 40; ++page) {
        QByteArray html = "<html><title>Page</title>";
        for (int n = int(random() % 30); n > 0; --n)
            html += "<a href=\"mailto:m" + QByteArray::number(random() % 200) + "@site.com\">" +
                    QByteArray(int(random() % 5000), 'x') + "</a>\n";
        const QString name = QStringLiteral("page%1.htm").arg(page, 3, 10, QChar('0'));
        writeFile(f.path("pages/" + name), html);
        ASSERT_TRUE(
            writer.writeResponse({"http://site.com/" + name, {}, 200, "text/html", html}).ok());
    }
    writeFile(f.path("pages.warc.gz"), archive.data());

    LeadsScan pages = makeScan();
    ASSERT_TRUE(pages.runFolderScan(f.path("pages")).ok());
    LeadsScan archived = makeScan();
    ASSERT_TRUE(archived.runFileScan(f.path("pages.warc.gz")).ok());
    ASSERT_GT(pages.leads().count(), 50);
    EXPECT_EQ(archived.leads().texts(), pages.leads().texts());
    for (qsizetype row = 0; row < pages.leads().count(); ++row)
        EXPECT_EQ(archived.leadSource(row),
                  "http://site.com/" + QFileInfo(pages.leadSource(row)).fileName());
}
