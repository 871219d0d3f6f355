// corvane-cli import-bookmarks FILE [--profile classic|modern]
//
// Prints the web addresses a bookmark file (a browser's HTML bookmark export) gives as
// start URLs, one per line, in file order, duplicates kept. The classic profile takes
// "http://" addresses only; modern takes "https://" ones too.

#include "Command.h"

#include "analysis/AnalysisContext.h"
#include "common/CrawlProfile.h"
#include "exchange/BookmarkImport.h"

#include <QFile>
#include <QFileInfo>

using namespace corvane;
using namespace corvane::cli;

namespace {

const OptionTable &importTable()
{
    static const OptionTable table({
        .name = QStringLiteral("import-bookmarks"),
        .summary = QStringLiteral("Print the web addresses a bookmark file (a browser's HTML "
                                  "bookmark export) gives as start URLs, one per line, in file "
                                  "order."),
        .arguments = QStringLiteral("FILE"),
        .options = {profileOption()},
        .examples = {QStringLiteral("import-bookmarks --profile modern bookmarks.html > urls.txt")},
    });
    return table;
}

int runImportBookmarks(const OptionValues &options)
{
    const QStringList positional = options.positional();
    if (positional.size() != 1)
        return usageError(QStringLiteral("import-bookmarks needs exactly one FILE"));

    AnalysisContext ctx;
    ctx.profile = chosenProfile(options);
    const QString path = positional.first();
    QFile probe(path);
    if (!QFileInfo(path).isFile() || !probe.open(QIODevice::ReadOnly))
        return usageError(QStringLiteral("cannot read bookmark file %1").arg(path));
    probe.close();

    // The import lists addresses only while the search-engine option is off.
    ctx.searchEngineSelected = false;
    const Result<qsizetype> imported = BookmarkImport::run(ctx, path);
    if (!imported)
        return usageError(imported.message());
    QString text;
    for (const QString &url : ctx.lstURLList.texts())
        text += url + QLatin1Char('\n');
    writeOut(text);
    return kExitOk;
}

const CommandRegistration reg(QStringLiteral("import-bookmarks"),
                              QStringLiteral("print the start URLs of a bookmark file"),
                              [](const QStringList &args) {
                                  return runWithOptions(importTable(), args, runImportBookmarks);
                              },
                              {&importTable()});

} // namespace
