#pragma once

#include "common/Result.h"

#include <QString>
#include <QStringList>

namespace corvane {

// A lead file: comma-separated text, first line "Email Id", one lead per line, CR LF,
// written in Windows-1252 like the rest of the program's files.
namespace LeadFile {

inline constexpr char kHeader[] = "Email Id";

// Writes the whole file through a temporary file, so an old file survives a failure.
Result<void> write(const QString &path, const QStringList &leads);

// The leads of a lead file: every non-empty line after the header, first field only.
Result<QStringList> read(const QString &path);

} // namespace LeadFile
} // namespace corvane
