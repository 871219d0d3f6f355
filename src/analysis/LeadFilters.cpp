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

QStringList readAddressFilterFragments(QStringView fileText)
{
    QStringList fragments;
    for (const QStringView line : fileText.split(QLatin1Char('\n'))) {
        const QStringView content = line.trimmed();
        if (content.isEmpty() || content.startsWith(QLatin1Char(';')))
            continue;
        for (const QStringView piece : content.split(QLatin1Char('#'))) {
            const QStringView fragment = piece.trimmed();
            if (!fragment.isEmpty())
                fragments.append(fragment.toString());
        }
    }
    return fragments;
}

AddressFilterList AddressFilterList::fromFile(const QString &path)
{
    constexpr qint64 kMaxFileBytes = 4 * 1024 * 1024; // a hand-edited list, not a data dump
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly))
        return AddressFilterList();
    const QStringList fragments = readAddressFilterFragments(fromCp1252(file.read(kMaxFileBytes)));
    return AddressFilterList(
        fragments.isEmpty() ? QString() : fragments.join(QLatin1Char('#')) + QLatin1Char('#'));
}

AddressFilterList AddressFilterList::bundled()
{
    return fromFile(DataFolder::locate(QStringLiteral("search/address-filters.txt")));
}

} // namespace corvane
