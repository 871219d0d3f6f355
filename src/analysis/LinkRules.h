#pragma once

#include "common/CrawlProfile.h"

#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>

// Small text rules the link extractors and lead filters share. Positions follow the program's
// 1-based string functions so the rules read like the behaviour they keep.
namespace corvane::link_rules {

// No link longer than this is queued or listed. Servers refuse longer request lines anyway,
// and a page address of megabytes joined to each of a page's relative links would otherwise
// cost its length once per link.
inline constexpr qsizetype kMaxLinkLength = 2048;

// 1-based position of needle in text at or after start, 0 when absent; an empty needle is
// found at start (as long as start lies within text + 1).
qsizetype inStr(qsizetype start, QStringView text, QStringView needle,
                Qt::CaseSensitivity cs = Qt::CaseSensitive);

// Blanks only; tabs and line breaks stay.
QStringView trimBlanks(QStringView text);

// "http://" (and under the modern profile also "https://"), letter case ignored.
bool startsWithWebScheme(QStringView text, CrawlProfile profile);
bool containsWebScheme(QStringView text, CrawlProfile profile);

// Positions that the classic rules count from the end of "http://" move one further for an
// "https://" URL under the modern profile.
qsizetype schemeShift(QStringView url, CrawlProfile profile);

// The host part of base: everything before the first "/" at or after character 8.
QString hostOf(const QString &base, CrawlProfile profile);

// "http://www." (and "https://www." under modern): the empty-site link that is never listed.
bool isBareWww(QStringView link, CrawlProfile profile);

// The address a redirect link carries: the first query parameter whose value, percent-decoded,
// is an "http://" or "https://" address with a host ("/url?q=http%3A%2F%2Ffirm.com%2F&sa=U"
// gives "http://firm.com/"), itself unwrapped when it is a redirect link too (up to three
// deep). Nothing when link carries no address.
std::optional<QString> redirectTarget(QStringView link);

// Some entry occurs in text, letter case ignored.
bool containsAny(QStringView text, const QStringList &entries);

} // namespace corvane::link_rules
