// The help, the manual page and the completion are made from the option tables, and the
// parsers take their options from the same tables; these cases walk every registered command
// so that a new option cannot be accepted without being documented.

#include "Command.h"
#include "Manual.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace corvane::cli;
using namespace corvane::test;

namespace {

struct Answer
{
    int code = -1;
    QString out;
    QString err;
};

Answer ask(const QStringList &args)
{
    QByteArray out;
    QByteArray err;
    Answer answer;
    answer.code = runProgram(QStringLiteral("corvane-cli"), args, &out, &err);
    answer.out = QString::fromUtf8(out);
    answer.err = QString::fromUtf8(err);
    return answer;
}

// "--name" and "-n" as a help text writes them.
QStringList spelledNames(const QCommandLineOption &option)
{
    QStringList names;
    for (const QString &name : option.names())
        names << (name.size() == 1 ? QStringLiteral("-") : QStringLiteral("--")) + name;
    return names;
}

} // namespace

TEST(CommandHelp, EveryOptionEachParserAcceptsIsInThatCommandsHelp)
{
    const QString manual = manualPage(QStringLiteral("1.0"));
    const QString completion = bashCompletion();
    const Answer program = ask({QStringLiteral("--help")});
    ASSERT_EQ(program.code, kExitOk) << program.err.toStdString();
    ASSERT_FALSE(commandTable().empty());
    for (const auto &[name, command] : commandTable()) {
        EXPECT_TRUE(program.out.contains(QStringLiteral("\n  ") + name)) << name.toStdString();
        ASSERT_FALSE(command.tables.empty()) << name.toStdString();
        for (const OptionTable *table : command.tables) {
            const QString words = table->definition().name;
            SCOPED_TRACE(words.toStdString());
            const QStringList call = words.split(QLatin1Char(' '));
            // A subcommand: its group's help names it with its usage.
            if (call.size() > 1) {
                EXPECT_TRUE(ask({name, QStringLiteral("--help")})
                                .out.contains(QStringLiteral("corvane-cli ") + words));
            }
            const Answer help = ask(call + QStringList{QStringLiteral("--help")});
            ASSERT_EQ(help.code, kExitOk) << help.err.toStdString();
            EXPECT_TRUE(help.err.isEmpty()) << help.err.toStdString();
            EXPECT_EQ(ask(call + QStringList{QStringLiteral("-h")}).out, help.out);
            for (const char *part : {"usage: corvane-cli ", "\nOptions:\n", "\nExample",
                                     "\nExit status: 0 done, 1 failed, 2 bad call, 130 "})
                EXPECT_TRUE(help.out.contains(QLatin1String(part))) << part;

            for (const QCommandLineOption &option : table->acceptedOptions()) {
                for (const QString &spelled : spelledNames(option)) {
                    EXPECT_TRUE(help.out.contains(QStringLiteral("  ") + spelled) ||
                                help.out.contains(QStringLiteral(", ") + spelled))
                        << spelled.toStdString() << " is accepted but not in the help:\n"
                        << help.out.toStdString();
                    EXPECT_TRUE(manual.contains(
                        QString(spelled).replace(QLatin1Char('-'), QStringLiteral("\\-"))))
                        << spelled.toStdString() << " is missing from the manual page";
                    if (spelled.startsWith(QLatin1String("--"))) {
                        EXPECT_TRUE(completion.contains(spelled))
                            << spelled.toStdString() << " is not completed";
                    }
                }
                // Each option has its meaning beside it, not just its name.
                EXPECT_FALSE(option.description().isEmpty())
                    << option.names().join(',').toStdString();
            }
        }
    }
}

TEST(CommandHelp, BadCallsAndTheProgramsOwnOptionsAnswerAsDocumented)
{
    const Answer version = ask({QStringLiteral("--version")});
    EXPECT_EQ(version.code, kExitOk);
    EXPECT_TRUE(version.out.startsWith(QStringLiteral("corvane-cli ")))
        << version.out.toStdString();

    // A bad call: one line on stderr, nothing on stdout, exit 2; data never mixes with it.
    for (const QStringList &call :
         {QStringList{QStringLiteral("harvest"), QStringLiteral("--no-such-option")},
          QStringList{QStringLiteral("scan"), QStringLiteral("--format"), QStringLiteral("xml"),
                      QStringLiteral(".")},
          QStringList{QStringLiteral("leads"), QStringLiteral("nothing")},
          QStringList{QStringLiteral("--bogus")}, QStringList{}}) {
        const Answer bad = ask(call);
        EXPECT_EQ(bad.code, kExitUsage) << call.join(' ').toStdString();
        EXPECT_TRUE(bad.out.isEmpty()) << bad.out.toStdString();
        EXPECT_EQ(bad.err.count(QLatin1Char('\n')), 1) << bad.err.toStdString();
    }
}
