// The hand-written matcher against the regular-expression engine it replaces.

#include "analysis/EmailMatcher.h"

#include "EmailOracle.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using namespace corvane;
using fuzz::emailOracleMatches;

namespace {

std::vector<std::string> scannerMatches(const std::string &text)
{
    std::vector<std::string> out;
    for (const QByteArrayView match :
         findEmailMatches(QByteArrayView(text.data(), qsizetype(text.size()))))
        out.emplace_back(match.data(), size_t(match.size()));
    return out;
}

void expectSameAsOracle(const std::string &text)
{
    EXPECT_EQ(scannerMatches(text), emailOracleMatches(text)) << "input: " << text;
}

} // namespace

TEST(EmailMatcher, CharacterClassIsExactlyWhatTheRegexEngineAccepts)
{
    // Each byte between two address halves either joins the address or splits it.
    for (int byte = 1; byte < 256; ++byte) {
        const std::string text = std::string("ab") + char(byte) + "cd@ef.gh";
        SCOPED_TRACE(byte);
        expectSameAsOracle(text);
        expectSameAsOracle(std::string("ab@cd") + char(byte) + "ef.gh");
        expectSameAsOracle(std::string("ab@cd.e") + char(byte) + "f");
    }
}

TEST(EmailMatcher, BoundaryShapesAgreeWithTheRegexEngine)
{
    const char *cases[] = {
        "a@b.c",
        "a@b.",
        "a@.c",
        "a@..c",
        "@b.c",
        "a@b",
        "a@b.c.",
        "x a@b@c.com y",
        "a@b.c.d@e.f",
        "foo.@bar..com.",
        "a-b@c_d.e",
        "-@-.-",
        "_@_._",
        "a@b.c-d",
        "a@b.c_d.e",
        "a@b.-c.d",
        "mailto:Bob@Example.ORG\">",
        "a@b.c@d.e",
        "a@@b.c",
        "@@@a@b.c",
        "a.b@c.d.e.f.g",
        "..@..a",
        "a@b.c d@e.f",
        "a@b._",
        "a@b.1",
        "a@b.c1.",
        "a@b.c.1_",
        "1@2.3",
        "a@b..",
        "a@.b.c",
        "a@b.c.d.",
        "a@b.c@",
        "a@b.c.d-@e.f",
        "x@y.z\nq@r.s",
    };
    for (const char *text : cases)
        expectSameAsOracle(text);
    expectSameAsOracle(std::string("a@b\0.c x\0y@z.w", 14));
    expectSameAsOracle(std::string("a\0b@c.d", 7));
}

TEST(EmailMatcher, RandomTextAgreesWithTheRegexEngine)
{
    // An alphabet rich in the characters that decide a match, plus bytes that never belong.
    static const char letters[] = "ab.@-_.Z9@. x\t\"<>:\x80\xff\0";
    const std::string alphabet(letters, sizeof letters - 1);
    std::mt19937 rng(20261123);
    std::uniform_int_distribution<size_t> pick(0, alphabet.size() - 1);
    std::uniform_int_distribution<int> length(0, 60);
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        const int n = length(rng);
        for (int i = 0; i < n; ++i)
            text += alphabet[pick(rng)];
        const auto expected = emailOracleMatches(text);
        const auto actual = scannerMatches(text);
        ASSERT_EQ(actual, expected) << "round " << round << " input: " << text;
    }
}

TEST(EmailMatcher, AdversarialRunsAgreeWithTheRegexEngine)
{
    // Long runs that make the engine backtrack: many dots, many "@", no letter after a dot.
    expectSameAsOracle(std::string(200, 'a') + "@" + std::string(200, '.') + "b");
    expectSameAsOracle(std::string(100, '@') + "a@b.c" + std::string(100, '@'));
    expectSameAsOracle("a@" + std::string(300, '.') + "-");
    std::string alternating;
    for (int i = 0; i < 150; ++i)
        alternating += "a@b";
    expectSameAsOracle(alternating + ".c");
    std::string dotted = "x@";
    for (int i = 0; i < 150; ++i)
        dotted += "a._";
    expectSameAsOracle(dotted);
}

TEST(EmailMatcher, WorkStaysLinearOnHostileInput)
{
    auto stepsFor = [](const std::string &text) {
        qsizetype steps = 0;
        forEachEmailMatch(
            QByteArrayView(text.data(), qsizetype(text.size())), [](qsizetype, qsizetype) {},
            &steps);
        return steps;
    };
    const std::vector<std::pair<std::string, std::string>> shapes = {
        {"@", "a million at-signs"},
        {"a@", "an address character before every at-sign"},
        {"a.", "a dotted run without at-sign"},
        {"a@b", "at-signs joined by letters, never a dot"},
        {"a@b.", "dots with no letter after the last"},
    };
    for (const auto &[unit, what] : shapes) {
        SCOPED_TRACE(what);
        std::string small;
        std::string large;
        for (int i = 0; i < 500000; ++i)
            small += unit;
        large = small + small;
        const qsizetype smallSteps = stepsFor(small);
        const qsizetype largeSteps = stepsFor(large);
        EXPECT_LE(smallSteps, qsizetype(4 * small.size()));
        EXPECT_LE(largeSteps, qsizetype(4 * large.size()));
        EXPECT_LE(largeSteps, 2 * smallSteps + 16);
    }
}

TEST(EmailMatcher, HugeSingleLineAndNulBytesDoNotDerail)
{
    // 100 MB on one line: one address at each end, NUL and high bytes in between.
    std::string text = "first@one.com ";
    text.reserve(100u << 20);
    const std::string filler("x\0\xff y.z_", 9);
    while (text.size() < (100u << 20))
        text += filler;
    text += " last@two.org";
    const auto found = scannerMatches(text);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found.front(), "first@one.com");
    EXPECT_EQ(found.back(), "last@two.org");

    // One address of 32 MB: matched whole, nothing cut or lost.
    const std::string longLocal(32u << 20, 'k');
    const auto single = scannerMatches(longLocal + "@b.c");
    ASSERT_EQ(single.size(), 1u);
    EXPECT_EQ(single.front().size(), longLocal.size() + 4);
}
