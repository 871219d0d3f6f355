#include "leads/LeadDatabase.h"
#include "leads/LeadSchema.h"
#include "leads/RunRecorder.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using namespace corvane;
using namespace corvane::test;

namespace {

// A database in a temporary folder and a clock the test moves.
struct LeadDatabaseTest : testing::Test
{
    QTemporaryDir dir;
    QString path = dir.filePath("leads.sqlite");
    qint64 now = 1'700'000'000'000;

    std::unique_ptr<RunRecorder> startRun(RunKind kind = RunKind::Harvest)
    {
        auto recorder = RunRecorder::start(path, kind, {{"test", true}}, [this] { return now; });
        EXPECT_TRUE(recorder.ok()) << recorder.message().toStdString();
        return recorder.ok() ? std::move(recorder).value() : nullptr;
    }

    LeadDatabase open()
    {
        auto db = LeadDatabase::open(path);
        EXPECT_TRUE(db.ok()) << db.message().toStdString();
        return std::move(db).value();
    }
};

std::vector<LeadRow> select(LeadDatabase &db, const LeadSelection &selection = {})
{
    std::vector<LeadRow> rows;
    const Result<qint64> count = db.forEachLead(selection, [&rows](const LeadRow &row) {
        rows.push_back(row);
        return true;
    });
    EXPECT_TRUE(count.ok()) << count.message().toStdString();
    return rows;
}

QStringList emails(const std::vector<LeadRow> &rows)
{
    QStringList list;
    for (const LeadRow &row : rows)
        list << row.email;
    return list;
}

} // namespace

TEST_F(LeadDatabaseTest, RunsRecordWhereAndWhenLeadsWereSeen)
{
    auto harvest = startRun();
    now += 1000;
    harvest->recordLead("ann@firm.com", "http://firm.com/team", "Our team");
    harvest->recordLead("Ann@firm.com", "http://firm.com/team", "Our team"); // another lead
    ASSERT_TRUE(harvest->flush());
    now += 1000;
    harvest->recordLead("bob@shop.org", "http://shop.org/", "Shop");
    ASSERT_TRUE(harvest->flush());
    harvest->recordLead("ann@firm.com", "http://firm.com/contact", "Contact"); // keeps /team
    ASSERT_TRUE(harvest->endRun("Done."));
    EXPECT_TRUE(harvest->endRun("ignored").ok());
    // The run's three commits filed one at a time, as readers racing it would: the same
    // record.
    {
        auto raw = openLeadConnection(path);
        ASSERT_TRUE(raw.ok());
        for (int slice = 0; slice < 3; ++slice)
            ASSERT_EQ(*foldPendingLeads(raw.value(), 1), 1);
    }

    now += 60'000;
    auto scan = startRun(RunKind::Scan);
    scan->recordLead("ann@firm.com", "/home/u/list.txt");
    scan->recordLead("bob@shop.org", "/home/u/list.txt");
    ASSERT_TRUE(scan->endRun("Scan complete."));

    LeadDatabase db = open();
    const auto runs = db.runs();
    ASSERT_TRUE(runs.ok());
    ASSERT_EQ(runs->size(), 2u);
    const RunSummary &first = runs->at(0);
    EXPECT_EQ(first.kind, RunKind::Harvest);
    EXPECT_EQ(first.job, R"({"test":true})");
    EXPECT_EQ(first.message, "Done.");
    EXPECT_EQ(first.endedMs, 1'700'000'002'000);
    EXPECT_EQ(first.leads, 3);
    EXPECT_EQ(first.newLeads, 3);
    EXPECT_EQ(runs->at(1).kind, RunKind::Scan);
    EXPECT_EQ(runs->at(1).leads, 2);
    EXPECT_EQ(runs->at(1).newLeads, 0); // the second run over the same leads finds nothing new

    // Without --run each lead shows its latest sighting.
    const auto all = select(db);
    ASSERT_EQ(emails(all), QStringList({"ann@firm.com", "Ann@firm.com", "bob@shop.org"}));
    EXPECT_EQ(all[0].source, "/home/u/list.txt");
    EXPECT_EQ(all[0].title, "");
    EXPECT_EQ(all[0].run, scan->runId());
    EXPECT_EQ(all[0].firstSeenMs, 1'700'000'001'000);
    EXPECT_EQ(all[0].lastSeenMs, 1'700'000'062'000);
    EXPECT_EQ(all[1].run, harvest->runId());
    EXPECT_EQ(all[1].lastSeenMs, 1'700'000'001'000);

    // With --run, the first source of that run.
    const auto inHarvest = select(db, {.run = harvest->runId()});
    ASSERT_EQ(inHarvest.size(), 3u);
    EXPECT_EQ(inHarvest[0].source, "http://firm.com/team");
    EXPECT_EQ(inHarvest[0].title, "Our team");
    EXPECT_EQ(inHarvest[0].run, harvest->runId());

    EXPECT_TRUE(select(db, {.newOnly = true}).empty());
    EXPECT_EQ(select(db, {.run = harvest->runId(), .newOnly = true}).size(), 3u);
    EXPECT_TRUE(select(db, {.run = scan->runId(), .newOnly = true}).empty());
}

