#pragma once

#include "common/Result.h"
#include "common/Sqlite.h"

#include <span>

namespace corvane {

// The lead database's layout as a chain of steps: step N turns a version N-1 file (0: new
// and empty) into a version N file. The file records its version in PRAGMA user_version.
struct SchemaStep
{
    int version;
    const char *sql;
};

std::span<const SchemaStep> leadSchemaSteps();
int leadSchemaVersion();

// Brings the file up to the last step in one transaction, so a failed step leaves it as it
// was. A file of a version newer than the steps know is refused untouched.
Result<void> migrate(sqlite::Connection &db, std::span<const SchemaStep> steps);

} // namespace corvane
