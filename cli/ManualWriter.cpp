// corvane-cli-manual MANPAGE COMPLETION VERSION
//
// Run by the build: writes the manual page and the bash completion script of corvane-cli
// from the same command registry and option tables the program parses with.

#include "Manual.h"

#include <QCoreApplication>
#include <QSaveFile>

#include <cstdio>

namespace {

bool write(const QString &path, const QString &text)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) >= 0 && file.commit())
        return true;
    std::fprintf(stderr, "corvane-cli-manual: %s: %s\n", qPrintable(path),
                 qPrintable(file.errorString()));
    return false;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() != 4) {
        std::fprintf(stderr, "usage: corvane-cli-manual MANPAGE COMPLETION VERSION\n");
        return 2;
    }
    const bool written = write(args[1], corvane::cli::manualPage(args[3])) &&
                         write(args[2], corvane::cli::bashCompletion());
    return written ? 0 : 1;
}
