#include "Command.h"

#include <cstdio>

namespace corvane::cli {

std::map<QString, Command> &commandTable()
{
    static std::map<QString, Command> table;
    return table;
}

void writeOut(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, bytes.size(), stdout);
}

void writeErr(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, bytes.size(), stderr);
    std::fflush(stderr);
}

int usageError(const QString &message)
{
    writeErr(QStringLiteral("corvane-cli: %1\n").arg(message));
    return kExitUsage;
}

int failure(const QString &message)
{
    writeErr(QStringLiteral("corvane-cli: %1\n").arg(message));
    return kExitFailed;
}

} // namespace corvane::cli
