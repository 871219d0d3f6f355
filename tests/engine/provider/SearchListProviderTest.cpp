#include "support/TestSupport.h"

#include "engine/CurlDownloader.h"
#include "engine/DemoWebServer.h"
#include "engine/SearchListProvider.h"
#include "scan/LeadsScan.h"

#include <QTest>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

class SearchListProviderTest : public ::testing::Test
{
protected:
    void TearDown() override { SearchListProvider::setDemoHost(QString()); }
    TempDataFolder home;
};

QStringList entriesOf(const QString &list)
{
    return list.split(QLatin1Char('#'), Qt::SkipEmptyParts);
}

TEST_F(SearchListProviderTest, BundledListClosesEveryEntryAndHidesDemoUntilItRuns)
{
    SearchListProvider provider;
    const QString list = provider.GetEngineList();
    ASSERT_FALSE(list.isEmpty());
    EXPECT_TRUE(list.endsWith(QLatin1Char('#')));
    for (const QString &entry : entriesOf(list)) {
        EXPECT_GT(entry.indexOf(QLatin1Char('$')), 0) << entry.toStdString();
        EXPECT_TRUE(entry.section(QLatin1Char('$'), 1).startsWith(QLatin1String("http://")));
    }
    EXPECT_FALSE(list.contains(QLatin1String("Demo$")));
    EXPECT_FALSE(list.contains(QLatin1String("{{HOST}}")));
    const int without = entriesOf(list).size();

    SearchListProvider::setDemoHost(QStringLiteral("127.0.0.1:4321"));
    const QStringList with = entriesOf(provider.GetEngineList());
    ASSERT_EQ(with.size(), without + 1);
    EXPECT_EQ(with.last(), QStringLiteral("Demo$http://127.0.0.1:4321/search/"));
    // The engines before it keep their numbers.
    EXPECT_EQ(with.mid(0, without), entriesOf(list));
}

TEST_F(SearchListProviderTest, QueryAddressesCarryKeywordAndPage)
{
    SearchListProvider::setDemoHost(QStringLiteral("127.0.0.1:4321"));
    SearchListProvider provider;
    const int demo = entriesOf(provider.GetEngineList()).size();
    EXPECT_EQ(provider.BuildQueryURL(0, demo, QStringLiteral("  garden tools ")),
              QStringLiteral("http://127.0.0.1:4321/search/results0.htm?q=garden+tools"));
    EXPECT_EQ(provider.BuildQueryURL(2, demo, QStringLiteral("a&b=c")),
              QStringLiteral("http://127.0.0.1:4321/search/results2.htm?q=a%26b%3Dc"));
    EXPECT_TRUE(provider.BuildQueryURL(3, demo, QStringLiteral("tools")).isEmpty()); // past last
    EXPECT_TRUE(provider.BuildQueryURL(-1, demo, QStringLiteral("tools")).isEmpty());
    EXPECT_TRUE(provider.BuildQueryURL(0, demo, QStringLiteral("   ")).isEmpty());
    EXPECT_TRUE(provider.BuildQueryURL(0, 0, QStringLiteral("tools")).isEmpty());
    EXPECT_TRUE(provider.BuildQueryURL(0, demo + 1, QStringLiteral("tools")).isEmpty());
    // Every bundled engine answers its first page.
    for (int n = 1; n <= demo; ++n)
        EXPECT_TRUE(
            provider.BuildQueryURL(0, n, QStringLiteral("x")).startsWith(QLatin1String("http://")));
}

TEST_F(SearchListProviderTest, DataFolderCopyOverridesAndPlaceholdersFill)
{
    writeFile(home.file(QStringLiteral("search/engines.txt")),
              "; mine\nOne$first/#Two$second/#\nThree$third/#");
    writeFile(home.file(QStringLiteral("search/queries.txt")),
              "two$http://two.test/s?q={keyword}&p={page}&p1={page1}&o={offset}&f={first}$5\n"
              "broken line without template\nThree$http://three.test/{keyword}\n");
    SearchListProvider provider;
    EXPECT_EQ(provider.GetEngineList(), QStringLiteral("One$first/#Two$second/#Three$third/#"));
    EXPECT_TRUE(provider.BuildQueryURL(0, 1, QStringLiteral("x")).isEmpty()); // no template
    EXPECT_EQ(provider.BuildQueryURL(3, 2, QStringLiteral("x")),
              QStringLiteral("http://two.test/s?q=x&p=3&p1=4&o=30&f=31"));
    EXPECT_TRUE(provider.BuildQueryURL(6, 2, QStringLiteral("x")).isEmpty());
    EXPECT_EQ(provider.BuildQueryURL(49, 3, QStringLiteral("x")),
              QStringLiteral("http://three.test/x"));
}

