#include "analysis/EmailMatcher.h"
#include "analysis/FragmentSearch.h"
#include "analysis/PageAnalyser.h"

#include <QByteArray>
#include <QList>

namespace corvane {

namespace {

// The filters in the form the per-address tests want, prepared once per page.
struct PreparedFilters
{
    explicit PreparedFilters(const LeadFilters &filters) : source(filters)
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

} // namespace

int ExtractEmails(QByteArrayView text, const LeadFilters &filters, LeadSet &leads,
                  TextListModel &mailList)
{
    const PreparedFilters prepared(filters);
    const EmailTypeMode mode = filters.typeMode;
    int appended = 0;
    forEachEmailMatch(text, [&](qsizetype begin, qsizetype length) {
        const QByteArrayView address = text.sliced(begin, length);
        if (!filters.addressFilters.admits(address))
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

        const QString lead = QString::fromLatin1(address);
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
