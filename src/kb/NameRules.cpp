#include "kb/NameRules.h"

#include "common/Cp1252.h"
#include "kb/ScrambleLine.h"

#include <QRegularExpression>
#include <QStringDecoder>

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
    const auto chopTrailingDotsAndSpaces = [](QString &text) {
        while (text.endsWith(QLatin1Char('.')) || text.endsWith(QLatin1Char(' ')))
            text.chop(1);
    };
    QString safe;
    safe.reserve(std::min(name.size(), kMaxNameLength));
    for (const QChar ch : name.left(kMaxNameLength))
        safe += forbiddenInFileName(ch) ? QLatin1Char('_') : ch;
    chopTrailingDotsAndSpaces(safe);
    // Leading dots would hide the shortcut on Linux.
    while (safe.startsWith(QLatin1Char('.')))
        safe.remove(0, 1);
    if (safe.isEmpty())
        return QStringLiteral("site");
    if (isReservedDeviceName(safe)) {
        // The "_" in front must not push a name of full length over the limit.
        safe.prepend(QLatin1Char('_'));
        safe.truncate(kMaxNameLength);
        chopTrailingDotsAndSpaces(safe);
    }
    return safe;
}

QString siteOfAddress(const QString &address)
{
    // Position 8 counted from 1 is index 7: the first "/" after "http://".
    const qsizetype slash = address.indexOf(QLatin1Char('/'), 7);
    const QString upToPath = slash >= 0 ? address.left(slash) : address;
    return upToPath.mid(7);
}

std::optional<QString> pageTitle(const QByteArray &html)
{
    // Only the title is decoded. The tags are ASCII, which neither encoding uses inside
    // another character, so they stand at the same places in the bytes as in the text; a
    // page of megabytes then costs one validating pass instead of a decoded copy.
    const QLatin1StringView bytes(html.constData(), html.size());
    const qsizetype open = bytes.indexOf(QLatin1StringView("<TITLE>"), 0, Qt::CaseInsensitive);
    if (open < 0)
        return std::nullopt;
    const qsizetype start = open + 7;
    const qsizetype close =
        bytes.indexOf(QLatin1StringView("</TITLE>"), start, Qt::CaseInsensitive);
    if (close < 0)
        return std::nullopt;
    const QByteArrayView title = QByteArrayView(html).sliced(start, close - start);
    if (!QByteArrayView(html).isValidUtf8())
        return fromCp1252(title);
    // A byte-order mark is dropped at the start of a page only, never inside it.
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
    return utf8.decode(title);
}

} // namespace corvane
