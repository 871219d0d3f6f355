#include "exchange/BookmarkImport.h"

#include "analysis/AnchorParser.h"

namespace corvane {

Result<qsizetype> BookmarkImport::run(AnalysisContext &ctx, const QString &path)
{
    const QString trimmed = path.trimmed();
    if (trimmed.isEmpty())
        return fail(kEmptyPathMessage);
    ctx.anchorValues = QStringList{QString()};
    const qsizetype before = ctx.lstURLList.count();
    // An unreadable file reads as "#ERROR#", which holds no link.
    const QString text = ReadWholeFile(trimmed);
    SplitAnchors(ctx, text,
                 [&ctx](const QString &anchor) { return ParseResultAnchor(ctx, anchor); });
    return ctx.lstURLList.count() - before;
}

Result<QStringList> BookmarkImport::addresses(const QString &path,
                                              const QStringList &excludedDomains,
                                              CrawlProfile profile)
{
    AnalysisContext ctx;
    ctx.profile = profile;
    ctx.searchEngineSelected = false;
    ctx.filters.excludedDomains = excludedDomains;
    const Result<qsizetype> added = run(ctx, path);
    if (!added)
        return added.error();
    return ctx.lstURLList.texts();
}

} // namespace corvane
