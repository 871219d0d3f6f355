// corvane-cli links: the links one page puts on the crawl's queues.

#include "Command.h"

#include "analysis/AnalysisContext.h"
#include "analysis/LinkRules.h"
#include "analysis/PageAnalyser.h"
#include "analysis/PageSource.h"
#include "common/Cp1252.h"
#include "common/CrawlProfile.h"

#include <cstdio>

using namespace corvane;
using namespace corvane::cli;

namespace {

const OptionTable &linksTable()
{
    static const OptionTable table({
        .name = QStringLiteral("links"),
        .summary = QStringLiteral("Print the links page analysis puts on the crawl's queues for "
                                  "a page (FILE, or standard input when FILE is - or missing), "
                                  "one per line."),
        .arguments = QStringLiteral("[FILE]"),
        .options = {{.name = QStringLiteral("mode"),
                     .valueName = QStringLiteral("MODE"),
                     .help =
                         QStringLiteral("which page the crawl takes it for: a start page, a page "
                                        "reached from one, a search result page or a page reached "
                                        "from the results"),
                     .kind = ChoiceValue{{QStringLiteral("start"), QStringLiteral("start-details"),
                                          QStringLiteral("results"), QStringLiteral("details")}},
                     .required = true},
                    {.name = QStringLiteral("url"),
                     .valueName = QStringLiteral("PAGE_URL"),
                     .help = QStringLiteral("the page's own address, which relative links resolve "
                                            "against"),
                     .kind = TextValue{},
                     .required = true},
                    {.name = QStringLiteral("exclude-domain"),
                     .valueName = QStringLiteral("D"),
                     .help =
                         QStringLiteral("drop links that contain D, letter case ignored; D1,D2 for "
                                        "several"),
                     .kind = TextValue{},
                     .repeatable = true},
                    profileOption()},
        .examples = {QStringLiteral("links --mode start --url http://www.example.com/ page.html")},
    });
    return table;
}

int runLinks(const OptionValues &options)
{
    const QString mode = options.value(QStringLiteral("mode"));
    AnalysisContext context;
    context.profile = chosenProfile(options);
    context.filters.excludedDomains = commaList(options.values(QStringLiteral("exclude-domain")));

    const auto source = PageSource::fromArguments(options.positional());
    if (!source)
        return usageError(source.message());

    // Pages are read in the Windows code page, as the crawl reads them.
    const QString content = fromCp1252(source.value()->bytes());

    PageAnalyser extractor(context);
    QString base =
        link_rules::trimBlanks(
            PageAnalyser::MakeBaseURL(options.value(QStringLiteral("url")), context.profile))
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

const CommandRegistration
    reg(QStringLiteral("links"), QStringLiteral("print the links a page adds to the crawl queues"),
        [](const QStringList &args) { return runWithOptions(linksTable(), args, runLinks); },
        {&linksTable()});

} // namespace
