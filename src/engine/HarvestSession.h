#pragma once

#include "analysis/AnalysisContext.h"
#include "engine/ConnectionProbe.h"
#include "engine/CrawlController.h"
#include "engine/CrawlWiring.h"
#include "engine/CurlDownloader.h"
#include "engine/RunDescription.h"
#include "engine/SearchListProvider.h"
#include "kb/PageStore.h"

#include <QObject>

#include <memory>

namespace corvane {

// One harvest's machinery around its job: page analysis and its context, the page store,
// the search-list provider, the downloader, the connection probe and the crawl, wired the
// same way for the harvest window and the command line. Each front end keeps one, fills the
// job and shows what the session reports.
class HarvestSession : public QObject
{
    Q_OBJECT
public:
    // Fills the job's junk-extension list from the data folder.
    explicit HarvestSession(HarvestJob &job, QObject *parent = nullptr);
    // Stops the run; pages still in flight are given up.
    ~HarvestSession() override;

    HarvestJob &job() { return m_job; }
    AnalysisContext &context() { return m_context; }
    const AnalysisContext &context() const { return m_context; }
    ExtractorAnalysis &analysis() { return m_analysis; }
    PageStore &store() { return m_store; }
    SearchListProvider &provider() { return m_provider; }
    CurlDownloader &downloader() { return *m_downloader; }
    ConnectionProbe &probe() { return *m_probe; }
    CrawlController &crawl() { return *m_crawl; }
    // The run the last start() set up.
    const RunDescription &run() const { return m_run; }

    // Fills the job's engine list from the provider; the error report when the list could
    // not be read whole.
    std::optional<QString> loadEngines();

    // Sets up the downloader, the probe and the store as run describes, and starts the run
    // (or resumes a stopped one). Fails when the knowledge-base root cannot be made.
    Result<void> start(const RunDescription &run);

    // The knowledge base's folder once a page is stored in it; empty before.
    QString knowledgeBaseFolder();

private:
    HarvestJob &m_job;
    AnalysisContext m_context;
    ExtractorAnalysis m_analysis{m_context};
    PageStore m_store;
    StoreForCrawl m_storePort{m_store};
    SearchListProvider m_provider;
    SearchListForCrawl m_searchList{m_provider};
    std::unique_ptr<CurlDownloader> m_downloader;
    std::unique_ptr<ConnectionProbe> m_probe;
    std::unique_ptr<CrawlController> m_crawl;
    RunDescription m_run;
};

} // namespace corvane
