#pragma once

#include "analysis/AnalysisContext.h"
#include "common/Result.h"

#include <QString>

namespace corvane {

// The import behind BookmarkImportDialog: every web address linked from a bookmark file (a
// browser's HTML bookmark export, or any page of links) is appended to the context's lstURLList, as
// the main window's start URLs. The file is cut into anchors and each anchor is taken by
// the result-page link rules, which list absolute addresses only while the search-engine
// option is off (the import runs with the main window in that state).
struct BookmarkImport
{
    static inline const QString kEmptyPathMessage =
        QStringLiteral("Please enter path of the file.");

    // Fails only for an empty path; a missing or unreadable file adds nothing. Returns the
    // number of addresses appended.
    static Result<qsizetype> run(AnalysisContext &ctx, const QString &path);

    // The addresses run() would append, read apart from any harvest: links containing one
    // of excludedDomains are left out.
    static Result<QStringList> addresses(const QString &path, const QStringList &excludedDomains,
                                         CrawlProfile profile);
};

} // namespace corvane
