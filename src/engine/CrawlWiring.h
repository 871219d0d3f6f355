#pragma once

#include "engine/CrawlPorts.h"
#include "engine/JobList.h"
#include "kb/DiskSpace.h"

#include <array>
#include <memory>
#include <optional>

namespace corvane {

class AnalysisContext;
class PageStore;
class SearchListProvider;
class PageAnalyser;

// Page analysis for the crawl: the harvest's analysis context with one analyser per slot
// group, and the lead counter the run limits read.
class ExtractorAnalysis final : public CrawlAnalysis
{
public:
    explicit ExtractorAnalysis(AnalysisContext &context);
    ~ExtractorAnalysis() override;

    qsizetype mainQueueSize() const override;
    qsizetype linkQueueSize() const override;
    std::optional<QString> takeMainPage() override;
    std::optional<QString> takeLinkPage() override;
    void clearLinkQueue() override;

    QString MakeBaseURL(const QString &url) const override;
    void FetchLinks(int group, const QString &content, const QString &base) override;
    void FetchURLLinks(int group, const QString &content, const QString &base) override;
    void FetchDetails(int group, const QString &content, const QString &base) override;
    void FetchURLDetails(int group, const QString &content, const QString &base) override;
    QStringList ExtractEmails(int group, const QString &content) override;

    void setAddressFilterList(const QString &list) override;
    void setUserFilters(const UserLeadFilters &filters, qint64 leadLimit) override;
    bool firstPagePending() const override;
    void setFirstPagePending(bool pending) override;
    int resultCount() const override;
    qint32 leadCount() const override { return m_leadCounter; }
    QStringList leads() const override;

private:
    PageAnalyser &analyser(int group);

    AnalysisContext &m_context;
    std::array<std::unique_ptr<PageAnalyser>, 7> m_analysers;
    qint32 m_leadCounter = 0;
};

// The knowledge-base store for the crawl.
class StoreForCrawl final : public CrawlStore
{
public:
    explicit StoreForCrawl(PageStore &store, FreeSpaceQuery freeSpace = systemFreeSpace);
    QStringList SaveTaxonomy(const QString &url, const QByteArray &html) override;
    std::optional<QString> GetDiskSpace(const QString &root) override;
    qint32 storedPageCount() const override;

private:
    PageStore &m_store;
    FreeSpaceQuery m_freeSpace;
};

class SearchListForCrawl final : public CrawlSearchList
{
public:
    explicit SearchListForCrawl(SearchListProvider &provider) : m_provider(provider) {}
    QString BuildQueryURL(int resultPage, int engineNumber, const QString &keyword) override;
    QString GetAddressFilterList() override;
    void RefreshAddressFilterList() override;

private:
    SearchListProvider &m_provider;
};

// GetSearchEngineList: fills the engine list from the provider (a blank list is refreshed
// and read once more): the engine's name shows, its number and address ride along. A
// reading error keeps the entries read before it and comes back as
// "GetSearchEngineList->" + description.
std::optional<QString> GetSearchEngineList(SearchListProvider &provider, JobList &engines);

} // namespace corvane