TEST_F(LeadDatabaseTest, SelectionsCombineRunTimeNewnessAndDomain)
{
    auto early = startRun();
    for (const char *email : {"a@Example.COM", "b@sales.example.com", "c@badexample.com",
                              "d@example.com.evil.org", "e@other.net"})
        early->recordLead(email, "http://list.test/", "List");
    ASSERT_TRUE(early->endRun({}));
    const qint64 between = now + 500;
    now += 1000;
    auto late = startRun();
    late->recordLead("e@other.net", "http://other.net/", "Other");
    late->recordLead("f@EXAMPLE.com", "http://other.net/", "Other");
    ASSERT_TRUE(late->endRun({}));

    LeadDatabase db = open();
    EXPECT_EQ(emails(select(db, {.domain = "example.com"})),
              QStringList({"a@Example.COM", "b@sales.example.com", "f@EXAMPLE.com"}));
    EXPECT_EQ(emails(select(db, {.domain = "Sales.Example.com"})),
              QStringList({"b@sales.example.com"}));
    EXPECT_EQ(emails(select(db, {.sinceMs = between})),
              QStringList({"e@other.net", "f@EXAMPLE.com"}));
    EXPECT_EQ(emails(select(db, {.sinceMs = between, .newOnly = true})),
              QStringList({"f@EXAMPLE.com"}));
    EXPECT_EQ(emails(select(db, {.newOnly = true})), QStringList({"f@EXAMPLE.com"}));
    EXPECT_EQ(emails(select(db, {.run = early->runId(), .domain = "other.net"})),
              QStringList({"e@other.net"}));
    EXPECT_TRUE(select(db, {.run = early->runId(), .sinceMs = between, .newOnly = true}).empty());

    // Whatever a page's address and title hold comes back as it was.
    const QString odd = QString::fromUtf8("\"q\" \\ \t\n\x01 \xc3\xbc \xf0\x9f\x98\x80 ]],[");
    auto third = startRun();
    third->recordLead("g@odd.test", "http://odd.test/" + odd, odd);
    ASSERT_TRUE(third->endRun({}));
    const auto oddRows = select(db, {.domain = "odd.test"});
    ASSERT_EQ(oddRows.size(), 1u);
    EXPECT_EQ(oddRows[0].source, "http://odd.test/" + odd);
    EXPECT_EQ(oddRows[0].title, odd);
}

TEST_F(LeadDatabaseTest, MxComesFromTheLatestVerificationAndExportsAreKept)
{
    auto run = startRun();
    for (const char *email : {"ok@firm.com", "gone@firm.com", "new@firm.com"})
        run->recordLead(email, "http://firm.com/", "Firm");
    ASSERT_TRUE(run->endRun({}));

    LeadDatabase db = open();
    ASSERT_TRUE(db.recordVerification({"gone@firm.com", true, "mx.firm.com", 1}));
    ASSERT_TRUE(db.recordVerification({"gone@firm.com", false, {}, 2}));
    ASSERT_TRUE(db.recordVerification({"ok@firm.com", false, {}, 1}));
    ASSERT_TRUE(db.recordVerification({"ok@firm.com", true, "mx2.firm.com", 2}));
    ASSERT_TRUE(db.recordVerification({"OK@firm.com", true, "other.mx", 3})); // another address
    const auto rows = select(db);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0].mx, "mx2.firm.com");
    EXPECT_EQ(rows[1].mx, "");
    EXPECT_EQ(rows[2].mx, "");

    ASSERT_TRUE(db.recordExport({"vcard", "/tmp/x.vcf", 3, 42}));
    const auto exports = db.exports();
    ASSERT_TRUE(exports.ok());
    ASSERT_EQ(exports->size(), 1u);
    EXPECT_EQ(exports->at(0).format, "vcard");
    EXPECT_EQ(exports->at(0).destination, "/tmp/x.vcf");
    EXPECT_EQ(exports->at(0).count, 3);
    EXPECT_EQ(exports->at(0).exportedMs, 42);
}

