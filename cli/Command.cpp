#include "Command.h"

#include "common/LeadFile.h"
#include "leads/LeadDatabase.h"
#include "leads/LeadFormats.h"

#include <QDir>
#include <QFile>

#include <cstdio>

namespace corvane::cli {

namespace {
bool g_quiet = false;
}

QString exitStatusSummary()
{
    return QStringLiteral("0 done, 1 failed, 2 bad call, 130 interrupted");
}

std::map<QString, Command> &commandTable()
{
    static std::map<QString, Command> table;
    return table;
}

int runWithOptions(const OptionTable &table, const QStringList &args,
                   const std::function<int(const OptionValues &options)> &run)
{
    const auto parsed = table.parse(args);
    if (const auto *exit = std::get_if<ExitNow>(&parsed))
        return exit->code;
    return run(std::get<OptionValues>(parsed));
}

void writeOut(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, bytes.size(), stdout);
}

void writeErr(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, bytes.size(), stderr);
    std::fflush(stderr);
}

void setQuiet(bool quiet)
{
    g_quiet = quiet;
}

bool isQuiet()
{
    return g_quiet;
}

void writeMessage(const QString &text)
{
    if (!g_quiet)
        writeErr(text);
}

OptionDefinition profileOption()
{
    return {.name = QStringLiteral("profile"),
            .valueName = QStringLiteral("PROFILE"),
            .help = QStringLiteral("the crawl profile (modern also takes https:// addresses and "
                                   "works in parallel)"),
            .kind = ChoiceValue{{QStringLiteral("classic"), QStringLiteral("modern")}},
            .defaultValue = QStringLiteral("classic")};
}

std::vector<OptionDefinition> leadFilterOptions()
{
    return {
        {.name = QStringLiteral("exclude-domain"),
         .valueName = QStringLiteral("D"),
         .help = QStringLiteral("leave out addresses (and, in a harvest, links) whose domain "
                                "contains D, letter case ignored; D1,D2 for several"),
         .kind = TextValue{},
         .repeatable = true},
        {.name = QStringLiteral("exclude-type"),
         .valueName = QStringLiteral("T"),
         .help = QStringLiteral("leave out addresses whose part before \"@\" is T (info, "
                                "sales, ...); T1,T2 for several"),
         .kind = TextValue{},
         .repeatable = true},
        {.name = QStringLiteral("include-type"),
         .valueName = QStringLiteral("T"),
         .help = QStringLiteral("take only addresses whose part before \"@\" is T; T1,T2 for "
                                "several; not with --exclude-type"),
         .kind = TextValue{},
         .repeatable = true},
    };
}

CrawlProfile chosenProfile(const OptionValues &options)
{
    return parseCrawlProfile(options.value(QStringLiteral("profile")))
        .value_or(CrawlProfile::Classic);
}

Result<EmailTypeMode> emailTypeMode(const OptionValues &options)
{
    const bool excluded = !commaList(options.values(QStringLiteral("exclude-type"))).isEmpty();
    const bool included = !commaList(options.values(QStringLiteral("include-type"))).isEmpty();
    if (excluded && included)
        return fail(QStringLiteral("--exclude-type and --include-type cannot be combined"));
    return included ? EmailTypeMode::Include : EmailTypeMode::Exclude;
}

QStringList commaList(const QStringList &values)
{
    QStringList items;
    for (const QString &value : values)
        for (const QString &item : value.split(QLatin1Char(',')))
            if (!item.trimmed().isEmpty())
                items << item.trimmed();
    return items;
}

int usageError(const QString &message)
{
    writeErr(QStringLiteral("corvane-cli: %1\n").arg(message));
    return kExitUsage;
}

int failure(const QString &message)
{
    writeErr(QStringLiteral("corvane-cli: %1\n").arg(message));
    return kExitFailed;
}

void warning(const QString &message)
{
    writeErr(QStringLiteral("corvane-cli: warning: %1\n").arg(message));
}

OptionDefinition foundLeadsFormatOption()
{
    return {.name = QStringLiteral("format"),
            .valueName = QStringLiteral("FORMAT"),
            .help = QStringLiteral("how the leads are written: text is one address a line (a "
                                   "lead file with --out); csv and jsonl add where each was "
                                   "found, as leads list does"),
            .kind = ChoiceValue{{QStringLiteral("text"), QStringLiteral("csv"),
                                 QStringLiteral("jsonl")}},
            .defaultValue = QStringLiteral("text")};
}

OptionDefinition noRecordOption()
{
    return {.name = QStringLiteral("no-record"),
            .help = QStringLiteral("do not record the run in the lead database")};
}

std::optional<int> refuseFormatWithoutRecording(const OptionValues &options)
{
    const QString format = options.value(QStringLiteral("format"));
    if (format == QLatin1String("text") || !options.isSet(QStringLiteral("no-record")))
        return std::nullopt;
    return usageError(QStringLiteral("--format %1 takes the leads' sources from the lead "
                                     "database, so it cannot go with --no-record")
                          .arg(format));
}

namespace {

int writeLeadLines(const QStringList &leads, const QString &outFile)
{
    if (!outFile.isEmpty()) {
        if (Result<void> written = LeadFile::write(outFile, leads); !written)
            return failure(written.message());
        writeMessage(QStringLiteral("%1 leads written to %2\n")
                         .arg(leads.size())
                         .arg(QDir::toNativeSeparators(outFile)));
        return kExitOk;
    }
    QString text;
    for (const QString &lead : leads)
        text += lead + QLatin1Char('\n');
    writeOut(text);
    return kExitOk;
}

} // namespace

int writeFoundLeads(const QString &format, const std::vector<qint64> &runs,
                    const QStringList &leads, const QString &outFile)
{
    if (format == QLatin1String("text"))
        return writeLeadLines(leads, outFile);
    if (runs.empty()) {
        warning(QStringLiteral("the run was not recorded, so the leads are written without "
                               "their sources, one a line"));
        return writeLeadLines(leads, outFile);
    }
    if (!outFile.isEmpty()) {
        const Result<qint64> written =
            exportRunLeads(LeadDatabase::defaultPath(), runs, format, outFile);
        if (!written)
            return failure(written.message());
        writeMessage(QStringLiteral("%1 leads written to %2\n")
                         .arg(*written)
                         .arg(QDir::toNativeSeparators(outFile)));
        return kExitOk;
    }
    auto db = LeadDatabase::open(LeadDatabase::defaultPath());
    if (!db)
        return failure(db.message());
    std::vector<LeadSelection> selections;
    for (const qint64 run : runs)
        selections.push_back(LeadSelection{.run = run});
    QFile standardOutput;
    if (!standardOutput.open(stdout, QIODevice::WriteOnly))
        return failure(standardOutput.errorString());
    const Result<qint64> written = writeEachSelection(
        db.value(), selections, leadFormatNamed(format).value_or(csvFormat()), standardOutput);
    return written ? kExitOk : failure(written.message());
}

} // namespace corvane::cli
