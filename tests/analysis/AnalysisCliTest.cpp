// corvane-cli extract and links, as scripts call them.

#include "support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace corvane::test;

namespace {

struct Cli
{
    QTemporaryDir home;
    QByteArray out;
    QByteArray err;

    int run(QStringList args, const QByteArray &input = {})
    {
        out.clear();
        err.clear();
        return runProgram("corvane-cli", QStringList{"--home", home.path()} + args, &out, &err,
                          input);
    }

    QString page(const QByteArray &content)
    {
        const QString path = home.filePath("page.html");
        writeFile(path, content);
        return path;
    }
};

} // namespace

TEST(ExtractCommand, PrintsAcceptedLeadsInOrder)
{
    Cli cli;
    const QString page =
        cli.page("<a href=\"mailto:Info@Firm.com\">x</a> sales@shop.de info@firm.com "
                 "Info@Firm.com noreply@x.co.uk bad@host.qqq a@b");
    ASSERT_EQ(cli.run({"extract", page}), 0) << cli.err.constData();
    EXPECT_EQ(cli.out, "Info@Firm.com\nsales@shop.de\ninfo@firm.com\nnoreply@x.co.uk\n");
    EXPECT_TRUE(cli.err.isEmpty());

    ASSERT_EQ(cli.run({"extract", "--filter-list", ".de#", "-"}, "x@y.com z@w.de"), 0);
    EXPECT_EQ(cli.out, "z@w.de\n");
    ASSERT_EQ(cli.run({"extract", "--filter-list", "", "-"}, "x@y.com"), 0);
    EXPECT_EQ(cli.out, "") << "an empty list takes nothing";
}

TEST(ExtractCommand, UserFiltersAndLimit)
{
    Cli cli;
    const QString page = cli.page("info@a.com sales@b.com boss@spam.com x@c.com y@d.com");
    ASSERT_EQ(cli.run({"extract", "--exclude-domain", "SPAM", "--exclude-type", "info", page}), 0);
    EXPECT_EQ(cli.out, "sales@b.com\nx@c.com\ny@d.com\n");
    ASSERT_EQ(cli.run({"extract", "--include-type", "sales", "--include-type", "boss", page}), 0);
    EXPECT_EQ(cli.out, "sales@b.com\nboss@spam.com\n");
    ASSERT_EQ(cli.run({"extract", "--limit", "2", page}), 0);
    EXPECT_EQ(cli.out, "info@a.com\nsales@b.com\n");
}

TEST(ExtractCommand, BadCallsExitWithTwo)
{
    Cli cli;
    const QString page = cli.page("a@b.com");
    const QList<QStringList> bad = {
        {"extract", "--bogus", page},
        {"extract", cli.home.filePath("missing.html")},
        {"extract", cli.home.path()},
        {"extract", "--limit", "many", page},
        {"extract", "--include-type", "a", "--exclude-type", "b", page},
        {"extract", page, page},
    };
    for (const QStringList &args : bad) {
        EXPECT_EQ(cli.run(args), 2) << args.join(' ').toStdString();
        EXPECT_TRUE(cli.out.isEmpty());
        EXPECT_TRUE(cli.err.startsWith("corvane-cli: ")) << cli.err.constData();
        EXPECT_EQ(cli.err.count('\n'), 1);
    }
}

TEST(LinksCommand, EachModeAsTheCrawlCallsIt)
{
    Cli cli;
    const QString page =
        cli.page("<a href=\"sub/x.html\">x</a> <a href=\"http://Other.org/P.html\">p</a>"
                 " <a href=\"http://www.site.com/A.html\">a</a> <a href=\"../up.html\">u</a>");
    const QString url = "http://www.site.com/dir/page.html";
    ASSERT_EQ(cli.run({"links", "--mode", "start", "--url", url, page}), 0) << cli.err.constData();
    EXPECT_EQ(
        cli.out,
        "http://www.site.com/dir/sub/x.html\nhttp://Other.org/P.html\nhttp://www.site.com/A.html\n"
        "http://www.site.com/dir/up.html\n");
    ASSERT_EQ(cli.run({"links", "--mode", "start-details", "--url", url, page}), 0);
    EXPECT_EQ(cli.out, "http://www.site.com/sub/x.html\nhttp://www.site.com/A.html\nhttp://"
                       "www.site.com/up.html\n");
    ASSERT_EQ(cli.run({"links", "--mode", "results", "--url", url, page}), 0);
    EXPECT_EQ(cli.out, "http://other.org/p.html\nhttp://www.site.com/a.html\n");
    ASSERT_EQ(
        cli.run({"links", "--mode", "details", "--url", url, "--exclude-domain", "/up", page}), 0);
    EXPECT_EQ(cli.out, "http://www.site.com/sub/x.html\nhttp://www.site.com/a.html\n");
}

TEST(LinksCommand, ProfileAndStandardInput)
{
    Cli cli;
    const QByteArray page = "<a href=\"https://s.com/a.html\">a</a>";
    ASSERT_EQ(cli.run({"links", "--mode", "results", "--url", "https://s.com/", "-"}, page), 0);
    EXPECT_EQ(cli.out, "");
    ASSERT_EQ(
        cli.run({"links", "--mode", "results", "--url", "https://s.com/", "--profile", "modern"},
                page),
        0);
    EXPECT_EQ(cli.out, "https://s.com/a.html\n");
}

TEST(LinksCommand, BadCallsExitWithTwo)
{
    Cli cli;
    const QString page = cli.page("x");
    const QList<QStringList> bad = {
        {"links", "--url", "http://a.com/", page},
        {"links", "--mode", "sideways", "--url", "http://a.com/", page},
        {"links", "--mode", "start", page},
        {"links", "--mode", "start", "--url", "http://a.com/", "--profile", "future", page},
        {"links", "--mode", "start", "--url", "http://a.com/", cli.home.filePath("none.html")},
        {"links", "--mode", "start", "--url", "http://a.com/", "--what", page},
    };
    for (const QStringList &args : bad) {
        EXPECT_EQ(cli.run(args), 2) << args.join(' ').toStdString();
        EXPECT_TRUE(cli.err.startsWith("corvane-cli: ")) << cli.err.constData();
    }
}
