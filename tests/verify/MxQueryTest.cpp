#include "DnsReplies.h"
#include "FakeDnsServer.h"

#include "verify/MxQuery.h"

#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::FakeDnsServer;
using corvane::test::ReplyBuilder;

namespace {

struct Finished
{
    QString domain;
    modDNS::MxAnswer answer;
    MxQuery::Outcome outcome = MxQuery::Outcome::Failed;
    int count = 0;
};

void record(MxQuery &query, Finished &into)
{
    QObject::connect(
        &query, &MxQuery::finished,
        [&into](const QString &domain, const modDNS::MxAnswer &answer, MxQuery::Outcome outcome) {
            into = Finished{domain, answer, outcome, into.count + 1};
        });
}

TEST(MxQueryOverUdp, TakesTheMatchingReplyOnly)
{
    FakeDnsServer server([](const QByteArray &) {
        return QList<QByteArray>{ReplyBuilder(ReplyBuilder::labels("other.test"))
                                     .mx(1, ReplyBuilder::labels("wrong.test"))
                                     .build(),
                                 ReplyBuilder(ReplyBuilder::labels("mail.test"))
                                     .mx(20, ReplyBuilder::labels("mx20.mail.test"))
                                     .mx(10, ReplyBuilder::labels("mx10.mail.test"))
                                     .build()};
    });
    VirtualTimerSource timers;
    MxQuery query(timers);
    Finished result;
    record(query, result);
    query.start(QHostAddress::LocalHost, server.port(), QStringLiteral("mail.test"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return result.count > 0; }, 10000));
    EXPECT_EQ(result.outcome, MxQuery::Outcome::Answered);
    EXPECT_EQ(result.domain, QStringLiteral("mail.test"));
    EXPECT_EQ(result.answer.best, QStringLiteral("mx10.mail.test"));
    EXPECT_EQ(result.answer.records.size(), 2);
    ASSERT_EQ(server.queries.size(), 1);
    EXPECT_EQ(server.queries.first(), modDNS::buildMxQuery(QStringLiteral("mail.test")));
    QTest::qWait(50);
    EXPECT_EQ(result.count, 1);
}

TEST(MxQueryOverUdp, GivesUpAfterTenTicks)
{
    FakeDnsServer silent;
    VirtualTimerSource timers;
    MxQuery query(timers);
    Finished result;
    record(query, result);
    query.start(QHostAddress::LocalHost, silent.port(), QStringLiteral("quiet.test"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !silent.queries.isEmpty(); }, 10000));
    timers.advance(MxQuery::kTickMs * MxQuery::kTicksToWait - 1);
    EXPECT_EQ(result.count, 0);
    timers.advance(1);
    EXPECT_EQ(result.count, 1);
    EXPECT_EQ(result.outcome, MxQuery::Outcome::TimedOut);
    EXPECT_FALSE(result.answer.hasExchanger());
    timers.advance(60000);
    EXPECT_EQ(result.count, 1);
}

TEST(MxQueryOverUdp, FailsAtOnceWithoutAServer)
{
    VirtualTimerSource timers;
    MxQuery query(timers);
    Finished result;
    record(query, result);
    query.start(QHostAddress(), 53, QStringLiteral("x.test"));
    EXPECT_EQ(result.count, 0); // never from inside start()
    ASSERT_TRUE(QTest::qWaitFor([&] { return result.count > 0; }, 10000));
    EXPECT_EQ(result.outcome, MxQuery::Outcome::Failed);

    // Nobody listening: the refusal ends the wait without a single tick.
    quint16 closedPort = 0;
    {
        QUdpSocket probe;
        probe.bind(QHostAddress::LocalHost, 0);
        closedPort = probe.localPort();
    }
    query.start(QHostAddress::LocalHost, closedPort, QStringLiteral("x.test"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return result.count > 1; }, 10000));
    EXPECT_EQ(result.outcome, MxQuery::Outcome::Failed);
    EXPECT_EQ(timers.nowMs(), 0);
}

TEST(MxQueryOverUdp, AbortAndRestartKeepOneAnswerPerStart)
{
    VirtualTimerSource timers;
    MxQuery query(timers);
    Finished result;
    record(query, result);
    query.start(QHostAddress(), 53, QStringLiteral("first.test"));
    query.abort();
    FakeDnsServer server([](const QByteArray &) {
        return QList<QByteArray>{ReplyBuilder(ReplyBuilder::labels("second.test"))
                                     .mx(5, ReplyBuilder::labels("mx.second.test"))
                                     .build()};
    });
    query.start(QHostAddress::LocalHost, server.port(), QStringLiteral("second.test"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return result.count > 0; }, 10000));
    QTest::qWait(50);
    EXPECT_EQ(result.count, 1);
    EXPECT_EQ(result.domain, QStringLiteral("second.test"));
    EXPECT_EQ(result.outcome, MxQuery::Outcome::Answered);
}

} // namespace
