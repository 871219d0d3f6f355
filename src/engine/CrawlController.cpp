#include "engine/CrawlController.h"

#include "common/Cp1252.h"
#include "common/TimerSource.h"
#include "engine/ConnectionProbe.h"
#include "engine/CrawlSlots.h"
#include "engine/EngineList.h"
#include "engine/PageDownloader.h"
#include "engine/ResumeController.h"
#include "engine/RunLimits.h"
#include "kb/DiskSpace.h"

#include <QMetaObject>

namespace corvane {

namespace {
void startIfIdle(Timer &timer, int intervalMs)
{
    if (!timer.isActive())
        timer.start(intervalMs);
}
} // namespace

QString crawlStateName(CrawlState state)
{
    switch (state) {
    case CrawlState::Idle:
        return QStringLiteral("idle");
    case CrawlState::Running:
        return QStringLiteral("running");
    case CrawlState::Stopped:
        return QStringLiteral("stopped");
    case CrawlState::EndedByUrlList:
        return QStringLiteral("ended by the URL list");
    case CrawlState::EndedBySingleUrl:
        return QStringLiteral("ended by the single URL");
    case CrawlState::EndedByLimit:
        return QStringLiteral("ended by limit");
    case CrawlState::WaitingForConnection:
        return QStringLiteral("waiting for connection");
    case CrawlState::EndedBySearch:
        return QStringLiteral("ended by the search");
    }
    return {};
}

CrawlController::CrawlController(HarvestJob &job, const Parts &parts, QObject *parent)
    : QObject(parent), m_job(job), m_parts(parts), m_crawlTimer(parts.timers->createTimer())
{
    m_monitor = std::make_unique<RunMonitor>(*parts.timers, [this] {
        RunLimitInputs in;
        in.stopAfter = m_job.stopAfter;
        in.maxPages = m_job.maxPages;
        in.maxLeads = m_job.maxLeads;
        in.pageCounter = m_pageCounter;
        in.leadCounter = m_parts.analysis->leadCount();
        in.buildKnowledgeBase = m_job.buildKnowledgeBase;
        in.knowledgeBasePageCounter = m_parts.store ? m_parts.store->storedPageCount() : 0;
        return in;
    });
    m_resume = std::make_unique<ResumeController>(*parts.connection, *parts.timers);

    connect(m_crawlTimer.get(), &Timer::timeout, this, &CrawlController::crawlStep);
    connect(m_parts.downloader, &PageDownloader::DownloadComplete, this,
            &CrawlController::onDownloadComplete);
    connect(m_monitor.get(), &RunMonitor::limitHit, this,
            [this](RunLimit, const QString &text) { endAtLimit(text); });
    connect(m_monitor.get(), &RunMonitor::tickFailed, this, &CrawlController::message);
    connect(m_monitor.get(), &RunMonitor::ticked, this, &CrawlController::progress);
    connect(m_resume.get(), &ResumeController::clockPaused, this, [this] {
        m_monitor->stop();
        m_monitor->showConnectionLost();
    });
    connect(m_resume.get(), &ResumeController::processLinksRequested, this,
            &CrawlController::ProcessLinks);
    connect(m_resume.get(), &ResumeController::stopRequested, this, &CrawlController::Stop);
    connect(m_resume.get(), &ResumeController::dialogClosed, this,
            &CrawlController::returnFromConnectionQuestion);
    connect(m_resume.get(), &ResumeController::stateChanged, this,
            [this](ResumeController::State resumeState) {
                if (!isRunning())
                    return;
                setState(resumeState == ResumeController::State::Online
                             ? CrawlState::Running
                             : CrawlState::WaitingForConnection);
            });
}

CrawlController::~CrawlController() = default;

bool CrawlController::isRunning() const
{
    return m_state == CrawlState::Running || m_state == CrawlState::WaitingForConnection;
}

bool CrawlController::crawlTimerRunning() const
{
    return m_crawlTimer->isActive();
}

int CrawlController::crawlIntervalMs() const
{
    return crawl::crawlTickMs(m_settings.pageTimeoutMs);
}

void CrawlController::setState(CrawlState state)
{
    if (m_state == state)
        return;
    m_state = state;
    emit stateChanged(state);
}

void CrawlController::startCrawlTimer()
{
    startIfIdle(*m_crawlTimer, crawl::crawlTickMs(m_settings.pageTimeoutMs));
}

void CrawlController::Start(const CrawlSettings &settings)
{
    m_settings = settings;
    m_monitor->start();
    m_resume->runStarted();
    // A timer given its interval ticks; a resumed run must tick too, or a run stopped with
    // only main pages queued would never take its next burst.
    m_crawlTimer->start(crawl::crawlTickMs(m_settings.pageTimeoutMs));
    setState(CrawlState::Running);

    if (m_stopped) {
        crawlStep();
        return;
    }
    m_keywordSource.setFirstPage(m_settings.firstResultPage - 1);
    if (!m_job.excludeEmailExtraction)
        loadAddressFilterList();
    m_checking = true;
    m_parts.connection->check([this](bool connected) {
        m_checking = false;
        startNewRun(connected);
    });
}

void CrawlController::startNewRun(bool connected)
{
    // Without a connection the crawl timer's next tick deals with it.
    if (!connected || m_state != CrawlState::Running)
        return;
    runSourceStep();
    if (m_job.searchType == SearchType::SearchEngines)
        m_parts.analysis->setFirstPagePending(true);
    if (m_parts.analysis->mainQueueSize() == 0)
        m_waitingForFirstPages = true;
    emit progress();
}

void CrawlController::loadAddressFilterList()
{
    CrawlSearchList &provider = *m_parts.searchList;
    m_parts.analysis->setAddressFilterList(
        readWithRefresh([&] { return provider.GetAddressFilterList(); },
                        [&] { provider.RefreshAddressFilterList(); }));
}

void CrawlController::Stop()
{
    m_monitor->stop();
    m_crawlTimer->stop();
    // After a limit the run is over for good; otherwise the next Start resumes it.
    m_stopped = !m_limitReached;
    if (!m_limitReached)
        setState(CrawlState::Stopped);
    emit progress();
}

void CrawlController::ProcessLinks()
{
    if (!m_monitor->isActive())
        m_monitor->start();
    runSourceStep();
}

void CrawlController::returnFromConnectionQuestion()
{
    // Only a run that is still under way may be woken, never one the answer stopped.
    if (!isRunning())
        return;
    switch (m_resume->actionAfterQuestion()) {
    case ResumeController::ReturnAction::Nothing:
        return;
    case ResumeController::ReturnAction::EnableTimers:
        if (!m_monitor->isActive())
            m_monitor->start();
        startCrawlTimer();
        return;
    case ResumeController::ReturnAction::EnableTimersAndProcessLinks:
        if (!m_monitor->isActive())
            m_monitor->start();
        startCrawlTimer();
        ProcessLinks();
        return;
    }
}

void CrawlController::runSourceStep()
{
    // Each source keeps its state for the controller's life; the job's type picks the one
    // that steps.
    switch (m_job.searchType) {
    case SearchType::SearchEngines:
        if (m_settings.profile == CrawlProfile::Modern)
            m_keywordSource.step(*this);
        else
            m_engineSource.step(*this);
        break;
    case SearchType::UrlList:
        m_listSource.step(*this);
        break;
    case SearchType::SingleUrl:
        m_singleSource.step(*this);
        break;
    }
}

void CrawlController::crawlStep()
{
    // A tick that comes while the last step's connection test is still out adds nothing.
    if (m_checking)
        return;
    m_checking = true;
    m_parts.connection->check([this](bool connected) {
        m_checking = false;
        stepAfterCheck(connected);
    });
}

void CrawlController::stepAfterCheck(bool connected)
{
    if (!isRunning())
        return; // stopped while the test was out
    switch (m_resume->connectionTested(connected)) {
    case ResumeController::StepVerdict::Skip:
        setState(CrawlState::WaitingForConnection);
        startCrawlTimer();
        emit progress();
        return;
    case ResumeController::StepVerdict::ResumeThenProceed:
        startCrawlTimer();
        ProcessLinks();
        break;
    case ResumeController::StepVerdict::Proceed:
        break;
    }
    stepBody();
}

void CrawlController::stepBody()
{
    if (m_job.buildKnowledgeBase && m_parts.store) {
        if (const auto warning =
                m_parts.store->GetDiskSpace(driveRootOf(m_job.knowledgeBaseRoot.trimmed())))
            emit message(*warning);
    }
    if (m_parts.analysis->mainQueueSize() > 0)
        m_waitingForFirstPages = false;
    runSourceStep();
    emit progress();
}

void CrawlController::endAtLimit(const QString &text)
{
    emit message(text);
    m_limitReached = true;
    Stop();
    setState(CrawlState::EndedByLimit);
    emit finished(text);
}

void CrawlController::endRun(SourceEnd how)
{
    if (how == SourceEnd::UrlListDone) {
        m_crawlTimer->stop();
        m_monitor->stop();
        const QString text = QString::fromLatin1(kUrlListDoneMessage);
        emit message(text);
        setState(CrawlState::EndedByUrlList);
        emit finished(text);
        return;
    }
    const bool search = how == SourceEnd::SearchDone;
    const QString text = QString::fromLatin1(search ? kUrlListDoneMessage : kSingleUrlDoneMessage);
    emit message(text);
    Stop();
    setState(search ? CrawlState::EndedBySearch : CrawlState::EndedBySingleUrl);
    emit finished(text);
}

// --- bursts ---

void CrawlController::startDownload(const QString &url, int slot)
{
    ++m_pending;
    m_parts.downloader->Download(url, m_settings.pageTimeoutMs, slot);
}

void CrawlController::DownloadNextPage(const QString &url)
{
    startDownload(url, crawl::kQuerySlot);
    ++m_pageCounter;
}

void CrawlController::countExtraPage()
{
    ++m_pageCounter;
}

void CrawlController::DownloadMainPages()
{
    const qsizetype n = m_parts.analysis->mainQueueSize();
    for (int i = 1; i <= n && i <= crawl::kMainBurst; ++i) {
        const auto url = m_parts.analysis->takeMainPage();
        if (!url)
            break;
        startDownload(url->trimmed(), crawl::kFirstMainSlot + i - 1);
        ++m_pageCounter;
    }
}

void CrawlController::SkipDomain()
{
    m_parts.analysis->clearLinkQueue();
    // A stopped or ended run stays as it is: skipping must not start it again.
    if (m_state != CrawlState::Running)
        return;
    m_crawlTimer->stop();
    startCrawlTimer(); // the next tick counts from here
    DownloadMainPages();
    emit progress();
}

void CrawlController::DownloadPages()
{
    const qsizetype n = m_parts.analysis->linkQueueSize();
    for (int i = 1; i <= n && i <= crawl::kLinkBurst; ++i) {
        const auto url = m_parts.analysis->takeLinkPage();
        if (!url)
            break;
        startDownload(url->trimmed(), crawl::kFirstLinkSlot + i - 1);
        ++m_pageCounter;
    }
    startCrawlTimer();
}

void CrawlController::onDownloadComplete(int slot, const QString &url, const QByteArray &body)
{
    if (m_pending > 0)
        --m_pending;
    const auto group = crawl::slotGroup(slot);
    const QString text = fromCp1252(body);
    if (group && !QStringView(text).trimmed().isEmpty()) { // a view copies no page
        m_burstHadBody = true;
        refreshUserFilters();
        CrawlAnalysis &analysis = *m_parts.analysis;
        const bool engines = m_job.searchType == SearchType::SearchEngines;
        const bool leadsWanted = !m_job.excludeEmailExtraction && text.contains(QLatin1Char('@'));
        if (slot == crawl::kQuerySlot) {
            const QString base = analysis.MakeBaseURL(m_currentMainUrl).trimmed();
            if (engines)
                analysis.FetchLinks(*group, text, base);
            else
                analysis.FetchURLLinks(*group, text, base);
            ++m_pageCounter;
            if (leadsWanted)
                reportLeads(analysis.ExtractEmails(*group, text), url, body);
        } else {
            const QString base = analysis.MakeBaseURL(url).trimmed();
            if (engines)
                analysis.FetchDetails(*group, text, base);
            else
                analysis.FetchURLDetails(*group, text, base);
            if (leadsWanted)
                reportLeads(analysis.ExtractEmails(*group, text), url, body);
            if (m_job.buildKnowledgeBase && m_parts.store) {
                for (const QString &problem : m_parts.store->SaveTaxonomy(url.trimmed(), body)) {
                    ++m_storeProblems;
                    emit storeProblem(problem);
                }
            }
        }
        emit progress();
    }
    if (m_pending > 0)
        return;
    emit allPagesBack();
    if (m_settings.profile == CrawlProfile::Modern)
        chainNextBurst();
}

void CrawlController::reportLeads(const QStringList &leads, const QString &url,
                                  const QByteArray &body)
{
    if (!leads.isEmpty())
        emit leadsFound(leads, url, body);
}

void CrawlController::chainNextBurst()
{
    // A run waiting for its connection chains too: the step's own test then finds out
    // whether it is back, rather than the next tick long after.
    if (m_chainQueued || !isRunning() || !m_crawlTimer->isActive())
        return;
    m_chainQueued = true;
    // Queued, so the step runs after this arrival's handler has returned.
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_chainQueued = false;
            if (!isRunning() || !m_crawlTimer->isActive() || m_pending > 0)
                return;
            // The tick stays the upper bound, counted from this burst.
            m_crawlTimer->start(crawl::crawlTickMs(m_settings.pageTimeoutMs));
            const bool provenOnline = m_burstHadBody && m_state == CrawlState::Running;
            m_burstHadBody = false;
            if (provenOnline)
                chainedStep();
            else
                crawlStep();
        },
        Qt::QueuedConnection);
}

