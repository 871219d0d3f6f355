#include "common/LeadFile.h"

#include "common/Cp1252.h"

#include <QFile>
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

Result<QStringList> read(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("Cannot read %1: %2").arg(path, file.errorString()));
    QStringList leads;
    bool first = true;
    while (!file.atEnd()) {
        QByteArray line = file.readLine();
        while (line.endsWith('\n') || line.endsWith('\r'))
            line.chop(1);
        if (first) {
            first = false;
            if (line.trimmed() == kHeader)
                continue;
        }
        const qsizetype comma = line.indexOf(',');
        const QByteArray field = (comma < 0 ? line : line.left(comma)).trimmed();
        if (!field.isEmpty())
            leads << fromCp1252(field);
    }
    return leads;
}

} // namespace corvane::LeadFile
