#include "verify/VerifierRecords.h"

#include "common/Cp1252.h"
#include "common/DataFolder.h"

#include <QDir>
#include <QFile>

namespace corvane::VerifierRecords {

QString verifiedPath()
{
    return QDir(DataFolder::verified()).filePath(QStringLiteral("VrTest.scv"));
}

QString unverifiedPath()
{
    return QDir(DataFolder::unverified()).filePath(QStringLiteral("UnTest.scv"));
}

Result<void> append(const QString &path, const QStringList &addresses)
{
    if (addresses.isEmpty())
        return {};
    QByteArray bytes;
    for (const QString &address : addresses) {
        bytes += toCp1252Lossy(address);
        bytes += "\r\n";
    }
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return fail(QStringLiteral("Cannot write %1: %2").arg(path, file.errorString()));
    if (file.write(bytes) != bytes.size())
        return fail(QStringLiteral("Cannot write %1: %2").arg(path, file.errorString()));
    return {};
}

} // namespace corvane::VerifierRecords
