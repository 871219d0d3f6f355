#pragma once

#include <QCommandLineOption>
#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

#include <functional>
#include <limits>
#include <variant>
#include <vector>

namespace corvane::cli {

// A command's options as one declarative table: the parser, the --help text, the manual
// page section and the shell's completion words all come from it, so they never disagree.

// What an option takes. Each kind decides what the parser accepts and what a shell offers.
struct FlagValue
{
};
struct TextValue
{
};
struct FileValue
{
};
struct NumberValue
{
    qint64 min = 0;
    qint64 max = std::numeric_limits<qint64>::max();
};
struct ChoiceValue
{
    QStringList choices;
};
using OptionKind = std::variant<FlagValue, TextValue, FileValue, NumberValue, ChoiceValue>;

struct OptionDefinition
{
    QString name{};      // the long name, without "--"
    QString valueName{}; // "ID", "DATE"; unused for flags
    QString help{};      // its meaning, lower case, no full stop
    OptionKind kind = FlagValue{};
    QString defaultValue{}; // used and shown when the option is not given; empty: none
    // Shown instead of defaultValue where the default depends on other options (and is
    // then settled by the command itself).
    QString shownDefault{};
    bool required = false;
    bool repeatable = false; // may be given more than once; values() has them all
};

struct CommandDefinition
{
    QString name{};      // the words that call it: "leads list"
    QString summary{};   // one sentence
    QString arguments{}; // synopsis of positional arguments ("PATH..."); empty: none taken
    std::vector<OptionDefinition> options{};
    QStringList examples{}; // command lines, without the program name
};

// What a parse found: given values, else the table's defaults.
class OptionValues
{
public:
    bool isSet(const QString &name) const { return m_given.contains(name); }
    // The value given last, else the default.
    QString value(const QString &name) const { return m_values.value(name).value(0); }
    // Every value given, in order; the default alone when none was.
    QStringList values(const QString &name) const { return m_values.value(name); }
    // A NumberValue option's value; parse() has checked it.
    qint64 number(const QString &name) const { return value(name).toLongLong(); }
    const QStringList &positional() const { return m_positional; }

private:
    friend class OptionTable;
    QHash<QString, QStringList> m_values;
    QSet<QString> m_given;
    QStringList m_positional;
};

// parse() has done everything already: help was shown, or a bad call reported.
struct ExitNow
{
    int code;
};

class OptionTable
{
public:
    explicit OptionTable(CommandDefinition definition);

    const CommandDefinition &definition() const { return m_definition; }

    // -h/--help prints helpText() on stdout (exit 0); a bad call prints one line on stderr
    // (exit 2); -q/--quiet turns messages off (setQuiet). args are those after the command's
    // words.
    std::variant<OptionValues, ExitNow> parse(const QStringList &args) const;
    // Every option parse() accepts: the table's own, -q/--quiet and -h/--help.
    QList<QCommandLineOption> acceptedOptions() const;

    QString usageLine() const;
    // The usage line's words, an option with its value being one.
    QStringList usageWords() const;
    QString helpText() const;
    // A section for the manual page, in roff.
    QString manSection() const;
    // The words a shell may offer after previousWord: an option's choices after that option,
    // nothing after another option that takes a value (the shell offers files), else the
    // options themselves.
    QStringList completionWords(const QString &previousWord = {}) const;

private:
    const OptionDefinition *find(const QString &word) const;

    CommandDefinition m_definition;
};

// Text for a manual page in roff: backslashes and hyphens escaped, no line taken for a
// request.
QString roff(const QString &text);

// Help texts keep within this many columns.
inline constexpr qsizetype kHelpWidth = 79;
// words joined by blanks into lines of at most width characters (a longer word keeps a line
// of its own), the first line starting at column start, each further one indented by indent
// spaces; no line end after the last.
QString wrappedWords(const QStringList &words, qsizetype width, qsizetype indent, qsizetype start);
// The same for the blank-separated words of text.
QString wrapped(const QString &text, qsizetype width, qsizetype indent, qsizetype start);
// One option's lines in a help text: names, then the meaning from column on, wrapped.
QString optionLines(const QString &names, const QString &help, qsizetype column);

// The help of a command made of subcommands ("leads runs", "leads list", ...).
QString subcommandHelp(const QString &command, const QString &summary,
                       const std::vector<const OptionTable *> &subcommands);

// One subcommand of a command such as "leads": its table, and what runs once it has parsed.
struct Subcommand
{
    const OptionTable &table;
    std::function<int(const OptionValues &options)> run;
};

// Picks the subcommand args start with, parses the rest with its table and runs it; answers
// --help with subcommandHelp and refuses a missing or unknown subcommand.
int runSubcommand(const QString &command, const QString &summary,
                  const std::vector<Subcommand> &subcommands, const QStringList &args);

} // namespace corvane::cli
