#include "kb/DiskSpace.h"

#include <QDir>
#include <QFileInfo>

#include <filesystem>

namespace corvane {

Result<qint64> systemFreeSpace(const QString &path)
{
    std::error_code error;
    const std::filesystem::space_info info = std::filesystem::space(path.toStdU16String(), error);
    if (error)
        return fail(QString::fromStdString(error.message()));
    return static_cast<qint64>(std::min<std::uintmax_t>(info.available, INT64_MAX));
}

QString driveRootOf(const QString &root)
{
    const qsizetype colon = root.indexOf(QLatin1Char(':'));
    if (colon >= 0)
        return root.left(colon + 2);
    return root;
}

Result<std::optional<QString>> GetDiskSpace(const QString &driveRoot, const FreeSpaceQuery &query)
{
    // The knowledge-base root may not exist before the first page is stored; its volume is
    // that of the nearest folder that does.
    QString path = driveRoot.trimmed().isEmpty() ? QDir::currentPath() : driveRoot.trimmed();
    QFileInfo info(path);
    while (!info.exists() && !info.isRoot()) {
        const QString parent = info.absolutePath();
        if (parent == info.absoluteFilePath())
            break;
        info = QFileInfo(parent);
    }
    Result<qint64> available = query(info.absoluteFilePath());
    if (!available)
        return fail(QStringLiteral("GetDiskSpace->") + available.message());
    if (*available <= kLowDiskSpaceLimit)
        return std::optional<QString>(QString::fromLatin1(kLowDiskSpaceMessage));
    return std::optional<QString>();
}

} // namespace corvane
