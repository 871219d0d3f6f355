#include "analysis/LinkRules.h"

#include "common/PercentEncoding.h"

namespace corvane::link_rules {

qsizetype inStr(qsizetype start, QStringView text, QStringView needle, Qt::CaseSensitivity cs)
{
    if (start < 1 || start > text.size() + 1)
        return 0;
    const qsizetype found = text.indexOf(needle, start - 1, cs);
    return found < 0 ? 0 : found + 1;
}

QStringView trimBlanks(QStringView text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && text.at(begin) == QLatin1Char(' '))
        ++begin;
    while (end > begin && text.at(end - 1) == QLatin1Char(' '))
        --end;
    return text.sliced(begin, end - begin);
}

bool startsWithWebScheme(QStringView text, CrawlProfile profile)
{
    return text.startsWith(u"http://", Qt::CaseInsensitive) ||
           (profile == CrawlProfile::Modern && text.startsWith(u"https://", Qt::CaseInsensitive));
}

bool containsWebScheme(QStringView text, CrawlProfile profile)
{
    return text.contains(u"http://", Qt::CaseInsensitive) ||
           (profile == CrawlProfile::Modern && text.contains(u"https://", Qt::CaseInsensitive));
}

qsizetype schemeShift(QStringView url, CrawlProfile profile)
{
    return profile == CrawlProfile::Modern && url.startsWith(u"https://", Qt::CaseInsensitive) ? 1
                                                                                               : 0;
}

QString hostOf(const QString &base, CrawlProfile profile)
{
    const qsizetype slash = inStr(8 + schemeShift(base, profile), base, u"/");
    return slash > 0 ? base.left(slash - 1) : base;
}

bool isBareWww(QStringView link, CrawlProfile profile)
{
    const QStringView trimmed = trimBlanks(link);
    return trimmed == u"http://www." ||
           (profile == CrawlProfile::Modern && trimmed == u"https://www.");
}

std::optional<QString> redirectTarget(QStringView link)
{
    constexpr int kMaxDepth = 3;
    std::optional<QString> target;
    QString current = link.toString();
    for (int depth = 0; depth < kMaxDepth; ++depth) {
        const qsizetype question = current.indexOf(QLatin1Char('?'));
        if (question < 0)
            break;
        QStringView query = QStringView(current).sliced(question + 1);
        query = query.left(query.indexOf(QLatin1Char('#'))); // the whole query without one
        std::optional<QString> found;
        for (QStringView parameter : query.split(QLatin1Char('&'))) {
            if (parameter.startsWith(u"amp;")) // "&amp;" left over from the page's markup
                parameter = parameter.sliced(4);
            const qsizetype equals = parameter.indexOf(QLatin1Char('='));
            if (equals < 0)
                continue;
            const std::optional<QString> decoded =
                strictlyPercentDecoded(parameter.sliced(equals + 1).toUtf8());
            if (!decoded)
                continue;
            const QString value = decoded->trimmed();
            const qsizetype schemeEnd = value.indexOf(u"://");
            if (startsWithWebScheme(value, CrawlProfile::Modern) && value.size() > schemeEnd + 3 &&
                value.at(schemeEnd + 3) != QLatin1Char('/')) {
                found = value;
                break;
            }
        }
        if (!found)
            break;
        target = found;
        current = *found;
    }
    return target;
}

bool containsAny(QStringView text, const QStringList &entries)
{
    for (const QString &entry : entries) {
        if (text.contains(entry, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

} // namespace corvane::link_rules
