#pragma once

#include "analysis/LeadFilters.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace corvane {

// The crawl meets page analysis, the store and the search-list provider only through these
// narrow ports; CrawlWiring adapts the real components to them, and tests put recording
// fakes in their place.

// The two queues, the lead list and the seven analysers of page analysis.
class CrawlAnalysis
{
public:
    virtual ~CrawlAnalysis() = default;

    virtual qsizetype mainQueueSize() const = 0;
    virtual qsizetype linkQueueSize() const = 0;
    virtual std::optional<QString> takeMainPage() = 0;
    virtual std::optional<QString> takeLinkPage() = 0;
    virtual void clearLinkQueue() = 0;

    virtual QString MakeBaseURL(const QString &url) const = 0;
    // group: the slot group (0 to 6) whose analyser takes the page.
    virtual void FetchLinks(int group, const QString &content, const QString &base) = 0;
    virtual void FetchURLLinks(int group, const QString &content, const QString &base) = 0;
    virtual void FetchDetails(int group, const QString &content, const QString &base) = 0;
    virtual void FetchURLDetails(int group, const QString &content, const QString &base) = 0;
    // The leads of the page this call accepted, in the order found.
    virtual QStringList ExtractEmails(int group, const QString &content) = 0;

    virtual void setAddressFilterList(const QString &list) = 0;
    // The user's filters and the lead limit as they stand when a page arrives.
    virtual void setUserFilters(const UserLeadFilters &filters, qint64 leadLimit) = 0;
    virtual bool firstPagePending() const = 0;
    virtual void setFirstPagePending(bool pending) = 0;
    virtual int resultCount() const = 0;
    virtual qint32 leadCount() const = 0;
    virtual QStringList leads() const = 0;
};

// The knowledge-base store as the crawl uses it.
class CrawlStore
{
public:
    virtual ~CrawlStore() = default;
    // Everything that went wrong while storing the page (the page may still be stored when
    // only a side step such as a shortcut failed); empty when all went well.
    virtual QStringList SaveTaxonomy(const QString &url, const QByteArray &html) = 0;
    // The message to show when the drive of the knowledge-base root runs low (or cannot be
    // asked), else nothing.
    virtual std::optional<QString> GetDiskSpace(const QString &root) = 0;
    virtual qint32 storedPageCount() const = 0;
};

// The search-list provider's operations the crawl calls.
class CrawlSearchList
{
public:
    virtual ~CrawlSearchList() = default;
    virtual QString BuildQueryURL(int resultPage, int engineNumber, const QString &keyword) = 0;
    virtual QString GetAddressFilterList() = 0;
    virtual void RefreshAddressFilterList() = 0;
};

} // namespace corvane
