#include "KbTestSupport.h"
#include "support/TestSupport.h"

#include "kb/Catalogues.h"

#include <QFileInfo>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

TEST(TaxonomyCatalogue, MissingOrEmptyFileLoadsEmptyAndIsCreated)
{
    TempDataFolder home;
    TaxonomyCatalogue taxonomy;
    ASSERT_TRUE(taxonomy.LoadTaxonomy());
    EXPECT_TRUE(taxonomy.entries().isEmpty());
    EXPECT_EQ(taxonomy.nextNumber(), 1);
    EXPECT_TRUE(QFileInfo::exists(CatalogueFiles::taxonomy()));
    EXPECT_EQ(readFile(CatalogueFiles::taxonomy()), QByteArray());
}

TEST(TaxonomyCatalogue, NextNumberFollowsTheLastRecordNotTheHighest)
{
    TempDataFolder home;
    writeFile(CatalogueFiles::taxonomy(),
              storedFile({"3@Cars", "   ", "7@Boats", "", "5@Planes@Jets"}));
    TaxonomyCatalogue taxonomy;
    ASSERT_TRUE(taxonomy.LoadTaxonomy());
    EXPECT_EQ(taxonomy.entries(),
              QList<CatalogueEntry>({{3, "Cars"}, {7, "Boats"}, {5, "Planes@Jets"}}));
    EXPECT_EQ(taxonomy.nextNumber(), 6);
    const auto added = taxonomy.AddTaxonomy(QStringLiteral("  Trains "));
    ASSERT_TRUE(added && *added);
    EXPECT_EQ(**added, CatalogueEntry({6, "Trains"}));
    EXPECT_EQ(recordTexts(CatalogueFiles::taxonomy()).last(), QStringLiteral("6@Trains"));
}

TEST(TaxonomyCatalogue, AddsOnlyNewTermsWithConsecutiveNumbers)
{
    TempDataFolder home;
    TaxonomyCatalogue taxonomy;
    ASSERT_TRUE(taxonomy.LoadTaxonomy());
    ASSERT_TRUE(taxonomy.AddTaxonomy(QStringLiteral("Science")));
    ASSERT_TRUE(taxonomy.AddTaxonomy(QStringLiteral("Music")));
    const auto same = taxonomy.AddTaxonomy(QStringLiteral("Science"));
    ASSERT_TRUE(same);
    EXPECT_FALSE(*same);
    const auto empty = taxonomy.AddTaxonomy(QStringLiteral("   "));
    ASSERT_TRUE(empty);
    EXPECT_FALSE(*empty);
    const auto other = taxonomy.AddTaxonomy(QStringLiteral("science"));
    ASSERT_TRUE(other && *other);
    EXPECT_EQ((*other)->number, 3);
    EXPECT_EQ(recordTexts(CatalogueFiles::taxonomy()),
              QStringList({"1@Science", "2@Music", "3@science"}));

    TaxonomyCatalogue reloaded;
    ASSERT_TRUE(reloaded.LoadTaxonomy());
    EXPECT_EQ(reloaded.entries(), taxonomy.entries());
    EXPECT_EQ(reloaded.nextNumber(), 4);
}

TEST(TaxonomyCatalogue, RefusesTermsThatCannotBeFolderNames)
{
    TempDataFolder home;
    TaxonomyCatalogue taxonomy;
    ASSERT_TRUE(taxonomy.LoadTaxonomy());
    for (const QString &bad :
         {QStringLiteral(".."), QStringLiteral("a/b"), QStringLiteral("a\\b"), QStringLiteral("C:"),
          QStringLiteral("CON"), QStringLiteral("nul.txt"), QStringLiteral("COM1"),
          QStringLiteral("name."), QStringLiteral("tab\there"), QStringLiteral("why?"),
          QString(QChar(235)), QStringLiteral("\u4e2d"), QStringLiteral("Rock@Pop"),
          QString(150, QChar(0xE9))}) {
        const auto added = taxonomy.AddTaxonomy(bad);
        ASSERT_FALSE(added) << bad.toStdString();
        EXPECT_TRUE(added.message().startsWith(QStringLiteral("Taxonomy term")))
            << added.message().toStdString();
    }
    EXPECT_EQ(readFile(CatalogueFiles::taxonomy()), QByteArray());
    EXPECT_EQ(taxonomy.nextNumber(), 1);
    EXPECT_TRUE(taxonomy.AddTaxonomy(QStringLiteral("Console games")));
}

TEST(TaxonomyCatalogue, DamagedLineStopsTheLoadWithItsLineNumber)
{
    TempDataFolder home;
    writeFile(CatalogueFiles::taxonomy(), storedFile({"1@Cars", "Boats", "3@Planes"}));
    TaxonomyCatalogue taxonomy;
    const Result<void> loaded = taxonomy.LoadTaxonomy();
    ASSERT_FALSE(loaded);
    EXPECT_TRUE(loaded.message().contains(QStringLiteral("line 2")))
        << loaded.message().toStdString();
    EXPECT_EQ(taxonomy.entries().size(), 1);
}

