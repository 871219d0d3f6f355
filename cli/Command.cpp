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

QCommandLineOption profileOption()
{
    return QCommandLineOption(QStringLiteral("profile"),
                              QStringLiteral("classic (default) or modern"),
                              QStringLiteral("PROFILE"));
}

Result<CrawlProfile> chosenProfile(const QCommandLineParser &parser)
{
    const QString name = parser.value(QStringLiteral("profile"));
    if (name.isEmpty() && !parser.isSet(QStringLiteral("profile")))
        return CrawlProfile::Classic;
    if (const auto profile = parseCrawlProfile(name))
        return *profile;
    return fail(QStringLiteral("--profile must be classic or modern, not \"%1\"").arg(name));
}

Result<EmailTypeMode> emailTypeMode(const QCommandLineParser &parser)
{
    const bool excluded = !parser.values(QStringLiteral("exclude-type")).isEmpty();
    const bool included = !parser.values(QStringLiteral("include-type")).isEmpty();
    if (excluded && included)
        return fail(QStringLiteral("--exclude-type and --include-type cannot be combined"));
    return included ? EmailTypeMode::Include : EmailTypeMode::Exclude;
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
