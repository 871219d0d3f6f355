#include "kb/KnowledgeBaseCatalogue.h"

#include "kb/Catalogues.h"
#include "kb/NameRules.h"
#include "kb/RecordFile.h"

namespace corvane::KnowledgeBaseCatalogue {

namespace {

// The records of a catalogue that parse, each through its own parser; the file is created
// empty when missing, and blank or damaged lines are passed over.
template <typename Record, typename Parse>
Result<QList<Record>> readAll(const QString &path, Parse parse)
{
    if (Result<void> made = RecordFile::ensureExists(path); !made)
        return made.error();
    Result<QList<RecordFile::Line>> lines = RecordFile::readRecords(path);
    if (!lines)
        return lines.error();
    QList<Record> records;
    for (const RecordFile::Line &line : *lines) {
        if (!line.text || line.isBlank())
            continue;
        if (std::optional<Record> record = parse(*line.text))
            records.append(std::move(*record));
    }
    return records;
}

std::optional<KnowledgeBaseRecord> parseKnowledgeBase(const QString &text)
{
    const std::optional<CatalogueEntry> first = splitNumbered(text);
    const std::optional<CatalogueEntry> second = first ? splitNumbered(first->text) : std::nullopt;
    if (!second)
        return std::nullopt;
    const qsizetype at = second->text.indexOf(QLatin1Char('@'));
    if (at < 0)
        return std::nullopt;
    return KnowledgeBaseRecord{first->number, second->number, second->text.left(at),
                               second->text.mid(at + 1)};
}

std::optional<KeywordFolderRecord> parseKeywordFolder(const QString &text)
{
    const std::optional<CatalogueEntry> first = splitNumbered(text);
    const std::optional<CatalogueEntry> second = first ? splitNumbered(first->text) : std::nullopt;
    if (!second)
        return std::nullopt;
    return KeywordFolderRecord{first->number, second->number, second->text};
}

// The number of the last non-blank record whose number reads.
Result<std::optional<qint32>> lastNumberOf(const QString &path)
{
    Result<QList<CatalogueEntry>> entries =
        readAll<CatalogueEntry>(path, [](const QString &text) { return splitNumbered(text); });
    if (!entries)
        return entries.error();
    if (entries->isEmpty())
        return std::optional<qint32>();
    return std::optional<qint32>(entries->last().number);
}

Result<qint32> nextNumberOf(const QString &path)
{
    Result<std::optional<qint32>> last = lastNumberOf(path);
    if (!last)
        return last.error();
    if (!last->has_value())
        return 1;
    if (**last == std::numeric_limits<qint32>::max())
        return fail(QLatin1String(kNumbersExhausted));
    return **last + 1;
}

} // namespace

Result<QList<KnowledgeBaseRecord>> knowledgeBases()
{
    return readAll<KnowledgeBaseRecord>(CatalogueFiles::kbMailGroups(), parseKnowledgeBase);
}

Result<QList<KeywordFolderRecord>> keywordFolders()
{
    return readAll<KeywordFolderRecord>(CatalogueFiles::kbKeywords(), parseKeywordFolder);
}

Result<std::optional<KnowledgeBaseRecord>> findByNumber(qint32 number)
{
    Result<QList<KnowledgeBaseRecord>> all = knowledgeBases();
    if (!all)
        return all.error();
    for (const KnowledgeBaseRecord &record : *all) {
        if (record.number == number)
            return std::optional<KnowledgeBaseRecord>(record);
    }
    return std::optional<KnowledgeBaseRecord>();
}

Result<std::optional<KnowledgeBaseRecord>> findByName(const QString &name)
{
    Result<QList<KnowledgeBaseRecord>> all = knowledgeBases();
    if (!all)
        return all.error();
    for (const KnowledgeBaseRecord &record : *all) {
        if (record.name == name)
            return std::optional<KnowledgeBaseRecord>(record);
    }
    return std::optional<KnowledgeBaseRecord>();
}

Result<QList<KeywordFolderRecord>> keywordFoldersOf(qint32 knowledgeBaseNumber)
{
    Result<QList<KeywordFolderRecord>> all = keywordFolders();
    if (!all)
        return all.error();
    QList<KeywordFolderRecord> owned;
    for (const KeywordFolderRecord &record : *all) {
        if (record.owner == knowledgeBaseNumber)
            owned.append(record);
    }
    return owned;
}

Result<qint32> NextKBNumber()
{
    return nextNumberOf(CatalogueFiles::kbMailGroups());
}

Result<qint32> NextKBKeywordNumber()
{
    return nextNumberOf(CatalogueFiles::kbKeywords());
}

Result<qint32> LastMailGroupNumber()
{
    Result<std::optional<qint32>> last = lastNumberOf(CatalogueFiles::mailGroups());
    if (!last)
        return last.error();
    return last->value_or(1);
}

Result<qint32> AddKBMailGroup(qint32 mailGroup, const QString &name, const QString &folder)
{
    if (Result<void> valid = checkRecordText(name.trimmed(), QStringLiteral("Knowledge-base name"));
        !valid)
        return valid.error();
    Result<qint32> number = NextKBNumber();
    if (!number)
        return number;
    const QString record = QStringLiteral("%1@%2@%3@%4")
                               .arg(*number)
                               .arg(mailGroup)
                               .arg(name.trimmed(), folder.trimmed());
    if (Result<void> added = RecordFile::appendRecord(CatalogueFiles::kbMailGroups(), record);
        !added)
        return added.error();
    return number;
}

Result<qint32> AddKBKeyword(qint32 owner, const QString &term)
{
    if (Result<void> valid = checkRecordText(term.trimmed(), QStringLiteral("Taxonomy term"));
        !valid)
        return valid.error();
    Result<qint32> number = NextKBKeywordNumber();
    if (!number)
        return number;
    const QString record = QStringLiteral("%1@%2@%3").arg(*number).arg(owner).arg(term.trimmed());
    if (Result<void> added = RecordFile::appendRecord(CatalogueFiles::kbKeywords(), record); !added)
        return added.error();
    return number;
}

} // namespace corvane::KnowledgeBaseCatalogue
