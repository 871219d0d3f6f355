#include "scan/FileTypeList.h"

#include "support/TestSupport.h"

#include <QSettings>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

TEST(FileTypeList, WithoutSettingsFileEveryFileIsScannedAndDocumentTypesAreOfferedOnce)
{
    TempDataFolder home;
    FileTypeList list = FileTypeList::load();
    ASSERT_EQ(list.count(), 1 + FileTypeList::kDocumentTypes.size());
    EXPECT_EQ(list.entries().front(), (FileTypeList::Entry{".***", true}));
    EXPECT_EQ(list.entries()[2], (FileTypeList::Entry{".warc.gz", false}));
    EXPECT_EQ(list.checkedTypes(), QSet<QString>{".***"});
    EXPECT_TRUE(fileTypeMatches(list.checkedTypes(), "/x/README"));

    // Once stored, what the user removed stays removed.
    list.setChecked(0, false);
    for (int i = 1; i < list.count(); ++i)
        list.setChecked(i, i != 2);
    ASSERT_FALSE(list.removeChecked().has_value());
    list.save();
    const FileTypeList back = FileTypeList::load();
    ASSERT_EQ(back.count(), 2);
    EXPECT_EQ(back.entries()[1], (FileTypeList::Entry{".warc.gz", true}));
}

TEST(FileTypeList, StoredListRoundTripsAndLoadsChecked)
{
    TempDataFolder home;
    writeFile(home.file("extractor.ini"),
              "[lstExt]\nDocumentTypesOffered=1\nListCount=4\n0=.txt\n1=  .htm  \n3=.csv\n");
    FileTypeList list = FileTypeList::load();
    // A missing key reads as ".***".
    ASSERT_EQ(list.count(), 4);
    EXPECT_EQ(list.entries()[1].type, ".htm");
    EXPECT_EQ(list.entries()[2].type, ".***");
    EXPECT_TRUE(list.entries()[3].checked);

    list.setChecked(0, false);
    list.setChecked(1, false);
    list.setChecked(2, false);
    ASSERT_FALSE(list.removeChecked().has_value());
    EXPECT_EQ(list.count(), 3);
    list.save();
    QSettings ini(home.file("extractor.ini"), QSettings::IniFormat);
    EXPECT_EQ(ini.value("lstExt/ListCount").toString(), "3");
    // Keys past the new count stay behind and are never read.
    EXPECT_EQ(ini.value("lstExt/3").toString(), ".csv");
    const FileTypeList back = FileTypeList::load();
    ASSERT_EQ(back.count(), 3);
    EXPECT_EQ(back.entries()[0].type, ".txt");
    EXPECT_EQ(back.entries()[2].type, ".***");
}

TEST(FileTypeList, DamagedCountFallsBackOrIsBounded)
{
    TempDataFolder home;
    writeFile(home.file("extractor.ini"), "[lstExt]\nDocumentTypesOffered=1\nListCount=lots\n");
    EXPECT_EQ(FileTypeList::load().count(), 1);
    writeFile(home.file("extractor.ini"),
              "[lstExt]\nDocumentTypesOffered=1\nListCount=2000000000\n");
    EXPECT_EQ(FileTypeList::load().count(), 4096);
    writeFile(home.file("extractor.ini"), "[lstExt]\nDocumentTypesOffered=1\nListCount=-3\n");
    EXPECT_EQ(FileTypeList::load().count(), 0);
}

TEST(FileTypeList, AddKeepsFourCharactersAndAddsUnchecked)
{
    TempDataFolder home;
    FileTypeList list = FileTypeList::load();

    auto shortType = list.add(".tx");
    EXPECT_EQ(shortType.message, FileTypeList::kLengthMessage);
    EXPECT_FALSE(shortType.added);
    EXPECT_EQ(shortType.fieldText, ".tx");

    auto noPeriod = list.add("html");
    EXPECT_FALSE(noPeriod.message.has_value());
    EXPECT_TRUE(noPeriod.added);
    EXPECT_TRUE(noPeriod.fieldText.isEmpty());

    // ".html" shows the message, then goes on with "html", already listed.
    auto longType = list.add(".html");
    EXPECT_EQ(longType.message, FileTypeList::kLengthMessage);
    EXPECT_FALSE(longType.added);

    EXPECT_TRUE(list.add(".TXT").added);
    EXPECT_TRUE(list.add(".txt").added);
    EXPECT_FALSE(list.add(".txt").added);
    ASSERT_EQ(list.count(), 1 + FileTypeList::kDocumentTypes.size() + 3);
    EXPECT_EQ(list.entries().back(), (FileTypeList::Entry{".txt", false}));
}

TEST(FileTypeList, RemoveWithNothingCheckedSaysSo)
{
    TempDataFolder home;
    FileTypeList list = FileTypeList::load();
    list.setChecked(0, false);
    EXPECT_EQ(list.removeChecked(), FileTypeList::kNoneCheckedMessage);
    EXPECT_EQ(list.count(), 1 + FileTypeList::kDocumentTypes.size());
}

TEST(FileTypeList, TypesMatchTheLastFourCharactersOrTheDocumentTypesEnding)
{
    const QSet<QString> types{".TXT", "html", ".warc.gz", ".docx"};
    EXPECT_TRUE(fileTypeMatches(types, "/d/crawl.warc.gz"));
    EXPECT_FALSE(fileTypeMatches(types, "/d/notes.txt.gz"));
    EXPECT_TRUE(fileTypeMatches(types, "/d/letter.docx"));
    EXPECT_FALSE(fileTypeMatches(types, "/d/letter.DOCX"));
    EXPECT_TRUE(fileTypeMatches(types, "/d/NOTES.TXT"));
    EXPECT_FALSE(fileTypeMatches(types, "/d/notes.txt"));
    EXPECT_TRUE(fileTypeMatches(types, "/d/page.html"));
    EXPECT_TRUE(fileTypeMatches(types, "/d/xhtml"));
    EXPECT_FALSE(fileTypeMatches(types, "/d/README"));
    EXPECT_FALSE(fileTypeMatches({}, "/d/a.TXT"));
}
