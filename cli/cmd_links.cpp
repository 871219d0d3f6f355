// corvane-cli links: the links one page puts on the crawl's queues.

#include "Command.h"

#include "analysis/AnalysisContext.h"
#include "analysis/LinkRules.h"
#include "analysis/PageAnalyser.h"
#include "analysis/PageSource.h"
#include "common/Cp1252.h"
#include "common/CrawlProfile.h"

#include <QCommandLineParser>

#include <cstdio>

using namespace corvane;
using namespace corvane::cli;

namespace {

int runLinks(const QStringList &args)
{
    QCommandLineParser parser;
    parser.addOptions({
        {QStringLiteral("mode"), QStringLiteral("start, start-details, results or details"),
         QStringLiteral("MODE")},
        {QStringLiteral("url"), QStringLiteral("the page's own address"),
         QStringLiteral("PAGE_URL")},
        {QStringLiteral("exclude-domain"), QStringLiteral("drop links containing D"),
         QStringLiteral("D")},
        {QStringLiteral("profile"), QStringLiteral("classic (default) or modern"),
         QStringLiteral("PROFILE")},
    });
    parser.addPositionalArgument(QStringLiteral("FILE"),
                                 QStringLiteral("page text, or - for standard input"));
    if (!parser.parse(QStringList{QStringLiteral("corvane-cli links")} + args))
        return usageError(parser.errorText());

    const QString mode = parser.value(QStringLiteral("mode"));
    const QStringList modes{QStringLiteral("start"), QStringLiteral("start-details"),
                            QStringLiteral("results"), QStringLiteral("details")};
    if (!parser.isSet(QStringLiteral("mode")))
        return usageError(QStringLiteral("links needs --mode start|start-details|results|details"));
    if (!modes.contains(mode))
        return usageError(
            QStringLiteral("unknown mode \"%1\" (start, start-details, results, details)")
                .arg(mode));
    if (!parser.isSet(QStringLiteral("url")))
        return usageError(QStringLiteral("links needs --url PAGE_URL"));

    AnalysisContext context;
    const auto profile = chosenProfile(parser);
    if (!profile)
        return usageError(profile.message());
    context.profile = *profile;
    context.filters.excludedDomains = parser.values(QStringLiteral("exclude-domain"));

    const auto source = PageSource::fromArguments(parser.positionalArguments());
    if (!source)
        return usageError(source.message());

    // Pages are read in the Windows code page, as the crawl reads them.
    const QString content = fromCp1252(source.value()->bytes());

    PageAnalyser extractor(context);
    QString base = link_rules::trimBlanks(PageAnalyser::MakeBaseURL(
                                              parser.value(QStringLiteral("url")), context.profile))
                       .toString();
    const TextListModel *found = &context.lstResult;
    if (mode == QLatin1String("start")) {
        extractor.FetchURLLinks(content, base);
    } else if (mode == QLatin1String("start-details")) {
        extractor.FetchURLDetails(content, base);
        found = &context.lstDetails;
    } else if (mode == QLatin1String("results")) {
        extractor.FetchLinks(content, base);
    } else {
        extractor.FetchDetails(content, base);
        found = &context.lstDetails;
    }

    // One buffered write of the whole list.
    const QByteArray out = found->toLines();
    if (std::fwrite(out.constData(), 1, size_t(out.size()), stdout) != size_t(out.size()) ||
        std::fflush(stdout) != 0)
        return failure(QStringLiteral("cannot write the links"));
    return kExitOk;
}

CommandRegistration reg(QStringLiteral("links"),
                        QStringLiteral("print the links a page adds to the crawl queues"),
                        runLinks);

} // namespace
