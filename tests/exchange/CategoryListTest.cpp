#include "exchange/CategoryList.h"

#include "common/AppSettings.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

TEST(CategoryList, ParsesNamesFollowedBySemicolonsInStoredOrder)
{
    EXPECT_EQ(parseMasterList("Clients;Suppliers;"), QStringList({"Clients", "Suppliers"}));
    EXPECT_TRUE(parseMasterList("").isEmpty());
    EXPECT_TRUE(parseMasterList("   ").isEmpty());
    // Each part is taken as it stands; the rest is trimmed before the next one.
    EXPECT_EQ(parseMasterList("  A b ;  C ;"), QStringList({"A b ", "C "}));
    EXPECT_EQ(parseMasterList("A;;B;"), QStringList({"A", "", "B"}));
    // A last name without ";" (edited by hand) is a name too.
    EXPECT_EQ(parseMasterList("A;B"), QStringList({"A", "B"}));
    EXPECT_EQ(parseMasterList("Solo"), QStringList({"Solo"}));
}

TEST(CategoryList, AddedNamesComeFirstAndAreKeptInSettings)
{
    TempDataFolder home;
    EXPECT_TRUE(CategoryList::load().isEmpty());
    EXPECT_TRUE(CategoryList::add("  Suppliers "));
    EXPECT_TRUE(CategoryList::add("Trade, fairs"));
    EXPECT_FALSE(CategoryList::add("   "));
    EXPECT_EQ(CategoryList::stored(), "Trade, fairs;Suppliers;");
    EXPECT_EQ(CategoryList::load(), QStringList({"Trade, fairs", "Suppliers"}));

    // A list edited by hand in the settings file (quoted, as the settings format wants text
    // with commas) reads back the same.
    writeFile(home.file("corvane.ini"), "[Categories]\nMasterList=\"Hand, made;Other\"\n");
    EXPECT_EQ(CategoryList::load(), QStringList({"Hand, made", "Other"}));
    EXPECT_EQ(prependToMasterList("Hand, made;Other", "New"), "New;Hand, made;Other");
}
