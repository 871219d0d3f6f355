// corvane-cli extract: the leads of a page, filtered as a harvest filters them.

#include "Command.h"

#include "analysis/LeadFilters.h"
#include "analysis/PageAnalyser.h"
#include "analysis/PageSource.h"
#include "analysis/TextSet.h"

#include <QCommandLineParser>

#include <cstdio>

using namespace corvane;
using namespace corvane::cli;

namespace {

int runExtract(const QStringList &args)
{
    QCommandLineParser parser;
    parser.addOptions({
        {QStringLiteral("filter-list"), QStringLiteral("accepted domain endings, \"#\"-terminated"),
         QStringLiteral("TEXT")},
        {QStringLiteral("exclude-domain"), QStringLiteral("reject domains containing D"),
         QStringLiteral("D")},
        {QStringLiteral("exclude-type"), QStringLiteral("reject this e-mail type"),
         QStringLiteral("T")},
        {QStringLiteral("include-type"), QStringLiteral("accept only these e-mail types"),
         QStringLiteral("T")},
        {QStringLiteral("limit"), QStringLiteral("stop accepting after N leads"),
         QStringLiteral("N")},
    });
    parser.addPositionalArgument(QStringLiteral("FILE"),
                                 QStringLiteral("page text, or - for standard input"));
    if (!parser.parse(QStringList{QStringLiteral("corvane-cli extract")} + args))
        return usageError(parser.errorText());

    LeadFilters filters;
    if (parser.isSet(QStringLiteral("filter-list"))) {
        filters.addressFilters = AddressFilterList(parser.value(QStringLiteral("filter-list")));
    } else {
        filters.addressFilters = AddressFilterList::bundled();
        if (filters.addressFilters.isEmpty())
            return failure(QStringLiteral("the bundled address filter list cannot be read"));
    }
    filters.excludedDomains = parser.values(QStringLiteral("exclude-domain"));
    filters.excludedTypes = parser.values(QStringLiteral("exclude-type"));
    filters.includedTypes = parser.values(QStringLiteral("include-type"));
    const Result<EmailTypeMode> typeMode = emailTypeMode(parser);
    if (!typeMode)
        return usageError(typeMode.message());
    filters.typeMode = *typeMode;
    if (parser.isSet(QStringLiteral("limit"))) {
        bool ok = false;
        const int limit = parser.value(QStringLiteral("limit")).toInt(&ok);
        if (!ok)
            return usageError(QStringLiteral("--limit needs a whole number, got \"%1\"")
                                  .arg(parser.value(QStringLiteral("limit"))));
        filters.leadLimit = limit;
    }

    const auto source = PageSource::fromArguments(parser.positionalArguments());
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

CommandRegistration reg(QStringLiteral("extract"),
                        QStringLiteral("print the accepted leads of a page"), runExtract);

} // namespace
