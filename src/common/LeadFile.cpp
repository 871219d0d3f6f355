#include "common/LeadFile.h"

#include "common/Cp1252.h"

#include <QSaveFile>

namespace corvane::LeadFile {

Result<void> write(const QString &path, const QStringList &leads)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return fail(QStringLiteral("Cannot write %1: %2").arg(path, file.errorString()));
    QByteArray bytes(kHeader);
    bytes += "\r\n";
    for (const QString &lead : leads) {
        bytes += toCp1252Lossy(lead);
        bytes += "\r\n";
    }
    if (file.write(bytes) != bytes.size() || !file.commit())
        return fail(QStringLiteral("Cannot write %1: %2").arg(path, file.errorString()));
    return {};
}

} // namespace corvane::LeadFile
