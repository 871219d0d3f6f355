#include "analysis/PageAnalyser.h"

#include "analysis/AnchorParser.h"
#include "analysis/EmailMatcher.h"
#include "analysis/LinkRules.h"

#include <optional>

namespace corvane {

using namespace link_rules;

namespace {

// The first HREF=" at or after `from`, letter case ignored. The search runs from "=" to "=":
// a single character is found by the vectorised scan, and most text holds few of them,
// where a case-blind search for the whole prefix would fold every character of a page.
qsizetype indexOfHref(QStringView content, qsizetype from)
{
    constexpr QStringView name = u"href";
    for (qsizetype equals = content.indexOf(QLatin1Char('='), from + name.size()); equals >= 0;
         equals = content.indexOf(QLatin1Char('='), equals + 1)) {
        if (equals + 1 < content.size() && content.at(equals + 1) == QLatin1Char('"') &&
            content.sliced(equals - name.size(), name.size()).compare(name, Qt::CaseInsensitive) ==
                0)
            return equals - name.size();
    }
    return -1;
}

// Every match of the link pattern HREF="[^"#]+[.][^"#]+ (letter case ignored), in order.
// A match is "HREF=\"" plus the whole run of characters up to the next quote or "#", provided
// the run has a "." with at least one character on each side; otherwise there is no match
// at that HREF and the search goes on right after its "h".
template <typename Fn>
void forEachHrefMatch(QStringView content, Fn &&fn)
{
    constexpr QStringView prefix = u"href=\"";
    qsizetype from = 0;
    while (true) {
        const qsizetype begin = indexOfHref(content, from);
        if (begin < 0)
            return;
        const qsizetype runStart = begin + prefix.size();
        qsizetype runEnd = runStart;
        while (runEnd < content.size() && content.at(runEnd) != QLatin1Char('"') &&
               content.at(runEnd) != QLatin1Char('#'))
            ++runEnd;
        const QStringView run = content.sliced(runStart, runEnd - runStart);
        const qsizetype dot = run.indexOf(QLatin1Char('.'), 1);
        if (dot > 0 && dot < run.size() - 1) {
            fn(content.sliced(begin, runEnd - begin), run);
            from = runEnd;
        } else {
            from = begin + 1;
        }
    }
}

// A relative link t joined to root: "/x" -> root/x, "../x" -> root/x, "x" -> root/x. Nothing
// when the link would be too long to queue; the length is known before anything is copied.
std::optional<QString> joinRelative(const QString &root, QStringView t)
{
    QStringView separator;
    QStringView rest = t;
    if (t.startsWith(u"../"))
        rest = t.mid(2);
    else if (!t.startsWith(QLatin1Char('/')))
        separator = u"/";
    if (root.size() + separator.size() + rest.size() > kMaxLinkLength)
        return std::nullopt;
    QString link = root;
    link += separator;
    link += rest;
    return link;
}

void listOnce(AnalysisContext &ctx, TextListModel &list, const QString &url)
{
    if (url.size() > kMaxLinkLength || ctx.seenUrls.contains(url))
        return;
    ctx.seenUrls.add(url);
    list.append(url);
}

} // namespace

QString PageAnalyser::MakeBaseURL(const QString &url, CrawlProfile profile)
{
    const qsizetype shift = schemeShift(url, profile);
    const qsizetype lastSlash = url.lastIndexOf(QLatin1Char('/')) + 1; // 1-based, 0 = none
    const qsizetype doubleSlash = inStr(9 + shift, url, u"//", Qt::CaseInsensitive);
    if (lastSlash < 8 + shift)
        return url;
    if (doubleSlash == 0)
        return url.left(lastSlash - 1);
    return QString();
}

QString PageAnalyser::FetchURLLinks(const QString &content, const QString &base)
{
    m_ctx.baseURL = base;
    const bool baseHasAt = base.contains(QLatin1Char('@'));
    const TextListModel::Batch batch(m_ctx.lstResult);
    forEachHrefMatch(content, [&](QStringView match, QStringView t) {
        if (containsWebScheme(match, m_ctx.profile)) {
            if (!match.contains(QLatin1Char('@')))
                listOnce(m_ctx, m_ctx.lstResult, t.toString());
            return;
        }
        if (baseHasAt || t.contains(QLatin1Char('@')))
            return;
        if (const std::optional<QString> link = joinRelative(base, t))
            listOnce(m_ctx, m_ctx.lstResult, *link);
    });
    return QStringLiteral("Sucess");
}

QString PageAnalyser::FetchURLDetails(const QString &content, const QString &base)
{
    const QString host = hostOf(base, m_ctx.profile);
    const bool hostHasAt = host.contains(QLatin1Char('@'));
    const QStringList &excluded = m_ctx.filters.excludedDomains;
    const TextListModel::Batch batch(m_ctx.lstDetails);
    forEachHrefMatch(content, [&](QStringView match, QStringView t) {
        if (!containsWebScheme(match, m_ctx.profile)) {
            const std::optional<QString> link = joinRelative(host, t);
            if (!link || containsAny(*link, excluded) || m_ctx.seenUrls.contains(*link) ||
                isBareWww(*link, m_ctx.profile) || trimBlanks(*link).isEmpty() || hostHasAt ||
                t.contains(QLatin1Char('@')))
                return;
            listOnce(m_ctx, m_ctx.lstDetails, *link);
            return;
        }
        // Same site: the host occurs somewhere in the link.
        if (!match.contains(host, Qt::CaseInsensitive))
            return;
        if (containsAny(match, excluded) || isBareWww(t, m_ctx.profile) ||
            trimBlanks(t).isEmpty() || t.contains(QLatin1Char('@')))
            return;
        listOnce(m_ctx, m_ctx.lstDetails, t.toString());
    });
    return QStringLiteral("Sucess");
}

QString PageAnalyser::FetchLinks(const QString &content, const QString &base)
{
    Q_UNUSED(base);
    m_ctx.parseMode = 1;
    // Outside the search-engine mode the result anchors go to the URL list instead.
    const TextListModel::Batch resultBatch(m_ctx.lstResult), urlBatch(m_ctx.lstURLList);
    SplitAnchors(m_ctx, content,
                 [this](const QString &anchor) { return ParseResultAnchor(m_ctx, anchor); });
    // The count is a 16-bit value; a queue beyond its range leaves the last count standing,
    // as the overflowing assignment did.
    const qsizetype results = m_ctx.lstResult.count();
    if (results <= 32767)
        m_ctx.resultCount = qint16(results);
    if (m_ctx.resultCount > 0)
        m_ctx.firstPagePending = false;
    return QString();
}

QString PageAnalyser::FetchDetails(const QString &content, QString &base)
{
    const qsizetype slash = inStr(8 + schemeShift(base, m_ctx.profile), base, u"/");
    if (slash > 0)
        base = base.left(slash - 1);
    const QString host = base;
    m_ctx.parseMode = 2;
    const TextListModel::Batch batch(m_ctx.lstDetails);
    SplitAnchors(m_ctx, content, [this, &host](const QString &anchor) {
        return ParseDetailAnchor(m_ctx, host, anchor);
    });
    return QString();
}

int PageAnalyser::ExtractEmails(QByteArrayView text)
{
    const TextListModel::Batch batch(m_ctx.lstMailList);
    return corvane::ExtractEmails(text, m_ctx.filters, m_ctx.leadSet(), m_ctx.lstMailList,
                                  m_ctx.profile);
}

int PageAnalyser::ExtractEmails(QStringView text)
{
    return ExtractEmails(QByteArrayView(text.toLatin1()));
}

} // namespace corvane
