#include "engine/HarvestSession.h"

#include "common/TimerSource.h"
#include "kb/NameRules.h"

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
    connect(m_crawl.get(), &CrawlController::leadsFound, this, &HarvestSession::recordLeads);
    connect(m_crawl.get(), &CrawlController::finished, this, &HarvestSession::crawlFinished);
    connect(m_crawl.get(), &CrawlController::allPagesBack, this, [this] {
        if (m_endWhenPagesBack)
            endRecording(m_endMessage);
    });
}

HarvestSession::~HarvestSession()
{
    m_crawl->Stop();
    m_downloader->cancelAll();
    endRecording(m_endMessage.isEmpty() ? kRunStoppedMessage : m_endMessage);
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
    // A stopped run, and a URL list given more addresses after its end, go on where they
    // were; so does their record while it is open.
    const CrawlState state = m_crawl->state();
    const bool resuming = state == CrawlState::Stopped || state == CrawlState::EndedByUrlList;
    if (!resuming || !m_recording.current())
        beginRecording(run);
    m_endMessage.clear();
    m_endWhenPagesBack = false;

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

std::optional<LeadSource> HarvestSession::leadSource(const QString &lead) const
{
    const auto found = m_leadSources.constFind(lead);
    if (found == m_leadSources.cend())
        return std::nullopt;
    return *found;
}

void HarvestSession::beginRecording(const RunDescription &run)
{
    endRecording(m_endMessage.isEmpty() ? kRunStoppedMessage : m_endMessage);
    m_problemReported = false;
    if (Result<void> begun = m_recording.begin(RunKind::Harvest, runJson(run)); !begun)
        reportRecordingProblem(begun.message());
}

void HarvestSession::recordLeads(const QStringList &leads, const QString &pageUrl,
                                 const QByteArray &page)
{
    const LeadSource source{pageUrl, pageTitle(page).value_or(QString())};
    for (const QString &lead : leads)
        m_leadSources.insert(lead, source);
    if (RunRecorder *recorder = m_recording.current())
        recorder->recordLeads(leads, source.location, source.title);
}

void HarvestSession::crawlFinished(const QString &message)
{
    m_endMessage = message;
    // Pages still in flight are analysed after the end; their leads belong to the run.
    if (m_crawl->pending() > 0)
        m_endWhenPagesBack = true;
    else
        endRecording(message);
}

void HarvestSession::endRecording(const QString &message)
{
    m_endWhenPagesBack = false;
    if (Result<void> ended = m_recording.end(message); !ended)
        reportRecordingProblem(ended.message());
}

void HarvestSession::reportRecordingProblem(const QString &message)
{
    if (m_problemReported)
        return;
    m_problemReported = true;
    emit recordingProblem(message);
}

Result<qint64> HarvestSession::saveLeadsCsv(const QString &path)
{
    // A lead is taken once per session, so the runs' leads never repeat one another.
    return m_recording.saveCsv(path);
}

} // namespace corvane
