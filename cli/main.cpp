// corvane-cli: the harvest, the store and the lead tools for scripts and shells.
//
//   corvane-cli [--home DIR] COMMAND [ARGS...]

#include "Command.h"
#include "Manual.h"

#include "common/DataFolder.h"

#include <QCoreApplication>

using namespace corvane;
using namespace corvane::cli;

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Corvane"));
    QCoreApplication::setOrganizationName(QStringLiteral("Corvane"));
    QCoreApplication::setApplicationVersion(QStringLiteral(CORVANE_VERSION));

    QStringList args = app.arguments().mid(1);
    while (!args.isEmpty() && args.first().startsWith(QLatin1Char('-'))) {
        const QString option = args.takeFirst();
        if (option == QLatin1String("--home")) {
            if (args.isEmpty())
                return usageError(QStringLiteral("--home needs a folder"));
            DataFolder::setRoot(args.takeFirst());
        } else if (option.startsWith(QLatin1String("--home="))) {
            DataFolder::setRoot(option.mid(7));
        } else if (option == QLatin1String("--help") || option == QLatin1String("-h")) {
            writeOut(programHelp());
            return kExitOk;
        } else if (option == QLatin1String("--version")) {
            writeOut(
                QStringLiteral("corvane-cli %1\n").arg(QCoreApplication::applicationVersion()));
            return kExitOk;
        } else {
            return usageError(
                QStringLiteral("unknown option %1 (see corvane-cli --help)").arg(option));
        }
    }
    if (args.isEmpty())
        return usageError(QStringLiteral("no command given (see corvane-cli --help)"));
    const QString name = args.takeFirst();
    if (name == QLatin1String("help")) {
        if (args.isEmpty()) {
            writeOut(programHelp());
            return kExitOk;
        }
        // "help leads list" is "leads list --help".
        const auto it = commandTable().find(args.first());
        if (it == commandTable().end())
            return usageError(
                QStringLiteral("unknown command %1 (see corvane-cli --help)").arg(args.first()));
        return it->second.run(args.mid(1) + QStringList{QStringLiteral("--help")});
    }
    const auto it = commandTable().find(name);
    if (it == commandTable().end())
        return usageError(QStringLiteral("unknown command %1 (see corvane-cli --help)").arg(name));
    return it->second.run(args);
}
