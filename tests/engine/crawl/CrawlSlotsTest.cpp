#include "engine/CrawlSlots.h"
#include "engine/EngineList.h"

#include <gtest/gtest.h>

using namespace corvane;

TEST(CrawlSlots, GroupsSplitTheFiftySlotsIntoSevenAnalysers)
{
    const std::pair<int, int> edges[] = {{1, 0},  {2, 1},  {6, 1},  {7, 2},  {15, 2},
                                         {16, 3}, {24, 3}, {25, 4}, {32, 4}, {33, 5},
                                         {40, 5}, {41, 6}, {50, 6}};
    for (const auto &[slot, group] : edges)
        EXPECT_EQ(crawl::slotGroup(slot), group) << "slot " << slot;
    EXPECT_FALSE(crawl::slotGroup(0));
    EXPECT_FALSE(crawl::slotGroup(51));
    EXPECT_FALSE(crawl::slotGroup(-3));
    EXPECT_EQ(crawl::crawlTickMs(30000), 31500);
}

TEST(EngineList, ReadsEntriesWithNumbersNamesAndAddresses)
{
    const EngineListReading reading = parseEngineList(QStringLiteral("One$first/#Two$second/#"));
    ASSERT_TRUE(reading.error.isEmpty());
    ASSERT_EQ(reading.entries.size(), 2);
    EXPECT_EQ(reading.entries[0].number, 1);
    EXPECT_EQ(reading.entries[1].number, 2);
    EXPECT_EQ(reading.entries[1].name, QStringLiteral("Two"));
    EXPECT_EQ(reading.entries[1].address, QStringLiteral("second/"));
    // An address may itself hold "$": only the first one splits.
    EXPECT_EQ(parseEngineList(QStringLiteral("A$x$y#")).entries.value(0).address,
              QStringLiteral("x$y"));
}

TEST(EngineList, MalformedEntriesStopTheReadingButKeepWhatCameBefore)
{
    EngineListReading noDollar = parseEngineList(QStringLiteral("One$first/#Broken#Three$third/#"));
    EXPECT_EQ(noDollar.entries.size(), 1);
    EXPECT_FALSE(noDollar.error.isEmpty());

    EngineListReading unterminated = parseEngineList(QStringLiteral("One$first/#Two$second/"));
    EXPECT_EQ(unterminated.entries.size(), 1);
    EXPECT_FALSE(unterminated.error.isEmpty());

    // No "#" at all adds nothing and is not an error.
    EngineListReading none = parseEngineList(QStringLiteral("One$first/"));
    EXPECT_TRUE(none.entries.isEmpty());
    EXPECT_TRUE(none.error.isEmpty());
    EXPECT_TRUE(parseEngineList(QString()).entries.isEmpty());
}

TEST(EngineList, BlankAnswerIsRefreshedAndReadExactlyOnceMore)
{
    int reads = 0;
    int refreshes = 0;
    const QString text = readWithRefresh(
        [&] { return ++reads == 1 ? QStringLiteral("  ") : QStringLiteral("A$a#"); },
        [&] { ++refreshes; });
    EXPECT_EQ(text, QStringLiteral("A$a#"));
    EXPECT_EQ(reads, 2);
    EXPECT_EQ(refreshes, 1);

    reads = refreshes = 0;
    EXPECT_EQ(
        readWithRefresh([&] { return ++reads, QStringLiteral("B$b#"); }, [&] { ++refreshes; }),
        QStringLiteral("B$b#"));
    EXPECT_EQ(reads, 1);
    EXPECT_EQ(refreshes, 0);
}
