#include "analysis/JunkNames.h"

#include "common/DataFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace corvane {

namespace {

const QString kListFile = QStringLiteral("search/junk-extensions.txt");
constexpr qsizetype kMaxExtensionLength = 16;
constexpr qint64 kMaxFileBytes = 1024 * 1024; // a hand-edited list, not a data dump

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// The length of the density marker of a high-resolution image name ("2x", "3X", "1.5x") at
// the start of text, or 0 when there is none.
qsizetype scaleMarkerLength(QByteArrayView text)
{
    qsizetype i = 0;
    while (i < text.size() && isDigit(text[i]))
        ++i;
    if (i == 0 || i > 2)
        return 0;
    if (i < text.size() && text[i] == '.') {
        const qsizetype fraction = ++i;
        while (i < text.size() && isDigit(text[i]))
            ++i;
        if (i == fraction || i - fraction > 2)
            return 0;
    }
    if (i >= text.size() || (text[i] != 'x' && text[i] != 'X'))
        return 0;
    return i + 1;
}

} // namespace

QString normalisedJunkExtension(QStringView text)
{
    QStringView name = text.trimmed();
    if (name.startsWith(QLatin1Char('.')))
        name = name.mid(1);
    if (name.isEmpty() || name.size() > kMaxExtensionLength)
        return {};
    for (const QChar c : name)
        if (!((c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z')))
            return {};
    return name.toString().toLower();
}

JunkNameRule::JunkNameRule(const QStringList &extensions)
{
    for (const QString &extension : extensions) {
        const QString name = normalisedJunkExtension(extension);
        if (!name.isEmpty())
            m_extensions.insert(name.toLatin1());
    }
}

bool JunkNameRule::isJunk(QByteArrayView address) const
{
    const qsizetype at = address.indexOf('@');
    if (at < 0)
        return false;
    const QByteArrayView local = address.first(at);
    const QByteArrayView domain = address.sliced(at + 1);
    if (!local.isEmpty() && scaleMarkerLength(local) == local.size())
        return true;
    // "logo@2x.png", "icon@1.5x-dark.svg": the marker is the domain's first label.
    if (const qsizetype marker = scaleMarkerLength(domain);
        marker > 0 && marker < domain.size() &&
        (domain[marker] == '.' || domain[marker] == '-' || domain[marker] == '_'))
        return true;
    const qsizetype dot = domain.lastIndexOf('.');
    if (dot < 0 || m_extensions.isEmpty())
        return false;
    return m_extensions.contains(domain.sliced(dot + 1).toByteArray().toLower());
}

QList<JunkExtension> readJunkExtensions(QStringView fileText)
{
    QList<JunkExtension> entries;
    QSet<QString> seen;
    for (const QStringView line : fileText.split(QLatin1Char('\n'))) {
        QStringView content = line.trimmed();
        if (content.isEmpty() || content.startsWith(QLatin1Char(';')))
            continue;
        const bool off = content.startsWith(QLatin1Char('-'));
        const QString name = normalisedJunkExtension(off ? content.mid(1) : content);
        if (name.isEmpty() || seen.contains(name))
            continue;
        seen.insert(name);
        entries.append(JunkExtension{name, !off});
    }
    return entries;
}

QByteArray writeJunkExtensions(const QList<JunkExtension> &entries)
{
    QByteArray text = "; Address endings that are file names, not mail domains; \"-\" first: "
                      "switched off.\n";
    for (const JunkExtension &entry : entries) {
        const QString name = normalisedJunkExtension(entry.name);
        if (!name.isEmpty())
            text += (entry.inForce ? "" : "-") + name.toLatin1() + '\n';
    }
    return text;
}

QList<JunkExtension> loadJunkExtensions()
{
    QFile file(DataFolder::locate(kListFile));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return readJunkExtensions(QString::fromUtf8(file.read(kMaxFileBytes)));
}

std::optional<QString> saveJunkExtensions(const QList<JunkExtension> &entries)
{
    const QString path = DataFolder::root() + QLatin1Char('/') + kListFile;
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(writeJunkExtensions(entries)) < 0 ||
        !file.commit())
        return QDir::toNativeSeparators(path) + QStringLiteral(": ") + file.errorString();
    return std::nullopt;
}

} // namespace corvane
