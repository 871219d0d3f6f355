#pragma once

#include "analysis/LeadFilters.h"
#include "analysis/TextListModel.h"
#include "analysis/TextSet.h"
#include "common/CrawlProfile.h"

#include <QString>
#include <QStringList>

#include <memory>

namespace corvane {

// Everything page analysis shares across the pages of a harvest: the queues it fills, the
// seen-URL set, the values the crawl reads back (result count, first-page-pending flag) and
// the filters. One object per harvest window (or command-line run); the analysers of all
// slot groups work on the same one. Nothing here is process-global.
//
// Only the crawl controller clears the queues and the seen-URL set; analysis only adds.
class AnalysisContext
{
public:
    AnalysisContext();
    AnalysisContext(const AnalysisContext &) = delete;
    AnalysisContext &operator=(const AnalysisContext &) = delete;

    // classic follows every rule to the letter; modern lets "https://" count wherever a rule
    // looks for "http://".
    CrawlProfile profile = CrawlProfile::Classic;

    SeenUrlSet seenUrls;
    TextListModel lstResult;   // main pages: links of start and result pages
    TextListModel lstDetails;  // link pages: links of the pages reached from those
    TextListModel lstURLList;  // start URLs (filled by the bookmark import)
    TextListModel lstMailList; // the run's leads, in order of acceptance

    // The run's lead set. Shared, because opening the leads scan replaces the harvest's
    // lead set with its own new one (setLeadSet).
    LeadSet &leadSet() { return *m_leadSet; }
    void setLeadSet(std::shared_ptr<LeadSet> leads) { m_leadSet = std::move(leads); }
    std::shared_ptr<LeadSet> sharedLeadSet() const { return m_leadSet; }

    // Filters in force; filters.excludedDomains (the checked entries of `lstDomains`) also
    // keeps links off the queues.
    LeadFilters filters;

    // `optSearchType` index 0 selected. While false, result anchors go to `lstURLList`
    // instead of the queues (the bookmark import runs in that state).
    bool searchEngineSelected = true;

    // Base given to the last FetchURLLinks call.
    QString baseURL;
    // 1 while result anchors are parsed (FetchLinks), 2 for detail anchors (FetchDetails),
    // 0 before the first such call.
    qint16 parseMode = 0;
    // Entries of lstResult right after the last result page; set by FetchLinks.
    qint16 resultCount = 0;
    // Set by the crawl when a search-engine run starts; cleared by FetchLinks once a result
    // page leaves entries on lstResult.
    bool firstPagePending = false;

    // The href value of every anchor of the last text cut into anchors, in page order.
    // Indexed from 1 like the original array; reset to a single empty entry by each cut.
    QStringList anchorValues{QString()};
    QString anchorValue(qsizetype oneBasedIndex) const
    {
        return oneBasedIndex >= 1 && oneBasedIndex <= anchorValues.size()
                   ? anchorValues.at(oneBasedIndex - 1)
                   : QString();
    }

private:
    std::shared_ptr<LeadSet> m_leadSet;
};

} // namespace corvane
