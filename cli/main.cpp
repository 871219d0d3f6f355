// corvane-cli: the harvest, the store and the lead tools for scripts and shells.
//
//   corvane-cli [--home DIR] COMMAND [ARGS...]

#include "Command.h"

#include "common/DataFolder.h"

#include <QCoreApplication>

using namespace corvane;
using namespace corvane::cli;

namespace {

void printHelp()
{
    QString text = QStringLiteral("usage: corvane-cli [--home DIR] COMMAND [ARGS...]\n\n"
                                  "Global options:\n"
                                  "  --home DIR   data folder (default: $CORVANE_HOME, else the "
                                  "platform's app-data folder)\n\n"
                                  "Commands:\n");
    for (const auto &[name, command] : commandTable())
        text += QStringLiteral("  %1%2\n").arg(name, -18).arg(command.summary);
    writeOut(text);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Corvane"));
    QCoreApplication::setOrganizationName(QStringLiteral("Corvane"));

    QStringList args = app.arguments().mid(1);
    while (!args.isEmpty() && args.first().startsWith(QLatin1String("--"))) {
        const QString option = args.takeFirst();
        if (option == QLatin1String("--home")) {
            if (args.isEmpty())
                return usageError(QStringLiteral("--home needs a folder"));
            DataFolder::setRoot(args.takeFirst());
        } else if (option.startsWith(QLatin1String("--home="))) {
            DataFolder::setRoot(option.mid(7));
        } else if (option == QLatin1String("--help")) {
            printHelp();
            return kExitOk;
        } else {
            return usageError(QStringLiteral("unknown option %1").arg(option));
        }
    }
    if (args.isEmpty()) {
        printHelp();
        return kExitUsage;
    }
    const QString name = args.takeFirst();
    if (name == QLatin1String("help")) {
        printHelp();
        return kExitOk;
    }
    const auto it = commandTable().find(name);
    if (it == commandTable().end())
        return usageError(QStringLiteral("unknown command %1 (see corvane-cli --help)").arg(name));
    return it->second.run(args);
}
