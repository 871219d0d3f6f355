#include "leads/LeadDatabase.h"
#include "leads/RunRecorder.h"
#include "support/TestSupport.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

struct LeadsCommand : testing::Test
{
    QTemporaryDir home;
    QString path = home.filePath("leads.sqlite");

    CliOutput leads(const QStringList &args)
    {
        return runCli(home.path(), QStringList{"leads"} + args);
    }

    // Run 1 ended with two leads, run 2 still going with one.
    void recordTwoRuns()
    {
        auto first = RunRecorder::start(path, RunKind::Harvest, {});
        ASSERT_TRUE(first.ok());
        first.value()->recordLead("ann@firm.com", "http://firm.com/", "Firm, Inc.");
        first.value()->recordLead("bob@shop.org", "http://shop.org/", "Shop");
        ASSERT_TRUE(first.value()->endRun("Done.\nAll pages read."));
        m_going = std::move(RunRecorder::start(path, RunKind::Scan, {})).value();
        m_going->recordLead("cy@firm.com", "/data/list.txt");
        ASSERT_TRUE(m_going->flush());
    }

private:
    std::unique_ptr<RunRecorder> m_going;
};

} // namespace

TEST_F(LeadsCommand, ListsRunsAndTheSelectedLeads)
{
    recordTwoRuns();
    const CliOutput runs = leads({"runs"});
    EXPECT_EQ(runs.code, 0) << runs.err.constData();
    const QList<QByteArray> lines = runs.out.split('\n');
    ASSERT_EQ(lines.size(), 4); // header, two runs, nothing after the last line end
    EXPECT_EQ(lines[0], "run\tkind\tstarted\tended\tleads\tnew\tmessage");
    const QList<QByteArray> first = lines[1].split('\t');
    ASSERT_EQ(first.size(), 7);
    EXPECT_EQ(first[0], "1");
    EXPECT_EQ(first[1], "harvest");
    EXPECT_TRUE(first[3].endsWith('Z'));
    EXPECT_EQ(first[4], "2");
    EXPECT_EQ(first[5], "2");
    EXPECT_EQ(first[6], "Done. All pages read.");
    EXPECT_TRUE(lines[2].startsWith("2\tscan\t"));
    EXPECT_EQ(lines[2].split('\t')[3], "-");

    EXPECT_EQ(leads({"list"}).out, "ann@firm.com\nbob@shop.org\ncy@firm.com\n");
    EXPECT_EQ(leads({"list", "--new"}).out, "cy@firm.com\n");
    EXPECT_EQ(leads({"list", "--domain", "FIRM.com", "--run", "1"}).out, "ann@firm.com\n");
    EXPECT_EQ(leads({"list", "--since", "2000-01-01", "--new"}).out,
              "ann@firm.com\nbob@shop.org\ncy@firm.com\n");

    const CliOutput csv = leads({"list", "--format", "csv", "--run", "1"});
    EXPECT_EQ(csv.code, 0);
    ASSERT_TRUE(csv.out.startsWith("email,source_url,page_title,first_seen,last_seen,run,mx\r\n"));
    EXPECT_TRUE(csv.out.contains("\r\nann@firm.com,http://firm.com/,\"Firm, Inc.\","));
    EXPECT_EQ(csv.out.count("\r\n"), 3);

    const CliOutput json = leads({"list", "--format", "jsonl", "--domain", "shop.org"});
    const QJsonObject bob = QJsonDocument::fromJson(json.out).object();
    EXPECT_EQ(bob["email"].toString(), "bob@shop.org");
    EXPECT_EQ(bob["page_title"].toString(), "Shop");
    EXPECT_EQ(bob["run"].toInteger(), 1);
}

