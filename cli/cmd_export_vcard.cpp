// corvane-cli export-vcard LEADFILE --category NAME --out FILE.vcf
//
// Turns a lead file or sheet (.csv, .txt, .xlsx, .xls; read as the window's Extract Leads
// reads it) into contacts: one vCard 3.0 card per lead, with the lead as e-mail address and
// NAME as category, all in FILE.vcf.

#include "Command.h"

#include "exchange/LeadExport.h"

#include <QCommandLineParser>
#include <QFileInfo>

using namespace corvane;
using namespace corvane::cli;

namespace {

int runExportVcard(const QStringList &args)
{
    QCommandLineParser parser;
    const QCommandLineOption categoryOption(QStringLiteral("category"),
                                            QStringLiteral("category of the contacts"),
                                            QStringLiteral("NAME"));
    const QCommandLineOption outOption(QStringLiteral("out"), QStringLiteral("vCard file to write"),
                                       QStringLiteral("FILE"));
    parser.addOptions({categoryOption, outOption});
    parser.addPositionalArgument(QStringLiteral("LEADFILE"),
                                 QStringLiteral("lead file or sheet to export"));
    if (!parser.parse(QStringList{QStringLiteral("export-vcard")} + args))
        return usageError(parser.errorText());
    const QStringList positional = parser.positionalArguments();
    if (positional.size() != 1)
        return usageError(QStringLiteral("export-vcard needs exactly one LEADFILE"));
    if (!parser.isSet(categoryOption))
        return usageError(QStringLiteral("export-vcard needs --category NAME"));
    if (!parser.isSet(outOption) || parser.value(outOption).isEmpty())
        return usageError(QStringLiteral("export-vcard needs --out FILE.vcf"));
    const QString leadFile = positional.first();
    if (!QFileInfo(leadFile).isFile())
        return usageError(QStringLiteral("no such lead file: %1").arg(leadFile));

    LeadExport exporter;
    if (auto fetched = exporter.fetch(leadFile); !fetched)
        return usageError(fetched.message());
    const Result<QString> exported =
        exporter.exportTo(parser.value(outOption), parser.value(categoryOption));
    if (!exported)
        return failure(exported.message());
    if (*exported == LeadExport::kNoLeadsMessage)
        return failure(*exported);
    writeErr(*exported + QLatin1Char('\n'));
    return kExitOk;
}

const CommandRegistration reg(QStringLiteral("export-vcard"),
                              QStringLiteral("write a lead file's leads as vCard contacts"),
                              runExportVcard);

} // namespace
