#pragma once

#include <QString>

#include <algorithm>
#include <memory>
#include <optional>

namespace corvane {

// How a URL source's step ended the run.
enum class SourceEnd {
    UrlListDone,   // "Corvane has completed the specified search."
    SingleUrlDone, // "Corvane has scanned specified URL."
    SearchDone,    // modern search engines: "Corvane has completed the specified search."
};

inline constexpr char kUrlListDoneMessage[] = "Corvane has completed the specified search.";
inline constexpr char kSingleUrlDoneMessage[] = "Corvane has scanned specified URL.";
inline constexpr char kEnterUrlMessage[] = "Please enter URL to search.";

struct SelectedEngine
{
    int number = 0;
    QString address;
};

struct SelectedKeyword
{
    int index = 0;
    QString text;
};

// What a URL source needs from the crawl: the queues' sizes, the three kinds of download,
// the job's selections and the search-list provider. The crawl controller implements it;
// tests give a scripted one.
class CrawlActions
{
public:
    virtual ~CrawlActions() = default;

    virtual qsizetype mainQueueSize() const = 0;
    virtual qsizetype linkQueueSize() const = 0;
    virtual void DownloadMainPages() = 0;
    virtual void DownloadPages() = 0;
    virtual void DownloadNextPage(const QString &url) = 0;
    virtual void setCurrentMainUrl(const QString &url) = 0;
    virtual void countExtraPage() = 0;

    // The first selected engine, deselected as it is taken.
    virtual std::optional<SelectedEngine> takeSelectedEngine() = 0;
    // The first selected keyword at or after index.
    virtual std::optional<SelectedKeyword> selectedKeywordFrom(int index) const = 0;
    // The first selected start URL, removed from the list as it is taken.
    virtual std::optional<QString> takeSelectedStartUrl() = 0;
    virtual QString singleUrl() const = 0;

    virtual QString BuildQueryURL(int resultPage, int engineNumber, const QString &keyword) = 0;
    // Kept by the analysis of result pages.
    virtual bool firstPagePending() const = 0;
    virtual void setFirstPagePending(bool pending) = 0;
    virtual int resultCount() const = 0;

    // Downloads started and not yet back: their links may still fill the queues.
    virtual int pendingDownloads() const = 0;

    virtual void showMessage(const QString &text) = 0;
    virtual void endRun(SourceEnd how) = 0;
};

// One step of the job's start: search engines, a URL list or one URL.
class UrlSource
{
public:
    virtual ~UrlSource() = default;
    virtual void step(CrawlActions &crawl) = 0;
};

// Queries one engine with the selected keywords, result page after result page. Never
// ends a run by itself.
class SearchEnginesSource final : public UrlSource
{
public:
    void step(CrawlActions &crawl) override;

    bool engineActive() const { return m_engineActive; }
    int resultPage() const { return m_resultPage; }
    int keywordIndex() const { return m_keywordIndex; }

private:
    void requestResultPage(CrawlActions &crawl, const QString &keyword);

    bool m_engineActive = false;
    int m_engineNumber = 0;
    qint16 m_resultPage = 0;
    qint16 m_keywordIndex = 0;
};

// The modern profile's search-engine source: one engine, the selected keywords one after
// another, each from its own first result page (firstPage, from 0) until the engine has no
// further page for it or a result page brings no new main page. Each step waits for the last
// one's pages, then starts main pages, the next result page (once no main page is queued) and
// link pages together, each kind in its own slots. The run ends once every keyword is done
// and nothing is queued or out.
class KeywordPagesSource final : public UrlSource
{
public:
    void step(CrawlActions &crawl) override;
    void setFirstPage(int firstPage) { m_firstPage = m_resultPage = std::max(0, firstPage); }

    int resultPage() const { return m_resultPage; }
    // Row of the keyword being paged through (or, once all are done, past the last).
    int keywordRow() const { return m_keywordRow; }

private:
    // Requests the next result page; false when every keyword is done.
    bool requestNextPage(CrawlActions &crawl);
    void nextKeyword(int row);

    bool m_engineActive = false;
    int m_engineNumber = 0;
    int m_firstPage = 0;
    int m_resultPage = 0;
    int m_keywordRow = 0;
    bool m_awaitingResult = false; // a result page went out; judged at the next step
};

// Start URLs one by one, each followed by the pages it leads to; ends when all are used.
class UrlListSource final : public UrlSource
{
public:
    void step(CrawlActions &crawl) override;
};

// One start URL and the pages it leads to.
class SingleUrlSource final : public UrlSource
{
public:
    void step(CrawlActions &crawl) override;
    bool started() const { return m_started; }

private:
    bool m_started = false;
};

} // namespace corvane
