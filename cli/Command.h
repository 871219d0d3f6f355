#pragma once

#include "analysis/LeadFilters.h"
#include "common/CrawlProfile.h"
#include "common/Result.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>

namespace corvane::cli {

// Exit codes every command keeps to: 0 done, 1 the work itself failed (a run ended in
// error, nothing to do), 2 the call was wrong (bad flag, missing or unreadable input).
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

// args excludes the program name, the global options and the command name itself.
using CommandHandler = std::function<int(const QStringList &args)>;

struct Command
{
    QString summary;
    CommandHandler run;
};

std::map<QString, Command> &commandTable();

// Each cli/cmd_*.cpp registers its commands with one static CommandRegistration.
struct CommandRegistration
{
    CommandRegistration(const QString &name, const QString &summary, CommandHandler run)
    {
        commandTable()[name] = Command{summary, std::move(run)};
    }
};

// "corvane-cli: <message>" on stderr, one line; returns kExitUsage for `return usageError(...)`.
int usageError(const QString &message);
// The same prefix for failures of the work itself; returns kExitFailed.
int failure(const QString &message);

// The --profile option of the commands that follow links or query servers.
QCommandLineOption profileOption();
// The profile chosen with profileOption(), classic when not given; a usage message otherwise.
Result<CrawlProfile> chosenProfile(const QCommandLineParser &parser);

// --exclude-type and --include-type choose which e-mail type list is in force; giving both is
// refused.
Result<EmailTypeMode> emailTypeMode(const QCommandLineParser &parser);

// Writes UTF-8 text to stdout / stderr without a trailing newline.
void writeOut(const QString &text);
void writeErr(const QString &text);

} // namespace corvane::cli
