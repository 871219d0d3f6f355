#pragma once

#include "analysis/AnalysisContext.h"

#include <QByteArrayView>
#include <QString>
#include <QStringView>

namespace corvane {

// The page analyser. The crawl keeps one per slot group; all of them work on the harvest's
// one AnalysisContext, which holds every shared list and value. Calls never yield to the
// event loop: a page is analysed in one go, in linear time.
class PageAnalyser
{
public:
    explicit PageAnalyser(AnalysisContext &context) : m_ctx(context) {}

    // The directory part of a page URL: "http://h/a/b.html" -> "http://h/a";
    // "http://h/" -> "http://h"; "http://h" unchanged; a "//" after the scheme gives "".
    // Under the modern profile an "https://" URL is cut the same way.
    static QString MakeBaseURL(const QString &url, CrawlProfile profile = CrawlProfile::Classic);

    // Start-URL mode, the start page: every HREF="..." link (with a "." in it) resolved
    // against base, onto lstResult. Records base as ctx.baseURL. Returns "Sucess".
    QString FetchURLLinks(const QString &content, const QString &base);

    // Start-URL mode, pages reached from the start page: same-host links resolved against
    // the host part of base, filtered by excluded domains, onto lstDetails. Returns "Sucess".
    QString FetchURLDetails(const QString &content, const QString &base);

    // Search-engine mode, a result page: absolute http anchors, lower-cased, onto lstResult
    // (parse mode 1). Sets ctx.resultCount and clears ctx.firstPagePending when the result
    // count is above zero. base is not used. Returns an empty text.
    QString FetchLinks(const QString &content, const QString &base);

    // Search-engine mode, a page reached from the results: anchors resolved against the
    // site root and kept on the site, onto lstDetails (parse mode 2). Cuts base in place to
    // its host (scheme and authority). Returns an empty text.
    QString FetchDetails(const QString &content, QString &base);

    // The page's leads, filtered in this order: ending rule, excluded domains, e-mail types,
    // already on lstMailList, lead limit (lead set size), lead set. Each new lead is added
    // to the context's lead set and appended to lstMailList. Returns the number appended,
    // which the caller adds to its lead counter.
    int ExtractEmails(QByteArrayView text);
    int ExtractEmails(QStringView text);

private:
    AnalysisContext &m_ctx;
};

// The same extraction with an explicit lead set and lead list, for callers that keep their
// own (the leads scan, the command line). Bytes above 0x7F never belong to an address, so a
// page may be passed as raw bytes in any single-byte or UTF-8 encoding. The modern profile
// also reads addresses written for people (readWrittenAddresses), drops file names
// (JunkNameRule, after the ending rule) and keeps each lead's domain part in lower case.
int ExtractEmails(QByteArrayView text, const LeadFilters &filters, LeadSet &leads,
                  TextListModel &mailList, CrawlProfile profile = CrawlProfile::Classic);

} // namespace corvane