TEST_F(LeadsCommand, ExportsAreWrittenAndRecorded)
{
    recordTwoRuns();
    const QString vcf = home.filePath("out/new.vcf");
    QDir().mkpath(home.filePath("out"));
    const CliOutput cards = leads(
        {"export", "--format", "vcard", "--run", "1", "--category", "Prospects", "--out", vcf});
    EXPECT_EQ(cards.code, 0) << cards.err.constData();
    EXPECT_TRUE(cards.out.isEmpty());
    EXPECT_EQ(cards.err, QString("2 leads exported to %1.\n").arg(vcf).toUtf8());
    const QByteArray file = readFile(vcf);
    EXPECT_EQ(file.count("BEGIN:VCARD"), 2);
    EXPECT_EQ(file.count("CATEGORIES:Prospects\r\n"), 2);
    EXPECT_TRUE(file.contains("EMAIL;TYPE=INTERNET:bob@shop.org"));

    const CliOutput json = leads({"export", "--format", "jsonl", "--new"});
    EXPECT_EQ(json.code, 0);
    EXPECT_EQ(QJsonDocument::fromJson(json.out).object()["email"].toString(), "cy@firm.com");

    auto db = LeadDatabase::open(path);
    ASSERT_TRUE(db.ok());
    const auto exports = db.value().exports();
    ASSERT_TRUE(exports.ok());
    ASSERT_EQ(exports->size(), 2u);
    EXPECT_EQ(exports->at(0).format, "vcard");
    EXPECT_EQ(exports->at(0).destination, vcf);
    EXPECT_EQ(exports->at(0).count, 2);
    EXPECT_EQ(exports->at(1).format, "jsonl");
    EXPECT_EQ(exports->at(1).destination, "standard output");
    EXPECT_EQ(exports->at(1).count, 1);
}

TEST_F(LeadsCommand, BadCallsExitTwoWithOneLine)
{
    recordTwoRuns();
    const QList<QStringList> calls = {
        {},
        {"purge"},
        {"list", "--run", "9"},
        {"list", "--run", "first"},
        {"list", "--since", "last week"},
        {"list", "--domain", " "},
        {"list", "--format", "xml"},
        {"list", "extra"},
        {"export"},
        {"export", "--format", "csv", "--category", "Prospects"},
        {"export", "--format", "vcard", "--out"},
    };
    for (const QStringList &args : calls) {
        const CliOutput run = leads(args);
        EXPECT_EQ(run.code, 2) << args.join(' ').toStdString();
        EXPECT_TRUE(run.out.isEmpty()) << args.join(' ').toStdString();
        EXPECT_EQ(run.err.count('\n'), 1) << run.err.constData();
        EXPECT_TRUE(run.err.startsWith("corvane-cli: ")) << run.err.constData();
    }
}

TEST_F(LeadsCommand, AMissingDatabaseListsNothingAndIsNotCreated)
{
    EXPECT_EQ(leads({"list"}).out, "");
    EXPECT_EQ(leads({"list", "--format", "csv"}).out,
              "email,source_url,page_title,first_seen,last_seen,run,mx\r\n");
    const CliOutput runs = leads({"runs"});
    EXPECT_EQ(runs.code, 0);
    EXPECT_EQ(runs.out, "run\tkind\tstarted\tended\tleads\tnew\tmessage\n");
    EXPECT_FALSE(QFileInfo::exists(path));
}

TEST_F(LeadsCommand, ListAnswersWhileAWriterHoldsItsTransaction)
{
    recordTwoRuns();
    ASSERT_EQ(leads({"runs"}).code, 0); // folds what the runs appended
    auto writer = sqlite::Connection::open(path, false);
    ASSERT_TRUE(writer.ok());
    ASSERT_TRUE(writer.value().exec("BEGIN IMMEDIATE; DELETE FROM sightings; DELETE FROM leads"));
    const CliOutput list = leads({"list"});
    EXPECT_EQ(list.code, 0) << list.err.constData();
    EXPECT_EQ(list.out, "ann@firm.com\nbob@shop.org\ncy@firm.com\n");
    ASSERT_TRUE(writer.value().exec("ROLLBACK"));
}
