#include "exchange/BookmarkImport.h"

#include "support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

QString fixture()
{
    return sourceDir() + "/tests/exchange/fixtures/bookmarks.html";
}

// The address list the main window holds while importing: search-engine option off.
struct ImportWindow
{
    AnalysisContext ctx;
    ImportWindow(CrawlProfile profile = CrawlProfile::Classic)
    {
        ctx.profile = profile;
        ctx.searchEngineSelected = false;
    }
};

const QStringList kClassic{"http://www.example.com/suppliers.html",
                           "http://directory.example.net/category?id=42&amp;page=2",
                           "http://www.example.co.uk/contact-us",
                           "http://www.example.com/suppliers.html"};

} // namespace

TEST(BookmarkImport, BrowserExportGivesItsWebAddressesInFileOrder)
{
    ImportWindow window;
    auto added = BookmarkImport::run(window.ctx, fixture());
    ASSERT_TRUE(added.ok());
    // Searches with "+" in them, mailto, ftp and bookmarklets are no start addresses;
    // duplicates stay.
    EXPECT_EQ(window.ctx.lstURLList.texts(), kClassic);
    EXPECT_EQ(added.value(), kClassic.size());
    // Every anchor's value is kept, the upper-case HREF ones included; the "href=" inside
    // the bookmarklet's script lies within its anchor and starts none.
    EXPECT_EQ(window.ctx.anchorValues.size(), 10);

    // Importing again lists them again.
    ASSERT_TRUE(BookmarkImport::run(window.ctx, fixture()).ok());
    EXPECT_EQ(window.ctx.lstURLList.count(), 2 * kClassic.size());
}

TEST(BookmarkImport, ModernProfileAlsoTakesHttps)
{
    ImportWindow window(CrawlProfile::Modern);
    ASSERT_TRUE(BookmarkImport::run(window.ctx, fixture()).ok());
    const QStringList urls = window.ctx.lstURLList.texts();
    EXPECT_EQ(urls.size(), 6);
    EXPECT_TRUE(urls.contains("https://news.example.org/world/"));
    EXPECT_TRUE(urls.contains("https://secure.example.com/login"));
}

TEST(BookmarkImport, AnchorWithoutCloseEndsTheWalk)
{
    QTemporaryDir dir;
    writeFile(dir.filePath("b.htm"), "<A HREF=\"http://one.example.com/\">1</A>"
                                     "<a href=\"http://two.example.com/\">2"
                                     "<a href=\"http://three.example.com/\">3</a>"
                                     "<a href=\"http://four.example.com/\">4");
    ImportWindow window;
    ASSERT_TRUE(BookmarkImport::run(window.ctx, dir.filePath("b.htm")).ok());
    // "two" runs up to the "</a>" of three; "four" has no close and ends the walk.
    EXPECT_EQ(window.ctx.lstURLList.texts(),
              QStringList({"http://one.example.com/", "http://two.example.com/"}));
}

TEST(BookmarkImport, EmptyPathSaysSoAndMissingFileAddsNothing)
{
    ImportWindow window;
    EXPECT_EQ(BookmarkImport::run(window.ctx, "   ").message(), BookmarkImport::kEmptyPathMessage);
    auto missing = BookmarkImport::run(window.ctx, "/no/such/bookmarks.html");
    ASSERT_TRUE(missing.ok());
    EXPECT_EQ(missing.value(), 0);
    EXPECT_TRUE(window.ctx.lstURLList.isEmpty());
}

TEST(ImportBookmarksCommand, PrintsTheUrls)
{
    QTemporaryDir home;
    QByteArray out, err;
    ASSERT_EQ(runProgram("corvane-cli", {"--home", home.path(), "import-bookmarks", fixture()},
                         &out, &err),
              0)
        << err.constData();
    EXPECT_EQ(out, kClassic.join('\n').toUtf8() + '\n');
    ASSERT_EQ(
        runProgram("corvane-cli",
                   {"--home", home.path(), "import-bookmarks", "--profile", "modern", fixture()},
                   &out),
        0);
    EXPECT_EQ(out.count('\n'), 6);
    for (const QStringList &args :
         {QStringList{}, QStringList{"/no/such.html"}, QStringList{fixture(), "--profile", "x"}}) {
        EXPECT_EQ(runProgram("corvane-cli",
                             QStringList{"--home", home.path(), "import-bookmarks"} + args, &out,
                             &err),
                  2);
        EXPECT_EQ(err.count('\n'), 1);
    }
}
