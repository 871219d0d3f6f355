#pragma once

#include "common/CrawlProfile.h"
#include "engine/CrawlPorts.h"
#include "engine/HarvestJob.h"
#include "engine/UrlSources.h"

#include <QObject>

#include <memory>

namespace corvane {

class ConnectionCheck;
class PageDownloader;
class ResumeController;
class RunMonitor;
class Timer;
class TimerSource;

// What the run is doing.
enum class CrawlState {
    Idle,
    Running,
    Stopped,          // resumable: the next Start goes on from the queues
    EndedByUrlList,   // the start URLs are used up; Stop makes the run resumable again
    EndedBySingleUrl, // the single URL is done
    EndedByLimit,     // a run limit was reached; the run cannot be resumed
    WaitingForConnection,
    EndedBySearch, // modern: every keyword's result pages and every queued page are done
};

QString crawlStateName(CrawlState state);

// What a Start fixes for the run: the time-out every download is given (it also paces the
// crawl timer), the profile, and under the modern profile the result page each keyword
// starts from (1 is the first).
struct CrawlSettings
{
    qint32 pageTimeoutMs = 30000;
    CrawlProfile profile = CrawlProfile::Classic;
    int firstResultPage = 1;
    bool operator==(const CrawlSettings &) const = default;
};

// Runs a harvest job: the crawl timer `tmrExtractor` asks the job's URL source for the next
// burst, the downloader brings the pages back, and every page goes to analysis and, when
// the job builds a knowledge base, to the store. The run monitor (`tmrTimer`) checks the
// limits once a second; the resume controller carries the run over a lost connection.
//
// The job is read live: the owner may change its lists, switches, filters and limits between
// steps, and the crawl takes start URLs out of the job's list and unmarks the engine it takes.
class CrawlController final : public QObject, private CrawlActions
{
    Q_OBJECT
public:
    struct Parts
    {
        PageDownloader *downloader = nullptr;
        TimerSource *timers = nullptr;
        CrawlAnalysis *analysis = nullptr;
        CrawlStore *store = nullptr; // may be null when no knowledge base is ever built
        CrawlSearchList *searchList = nullptr;
        ConnectionCheck *connection = nullptr;
    };

    CrawlController(HarvestJob &job, const Parts &parts, QObject *parent = nullptr);
    ~CrawlController() override;

    // Start or resume, once the job's start validation has passed.
    void Start(const CrawlSettings &settings);
    // Stop: by the user, or at the end of a run.
    void Stop();
    // After a lost connection returns: the clock goes on and the source takes one step.
    void ProcessLinks();
    // "Skip Domain": drop the link pages queued from the current site; a running crawl goes
    // on at once with the next main pages.
    void SkipDomain();

    RunMonitor &monitor() { return *m_monitor; }
    ResumeController &resume() { return *m_resume; }

    CrawlState state() const { return m_state; }
    bool isRunning() const;
    // No main page found yet since Start ("Downloading Pages.....").
    bool waitingForFirstPages() const { return m_waitingForFirstPages; }
    bool crawlTimerRunning() const;
    int crawlIntervalMs() const;
    CrawlProfile profile() const { return m_settings.profile; }

    qint32 pageCounter() const { return m_pageCounter; }
    QString currentMainUrl() const { return m_currentMainUrl; }
    // Downloads started and not yet back.
    int pending() const { return m_pending; }
    // Problems the store reported since the crawl was made.
    int storeProblemCount() const { return m_storeProblems; }

    // One crawl step, as the crawl timer runs it.
    void crawlStep();

signals:
    // A message for the program's message dialog (end of run, low disk, missing URL).
    void message(const QString &text);
    // Something went wrong while a page was stored; the run goes on.
    void storeProblem(const QString &text);
    // Page analysis accepted these leads from the page at pageUrl (page: its bytes as they
    // arrived), in the order found.
    void leadsFound(const QStringList &leads, const QString &pageUrl, const QByteArray &page);
    void stateChanged(CrawlState state);
    void progress();
    // The run has ended for good: a limit, the URL list used up, the single URL done or (modern)
    // the search done.
    // Pages still in flight keep arriving and are analysed; allPagesBack follows them.
    void finished(const QString &text);
    // Every download started has come back (pending() is 0).
    void allPagesBack();

private:
    // CrawlActions, for the URL sources.
    qsizetype mainQueueSize() const override;
    qsizetype linkQueueSize() const override;
    void DownloadMainPages() override;
    void DownloadPages() override;
    void DownloadNextPage(const QString &url) override;
    void setCurrentMainUrl(const QString &url) override { m_currentMainUrl = url; }
    void countExtraPage() override;
    std::optional<SelectedEngine> takeSelectedEngine() override;
    std::optional<SelectedKeyword> selectedKeywordFrom(int index) const override;
    std::optional<QString> takeSelectedStartUrl() override;
    QString singleUrl() const override { return m_job.url; }
    QString BuildQueryURL(int resultPage, int engineNumber, const QString &keyword) override;
    bool firstPagePending() const override;
    void setFirstPagePending(bool pending) override;
    int resultCount() const override;
    int pendingDownloads() const override { return m_pending; }
    void showMessage(const QString &text) override;
    void endRun(SourceEnd how) override;

    void startNewRun(bool connected);
    void stepAfterCheck(bool connected);
    void stepBody();
    void onDownloadComplete(int slot, const QString &url, const QByteArray &body);
    void reportLeads(const QStringList &leads, const QString &url, const QByteArray &body);
    void startDownload(const QString &url, int slot);
    void runSourceStep();
    void loadAddressFilterList();
    void endAtLimit(const QString &text);
    void setState(CrawlState state);
    void startCrawlTimer();
    void chainNextBurst();
    void chainedStep();
    void refreshUserFilters();
    // The connection question has closed: the run's timers come back, and in resume mode
    // the source takes a step at once.
    void returnFromConnectionQuestion();

    HarvestJob &m_job;
    CrawlSettings m_settings;
    Parts m_parts;
    std::unique_ptr<Timer> m_crawlTimer;   // tmrExtractor
    std::unique_ptr<RunMonitor> m_monitor; // tmrTimer
    std::unique_ptr<ResumeController> m_resume;
    SearchEnginesSource m_engineSource;
    KeywordPagesSource m_keywordSource; // search engines under the modern profile
    UrlListSource m_listSource;
    SingleUrlSource m_singleSource;

    CrawlState m_state = CrawlState::Idle;
    bool m_waitingForFirstPages = false;
    bool m_stopped = false;
    bool m_limitReached = false;
    bool m_checking = false; // a step waits for its connection test
    qint32 m_pageCounter = 0;
    QString m_currentMainUrl;
    qint64 m_leadLimit = 0; // the last lead limit that read as a number
    int m_storeProblems = 0;

    // Bursts chain on completion in the modern profile.
    int m_pending = 0;
    bool m_burstHadBody = false;
    bool m_chainQueued = false;
};

} // namespace corvane
