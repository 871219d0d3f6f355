#include "../../fuzz/MxReplyChecks.h"
#include "support/TestSupport.h"

#include <QDir>

#include <gtest/gtest.h>

#include <random>

using namespace corvane;

namespace {

QList<QByteArray> seedReplies()
{
    QList<QByteArray> seeds;
    const QDir dir(QStringLiteral(CORVANE_FUZZ_CORPUS));
    for (const QString &name : dir.entryList(QDir::Files, QDir::Name))
        seeds << test::readFile(dir.filePath(name));
    return seeds;
}

// Flips, cuts, grows and points: the damage a hostile or broken server can do.
QByteArray mutate(QByteArray reply, std::mt19937 &random)
{
    const int edits = 1 + int(random() % 4);
    for (int i = 0; i < edits; ++i) {
        const qsizetype size = reply.size();
        const qsizetype at = size > 0 ? qsizetype(random() % size) : 0;
        switch (random() % 5) {
        case 0:
            if (size > 0)
                reply[at] = char(random());
            break;
        case 1:
            reply.truncate(at);
            break;
        case 2:
            reply.insert(at, char(random()));
            break;
        case 3: // a compression pointer to anywhere, often near its own spot
            if (size > 1) {
                reply[at] = char(0xC0 | (random() % 2));
                reply[(at + 1) % size] = char(random() % 2 ? at : random());
            }
            break;
        default: // counts that promise more or less than there is
            if (size >= 8)
                reply[4 + 2 * (random() % 2)] = char(random());
            break;
        }
    }
    return reply;
}

TEST(ReplyCorpus, SeedsAndMutantsReadSafely)
{
    const QList<QByteArray> seeds = seedReplies();
    ASSERT_GE(seeds.size(), 5) << CORVANE_FUZZ_CORPUS;
    for (const QByteArray &seed : seeds)
        EXPECT_TRUE(fuzz::checkMxReply(seed)) << seed.toHex().constData();
    std::mt19937 random(4575);
    int broken = 0;
    for (int round = 0; round < 20000; ++round) {
        const QByteArray mutant = mutate(seeds[round % seeds.size()], random);
        if (!fuzz::checkMxReply(mutant) && ++broken <= 5)
            ADD_FAILURE() << mutant.toHex().constData();
    }
    EXPECT_EQ(broken, 0);
}

} // namespace
