#pragma once

#include "common/Result.h"

#include <QString>
#include <QStringList>

namespace corvane {

// Reads the first column of a lead sheet, from row 1 down to the first empty cell, and
// returns the cells that contain "@", unchanged and in order. A lead file saved by the
// leads scan yields exactly its leads ("Email Id" holds no "@").
//
// Understands comma-separated text (.csv, .txt and any other text), Office Open XML
// workbooks (.xlsx, first worksheet) and Excel 97-2003 workbooks (.xls, first worksheet).
// The format is told by the file's first bytes, not by its name. Failures say what is
// wrong with the file; the windows show them in place of a bare "File does not exists".
Result<QStringList> ReadWorkbook(const QString &path);

// The message the windows fell back on for any failure.
inline const QString kReadWorkbookFailed = QStringLiteral("File does not exists");

} // namespace corvane
