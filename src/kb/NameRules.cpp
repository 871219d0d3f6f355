#include "kb/NameRules.h"

#include "common/Cp1252.h"
#include "kb/ScrambleLine.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStringDecoder>

namespace corvane {

namespace {

constexpr qsizetype kMaxNameLength = 200;
// One name in a folder path, in bytes of the file system's encoding (Linux, macOS, Windows).
constexpr qsizetype kMaxNameBytes = 255;
// A whole path, in bytes (Linux's PATH_MAX less its final NUL).
constexpr qsizetype kMaxPathBytes = 4095;
// The longest file the store puts in a keyword folder: a temporary page file.
constexpr qsizetype kLongestStoreFileName = 24;

qsizetype bytesOnDisk(QStringView name)
{
    return QFile::encodeName(name.toString()).size();
}

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

Result<void> checkRecordText(QStringView text, const QString &what)
{
    if (text.contains(QLatin1Char('@')))
        return fail(QStringLiteral("%1 cannot contain \"@\", which separates the fields of "
                                   "Corvane's catalogues")
                        .arg(what));
    return checkStorableText(text, what);
}

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
    if (const qsizetype bytes = bytesOnDisk(name); bytes > kMaxNameBytes)
        return fail(
            QStringLiteral("%1 is too long for a folder name (%2 bytes on disk, at most %3)")
                .arg(what)
                .arg(bytes)
                .arg(kMaxNameBytes));
    return checkRecordText(name, what);
}

QString safeFileName(QStringView name, qsizetype suffixBytes)
{
    // Characters outside ASCII take several bytes on disk; a cut never splits a pair, and a
    // name never ends in a dot or space.
    const auto fitAndTrim = [suffixBytes](QString &text) {
        while (text.size() > kMaxNameLength || bytesOnDisk(text) + suffixBytes > kMaxNameBytes)
            text.chop(text.size() >= 2 && text.back().isLowSurrogate() ? 2 : 1);
        while (text.endsWith(QLatin1Char('.')) || text.endsWith(QLatin1Char(' ')))
            text.chop(1);
    };
    QString safe;
    safe.reserve(std::min(name.size(), kMaxNameLength));
    for (const QChar ch : name.left(kMaxNameLength))
        safe += forbiddenInFileName(ch) ? QLatin1Char('_') : ch;
    fitAndTrim(safe);
    // Leading dots would hide the shortcut on Linux.
    while (safe.startsWith(QLatin1Char('.')))
        safe.remove(0, 1);
    if (safe.isEmpty())
        return QStringLiteral("site");
    if (isReservedDeviceName(safe)) {
        // The "_" in front must not push a name of full length over the limit.
        safe.prepend(QLatin1Char('_'));
        fitAndTrim(safe);
    }
    return safe;
}

QString siteOfAddress(const QString &address)
{
    // The classic rule counts on the seven characters of "http://"; "https://" has eight, so
    // the same count would stop at its second slash and name every secure site "".
    const QLatin1StringView secure("https://");
    if (address.startsWith(secure, Qt::CaseInsensitive)) {
        const QString rest = address.mid(secure.size());
        return rest.left(rest.indexOf(QLatin1Char('/')));
    }
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
    return decodePageBytes(html, QByteArrayView(html).sliced(start, close - start));
}

QString decodePageBytes(QByteArrayView page, QByteArrayView part)
{
    if (!page.isValidUtf8())
        return fromCp1252(part);
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
    return utf8.decode(part);
}

Result<void> checkKnowledgeBaseNames(const QString &root, const QString &baseName,
                                     const QStringList &terms)
{
    if (root.trimmed().isEmpty())
        return fail(QStringLiteral("Please choose the folder knowledge bases are stored in"));
    // The store records the folder as a full path, so that is what must fit the catalogue.
    const QString folder = QDir::cleanPath(QFileInfo(root.trimmed()).absoluteFilePath());
    const QString folderWhat =
        QStringLiteral("The knowledge-base folder %1").arg(QDir::toNativeSeparators(folder));
    if (Result<void> storable = checkStorableText(folder, folderWhat); !storable)
        return storable;
    for (const QString &part : folder.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        if (bytesOnDisk(part) > kMaxNameBytes)
            return fail(QStringLiteral("%1 has a part longer than %2 bytes")
                            .arg(folderWhat)
                            .arg(kMaxNameBytes));
    }

    const QString base = baseName.trimmed();
    const QString what = QStringLiteral("Knowledge-base name");
    if (base.isEmpty())
        return fail(QStringLiteral("%1 cannot be empty").arg(what));
    // The user typed the base; the limits are told in terms of it.
    const qsizetype maxBase = kMaxNameLength - kKnowledgeBaseSuffixLength;
    if (base.size() > maxBase)
        return fail(QStringLiteral("%1 is too long (at most %2 characters, as the date and time "
                                   "are added to it)")
                        .arg(what)
                        .arg(maxBase));
    const QString name = base + QStringLiteral("-00-00-00-0000");
    if (const qsizetype bytes = bytesOnDisk(name); bytes > kMaxNameBytes)
        return fail(QStringLiteral("%1 is too long: with the date and time added it takes %2 bytes "
                                   "on disk, at most %3")
                        .arg(what)
                        .arg(bytes)
                        .arg(kMaxNameBytes));
    if (Result<void> valid = checkFolderName(name, what); !valid)
        return valid;

    for (const QString &term : terms) {
        if (term.trimmed().isEmpty())
            continue; // a blank term matches no title and stores nothing
        const QString termWhat = QStringLiteral("Taxonomy term \"%1\"").arg(term);
        if (Result<void> valid = checkFolderName(term, termWhat); !valid)
            return valid;
        const QString longest = folder + QLatin1Char('/') + name + QLatin1Char('/') + term +
                                QLatin1Char('/') + QString(kLongestStoreFileName, QLatin1Char('x'));
        if (bytesOnDisk(longest) > kMaxPathBytes)
            return fail(QStringLiteral("%1 makes a path longer than the %2 bytes the file system "
                                       "allows; choose a shorter folder or term")
                            .arg(termWhat)
                            .arg(kMaxPathBytes));
    }
    return {};
}

} // namespace corvane
