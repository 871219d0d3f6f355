// Link extraction in start-URL mode (link pattern) and search-engine mode (anchors).

#include "analysis/AnalysisContext.h"
#include "analysis/PageAnalyser.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace corvane;

namespace {

QString href(const QString &value)
{
    return QStringLiteral("<a href=\"%1\">x</a>\n").arg(value);
}

} // namespace

TEST(MakeBaseURL, CutsThePageURLToItsDirectory)
{
    EXPECT_EQ(PageAnalyser::MakeBaseURL("http://host.com"), "http://host.com")
        << "no path: unchanged";
    EXPECT_EQ(PageAnalyser::MakeBaseURL("http://host.com/"), "http://host.com")
        << "a lone / is dropped";
    EXPECT_EQ(PageAnalyser::MakeBaseURL("http://host.com/a/b.html"), "http://host.com/a");
    EXPECT_EQ(PageAnalyser::MakeBaseURL("http://host.com/a/"), "http://host.com/a");
    EXPECT_EQ(PageAnalyser::MakeBaseURL("HTTP://Host.com/A/b.html"), "HTTP://Host.com/A")
        << "letter case kept";
    EXPECT_EQ(PageAnalyser::MakeBaseURL("http://host.com/a//b.html"), "")
        << "a // after the scheme";
    EXPECT_EQ(PageAnalyser::MakeBaseURL("http://h.com/r?u=http://x.com/y"), "");
    EXPECT_EQ(PageAnalyser::MakeBaseURL(""), "");
    EXPECT_EQ(PageAnalyser::MakeBaseURL("a/b"), "a/b") << "slash before position 8";
}

TEST(MakeBaseURL, SecureSchemeOnlyUnderModernProfile)
{
    EXPECT_EQ(PageAnalyser::MakeBaseURL("https://host.com/a/b.html"), "https://host.com/a");
    // Classic reads the second slash of "https://" as the path.
    EXPECT_EQ(PageAnalyser::MakeBaseURL("https://host.com"), "https:/");
    EXPECT_EQ(PageAnalyser::MakeBaseURL("https://host.com", CrawlProfile::Modern),
              "https://host.com");
    EXPECT_EQ(PageAnalyser::MakeBaseURL("https://host.com/", CrawlProfile::Modern),
              "https://host.com");
    EXPECT_EQ(PageAnalyser::MakeBaseURL("https://host.com/a//b", CrawlProfile::Modern), "");
}

TEST(StartPageLinks, RelativeFormsJoinTheBaseDirectory)
{
    AnalysisContext ctx;
    PageAnalyser extractor(ctx);
    const QString base = "http://h.com/dir";
    const QString page = href("/x.html") + href("../y.html") + href("z.html") + href("sub/w.htm") +
                         href("page.html#frag") + href("#top.html") + "<a HREF=\"UP.HTML\">" +
                         "<a href='single.html'>" + "<a href=\"nodot\">" + "<a href=\"a.\">";
    EXPECT_EQ(extractor.FetchURLLinks(page, base), "Sucess");
    EXPECT_EQ(ctx.lstResult.texts(),
              QStringList({"http://h.com/dir/x.html", "http://h.com/dir/y.html",
                           "http://h.com/dir/z.html", "http://h.com/dir/sub/w.htm",
                           "http://h.com/dir/page.html", "http://h.com/dir/UP.HTML"}));
    EXPECT_EQ(ctx.baseURL, base);
}

TEST(StartPageLinks, AbsoluteAndMailLinks)
{
    AnalysisContext ctx;
    PageAnalyser extractor(ctx);
    const QString page = href("http://other.org/p.html") + href("HTTP://Up.org/Q.html") +
                         href("mailto:a@b.com") + href("http://a.com/x@y.html") +
                         href("https://s.com/a.html");
    extractor.FetchURLLinks(page, "http://h.com");
    EXPECT_EQ(ctx.lstResult.texts(), QStringList({"http://other.org/p.html", "HTTP://Up.org/Q.html",
                                                  "http://h.com/https://s.com/a.html"}))
        << "https counts as relative under classic";

    AnalysisContext modern;
    modern.profile = CrawlProfile::Modern;
    PageAnalyser(modern).FetchURLLinks(href("https://s.com/a.html"), "http://h.com");
    EXPECT_EQ(modern.lstResult.texts(), QStringList({"https://s.com/a.html"}));

    AnalysisContext atBase;
    PageAnalyser(atBase).FetchURLLinks(href("x.html") + href("http://ok.com/a.html"),
                                       "http://u@h.com");
    EXPECT_EQ(atBase.lstResult.texts(), QStringList({"http://ok.com/a.html"}))
        << "base with @ drops relative links";
}

