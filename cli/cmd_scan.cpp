// corvane-cli scan PATH... [--types .txt,.htm] [--depth N] [--out FILE] [--sources]
//
// Extracts leads from files and folder trees as the leads scan window does: a file named
// on the command line is read whatever its type; the files of a folder are read when their
// type is listed (--types, else the checked types of the leads scan's stored list; ".***"
// means every file; a type is four characters, or one of the document types such as .docx
// and .warc.gz, which match the end of a name). Each file is read by its content: web
// archives, gzip files, office documents and PDF give their text, any other file its raw
// bytes. Leads that pass the ending rule are
// printed one per line in order of discovery (with --sources followed by a tab and where the
// lead was found: the file, or the archived page's address), or written as a lead file with
// --out (exactly that file, replaced if it exists). Files and folders that cannot be read,
// and documents read only in part, are reported on stderr and the scan goes on; the exit
// code is then 1.

#include "Command.h"

#include "analysis/LeadFilters.h"
#include "common/LeadFile.h"
#include "scan/LeadsScan.h"

#include <QCommandLineParser>
#include <QFileInfo>

using namespace corvane;
using namespace corvane::cli;

namespace {

int runScan(const QStringList &args)
{
    QCommandLineParser parser;
    const QCommandLineOption typesOption(
        QStringLiteral("types"), QStringLiteral("file types to read in folders, e.g. .txt,.htm"),
        QStringLiteral("LIST"));
    const QCommandLineOption depthOption(QStringLiteral("depth"),
                                         QStringLiteral("folders to visit per tree (0 = all)"),
                                         QStringLiteral("N"));
    const QCommandLineOption outOption(QStringLiteral("out"), QStringLiteral("write a lead file"),
                                       QStringLiteral("FILE"));
    const QCommandLineOption sourcesOption(
        QStringLiteral("sources"), QStringLiteral("print where each lead was found after a tab"));
    parser.addOptions({typesOption, depthOption, outOption, sourcesOption});
    parser.addPositionalArgument(QStringLiteral("PATH"),
                                 QStringLiteral("files and folders to scan"));
    if (!parser.parse(QStringList{QStringLiteral("scan")} + args))
        return usageError(parser.errorText());
    const QStringList paths = parser.positionalArguments();
    if (paths.isEmpty())
        return usageError(QStringLiteral("scan needs at least one PATH"));

    int depth = 0;
    if (parser.isSet(depthOption)) {
        bool ok = false;
        depth = parser.value(depthOption).toInt(&ok);
        if (!ok || depth < 0)
            return usageError(
                QStringLiteral("--depth must be a whole number 0 or above, not \"%1\"")
                    .arg(parser.value(depthOption)));
    }

    LeadsScan scan(AddressFilterList::bundled());
    scan.setDepth(depth);
    QSet<QString> types = scan.fileTypes().checkedTypes();
    if (parser.isSet(typesOption)) {
        types.clear();
        for (const QString &entry : parser.value(typesOption).split(QLatin1Char(','))) {
            const QString type = entry.trimmed();
            if (type.size() != 4 && !FileTypeList::kDocumentTypes.contains(type))
                return usageError(
                    QStringLiteral("--types: \"%1\": %2").arg(type, FileTypeList::kLengthMessage));
            types.insert(type);
        }
    }
    if (types.isEmpty())
        return usageError(LeadsScan::kSelectTypeMessage);

    bool complete = true;
    const auto report = [&complete](const QString &path, const QString &reason) {
        complete = false;
        writeErr(QStringLiteral("corvane-cli: %1: %2\n").arg(path, reason));
    };
    QObject::connect(&scan, &LeadsScan::fileError, report);
    QObject::connect(&scan, &LeadsScan::folderError, report);

    for (const QString &path : paths) {
        const QFileInfo info(path);
        Result<void> done = info.isDir() ? scan.runFolderScan(path, types) : scan.runFileScan(path);
        if (!done)
            report(path, info.isDir() || info.exists() || info.isSymLink()
                             ? done.message()
                             : QStringLiteral("no such file or folder"));
    }

    const QStringList leads = scan.leads().texts();
    if (parser.isSet(outOption)) {
        if (auto written = LeadFile::write(parser.value(outOption), leads); !written)
            return failure(written.message());
    } else {
        QString text;
        for (qsizetype row = 0; row < leads.size(); ++row) {
            text += leads[row];
            if (parser.isSet(sourcesOption))
                text += QLatin1Char('\t') + scan.leadSource(row);
            text += QLatin1Char('\n');
        }
        writeOut(text);
    }
    return complete ? kExitOk : kExitFailed;
}

const CommandRegistration reg(QStringLiteral("scan"),
                              QStringLiteral("extract leads from files and folders"), runScan);

} // namespace
