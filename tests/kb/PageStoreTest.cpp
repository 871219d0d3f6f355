#include "KbTestSupport.h"
#include "support/TestSupport.h"

#include "kb/Catalogues.h"
#include "kb/Deletion.h"
#include "kb/DiskSpace.h"
#include "kb/NameRules.h"
#include "kb/PageStore.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

QByteArray pageTitled(const QByteArray &title)
{
    return "<html><head><Title>" + title + "</tITLE></head><body>x</body></html>";
}

class Store : public ::testing::Test
{
protected:
    Store() : store([this] { return now; })
    {
        PageStoreSettings settings;
        settings.root = home.file(QStringLiteral("KB"));
        settings.baseName = QStringLiteral(" Travel ");
        settings.selectedTerms = {QStringLiteral("Rail"), QStringLiteral("Europe")};
        settings.favoritesFolder = home.file(QStringLiteral("Favorites"));
        store.setSettings(settings);
        MailGroupCatalogue groups;
        EXPECT_TRUE(groups.LoadMailGroups());
        EXPECT_TRUE(groups.AddMailGroup(QStringLiteral("Travel")));
    }
    QString kbFolder() const { return home.file(QStringLiteral("KB/Travel-03-07-26-0905")); }

    TempDataFolder home;
    QDateTime now{QDate(2026, 3, 7), QTime(9, 5)};
    PageStore store;
};

} // namespace

TEST_F(Store, PageMatchingTwoTermsIsStoredOnceUnderTheFirst)
{
    const QByteArray html = pageTitled("European rail passes");
    const Result<SaveOutcome> saved =
        store.SaveTaxonomy(QStringLiteral("http://rail.test/passes"), html);
    ASSERT_TRUE(saved);
    EXPECT_TRUE(saved->problems.isEmpty()) << saved->problems.join('\n').toStdString();
    EXPECT_EQ(saved->pageNumber, 1);
    EXPECT_EQ(saved->term, QStringLiteral("Rail"));

    EXPECT_EQ(readFile(kbFolder() + QStringLiteral("/Rail/1.htm")), html);
    EXPECT_EQ(recordTexts(kbFolder() + QStringLiteral("/Rail/index.qdx")),
              QStringList({"1##http://rail.test/passes"}));
    EXPECT_TRUE(QFileInfo(kbFolder() + QStringLiteral("/Europe")).isDir());
    EXPECT_FALSE(QFileInfo::exists(kbFolder() + QStringLiteral("/Europe/index.qdx")));
    EXPECT_EQ(QDir(kbFolder() + QStringLiteral("/Europe")).entryList(QDir::Files).size(), 0);

    // The first knowledge base is number 1, of the mail group added last; its keyword
    // folders are owned by the knowledge-base number.
    EXPECT_EQ(recordTexts(CatalogueFiles::kbMailGroups()),
              QStringList({QStringLiteral("1@1@Travel-03-07-26-0905@") + kbFolder()}));
    EXPECT_EQ(recordTexts(CatalogueFiles::kbKeywords()), QStringList({"1@1@Rail", "2@1@Europe"}));
}

TEST_F(Store, SkipsErrorPagesUntitledPagesAndRepeatedAddresses)
{
    for (const QByteArray &html :
         {pageTitled("The page cannot be found - rail"), pageTitled("CANNOT FIND SERVER rail"),
          pageTitled(""), QByteArray("<html>rail</html>"), QByteArray("<title>rail")}) {
        const Result<SaveOutcome> saved =
            store.SaveTaxonomy(QStringLiteral("http://a.test/"), html);
        ASSERT_TRUE(saved);
        EXPECT_FALSE(saved->stored()) << html.toStdString();
        EXPECT_FALSE(saved->skipped.isEmpty());
    }
    EXPECT_FALSE(QFileInfo::exists(kbFolder()));

    ASSERT_TRUE(store.SaveTaxonomy(QStringLiteral("http://a.test/"), pageTitled("Rail")));
    const Result<SaveOutcome> again =
        store.SaveTaxonomy(QStringLiteral("http://a.test/"), pageTitled("Rail"));
    ASSERT_TRUE(again);
    EXPECT_FALSE(again->stored());
    EXPECT_EQ(store.pageCounter(), 1);
    EXPECT_TRUE(store.storedAddresses().contains(QStringLiteral("http://a.test/")));
    store.clearStoredAddresses();
    const Result<SaveOutcome> afterClear =
        store.SaveTaxonomy(QStringLiteral("http://a.test/"), pageTitled("rail"));
    ASSERT_TRUE(afterClear);
    EXPECT_EQ(afterClear->pageNumber, 2);
}

