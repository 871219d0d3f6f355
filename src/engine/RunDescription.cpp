#include "engine/RunDescription.h"

#include "engine/ConnectionProbe.h"
#include "kb/NameRules.h"

#include <QFileInfo>

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

} // namespace corvane