TEST(StartPageLinks, NoFilterOrSameSiteRuleOnTheStartPage)
{
    AnalysisContext ctx;
    ctx.filters.excludedDomains = {QStringLiteral("other")};
    PageAnalyser(ctx).FetchURLLinks(href("http://other.org/p.html"), "http://h.com");
    EXPECT_EQ(ctx.lstResult.count(), 1);
}

TEST(SeenUrls, OneSetAcrossExtractorsAndCaseSensitive)
{
    AnalysisContext ctx;
    PageAnalyser first(ctx);
    PageAnalyser second(ctx);
    first.FetchURLLinks(href("http://h.com/a.html") + href("http://h.com/a.html"), "http://h.com");
    second.FetchURLDetails(href("http://h.com/a.html") + href("http://h.com/A.html"),
                           "http://h.com/x");
    EXPECT_EQ(ctx.lstResult.texts(), QStringList({"http://h.com/a.html"}));
    EXPECT_EQ(ctx.lstDetails.texts(), QStringList({"http://h.com/A.html"}));
    EXPECT_TRUE(ctx.seenUrls.contains("http://h.com/A.html"));
    EXPECT_EQ(ctx.seenUrls.count(), 2);
}

TEST(StartDetailLinks, StayOnTheHostAndResolveAgainstIt)
{
    AnalysisContext ctx;
    ctx.filters.excludedDomains = {QStringLiteral("ADS")};
    PageAnalyser extractor(ctx);
    const QString page = href("sub/x.html") + href("/root.html") + href("../up.html") +
                         href("http://other.org/a.html") + href("http://H.COM/b.html") +
                         href("http://h.com/ads/c.html") + href("ads/d.html") +
                         href("mailto:m@h.com") + href("http://other.org/?u=http://h.com/x.html");
    EXPECT_EQ(extractor.FetchURLDetails(page, "http://h.com/deep/dir"), "Sucess");
    EXPECT_EQ(
        ctx.lstDetails.texts(),
        QStringList({"http://h.com/sub/x.html", "http://h.com/root.html", "http://h.com/up.html",
                     "http://H.COM/b.html", "http://other.org/?u=http://h.com/x.html"}))
        << "same site is a substring test on the whole link";
    EXPECT_TRUE(ctx.lstResult.isEmpty());
}

TEST(StartDetailLinks, BareWwwLinkIsNeverListed)
{
    AnalysisContext ctx;
    PageAnalyser(ctx).FetchURLDetails(href("http://www. ") + href("http://www.x.com"),
                                      "http://www.");
    EXPECT_EQ(ctx.lstDetails.texts(), QStringList({"http://www.x.com"}));
}

TEST(StartDetailLinks, SecureHostUnderModernProfile)
{
    AnalysisContext ctx;
    ctx.profile = CrawlProfile::Modern;
    PageAnalyser(ctx).FetchURLDetails(href("a/b.html") + href("https://s.com/c.html") +
                                          href("http://t.com/d.html"),
                                      "https://s.com/dir");
    EXPECT_EQ(ctx.lstDetails.texts(),
              QStringList({"https://s.com/a/b.html", "https://s.com/c.html"}));
}

TEST(ResultPageLinks, OnlyAbsoluteHttpLowerCased)
{
    AnalysisContext ctx;
    ctx.firstPagePending = true;
    PageAnalyser extractor(ctx);
    const QString page = href("http://Result.com/Page.html") + href("http://a.com/q?x+y") +
                         href("https://s.com/") + href("/relative.html") + href("mailto:x@y.com") +
                         "<a href=http://bare.com/b.html>b</a>" +
                         href("http://result.com/page.html") + href("http://ads.com/x");
    ctx.filters.excludedDomains = {QStringLiteral("Ads.")};
    EXPECT_EQ(extractor.FetchLinks(page, "ignored"), QString());
    EXPECT_EQ(ctx.lstResult.texts(),
              QStringList({"http://result.com/page.html", "http://bare.com/b.html"}));
    EXPECT_EQ(ctx.parseMode, 1);
    EXPECT_EQ(ctx.resultCount, 2);
    EXPECT_FALSE(ctx.firstPagePending);
    EXPECT_EQ(ctx.anchorValue(1), "http://result.com/page.html");
    EXPECT_EQ(ctx.anchorValue(3), "https://s.com/");
    EXPECT_EQ(ctx.anchorValues.size(), 8);
}