TEST_F(Store, RootIsRecordedAsAFullPath)
{
    PageStoreSettings settings = store.settings();
    EXPECT_EQ(store.knowledgeBaseFolder(QStringLiteral("X")), home.file(QStringLiteral("KB/X")));
    settings.root += QLatin1Char('/');
    store.setSettings(settings);
    EXPECT_EQ(store.knowledgeBaseFolder(QStringLiteral("X")), home.file(QStringLiteral("KB/X")));

    // A relative root counts from the working folder once, when the page is stored; the
    // catalogue holds the full path, so the knowledge base is found from anywhere later.
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(home.path()));
    settings.root = QStringLiteral("./Rel/../KB2");
    store.setSettings(settings);
    const Result<SaveOutcome> saved =
        store.SaveTaxonomy(QStringLiteral("http://a.test/"), pageTitled("Rail"));
    QDir::setCurrent(before);
    ASSERT_TRUE(saved && saved->stored());
    EXPECT_EQ(recordTexts(CatalogueFiles::kbMailGroups()),
              QStringList({QStringLiteral("1@1@Travel-03-07-26-0905@") +
                           home.file(QStringLiteral("KB2/Travel-03-07-26-0905"))}));
}

TEST_F(Store, JoiningAKnowledgeBaseContinuesItsPageNumbersAndRepairsItsRecords)
{
    ASSERT_TRUE(store.SaveTaxonomy(QStringLiteral("http://one.test/a"), pageTitled("Rail")));
    ASSERT_TRUE(store.SaveTaxonomy(QStringLiteral("http://one.test/b"), pageTitled("Rail")));
    // A crash left a page file without its record, and the keyword folder of Europe without
    // its catalogue record.
    writeFile(kbFolder() + QStringLiteral("/Rail/5.htm"), "orphan");
    ASSERT_TRUE(QDir().mkpath(kbFolder() + QStringLiteral("/Europe")));

    // A second harvest of the same name within the same minute, against another site.
    PageStore second([this] { return now; });
    second.setSettings(store.settings());
    const Result<SaveOutcome> saved =
        second.SaveTaxonomy(QStringLiteral("http://two.test/a"), pageTitled("Europe by rail"));
    ASSERT_TRUE(saved);
    EXPECT_TRUE(saved->problems.isEmpty()) << saved->problems.join('\n').toStdString();
    EXPECT_EQ(saved->pageNumber, 6);
    EXPECT_EQ(second.pageCounter(), 1);
    EXPECT_EQ(readFile(kbFolder() + QStringLiteral("/Rail/1.htm")), pageTitled("Rail"));
    EXPECT_EQ(readFile(kbFolder() + QStringLiteral("/Rail/5.htm")), QByteArray("orphan"));
    EXPECT_EQ(
        recordTexts(kbFolder() + QStringLiteral("/Rail/index.qdx")),
        QStringList({"1##http://one.test/a", "2##http://one.test/b", "6##http://two.test/a"}));
    EXPECT_EQ(recordTexts(CatalogueFiles::kbMailGroups()).size(), 1);
    EXPECT_EQ(recordTexts(CatalogueFiles::kbKeywords()), QStringList({"1@1@Rail", "2@1@Europe"}));
    // Only finished pages are left in the folder.
    EXPECT_EQ(QDir(kbFolder() + QStringLiteral("/Rail"))
                  .entryList(QDir::Files | QDir::Hidden, QDir::Name),
              QStringList({"1.htm", "2.htm", "5.htm", "6.htm", "index.qdx"}));

    // A knowledge base deleted while the harvest runs is made and recorded again.
    ASSERT_TRUE(carryOut(KnowledgeBaseDeletion{1, kbFolder()}).problems.isEmpty());
    const Result<SaveOutcome> again =
        second.SaveTaxonomy(QStringLiteral("http://two.test/b"), pageTitled("Rail"));
    ASSERT_TRUE(again && again->stored());
    EXPECT_EQ(recordTexts(CatalogueFiles::kbKeywords()), QStringList({"1@1@Rail"}));
    EXPECT_TRUE(QFileInfo::exists(kbFolder() + QStringLiteral("/Rail/index.qdx")));
}