TEST_F(LeadDatabaseTest, NewFilesAreBuiltOlderOnesMigratedNewerOnesRefused)
{
    {
        LeadDatabase db = open();
        EXPECT_TRUE(select(db).empty());
    }
    auto raw = sqlite::Connection::open(path, false);
    ASSERT_TRUE(raw.ok());
    EXPECT_EQ(*raw.value().queryInt("PRAGMA user_version"), leadSchemaVersion());
    EXPECT_EQ(*raw.value().queryInt("SELECT count(*) FROM sqlite_master WHERE name = 'leads'"), 1);
    EXPECT_EQ(*raw.value().queryInt("SELECT journal_mode = 'wal' FROM pragma_journal_mode"), 1);

    ASSERT_TRUE(raw.value().exec("PRAGMA user_version = 999"));
    const auto refused = LeadDatabase::open(path);
    ASSERT_FALSE(refused.ok());
    EXPECT_TRUE(refused.message().contains("newer version of Corvane"))
        << refused.message().toStdString();
    EXPECT_FALSE(RunRecorder::start(path, RunKind::Scan, {}).ok());
    EXPECT_EQ(*raw.value().queryInt("PRAGMA user_version"), 999);

    // The chain of steps, on a version-1 file that holds data.
    const QString chained = dir.filePath("chained.sqlite");
    auto db = sqlite::Connection::open(chained, true);
    ASSERT_TRUE(db.ok());
    const SchemaStep steps[] = {
        {1, "CREATE TABLE t(a TEXT)"},
        {2, "ALTER TABLE t ADD COLUMN b TEXT NOT NULL DEFAULT 'x'"},
        {3, "CREATE TABLE u(a); INSERT INTO t(a) VALUES('partial'); NOT SQL"},
    };
    ASSERT_TRUE(migrate(db.value(), std::span(steps, 1)));
    ASSERT_TRUE(db.value().exec("INSERT INTO t(a) VALUES('kept')"));
    ASSERT_TRUE(migrate(db.value(), std::span(steps, 2)));
    EXPECT_EQ(*db.value().queryInt("PRAGMA user_version"), 2);
    EXPECT_EQ(*db.value().queryInt("SELECT count(*) FROM t WHERE a = 'kept' AND b = 'x'"), 1);
    // A failing step leaves the file as it was.
    const Result<void> failed = migrate(db.value(), steps);
    ASSERT_FALSE(failed.ok());
    EXPECT_TRUE(failed.message().contains("layout 3"));
    EXPECT_EQ(*db.value().queryInt("PRAGMA user_version"), 2);
    EXPECT_EQ(*db.value().queryInt("SELECT count(*) FROM t"), 1);
    EXPECT_EQ(*db.value().queryInt("SELECT count(*) FROM sqlite_master WHERE name = 'u'"), 0);

    // A lead database of the first layout keeps its leads, and new runs add to them.
    const QString first = dir.filePath("first.sqlite");
    {
        auto old = sqlite::Connection::open(first, true);
        ASSERT_TRUE(old.ok());
        ASSERT_TRUE(migrate(old.value(), leadSchemaSteps().first(1)));
        ASSERT_TRUE(old.value().exec(
            "INSERT INTO runs(kind, job, started) VALUES('harvest', '{}', 0);"
            "INSERT INTO sources(location, title) VALUES('http://firm.com/', 'Firm');"
            "INSERT INTO leads(email, domain, first_seen, last_seen, first_run, last_run,"
            " last_source) VALUES('old@firm.com', 'firm.com', 0, 0, 1, 1, 1);"
            "INSERT INTO sightings VALUES(1, 1, 1, 0)"));
    }
    auto later = RunRecorder::start(first, RunKind::Harvest, {});
    ASSERT_TRUE(later.ok());
    later.value()->recordLead("new@firm.com", "http://firm.com/", "Firm");
    later.value()->recordLead("old@firm.com", "http://firm.com/", "Firm");
    ASSERT_TRUE(later.value()->endRun({}));
    auto upgraded = LeadDatabase::open(first);
    ASSERT_TRUE(upgraded.ok());
    EXPECT_EQ(emails(select(upgraded.value())), QStringList({"old@firm.com", "new@firm.com"}));
    EXPECT_EQ(emails(select(upgraded.value(), {.run = 2, .newOnly = true})),
              QStringList({"new@firm.com"}));

    // Pending leads edited by hand into something else are dropped; the rest is filed.
    auto raw2 = sqlite::Connection::open(first, false);
    ASSERT_TRUE(raw2.ok());
    ASSERT_TRUE(raw2.value().exec(
        "INSERT INTO pending(run, leads) VALUES(2, 'not json'), (2, '{\"a\": 1}'),"
        " (2, '[1, [2, 3], [\"http://x.test/\", null, 5, \"x@x.test\"], [\"s\", \"t\"]]'),"
        " (2, '[[\"http://ok.test/\", \"Ok\", 7, \"ok@ok.test\", 5, [\"no@no.test\"]]]')"));
    EXPECT_EQ(emails(select(upgraded.value(), {.domain = "test"})), QStringList({"ok@ok.test"}));
    EXPECT_EQ(*raw2.value().queryInt("SELECT count(*) FROM pending"), 0);
}