void CrawlController::chainedStep()
{
    // Pages just arrived, so the connection is there: the step goes on without a test.
    stepBody();
}

// --- the job and the analysis, for the URL sources ---

qsizetype CrawlController::mainQueueSize() const
{
    return m_parts.analysis->mainQueueSize();
}

qsizetype CrawlController::linkQueueSize() const
{
    return m_parts.analysis->linkQueueSize();
}

std::optional<SelectedEngine> CrawlController::takeSelectedEngine()
{
    const qsizetype row = m_job.engines.firstMarked();
    if (row < 0)
        return std::nullopt;
    m_job.engines.setMarked(row, false);
    const JobListEntry &engine = m_job.engines.at(row);
    return SelectedEngine{engine.number, engine.address};
}

std::optional<SelectedKeyword> CrawlController::selectedKeywordFrom(int index) const
{
    const qsizetype row = m_job.keywords.firstMarked(index);
    if (row < 0)
        return std::nullopt;
    return SelectedKeyword{int(row), m_job.keywords.at(row).text};
}

std::optional<QString> CrawlController::takeSelectedStartUrl()
{
    const qsizetype row = m_job.urlList.firstMarked();
    if (row < 0)
        return std::nullopt;
    return m_job.urlList.takeAt(row).text;
}

void CrawlController::refreshUserFilters()
{
    // A limit being retyped mid-run keeps the last one that read as a number.
    if (const Result<qint32> limit = toInt32(m_job.maxLeads, {}))
        m_leadLimit = *limit;
    m_parts.analysis->setUserFilters(userLeadFilters(m_job), m_leadLimit);
}

QString CrawlController::BuildQueryURL(int resultPage, int engineNumber, const QString &keyword)
{
    return m_parts.searchList->BuildQueryURL(resultPage, engineNumber, keyword);
}

bool CrawlController::firstPagePending() const
{
    return m_parts.analysis->firstPagePending();
}

void CrawlController::setFirstPagePending(bool pending)
{
    m_parts.analysis->setFirstPagePending(pending);
}

int CrawlController::resultCount() const
{
    return m_parts.analysis->resultCount();
}

void CrawlController::showMessage(const QString &text)
{
    emit message(text);
}

} // namespace corvane