TEST_F(Store, ProblemsOfAStoreStepAreReported)
{
    PageStoreSettings settings = store.settings();
    settings.createFavorites = true;
    settings.favoritesFolder = home.file(QStringLiteral("not-a-folder"));
    writeFile(settings.favoritesFolder, "a file");
    store.setSettings(settings);
    const Result<SaveOutcome> favorites =
        store.SaveTaxonomy(QStringLiteral("http://a.test/"), pageTitled("Rail"));
    ASSERT_TRUE(favorites);
    EXPECT_TRUE(favorites->stored());
    ASSERT_FALSE(favorites->problems.isEmpty());
    EXPECT_TRUE(favorites->problems.first().startsWith(QStringLiteral("CreateMainFolders->")));

    settings.createFavorites = false;
    settings.root = home.file(QStringLiteral("not-a-folder/KB"));
    store.setSettings(settings);
    const Result<SaveOutcome> page =
        store.SaveTaxonomy(QStringLiteral("http://b.test/"), pageTitled("Rail"));
    ASSERT_TRUE(page);
    EXPECT_FALSE(page->stored());
    ASSERT_EQ(page->problems.size(), 1);
    EXPECT_TRUE(page->problems[0].startsWith(QStringLiteral("SavePage->Cannot create the folder")))
        << page->problems[0].toStdString();
}

TEST_F(Store, TimeStampIsKeptOnceTheFirstKnowledgeBaseIsRecorded)
{
    EXPECT_EQ(store.KnowledgeBaseName(), QStringLiteral("Travel-03-07-26-0905"));
    now = now.addSecs(60);
    EXPECT_EQ(store.KnowledgeBaseName(), QStringLiteral("Travel-03-07-26-0906"));
    ASSERT_TRUE(store.SaveTaxonomy(QStringLiteral("http://a.test/"), pageTitled("Rail")));
    now = now.addSecs(3600);
    EXPECT_EQ(store.KnowledgeBaseName(), QStringLiteral("Travel-03-07-26-0906"));
    ASSERT_TRUE(store.SaveTaxonomy(QStringLiteral("http://b.test/"), pageTitled("Rail")));
    EXPECT_EQ(recordTexts(CatalogueFiles::kbMailGroups()).size(), 1);
    EXPECT_EQ(
        recordTexts(home.file(QStringLiteral("KB/Travel-03-07-26-0906/Rail/index.qdx"))).size(), 2);
}

TEST_F(Store, ExistingMailGroupAndViewerNotification)
{
    PageStoreSettings settings = store.settings();
    settings.mailGroup = 7;
    store.setSettings(settings);
    QList<KnowledgeBaseRecord> created;
    store.onKnowledgeBaseCreated = [&](const KnowledgeBaseRecord &record) {
        created.append(record);
    };
    writeFile(CatalogueFiles::kbMailGroups(), storedFile({"4@1@Old@/old"}));
    ASSERT_TRUE(store.SaveTaxonomy(QStringLiteral("http://a.test/"), pageTitled("Rail")));
    ASSERT_EQ(created.size(), 1);
    EXPECT_EQ(created[0].number, 5);
    EXPECT_EQ(created[0].mailGroup, 7);
    EXPECT_EQ(store.currentKnowledgeBaseNumber(), 5);
    EXPECT_EQ(recordTexts(CatalogueFiles::kbKeywords()), QStringList({"1@5@Rail"}));
}

