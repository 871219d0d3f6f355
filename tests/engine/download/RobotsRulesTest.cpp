#include "engine/RobotsRules.h"

#include <gtest/gtest.h>

using namespace corvane;

namespace {

TEST(RobotsRulesTest, StarGroupAppliesWhenNoGroupNamesUs)
{
    const RobotsRules rules = RobotsRules::parse(
        "# comment\nUser-agent: otherbot\nDisallow: /\n\nUser-agent: *\nDisallow: /private/\n"
        "Disallow: /tmp # trailing comment\n",
        "Corvane");
    EXPECT_FALSE(rules.allows("/private/roster.htm"));
    EXPECT_FALSE(rules.allows("/tmp"));
    EXPECT_FALSE(rules.allows("/tmpfile.htm")); // plain patterns are prefixes
    EXPECT_TRUE(rules.allows("/"));
    EXPECT_TRUE(rules.allows("/acme/private/"));
    EXPECT_TRUE(rules.allows("/robots.txt"));
}

TEST(RobotsRulesTest, OwnGroupReplacesStarGroupAndLongestRuleWins)
{
    const RobotsRules rules = RobotsRules::parse("User-agent: *\nDisallow: /\n\n"
                                                 "User-Agent: CORVANE\nUser-agent: other\n"
                                                 "Disallow: /shop/\nAllow: /shop/open/\n"
                                                 "Allow: /page\nDisallow: /page\n",
                                                 "Corvane");
    EXPECT_TRUE(rules.allows("/"));
    EXPECT_FALSE(rules.allows("/shop/cart"));
    EXPECT_TRUE(rules.allows("/shop/open/today"));
    EXPECT_TRUE(rules.allows("/page")); // equal length: Allow wins
}

TEST(RobotsRulesTest, WildcardsAndEndAnchor)
{
    const RobotsRules rules =
        RobotsRules::parse("User-agent: *\nDisallow: /*.pdf$\nDisallow: /*?session=\n", "Corvane");
    EXPECT_FALSE(rules.allows("/docs/a.pdf"));
    EXPECT_TRUE(rules.allows("/docs/a.pdf.htm"));
    EXPECT_FALSE(rules.allows("/list?session=12"));
    EXPECT_TRUE(rules.allows("/list?page=2"));

    EXPECT_TRUE(robotsPatternMatches("/a*b*c$", "/a__b__c"));
    EXPECT_FALSE(robotsPatternMatches("/a*b*c$", "/a__b__c_"));
    EXPECT_TRUE(robotsPatternMatches("*", ""));
}

TEST(RobotsRulesTest, CrawlDelayOfTheChosenGroupsWithinAMinute)
{
    const auto delay = [](const QByteArray &text) {
        return RobotsRules::parse(text, "Corvane").crawlDelayMs();
    };
    EXPECT_EQ(delay("User-agent: *\nCrawl-delay: 2.5\nDisallow: /x\n"), 2500);
    EXPECT_EQ(delay("User-agent: *\nCrawl-delay: 9\n\nUser-agent: corvane\nCrawl-Delay: 1\n"),
              1000);
    EXPECT_EQ(delay("User-agent: other\nCrawl-delay: 9\n"), 0);
    EXPECT_EQ(delay("User-agent: *\nCrawl-delay: 86400\n"), RobotsRules::kMaxCrawlDelayMs);
    for (const char *bad : {"soon", "-3", "nan", ""})
        EXPECT_EQ(delay(QByteArray("User-agent: *\nCrawl-delay: ") + bad + "\n"), 0) << bad;
    EXPECT_EQ(delay("Crawl-delay: 5\nUser-agent: *\nDisallow: /x\n"), 0) << "before any group";
}

TEST(RobotsRulesTest, EmptyOrBrokenFilesForbidNothing)
{
    EXPECT_TRUE(RobotsRules::parse("", "Corvane").allowsEverything());
    EXPECT_TRUE(RobotsRules::parse("Disallow: /\n", "Corvane").allowsEverything()); // no group
    EXPECT_TRUE(RobotsRules::parse("User-agent: *\nDisallow:\n", "Corvane").allowsEverything());
    EXPECT_TRUE(RobotsRules::parse(QByteArray(100000, '\xff'), "Corvane").allowsEverything());
}

TEST(RobotsRulesTest, HostilePatternsStayCheap)
{
    // Each check walks the path a bounded number of times per star; count the work by
    // matching a long path against a pattern of many stars that never matches.
    QByteArray pattern = "/";
    for (int i = 0; i < 200; ++i)
        pattern += "*a";
    pattern += "b$";
    const QByteArray path = "/" + QByteArray(5000, 'a');
    EXPECT_FALSE(robotsPatternMatches(pattern, path));

    QByteArray many = "User-agent: *\n";
    for (int i = 0; i < 10000; ++i)
        many += "Disallow: /x" + QByteArray::number(i) + "/\n";
    const RobotsRules rules = RobotsRules::parse(many, "Corvane");
    EXPECT_FALSE(rules.allows("/x1/"));
    EXPECT_TRUE(rules.allows("/x9999/")); // past the 4096-rule limit
}

} // namespace