TEST(MailGroupCatalogue, NumbersGroupsAndKnowsTheLastAdded)
{
    TempDataFolder home;
    MailGroupCatalogue groups;
    ASSERT_TRUE(groups.LoadMailGroups());
    EXPECT_TRUE(QFileInfo::exists(CatalogueFiles::mailGroups()));
    ASSERT_TRUE(groups.AddMailGroup(QStringLiteral(" Dentists ")));
    ASSERT_TRUE(groups.AddMailGroup(QStringLiteral("Bakers")));
    EXPECT_EQ(groups.lastAddedNumber(), 2);
    EXPECT_EQ(recordTexts(CatalogueFiles::mailGroups()), QStringList({"1@Dentists", "2@Bakers"}));
    EXPECT_FALSE(groups.AddMailGroup(QStringLiteral("a/b")));
    EXPECT_FALSE(groups.AddMailGroup(QStringLiteral("a@b")));
    KeywordCatalogue keywords;
    EXPECT_FALSE(keywords.AddKeyword(QStringLiteral("a@b"), 1));
    EXPECT_EQ(recordTexts(CatalogueFiles::mailGroups()).size(), 2);
}

TEST(Catalogues, UnterminatedLastLineIsEndedBeforeTheNextRecord)
{
    // Edited by hand, or cut short: the last line has no CR LF.
    TempDataFolder home;
    writeFile(CatalogueFiles::taxonomy(), storedFile({"1@One"}) + encodeRecord(u"2@Tw").value());
    TaxonomyCatalogue taxonomy;
    ASSERT_TRUE(taxonomy.LoadTaxonomy());
    ASSERT_TRUE(taxonomy.AddTaxonomy(QStringLiteral("Three")));
    EXPECT_EQ(recordTexts(CatalogueFiles::taxonomy()), QStringList({"1@One", "2@Tw", "3@Three"}));
    EXPECT_TRUE(readFile(CatalogueFiles::taxonomy()).endsWith("\r\n"));
}

TEST(KeywordCatalogue, LoadsAllKeywordsAndThoseOfOneGroup)
{
    TempDataFolder home;
    writeFile(CatalogueFiles::keywords(), storedFile({"1@1@red", "2@2@green", "3@1@blue@sky"}));
    KeywordCatalogue keywords;
    ASSERT_TRUE(keywords.LoadKeywords(1));
    EXPECT_EQ(keywords.allKeywords(),
              QList<CatalogueEntry>({{1, "1@red"}, {2, "2@green"}, {3, "1@blue@sky"}}));
    EXPECT_EQ(keywords.groupKeywords(), QList<CatalogueEntry>({{1, "red"}, {3, "blue@sky"}}));
    EXPECT_EQ(keywords.nextNumber(), 4);
}

TEST(KeywordCatalogue, KeywordOfANewGroupGoesToTheGroupAddedLast)
{
    TempDataFolder home;
    MailGroupCatalogue groups;
    ASSERT_TRUE(groups.LoadMailGroups());
    for (const char *name : {"a", "b", "c", "d"})
        ASSERT_TRUE(groups.AddMailGroup(QString::fromLatin1(name)));
    KeywordCatalogue keywords;
    ASSERT_TRUE(keywords.LoadKeywords(qint32(groups.lastAddedNumber())));
    const auto added =
        keywords.AddKeyword(QStringLiteral(" plumbing "), qint32(groups.lastAddedNumber()));
    ASSERT_TRUE(added && *added);
    EXPECT_EQ(recordTexts(CatalogueFiles::keywords()), QStringList({"1@4@plumbing"}));
    EXPECT_EQ(keywords.groupKeywords(), QList<CatalogueEntry>({{1, "plumbing"}}));
    EXPECT_EQ(keywords.allKeywords(), QList<CatalogueEntry>({{1, "4@plumbing"}}));
}

TEST(KeywordCatalogue, BlankOrMalformedLineStopsTheLoad)
{
    TempDataFolder home;
    for (const QStringList &records :
         {QStringList({"1@1@red", ""}), QStringList({"1@red"}), QStringList({"x@1@red"}),
          QStringList({"1@x@red"}), QStringList({"99999999999@1@red"})}) {
        writeFile(CatalogueFiles::keywords(), storedFile(records));
        KeywordCatalogue keywords;
        const Result<void> loaded = keywords.LoadKeywords(1);
        ASSERT_FALSE(loaded) << records.join('|').toStdString();
        EXPECT_TRUE(loaded.message().contains(QStringLiteral("Keyword.qdx")));
    }
}

TEST(Catalogues, NumbersRunOutAtTheTopOfTheRange)
{
    TempDataFolder home;
    writeFile(CatalogueFiles::taxonomy(), storedFile({"2147483647@Last"}));
    TaxonomyCatalogue taxonomy;
    ASSERT_TRUE(taxonomy.LoadTaxonomy());
    const auto added = taxonomy.AddTaxonomy(QStringLiteral("More"));
    ASSERT_FALSE(added);
    EXPECT_EQ(recordTexts(CatalogueFiles::taxonomy()), QStringList({"2147483647@Last"}));
}
