#pragma once

#include "analysis/AnalysisContext.h"
#include "engine/ConnectionProbe.h"
#include "engine/CrawlController.h"
#include "engine/CrawlWiring.h"
#include "engine/CurlDownloader.h"
#include "engine/RunDescription.h"
#include "engine/SearchListProvider.h"
#include "kb/PageStore.h"
#include "leads/LeadRecords.h"
#include "leads/SessionRecording.h"

#include <QHash>
#include <QObject>

#include <memory>
#include <optional>
#include <vector>

namespace corvane {

// One harvest's machinery around its job: page analysis and its context, the page store,
// the search-list provider, the downloader, the connection probe and the crawl, wired the
// same way for the harvest window and the command line. Each front end keeps one, fills the
// job and shows what the session reports.
//
// Every run is recorded in the lead database of the data folder: its job, each lead with the
// page it was found in, and its end message. A run stopped by the user stays open for its
// resumption; it ends when the crawl ends and its last pages are back, when a new run
// starts, or with the session. A database that cannot be written never stops the run: it is
// reported once per run (recordingProblem) and the run goes on.
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

    // Runs are recorded unless this is turned off before start().
    void setRecording(bool on) { m_recording.setWanted(on); }
    // The lead database's number of the run recorded last, if any.
    std::optional<qint64> lastRecordedRun() const { return m_recording.lastRun(); }
    // Where the session's runs found a lead, for as long as the session lives.
    std::optional<LeadSource> leadSource(const QString &lead) const;
    // Ends the run being recorded, with the run's end message, once all it found so far is
    // written. Does nothing when no run is being recorded.
    void endRecording(const QString &message);
    // Writes the leads of this session's recorded runs to path as the lead listings' CSV
    // (with sources), whole or not at all, and records the export; returns how many.
    Result<qint64> saveLeadsCsv(const QString &path);

signals:
    // The lead database cannot record the run; the run goes on.
    void recordingProblem(const QString &message);

private:
    void beginRecording(const RunDescription &run);
    void recordLeads(const QStringList &leads, const QString &pageUrl, const QByteArray &page);
    void crawlFinished(const QString &message);
    void reportRecordingProblem(const QString &message);

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

    SessionRecording m_recording;
    bool m_problemReported = false; // this run's
    QString m_endMessage;           // set when the crawl has ended; empty before
    bool m_endWhenPagesBack = false;
    QHash<QString, LeadSource> m_leadSources;
};

} // namespace corvane
