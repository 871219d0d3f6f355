// A bookmark file (a browser's export or any page of links) given to the bookmark import.

#include "FuzzTarget.h"

#include "analysis/AnchorParser.h"
#include "analysis/LinkRules.h"
#include "exchange/BookmarkImport.h"

using namespace corvane;

// The count reported is the count listed; only absolute web addresses of a length a link may
// have are listed, lower-cased, each taken from the file's own text (or, with the modern
// profile, the target a redirect link of it names, with no character made up), at most one
// per link marker; the queues stay empty.
CORVANE_FUZZ_TARGET(bookmark_import)
{
    const QString path = fuzz::inputFile(input, QStringLiteral("bookmarks.html"));
    if (path.isEmpty())
        return;

    const QString text = ReadWholeFile(path).toLower();
    const qsizetype hrefs = text.count(QLatin1String("href="));
    const QChar replacement(QChar::ReplacementCharacter);
    for (const CrawlProfile profile : {CrawlProfile::Classic, CrawlProfile::Modern}) {
        AnalysisContext ctx;
        ctx.profile = profile;
        ctx.searchEngineSelected = false;
        const Result<qsizetype> imported = BookmarkImport::run(ctx, path);
        CORVANE_EXPECT(imported && *imported == ctx.lstURLList.count());
        CORVANE_EXPECT(ctx.lstURLList.count() <= hrefs);
        CORVANE_EXPECT(ctx.lstResult.isEmpty() && ctx.lstDetails.isEmpty());
        for (const QString &link : ctx.lstURLList.texts()) {
            CORVANE_EXPECT(link_rules::startsWithWebScheme(link, profile));
            CORVANE_EXPECT(link == link.toLower());
            // A redirect target decodes only whole UTF-8 sequences, so a replacement
            // character in it is one the file's own bytes already made.
            CORVANE_EXPECT(text.contains(link) ||
                           (profile == CrawlProfile::Modern &&
                            (!link.contains(replacement) || text.contains(replacement))));
            CORVANE_EXPECT(link.size() <= link_rules::kMaxLinkLength);
            CORVANE_EXPECT(!link.contains(QLatin1Char('+')) && !link.contains(u"mailto:"));
        }
    }
}
