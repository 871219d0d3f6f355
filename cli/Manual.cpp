#include "Manual.h"

#include "Command.h"

namespace corvane::cli {

namespace {

const QString kProgramSummary =
    QStringLiteral("Harvest e-mail addresses (leads) from the web into a lead database, keep web "
                   "pages in knowledge bases, and scan, verify, list and export leads.");

struct GlobalOption
{
    const char *names;
    const char *value;
    const char *help;
};
const GlobalOption kGlobalOptions[] = {
    {"--home", "DIR",
     "data folder (default: $CORVANE_HOME, else the platform's application-data folder, "
     "~/.local/share/Corvane on Linux)"},
    {"--version", nullptr, "print the program's version"},
    {"-h, --help", nullptr, "show this help; COMMAND --help shows a command's"},
};

const QString kConventions = QStringLiteral(
    "Every command answers --help (or -h) with its usage, every option with its meaning and "
    "default, and an example, and takes -q/--quiet (no progress and no messages, only "
    "errors). Data (leads, listings) go to standard output; messages and progress go to "
    "standard error.");

// The word after the command's own name for a subcommand's table ("list" of "leads list"),
// empty for a command's own table.
QString subcommandOf(const QString &command, const OptionTable &table)
{
    return table.definition().name.mid(command.size() + 1);
}

QString shellWords(const QStringList &words)
{
    return words.join(QLatin1Char(' '));
}

// The case branch that completes after the words of one table.
QString completionBranch(const OptionTable &table)
{
    const CommandDefinition &definition = table.definition();
    QString text =
        QStringLiteral("        \"%1\")\n            case $prev in\n").arg(definition.name);
    QStringList fileOptions;
    QStringList valueOptions;
    for (const OptionDefinition &option : definition.options) {
        const QString flag = QStringLiteral("--") + option.name;
        if (std::holds_alternative<ChoiceValue>(option.kind))
            text += QStringLiteral("                %1) words=\"%2\" ;;\n")
                        .arg(flag, shellWords(table.completionWords(flag)));
        else if (std::holds_alternative<FileValue>(option.kind))
            fileOptions << flag;
        else if (!std::holds_alternative<FlagValue>(option.kind))
            valueOptions << flag;
    }
    if (!fileOptions.isEmpty())
        text += QStringLiteral("                %1) files=1 ;;\n").arg(fileOptions.join('|'));
    if (!valueOptions.isEmpty())
        text += QStringLiteral("                %1) return ;;\n").arg(valueOptions.join('|'));
    const QString options = shellWords(table.completionWords());
    // Arguments are files or folders, except for a few that name stored things.
    if (!definition.arguments.isEmpty() && (definition.arguments.contains(QLatin1String("FILE")) ||
                                            definition.arguments.contains(QLatin1String("PATH"))))
        text += QStringLiteral("                *) if [[ $cur == -* ]]; then words=\"%1\"; "
                               "else files=1; fi ;;\n")
                    .arg(options);
    else
        text += QStringLiteral("                *) words=\"%1\" ;;\n").arg(options);
    text += QStringLiteral("            esac ;;\n");
    return text;
}

} // namespace

QString programHelp()
{
    QString text = QStringLiteral("usage: corvane-cli [--home DIR] COMMAND [OPTIONS] [ARGUMENTS]\n"
                                  "       corvane-cli --version | --help | help COMMAND\n\n") +
                   wrapped(kProgramSummary, kHelpWidth, 0, 0) +
                   QStringLiteral("\n\nGlobal options (before the command):\n");
    for (const GlobalOption &option : kGlobalOptions) {
        QString names = QString::fromLatin1(option.names);
        if (option.value)
            names += QLatin1Char(' ') + QLatin1String(option.value);
        text += optionLines(names, QLatin1String(option.help), 16);
    }
    text += QStringLiteral("\nCommands:\n");
    for (const auto &[name, command] : commandTable())
        text += optionLines(name, command.summary, 20);
    text += QStringLiteral("\n") + wrapped(kConventions, kHelpWidth, 0, 0) +
            QStringLiteral("\n\nExit status: %1.\n").arg(exitStatusSummary());
    return text;
}

QString manualPage(const QString &version)
{
    QString text = QStringLiteral(".TH CORVANE\\-CLI 1 \"\" \"Corvane %1\" \"User Commands\"\n")
                       .arg(roff(version));
    text += QStringLiteral(".SH NAME\ncorvane\\-cli \\- %1\n")
                .arg(roff(QStringLiteral("harvest, scan, verify, list and export e-mail leads; "
                                         "look into knowledge bases")));
    text += QStringLiteral(".SH SYNOPSIS\n.B corvane\\-cli\n[\\fB\\-\\-home\\fR \\fIDIR\\fR] "
                           "\\fICOMMAND\\fR [\\fIOPTIONS\\fR] [\\fIARGUMENTS\\fR]\n.br\n"
                           ".B corvane\\-cli \\-\\-version\n.br\n"
                           ".B corvane\\-cli \\-\\-help\n");
    text += QStringLiteral(".SH DESCRIPTION\n%1\n.PP\n%2\n")
                .arg(roff(kProgramSummary), roff(kConventions));
    text += QStringLiteral(".SH GLOBAL OPTIONS\n");
    for (const GlobalOption &option : kGlobalOptions) {
        QStringList names;
        for (const QString &name : QString::fromLatin1(option.names).split(QStringLiteral(", ")))
            names << QStringLiteral("\\fB%1\\fR").arg(roff(name));
        text += QStringLiteral(".TP\n%1").arg(names.join(QStringLiteral(", ")));
        if (option.value)
            text += QStringLiteral(" \\fI%1\\fR").arg(roff(QLatin1String(option.value)));
        text += QLatin1Char('\n') + roff(QLatin1String(option.help)) + QLatin1Char('\n');
    }
    text += QStringLiteral(".SH COMMANDS\n");
    for (const auto &[name, command] : commandTable()) {
        for (const OptionTable *table : command.tables)
            text += table->manSection();
    }
    text += QStringLiteral(".SH EXIT STATUS\n.TP\n0\ndone\n.TP\n1\nthe work failed\n.TP\n2\n"
                           "a bad call: an unknown option, a wrong value, input that cannot be "
                           "read\n.TP\n130\ninterrupted by Ctrl\\-C; a harvest has saved its "
                           "leads first\n");
    text += QStringLiteral(".SH ENVIRONMENT\n.TP\n.B CORVANE_HOME\nthe data folder when "
                           "\\fB\\-\\-home\\fR is not given\n");
    text += QStringLiteral(
        ".SH FILES\n.TP\n.I leads.sqlite\nthe lead database in the data folder: every harvest "
        "and scan run, every lead with the page or file it was found in, verifier answers and "
        "exports (see \\fBcorvane\\-cli leads\\fR)\n");
    return text;
}

QString bashCompletion()
{
    QStringList commands{QStringLiteral("help")};
    QStringList groups;
    QString branches;
    for (const auto &[name, command] : commandTable()) {
        commands << name;
        QStringList subcommands;
        for (const OptionTable *table : command.tables) {
            if (const QString sub = subcommandOf(name, *table); !sub.isEmpty())
                subcommands << sub;
            branches += completionBranch(*table);
        }
        if (!subcommands.isEmpty()) {
            groups << name;
            branches += QStringLiteral("        \"%1\") words=\"%2 --help\" ;;\n")
                            .arg(name, shellWords(subcommands));
        }
    }
    QString text =
        QStringLiteral(
            "# bash completion for corvane-cli, made from its option tables at build time\n"
            "_corvane_cli()\n"
            "{\n"
            "    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}\n"
            "    local command= sub= words= files= i\n"
            "    for ((i = 1; i < COMP_CWORD; i++)); do\n"
            "        case ${COMP_WORDS[i]} in\n"
            "            --home) ((i++)); continue ;;\n"
            "            -*) continue ;;\n"
            "        esac\n"
            "        if [[ -z $command ]]; then\n"
            "            command=${COMP_WORDS[i]}\n"
            "        elif [[ -z $sub && \" %1 \" == *\" $command \"* ]]; then\n"
            "            sub=${COMP_WORDS[i]}\n"
            "        fi\n"
            "    done\n"
            "    case $command${sub:+ $sub} in\n"
            "        \"\")\n"
            "            case $prev in\n"
            "                --home) COMPREPLY=($(compgen -d -- \"$cur\")); return ;;\n"
            "                *) words=\"--home --version --help %2\" ;;\n"
            "            esac ;;\n"
            "        help) words=\"%3\" ;;\n")
            .arg(shellWords(groups), shellWords(commands), shellWords(commands.mid(1)));
    text += branches;
    text += QStringLiteral("    esac\n"
                           "    if [[ -n $files ]]; then\n"
                           "        COMPREPLY=($(compgen -f -- \"$cur\"))\n"
                           "    else\n"
                           "        COMPREPLY=($(compgen -W \"$words\" -- \"$cur\"))\n"
                           "    fi\n"
                           "}\n"
                           "complete -o filenames -F _corvane_cli corvane-cli\n");
    return text;
}

} // namespace corvane::cli
