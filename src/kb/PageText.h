#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace corvane {

// What one page may give the search index: about 150,000 words, more than any page a reader
// goes through, so that a search finds every page holding a word; a generated page of
// megabytes of text is cut there.
inline constexpr qsizetype kMaxIndexedTextLength = 1'000'000;

// The text a reader sees on a stored page: markup, comments, scripts, styles, templates and
// the title (indexed on its own) removed, character references decoded, white space run
// together; at most maxLength characters. The bytes are read by the rule of pageTitle
// (UTF-8 when the page is UTF-8 throughout, else Windows-1252). Any input gives some text
// in time linear in its size; only the first few megabytes of a huge page are looked at.
QString visiblePageText(QByteArrayView html, qsizetype maxLength = kMaxIndexedTextLength);

// The start of a page read only partly: the bytes up to the last whole character, so that
// a UTF-8 page cut in the middle of a character is still read as UTF-8.
QByteArrayView withoutCutCharacter(QByteArrayView head);

} // namespace corvane
