#include "DnsmasqServer.h"
#include "support/TestSupport.h"

#include "support/SheetFiles.h"

#include <QFileInfo>

#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::DnsmasqServer;
using corvane::test::TempDataFolder;

namespace {

class CliVerify : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!QFileInfo(test::binaryDir() + QStringLiteral("/bin/corvane-cli")).isExecutable())
            GTEST_SKIP() << "corvane-cli is not built";
        leadFile = home.file(QStringLiteral("leads.xlsx"));
        test::writeXlsx(leadFile, {"Email Id", "a@good.test", "b@none.test", "c@good.test"});
    }

    int run(const QStringList &args, QByteArray *out, QByteArray *err)
    {
        return test::runProgram(
            QStringLiteral("corvane-cli"),
            QStringList{QStringLiteral("--home"), home.path(), QStringLiteral("verify")} + args,
            out, err);
    }

    TempDataFolder home;
    QString leadFile;
};

TEST_F(CliVerify, PrintsValidLeadsAndWritesTheResultFiles)
{
    DnsmasqServer dns;
    QString error;
    if (!dns.start({{QStringLiteral("good.test"), QStringLiteral("mx.good.test"), 10}}, &error))
        GTEST_SKIP() << "dnsmasq: " << error.toStdString();
    for (const char *profile : {"classic", "modern"}) {
        QByteArray out;
        QByteArray err;
        ASSERT_EQ(run({leadFile, "--dns", dns.endpoint(), "--profile", profile}, &out, &err), 0)
            << err.toStdString();
        EXPECT_EQ(out, "a@good.test\nc@good.test\n") << profile;
        EXPECT_TRUE(
            err.contains("Corvane has completed Email-ID verification. Valid Leads: 2 of 3"))
            << err.toStdString();
    }
    EXPECT_EQ(test::readFile(home.file("VerifiedSCV/VrTest.scv")),
              "a@good.test\r\nc@good.test\r\na@good.test\r\nc@good.test\r\n");
    EXPECT_EQ(test::readFile(home.file("UnVerifiedSCV/UnTest.scv")),
              "b@none.test\r\nb@none.test\r\n");
}

TEST_F(CliVerify, WrongCallsAreUsageErrors)
{
    test::writeFile(home.file("torn.xlsx"), QByteArray("PK\x03\x04 torn", 9));
    const QList<QStringList> calls{
        {},
        {leadFile, leadFile},
        {home.file("missing.csv")},
        {home.file("torn.xlsx")},
        {leadFile, "--profile", "fast"},
        {leadFile, "--dns", "127.0.0.1:99999"},
        {leadFile, "--dns"},
        {leadFile, "--retries", "3"},
    };
    for (const QStringList &args : calls) {
        QByteArray out;
        QByteArray err;
        EXPECT_EQ(run(args, &out, &err), 2) << args.join(' ').toStdString();
        EXPECT_TRUE(out.isEmpty());
        EXPECT_TRUE(err.startsWith("corvane-cli: ")) << err.toStdString();
        EXPECT_EQ(err.count('\n'), 1) << err.toStdString();
    }
    EXPECT_FALSE(QFileInfo::exists(home.file("VerifiedSCV/VrTest.scv")));
}

} // namespace