TEST(ResultPageLinks, EmptyResultKeepsTheFirstPagePending)
{
    AnalysisContext ctx;
    ctx.firstPagePending = true;
    PageAnalyser(ctx).FetchLinks(href("/only/relative.html"), QString());
    EXPECT_EQ(ctx.resultCount, 0);
    EXPECT_TRUE(ctx.firstPagePending);

    AnalysisContext modern;
    modern.profile = CrawlProfile::Modern;
    PageAnalyser(modern).FetchLinks(href("https://S.com/p"), QString());
    EXPECT_EQ(modern.lstResult.texts(), QStringList({"https://s.com/p"}));
}

TEST(ResultPageLinks, ModernUnwrapsRedirectLinksBeforeTheRules)
{
    const QString page =
        href("http://engine.com/url?sa=t&amp;q=http%3A%2F%2FFirm.com%2Fa%3Fp%3D1&amp;ved=9") +
        href("/url?q=https://shop.org/&sa=U") + // relative wrapper, secure target
        href("http://engine.com/"
             "r?u=http%3A%2F%2Fengine.com%2Fr%3Fu%3Dhttp%253A%252F%252Fdeep.net%252F") +
        href("http://engine.com/r?u=http%3A%2F%2Fa.com%2Fq%3Fx%2By") + // target has "+"
        href("http://engine.com/r?u=http%3A%2F%2Fads.com%2F") +        // excluded target
        href("http://engine.com/r?u=http://b.com/%.a%C3") + // loose escapes: kept as they are
        href("http://engine.com/search?q=lamps&page=2");    // carries no address
    AnalysisContext modern;
    modern.profile = CrawlProfile::Modern;
    modern.filters.excludedDomains = {QStringLiteral("ads.")};
    PageAnalyser(modern).FetchLinks(page, QString());
    EXPECT_EQ(modern.lstResult.texts(),
              QStringList({"http://firm.com/a?p=1", "https://shop.org/", "http://deep.net/",
                           "http://engine.com/r?u=http://b.com/%.a%c3",
                           "http://engine.com/search?q=lamps&page=2"}));

    AnalysisContext classic;
    classic.filters.excludedDomains = {QStringLiteral("ads.")};
    PageAnalyser(classic).FetchLinks(page, QString());
    EXPECT_EQ(classic.lstResult.count(), 5) << "classic lists the wrappers themselves";
    EXPECT_TRUE(classic.lstResult.texts().first().startsWith("http://engine.com/url?"));
}

TEST(DetailPageLinks, ResolveAgainstTheSiteRoot)
{
    AnalysisContext ctx;
    PageAnalyser extractor(ctx);
    QString base = "http://www.firm.com/dir/page.html";
    const QString page = href("../../a.html") + href("/../../b.html") + href("./c.html") +
                         href("../d.html") + href("e.html") + href("/f.html") +
                         href("http://www.firm.com/G.html");
    EXPECT_EQ(extractor.FetchDetails(page, base), QString());
    EXPECT_EQ(base, "http://www.firm.com") << "the caller's base is cut to the host";
    EXPECT_EQ(ctx.lstDetails.texts(),
              QStringList({"http://www.firm.com/a.html", "http://www.firm.com/b.html",
                           "http://www.firm.com/c.html", "http://www.firm.com/d.html",
                           "http://www.firm.com/e.html", "http://www.firm.com/f.html",
                           "http://www.firm.com/g.html"}));
    EXPECT_EQ(ctx.parseMode, 2);
}

TEST(DetailPageLinks, DroppedLinks)
{
    AnalysisContext ctx;
    ctx.filters.excludedDomains = {QStringLiteral("private")};
    PageAnalyser extractor(ctx);
    QString base = "http://www.firm.com/x";
    const QString page =
        href("http://other.com/a.html") + href("http://www.firm.com/file.ZIP") + href("style.css") +
        href("setup.Exe") + href("http://firm.com/r?u=http://evil.com") + href("javascript:go()") +
        href("a+b.html") + href("mailto:a@firm.com") + href("private/p.html") + href("ok.html");
    extractor.FetchDetails(page, base);
    EXPECT_EQ(ctx.lstDetails.texts(), QStringList({"http://www.firm.com/ok.html"}));
}

