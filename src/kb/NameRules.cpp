#include "kb/NameRules.h"

#include "kb/ScrambleLine.h"

#include <QRegularExpression>

namespace corvane {

namespace {

constexpr qsizetype kMaxNameLength = 200;

bool forbiddenInFileName(QChar ch)
{
    return ch.unicode() < 0x20 || ch.unicode() == 0x7F || QStringView(u"<>:\"/\\|?*").contains(ch);
}

// CON, PRN, AUX, NUL, COM1-9 and LPT1-9 name devices on Windows, even with an extension.
bool isReservedDeviceName(QStringView name)
{
    static const QRegularExpression reserved(
        QStringLiteral("^(CON|PRN|AUX|NUL|COM[1-9\u00B9\u00B2\u00B3]|LPT[1-9\u00B9\u00B2\u00B3])"
                       "(\\..*)?$"),
        QRegularExpression::CaseInsensitiveOption);
    const qsizetype end = name.size();
    qsizetype trimmedEnd = end;
    while (trimmedEnd > 0 && (name[trimmedEnd - 1] == QLatin1Char(' ')))
        --trimmedEnd;
    return reserved.match(name.left(trimmedEnd)).hasMatch();
}

} // namespace

Result<void> checkFolderName(QStringView name, const QString &what)
{
    if (name.isEmpty())
        return fail(QStringLiteral("%1 cannot be empty").arg(what));
    if (name == u"." || name == u"..")
        return fail(QStringLiteral("%1 cannot be \"%2\"").arg(what, name.toString()));
    for (const QChar ch : name) {
        if (!forbiddenInFileName(ch))
            continue;
        const QString shown = ch.unicode() < 0x20 || ch.unicode() == 0x7F
                                  ? QStringLiteral("a control character")
                                  : QStringLiteral("\"%1\"").arg(ch);
        return fail(QStringLiteral("%1 cannot contain %2").arg(what, shown));
    }
    if (name.endsWith(QLatin1Char('.')) || name.endsWith(QLatin1Char(' ')))
        return fail(QStringLiteral("%1 cannot end with a dot or a space").arg(what));
    if (isReservedDeviceName(name))
        return fail(QStringLiteral("%1 cannot be \"%2\", a name Windows keeps for a device")
                        .arg(what, name.toString()));
    if (name.size() > kMaxNameLength)
        return fail(
            QStringLiteral("%1 is too long (at most %2 characters)").arg(what).arg(kMaxNameLength));
    return checkStorableText(name, what);
}

QString safeFileName(QStringView name)
{
    QString safe;
    safe.reserve(std::min(name.size(), kMaxNameLength));
    for (const QChar ch : name.left(kMaxNameLength))
        safe += forbiddenInFileName(ch) ? QLatin1Char('_') : ch;
    while (safe.endsWith(QLatin1Char('.')) || safe.endsWith(QLatin1Char(' ')))
        safe.chop(1);
    // Leading dots would hide the shortcut on Linux.
    while (safe.startsWith(QLatin1Char('.')))
        safe.remove(0, 1);
    if (safe.isEmpty())
        return QStringLiteral("site");
    if (isReservedDeviceName(safe))
        safe.prepend(QLatin1Char('_'));
    return safe;
}

QString siteOfAddress(const QString &address)
{
    // Position 8 counted from 1 is index 7: the first "/" after "http://".
    const qsizetype slash = address.indexOf(QLatin1Char('/'), 7);
    const QString upToPath = slash >= 0 ? address.left(slash) : address;
    return upToPath.mid(7);
}

std::optional<QString> pageTitle(const QString &html)
{
    const qsizetype open = html.indexOf(QLatin1String("<TITLE>"), 0, Qt::CaseInsensitive);
    if (open < 0)
        return std::nullopt;
    const qsizetype start = open + 7;
    const qsizetype close = html.indexOf(QLatin1String("</TITLE>"), start, Qt::CaseInsensitive);
    if (close < 0)
        return std::nullopt;
    return html.mid(start, close - start);
}

} // namespace corvane
