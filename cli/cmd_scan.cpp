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
#include "scan/LeadsScan.h"

#include <QFileInfo>

#include <limits>

using namespace corvane;
using namespace corvane::cli;

namespace {

const OptionTable &scanTable()
{
    static const OptionTable table({
        .name = QStringLiteral("scan"),
        .summary = QStringLiteral(
            "Print the leads of files and folder trees, one per line in the order found. A file "
            "named here is read whatever its type; in folders, files of the listed types. Each "
            "PATH is recorded as a run in the lead database, every lead with the file it was "
            "found in (see corvane-cli leads)."),
        .arguments = QStringLiteral("PATH..."),
        .options = {{.name = QStringLiteral("types"),
                     .valueName = QStringLiteral("LIST"),
                     .help = QStringLiteral("file types to read in folders, comma-separated; "
                                            ".*** reads every file"),
                     .kind = TextValue{},
                     .shownDefault = QStringLiteral("the types checked in the leads scan "
                                                    "window")},
                    {.name = QStringLiteral("depth"),
                     .valueName = QStringLiteral("N"),
                     .help = QStringLiteral("folders to visit per tree, 0 for all"),
                     .kind = NumberValue{0, std::numeric_limits<int>::max()},
                     .defaultValue = QStringLiteral("0")},
                    {.name = QStringLiteral("out"),
                     .valueName = QStringLiteral("FILE"),
                     .help = QStringLiteral("write the leads to FILE, replacing it, instead of "
                                            "standard output"),
                     .kind = FileValue{}},
                    {.name = QStringLiteral("sources"),
                     .help = QStringLiteral("with --format text on standard output, print where "
                                            "each lead was found after a tab")},
                    foundLeadsFormatOption(),
                    noRecordOption()},
        .examples = {QStringLiteral("scan --types .txt,.htm --out leads.csv ~/Documents"),
                     QStringLiteral("scan --format csv notes.txt > leads-with-files.csv")},
    });
    return table;
}

int runScan(const OptionValues &options)
{
    const QStringList paths = options.positional();
    if (paths.isEmpty())
        return usageError(QStringLiteral("scan needs at least one PATH"));
    if (const auto refused = refuseFormatWithoutRecording(options))
        return *refused;
    const int depth = int(options.number(QStringLiteral("depth")));

    LeadsScan scan(AddressFilterList::bundled());
    scan.setDepth(depth);
    scan.setRecording(!options.isSet(QStringLiteral("no-record")));
    QObject::connect(&scan, &LeadsScan::recordingProblem, [](const QString &problem) {
        warning(problem + QStringLiteral(" (the scan goes on without it)"));
    });
    QSet<QString> types = scan.fileTypes().checkedTypes();
    if (options.isSet(QStringLiteral("types"))) {
        types.clear();
        for (const QString &entry :
             options.value(QStringLiteral("types")).split(QLatin1Char(','))) {
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

    if (options.isSet(QStringLiteral("sources")) && !options.isSet(QStringLiteral("out")) &&
        options.value(QStringLiteral("format")) == QLatin1String("text")) {
        const QStringList leads = scan.leads().texts();
        QString text;
        for (qsizetype row = 0; row < leads.size(); ++row)
            text += leads[row] + QLatin1Char('\t') + scan.leadSource(row) + QLatin1Char('\n');
        writeOut(text);
    } else if (const int written =
                   writeFoundLeads(options.value(QStringLiteral("format")), scan.recordedRuns(),
                                   scan.leads().texts(), options.value(QStringLiteral("out")));
               written != kExitOk)
        return written;
    return complete ? kExitOk : kExitFailed;
}

const CommandRegistration
    reg(QStringLiteral("scan"), QStringLiteral("extract leads from files and folders"),
        [](const QStringList &args) { return runWithOptions(scanTable(), args, runScan); },
        {&scanTable()});

} // namespace
