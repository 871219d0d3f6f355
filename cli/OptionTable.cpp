#include "OptionTable.h"

#include "Command.h"

#include <QCommandLineParser>

namespace corvane::cli {

namespace {

template <typename... Ts>
struct Overloaded : Ts...
{
    using Ts::operator()...;
};

// The options every command takes besides its own.
const OptionDefinition kQuietOption{.name = QStringLiteral("quiet"),
                                    .help =
                                        QStringLiteral("no progress and no messages, only errors")};
const OptionDefinition kHelpOption{.name = QStringLiteral("help"),
                                   .help = QStringLiteral("show this help")};

// "-q, --quiet"
QString commonOptionNames(const OptionDefinition &option)
{
    return QStringLiteral("-%1, --%2").arg(option.name.at(0)).arg(option.name);
}

// Option names wider than this put their meaning on the next line.
constexpr qsizetype kNameColumn = 26;

bool takesValue(const OptionDefinition &option)
{
    return !std::holds_alternative<FlagValue>(option.kind);
}

// "a, b or c"
QString choiceList(const QStringList &choices)
{
    if (choices.size() < 2)
        return choices.join(QString());
    return choices.mid(0, choices.size() - 1).join(QStringLiteral(", ")) + QStringLiteral(" or ") +
           choices.last();
}

// The help line's text after the option's name: meaning, choices, default.
QString optionHelp(const OptionDefinition &option)
{
    QString text = option.help;
    if (const auto *choice = std::get_if<ChoiceValue>(&option.kind))
        text += QStringLiteral(": ") + choiceList(choice->choices);
    if (option.repeatable)
        text += QStringLiteral("; may be given more than once");
    const QString shownDefault =
        option.shownDefault.isEmpty() ? option.defaultValue : option.shownDefault;
    if (option.required)
        text += QStringLiteral(" (required)");
    else if (!shownDefault.isEmpty())
        text += QStringLiteral(" (default: %1)").arg(shownDefault);
    return text;
}

QString optionSynopsis(const OptionDefinition &option)
{
    QString text = QStringLiteral("--") + option.name;
    if (takesValue(option))
        text += QLatin1Char(' ') + option.valueName;
    return text;
}

QString valueProblem(const OptionDefinition &option, const QString &value)
{
    return std::visit(
        Overloaded{
            [](const FlagValue &) { return QString(); },
            [](const TextValue &) { return QString(); },
            [&](const FileValue &) {
                return value.isEmpty() ? QStringLiteral("--%1 needs a file name").arg(option.name)
                                       : QString();
            },
            [&](const NumberValue &range) {
                bool ok = false;
                const qint64 number = value.toLongLong(&ok);
                if (ok && number >= range.min && number <= range.max)
                    return QString();
                const QString bounds =
                    range.max == std::numeric_limits<qint64>::max()
                        ? QStringLiteral("from %1 up").arg(range.min)
                        : QStringLiteral("from %1 to %2").arg(range.min).arg(range.max);
                return QStringLiteral("--%1 must be a whole number %2, not \"%3\"")
                    .arg(option.name, bounds, value);
            },
            [&](const ChoiceValue &choice) {
                if (choice.choices.contains(value))
                    return QString();
                return QStringLiteral("--%1 must be %2, not \"%3\"")
                    .arg(option.name, choiceList(choice.choices), value);
            },
        },
        option.kind);
}

} // namespace

QString roff(const QString &text)
{
    QString escaped = text;
    escaped.replace(QLatin1Char('\\'), QStringLiteral("\\e"));
    escaped.replace(QLatin1Char('-'), QStringLiteral("\\-"));
    if (escaped.startsWith(QLatin1Char('.')) || escaped.startsWith(QLatin1Char('\'')))
        escaped.prepend(QStringLiteral("\\&"));
    return escaped;
}

QString wrappedWords(const QStringList &words, qsizetype width, qsizetype indent, qsizetype start)
{
    QString out;
    qsizetype column = start;
    bool first = true;
    for (const QString &word : words) {
        if (!first && column + 1 + word.size() > width) {
            out += QLatin1Char('\n') + QString(indent, QLatin1Char(' '));
            column = indent;
        } else if (!first) {
            out += QLatin1Char(' ');
            ++column;
        }
        out += word;
        column += word.size();
        first = false;
    }
    return out;
}

QString wrapped(const QString &text, qsizetype width, qsizetype indent, qsizetype start)
{
    return wrappedWords(text.split(QLatin1Char(' '), Qt::SkipEmptyParts), width, indent, start);
}

QString optionLines(const QString &names, const QString &help, qsizetype column)
{
    QString text = QStringLiteral("  ") + names;
    if (names.size() + 4 > column)
        text += QLatin1Char('\n') + QString(column, QLatin1Char(' '));
    else
        text += QString(column - 2 - names.size(), QLatin1Char(' '));
    return text + wrapped(help, kHelpWidth, column, column) + QLatin1Char('\n');
}

OptionTable::OptionTable(CommandDefinition definition) : m_definition(std::move(definition))
{
    for ([[maybe_unused]] const OptionDefinition &option : m_definition.options)
        Q_ASSERT_X(option.name != kQuietOption.name && option.name != kHelpOption.name,
                   "OptionTable", "every command has --quiet and --help already");
}

const OptionDefinition *OptionTable::find(const QString &word) const
{
    for (const OptionDefinition &option : m_definition.options) {
        if (word == QStringLiteral("--") + option.name)
            return &option;
    }
    return nullptr;
}

QList<QCommandLineOption> OptionTable::acceptedOptions() const
{
    QList<QCommandLineOption> options;
    for (const OptionDefinition *common : {&kHelpOption, &kQuietOption})
        options.append(QCommandLineOption({common->name.left(1), common->name}, common->help));
    for (const OptionDefinition &option : m_definition.options) {
        options.append(takesValue(option)
                           ? QCommandLineOption(option.name, option.help, option.valueName)
                           : QCommandLineOption(option.name, option.help));
    }
    return options;
}

std::variant<OptionValues, ExitNow> OptionTable::parse(const QStringList &args) const
{
    QCommandLineParser parser;
    parser.addOptions(acceptedOptions());
    if (!parser.parse(QStringList{m_definition.name} + args))
        return ExitNow{usageError(parser.errorText())};
    if (parser.isSet(kHelpOption.name)) {
        writeOut(helpText());
        return ExitNow{kExitOk};
    }
    setQuiet(parser.isSet(kQuietOption.name));

    OptionValues values;
    values.m_positional = parser.positionalArguments();
    if (m_definition.arguments.isEmpty() && !values.m_positional.isEmpty())
        return ExitNow{usageError(QStringLiteral("%1 takes no argument \"%2\"")
                                      .arg(m_definition.name, values.m_positional.first()))};
    for (const OptionDefinition &option : m_definition.options) {
        if (!parser.isSet(option.name)) {
            if (option.required)
                return ExitNow{usageError(
                    QStringLiteral("%1 needs %2").arg(m_definition.name, optionSynopsis(option)))};
            values.m_values.insert(option.name, option.defaultValue.isEmpty()
                                                    ? QStringList()
                                                    : QStringList{option.defaultValue});
            continue;
        }
        const QStringList given =
            takesValue(option) ? parser.values(option.name) : QStringList{QString()};
        for (const QString &value : given) {
            if (const QString problem = valueProblem(option, value); !problem.isEmpty())
                return ExitNow{usageError(problem)};
        }
        values.m_given.insert(option.name);
        values.m_values.insert(option.name,
                               option.repeatable ? given : given.mid(given.size() - 1));
    }
    return values;
}

QStringList OptionTable::usageWords() const
{
    QStringList words{QStringLiteral("corvane-cli"), m_definition.name};
    for (const OptionDefinition &option : m_definition.options)
        words << (option.required ? optionSynopsis(option)
                                  : QStringLiteral("[%1]").arg(optionSynopsis(option)));
    if (!m_definition.arguments.isEmpty())
        words << m_definition.arguments;
    return words;
}

QString OptionTable::usageLine() const
{
    return usageWords().join(QLatin1Char(' '));
}

QString OptionTable::helpText() const
{
    qsizetype column = commonOptionNames(kHelpOption).size();
    for (const OptionDefinition &option : m_definition.options) {
        if (const qsizetype width = optionSynopsis(option).size(); width <= kNameColumn)
            column = std::max(column, width);
    }
    column += 4;

    QString text =
        QStringLiteral("usage: %1\n\n%2\n")
            .arg(wrappedWords(usageWords(), kHelpWidth, 7 + 12 + m_definition.name.size() + 1, 7),
                 wrapped(m_definition.summary, kHelpWidth, 0, 0));
    text += QStringLiteral("\nOptions:\n");
    for (const OptionDefinition &option : m_definition.options)
        text += optionLines(optionSynopsis(option), optionHelp(option), column);
    for (const OptionDefinition *common : {&kQuietOption, &kHelpOption})
        text += optionLines(commonOptionNames(*common), common->help, column);
    if (!m_definition.examples.isEmpty()) {
        text += m_definition.examples.size() == 1 ? QStringLiteral("\nExample:\n")
                                                  : QStringLiteral("\nExamples:\n");
        for (const QString &example : m_definition.examples)
            text += QStringLiteral("  corvane-cli %1\n").arg(example);
    }
    text += QStringLiteral("\nExit status: %1.\n").arg(exitStatusSummary());
    return text;
}

QString OptionTable::manSection() const
{
    QString text = QStringLiteral(".SS \"%1\"\n")
                       .arg(roff(QStringLiteral("corvane-cli ") + m_definition.name));
    text += roff(usageLine()) + QStringLiteral("\n.PP\n") + roff(m_definition.summary) +
            QLatin1Char('\n');
    for (const OptionDefinition &option : m_definition.options) {
        text += QStringLiteral(".TP\n\\fB\\-\\-%1\\fR").arg(roff(option.name));
        if (takesValue(option))
            text += QStringLiteral(" \\fI%1\\fR").arg(roff(option.valueName));
        text += QLatin1Char('\n') + roff(optionHelp(option)) + QLatin1Char('\n');
    }
    for (const OptionDefinition *common : {&kQuietOption, &kHelpOption})
        text += QStringLiteral(".TP\n\\fB\\-%1\\fR, \\fB\\-\\-%2\\fR\n%3\n")
                    .arg(common->name.at(0))
                    .arg(roff(common->name), roff(common->help));
    if (!m_definition.examples.isEmpty())
        text += m_definition.examples.size() == 1 ? QStringLiteral(".PP\nExample:\n")
                                                  : QStringLiteral(".PP\nExamples:\n");
    for (const QString &example : m_definition.examples)
        text += QStringLiteral(".RS\n.nf\n%1\n.fi\n.RE\n")
                    .arg(roff(QStringLiteral("corvane-cli ") + example));
    return text;
}

QStringList OptionTable::completionWords(const QString &previousWord) const
{
    if (const OptionDefinition *option = find(previousWord); option && takesValue(*option)) {
        if (const auto *choice = std::get_if<ChoiceValue>(&option->kind))
            return choice->choices;
        return {};
    }
    QStringList words;
    for (const OptionDefinition &option : m_definition.options)
        words << QStringLiteral("--") + option.name;
    words << QStringLiteral("--quiet") << QStringLiteral("--help");
    return words;
}

QString subcommandHelp(const QString &command, const QString &summary,
                       const std::vector<const OptionTable *> &subcommands)
{
    QString text =
        QStringLiteral("usage: corvane-cli %1 SUBCOMMAND [OPTIONS]\n\n%2\n\nSubcommands:\n")
            .arg(command, wrapped(summary, kHelpWidth, 0, 0));
    for (const OptionTable *table : subcommands)
        text += QStringLiteral("  %1\n      %2\n")
                    .arg(wrappedWords(table->usageWords(), kHelpWidth, 4, 2),
                         wrapped(table->definition().summary, kHelpWidth, 6, 6));
    text += QStringLiteral("\nEach subcommand answers --help with its options and an example.\n");
    text += QStringLiteral("\nExit status: %1.\n").arg(exitStatusSummary());
    return text;
}

int runSubcommand(const QString &command, const QString &summary,
                  const std::vector<Subcommand> &subcommands, const QStringList &args)
{
    const QString word = args.value(0);
    for (const Subcommand &subcommand : subcommands) {
        if (subcommand.table.definition().name == command + QLatin1Char(' ') + word) {
            const auto parsed = subcommand.table.parse(args.mid(1));
            if (const auto *exit = std::get_if<ExitNow>(&parsed))
                return exit->code;
            return subcommand.run(std::get<OptionValues>(parsed));
        }
    }
    std::vector<const OptionTable *> tables;
    QStringList names;
    for (const Subcommand &subcommand : subcommands) {
        tables.push_back(&subcommand.table);
        names << subcommand.table.definition().name.mid(command.size() + 1);
    }
    if (word == QLatin1String("--help") || word == QLatin1String("-h")) {
        writeOut(subcommandHelp(command, summary, tables));
        return kExitOk;
    }
    if (word.isEmpty())
        return usageError(QStringLiteral("%1 needs %2 (see corvane-cli %1 --help)")
                              .arg(command, choiceList(names)));
    return usageError(
        QStringLiteral("%1 has no subcommand %2 (see corvane-cli %1 --help)").arg(command, word));
}

} // namespace corvane::cli
