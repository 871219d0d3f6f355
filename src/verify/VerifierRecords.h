#pragma once

#include "common/Result.h"

#include <QString>
#include <QStringList>

namespace corvane {

// The verifier's result files, one address per line, appended: "VrTest.scv" in the
// verified folder and "UnTest.scv" in the unverified folder of the data folder.
namespace VerifierRecords {

QString verifiedPath();
QString unverifiedPath();

// Appends the addresses (Windows-1252, CR LF), creating the file when it does not exist.
// The file is open only for this call.
Result<void> append(const QString &path, const QStringList &addresses);

} // namespace VerifierRecords
} // namespace corvane