TEST_F(LeadDatabaseTest, ReadersAnswerWhileAWriterHoldsItsTransaction)
{
    auto run = startRun();
    run->recordLead("committed@firm.com", "http://firm.com/", "Firm");
    ASSERT_TRUE(run->flush());
    ASSERT_TRUE(open().runs().ok()); // folds the first lead

    // A second writer in the middle of a transaction that outlasts the moment a read waits:
    // the read answers with what is folded, and the lead appended meanwhile follows later.
    run->recordLead("appended@firm.com", "http://firm.com/", "Firm");
    ASSERT_TRUE(run->flush());
    auto writer = sqlite::Connection::open(path, false);
    ASSERT_TRUE(writer.ok());
    ASSERT_TRUE(writer.value().exec(
        "BEGIN IMMEDIATE; INSERT INTO sources(location, title) VALUES('u', 't');"
        "INSERT INTO leads(email, domain, first_seen, last_seen, first_run, last_run,"
        " last_source) VALUES('uncommitted@firm.com', 'firm.com', 0, 0, 1, 1,"
        " last_insert_rowid())"));
    {
        LeadDatabase db = open();
        EXPECT_EQ(emails(select(db)), QStringList({"committed@firm.com"}));
        EXPECT_TRUE(db.runs().ok());
    }
    ASSERT_TRUE(writer.value().exec("ROLLBACK"));
    {
        LeadDatabase db = open();
        EXPECT_EQ(emails(select(db)), QStringList({"committed@firm.com", "appended@firm.com"}));
    }

    // The recorder writing in a loop while a reader lists: every listing is whole, never less
    // than the one before.
    std::atomic<bool> stop = false;
    std::thread writing([&] {
        for (int i = 0; !stop; ++i) {
            run->recordLead(QStringLiteral("w%1@loop.test").arg(i), "http://loop.test/", "Loop");
            if (i % 500 == 0)
                (void)run->flush();
        }
    });
    LeadDatabase db = open();
    size_t seen = 0;
    for (int growths = 0; growths < 3;) {
        const size_t now = select(db, {.domain = "loop.test"}).size();
        ASSERT_GE(now, seen);
        growths += now > seen;
        seen = now;
    }
    stop = true;
    writing.join();
    ASSERT_TRUE(run->endRun({}));
    EXPECT_GE(select(db, {.domain = "loop.test"}).size(), seen);
}

TEST_F(LeadDatabaseTest, AKilledRecorderLeavesASoundFileWithEveryCommittedLead)
{
    QProcess helper;
    helper.start(binaryDir() + "/bin/leads_record_helper", {path});
    ASSERT_TRUE(helper.waitForStarted());
    qint64 flushed = 0;
    int flushes = 0;
    while (flushes < 3 && helper.state() == QProcess::Running) {
        if (!helper.canReadLine() && !helper.waitForReadyRead(60000))
            break;
        while (helper.canReadLine()) {
            const QByteArray line = helper.readLine().trimmed();
            if (line.startsWith("flushed ")) {
                flushed = line.mid(8).toLongLong();
                ++flushes;
            }
        }
    }
    // Commits can come faster than the reads: every line read counts, the last is the floor.
    ASSERT_GE(flushes, 3) << helper.readAllStandardError().constData();
    helper.kill(); // SIGKILL, in the middle of run 2
    ASSERT_TRUE(helper.waitForFinished());

    auto raw = sqlite::Connection::open(path, false);
    ASSERT_TRUE(raw.ok());
    auto check = raw.value().prepare("PRAGMA integrity_check");
    ASSERT_TRUE(check.ok());
    ASSERT_TRUE(*check.value().step());
    EXPECT_EQ(check.value().text(0), "ok");

    LeadDatabase db = open();
    const auto runs = db.runs();
    ASSERT_TRUE(runs.ok());
    ASSERT_EQ(runs->size(), 2u);
    EXPECT_EQ(runs->at(0).message, "complete");
    EXPECT_TRUE(runs->at(0).endedMs.has_value());
    EXPECT_EQ(runs->at(0).leads, 500);
    EXPECT_EQ(select(db, {.run = runs->at(0).id}).size(), 500u);
    EXPECT_FALSE(runs->at(1).endedMs.has_value());
    EXPECT_GE(runs->at(1).leads, flushed);
}
