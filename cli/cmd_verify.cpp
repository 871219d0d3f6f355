// corvane-cli verify LEADFILE [--dns HOST[:PORT]] [--profile classic|modern]
//
// Checks every lead of a lead file or sheet (.csv, .txt, .xlsx, .xls; read as the window's
// Fetch reads it) for a mail exchanger of its domain, prints the valid leads one per line as
// they are decided, and appends every decided lead to the verified or unverified result file
// of the data folder.

#include "Command.h"

#include "common/CrawlProfile.h"
#include "verify/DnsServer.h"
#include "verify/LeadVerifier.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFileInfo>

#include <cstdio>
#include <unistd.h>

using namespace corvane;
using namespace corvane::cli;

namespace {

const OptionTable &verifyTable()
{
    static const OptionTable table({
        .name = QStringLiteral("verify"),
        .summary = QStringLiteral(
            "Check every lead of a lead file or sheet (.csv, .txt, .xlsx, .xls) for a mail "
            "exchanger of its domain: the valid leads are printed one per line as they are "
            "decided; every answer is added to the verified or unverified file of the data "
            "folder and to the lead database."),
        .arguments = QStringLiteral("LEADFILE"),
        .options = {{.name = QStringLiteral("dns"),
                     .valueName = QStringLiteral("HOST[:PORT]"),
                     .help = QStringLiteral("the DNS server to ask"),
                     .kind = TextValue{},
                     .shownDefault = QStringLiteral("the system's")},
                    profileOption()},
        .examples = {QStringLiteral("verify --dns 9.9.9.9 leads.csv > valid.txt")},
    });
    return table;
}

int runVerify(const OptionValues &options)
{
    const QStringList positional = options.positional();
    if (positional.size() != 1)
        return usageError(QStringLiteral("verify needs exactly one LEADFILE"));

    LeadVerifier verifier(RealTimerSource::instance(), chosenProfile(options));
    if (options.isSet(QStringLiteral("dns"))) {
        const QString server = options.value(QStringLiteral("dns"));
        if (!parseDnsEndpoint(server))
            return usageError(
                QStringLiteral("--dns must be HOST or HOST:PORT, not \"%1\"").arg(server));
        verifier.setDnsServer(server);
    } else if (verifier.dnsServer().isEmpty()) {
        return failure(
            QStringLiteral("no DNS server is configured on this machine; name one with --dns"));
    }

    const QString leadFile = positional.first();
    if (!QFileInfo(leadFile).isFile())
        return usageError(QStringLiteral("no such lead file: %1").arg(leadFile));
    const Result<int> fetched = verifier.fetch(leadFile);
    if (!fetched)
        return usageError(fetched.message());

    const bool showProgress = isatty(fileno(stderr)) && !isQuiet();
    const int total = *fetched;
    QEventLoop loop;
    int exitCode = kExitOk;
    QObject::connect(&verifier, &LeadVerifier::leadChecked, [](const QString &address, bool valid) {
        if (valid) {
            writeOut(address + QLatin1Char('\n'));
            std::fflush(stdout);
        }
    });
    QObject::connect(&verifier, &LeadVerifier::clockChanged, [&](int h, int m, int s) {
        if (showProgress)
            writeErr(QStringLiteral("\rTime Taken: %1:%2:%3  checked %4 of %5, %6 valid ")
                         .arg(h)
                         .arg(m, 2, 10, QLatin1Char('0'))
                         .arg(s, 2, 10, QLatin1Char('0'))
                         .arg(total - verifier.pendingCount())
                         .arg(total)
                         .arg(verifier.validCount()));
    });
    QObject::connect(&verifier, &LeadVerifier::problem, [&](const QString &message) {
        writeErr(QStringLiteral("%1corvane-cli: %2\n").arg(showProgress ? "\n" : "", message));
        if (!verifier.isRunning()) {
            exitCode = kExitFailed;
            loop.quit();
        }
    });
    QObject::connect(&verifier, &LeadVerifier::completed, [&](const QString &message) {
        writeMessage(QStringLiteral("%1%2 Valid Leads: %3 of %4\n")
                         .arg(showProgress ? "\n" : "", message)
                         .arg(verifier.validCount())
                         .arg(total));
        loop.quit();
    });

    const Result<void> started = verifier.verify();
    if (!started)
        return failure(started.message());
    if (verifier.isRunning())
        loop.exec();
    return exitCode;
}

const CommandRegistration reg(QStringLiteral("verify"),
                              QStringLiteral("check the leads of a lead file for mail exchangers"),
                              [](const QStringList &args) {
                                  return runWithOptions(verifyTable(), args, runVerify);
                              },
                              {&verifyTable()});

} // namespace
