#include "kb/KnowledgeBaseLayout.h"

#include "kb/RecordFile.h"

#include <QDir>
#include <QFileInfo>

namespace corvane::KnowledgeBaseLayout {

namespace {

// One plain folder or file name: no separator of any platform, not "." or "..".
bool isPlainName(QStringView name)
{
    return !name.trimmed().isEmpty() && name != u"." && name != u".." &&
           !name.contains(QLatin1Char('/')) && !name.contains(QLatin1Char('\\')) &&
           !name.contains(QChar(0));
}

QString shown(const QString &path)
{
    return QDir::toNativeSeparators(path);
}

} // namespace

Result<QString> knowledgeBaseFolder(const KnowledgeBaseRecord &record)
{
    const QString folder = record.folder.trimmed();
    const QString name = record.name.trimmed();
    if (folder.isEmpty())
        return fail(
            QStringLiteral("The catalogue records no folder for the knowledge base %1").arg(name));
    const QString clean = QDir::cleanPath(QDir::fromNativeSeparators(folder));
    if (!QDir::isAbsolutePath(clean) || !isPlainName(name) || QFileInfo(clean).fileName() != name)
        return fail(QStringLiteral("The folder %1 recorded for the knowledge base %2 is not a "
                                   "knowledge-base folder; it is left alone")
                        .arg(shown(folder), name));
    return clean;
}

Result<QString> keywordFolder(const QString &knowledgeBaseFolder, const QString &term)
{
    if (knowledgeBaseFolder.isEmpty() || !isPlainName(term))
        return fail(QStringLiteral("The taxonomy term \"%1\" does not name a folder inside the "
                                   "knowledge base; it is left alone")
                        .arg(term));
    return QDir::cleanPath(knowledgeBaseFolder + QLatin1Char('/') + term);
}

QString pageFile(const QString &keywordFolder, qint32 page)
{
    return QDir(keywordFolder).filePath(QString::number(page) + QStringLiteral(".htm"));
}

std::optional<qint32> parsePageNumber(QStringView text)
{
    if (text.isEmpty() || text.size() > 10)
        return std::nullopt;
    qint64 value = 0;
    for (const QChar ch : text) {
        if (ch < QLatin1Char('0') || ch > QLatin1Char('9'))
            return std::nullopt;
        value = value * 10 + (ch.unicode() - '0');
    }
    if (value > std::numeric_limits<qint32>::max())
        return std::nullopt;
    return static_cast<qint32>(value);
}

Result<IndexRecord> parseIndexRecord(QStringView text)
{
    const qsizetype split = text.indexOf(QLatin1String("##"));
    if (split < 0)
        return fail(QStringLiteral("the index record has no page number"));
    const std::optional<qint32> page = parsePageNumber(text.left(split));
    if (!page)
        return fail(QStringLiteral("the index record's page number \"%1\" is not a page number")
                        .arg(text.left(split)));
    return IndexRecord{*page, text.mid(split + 2).toString()};
}

QString indexRecordText(qint32 page, const QString &address)
{
    return QString::number(page) + QStringLiteral("##") + address;
}

Result<QList<IndexRow>> readIndex(const QString &keywordFolder)
{
    Result<QList<RecordFile::Line>> lines =
        RecordFile::readRecords(QDir(keywordFolder).filePath(QLatin1String(kIndexFileName)));
    if (!lines)
        return lines.error();
    QList<IndexRow> rows;
    for (const RecordFile::Line &line : *lines) {
        if (!line.text)
            continue;
        if (Result<IndexRecord> record = parseIndexRecord(*line.text))
            rows.append({line.row, std::move(record).value()});
    }
    return rows;
}

Result<qint32> highestPageNumber(const QString &keywordFolder)
{
    qint32 highest = 0;
    Result<QList<IndexRow>> rows = readIndex(keywordFolder);
    if (!rows)
        return rows.error();
    for (const IndexRow &row : *rows)
        highest = std::max(highest, row.record.page);
    const QStringList pages = QDir(keywordFolder).entryList({QStringLiteral("*.htm")}, QDir::Files);
    for (const QString &file : pages) {
        if (const std::optional<qint32> page = parsePageNumber(QStringView(file).chopped(4)))
            highest = std::max(highest, *page);
    }
    return highest;
}

} // namespace corvane::KnowledgeBaseLayout
