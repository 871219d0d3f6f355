#include "engine/RunDescription.h"

#include "engine/ConnectionProbe.h"
#include "kb/NameRules.h"

#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>

namespace corvane {

namespace {

bool sameStoreSettings(const PageStoreSettings &a, const PageStoreSettings &b)
{
    return a.root == b.root && a.buildKnowledgeBase == b.buildKnowledgeBase &&
           a.createFavorites == b.createFavorites && a.baseName == b.baseName &&
           a.mailGroup == b.mailGroup && a.selectedTerms == b.selectedTerms &&
           a.favoritesFolder == b.favoritesFolder;
}

// The store's settings, or the refusal of a name the disk would not take.
std::variant<PageStoreSettings, RunRefusal> storeSettingsOf(const HarvestJob &job)
{
    PageStoreSettings store;
    store.buildKnowledgeBase = false;
    if (!job.buildKnowledgeBase)
        return store;
    store.buildKnowledgeBase = true;
    // Stored absolute, so the catalogue finds the folders whatever the current folder is later.
    store.root = QFileInfo(job.knowledgeBaseRoot.trimmed()).absoluteFilePath();
    store.createFavorites = job.createFavorites;
    const KnowledgeBaseFiling filing =
        knowledgeBaseFiling(job.mailGroup, job.searchType == SearchType::SearchEngines);
    store.baseName = filing.baseName;
    store.mailGroup = filing.mailGroup;
    store.selectedTerms = job.taxonomy.markedTexts();
    store.favoritesFolder = job.favoritesFolder.isEmpty() ? favoritesFolder() : job.favoritesFolder;
    if (Result<void> names =
            checkKnowledgeBaseNames(store.root, store.baseName, store.selectedTerms);
        !names)
        return RunRefusal{names.message(), std::nullopt};
    return store;
}

} // namespace

bool RunDescription::operator==(const RunDescription &other) const
{
    return searchType == other.searchType && engines == other.engines &&
           keywords == other.keywords && startUrls == other.startUrls &&
           singleUrl == other.singleUrl && crawl == other.crawl && maxPages == other.maxPages &&
           maxLeads == other.maxLeads && stopAfter == other.stopAfter &&
           extractEmails == other.extractEmails && filters == other.filters &&
           sameStoreSettings(store, other.store) && proxy == other.proxy &&
           politeness == other.politeness && probeAddress == other.probeAddress;
}

std::variant<RunDescription, RunRefusal> buildRun(const HarvestJob &job)
{
    const JobCheck check = validateStart(job);
    if (!check.passed())
        return RunRefusal{check.message, check.conversion};
    const CapturedJobValues &values = *check.captured;

    RunDescription run;
    const QString probe = job.probeAddress.trimmed();
    run.probeAddress =
        probe.isEmpty() ? ConnectionProbe::configuredAddress() : QUrl::fromUserInput(probe);
    if (!run.probeAddress.isValid() || run.probeAddress.host().isEmpty())
        return RunRefusal{
            QStringLiteral(
                "Please enter a web address as the connection probe under settings tab."),
            ConversionFailure{JobField::ProbeAddress,
                              QStringLiteral("\"%1\" is not a web address.").arg(probe)}};

    std::variant<PageStoreSettings, RunRefusal> store = storeSettingsOf(job);
    if (RunRefusal *refused = std::get_if<RunRefusal>(&store))
        return std::move(*refused);
    run.store = std::get<PageStoreSettings>(std::move(store));

    run.searchType = job.searchType;
    run.engines = job.engines.markedEntries();
    run.keywords = job.keywords.markedTexts();
    run.startUrls = job.urlList.markedTexts();
    run.singleUrl = job.url.trimmed();
    run.crawl = CrawlSettings{values.pageTimeoutMs(), job.profile,
                              job.profile == CrawlProfile::Modern
                                  ? std::clamp(job.firstResultPage, 1, kMaxFirstResultPage)
                                  : 1};
    run.politeness = sitePolitenessOf(job);
    run.maxPages = values.maxPages;
    run.maxLeads = values.maxLeads;
    run.stopAfter = values.stopAfter;
    run.extractEmails = !job.excludeEmailExtraction;
    run.filters = userLeadFilters(job);
    if (job.proxyChosen)
        run.proxy =
            ProxySettings::fromJob(values.proxyType, values.proxyHost, values.proxyPort,
                                   values.proxyUserName, values.proxyPassword, values.remoteDns);
    return run;
}

QJsonObject runJson(const RunDescription &run)
{
    static const char *const searchTypes[] = {"search engines", "URL list", "single URL"};
    static const char *const typeModes[] = {"exclude", "include", "none"};
    const auto list = [](const QStringList &texts) { return QJsonArray::fromStringList(texts); };
    QJsonObject json{{"search", QLatin1String(searchTypes[int(run.searchType)])}};
    switch (run.searchType) {
    case SearchType::SearchEngines: {
        QStringList engines;
        for (const JobListEntry &engine : run.engines)
            engines << engine.text;
        json.insert("engines", list(engines));
        json.insert("keywords", list(run.keywords));
        break;
    }
    case SearchType::UrlList:
        json.insert("start_urls", list(run.startUrls));
        break;
    case SearchType::SingleUrl:
        json.insert("url", run.singleUrl);
        break;
    }
    json.insert("profile", crawlProfileName(run.crawl.profile));
    json.insert("page_timeout_ms", run.crawl.pageTimeoutMs);
    json.insert("max_pages", run.maxPages);
    json.insert("max_leads", run.maxLeads);
    json.insert("stop_after_minutes", run.stopAfter);
    json.insert("extract_leads", run.extractEmails);
    json.insert("excluded_domains", list(run.filters.excludedDomains));
    json.insert("type_mode", QLatin1String(typeModes[int(run.filters.typeMode)]));
    json.insert("excluded_types", list(run.filters.excludedTypes));
    json.insert("included_types", list(run.filters.includedTypes));
    json.insert("probe", run.probeAddress.toString());
    if (run.proxy.kind != ProxySettings::Kind::None) {
        static const char *const kinds[] = {"none", "http", "socks4", "socks5"};
        json.insert("proxy", QJsonObject{{"type", QLatin1String(kinds[int(run.proxy.kind)])},
                                         {"host", run.proxy.host},
                                         {"port", run.proxy.port},
                                         {"user", run.proxy.userName},
                                         {"remote_dns", run.proxy.remoteDns}});
    }
    if (run.store.buildKnowledgeBase)
        json.insert("knowledge_base", QJsonObject{{"root", run.store.root},
                                                  {"name", run.store.baseName},
                                                  {"terms", list(run.store.selectedTerms)},
                                                  {"favorites", run.store.createFavorites}});
    return json;
}

} // namespace corvane
