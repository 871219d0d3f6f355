#pragma once

#include "analysis/FragmentSearch.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QStringList>

#include <limits>

namespace corvane {

// The accepted domain-ending fragments in their "#"-terminated text form (".com#.net#").
// Parsed once: fragments are trimmed of blanks, empty ones ignored, and kept lower-cased
// so that the per-address test is a plain byte search.
class AddressFilterList
{
public:
    AddressFilterList() = default;
    explicit AddressFilterList(const QString &text);

    // The text it was built from, unchanged.
    const QString &text() const { return m_text; }
    // The non-empty fragments, trimmed, in list order (letter case as given).
    const QStringList &fragments() const { return m_fragments; }
    bool isEmpty() const { return m_search.isEmpty(); }

    // The ending rule: true when some fragment occurs (letter case ignored) anywhere inside
    // the address's domain ending, i.e. the text after "@" from its first "." on. An address
    // without "@", or whose domain part has no ".", has no ending and is not admitted.
    bool admits(QByteArrayView address) const;
    bool admits(const QString &address) const;

    // An address filter file, read as readAddressFilterFragments() reads it. Empty when
    // the file cannot be read.
    static AddressFilterList fromFile(const QString &path);
    // The bundled list (search/address-filters.txt, overridable in the data folder): every
    // common generic and country ending.
    static AddressFilterList bundled();

private:
    QString m_text;
    QStringList m_fragments;
    FragmentSearch m_search; // over the lower-cased fragments
};

// The fragments of an address filter file. Lines whose first character other than blanks
// and tabs is ";" are comments; a fragment ends with "#" or with its line, so the list may
// be spread over lines; blanks and tabs around a fragment are dropped, and empty fragments
// are skipped.
QStringList readAddressFilterFragments(QStringView fileText);

// Which e-mail type list is in force (`optExclude`). None accepts no lead at all.
enum class EmailTypeMode { Exclude, Include, None };

// The user's own choices among the filters: the checked entries of the three lists and the
// e-mail type list in force.
struct UserLeadFilters
{
    QStringList excludedDomains;
    EmailTypeMode typeMode = EmailTypeMode::Exclude;
    QStringList excludedTypes;
    QStringList includedTypes;
    // The junk-extension list's entries in force (the modern profile's junk filter).
    QStringList junkExtensions{};
    bool operator==(const UserLeadFilters &) const = default;
};

// The user's lead filters as they stand when a page is examined. Only the checked entries of
// the window's lists belong here; the window (or the command line) collects them.
struct LeadFilters
{
    AddressFilterList addressFilters;
    // Checked entries of `lstDomains`: an address whose domain part contains one (letter case
    // ignored) is rejected. The same entries also keep links off the queues.
    QStringList excludedDomains;
    EmailTypeMode typeMode = EmailTypeMode::Exclude;
    // Checked entries of `lstEmail` (exclude mode) / `lstIncEmail` (include mode), compared
    // with the whole local part, letter case ignored.
    QStringList excludedTypes;
    QStringList includedTypes;
    // `cmbEmail`: accept while lead set size + 1 <= leadLimit.
    qint64 leadLimit = std::numeric_limits<qint32>::max();
    // Modern profile only: an address ending in one of these is a file name (JunkNameRule).
    QStringList junkExtensions;

    void setUserFilters(const UserLeadFilters &user)
    {
        excludedDomains = user.excludedDomains;
        typeMode = user.typeMode;
        excludedTypes = user.excludedTypes;
        includedTypes = user.includedTypes;
        junkExtensions = user.junkExtensions;
    }
};

} // namespace corvane
