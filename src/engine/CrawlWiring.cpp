#include "engine/CrawlWiring.h"

#include "analysis/PageAnalyser.h"
#include "engine/CrawlSlots.h"
#include "engine/EngineList.h"
#include "engine/SearchListProvider.h"
#include "kb/PageStore.h"

namespace corvane {

ExtractorAnalysis::ExtractorAnalysis(AnalysisContext &context) : m_context(context)
{
    static_assert(crawl::kSlotGroups == 7);
    for (auto &analyser : m_analysers)
        analyser = std::make_unique<PageAnalyser>(context);
}

ExtractorAnalysis::~ExtractorAnalysis() = default;

PageAnalyser &ExtractorAnalysis::analyser(int group)
{
    return *m_analysers.at(std::size_t(qBound(0, group, crawl::kSlotGroups - 1)));
}

qsizetype ExtractorAnalysis::mainQueueSize() const
{
    return m_context.lstResult.count();
}

qsizetype ExtractorAnalysis::linkQueueSize() const
{
    return m_context.lstDetails.count();
}

std::optional<QString> ExtractorAnalysis::takeMainPage()
{
    if (m_context.lstResult.isEmpty())
        return std::nullopt;
    return m_context.lstResult.takeFirst();
}

std::optional<QString> ExtractorAnalysis::takeLinkPage()
{
    if (m_context.lstDetails.isEmpty())
        return std::nullopt;
    return m_context.lstDetails.takeFirst();
}

void ExtractorAnalysis::clearLinkQueue()
{
    m_context.lstDetails.clear();
}

QString ExtractorAnalysis::MakeBaseURL(const QString &url) const
{
    return PageAnalyser::MakeBaseURL(url, m_context.profile);
}

void ExtractorAnalysis::FetchLinks(int group, const QString &content, const QString &base)
{
    analyser(group).FetchLinks(content, base);
}

void ExtractorAnalysis::FetchURLLinks(int group, const QString &content, const QString &base)
{
    analyser(group).FetchURLLinks(content, base);
}

void ExtractorAnalysis::FetchDetails(int group, const QString &content, const QString &base)
{
    QString host = base; // cut to its host in place
    analyser(group).FetchDetails(content, host);
}

void ExtractorAnalysis::FetchURLDetails(int group, const QString &content, const QString &base)
{
    analyser(group).FetchURLDetails(content, base);
}

QStringList ExtractorAnalysis::ExtractEmails(int group, const QString &content)
{
    const int accepted = analyser(group).ExtractEmails(QStringView(content));
    m_leadCounter += accepted;
    // Each accepted lead is appended to the lead list, so this call's are its last ones.
    const TextListModel &mailList = m_context.lstMailList;
    QStringList leads;
    leads.reserve(accepted);
    for (qsizetype row = mailList.count() - accepted; row < mailList.count(); ++row)
        leads << mailList.at(row);
    return leads;
}

void ExtractorAnalysis::setAddressFilterList(const QString &list)
{
    m_context.filters.addressFilters = AddressFilterList(list);
}

void ExtractorAnalysis::setUserFilters(const UserLeadFilters &filters, qint64 leadLimit)
{
    m_context.filters.setUserFilters(filters);
    m_context.filters.leadLimit = leadLimit;
}

bool ExtractorAnalysis::firstPagePending() const
{
    return m_context.firstPagePending;
}

void ExtractorAnalysis::setFirstPagePending(bool pending)
{
    m_context.firstPagePending = pending;
}

int ExtractorAnalysis::resultCount() const
{
    return m_context.resultCount;
}

QStringList ExtractorAnalysis::leads() const
{
    return m_context.lstMailList.texts();
}

StoreForCrawl::StoreForCrawl(PageStore &store, FreeSpaceQuery freeSpace)
    : m_store(store), m_freeSpace(std::move(freeSpace))
{
}

QStringList StoreForCrawl::SaveTaxonomy(const QString &url, const QByteArray &html)
{
    const Result<SaveOutcome> outcome = m_store.SaveTaxonomy(url, html);
    if (!outcome)
        return {outcome.message()};
    return outcome->problems;
}

std::optional<QString> StoreForCrawl::GetDiskSpace(const QString &root)
{
    const Result<std::optional<QString>> warning = corvane::GetDiskSpace(root, m_freeSpace);
    if (!warning)
        return warning.message();
    return warning.value();
}

qint32 StoreForCrawl::storedPageCount() const
{
    return m_store.pageCounter();
}

QString SearchListForCrawl::BuildQueryURL(int resultPage, int engineNumber, const QString &keyword)
{
    return m_provider.BuildQueryURL(resultPage, engineNumber, keyword);
}

QString SearchListForCrawl::GetAddressFilterList()
{
    return m_provider.GetAddressFilterList();
}

void SearchListForCrawl::RefreshAddressFilterList()
{
    m_provider.RefreshAddressFilterList();
}

std::optional<QString> GetSearchEngineList(SearchListProvider &provider, JobList &engines)
{
    const QString text = readWithRefresh([&] { return provider.GetEngineList(); },
                                         [&] { provider.RefreshEngineList(); });
    const EngineListReading reading = parseEngineList(text);
    for (const EngineEntry &entry : reading.entries)
        engines.append(JobListEntry{entry.name, entry.number, entry.address, false});
    if (!reading.error.isEmpty())
        return QStringLiteral("GetSearchEngineList->") + reading.error;
    return std::nullopt;
}

} // namespace corvane