TEST_F(Store, FavoritesMirrorTheTreeWithOneShortcutPerSite)
{
    PageStoreSettings settings = store.settings();
    settings.createFavorites = true;
    store.setSettings(settings);
    ASSERT_TRUE(
        store.SaveTaxonomy(QStringLiteral("http://www.rail.test/a/b.html"), pageTitled("Rail")));
    const QString shortcut =
        home.file(QStringLiteral("Favorites/Travel-03-07-26-0905/Rail/www.rail.test.url"));
    EXPECT_EQ(readFile(shortcut), QByteArray("[InternetShortcut]\r\nURL=www.rail.test"));

    // An existing shortcut is left alone; a hostile site name stays inside the folder.
    writeFile(shortcut, "mine");
    ASSERT_TRUE(store.SaveTaxonomy(QStringLiteral("http://www.rail.test/c"), pageTitled("Rail")));
    EXPECT_EQ(readFile(shortcut), QByteArray("mine"));
    ASSERT_TRUE(QDir().mkpath(home.file(QStringLiteral("Fav"))));
    ASSERT_TRUE(PageStore::SaveFavorites(home.file(QStringLiteral("Fav")),
                                         QStringLiteral("..\\..\\CON:x")));
    EXPECT_EQ(QDir(home.file(QStringLiteral("Fav"))).entryList(QDir::Files),
              QStringList({"_.._CON_x.url"}));
    ASSERT_TRUE(PageStore::SaveFavorites(home.file(QStringLiteral("Fav")), QStringLiteral("nul")));
    EXPECT_TRUE(QFileInfo::exists(home.file(QStringLiteral("Fav/_nul.url"))));
    // A site name longer than a file name may be is cut to fit, whatever its characters.
    ASSERT_TRUE(
        PageStore::SaveFavorites(home.file(QStringLiteral("Fav")), QString(199, QChar(0xE9))));

    // Secure sites are named by their host, each with a shortcut of its own.
    ASSERT_TRUE(store.SaveTaxonomy(QStringLiteral("https://secure.test/a"), pageTitled("Rail")));
    ASSERT_TRUE(store.SaveTaxonomy(QStringLiteral("HTTPS://other.test"), pageTitled("Rail")));
    const QString rail = home.file(QStringLiteral("Favorites/Travel-03-07-26-0905/Rail/"));
    EXPECT_EQ(readFile(rail + QStringLiteral("secure.test.url")),
              QByteArray("[InternetShortcut]\r\nURL=secure.test"));
    EXPECT_TRUE(QFileInfo::exists(rail + QStringLiteral("other.test.url")));
    EXPECT_EQ(siteOfAddress(QStringLiteral("http://host:8080/x")), QStringLiteral("host:8080"));
}

TEST_F(Store, RefusesNamesThatWouldEscapeTheRoot)
{
    PageStoreSettings settings = store.settings();
    settings.baseName = QStringLiteral("../x");
    store.setSettings(settings);
    const Result<int> base =
        store.SavePage(QStringLiteral("http://a.test/"), QStringLiteral("Rail"), "<x>");
    ASSERT_FALSE(base);
    EXPECT_TRUE(base.message().startsWith(QStringLiteral("SavePage->Knowledge base name")));
    settings.baseName = QStringLiteral("Travel");
    store.setSettings(settings);
    const Result<int> term =
        store.SavePage(QStringLiteral("http://a.test/"), QStringLiteral(".."), "<x>");
    ASSERT_FALSE(term);
    EXPECT_TRUE(term.message().startsWith(QStringLiteral("SavePage->Taxonomy term")));
    EXPECT_FALSE(QFileInfo::exists(home.file(QStringLiteral("KB"))));
}

TEST(KnowledgeBaseNames, AreCheckedBeforeTheRunWithTheFaultNamed)
{
    TempDataFolder home;
    const QString root = home.file(QStringLiteral("KB"));
    const QStringList terms = {QStringLiteral("Birds"), QString::fromUtf8("Caf\u00e9")};
    EXPECT_TRUE(checkKnowledgeBaseNames(root, QStringLiteral(" Birds "), terms));
    EXPECT_TRUE(checkKnowledgeBaseNames(QStringLiteral("relative/KB"), QStringLiteral("B"), terms));

    const auto refused = [&](const QString &r, const QString &base, const QStringList &t,
                             const char *expected) {
        const Result<void> checked = checkKnowledgeBaseNames(r, base, t);
        EXPECT_FALSE(checked) << base.toStdString();
        EXPECT_TRUE(!checked && checked.message().contains(QLatin1String(expected)))
            << (checked ? "" : checked.message().toStdString());
    };
    refused(root, QStringLiteral("a@b"), terms, "\"@\"");
    refused(root, QString(190, QLatin1Char('n')), terms, "at most 186 characters");
    // 130 characters, 260 bytes in UTF-8 once the date and time are added.
    refused(root, QString(123, QChar(0xE9)), terms, "bytes on disk");
    refused(root, QStringLiteral("   "), terms, "cannot be empty");
    refused(root, QStringLiteral("B"), {QStringLiteral("../Birds")}, "Taxonomy term \"../Birds\"");
    refused(root, QStringLiteral("B"), {QString(150, QChar(0xE9))}, "300 bytes on disk");
    refused(root, QStringLiteral("B"), {QStringLiteral("Rock@Pop")}, "\"@\"");
    refused(root, QStringLiteral("B"), {QStringLiteral("NUL")}, "device");
    refused(QStringLiteral("  "), QStringLiteral("B"), terms, "Please choose");
    refused(home.file(QString::fromUtf8("\u4e2d")), QStringLiteral("B"), terms,
            "knowledge-base folder");
    refused(home.file(QString(256, QLatin1Char('r'))), QStringLiteral("B"), terms,
            "longer than 255 bytes");
}

