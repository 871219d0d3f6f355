// Cutting text into anchors, and reading whole files for the bookmark import.

#include "analysis/AnchorParser.h"

#include "support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace corvane;

namespace {

QStringList cut(AnalysisContext &ctx, const QString &text)
{
    QStringList anchors;
    SplitAnchors(ctx, text, [&](const QString &anchor) {
        anchors.append(anchor);
        return QStringLiteral("v%1").arg(anchors.size());
    });
    return anchors;
}

} // namespace

TEST(SplitAnchors, CutsFromHrefThroughTheClosingTagKeepingLetterCase)
{
    AnalysisContext ctx;
    const QStringList anchors = cut(ctx, "x<A HREF=\"One.html\">One</A> mid <a href=two>T</a>tail");
    EXPECT_EQ(anchors, QStringList({"<a HREF=\"One.html\">One</A>", "<a href=two>T</a>"}));
    EXPECT_EQ(ctx.anchorValues, QStringList({"v1", "v2"}));
    EXPECT_EQ(ctx.anchorValue(2), "v2");
    EXPECT_EQ(ctx.anchorValue(0), QString()) << "indexed from 1";
}

TEST(SplitAnchors, InnerHrefIsNotSeenAndAMissingCloseEndsTheWalk)
{
    AnalysisContext ctx;
    const QStringList anchors = cut(
        ctx, "<a href=a.html><a href=b.html>B</a> <a href=c.html>no close <a href=d.html>D</a>");
    EXPECT_EQ(anchors, QStringList({"<a href=a.html><a href=b.html>B</a>",
                                    "<a href=c.html>no close <a href=d.html>D</a>"}));

    AnalysisContext open;
    EXPECT_TRUE(cut(open, "<a href=a.html>A</a> <a href=b.html>never closed").size() == 1);
    AnalysisContext none;
    none.anchorValues = {"stale", "values"};
    EXPECT_TRUE(cut(none, "<a href=b.html>never closed <a href=c.html>").isEmpty());
    EXPECT_EQ(none.anchorValues, QStringList({QString()})) << "reset to one empty entry";
}

TEST(SplitAnchors, WorkIsLinearInTheText)
{
    // The anchors handed out never overlap, so their total size is bounded by the text.
    QString text;
    for (int i = 0; i < 100000; ++i)
        text += QStringLiteral("<a href=\"x%1.html\">a</a>").arg(i);
    AnalysisContext ctx;
    qsizetype handedOut = 0;
    const qsizetype anchors = SplitAnchors(ctx, text, [&](const QString &anchor) {
        handedOut += anchor.size();
        return QString();
    });
    EXPECT_EQ(anchors, 100000);
    EXPECT_LE(handedOut, text.size() + 3 * anchors);
    EXPECT_EQ(ctx.anchorValues.size(), 100000);
}

TEST(ParseResultAnchor, ValueExtraction)
{
    AnalysisContext ctx; // parse mode 0: nothing is listed, only values come back
    EXPECT_EQ(ParseResultAnchor(ctx, "<a href=\"HTTP://X.com/A\">t</a>"), "http://x.com/a");
    EXPECT_EQ(ParseResultAnchor(ctx, "<a href=http://x.com/a target=_top>t</a>"), "http://x.com/a");
    EXPECT_EQ(ParseResultAnchor(ctx, "<a href='http://x.com/a'>t</a>"), "'http://x.com/a'");
    EXPECT_EQ(ParseResultAnchor(ctx, "<a href=\"\">t</a>"), "")
        << "the quote is the first character";
    EXPECT_EQ(ParseResultAnchor(ctx, "<a href=http://x.com/a"), "http://x.com/a")
        << "runs to the end";
    const QString huge = "<a href=" + QString(40000, QLatin1Char('x'));
    EXPECT_EQ(ParseResultAnchor(ctx, huge).size(), 32767 - 9)
        << "the value stops where the delimiter cap lies";
    EXPECT_TRUE(ctx.lstResult.isEmpty() && ctx.lstDetails.isEmpty() && ctx.lstURLList.isEmpty());
}

TEST(ParseResultAnchor, BookmarkStateFillsTheUrlListWithoutDuplicateTest)
{
    AnalysisContext ctx;
    ctx.searchEngineSelected = false;
    ctx.filters.excludedDomains = {QStringLiteral("blocked")};
    const QString file = "<DT><A HREF=\"http://One.com/\" ADD_DATE=\"1\">One</A>"
                         "<DT><A HREF=\"http://one.com/\">Again</A>"
                         "<DT><A HREF=\"https://two.com/\">Two</A>"
                         "<DT><A HREF=\"http://blocked.com/\">B</A>"
                         "<DT><A HREF=\"place:sort=8\">Q</A>";
    SplitAnchors(ctx, file, [&](const QString &anchor) { return ParseResultAnchor(ctx, anchor); });
    EXPECT_EQ(ctx.lstURLList.texts(), QStringList({"http://one.com/", "http://one.com/"}));
    EXPECT_EQ(ctx.anchorValues.size(), 5);
    EXPECT_TRUE(ctx.seenUrls.count() == 0);
}

TEST(ParseResultAnchor, DetailModeNeedsElevenCharacters)
{
    AnalysisContext ctx;
    ctx.parseMode = 2;
    ParseResultAnchor(ctx, "<a href=http://a.b>x</a>");
    ParseResultAnchor(ctx, "<a href=http://a.bc>x</a>");
    EXPECT_EQ(ctx.lstDetails.texts(), QStringList({"http://a.bc"}));
}

TEST(FirstDelimiter, SmallestPositionOfAnyCharacterOrTheCap)
{
    EXPECT_EQ(FirstDelimiter(1, u"ab cd>ef", u"> "), 3);
    EXPECT_EQ(FirstDelimiter(4, u"ab cd>ef", u"> "), 6);
    EXPECT_EQ(FirstDelimiter(3, u"ab cd>ef", u"> "), 3) << "start itself counts";
    EXPECT_EQ(FirstDelimiter(1, u"abcdef", u"> "), 32767);
    EXPECT_EQ(FirstDelimiter(50, u"ab cd", u" "), 32767);
    EXPECT_EQ(FirstDelimiter(1, u"aBc", u"b"), 32767) << "exact comparison";
}

TEST(ReadWholeFile, ContentOrTheErrorMarker)
{
    QTemporaryDir dir;
    EXPECT_EQ(ReadWholeFile(dir.filePath("missing.html")), "#ERROR#");
    EXPECT_EQ(ReadWholeFile(dir.path()), "#ERROR#");

    corvane::test::writeFile(dir.filePath("cp.html"), "caf\xe9 \x80");
    EXPECT_EQ(ReadWholeFile(dir.filePath("cp.html")), QString::fromUtf8("caf\u00e9 \u20ac"));
    corvane::test::writeFile(dir.filePath("utf8.html"), "caf\xc3\xa9");
    EXPECT_EQ(ReadWholeFile(dir.filePath("utf8.html")), QString::fromUtf8("caf\u00e9"));
    corvane::test::writeFile(dir.filePath("bom.html"), "\xef\xbb\xbf<a>");
    EXPECT_EQ(ReadWholeFile(dir.filePath("bom.html")), "<a>");
    corvane::test::writeFile(dir.filePath("empty.html"), "");
    EXPECT_EQ(ReadWholeFile(dir.filePath("empty.html")), "");
    corvane::test::writeFile(dir.filePath("nul.html"), QByteArray("a\0b", 3));
    EXPECT_EQ(ReadWholeFile(dir.filePath("nul.html")).size(), 3);
}
