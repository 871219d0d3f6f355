#include "analysis/EmailMatcher.h"
#include "analysis/FragmentSearch.h"
#include "analysis/JunkNames.h"
#include "analysis/PageAnalyser.h"
#include "analysis/WrittenAddresses.h"

#include <QByteArray>
#include <QList>

namespace corvane {

namespace {

// The junk rule of an extension list, built again only when the list changes: a crawl asks
// for it on every page, almost always with the same list.
const JunkNameRule &junkRuleOf(const QStringList &extensions)
{
    thread_local QStringList builtFrom;
    thread_local JunkNameRule rule;
    if (extensions != builtFrom) {
        rule = JunkNameRule(extensions);
        builtFrom = extensions;
    }
    return rule;
}

const JunkNameRule &noJunkRule()
{
    static const JunkNameRule none;
    return none;
}

// The filters in the form the per-address tests want, prepared once per page.
struct PreparedFilters
{
    PreparedFilters(const LeadFilters &filters, CrawlProfile profile)
        : source(filters), modern(profile == CrawlProfile::Modern),
          junk(modern ? junkRuleOf(filters.junkExtensions) : noJunkRule())
    {
        QList<QByteArray> domains;
        for (const QString &domain : filters.excludedDomains) {
            // An empty entry occurs in every text, so it excludes every domain.
            everyDomainExcluded = everyDomainExcluded || domain.isEmpty();
            domains.append(domain.toLower().toUtf8());
        }
        excludedDomains = FragmentSearch(domains, FragmentSearch::FoldAsciiCase);
        for (const QString &type : filters.excludedTypes)
            excludedTypes.append(type.toUpper());
        for (const QString &type : filters.includedTypes)
            includedTypes.append(type.toUpper());
    }

    const LeadFilters &source;
    const bool modern;
    const JunkNameRule &junk;
    FragmentSearch excludedDomains;
    bool everyDomainExcluded = false;
    QStringList excludedTypes; // upper-cased
    QStringList includedTypes; // upper-cased
};

bool domainExcluded(const PreparedFilters &filters, QByteArrayView domain)
{
    return filters.everyDomainExcluded || filters.excludedDomains.occursIn(domain);
}

bool typeListed(const QStringList &upperTypes, const QString &upperLocal)
{
    for (const QString &type : upperTypes) {
        if (type == upperLocal)
            return true;
    }
    return false;
}

// The lead as it is kept: as matched, or under the modern profile with its domain part in
// lower case, so that one mailbox written two ways is one lead.
QString leadText(QByteArrayView address, qsizetype at, bool modern)
{
    if (!modern)
        return QString::fromLatin1(address);
    return QString::fromLatin1(address.first(at + 1)) +
           QString::fromLatin1(address.sliced(at + 1)).toLower();
}

} // namespace

int ExtractEmails(QByteArrayView text, const LeadFilters &filters, LeadSet &leads,
                  TextListModel &mailList, CrawlProfile profile)
{
    const PreparedFilters prepared(filters, profile);
    // Modern: addresses written for people count as well; the page is copied only when it
    // holds such a form.
    const std::optional<QByteArray> written =
        prepared.modern ? readWrittenAddresses(text) : std::nullopt;
    const QByteArrayView page = written ? QByteArrayView(*written) : text;
    const EmailTypeMode mode = filters.typeMode;
    int appended = 0;
    forEachEmailMatch(page, [&](qsizetype begin, qsizetype length) {
        const QByteArrayView address = page.sliced(begin, length);
        if (!filters.addressFilters.admits(address))
            return;
        if (prepared.modern && prepared.junk.isJunk(address))
            return;
        const qsizetype at = address.indexOf('@');
        if (domainExcluded(prepared, address.sliced(at + 1)))
            return;

        bool included = false;
        if (mode == EmailTypeMode::None)
            return;
        if (mode == EmailTypeMode::Exclude) {
            if (!prepared.excludedTypes.isEmpty() &&
                typeListed(prepared.excludedTypes,
                           QString::fromLatin1(address.first(at)).toUpper()))
                return;
        } else {
            included = !prepared.includedTypes.isEmpty() &&
                       typeListed(prepared.includedTypes,
                                  QString::fromLatin1(address.first(at)).toUpper());
        }

        const QString lead = leadText(address, at, prepared.modern);
        if (mailList.contains(lead))
            return;
        if (mode == EmailTypeMode::Include && !included)
            return;
        // The limit counts the whole lead set, leads of earlier pages included.
        if (qint64(leads.count()) + 1 > filters.leadLimit)
            return;
        if (leads.contains(lead))
            return;
        leads.add(lead);
        mailList.append(lead);
        ++appended;
    });
    return appended;
}

} // namespace corvane
