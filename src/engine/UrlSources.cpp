#include "engine/UrlSources.h"

namespace corvane {

void SearchEnginesSource::step(CrawlActions &crawl)
{
    if (crawl.mainQueueSize() > 0) {
        if (crawl.linkQueueSize() == 0)
            crawl.DownloadMainPages();
        else
            crawl.DownloadPages();
        return;
    }
    if (!m_engineActive) {
        if (const auto engine = crawl.takeSelectedEngine()) {
            crawl.setCurrentMainUrl(engine->address);
            m_resultPage = 0;
            m_engineNumber = engine->number;
            m_engineActive = true;
            m_keywordIndex = 0;
        }
    }
    if (m_keywordIndex == 0) {
        const auto keyword = crawl.selectedKeywordFrom(0);
        if (!keyword) {
            ++m_resultPage;
            return;
        }
        const QString url =
            crawl.BuildQueryURL(m_resultPage, m_engineNumber, keyword->text.trimmed()).trimmed();
        if (!url.isEmpty())
            crawl.DownloadNextPage(url);
        else
            ++m_keywordIndex;
    }
    if (m_keywordIndex != 0) {
        if (const auto keyword = crawl.selectedKeywordFrom(m_keywordIndex)) {
            if (crawl.resultCount() == 0 && !crawl.firstPagePending())
                crawl.setFirstPagePending(true); // one step rests after an empty result page
            else
                requestResultPage(crawl, keyword->text);
        }
    }
    ++m_resultPage;
}

void SearchEnginesSource::requestResultPage(CrawlActions &crawl, const QString &keyword)
{
    const QString url =
        crawl.BuildQueryURL(m_resultPage, m_engineNumber, keyword.trimmed()).trimmed();
    if (!url.isEmpty())
        crawl.DownloadNextPage(url);
}

void KeywordPagesSource::step(CrawlActions &crawl)
{
    // Pages still out may bring main pages, or be the result page to judge: their arrival
    // brings the next step.
    if (crawl.pendingDownloads() > 0)
        return;
    if (!m_engineActive) {
        if (const auto engine = crawl.takeSelectedEngine()) {
            crawl.setCurrentMainUrl(engine->address);
            m_engineNumber = engine->number;
        }
        m_engineActive = true;
    }
    // The three kinds of page have their own slots, so a step may start all three.
    const bool mainPages = crawl.mainQueueSize() > 0;
    if (mainPages)
        crawl.DownloadMainPages();
    // A result page is judged by the main pages it leaves, so it goes out only into an
    // empty main-page queue.
    const bool searching = crawl.mainQueueSize() == 0 && requestNextPage(crawl);
    const bool linkPages = crawl.linkQueueSize() > 0;
    if (linkPages)
        crawl.DownloadPages();
    if (!mainPages && !searching && !linkPages)
        crawl.endRun(SourceEnd::SearchDone);
}

bool KeywordPagesSource::requestNextPage(CrawlActions &crawl)
{
    if (m_awaitingResult) {
        m_awaitingResult = false;
        // The flag stays set when the result page left no main page: empty, failed, or
        // nothing on it that was not seen before. Engines repeat or empty their pages past
        // the end, so the keyword is done.
        if (crawl.firstPagePending())
            nextKeyword(m_keywordRow + 1);
        else
            ++m_resultPage;
    }
    while (const auto keyword = crawl.selectedKeywordFrom(m_keywordRow)) {
        if (keyword->index != m_keywordRow)
            nextKeyword(keyword->index);
        const QString url =
            crawl.BuildQueryURL(m_resultPage, m_engineNumber, keyword->text.trimmed()).trimmed();
        if (url.isEmpty()) { // no such page: the keyword is done
            nextKeyword(m_keywordRow + 1);
            continue;
        }
        crawl.setFirstPagePending(true);
        crawl.DownloadNextPage(url);
        m_awaitingResult = true;
        return true;
    }
    return false;
}

void KeywordPagesSource::nextKeyword(int row)
{
    m_keywordRow = row;
    m_resultPage = m_firstPage;
}

void UrlListSource::step(CrawlActions &crawl)
{
    if (crawl.linkQueueSize() > 0) {
        crawl.DownloadPages();
        return;
    }
    if (crawl.mainQueueSize() > 0) {
        crawl.DownloadMainPages();
        return;
    }
    if (const auto url = crawl.takeSelectedStartUrl()) {
        crawl.setCurrentMainUrl(*url);
        crawl.DownloadNextPage(*url);
        return;
    }
    // A burst still out may bring links back; a later step ends the run.
    if (crawl.pendingDownloads() == 0)
        crawl.endRun(SourceEnd::UrlListDone);
}

void SingleUrlSource::step(CrawlActions &crawl)
{
    if (!m_started) {
        const QString url = crawl.singleUrl().trimmed();
        if (url.isEmpty()) {
            crawl.showMessage(QString::fromLatin1(kEnterUrlMessage));
            return;
        }
        crawl.setCurrentMainUrl(url);
        crawl.DownloadNextPage(url);
        m_started = true;
        crawl.countExtraPage(); // the single URL counts twice
        return;
    }
    if (crawl.mainQueueSize() == 0 && crawl.linkQueueSize() == 0) {
        // A burst still out may bring links back; a later step ends the run.
        if (crawl.pendingDownloads() == 0)
            crawl.endRun(SourceEnd::SingleUrlDone);
    } else if (crawl.linkQueueSize() > 0)
        crawl.DownloadPages();
    else
        crawl.DownloadMainPages();
}

} // namespace corvane
