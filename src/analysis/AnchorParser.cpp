#include "analysis/AnchorParser.h"

#include "analysis/LinkRules.h"
#include "common/Cp1252.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

namespace corvane {

using namespace link_rules;

namespace {

// No delimiter at all: the value reaches to this position, like the original's integer cap.
constexpr qsizetype kNoDelimiter = 32767;

// The href value of an anchor, lower-cased, without a leading double quote. Starts one
// character after "href=" when looking for the closing delimiter, so an opening quote (or
// whatever stands there) is always part of the raw value.
QString hrefValue(const QString &anchor)
{
    const qsizetype href = inStr(1, anchor, u"href=", Qt::CaseInsensitive);
    const qsizetype start = href + 5;
    const qsizetype end = FirstDelimiter(start + 1, anchor, u" >\"\r\n");
    const qsizetype length = end - start;
    if (length < 0 || start > anchor.size())
        return QString();
    QString value = anchor.mid(start - 1, length).toLower();
    if (value.startsWith(QLatin1Char('"')))
        value.remove(0, 1);
    return value;
}

} // namespace

qsizetype FirstDelimiter(qsizetype start, QStringView text, QStringView set)
{
    for (qsizetype i = qMax<qsizetype>(start, 1) - 1; i < text.size(); ++i) {
        if (set.contains(text.at(i)))
            return i + 1;
    }
    return kNoDelimiter;
}

qsizetype SplitAnchors(AnalysisContext &ctx, QStringView text, const AnchorParserFn &parser)
{
    ctx.anchorValues = QStringList{QString()};
    qsizetype anchors = 0;
    // Searching case-insensitively in place finds the same positions as searching a
    // lower-cased copy (the needles are ASCII), without the copy.
    qsizetype href = text.indexOf(u"href=", 0, Qt::CaseInsensitive);
    while (href >= 0) {
        const qsizetype close = text.indexOf(u"</a>", href + 1, Qt::CaseInsensitive);
        if (close < 0)
            break;
        QString anchor = QStringLiteral("<a ");
        anchor += text.sliced(href, close - href + 4);
        href = text.indexOf(u"href=", close + 1, Qt::CaseInsensitive);
        ++anchors;
        QString value = parser ? parser(anchor) : QString();
        if (anchors == 1)
            ctx.anchorValues[0] = std::move(value);
        else
            ctx.anchorValues.append(std::move(value));
    }
    return anchors;
}

QString ParseResultAnchor(AnalysisContext &ctx, const QString &anchor)
{
    QString value = hrefValue(anchor);
    // Modern: a result link that goes through the engine's redirect stands for its target.
    if (ctx.profile == CrawlProfile::Modern && value.size() <= kMaxLinkLength) {
        if (const std::optional<QString> target = redirectTarget(value))
            value = target->toLower();
    }
    if (value.contains(QLatin1Char('+')) || value.contains(u"mailto:", Qt::CaseInsensitive) ||
        value.size() > kMaxLinkLength)
        return value;
    if (containsAny(value, ctx.filters.excludedDomains))
        return value;

    const bool absolute = startsWithWebScheme(value, ctx.profile);
    if (!ctx.searchEngineSelected) {
        // The bookmark import's state: every absolute link, duplicates included.
        if (absolute)
            ctx.lstURLList.append(value);
    } else if (ctx.parseMode == 1) {
        if (absolute && !ctx.seenUrls.contains(value)) {
            ctx.seenUrls.add(value);
            ctx.lstResult.append(value);
        }
    } else if (ctx.parseMode == 2) {
        if (absolute && value.size() >= 11 + schemeShift(value, ctx.profile) &&
            !ctx.seenUrls.contains(value)) {
            ctx.seenUrls.add(value);
            ctx.lstDetails.append(value);
        }
    }
    return value;
}

QString ParseDetailAnchor(AnalysisContext &ctx, const QString &host, const QString &anchor)
{
    const QString value = hrefValue(anchor);
    if (value.contains(QLatin1Char('+')))
        return value;
    if (containsAny(value, ctx.filters.excludedDomains))
        return value;

    // Everything after the host's first ".": for http://www.firm.com the site is firm.com.
    const QString site = host.mid(host.indexOf(QLatin1Char('.')) + 1);

    // Relative links resolve against the site root, not the page's folder.
    QString link;
    if (startsWithWebScheme(value, ctx.profile))
        link = value;
    else if (value.startsWith(u"/../../"))
        link = host + value.mid(6);
    else if (value.startsWith(u"../../"))
        link = host + value.mid(5);
    else if (value.startsWith(QLatin1Char('/')))
        link = host + value;
    else if (value.startsWith(u"./"))
        link = host + value.mid(1);
    else if (value.startsWith(u"../"))
        link = host + value.mid(2);
    else
        link = host + QLatin1Char('/') + value;

    const qsizetype shift = schemeShift(link, ctx.profile);
    if (link.size() > kMaxLinkLength || link.contains(u"javascript", Qt::CaseInsensitive) ||
        link.contains(QLatin1Char('@')))
        return value;
    // A second "http" after the scheme: a redirect link carrying another URL.
    if (inStr(8 + shift, link, u"http", Qt::CaseInsensitive) > 0)
        return value;
    const QString ending = link.right(4).toLower();
    if (ending == u".css" || ending == u".exe" || ending == u".zip")
        return value;

    if (link.contains(site) && startsWithWebScheme(link, ctx.profile) &&
        link.size() >= 11 + shift && !ctx.seenUrls.contains(link)) {
        ctx.seenUrls.add(link);
        ctx.lstDetails.append(link);
    }
    return value;
}

QString ReadWholeFile(const QString &path)
{
    const QString error = QStringLiteral("#ERROR#");
    if (QFileInfo(path).isDir())
        return error;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return error;
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return error;

    if (bytes.startsWith("\xEF\xBB\xBF"))
        return QString::fromUtf8(bytes.constData() + 3, bytes.size() - 3);
    // Browsers write bookmark files in UTF-8; a file that is valid UTF-8 is taken as such,
    // anything else as the Windows code page.
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8.decode(bytes);
    if (!utf8.hasError())
        return text;
    return fromCp1252(bytes);
}

} // namespace corvane
