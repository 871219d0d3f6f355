// Page text as it reaches the address matcher and the lead filters: any bytes at all.

#include "EmailOracle.h"
#include "FuzzTarget.h"

#include "analysis/EmailMatcher.h"
#include "analysis/PageAnalyser.h"

#include <QSet>

using namespace corvane;

namespace {

// Above this length the regular-expression engine is too slow to ask on every input.
constexpr qsizetype kOracleLength = 64;

LeadFilters filtersFor(EmailTypeMode mode)
{
    LeadFilters filters;
    filters.addressFilters = AddressFilterList(QStringLiteral(".com#.net#.org# .de #"));
    filters.excludedDomains = {QStringLiteral("spam"), QStringLiteral("Example.NET")};
    filters.typeMode = mode;
    filters.excludedTypes = {QStringLiteral("info"), QStringLiteral("NoReply")};
    filters.includedTypes = {QStringLiteral("sales"), QStringLiteral("a")};
    filters.leadLimit = 5;
    return filters;
}

} // namespace

// The matches are ordered, apart, each exactly one address; the work stays linear; short
// texts give what the regular-expression engine gives. Every lead the filters let through is
// one of the matches, holds exactly one "@", is listed once and the limit holds.
CORVANE_FUZZ_TARGET(email_matcher)
{
    qsizetype steps = 0;
    std::vector<QByteArrayView> matches;
    forEachEmailMatch(
        input,
        [&](qsizetype begin, qsizetype length) { matches.push_back(input.sliced(begin, length)); },
        &steps);
    CORVANE_EXPECT(steps <= 4 * input.size());

    QSet<QByteArray> matched;
    const char *previousEnd = input.data();
    for (const QByteArrayView match : matches) {
        CORVANE_EXPECT(match.data() >= previousEnd);
        previousEnd = match.data() + match.size();
        CORVANE_EXPECT(match.count('@') == 1);
        const qsizetype at = match.indexOf('@');
        CORVANE_EXPECT(at > 0 && match.indexOf('.', at + 2) > 0);
        CORVANE_EXPECT(email_match::isLetterOrDigit(uchar(match.back())));
        bool addressCharsOnly = true;
        for (const char c : match)
            addressCharsOnly =
                addressCharsOnly && (c == '@' || email_match::isAddressChar(uchar(c)));
        CORVANE_EXPECT(addressCharsOnly);
        matched.insert(match.toByteArray());
    }

    if (input.size() <= kOracleLength) {
        std::vector<std::string> found;
        for (const QByteArrayView match : matches)
            found.emplace_back(match.data(), size_t(match.size()));
        CORVANE_EXPECT(found == fuzz::emailOracleMatches(std::string(input.data(), input.size())));
    }

    for (const EmailTypeMode mode :
         {EmailTypeMode::Exclude, EmailTypeMode::Include, EmailTypeMode::None}) {
        const LeadFilters filters = filtersFor(mode);
        LeadSet leads;
        TextListModel mailList;
        const int appended = ExtractEmails(input, filters, leads, mailList);
        CORVANE_EXPECT(appended == mailList.count() && leads.count() == mailList.count());
        CORVANE_EXPECT(mailList.count() <= filters.leadLimit);
        CORVANE_EXPECT(mode != EmailTypeMode::None || mailList.isEmpty());
        const QStringList listed = mailList.texts();
        for (const QString &lead : listed) {
            CORVANE_EXPECT(lead.count(QLatin1Char('@')) == 1);
            const QString type = lead.section(QLatin1Char('@'), 0, 0);
            CORVANE_EXPECT(mode != EmailTypeMode::Include ||
                           filters.includedTypes.contains(type, Qt::CaseInsensitive));
            CORVANE_EXPECT(mode != EmailTypeMode::Exclude ||
                           !filters.excludedTypes.contains(type, Qt::CaseInsensitive));
            CORVANE_EXPECT(matched.contains(lead.toLatin1()));
            CORVANE_EXPECT(filters.addressFilters.admits(lead));
            CORVANE_EXPECT(
                !lead.section(QLatin1Char('@'), 1).contains(u"spam", Qt::CaseInsensitive));
        }
        CORVANE_EXPECT(QSet<QString>(listed.begin(), listed.end()).size() == listed.size());

        // The page as text takes the same way as the page as bytes.
        if (mode == EmailTypeMode::Exclude) {
            AnalysisContext context;
            context.filters = filters;
            PageAnalyser(context).ExtractEmails(QStringView(QString::fromLatin1(input)));
            CORVANE_EXPECT(context.lstMailList.texts() == mailList.texts());
        }
    }
}
