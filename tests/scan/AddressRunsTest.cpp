#include "scan/AddressRuns.h"

#include "analysis/EmailMatcher.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

#include <random>

using namespace corvane;

namespace {

QStringList regexMatches(const QByteArray &text)
{
    static const QRegularExpression pattern(
        QStringLiteral("[a-zA-Z0-9-_.]+@[a-zA-Z0-9-_.]+\\.[a-zA-Z0-9]+"));
    QStringList found;
    auto it = pattern.globalMatch(QString::fromLatin1(text));
    while (it.hasNext())
        found << it.next().captured();
    return found;
}

QStringList chunkedMatches(const QByteArray &text, qsizetype chunk)
{
    QStringList found;
    AddressRunSplitter splitter([&](QByteArrayView segment) {
        for (QByteArrayView match : findEmailMatches(segment))
            found << QString::fromLatin1(match);
    });
    for (qsizetype at = 0; at < text.size(); at += chunk)
        splitter.feed(QByteArrayView(text).sliced(at, std::min(chunk, text.size() - at)));
    splitter.finish();
    return found;
}

QByteArray randomText(std::mt19937 &random, int length)
{
    static const char alphabet[] = "ab1Z.-_@@ .\n\0x";
    std::uniform_int_distribution<int> pick(0, int(sizeof alphabet) - 2);
    QByteArray text;
    for (int i = 0; i < length; ++i)
        text += alphabet[pick(random)];
    return text;
}

} // namespace

TEST(AddressRunSplitter, ChunkedSearchEqualsThePatternOnTheWholeText)
{
    std::mt19937 random(20261123);
    for (int round = 0; round < 400; ++round) {
        const QByteArray text = randomText(random, 1 + round % 97);
        const QStringList expected = regexMatches(text);
        for (qsizetype chunk : {1, 2, 3, 7, 64}) {
            ASSERT_EQ(chunkedMatches(text, chunk), expected)
                << "chunk " << chunk << " text " << text.toPercentEncoding().constData();
        }
    }
}

TEST(AddressRunSplitter, HeldBackTextStaysBounded)
{
    // One endless run of address characters: what is held back never exceeds the cap,
    // and the segments together cover every byte exactly once.
    qsizetype largest = 0;
    qsizetype total = 0;
    AddressRunSplitter splitter([&](QByteArrayView segment) {
        largest = std::max(largest, segment.size());
        total += segment.size();
    });
    const QByteArray piece(64 * 1024, 'a');
    const int pieces = 40;
    for (int i = 0; i < pieces; ++i)
        splitter.feed(piece);
    splitter.finish();
    EXPECT_LE(largest, AddressRunSplitter::kMaxCarry + piece.size());
    EXPECT_EQ(total, qsizetype(pieces) * piece.size());
}