TEST_F(SearchListProviderTest, RefreshFallsBackToBundledListWhenTheCopyIsEmpty)
{
    writeFile(home.file(QStringLiteral("search/engines.txt")), "; nothing here\n");
    SearchListProvider provider;
    EXPECT_TRUE(provider.GetEngineList().isEmpty());
    provider.RefreshEngineList();
    EXPECT_TRUE(provider.GetEngineList().contains(QLatin1String("Google$")));

    // A refresh reads a changed copy again.
    writeFile(home.file(QStringLiteral("search/engines.txt")), "Only$http://only.test/#");
    provider.RefreshEngineList();
    EXPECT_EQ(provider.GetEngineList(), QStringLiteral("Only$http://only.test/#"));
}

// harvest (the provider), extract (the bundled list) and scan (the leads scan over it) read
// the data folder's address filter file alike: comments, blank lines, tabs, "#" or line ends.
TEST_F(SearchListProviderTest, EveryCommandReadsTheAddressFilterFileAlike)
{
    writeFile(home.file(QStringLiteral("search/address-filters.txt")),
              "; endings we take\r\n\t.com#\n.net\t# .org#\n\n  .de  \n");
    const QStringList fragments{".com", ".net", ".org", ".de"};
    SearchListProvider provider;
    EXPECT_EQ(provider.GetAddressFilterList(), QStringLiteral(".com#.net#.org#.de#"));
    EXPECT_EQ(AddressFilterList(provider.GetAddressFilterList()).fragments(), fragments);
    EXPECT_EQ(AddressFilterList::bundled().fragments(), fragments);
    LeadsScan scan(AddressFilterList::bundled());
    writeFile(home.file(QStringLiteral("page.txt")), "a@b.com c@d.ca e@f.de");
    ASSERT_TRUE(scan.runFileScan(home.file(QStringLiteral("page.txt"))));
    EXPECT_EQ(scan.leads().texts(), (QStringList{"a@b.com", "e@f.de"}));

    writeFile(home.file(QStringLiteral("search/address-filters.txt")), "");
    EXPECT_EQ(provider.GetAddressFilterList(), QStringLiteral(".com#.net#.org#.de#")); // kept
    provider.RefreshAddressFilterList();
    // The empty copy gives way to the bundled list, whatever it holds.
    const QString bundled = provider.GetAddressFilterList();
    EXPECT_TRUE(bundled.isEmpty() || bundled.endsWith(QLatin1Char('#')));
    EXPECT_FALSE(bundled.contains(QLatin1String("##")));
}

// The demo engine's result pages, fetched from the running demo web, lead to its sites.
TEST_F(SearchListProviderTest, DemoEngineResultPagesLinkToTheDemoSites)
{
    DemoWebServer server;
    ASSERT_TRUE(server.start());
    SearchListProvider::setDemoHost(server.hostAndPort());
    SearchListProvider provider;
    const QStringList engines = entriesOf(provider.GetEngineList());
    ASSERT_TRUE(engines.last().startsWith(QLatin1String("Demo$")));
    const int demo = engines.size();

    CurlDownloader downloader;
    QList<QByteArray> pages;
    QObject::connect(&downloader, &PageDownloader::DownloadComplete,
                     [&](int, const QString &, const QByteArray &body) { pages.append(body); });
    for (int page = 0; !provider.BuildQueryURL(page, demo, QStringLiteral("tools")).isEmpty();
         ++page)
        downloader.Download(provider.BuildQueryURL(page, demo, QStringLiteral("tools")), 20000, 1);
    ASSERT_EQ(downloader.inFlight(), 3);
    ASSERT_TRUE(QTest::qWaitFor([&] { return pages.size() == 3; }, 60000));
    const QByteArray all = pages.join();
    for (const char *site : {"/acme/", "/birchwood/", "/coastal/"})
        EXPECT_TRUE(all.contains("http://" + server.hostAndPort().toLatin1() + site)) << site;
}

} // namespace
