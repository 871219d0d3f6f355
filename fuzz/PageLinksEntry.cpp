// A fetched page as the link extractors see it. The input's first line is
// "<profile> <page address>" (profile "modern", anything else is classic); the rest is the
// page, read as UTF-8.

#include "FuzzTarget.h"

#include "analysis/AnchorParser.h"
#include "analysis/LinkRules.h"
#include "analysis/PageAnalyser.h"

#include <QSet>

using namespace corvane;
using namespace corvane::link_rules;

namespace {

struct Page
{
    CrawlProfile profile = CrawlProfile::Classic;
    QString base;
    QString content;
};

Page pageOf(QByteArrayView input)
{
    const qsizetype newline = input.indexOf('\n');
    const QByteArrayView head = newline < 0 ? input : input.first(newline);
    const qsizetype space = head.indexOf(' ');
    Page page;
    if (head.first(space < 0 ? head.size() : space) == "modern")
        page.profile = CrawlProfile::Modern;
    page.base = QString::fromUtf8(space < 0 ? QByteArrayView() : head.sliced(space + 1));
    page.content = QString::fromUtf8(newline < 0 ? QByteArrayView() : input.sliced(newline + 1));
    return page;
}

// One context per extractor, so that each one's output is seen apart.
struct Context : AnalysisContext
{
    explicit Context(CrawlProfile crawlProfile)
    {
        profile = crawlProfile;
        filters.excludedDomains = {QStringLiteral("blocked.example")};
    }
};

bool unique(const QStringList &links)
{
    return QSet<QString>(links.begin(), links.end()).size() == links.size();
}

} // namespace

// Every queued link is non-empty, listed once and no longer than any link may be (a long page
// address is not repeated for each of a page's links); there are no more links than link markers in
// the page; links with "@" (and, where the rules filter them, links to excluded domains) stay off
// the queues; the values the crawl reads back are consistent.
CORVANE_FUZZ_TARGET(page_links)
{
    const Page page = pageOf(input);
    const qsizetype hrefs = page.content.count(QLatin1String("href="), Qt::CaseInsensitive);
    const auto bounded = [&](const QStringList &links) {
        bool ok = links.size() <= hrefs && unique(links);
        for (const QString &link : links)
            ok = ok && !trimBlanks(link).isEmpty() && link.size() <= kMaxLinkLength;
        return ok;
    };
    const auto unblocked = [](const QStringList &links) {
        return !containsAny(links.join(QLatin1Char('\n')), {QStringLiteral("blocked.example")});
    };
    const auto withoutAt = [](const QStringList &links) {
        return std::none_of(links.begin(), links.end(),
                            [](const QString &link) { return link.contains(QLatin1Char('@')); });
    };

    {
        Context ctx(page.profile);
        CORVANE_EXPECT(PageAnalyser(ctx).FetchURLLinks(page.content, page.base) == u"Sucess");
        const QStringList links = ctx.lstResult.texts();
        CORVANE_EXPECT(ctx.baseURL == page.base && ctx.lstDetails.isEmpty());
        CORVANE_EXPECT(bounded(links) && withoutAt(links));
    }
    {
        Context ctx(page.profile);
        CORVANE_EXPECT(PageAnalyser(ctx).FetchURLDetails(page.content, page.base) == u"Sucess");
        const QStringList links = ctx.lstDetails.texts();
        CORVANE_EXPECT(ctx.lstResult.isEmpty() && bounded(links) && withoutAt(links));
        CORVANE_EXPECT(unblocked(links));
        for (const QString &link : links)
            CORVANE_EXPECT(!isBareWww(link, page.profile));
    }
    for (const bool searchEngine : {true, false}) {
        Context ctx(page.profile);
        ctx.searchEngineSelected = searchEngine;
        ctx.firstPagePending = true;
        CORVANE_EXPECT(PageAnalyser(ctx).FetchLinks(page.content, page.base).isEmpty());
        const QStringList links = searchEngine ? ctx.lstResult.texts() : ctx.lstURLList.texts();
        CORVANE_EXPECT(ctx.parseMode == 1 && ctx.lstDetails.isEmpty());
        CORVANE_EXPECT((searchEngine ? ctx.lstURLList : ctx.lstResult).isEmpty());
        CORVANE_EXPECT(ctx.resultCount == ctx.lstResult.count());
        CORVANE_EXPECT(ctx.firstPagePending == (ctx.resultCount == 0));
        CORVANE_EXPECT(ctx.anchorValues.size() <= std::max<qsizetype>(hrefs, 1));
        // The URL list keeps duplicates; the queues do not.
        CORVANE_EXPECT(!searchEngine || bounded(links));
        CORVANE_EXPECT(unblocked(links));
        for (const QString &link : links) {
            CORVANE_EXPECT(startsWithWebScheme(link, page.profile) && link == link.toLower() &&
                           link.size() <= kMaxLinkLength);
            CORVANE_EXPECT(!link.contains(QLatin1Char('+')) && !link.contains(u"mailto:"));
        }
    }
    {
        Context ctx(page.profile);
        ctx.parseMode = 2;
        QString base = page.base;
        CORVANE_EXPECT(PageAnalyser(ctx).FetchDetails(page.content, base).isEmpty());
        CORVANE_EXPECT(page.base.startsWith(base));
        const QStringList links = ctx.lstDetails.texts();
        CORVANE_EXPECT(ctx.lstResult.isEmpty() && bounded(links) && withoutAt(links));
        const QString site = base.mid(base.indexOf(QLatin1Char('.')) + 1);
        for (const QString &link : links) {
            CORVANE_EXPECT(startsWithWebScheme(link, page.profile) && link.contains(site));
            CORVANE_EXPECT(!link.contains(u"javascript", Qt::CaseInsensitive));
        }
    }

    const QString directory = PageAnalyser::MakeBaseURL(page.base, page.profile);
    CORVANE_EXPECT(page.base.startsWith(directory));
}
