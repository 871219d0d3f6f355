#include "kb/SearchQuery.h"

#include <QStringList>

namespace corvane {

namespace {

// The index splits text into runs of letters and digits; a part without any gives it nothing
// to look for.
bool hasSearchableCharacter(QStringView text)
{
    for (const QChar ch : text) {
        if (ch.isLetterOrNumber())
            return true;
    }
    return false;
}

// The letters and digits the part ends with, which a * extends.
qsizetype lastWordLength(QStringView text)
{
    qsizetype end = text.size();
    while (end > 0 && !text[end - 1].isLetterOrNumber())
        --end;
    qsizetype start = end;
    while (start > 0 && text[start - 1].isLetterOrNumber())
        --start;
    return end - start;
}

struct Part
{
    QString text;
    bool prefix = false;
};

QList<Part> splitQuery(QStringView query)
{
    QList<Part> parts;
    qsizetype at = 0;
    const auto trailingStars = [&] {
        bool any = false;
        while (at < query.size() && query[at] == QLatin1Char('*')) {
            ++at;
            any = true;
        }
        return any;
    };
    while (at < query.size()) {
        const QChar ch = query[at];
        if (ch.isSpace()) {
            ++at;
        } else if (ch == QLatin1Char('"')) {
            // A phrase runs to the next quote, or to the end when the user left it open.
            const qsizetype start = ++at;
            while (at < query.size() && query[at] != QLatin1Char('"'))
                ++at;
            Part phrase{query.sliced(start, at - start).toString()};
            if (at < query.size())
                ++at;
            phrase.prefix = trailingStars();
            parts.append(phrase);
        } else {
            const qsizetype start = at;
            while (at < query.size() && !query[at].isSpace() && query[at] != QLatin1Char('"'))
                ++at;
            QStringView word = query.sliced(start, at - start);
            Part part;
            while (word.endsWith(QLatin1Char('*'))) {
                word.chop(1);
                part.prefix = true;
            }
            part.text = word.toString();
            parts.append(part);
        }
    }
    return parts;
}

} // namespace

Result<QStringList> matchPhrases(const QString &query)
{
    QStringList quoted;
    for (Part &part : splitQuery(query)) {
        if (!hasSearchableCharacter(part.text))
            continue;
        if (part.prefix && lastWordLength(part.text) < kMinPrefixLength)
            return fail(QStringLiteral("Put at least %1 letters before *").arg(kMinPrefixLength));
        // A star inside a word is no operator; the index reads it as a space, as it does
        // every other punctuation mark.
        part.text.replace(QLatin1Char('*'), QLatin1Char(' '));
        part.text.replace(QLatin1Char('"'), QLatin1String("\"\""));
        // The index applies a prefix to the phrase's last word.
        quoted.append(QLatin1Char('"') + part.text + QLatin1Char('"') +
                      (part.prefix ? QLatin1String(" *") : QLatin1String()));
    }
    if (quoted.isEmpty())
        return fail(QStringLiteral("Type one or more words to search for"));
    if (quoted.size() > kMaxSearchWords)
        return fail(QStringLiteral("Search for at most %1 words at a time").arg(kMaxSearchWords));
    return quoted;
}

Result<QString> matchExpression(const QString &query)
{
    Result<QStringList> phrases = matchPhrases(query);
    if (!phrases)
        return phrases.error();
    return phrases->join(QLatin1String(" AND "));
}

} // namespace corvane
