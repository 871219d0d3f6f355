#include "scan/ReadWorkbook.h"

#include "scan/LeadColumn.h"

#include <QFile>
#include <QFileInfo>

namespace corvane {

Result<QStringList> ReadWorkbook(const QString &path)
{
    return readLeadSheet(path, {});
}

Result<QStringList> readLeadSheet(const QString &path, const LeadSheetWatch &watch,
                                  const LeadSheetLimits &limits)
{
    if (path.trimmed().isEmpty())
        return fail(QStringLiteral("No file given."));
    if (!QFileInfo(path).isFile())
        return fail(QStringLiteral("%1 does not exist or is not a file.").arg(path));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("Cannot read %1: %2").arg(path, file.errorString()));
    return readLeadSheet(file, QFileInfo(path).fileName(), watch, limits);
}

Result<QStringList> readLeadSheet(QIODevice &device, const QString &name,
                                  const LeadSheetWatch &watch, const LeadSheetLimits &limits)
{
    SheetContext context(name, watch, limits);
    if (!device.isSequential() && device.size() > limits.maxBytes)
        return context.refuse(QStringLiteral("it is larger than %1").arg(context.sizeLimit()));
    const QByteArray magic = device.peek(8);
    const bool zip = magic.startsWith("PK\x03\x04");
    const bool compound = magic.startsWith("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1");
    if ((zip || compound) && device.isSequential())
        return context.refuse(QStringLiteral("a workbook must be read from a file"));
    if (zip)
        return readXlsxSheet(device, context);
    if (compound)
        return readXlsSheet(device, context);
    return readTextSheet(device, context);
}

} // namespace corvane
