// corvane-cli leads runs | list [SELECTION] | export --format F [SELECTION] [--out FILE]
//
// The lead database: every harvest and scan run, every lead with where and when it was
// found, the verifier's answers and the exports. "runs" lists the runs, "list" prints the
// selected leads, "export" writes them as CSV, JSON Lines or vCard contacts and records the
// export. A data folder without a lead database lists nothing.

#include "Command.h"
#include "OptionTable.h"

#include "exchange/VCard.h"
#include "leads/LeadDatabase.h"
#include "leads/LeadFormats.h"

#include <QFile>
#include <QFileInfo>

#include <cstdio>
#include <optional>

using namespace corvane;
using namespace corvane::cli;

namespace {

std::vector<OptionDefinition> selectionOptions()
{
    return {
        {.name = QStringLiteral("run"),
         .valueName = QStringLiteral("ID"),
         .help = QStringLiteral("only leads seen in run ID"),
         .kind = NumberValue{1}},
        {.name = QStringLiteral("since"),
         .valueName = QStringLiteral("DATE"),
         .help = QStringLiteral("only leads last seen at or after DATE (first seen, with "
                                "--new); an ISO date or date-time, UTC unless a zone is given"),
         .kind = TextValue{}},
        {.name = QStringLiteral("new"),
         .help = QStringLiteral("only leads first seen in the selected run, else in the latest "
                                "run")},
        {.name = QStringLiteral("domain"),
         .valueName = QStringLiteral("D"),
         .help = QStringLiteral("only addresses at domain D or its subdomains, letter case "
                                "ignored"),
         .kind = TextValue{}},
    };
}

const OptionTable &runsTable()
{
    static const OptionTable table({
        .name = QStringLiteral("leads runs"),
        .summary = QStringLiteral("List the recorded harvest and scan runs, oldest first, "
                                  "tab-separated: run, kind, started, ended (- while running or "
                                  "when cut off), leads, new leads, end message."),
        .examples = {QStringLiteral("leads runs")},
    });
    return table;
}

const OptionTable &listTable()
{
    static const OptionTable table = [] {
        std::vector<OptionDefinition> options = selectionOptions();
        options.push_back({.name = QStringLiteral("format"),
                           .valueName = QStringLiteral("FORMAT"),
                           .help = QStringLiteral("output format"),
                           .kind = ChoiceValue{{QStringLiteral("text"), QStringLiteral("csv"),
                                                QStringLiteral("jsonl")}},
                           .defaultValue = QStringLiteral("text")});
        return OptionTable({
            .name = QStringLiteral("leads list"),
            .summary = QStringLiteral("Print the selected leads: one address per line, or CSV "
                                      "or JSON Lines with where and when each was found."),
            .options = options,
            .examples = {QStringLiteral("leads list --new --domain example.com"),
                         QStringLiteral("leads list --since 2024-05-01 --format csv")},
        });
    }();
    return table;
}

const OptionTable &exportTable()
{
    static const OptionTable table = [] {
        std::vector<OptionDefinition> options{
            {.name = QStringLiteral("format"),
             .valueName = QStringLiteral("FORMAT"),
             .help = QStringLiteral("export format"),
             .kind = ChoiceValue{{QStringLiteral("csv"), QStringLiteral("jsonl"),
                                  QStringLiteral("vcard")}},
             .required = true}};
        for (OptionDefinition &option : selectionOptions())
            options.push_back(std::move(option));
        options.push_back({.name = QStringLiteral("out"),
                           .valueName = QStringLiteral("FILE"),
                           .help = QStringLiteral("file to write, replaced whole (default: "
                                                  "standard output)"),
                           .kind = FileValue{}});
        options.push_back({.name = QStringLiteral("category"),
                           .valueName = QStringLiteral("C"),
                           .help = QStringLiteral("category of the contacts, with --format vcard"),
                           .kind = TextValue{}});
        return OptionTable({
            .name = QStringLiteral("leads export"),
            .summary = QStringLiteral("Write the selected leads to a file other programs read, "
                                      "and record the export."),
            .options = options,
            .examples = {QStringLiteral("leads export --format vcard --new --category Prospects "
                                        "--out new.vcf")},
        });
    }();
    return table;
}

// The selection flags as a selection; a usage message when one is wrong.
Result<LeadSelection> selectionFrom(const OptionValues &options)
{
    LeadSelection selection;
    if (options.isSet(QStringLiteral("run")))
        selection.run = options.number(QStringLiteral("run"));
    if (options.isSet(QStringLiteral("since"))) {
        const Result<qint64> since = parseLeadTime(options.value(QStringLiteral("since")));
        if (!since)
            return fail(QStringLiteral("--since: ") + since.message());
        selection.sinceMs = *since;
    }
    selection.newOnly = options.isSet(QStringLiteral("new"));
    if (options.isSet(QStringLiteral("domain"))) {
        selection.domain = options.value(QStringLiteral("domain")).trimmed();
        if (selection.domain.isEmpty())
            return fail(QStringLiteral("--domain needs a domain such as example.com"));
    }
    return selection;
}

// The lead database of the data folder; with mayCreate false a missing file reads as an
// empty database and is not created. The message fits failure().
Result<LeadDatabase> openDatabase(bool mayCreate)
{
    const QString path = LeadDatabase::defaultPath();
    if (!mayCreate && !QFileInfo::exists(path))
        return LeadDatabase::open(QStringLiteral(":memory:"));
    return LeadDatabase::open(path);
}

// An unknown --run is a wrong call; exit code, or nothing when the run is there.
std::optional<int> checkRun(LeadDatabase &db, const LeadSelection &selection)
{
    if (!selection.run)
        return std::nullopt;
    const Result<bool> known = db.hasRun(*selection.run);
    if (!known)
        return failure(known.message());
    if (!*known)
        return usageError(
            QStringLiteral("there is no run %1 (see corvane-cli leads runs)").arg(*selection.run));
    return std::nullopt;
}

// Tabs and line breaks would split a row of the runs listing.
QString oneField(QString text)
{
    for (QChar &c : text) {
        if (c == QLatin1Char('\t') || c == QLatin1Char('\n') || c == QLatin1Char('\r'))
            c = QLatin1Char(' ');
    }
    return text;
}

int runRuns(const OptionValues &)
{
    auto db = openDatabase(false);
    if (!db)
        return failure(db.message());
    const auto runs = db.value().runs();
    if (!runs)
        return failure(runs.message());
    QString text = QStringLiteral("run\tkind\tstarted\tended\tleads\tnew\tmessage\n");
    for (const RunSummary &run : *runs) {
        text += QStringLiteral("%1\t%2\t%3\t%4\t%5\t%6\t%7\n")
                    .arg(run.id)
                    .arg(runKindName(run.kind), isoUtc(run.startedMs),
                         run.endedMs ? isoUtc(*run.endedMs) : QStringLiteral("-"))
                    .arg(run.leads)
                    .arg(run.newLeads)
                    .arg(oneField(run.message));
    }
    writeOut(text);
    return kExitOk;
}

int runList(const OptionValues &options)
{
    const Result<LeadSelection> selection = selectionFrom(options);
    if (!selection)
        return usageError(selection.message());
    auto db = openDatabase(false);
    if (!db)
        return failure(db.message());
    if (const auto code = checkRun(db.value(), *selection))
        return *code;

    const QString name = options.value(QStringLiteral("format"));
    const LeadOutputFormat format = leadFormatNamed(name).value_or(addressLinesFormat());
    QFile out;
    if (!out.open(stdout, QIODevice::WriteOnly))
        return failure(out.errorString());
    const Result<qint64> written = writeLeads(db.value(), *selection, format, out);
    if (!written)
        return failure(written.message());
    return kExitOk;
}

int runExport(const OptionValues &options)
{
    const Result<LeadSelection> selection = selectionFrom(options);
    if (!selection)
        return usageError(selection.message());
    const QString name = options.value(QStringLiteral("format"));
    const QString category = options.value(QStringLiteral("category")).trimmed();
    if (options.isSet(QStringLiteral("category")) && name != QLatin1String("vcard"))
        return usageError(QStringLiteral("--category goes with --format vcard only"));
    auto db = openDatabase(true);
    if (!db)
        return failure(db.message());
    if (const auto code = checkRun(db.value(), *selection))
        return *code;

    LeadOutputFormat format = leadFormatNamed(name).value_or(LeadOutputFormat{});
    if (name == QLatin1String("vcard"))
        format.row = [category](QByteArray &out, const LeadRow &lead) {
            out += vCardFor(lead.email, category);
        };

    // A file is written whole or not at all; standard output as it goes.
    const bool toFile = options.isSet(QStringLiteral("out"));
    Result<qint64> written = 0;
    if (toFile) {
        written = writeLeadsToFile(db.value(), {*selection}, format,
                                   options.value(QStringLiteral("out")));
    } else {
        QFile standardOutput;
        if (!standardOutput.open(stdout, QIODevice::WriteOnly))
            return failure(standardOutput.errorString());
        written = writeLeads(db.value(), *selection, format, standardOutput);
    }
    if (!written)
        return failure(written.message());

    const QString destination =
        toFile ? QFileInfo(options.value(QStringLiteral("out"))).absoluteFilePath()
               : QStringLiteral("standard output");
    if (auto recorded = db.value().recordExport({name, destination, *written}); !recorded)
        return failure(QStringLiteral("the leads were exported, but the export was not "
                                      "recorded: %1")
                           .arg(recorded.message()));
    writeMessage(QStringLiteral("%1 leads exported to %2.\n").arg(*written).arg(destination));
    return kExitOk;
}

const QString kLeadsSummary = QStringLiteral("The lead database: runs, leads and exports.");

int runLeads(const QStringList &args)
{
    return runSubcommand(
        QStringLiteral("leads"), kLeadsSummary,
        {{runsTable(), runRuns}, {listTable(), runList}, {exportTable(), runExport}}, args);
}

const CommandRegistration reg(QStringLiteral("leads"),
                              QStringLiteral("list and export the lead database"), runLeads,
                              {&runsTable(), &listTable(), &exportTable()});

} // namespace
