// corvane-cli extract: the leads of a page, filtered as a harvest filters them.

#include "Command.h"

#include "analysis/LeadFilters.h"
#include "analysis/PageAnalyser.h"
#include "analysis/PageSource.h"
#include "analysis/TextSet.h"

#include <cstdio>
#include <limits>

using namespace corvane;
using namespace corvane::cli;

namespace {

const OptionTable &extractTable()
{
    static const OptionTable table = [] {
        std::vector<OptionDefinition> options{
            {.name = QStringLiteral("filter-list"),
             .valueName = QStringLiteral("TEXT"),
             .help = QStringLiteral("the address endings to accept, each ended by \"#\" "
                                    "(\".com#.co.uk#\")"),
             .kind = TextValue{},
             .shownDefault = QStringLiteral("the bundled list")}};
        for (OptionDefinition &option : leadFilterOptions())
            options.push_back(std::move(option));
        options.push_back({.name = QStringLiteral("limit"),
                           .valueName = QStringLiteral("N"),
                           .help = QStringLiteral("accept at most N leads"),
                           .kind = NumberValue{0, std::numeric_limits<qint32>::max()},
                           .shownDefault = QStringLiteral("no limit")});
        return OptionTable({
            .name = QStringLiteral("extract"),
            .summary = QStringLiteral("Print the leads a harvest would accept from a page (FILE, "
                                      "or standard input when FILE is - or missing), one per "
                                      "line, in the order found."),
            .arguments = QStringLiteral("[FILE]"),
            .options = options,
            .examples = {QStringLiteral("extract --exclude-type info,sales page.html"),
                         QStringLiteral("extract --filter-list '.de#.at#' - < page.html")},
        });
    }();
    return table;
}

int runExtract(const OptionValues &options)
{
    LeadFilters filters;
    if (options.isSet(QStringLiteral("filter-list"))) {
        filters.addressFilters = AddressFilterList(options.value(QStringLiteral("filter-list")));
    } else {
        filters.addressFilters = AddressFilterList::bundled();
        if (filters.addressFilters.isEmpty())
            return failure(QStringLiteral("the bundled address filter list cannot be read"));
    }
    filters.excludedDomains = commaList(options.values(QStringLiteral("exclude-domain")));
    filters.excludedTypes = commaList(options.values(QStringLiteral("exclude-type")));
    filters.includedTypes = commaList(options.values(QStringLiteral("include-type")));
    const Result<EmailTypeMode> typeMode = emailTypeMode(options);
    if (!typeMode)
        return usageError(typeMode.message());
    filters.typeMode = *typeMode;
    if (options.isSet(QStringLiteral("limit")))
        filters.leadLimit = options.number(QStringLiteral("limit"));

    const auto source = PageSource::fromArguments(options.positional());
    if (!source)
        return usageError(source.message());

    LeadSet leads;
    TextListModel mailList;
    ExtractEmails(source.value()->bytes(), filters, leads, mailList);

    // One buffered write of the whole list.
    const QByteArray out = mailList.toLines();
    if (std::fwrite(out.constData(), 1, size_t(out.size()), stdout) != size_t(out.size()) ||
        std::fflush(stdout) != 0)
        return failure(QStringLiteral("cannot write the leads"));
    return kExitOk;
}

const CommandRegistration
    reg(QStringLiteral("extract"), QStringLiteral("print the accepted leads of a page"),
        [](const QStringList &args) { return runWithOptions(extractTable(), args, runExtract); },
        {&extractTable()});

} // namespace
