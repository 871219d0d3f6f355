#pragma once

#include "common/Result.h"

#include <QString>

#include <functional>
#include <optional>

namespace corvane {

inline constexpr char kLowDiskSpaceMessage[] = "Insufficient hard disk space (below 5 MB)";
inline constexpr qint64 kLowDiskSpaceLimit = 5000000;

// Bytes available to the user on the volume holding path; the tests replace it.
using FreeSpaceQuery = std::function<Result<qint64>(const QString &path)>;
Result<qint64> systemFreeSpace(const QString &path);

// The volume part of a knowledge-base root: up to and including the character after the
// first ":" ("C:\"), or the root itself where paths have no drive letter.
QString driveRootOf(const QString &root);

// GetDiskSpace: the warning text when 5,000,000 bytes or less are available on the volume
// of driveRoot (or its nearest existing parent), nothing when there is room. The run goes
// on either way; a failing query comes back as "GetDiskSpace->" + description.
Result<std::optional<QString>> GetDiskSpace(const QString &driveRoot,
                                            const FreeSpaceQuery &query = systemFreeSpace);

} // namespace corvane
