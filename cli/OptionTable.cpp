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

bool takesValue(const OptionSpec &option)
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
QString optionHelp(const OptionSpec &option)
{
    QString text = option.help;
    if (const auto *choice = std::get_if<ChoiceValue>(&option.kind))
        text += QStringLiteral(": ") + choiceList(choice->choices);
    if (option.required)
        text += QStringLiteral(" (required)");
    else if (!option.defaultValue.isEmpty())
        text += QStringLiteral(" (default: %1)").arg(option.defaultValue);
    return text;
}

QString optionSynopsis(const OptionSpec &option)
{
    QString text = QStringLiteral("--") + option.name;
    if (takesValue(option))
        text += QLatin1Char(' ') + option.valueName;
    return text;
}

// roff text: backslashes and hyphens escaped, no line taken for a request.
QString roff(const QString &text)
{
    QString escaped = text;
    escaped.replace(QLatin1Char('\\'), QStringLiteral("\\e"));
    escaped.replace(QLatin1Char('-'), QStringLiteral("\\-"));
    if (escaped.startsWith(QLatin1Char('.')) || escaped.startsWith(QLatin1Char('\'')))
        escaped.prepend(QStringLiteral("\\&"));
    return escaped;
}

QString valueProblem(const OptionSpec &option, const QString &value)
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

OptionTable::OptionTable(CommandSpec spec) : m_spec(std::move(spec)) {}

const OptionSpec *OptionTable::find(const QString &word) const
{
    for (const OptionSpec &option : m_spec.options) {
        if (word == QStringLiteral("--") + option.name)
            return &option;
    }
    return nullptr;
}

std::variant<OptionValues, ExitNow> OptionTable::parse(const QStringList &args) const
{
    QCommandLineParser parser;
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("show this help"));
    parser.addOption(help);
    for (const OptionSpec &option : m_spec.options) {
        parser.addOption(takesValue(option)
                             ? QCommandLineOption(option.name, option.help, option.valueName)
                             : QCommandLineOption(option.name, option.help));
    }
    if (!parser.parse(QStringList{m_spec.name} + args))
        return ExitNow{usageError(parser.errorText())};
    if (parser.isSet(help)) {
        writeOut(helpText());
        return ExitNow{kExitOk};
    }

    OptionValues values;
    values.m_positional = parser.positionalArguments();
    if (m_spec.arguments.isEmpty() && !values.m_positional.isEmpty())
        return ExitNow{usageError(QStringLiteral("%1 takes no argument \"%2\"")
                                      .arg(m_spec.name, values.m_positional.first()))};
    for (const OptionSpec &option : m_spec.options) {
        if (!parser.isSet(option.name)) {
            if (option.required)
                return ExitNow{usageError(
                    QStringLiteral("%1 needs %2").arg(m_spec.name, optionSynopsis(option)))};
            values.m_values.insert(option.name, option.defaultValue);
            continue;
        }
        const QString value = takesValue(option) ? parser.value(option.name) : QString();
        if (const QString problem = valueProblem(option, value); !problem.isEmpty())
            return ExitNow{usageError(problem)};
        values.m_given.insert(option.name);
        values.m_values.insert(option.name, value);
    }
    return values;
}

QString OptionTable::usageLine() const
{
    QString line = QStringLiteral("corvane-cli ") + m_spec.name;
    for (const OptionSpec &option : m_spec.options)
        line += option.required ? QLatin1Char(' ') + optionSynopsis(option)
                                : QStringLiteral(" [%1]").arg(optionSynopsis(option));
    if (!m_spec.arguments.isEmpty())
        line += QLatin1Char(' ') + m_spec.arguments;
    return line;
}

QString OptionTable::helpText() const
{
    const QString helpNames = QStringLiteral("-h, --help");
    qsizetype width = helpNames.size();
    for (const OptionSpec &option : m_spec.options)
        width = std::max(width, optionSynopsis(option).size());
    width += 3;

    QString text = QStringLiteral("usage: %1\n\n%2\n").arg(usageLine(), m_spec.summary);
    text += QStringLiteral("\nOptions:\n");
    for (const OptionSpec &option : m_spec.options)
        text += QStringLiteral("  %1%2\n")
                    .arg(optionSynopsis(option), -int(width))
                    .arg(optionHelp(option));
    text += QStringLiteral("  %1%2\n")
                .arg(helpNames, -int(width))
                .arg(QStringLiteral("show this help"));
    if (!m_spec.examples.isEmpty()) {
        text += m_spec.examples.size() == 1 ? QStringLiteral("\nExample:\n")
                                            : QStringLiteral("\nExamples:\n");
        for (const QString &example : m_spec.examples)
            text += QStringLiteral("  corvane-cli %1\n").arg(example);
    }
    return text;
}

QString OptionTable::manSection() const
{
    QString text =
        QStringLiteral(".SS \"%1\"\n").arg(roff(QStringLiteral("corvane-cli ") + m_spec.name));
    text +=
        roff(usageLine()) + QStringLiteral("\n.PP\n") + roff(m_spec.summary) + QLatin1Char('\n');
    for (const OptionSpec &option : m_spec.options) {
        text += QStringLiteral(".TP\n\\fB\\-\\-%1\\fR").arg(roff(option.name));
        if (takesValue(option))
            text += QStringLiteral(" \\fI%1\\fR").arg(roff(option.valueName));
        text += QLatin1Char('\n') + roff(optionHelp(option)) + QLatin1Char('\n');
    }
    for (const QString &example : m_spec.examples)
        text += QStringLiteral(".PP\n.RS\n.nf\n%1\n.fi\n.RE\n")
                    .arg(roff(QStringLiteral("corvane-cli ") + example));
    return text;
}

QStringList OptionTable::completionWords(const QString &previousWord) const
{
    if (const OptionSpec *option = find(previousWord); option && takesValue(*option)) {
        if (const auto *choice = std::get_if<ChoiceValue>(&option->kind))
            return choice->choices;
        return {};
    }
    QStringList words;
    for (const OptionSpec &option : m_spec.options)
        words << QStringLiteral("--") + option.name;
    words << QStringLiteral("--help");
    return words;
}

QString subcommandHelp(const QString &command, const QString &summary,
                       const std::vector<const OptionTable *> &subcommands)
{
    QString text =
        QStringLiteral("usage: corvane-cli %1 SUBCOMMAND [OPTIONS]\n\n%2\n\nSubcommands:\n")
            .arg(command, summary);
    for (const OptionTable *table : subcommands)
        text += QStringLiteral("  %1\n      %2\n").arg(table->usageLine(), table->spec().summary);
    text += QStringLiteral("\nEach subcommand answers --help with its options and an example.\n");
    return text;
}

} // namespace corvane::cli
