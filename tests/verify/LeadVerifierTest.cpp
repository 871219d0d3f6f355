#include "DnsReplies.h"
#include "DnsmasqServer.h"
#include "FakeDnsServer.h"
#include "support/SheetFiles.h"
#include "support/TestSupport.h"

#include "leads/LeadDatabase.h"
#include "leads/RunRecorder.h"
#include "verify/LeadVerifier.h"
#include "verify/VerifierRecords.h"

#include <QDir>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::DnsmasqServer;
using corvane::test::FakeDnsServer;
using corvane::test::TempDataFolder;

namespace {

QStringList recordLines(const QString &path)
{
    const QByteArray bytes = test::readFile(path);
    QStringList lines = QString::fromLatin1(bytes).split(QStringLiteral("\r\n"));
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

bool waitForCompletion(LeadVerifier &verifier)
{
    return QTest::qWaitFor([&] { return !verifier.isRunning(); }, 60000);
}

class VerifyAgainstDnsmasq : public ::testing::TestWithParam<CrawlProfile>
{
protected:
    void SetUp() override
    {
        QString error;
        if (!dns.start({{QStringLiteral("good.test"), QStringLiteral("mx.good.test"), 10},
                        {QStringLiteral("two.test"), QStringLiteral("mx1.two.test"), 20},
                        {QStringLiteral("two.test"), QStringLiteral("mx2.two.test"), 10},
                        {QStringLiteral("plain.test"), QStringLiteral("mx.plain.test"), 5}},
                       &error))
            GTEST_SKIP() << "dnsmasq: " << error.toStdString();
    }

    TempDataFolder home;
    DnsmasqServer dns;
};

// One list with every rule in it: valid and invalid domains, letter case, an address
// without "@", and repeats right after a valid and after an invalid address.
TEST_P(VerifyAgainstDnsmasq, DecidesEveryAddressAndRecordsIt)
{
    LeadVerifier verifier(RealTimerSource::instance(), GetParam());
    verifier.setDnsServer(dns.endpoint());
    QSignalSpy completed(&verifier, &LeadVerifier::completed);
    QSignalSpy validCounts(&verifier, &LeadVerifier::validCountChanged);
    QStringList exchangersOfTwo;
    QObject::connect(&verifier, &LeadVerifier::leadChecked, [&](const QString &address, bool) {
        if (address == QLatin1String("c@TWO.test"))
            exchangersOfTwo = verifier.exchangers();
    });

    // Two of the addresses are leads of a harvest in the lead database.
    auto harvest = RunRecorder::start(LeadDatabase::defaultPath(), RunKind::Harvest, QJsonObject{});
    ASSERT_TRUE(harvest.ok());
    harvest.value()->recordLead("c@TWO.test", "http://two.test/");
    harvest.value()->recordLead("b@none.test", "http://none.test/");
    ASSERT_TRUE(harvest.value()->endRun("Done."));

    // A lead sheet never holds an address without "@"; a list given directly may.
    verifier.addLeads({"a@good.test", "b@none.test", "c@TWO.test", "plain.test", "d@none.test",
                       "e@good.test", "e@good.test", "f@none.test", "f@none.test", "g@none.test"});
    EXPECT_EQ(verifier.pendingCount(), 10);
    ASSERT_TRUE(verifier.verify());
    ASSERT_TRUE(waitForCompletion(verifier));

    const QStringList valid{"a@good.test", "c@TWO.test", "plain.test", "e@good.test"};
    EXPECT_EQ(verifier.valid(), valid);
    EXPECT_EQ(verifier.validCount(), 4);
    EXPECT_EQ(validCounts.size(), 4);
    EXPECT_EQ(verifier.pendingCount(), 0);
    ASSERT_EQ(completed.size(), 1);
    EXPECT_EQ(completed.first().first().toString(),
              QStringLiteral("Corvane has completed Email-ID verification."));
    exchangersOfTwo.sort(); // the server may list them in any order
    EXPECT_EQ(exchangersOfTwo, (QStringList{"mx1.two.test", "mx2.two.test"}));

    EXPECT_EQ(recordLines(home.file("VerifiedSCV/VrTest.scv")), valid);
    EXPECT_EQ(recordLines(home.file("UnVerifiedSCV/UnTest.scv")),
              (QStringList{"b@none.test", "d@none.test", "f@none.test", "g@none.test"}));
    // classic asks once per address checked; modern once per domain.
    EXPECT_EQ(verifier.queriesSent(), GetParam() == CrawlProfile::Classic ? 8 : 4);
    // The database has each answer: the exchanger tried first for a valid lead, none else.
    auto db = LeadDatabase::open(LeadDatabase::defaultPath());
    ASSERT_TRUE(db.ok());
    QStringList answers;
    ASSERT_TRUE(db.value().forEachLead({}, [&](const LeadRow &lead) {
        answers << lead.email + QLatin1Char(' ') + lead.mx;
        return true;
    }));
    EXPECT_EQ(answers, (QStringList{"c@TWO.test mx2.two.test", "b@none.test "}));

    // A second run appends to the files and keeps counting.
    verifier.addLeads({"h@good.test"});
    ASSERT_TRUE(verifier.verify());
    ASSERT_TRUE(waitForCompletion(verifier));
    EXPECT_EQ(verifier.validCount(), 5);
    EXPECT_EQ(recordLines(home.file("VerifiedSCV/VrTest.scv")).size(), 5);
}

TEST_P(VerifyAgainstDnsmasq, ServerByNameAndNothingToVerify)
{
    LeadVerifier verifier(RealTimerSource::instance(), GetParam());
    verifier.setDnsServer(QStringLiteral("localhost:%1").arg(dns.port()));
    const Result<void> empty = verifier.verify();
    ASSERT_FALSE(empty);
    EXPECT_EQ(empty.message(), QStringLiteral("Please enter EmailIDs to verify."));
    EXPECT_FALSE(verifier.isRunning());

    verifier.addLeads({"x@good.test"});
    ASSERT_TRUE(verifier.verify());
    ASSERT_TRUE(waitForCompletion(verifier));
    EXPECT_EQ(verifier.valid(), QStringList{"x@good.test"});

    verifier.addLeads({"y@good.test"});
    verifier.setDnsServer(QStringLiteral("host:notaport"));
    const Result<void> badServer = verifier.verify();
    ASSERT_FALSE(badServer);
    EXPECT_EQ(verifier.pendingCount(), 1);
}

// Fetch reads through the lead-sheet reader: a workbook gives its leads, and a .csv's header
// and quoted cells never reach the pending list as addresses. The window's fetch reads on a
// worker and adds the leads when the read is done.
TEST(LeadVerifierFetch, ReadsEveryLeadSheetFormat)
{
    TempDataFolder home;
    LeadVerifier verifier;
    test::writeXlsx(home.file("leads.xlsx"), {"Email Id", "a@good.test", "b@none.test"});
    const Result<int> fetched = verifier.fetch(home.file("leads.xlsx"));
    ASSERT_TRUE(fetched) << fetched.message().toStdString();
    EXPECT_EQ(*fetched, 2);

    test::writeFile(home.file("leads.csv"),
                    "Email Id,Name\r\n\"c@good.test\",\"Lee, C\"\r\n\"d@two.test\"\r\n");
    QSignalSpy done(&verifier, &LeadVerifier::fetched);
    verifier.startFetch(home.file("leads.csv"));
    EXPECT_TRUE(verifier.isFetching());
    ASSERT_TRUE(done.wait(10000));
    EXPECT_EQ(done.first().first().toInt(), 2);
    EXPECT_EQ(verifier.pending(),
              (QStringList{"a@good.test", "b@none.test", "c@good.test", "d@two.test"}));

    QSignalSpy failed(&verifier, &LeadVerifier::fetchFailed);
    verifier.startFetch(home.file("gone.csv"));
    ASSERT_TRUE(failed.wait(10000));
    EXPECT_TRUE(
        failed.first().first().toString().endsWith("gone.csv does not exist or is not a file."));
    EXPECT_EQ(verifier.pendingCount(), 4);
}

INSTANTIATE_TEST_SUITE_P(Profiles, VerifyAgainstDnsmasq,
                         ::testing::Values(CrawlProfile::Classic, CrawlProfile::Modern),
                         [](const auto &info) {
                             return crawlProfileName(info.param).toStdString();
                         });

// Servers that never answer, in virtual time: what the ten-second wait costs each profile.
class VerifySilentServer : public ::testing::Test
{
protected:
    QStringList leads(int count)
    {
        QStringList list;
        for (int i = 0; i < count; ++i)
            list << QStringLiteral("user%1@d%1.test").arg(i);
        return list;
    }
    // Lets socket events (connects, sends) run without moving virtual time.
    static void settle() { QTest::qWait(20); }

    TempDataFolder home;
    FakeDnsServer silent;
    VirtualTimerSource timers;
};

TEST_F(VerifySilentServer, ClassicWaitsTenSecondsPerAddress)
{
    LeadVerifier verifier(timers, CrawlProfile::Classic);
    verifier.setDnsServer(QStringLiteral("127.0.0.1:%1").arg(silent.port()));
    verifier.addLeads(leads(3));
    QStringList clock;
    QObject::connect(&verifier, &LeadVerifier::clockChanged, [&](int h, int m, int s) {
        clock = QStringList{QString::number(h), QString::number(m), QString::number(s)};
    });
    ASSERT_TRUE(verifier.verify());
    settle();
    timers.advance(9999);
    EXPECT_EQ(verifier.pendingCount(), 3);
    timers.advance(1);
    settle();
    EXPECT_EQ(verifier.pendingCount(), 2);
    EXPECT_EQ(verifier.queriesSent(), 2);
    timers.advance(20000);
    settle();
    EXPECT_FALSE(verifier.isRunning());
    EXPECT_EQ(verifier.validCount(), 0);
    EXPECT_EQ(silent.queries.size(), 3);
    EXPECT_EQ(clock, (QStringList{"0", "0", "30"}));
    EXPECT_EQ(recordLines(home.file("UnVerifiedSCV/UnTest.scv")), leads(3));
    timers.advance(120000);
    EXPECT_EQ(verifier.clock().seconds(), 30); // the clock stopped with the run
}

TEST_F(VerifySilentServer, ModernKeepsSixtyFourQuestionsInFlight)
{
    LeadVerifier verifier(timers, CrawlProfile::Modern);
    verifier.setDnsServer(QStringLiteral("127.0.0.1:%1").arg(silent.port()));
    QStringList list = leads(100);
    list << QStringLiteral("again@d0.test"); // a domain already asked about costs nothing
    verifier.addLeads(list);
    ASSERT_TRUE(verifier.verify());
    settle();
    EXPECT_EQ(verifier.queriesSent(), 64);
    timers.advance(10000);
    settle();
    EXPECT_EQ(verifier.pendingCount(), 101 - 64);
    EXPECT_EQ(verifier.queriesSent(), 100);
    timers.advance(10000);
    settle();
    EXPECT_FALSE(verifier.isRunning());
    EXPECT_EQ(verifier.queriesSent(), 100);
    EXPECT_EQ(recordLines(home.file("UnVerifiedSCV/UnTest.scv")), list);
}

TEST_F(VerifySilentServer, StopHoldsTheListAndTheClock)
{
    LeadVerifier verifier(timers, CrawlProfile::Classic);
    verifier.setDnsServer(QStringLiteral("127.0.0.1:%1").arg(silent.port()));
    verifier.addLeads(leads(2));
    QSignalSpy completed(&verifier, &LeadVerifier::completed);
    ASSERT_TRUE(verifier.verify());
    settle();
    timers.advance(5000);
    verifier.stop();
    EXPECT_FALSE(verifier.isRunning());
    timers.advance(60000);
    EXPECT_EQ(verifier.clock().seconds(), 5);
    EXPECT_EQ(verifier.pendingCount(), 2);
    EXPECT_TRUE(completed.isEmpty());

    ASSERT_TRUE(verifier.verify());
    settle();
    timers.advance(10000);
    settle();
    EXPECT_EQ(verifier.pendingCount(), 1);
    EXPECT_EQ(verifier.clock().seconds(), 15);
}

TEST_F(VerifySilentServer, UnwritableResultFileIsReportedAndKept)
{
    LeadVerifier verifier(timers, CrawlProfile::Classic);
    verifier.setDnsServer(QStringLiteral("127.0.0.1:%1").arg(silent.port()));
    const QString blocked = VerifierRecords::unverifiedPath();
    ASSERT_TRUE(QDir().mkpath(blocked)); // a folder where the file should be
    QSignalSpy problems(&verifier, &LeadVerifier::problem);
    verifier.addLeads(leads(2));
    ASSERT_TRUE(verifier.verify());
    settle();
    timers.advance(10000);
    settle();
    EXPECT_EQ(problems.size(), 1);
    ASSERT_TRUE(QDir(blocked).removeRecursively());
    timers.advance(10000);
    settle();
    EXPECT_FALSE(verifier.isRunning());
    EXPECT_EQ(problems.size(), 1);
    EXPECT_EQ(recordLines(blocked), leads(2));
}

} // namespace

namespace {

// A domain that declares it takes no mail ("." as its only exchanger): classic counts
// the listed exchanger, modern does not.
TEST(VerifyNullExchanger, OnlyModernRejectsIt)
{
    TempDataFolder home;
    FakeDnsServer server([](const QByteArray &query) {
        qsizetype pos = 12;
        const QString asked = modDNS::readName(query, pos).value_or(QString());
        return QList<QByteArray>{test::ReplyBuilder(test::ReplyBuilder::labels(asked))
                                     .mx(0, QByteArray(1, '\0'))
                                     .build()};
    });
    for (const CrawlProfile profile : {CrawlProfile::Classic, CrawlProfile::Modern}) {
        LeadVerifier verifier(RealTimerSource::instance(), profile);
        verifier.setDnsServer(QStringLiteral("127.0.0.1:%1").arg(server.port()));
        verifier.addLeads({QStringLiteral("nobody@nomail.test")});
        ASSERT_TRUE(verifier.verify());
        ASSERT_TRUE(waitForCompletion(verifier));
        EXPECT_EQ(verifier.validCount(), profile == CrawlProfile::Classic ? 1 : 0)
            << crawlProfileName(profile).toStdString();
    }
}

} // namespace
