#pragma once

#include "OptionTable.h"

#include "analysis/LeadFilters.h"
#include "common/CrawlProfile.h"
#include "common/Result.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace corvane::cli {

// Exit codes every command keeps to: 0 done, 1 the work itself failed (a run ended in
// error, nothing to do), 2 the call was wrong (bad flag, missing or unreadable input), 130
// stopped by Ctrl-C (what a shell reports for SIGINT), after saving what was found.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitInterrupted = 130;

// "0 done, 1 failed, 2 bad call, 130 interrupted", for every help text.
QString exitStatusSummary();

// args excludes the program name, the global options and the command name itself.
using CommandHandler = std::function<int(const QStringList &args)>;

struct Command
{
    QString summary;
    CommandHandler run;
    // The tables of the command, or of each of its subcommands: its help, the manual page
    // and the shell completion come from them.
    std::vector<const OptionTable *> tables;
};

std::map<QString, Command> &commandTable();

// Each cli/cmd_*.cpp registers its commands with one static CommandRegistration.
struct CommandRegistration
{
    CommandRegistration(const QString &name, const QString &summary, CommandHandler run,
                        std::vector<const OptionTable *> tables)
    {
        commandTable()[name] = Command{summary, std::move(run), std::move(tables)};
    }
};

// Parses args with table and runs the command with what it found; help and bad calls end
// there (see OptionTable::parse).
int runWithOptions(const OptionTable &table, const QStringList &args,
                   const std::function<int(const OptionValues &options)> &run);

// "corvane-cli: <message>" on stderr, one line; returns kExitUsage for `return usageError(...)`.
int usageError(const QString &message);
// The same prefix for failures of the work itself; returns kExitFailed.
int failure(const QString &message);
// "corvane-cli: warning: <message>": something went wrong beside the work, which goes on.
void warning(const QString &message);

// --quiet: no progress and no messages, errors and warnings only.
void setQuiet(bool quiet);
bool isQuiet();
// A message for the user (not data) on stderr, unless quiet.
void writeMessage(const QString &text);

// The --profile option of the commands that follow links or query servers (default classic).
OptionDefinition profileOption();
CrawlProfile chosenProfile(const OptionValues &options);

// --exclude-domain, --exclude-type and --include-type: the user's lead filters, as extract
// and harvest take them.
std::vector<OptionDefinition> leadFilterOptions();
// --exclude-type and --include-type choose which e-mail type list is in force; giving both is
// refused.
Result<EmailTypeMode> emailTypeMode(const OptionValues &options);
// Every value of a repeatable option, each also split at commas, blanks dropped.
QStringList commaList(const QStringList &values);

// --format text|csv|jsonl of the commands that find leads (harvest, scan).
OptionDefinition foundLeadsFormatOption();
// --no-record of the same commands.
OptionDefinition noRecordOption();
// The leads a harvest or scan found, in the --format chosen: to standard output, or to
// outFile when it is not empty (text: a lead file). csv and jsonl come from the runs recorded
// in the lead database, with their sources; when none was recorded, the leads are written as
// text with a warning rather than lost. Returns the exit code.
int writeFoundLeads(const QString &format, const std::vector<qint64> &runs,
                    const QStringList &leads, const QString &outFile);
// A usage message when csv or jsonl is asked for with --no-record; none otherwise.
std::optional<int> refuseFormatWithoutRecording(const OptionValues &options);

// Writes UTF-8 text to stdout / stderr without a trailing newline.
void writeOut(const QString &text);
void writeErr(const QString &text);

} // namespace corvane::cli
