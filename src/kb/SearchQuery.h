#pragma once

#include "common/Result.h"

#include <QString>

namespace corvane {

// The words of a search as the user types them: every word must be on the page, "quoted
// words" must stand together in that order, and a word or quoted phrase ending in * also
// matches longer words it begins (bread* finds breadcrumbs). Letter case and accents do
// not count. Everything else is literal text: no operator, bracket or column name the user
// types reaches the index's query language.
//
// Returns the index's MATCH phrases: each word or phrase quoted (inner quotes doubled), a
// prefix followed by " *". Fails with a message for the user when nothing searchable is left
// (only punctuation, say), for more than kMaxSearchWords words, or for a * after fewer than
// kMinPrefixLength letters (a* would read through most of the index).
Result<QStringList> matchPhrases(const QString &query);
// The same phrases joined by AND: the index's MATCH expression.
Result<QString> matchExpression(const QString &query);

inline constexpr int kMaxSearchWords = 32;
inline constexpr int kMinPrefixLength = 2;

} // namespace corvane
