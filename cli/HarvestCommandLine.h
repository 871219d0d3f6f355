#pragma once

#include "engine/RunDescription.h"

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

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
    HarvestCommandLine();

    // Reads the arguments (without the command's name); a usage message on failure.
    Result<void> parse(const QStringList &args);

    bool demo() const { return m_parser.isSet(m_demo); }
    QString outFile() const { return m_parser.value(m_out); }
    bool hasOutFile() const { return m_parser.isSet(m_out); }

    // Fills job, names its knowledge base (which adds a mail group) and turns it into a run.
    // demo is the running demo web server with --demo, else null.
    std::variant<RunDescription, HarvestSetupError>
    prepareRun(HarvestJob &job, SearchListProvider &provider, const DemoWebServer *demo) const;

private:
    std::optional<HarvestSetupError> fillJob(HarvestJob &job, SearchListProvider &provider,
                                             const DemoWebServer *demo) const;

    QCommandLineParser m_parser;
    QCommandLineOption m_engine, m_keywords, m_url, m_urls, m_minutes, m_pages, m_leads, m_timeout,
        m_excludeDomain, m_excludeType, m_includeType, m_kb, m_kbName, m_taxonomy, m_favorites,
        m_noEmails, m_proxy, m_remoteDns, m_profile, m_probe, m_out, m_demo, m_firstPage, m_delay,
        m_sitePages;
};

} // namespace corvane::cli