TEST(DetailPageLinks, TwoLabelHostKeepsOnlyTheLastLabelAsSite)
{
    AnalysisContext ctx;
    QString base = "http://firm.com/";
    PageAnalyser(ctx).FetchDetails(
        href("http://other.com/p.html") + href("http://other.org/q.html"), base);
    EXPECT_EQ(ctx.lstDetails.texts(), QStringList({"http://other.com/p.html"}));
}

TEST(DetailPageLinks, SecureSchemeOnlyUnderModernProfile)
{
    const QString page = href("https://www.firm.com/a.html") + href("b.html");
    AnalysisContext classic;
    QString classicBase = "https://www.firm.com/dir/p.html";
    PageAnalyser(classic).FetchDetails(page, classicBase);
    EXPECT_EQ(classicBase, "https:/");
    EXPECT_TRUE(classic.lstDetails.isEmpty());

    AnalysisContext modern;
    modern.profile = CrawlProfile::Modern;
    QString modernBase = "https://www.firm.com/dir/p.html";
    PageAnalyser(modern).FetchDetails(page, modernBase);
    EXPECT_EQ(modernBase, "https://www.firm.com");
    EXPECT_EQ(modern.lstDetails.texts(),
              QStringList({"https://www.firm.com/a.html", "https://www.firm.com/b.html"}));
}

TEST(HostileLinks, HugeInputsStayBoundedAndCorrect)
{
    // 10^5 anchors without "</a>": nothing is cut, the array keeps its one empty entry.
    QString open;
    for (int i = 0; i < 100000; ++i)
        open += QStringLiteral("<a href=\"http://h%1.com/\">").arg(i);
    AnalysisContext ctx;
    PageAnalyser extractor(ctx);
    extractor.FetchLinks(open, QString());
    EXPECT_TRUE(ctx.lstResult.isEmpty());
    EXPECT_EQ(ctx.anchorValues, QStringList({QString()}));

    // The same anchors for the link pattern: every one found once.
    extractor.FetchURLLinks(open, "http://h.com");
    EXPECT_EQ(ctx.lstResult.count(), 100000);

    // One 8 MB line of href=" with no closing quote and no period.
    AnalysisContext line;
    const QString endless = QStringLiteral("href=\"") + QString(8 << 20, QLatin1Char('x'));
    PageAnalyser(line).FetchURLLinks(endless + endless, "http://h.com");
    EXPECT_TRUE(line.lstResult.isEmpty());
}

TEST(SeenUrls, APageReachesTheViewsInOneInsertionPerList)
{
    AnalysisContext ctx;
    ctx.filters.addressFilters = AddressFilterList(QStringLiteral(".com#"));
    PageAnalyser extractor(ctx);
    QSignalSpy results(&ctx.lstResult, &QAbstractItemModel::rowsInserted);
    QSignalSpy details(&ctx.lstDetails, &QAbstractItemModel::rowsInserted);
    QSignalSpy leads(&ctx.lstMailList, &QAbstractItemModel::rowsInserted);
    QString page;
    for (int i = 0; i < 50; ++i)
        page += href(QStringLiteral("/p%1.html").arg(i)) + QStringLiteral("m%1@h.com ").arg(i);

    extractor.FetchURLLinks(page, "http://h.com");
    extractor.FetchURLDetails(page.replace("/p", "/q"), "http://h.com/x");
    QString base = "http://www.h.com/x.html";
    extractor.FetchDetails(page.replace("/q", "/r"), base);
    EXPECT_EQ(extractor.ExtractEmails(QStringView(page)), 50);

    for (const QSignalSpy *spy : {&results, &details, &leads})
        EXPECT_EQ(spy->count(), spy == &details ? 2 : 1);
    EXPECT_EQ(ctx.lstResult.rowCount(), 50);
    EXPECT_EQ(ctx.lstDetails.rowCount(), 100);
    EXPECT_EQ(ctx.lstMailList.rowCount(), 50);
    EXPECT_EQ(ctx.lstDetails.at(99), "http://www.h.com/r49.html");
}
