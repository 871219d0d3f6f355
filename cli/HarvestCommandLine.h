#pragma once

#include "OptionTable.h"

#include "engine/RunDescription.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <variant>

namespace corvane {
class DemoWebServer;
class SearchListProvider;
} // namespace corvane

namespace corvane::cli {

// Why the harvest command stops before its run, and the exit code it ends with.
struct HarvestSetupError
{
    QString message;
    int exitCode = 2;
};

// The flags of `corvane-cli harvest`:
//
//   harvest (--engine NAME --keywords K1,K2 | --url URL | --urls FILE | --demo) [options]
//
// They fill a harvest job just as the harvest window's tabs do, and the job becomes a run by
// the same rules (buildRun); only the wording of the messages is the command line's own.
class HarvestCommandLine
{
public:
    // The flags, their meanings and defaults: the parser, --help, the manual page and the
    // completion come from this table.
    static const OptionTable &optionTable();

    // Reads the arguments (without the command's name). The exit code when the command ends
    // here: help was shown, or a bad call reported on stderr.
    std::optional<int> parse(const QStringList &args);

    bool demo() const { return isSet("demo"); }
    QString outFile() const { return value("out"); }
    bool hasOutFile() const { return isSet("out"); }
    bool recording() const { return !isSet("no-record"); }
    QString format() const { return value("format"); }

    // Fills job, names its knowledge base (which adds a mail group) and turns it into a run.
    // demo is the running demo web server with --demo, else null.
    std::variant<RunDescription, HarvestSetupError>
    prepareRun(HarvestJob &job, SearchListProvider &provider, const DemoWebServer *demo) const;

private:
    std::optional<HarvestSetupError> fillJob(HarvestJob &job, SearchListProvider &provider,
                                             const DemoWebServer *demo) const;

    bool isSet(const char *name) const;
    QString value(const char *name) const;
    // Every value of a repeatable flag, each split at its commas.
    QStringList values(const char *name) const;

    OptionValues m_options;
};

} // namespace corvane::cli
