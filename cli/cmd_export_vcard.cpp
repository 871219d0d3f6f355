// corvane-cli export-vcard LEADFILE --category NAME --out FILE.vcf
//
// Turns a lead file or sheet (.csv, .txt, .xlsx, .xls; read as the window's Extract Leads
// reads it) into contacts: one vCard 3.0 card per lead, with the lead as e-mail address and
// NAME as category, all in FILE.vcf.

#include "Command.h"

#include "exchange/LeadExport.h"

#include <QFileInfo>

using namespace corvane;
using namespace corvane::cli;

namespace {

const OptionTable &exportTable()
{
    static const OptionTable table({
        .name = QStringLiteral("export-vcard"),
        .summary = QStringLiteral("Write the leads of a lead file or sheet (.csv, .txt, .xlsx, "
                                  ".xls) as vCard 3.0 contacts, one card per lead, for mail "
                                  "programs to import; the export is recorded in the lead "
                                  "database."),
        .arguments = QStringLiteral("LEADFILE"),
        .options = {{.name = QStringLiteral("category"),
                     .valueName = QStringLiteral("NAME"),
                     .help = QStringLiteral("the category of the contacts"),
                     .kind = TextValue{},
                     .required = true},
                    {.name = QStringLiteral("out"),
                     .valueName = QStringLiteral("FILE"),
                     .help = QStringLiteral("the vCard file to write, replaced whole"),
                     .kind = FileValue{},
                     .required = true}},
        .examples = {QStringLiteral("export-vcard --category Prospects --out leads.vcf "
                                    "leads.csv")},
    });
    return table;
}

int runExportVcard(const OptionValues &options)
{
    const QStringList positional = options.positional();
    if (positional.size() != 1)
        return usageError(QStringLiteral("export-vcard needs exactly one LEADFILE"));
    const QString leadFile = positional.first();
    if (!QFileInfo(leadFile).isFile())
        return usageError(QStringLiteral("no such lead file: %1").arg(leadFile));

    LeadExport exporter;
    if (auto fetched = exporter.fetch(leadFile); !fetched)
        return usageError(fetched.message());
    QObject::connect(&exporter, &LeadExport::recordingProblem, [](const QString &problem) {
        warning(QStringLiteral("the export is not recorded in the lead database: ") + problem);
    });
    const Result<QString> exported = exporter.exportTo(options.value(QStringLiteral("out")),
                                                       options.value(QStringLiteral("category")));
    if (!exported)
        return failure(exported.message());
    if (*exported == LeadExport::kNoLeadsMessage)
        return failure(*exported);
    writeMessage(*exported + QLatin1Char('\n'));
    return kExitOk;
}

const CommandRegistration reg(QStringLiteral("export-vcard"),
                              QStringLiteral("write a lead file's leads as vCard contacts"),
                              [](const QStringList &args) {
                                  return runWithOptions(exportTable(), args, runExportVcard);
                              },
                              {&exportTable()});

} // namespace
