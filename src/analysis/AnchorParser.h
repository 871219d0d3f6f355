#pragma once

#include "analysis/AnalysisContext.h"

#include <QString>
#include <QStringView>

#include <functional>

namespace corvane {

// Anchor-based link extraction, shared by the search-engine crawl and the bookmark import.
// All positions are 1-based and follow the program's string rules; searches for "href=" and
// "</a>" ignore letter case (ASCII), and a missing delimiter makes a value run to the end.

// The parser SplitAnchors hands each anchor to; returns the anchor's href value.
using AnchorParserFn = std::function<QString(const QString &anchor)>;

// Cuts text into anchors: from each "href=" to the first "</a>" after it, "<a " + that text
// (letter case kept) is one anchor. The walk ends at an "href=" with no "</a>" after it.
// Resets ctx.anchorValues to one empty entry, then stores each parser result in order.
// Returns the number of anchors cut. Linear in the size of text.
qsizetype SplitAnchors(AnalysisContext &ctx, QStringView text, const AnchorParserFn &parser);

// A result-page anchor (or a bookmark): the lower-cased href value, listed on lstURLList
// (search engine not selected), lstResult (parse mode 1) or lstDetails (parse mode 2) when
// it is an absolute http link that passes the filters; see the .cpp for the exact steps.
// Under the modern profile a redirect link stands for the address it carries
// (redirectTarget) before any rule looks at it.
QString ParseResultAnchor(AnalysisContext &ctx, const QString &anchor);

// A detail-page anchor: the href value resolved against host (scheme and authority) and
// listed on lstDetails when it stays on the host's site and passes the filters.
QString ParseDetailAnchor(AnalysisContext &ctx, const QString &host, const QString &anchor);

// The smallest 1-based position >= start at which any character of set occurs in text
// (exact comparison), or 32767 when none does.
qsizetype FirstDelimiter(qsizetype start, QStringView text, QStringView set);

// The whole file as text, or "#ERROR#" when it cannot be read. UTF-8 files (with a BOM or
// valid UTF-8 holding non-ASCII text) are read as UTF-8, everything else as Windows-1252.
QString ReadWholeFile(const QString &path);

} // namespace corvane
