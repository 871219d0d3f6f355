#include "DnsReplies.h"

#include "verify/DnsMessage.h"

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::modDNS;
using corvane::test::ReplyBuilder;

namespace {

QStringList exchangers(const MxAnswer &answer)
{
    QStringList names;
    for (const MxRecord &record : answer.records)
        names << record.exchanger;
    return names;
}

TEST(MxQueryMessage, ExampleComIsByteExact)
{
    const QByteArray expected = QByteArray::fromHex("11DF01000001000000000000"
                                                    "076578616D706C6503636F6D00"
                                                    "000F0001");
    EXPECT_EQ(buildMxQuery(QStringLiteral("example.com")), expected);
    EXPECT_EQ(expected.size(), 29);
}

TEST(MxQueryMessage, LabelsAreTakenAsTyped)
{
    // No lower-casing, no dropping of empty pieces, the count byte is the length as is.
    EXPECT_EQ(encodeLabels(QStringLiteral("Mail.EXAMPLE")), QByteArray("\x04Mail\x07"
                                                                       "EXAMPLE"));
    EXPECT_EQ(encodeLabels(QStringLiteral("a..b")), QByteArray("\x01"
                                                               "a\x00\x01"
                                                               "b",
                                                               5));
    EXPECT_EQ(encodeLabels(QString()), QByteArray(1, '\0'));
    const QString longPiece(300, QLatin1Char('x'));
    const QByteArray encoded = encodeLabels(longPiece);
    EXPECT_EQ(quint8(encoded[0]), 300 % 256);
    EXPECT_EQ(encoded.size(), 301);
    // Characters go out as their Windows-1252 bytes.
    EXPECT_EQ(encodeLabels(QStringLiteral("caf\u00e9")), QByteArray("\x04"
                                                                    "caf\xE9"));
    EXPECT_EQ(buildMxQuery(QStringLiteral("x")).size(), 17 + 2);
}

TEST(MxReply, LowestPreferenceWinsAndTiesKeepTheFirst)
{
    const QByteArray lowerSecond = ReplyBuilder()
                                       .mx(20, ReplyBuilder::labels("mx20.example.com"))
                                       .mx(10, ReplyBuilder::labels("mx10.example.com"))
                                       .build();
    const MxAnswer answer = readMxReply(lowerSecond);
    EXPECT_EQ(answer.best, QStringLiteral("mx10.example.com"));
    EXPECT_EQ(exchangers(answer), (QStringList{QStringLiteral("mx20.example.com"),
                                               QStringLiteral("mx10.example.com")}));
    EXPECT_EQ(answer.records[0].preference, 20);

    const QByteArray tie = ReplyBuilder()
                               .mx(5, ReplyBuilder::labels("first.example.com"))
                               .mx(5, ReplyBuilder::labels("second.example.com"))
                               .build();
    EXPECT_EQ(readMxReply(tie).best, QStringLiteral("first.example.com"));
}

TEST(MxReply, CompressedNamesDecodeWherever)
{
    // mx1 followed by a pointer to the question's domain.
    const QByteArray viaQuestion =
        ReplyBuilder().mx(10, QByteArray("\x03mx1") + ReplyBuilder::pointerToQuestion()).build();
    EXPECT_EQ(readMxReply(viaQuestion).best, QStringLiteral("mx1.example.com"));

    // A pointer beyond byte 255, into an earlier answer's exchanger: a long question moves
    // the first exchanger there.
    const QByteArray longQuestion = ReplyBuilder::labels(
        QString(63, QLatin1Char('q')) + "." + QString(63, QLatin1Char('r')) + "." +
        QString(63, QLatin1Char('s')) + "." + QString(60, QLatin1Char('t')));
    ReplyBuilder far(longQuestion);
    const int exchangerOffset = 12 + int(longQuestion.size()) + 4 + 12 + 2;
    ASSERT_GT(exchangerOffset, 255);
    far.mx(10, ReplyBuilder::labels("far.example"));
    far.mx(20, QByteArray("\x04next") + ReplyBuilder::be16(0xC000 | exchangerOffset));
    const MxAnswer answer = readMxReply(far.build());
    EXPECT_EQ(exchangers(answer),
              (QStringList{QStringLiteral("far.example"), QStringLiteral("next.far.example")}));
}

TEST(MxReply, NothingToReport)
{
    // No answers, an error reply, a CNAME ahead of MX answers, a root ("null") exchanger.
    EXPECT_FALSE(readMxReply(ReplyBuilder().build()).hasExchanger());
    EXPECT_TRUE(readMxReply(ReplyBuilder().build()).best.isEmpty());
    const QByteArray cnameFirst = ReplyBuilder()
                                      .record(5, ReplyBuilder::labels("alias.example.net"))
                                      .mx(10, ReplyBuilder::labels("mx.example.net"))
                                      .build();
    const MxAnswer afterCname = readMxReply(cnameFirst);
    EXPECT_FALSE(afterCname.hasExchanger());
    EXPECT_TRUE(afterCname.best.isEmpty());

    const MxAnswer nullMx = readMxReply(ReplyBuilder().mx(0, QByteArray(1, '\0')).build());
    ASSERT_EQ(nullMx.records.size(), 1);
    EXPECT_TRUE(nullMx.records[0].exchanger.isEmpty());
}

TEST(MxReply, HostileRepliesEndTheWalkQuietly)
{
    const QByteArray good = ReplyBuilder()
                                .mx(10, ReplyBuilder::labels("a.example.com"))
                                .mx(20, QByteArray("\x01"
                                                   "b") +
                                            ReplyBuilder::pointerToQuestion())
                                .build();
    // Every truncation: never more than the whole reply gives, never a partial record.
    for (qsizetype size = 0; size <= good.size(); ++size) {
        const MxAnswer cut = readMxReply(QByteArrayView(good).first(size));
        const MxAnswer whole = readMxReply(good);
        ASSERT_LE(cut.records.size(), whole.records.size()) << size;
        for (qsizetype i = 0; i < cut.records.size(); ++i)
            EXPECT_EQ(cut.records[i].exchanger, whole.records[i].exchanger) << size;
    }
    EXPECT_EQ(readMxReply(good).records.size(), 2);

    // A pointer to itself, two pointers pointing at each other, a pointer past the end.
    const QByteArray selfLoop =
        ReplyBuilder()
            .mx(10, QByteArray("\x02mx") + ReplyBuilder::be16(0xC000 | (29 + 2 + 12 + 3)))
            .build();
    EXPECT_FALSE(readMxReply(selfLoop).hasExchanger());
    QByteArray cycle = ReplyBuilder().answerCount(1).build();
    const int at = int(cycle.size());
    cycle += ReplyBuilder::be16(0xC000 | (at + 2)) + ReplyBuilder::be16(0xC000 | at);
    EXPECT_FALSE(readMxReply(cycle).hasExchanger());
    const QByteArray pastEnd = ReplyBuilder().mx(10, ReplyBuilder::be16(0xFFFF)).build();
    EXPECT_FALSE(readMxReply(pastEnd).hasExchanger());

    // Counts that promise more than the reply holds.
    QByteArray manyQuestions =
        ReplyBuilder().mx(10, ReplyBuilder::labels("mx.example.com")).build();
    manyQuestions[4] = char(0xFF);
    manyQuestions[5] = char(0xFF);
    EXPECT_FALSE(readMxReply(manyQuestions).hasExchanger());
    const QByteArray manyAnswers =
        ReplyBuilder().mx(10, ReplyBuilder::labels("mx.example.com")).answerCount(65535).build();
    EXPECT_EQ(exchangers(readMxReply(manyAnswers)), QStringList{QStringLiteral("mx.example.com")});

    // A record length past the end, and one too short for the exchanger it holds.
    QByteArray longData = ReplyBuilder().mx(10, ReplyBuilder::labels("mx.example.com")).build();
    longData[29 + 10] = char(0x7F);
    EXPECT_FALSE(readMxReply(longData).hasExchanger());
    QByteArray shortData = ReplyBuilder().mx(10, ReplyBuilder::labels("mx.example.com")).build();
    shortData[29 + 11] = char(4);
    EXPECT_FALSE(readMxReply(shortData).hasExchanger());

    // Reserved label types and names longer than DNS allows.
    EXPECT_FALSE(readMxReply(ReplyBuilder()
                                 .mx(10, QByteArray("\x41"
                                                    "abc",
                                                    4))
                                 .build())
                     .hasExchanger());
    QByteArray hugeName;
    for (int i = 0; i < 5; ++i)
        hugeName += char(63) + QByteArray(63, 'h');
    EXPECT_FALSE(
        readMxReply(ReplyBuilder().mx(10, hugeName + QByteArray(1, '\0')).build()).hasExchanger());
}

TEST(MxReply, MatchesOnlyTheQuestionAsked)
{
    const QByteArray reply = ReplyBuilder(ReplyBuilder::labels("Example.COM"))
                                 .mx(10, ReplyBuilder::labels("mx.example.com"))
                                 .build();
    EXPECT_TRUE(replyMatches(reply, QStringLiteral("example.com")));
    EXPECT_FALSE(replyMatches(reply, QStringLiteral("example.org")));
    QByteArray otherId = reply;
    otherId[1] = char(0xE0);
    EXPECT_FALSE(replyMatches(otherId, QStringLiteral("example.com")));
    QByteArray notAResponse = reply;
    notAResponse[2] = char(0x01);
    EXPECT_FALSE(replyMatches(notAResponse, QStringLiteral("example.com")));
    EXPECT_FALSE(replyMatches(reply.first(5), QStringLiteral("example.com")));
    // The server reads "a..b" as "a": an empty piece ends the name.
    EXPECT_TRUE(
        replyMatches(ReplyBuilder(ReplyBuilder::labels("a")).build(), QStringLiteral("a..b")));
}

} // namespace
