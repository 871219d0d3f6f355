#pragma once

#include "common/Result.h"

#include <QString>
#include <QStringList>

namespace corvane {

// A lead file: comma-separated text, first line "Email Id", one lead per line, CR LF,
// written in Windows-1252 like the rest of the program's files. It is read back, like any
// other lead sheet, by ReadWorkbook (scan/ReadWorkbook.h).
namespace LeadFile {

inline constexpr char kHeader[] = "Email Id";

// Writes the whole file through a temporary file, so an old file survives a failure.
Result<void> write(const QString &path, const QStringList &leads);

} // namespace LeadFile
} // namespace corvane
