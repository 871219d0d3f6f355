#include "analysis/LeadFilters.h"

#include "analysis/LinkRules.h"
#include "common/Cp1252.h"
#include "common/DataFolder.h"

#include <QFile>

namespace corvane {

AddressFilterList::AddressFilterList(const QString &text) : m_text(text)
{
    QList<QByteArray> lowered;
    // An unterminated last fragment counts like the others (see docs/decisions.md).
    for (const QStringView piece : QStringView(text).split(QLatin1Char('#'))) {
        const QStringView fragment = link_rules::trimBlanks(piece);
        if (fragment.isEmpty())
            continue;
        m_fragments.append(fragment.toString());
        lowered.append(fragment.toString().toLower().toUtf8());
    }
    m_search = FragmentSearch(lowered, FragmentSearch::FoldAsciiCase);
}

bool AddressFilterList::admits(QByteArrayView address) const
{
    const qsizetype at = address.indexOf('@');
    if (at < 0)
        return false;
    const QByteArrayView domain = address.sliced(at + 1);
    const qsizetype dot = domain.indexOf('.');
    if (dot < 0)
        return false;
    // Addresses are ASCII, so folding A-Z is the whole case-insensitive comparison.
    return m_search.occursIn(domain.sliced(dot));
}

bool AddressFilterList::admits(const QString &address) const
{
    return admits(QByteArrayView(address.toUtf8()));
}

AddressFilterList AddressFilterList::bundled()
{
    QFile file(DataFolder::locate(QStringLiteral("search/address-filters.txt")));
    if (!file.open(QIODevice::ReadOnly))
        return AddressFilterList();
    // The file may spread the list over several lines for readability; line breaks are
    // not part of any fragment.
    QByteArray bytes = file.readAll();
    bytes.replace('\r', QByteArray()).replace('\n', QByteArray());
    return AddressFilterList(fromCp1252(bytes));
}

} // namespace corvane
