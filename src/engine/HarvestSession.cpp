#include "engine/HarvestSession.h"

#include "common/TimerSource.h"

#include <QDir>

namespace corvane {

HarvestSession::HarvestSession(HarvestJob &job, QObject *parent)
    : QObject(parent), m_job(job), m_downloader(std::make_unique<CurlDownloader>()),
      m_probe(std::make_unique<ConnectionProbe>())
{
    fillJunkExtensions(m_job.junkExtensions);
    m_crawl = std::make_unique<CrawlController>(
        m_job, CrawlController::Parts{m_downloader.get(), &RealTimerSource::instance(), &m_analysis,
                                      &m_storePort, &m_searchList, m_probe.get()});
}

HarvestSession::~HarvestSession()
{
    m_crawl->Stop();
    m_downloader->cancelAll();
}

std::optional<QString> HarvestSession::loadEngines()
{
    return GetSearchEngineList(m_provider, m_job.engines);
}

Result<void> HarvestSession::start(const RunDescription &run)
{
    if (run.store.buildKnowledgeBase && !QDir().mkpath(run.store.root))
        return fail(QStringLiteral("cannot create the knowledge-base root %1")
                        .arg(QDir::toNativeSeparators(run.store.root)));
    m_run = run;
    m_context.profile = run.crawl.profile;
    m_context.searchEngineSelected = run.searchType == SearchType::SearchEngines;
    m_context.filters.setUserFilters(run.filters);
    m_context.filters.leadLimit = run.maxLeads;
    m_store.setSettings(run.store);
    m_downloader->setProxy(run.proxy);
    m_downloader->setPoliteness(run.politeness);
    m_probe->setAddress(run.probeAddress);
    m_crawl->Start(run.crawl);
    return {};
}

QString HarvestSession::knowledgeBaseFolder()
{
    // The name's time stamp is fixed once the first knowledge-base record is written.
    if (m_store.currentKnowledgeBaseNumber() <= 0)
        return {};
    return m_store.knowledgeBaseFolder(m_store.KnowledgeBaseName());
}

} // namespace corvane
