#include "kb/Catalogues.h"

#include "common/DataFolder.h"
#include "kb/NameRules.h"
#include "kb/RecordFile.h"
#include "kb/ScrambleLine.h"

#include <QDir>

namespace corvane {

namespace CatalogueFiles {
namespace {
QString inIoFiles(const char *name)
{
    return QDir(DataFolder::ioFiles()).filePath(QLatin1String(name));
}
} // namespace
QString taxonomy()
{
    return inIoFiles("Taxonomy.qdx");
}
QString mailGroups()
{
    return inIoFiles("MailGroup.qdx");
}
QString keywords()
{
    return inIoFiles("Keyword.qdx");
}
QString kbMailGroups()
{
    return inIoFiles("KBMailGroup.qdx");
}
QString kbKeywords()
{
    return inIoFiles("KBKeyword.qdx");
}
} // namespace CatalogueFiles

std::optional<qint32> parseRecordNumber(QStringView text)
{
    bool ok = false;
    const qlonglong value = text.trimmed().toLongLong(&ok);
    if (!ok || value < std::numeric_limits<qint32>::min() ||
        value > std::numeric_limits<qint32>::max())
        return std::nullopt;
    return static_cast<qint32>(value);
}

std::optional<CatalogueEntry> splitNumbered(const QString &recordText)
{
    const qsizetype at = recordText.indexOf(QLatin1Char('@'));
    if (at < 0)
        return std::nullopt;
    const std::optional<qint32> number = parseRecordNumber(QStringView(recordText).left(at));
    if (!number)
        return std::nullopt;
    return CatalogueEntry{*number, recordText.mid(at + 1)};
}

namespace {

Error malformed(const QString &path, int row)
{
    return fail(QStringLiteral("%1 line %2 is damaged; it should read number@text")
                    .arg(QDir::toNativeSeparators(path))
                    .arg(row));
}

// The "common file step" and the read of a catalogue of "number@text" records into
// entries. Lines blank after unscrambling are skipped; a damaged one stops the load.
Result<void> loadNumbered(const QString &path, QList<CatalogueEntry> &entries, qint32 &last)
{
    if (Result<void> made = RecordFile::ensureExists(path); !made)
        return made;
    Result<QList<RecordFile::Line>> lines = RecordFile::readRecords(path);
    if (!lines)
        return lines.error();
    for (const RecordFile::Line &line : *lines) {
        if (line.isBlank())
            continue;
        const std::optional<CatalogueEntry> entry =
            line.text ? splitNumbered(*line.text) : std::nullopt;
        if (!entry)
            return malformed(path, line.row);
        entries.append(*entry);
        last = entry->number;
    }
    return {};
}

QString recordOf(qint64 number, const QString &text)
{
    return QString::number(number) + QLatin1Char('@') + text;
}

bool exhausted(qint64 next)
{
    return next > std::numeric_limits<qint32>::max();
}

} // namespace

Result<void> TaxonomyCatalogue::LoadTaxonomy()
{
    m_entries.clear();
    qint32 last = 0;
    Result<void> loaded = loadNumbered(CatalogueFiles::taxonomy(), m_entries, last);
    m_next = qint64(last) + 1;
    return loaded;
}

Result<std::optional<CatalogueEntry>> TaxonomyCatalogue::AddTaxonomy(const QString &input)
{
    const QString term = input.trimmed();
    if (term.isEmpty())
        return std::optional<CatalogueEntry>();
    for (const CatalogueEntry &entry : std::as_const(m_entries)) {
        if (entry.text == term)
            return std::optional<CatalogueEntry>();
    }
    if (Result<void> valid = checkFolderName(term, QStringLiteral("Taxonomy term")); !valid)
        return valid.error();
    if (exhausted(m_next))
        return fail(QLatin1String(kNumbersExhausted));
    const CatalogueEntry entry{static_cast<qint32>(m_next), term};
    if (Result<void> added =
            RecordFile::appendRecord(CatalogueFiles::taxonomy(), recordOf(entry.number, term));
        !added)
        return added.error();
    m_entries.append(entry);
    ++m_next;
    return std::optional<CatalogueEntry>(entry);
}

Result<void> MailGroupCatalogue::LoadMailGroups()
{
    m_entries.clear();
    qint32 last = 0;
    Result<void> loaded = loadNumbered(CatalogueFiles::mailGroups(), m_entries, last);
    m_next = qint64(last) + 1;
    return loaded;
}

Result<CatalogueEntry> MailGroupCatalogue::AddMailGroup(const QString &name)
{
    const QString trimmed = name.trimmed();
    if (Result<void> valid = checkFolderName(trimmed, QStringLiteral("Mail group name")); !valid)
        return valid.error();
    if (m_next == 0)
        m_next = 1;
    const QString path = CatalogueFiles::mailGroups();
    if (Result<void> made = RecordFile::ensureExists(path); !made)
        return made.error();
    if (exhausted(m_next))
        return fail(QLatin1String(kNumbersExhausted));
    const CatalogueEntry entry{static_cast<qint32>(m_next), trimmed};
    if (Result<void> added = RecordFile::appendRecord(path, recordOf(entry.number, trimmed));
        !added)
        return added.error();
    m_entries.append(entry);
    ++m_next;
    return entry;
}

Result<void> KeywordCatalogue::LoadKeywords(qint32 mailGroup)
{
    m_all.clear();
    m_group.clear();
    const QString path = CatalogueFiles::keywords();
    if (Result<void> made = RecordFile::ensureExists(path); !made)
        return made;
    Result<QList<RecordFile::Line>> lines = RecordFile::readRecords(path);
    if (!lines)
        return lines.error();
    qint32 last = 0;
    for (const RecordFile::Line &line : *lines) {
        const std::optional<CatalogueEntry> keyword =
            line.text ? splitNumbered(*line.text) : std::nullopt;
        const std::optional<CatalogueEntry> owned =
            keyword ? splitNumbered(keyword->text) : std::nullopt;
        if (!owned) {
            m_next = qint64(last) + 1;
            return fail(QStringLiteral("%1 line %2 is damaged; it should read "
                                       "number@mail group@keyword")
                            .arg(QDir::toNativeSeparators(path))
                            .arg(line.row));
        }
        m_all.append({keyword->number, keyword->text});
        if (owned->number == mailGroup)
            m_group.append({keyword->number, owned->text});
        last = keyword->number;
    }
    m_next = qint64(last) + 1;
    return {};
}

Result<std::optional<CatalogueEntry>> KeywordCatalogue::AddKeyword(const QString &input,
                                                                   qint32 mailGroup)
{
    const QString keyword = input.trimmed();
    if (keyword.isEmpty())
        return std::optional<CatalogueEntry>();
    if (Result<void> storable = checkRecordText(keyword, QStringLiteral("Keyword")); !storable)
        return storable.error();
    if (exhausted(m_next))
        return fail(QLatin1String(kNumbersExhausted));
    const QString rest = QString::number(mailGroup) + QLatin1Char('@') + keyword;
    if (Result<void> added =
            RecordFile::appendRecord(CatalogueFiles::keywords(), recordOf(m_next, rest));
        !added)
        return added.error();
    const CatalogueEntry entry{static_cast<qint32>(m_next), keyword};
    m_group.append(entry);
    m_all.append({entry.number, rest});
    ++m_next;
    return std::optional<CatalogueEntry>(entry);
}

} // namespace corvane
