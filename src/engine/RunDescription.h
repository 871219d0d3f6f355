#pragma once

#include "analysis/LeadFilters.h"
#include "engine/CrawlController.h"
#include "engine/CurlDownloader.h"
#include "engine/HarvestJob.h"
#include "kb/PageStore.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>
#include <variant>

namespace corvane {

// What a job makes of one Start, whichever front end filled it: the sources and limits as
// they stood, the filters, the crawl's time-out and profile, the connection probe, the proxy
// and the page store's settings. The downloader, the probe and the store are set up from it
// once per Start; the crawl itself goes on reading the job live (lists, switches, limits).
struct RunDescription
{
    SearchType searchType = SearchType::SearchEngines;
    QList<JobListEntry> engines; // the selected ones
    QStringList keywords;        // the selected ones
    QStringList startUrls;       // the selected ones
    QString singleUrl;           // trimmed

    CrawlSettings crawl;
    qint32 maxPages = 0;
    qint32 maxLeads = 0;
    QString stopAfter;

    bool extractEmails = true;
    UserLeadFilters filters;
    PageStoreSettings store; // store.buildKnowledgeBase false: nothing else in it counts
    ProxySettings proxy;
    SitePoliteness politeness; // the modern profile's pace per site (sitePolitenessOf)
    QUrl probeAddress;

    bool operator==(const RunDescription &other) const;
};

// The run as the lead database keeps it beside the run's leads: every choice that shapes what
// the run finds, and nothing secret (the proxy's password is left out).
QJsonObject runJson(const RunDescription &run);

// Why a job does not make a run: the message the window shows, and for a value that would
// not convert which field it is (the command line names its flag instead).
struct RunRefusal
{
    QString message;
    std::optional<ConversionFailure> conversion;
};

// The one rule for turning a job into a run: Start's validation, the captured values, the
// proxy (only when chosen), the knowledge base's name and mail group, and a check of every
// name the store will put on disk. The knowledge-base root is made absolute.
std::variant<RunDescription, RunRefusal> buildRun(const HarvestJob &job);

} // namespace corvane