TEST_F(Store, AddressOutsideTheCodePageIsIndexedPercentEncoded)
{
    ASSERT_TRUE(store.SaveTaxonomy(QStringLiteral("http://a.test/\u4e2d"), pageTitled("Rail")));
    EXPECT_EQ(recordTexts(kbFolder() + QStringLiteral("/Rail/index.qdx")),
              QStringList({"1##http://a.test/%E4%B8%AD"}));
}

TEST_F(Store, TitleIsReadInTheEncodingOfTheWholePage)
{
    PageStoreSettings settings = store.settings();
    settings.selectedTerms = {QString::fromUtf8("Caf\u00e9")};
    store.setSettings(settings);
    const auto stored = [&](const char *address, const QByteArray &html) {
        const Result<SaveOutcome> saved = store.SaveTaxonomy(QLatin1String(address), html);
        return saved && saved->stored();
    };
    EXPECT_TRUE(stored("http://a.test/", pageTitled("Caf\xC3\xA9 menu")));
    EXPECT_TRUE(stored("http://b.test/", pageTitled("Caf\xE9 menu"))) << "Windows-1252";
    // One byte that is not UTF-8, far from the title, makes the whole page Windows-1252.
    EXPECT_FALSE(stored("http://c.test/", pageTitled("Caf\xC3\xA9") + "<p>\x93hi\x94</p>"));
    EXPECT_EQ(recordTexts(kbFolder() + QString::fromUtf8("/Caf\u00e9/index.qdx")),
              QStringList({"1##http://a.test/", "2##http://b.test/"}));
}

TEST(PageTitle, FirstTitleInAnyLetterCaseDecodedLikeItsPage)
{
    EXPECT_EQ(pageTitle("<TiTlE>One</tItLe><title>Two</title>"), QStringLiteral("One"));
    EXPECT_EQ(pageTitle("<title></title>"), QString());
    EXPECT_EQ(pageTitle("<title>open"), std::nullopt);
    EXPECT_EQ(pageTitle("no title</title>"), std::nullopt);
    EXPECT_EQ(pageTitle("\xEF\xBB\xBF<title>\xE2\x82\xAC 5</title>"),
              QString::fromUtf8("\u20ac 5"));
    EXPECT_EQ(pageTitle("<title>\x80 5</title>\xFF"), QString::fromUtf8("\u20ac 5"));
    EXPECT_EQ(pageTitle("<title>\xEF\xBB\xBFx</title>"), QString(QChar(0xFEFF)) + QLatin1Char('x'))
        << "a byte-order mark counts only at the start of the page";
    // Letters that only look alike in another encoding do not make a tag.
    EXPECT_EQ(pageTitle("<t\xC3\x8Dtle>x</title>"), std::nullopt);
}

TEST(DiskSpace, WarnsAtFiveMegabytesOrLess)
{
    const auto answering = [](qint64 bytes) {
        return [bytes](const QString &) { return Result<qint64>(bytes); };
    };
    const Result<std::optional<QString>> low =
        GetDiskSpace(QStringLiteral("/"), answering(5000000));
    ASSERT_TRUE(low);
    EXPECT_EQ(low->value_or(QString()),
              QStringLiteral("Insufficient hard disk space (below 5 MB)"));
    const Result<std::optional<QString>> enough =
        GetDiskSpace(QStringLiteral("/"), answering(5000001));
    ASSERT_TRUE(enough);
    EXPECT_FALSE(enough->has_value());
    const Result<std::optional<QString>> broken =
        GetDiskSpace(QStringLiteral("/"), [](const QString &) {
            return Result<qint64>(fail(QStringLiteral("bad drive")));
        });
    ASSERT_FALSE(broken);
    EXPECT_EQ(broken.message(), QStringLiteral("GetDiskSpace->bad drive"));

    // A root that does not exist yet is measured on its nearest existing parent.
    TempDataFolder home;
    const Result<std::optional<QString>> real =
        GetDiskSpace(home.file(QStringLiteral("not/yet/there")));
    EXPECT_TRUE(real) << real.message().toStdString();
    EXPECT_EQ(driveRootOf(QStringLiteral("C:\\KB\\x")), QStringLiteral("C:\\"));
    EXPECT_EQ(driveRootOf(QStringLiteral("/home/u/KB")), QStringLiteral("/home/u/KB"));
}
