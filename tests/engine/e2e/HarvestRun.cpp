#include "HarvestRun.h"

#include "scan/ReadWorkbook.h"

#include <QDir>
#include <QFile>

namespace corvane::test {

CliRun harvest(const TempDataFolder &home, QStringList args, ServeEvents serve)
{
    const QString leadFile = home.file(QStringLiteral("leads.csv"));
    QFile::remove(leadFile);
    QByteArray out;
    QByteArray err;
    CliRun run;
    const QStringList all =
        QStringList{QStringLiteral("--home"), home.path(), QStringLiteral("harvest")} + args +
        QStringList{QStringLiteral("--out"), leadFile};
    run.exitCode = serve == ServeEvents::Yes
                       ? runProgramServing(QStringLiteral("corvane-cli"), all, &out, &err)
                       : runProgram(QStringLiteral("corvane-cli"), all, &out, &err);
    run.out = QString::fromUtf8(out);
    run.err = QString::fromUtf8(err);
    if (const Result<QStringList> leads = ReadWorkbook(leadFile)) {
        run.leads = *leads;
        run.leads.sort();
    }
    return run;
}

QMap<QString, int> storedPages(const TempDataFolder &home, const QString &root)
{
    QMap<QString, int> pages;
    const QDir kbRoot(root.isEmpty() ? home.file(QStringLiteral("KnowledgeBases")) : root);
    const QStringList bases = kbRoot.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    if (bases.size() != 1)
        return pages;
    const QDir base(kbRoot.filePath(bases.first()));
    for (const QString &term : base.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        pages[term] =
            int(QDir(base.filePath(term)).entryList({QStringLiteral("*.htm")}, QDir::Files).size());
    return pages;
}

} // namespace corvane::test
