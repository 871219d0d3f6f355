#pragma once

#include "common/TimerSource.h"
#include "engine/ConnectionProbe.h"
#include "engine/CrawlController.h"
#include "engine/FixedConnection.h"
#include "engine/PageDownloader.h"
#include "engine/ResumeController.h"
#include "engine/RunLimits.h"

#include <QHash>
#include <QList>
#include <QStringList>

#include <deque>
#include <ostream>

// Readable QString values in test failures.
inline void PrintTo(const QString &text, std::ostream *os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace corvane::test {

// Holds every request until the test delivers it.
class FakeDownloader final : public PageDownloader
{
public:
    struct Request
    {
        QString url;
        int timeoutMs = 0;
        int slot = 0;
    };

    void Download(const QString &url, int timeoutMs, int slot) override
    {
        requests.append({url, timeoutMs, slot});
        waiting.push_back(requests.size() - 1);
    }
    void cancelAll() override { waiting.clear(); }
    int inFlight() const override { return int(waiting.size()); }

    // Delivers the oldest waiting request with the body the site gives for it.
    bool deliverNext()
    {
        if (waiting.empty())
            return false;
        const Request r = requests[waiting.front()];
        waiting.pop_front();
        emit DownloadComplete(r.slot, r.url, bodies.value(r.url));
        return true;
    }
    void deliverAll()
    {
        while (deliverNext()) {
        }
    }
    QList<int> slotNumbers() const
    {
        QList<int> s;
        for (const Request &r : requests)
            s << r.slot;
        return s;
    }
    QStringList urls() const
    {
        QStringList u;
        for (const Request &r : requests)
            u << r.url;
        return u;
    }

    QList<Request> requests;
    std::deque<qsizetype> waiting;
    QHash<QString, QByteArray> bodies;
};

// Queues as plain lists; every page's links come from a script keyed by its URL, and
// every call is recorded.
class FakeAnalysis final : public CrawlAnalysis
{
public:
    qsizetype mainQueueSize() const override { return mainQueue.size(); }
    qsizetype linkQueueSize() const override { return linkQueue.size(); }
    std::optional<QString> takeMainPage() override
    {
        if (mainQueue.isEmpty())
            return std::nullopt;
        return mainQueue.takeFirst();
    }
    std::optional<QString> takeLinkPage() override
    {
        if (linkQueue.isEmpty())
            return std::nullopt;
        return linkQueue.takeFirst();
    }
    void clearLinkQueue() override { linkQueue.clear(); }
    QString MakeBaseURL(const QString &url) const override { return QStringLiteral("base:") + url; }
    void FetchLinks(int group, const QString &content, const QString &base) override
    {
        calls << QStringLiteral("FetchLinks %1 %2").arg(group).arg(base);
        mainQueue += linksOf(content);
        resultCountValue = int(mainQueue.size());
        if (resultCountValue > 0)
            pending = false;
    }
    void FetchURLLinks(int group, const QString &content, const QString &base) override
    {
        calls << QStringLiteral("FetchURLLinks %1 %2").arg(group).arg(base);
        mainQueue += linksOf(content);
    }
    void FetchDetails(int group, const QString &content, const QString &base) override
    {
        calls << QStringLiteral("FetchDetails %1 %2").arg(group).arg(base);
        linkQueue += linksOf(content);
    }
    void FetchURLDetails(int group, const QString &content, const QString &base) override
    {
        calls << QStringLiteral("FetchURLDetails %1 %2").arg(group).arg(base);
        linkQueue += linksOf(content);
    }
    QStringList ExtractEmails(int group, const QString &content) override
    {
        calls << QStringLiteral("ExtractEmails %1").arg(group);
        QStringList accepted;
        for (const QString &word : content.split(QLatin1Char(' ')))
            if (word.contains(QLatin1Char('@')) && !leadList.contains(word))
                accepted << word;
        leadList += accepted;
        return accepted;
    }
    void setAddressFilterList(const QString &list) override { filterList = list; }
    void setUserFilters(const UserLeadFilters &filters, qint64 limit) override
    {
        userFilters = filters;
        leadLimit = limit;
    }
    bool firstPagePending() const override { return pending; }
    void setFirstPagePending(bool value) override { pending = value; }
    int resultCount() const override { return resultCountValue; }
    qint32 leadCount() const override { return qint32(leadList.size()); }
    QStringList leads() const override { return leadList; }

    // A page body "links: a b c" lists a, b and c.
    static QStringList linksOf(const QString &content)
    {
        const qsizetype at = content.indexOf(QLatin1String("links:"));
        if (at < 0)
            return {};
        QStringList links = content.mid(at + 6).split(QLatin1Char(' '), Qt::SkipEmptyParts);
        links.removeIf([](const QString &w) { return w.contains(QLatin1Char('@')); });
        return links;
    }

    QStringList mainQueue;
    QStringList linkQueue;
    QStringList leadList;
    QStringList calls;
    QString filterList;
    UserLeadFilters userFilters;
    qint64 leadLimit = 0;
    bool pending = false;
    int resultCountValue = 0;
};

class FakeStore final : public CrawlStore
{
public:
    QStringList SaveTaxonomy(const QString &url, const QByteArray &) override
    {
        saved << url;
        return problems;
    }
    std::optional<QString> GetDiskSpace(const QString &root) override
    {
        diskChecks << root;
        if (lowDisk)
            return QStringLiteral("Insufficient hard disk space (below 5 MB)");
        return std::nullopt;
    }
    qint32 storedPageCount() const override { return qint32(saved.size()); }

    QStringList saved;
    QStringList diskChecks;
    QStringList problems; // what every page's storing reports
    bool lowDisk = false;
};

class FakeSearchList final : public CrawlSearchList
{
public:
    QString BuildQueryURL(int resultPage, int engineNumber, const QString &keyword) override
    {
        queries << QStringLiteral("%1/%2/%3").arg(resultPage).arg(engineNumber).arg(keyword);
        if (emptyFor.contains(keyword) || (lastPage >= 0 && resultPage > lastPage))
            return QStringLiteral("  ");
        return QStringLiteral("http://engine%1/q=%2&p=%3")
            .arg(engineNumber)
            .arg(keyword)
            .arg(resultPage);
    }
    QString GetAddressFilterList() override
    {
        ++filterReads;
        return refreshed ? QStringLiteral(".com#") : initialFilter;
    }
    void RefreshAddressFilterList() override { refreshed = true; }

    QStringList queries;
    QStringList emptyFor;
    int lastPage = -1; // the engine's last result page; -1: no end
    QString initialFilter = QStringLiteral(".com#.net#");
    int filterReads = 0;
    bool refreshed = false;
};

// Answers at once with what the test says.
// A controller with fakes all round, in virtual time.
struct CrawlRig
{
    CrawlRig() { job.pageTimeout = QStringLiteral("20"); }

    // Built on first use, so a test can set the profile first.
    CrawlController &crawl()
    {
        if (!controller) {
            controller = std::make_unique<CrawlController>(
                job, CrawlController::Parts{&downloader, &timers, &analysis, &store, &searchList,
                                            &connection});
            QObject::connect(controller.get(), &CrawlController::message,
                             [this](const QString &text) { messages << text; });
            QObject::connect(&controller->resume(), &ResumeController::dialogOpened,
                             [this] { ++dialogs; });
        }
        return *controller;
    }

    // Start, with the job's page time-out, the rig's profile and first result page.
    void start()
    {
        crawl().Start(CrawlSettings{job.pageTimeout.toInt() * 1000, profile, firstResultPage});
    }

    // A URL-list run with links link pages queued ("http://l/0", ...), started.
    void startUrlList(int links)
    {
        job.searchType = SearchType::UrlList;
        for (int i = 0; i < links; ++i)
            analysis.linkQueue << QStringLiteral("http://l/%1").arg(i);
        start();
    }

    // Entries of one of the job's lists: text and mark.
    static void fill(JobList &list, const QList<std::pair<const char *, bool>> &entries)
    {
        QList<JobListEntry> rows;
        for (const auto &[text, marked] : entries)
            rows.append(JobListEntry{QString::fromLatin1(text), 0, {}, marked});
        list.setEntries(rows);
    }

    HarvestJob job;
    CrawlProfile profile = CrawlProfile::Classic;
    int firstResultPage = 1;
    VirtualTimerSource timers;
    FakeDownloader downloader;
    FakeAnalysis analysis;
    FakeStore store;
    FakeSearchList searchList;
    FixedConnection connection;
    std::unique_ptr<CrawlController> controller;
    QStringList messages;
    int dialogs = 0;
};

} // namespace corvane::test
