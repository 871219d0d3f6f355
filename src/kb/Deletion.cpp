#include "kb/Deletion.h"

#include "kb/KnowledgeBaseLayout.h"
#include "kb/RecordFile.h"
#include "kb/ScrambleLine.h"
#include "kb/SearchIndex.h"

#include <QDir>
#include <QFileInfo>

#include <filesystem>
#include <type_traits>

namespace corvane {

namespace {

namespace fs = std::filesystem;

std::error_code removeEverything(const QString &folder)
{
    const fs::path root(folder.toStdU16String());
    std::error_code error;
    // Read-only files and folders would refuse to go; make them writable first.
    if (fs::is_directory(fs::symlink_status(root, error))) {
        for (fs::recursive_directory_iterator it(root, error), end; !error && it != end;
             it.increment(error)) {
            std::error_code ignored;
            if (!it->is_symlink(ignored))
                fs::permissions(it->path(), fs::perms::owner_write, fs::perm_options::add, ignored);
        }
        error.clear();
    }
    fs::remove_all(root, error);
    return error;
}

FolderRemover &folderRemover()
{
    static FolderRemover remover = removeEverything;
    return remover;
}

bool meansInUse(const std::error_code &error)
{
    return error == std::errc::permission_denied || error == std::errc::operation_not_permitted ||
           error == std::errc::device_or_resource_busy || error == std::errc::text_file_busy;
}

// Removes a knowledge-base or keyword folder; never a drive root or the home folder, which
// a damaged catalogue could name.
Result<void> removeFolder(const QString &folder, const char *prefix)
{
    const QString trimmed = folder.trimmed();
    const QFileInfo info(trimmed);
    if (trimmed.isEmpty() || QDir(trimmed).isRoot() ||
        QDir::cleanPath(info.absoluteFilePath()) == QDir::cleanPath(QDir::homePath()))
        return fail(QLatin1String(prefix) +
                    QStringLiteral("Refusing to delete %1").arg(QDir::toNativeSeparators(trimmed)));
    if (!info.exists() && !info.isSymLink())
        return {};
    const std::error_code error = folderRemover()(trimmed);
    if (!error)
        return {};
    if (meansInUse(error))
        return fail(QLatin1String(kFileInUseMessage));
    return fail(QLatin1String(prefix) + QString::fromStdString(error.message()));
}

QString normalisedPath(const QString &path)
{
    return QDir::cleanPath(QDir::fromNativeSeparators(path.trimmed()));
}

// The first number of a stored record, if it reads.
std::optional<qint32> firstNumber(const QByteArray &stored)
{
    Result<QString> text = decodeRecord(stored);
    if (!text)
        return std::nullopt;
    const std::optional<CatalogueEntry> entry = splitNumbered(*text);
    return entry ? std::optional<qint32>(entry->number) : std::nullopt;
}

// The second number ("owner" or "mail group") of a stored record, if it reads.
std::optional<qint32> secondNumber(const QByteArray &stored)
{
    Result<QString> text = decodeRecord(stored);
    if (!text)
        return std::nullopt;
    const std::optional<CatalogueEntry> first = splitNumbered(*text);
    const std::optional<CatalogueEntry> second = first ? splitNumbered(first->text) : std::nullopt;
    return second ? std::optional<qint32>(second->number) : std::nullopt;
}

// Every stored line of a catalogue that is not blank; damaged lines are kept so that a
// rewrite never loses what it does not understand.
Result<QList<QByteArray>> storedRecords(const QString &path)
{
    if (Result<void> made = RecordFile::ensureExists(path); !made)
        return made.error();
    Result<QList<RecordFile::Line>> lines = RecordFile::readRecords(path);
    if (!lines)
        return lines.error();
    QList<QByteArray> kept;
    for (const RecordFile::Line &line : *lines) {
        if (!line.isBlank())
            kept.append(line.stored);
    }
    return kept;
}

template <typename Matches>
qsizetype removeLines(QList<QByteArray> &lines, Matches matches)
{
    return lines.removeIf([&](const QByteArray &line) { return matches(line); });
}

Result<void> rewriteList(const QString &path, const QList<DeleteListItem> &items)
{
    QStringList records;
    records.reserve(items.size());
    for (const DeleteListItem &item : items)
        records.append(QString::number(item.data) + QLatin1Char('@') + item.text);
    return RecordFile::rewriteRecords(path, records);
}

QList<DeleteListItem> unselected(const QList<DeleteListItem> &items)
{
    QList<DeleteListItem> kept;
    for (const DeleteListItem &item : items) {
        if (!item.selected)
            kept.append(item);
    }
    return kept;
}

void deleteKnowledgeBase(const KnowledgeBaseDeletion &request, DeletionOutcome &outcome)
{
    const qint32 number = request.number;
    Result<QList<QByteArray>> keywords = storedRecords(CatalogueFiles::kbKeywords());
    Result<QList<QByteArray>> bases = storedRecords(CatalogueFiles::kbMailGroups());
    if (!keywords || !bases) {
        outcome.problems.append(!keywords ? keywords.message() : bases.message());
        return;
    }
    // The folder must be the one the catalogue records for this knowledge base, so that a
    // damaged or stale request never removes an unrelated folder.
    QString folderProblem = QStringLiteral("The folder %1 is not the one recorded for this "
                                           "knowledge base; it was left in place")
                                .arg(QDir::toNativeSeparators(request.folder));
    bool folderBelongs = false;
    Result<QList<KnowledgeBaseRecord>> recorded = KnowledgeBaseCatalogue::knowledgeBases();
    for (const KnowledgeBaseRecord &record : recorded ? *recorded : QList<KnowledgeBaseRecord>()) {
        if (record.number != number ||
            normalisedPath(record.folder) != normalisedPath(request.folder))
            continue;
        Result<QString> folder = KnowledgeBaseLayout::knowledgeBaseFolder(record);
        folderBelongs = bool(folder);
        if (!folder)
            folderProblem = folder.message();
        break;
    }
    removeLines(keywords.value(),
                [&](const QByteArray &line) { return secondNumber(line) == number; });
    removeLines(bases.value(), [&](const QByteArray &line) { return firstNumber(line) == number; });
    const qsizetype problemsBefore = outcome.problems.size();
    if (Result<void> written =
            RecordFile::rewriteStoredLines(CatalogueFiles::kbKeywords(), *keywords);
        !written)
        outcome.problems.append(written.message());
    if (Result<void> written =
            RecordFile::rewriteStoredLines(CatalogueFiles::kbMailGroups(), *bases);
        !written)
        outcome.problems.append(written.message());
    outcome.reloadViewer = true;
    if (outcome.problems.size() > problemsBefore) {
        // The catalogues still name the knowledge base, so its pages stay with it.
        outcome.problems.append(QStringLiteral("The knowledge base folder was kept"));
        return;
    }
    SearchIndexUpdate::knowledgeBaseRemoved(number);
    if (!folderBelongs) {
        outcome.problems.append(folderProblem);
        return;
    }
    if (Result<void> removed = DeleteKBFiles(request.folder); !removed)
        outcome.problems.append(removed.message());
}

} // namespace

void setFolderRemover(FolderRemover remover)
{
    folderRemover() = remover ? std::move(remover) : FolderRemover(removeEverything);
}

Result<void> DeleteKBFiles(const QString &folder)
{
    return removeFolder(folder, "DeleteKBFiles->");
}

PageDeletion::Step PageDeletion::stepFor(int indexRows, int keywordCount)
{
    if (indexRows >= 2)
        return DeleteRow{};
    if (indexRows == 1)
        return keywordCount >= 2 ? Step(RemoveKeyword{}) : Step(OfferKnowledgeBase{});
    return Nothing{};
}

Result<void> removeKeywordFolder(const QString &knowledgeBaseFolder,
                                 const KeywordFolderRecord &keyword)
{
    Result<QString> folder = KnowledgeBaseLayout::keywordFolder(knowledgeBaseFolder, keyword.term);
    if (!folder)
        return folder.error();
    Result<QList<QByteArray>> keywords = storedRecords(CatalogueFiles::kbKeywords());
    if (!keywords)
        return keywords.error();
    removeLines(keywords.value(),
                [&](const QByteArray &line) { return firstNumber(line) == keyword.number; });
    if (Result<void> written =
            RecordFile::rewriteStoredLines(CatalogueFiles::kbKeywords(), *keywords);
        !written)
        return written;
    SearchIndexUpdate::termRemoved(keyword.owner, keyword.term);
    return DeleteKBFiles(*folder);
}

Result<void> deletePageRow(RecordCursor &cursor, int row, qint32 knowledgeBase, const QString &term)
{
    // The page number is read before the row goes.
    std::optional<qint32> page;
    if (Result<QString> stored = cursor.GetDataFromRow(row)) {
        if (Result<QString> text = ScrambleLine(QStringView(*stored))) {
            if (Result<KnowledgeBaseLayout::IndexRecord> record =
                    KnowledgeBaseLayout::parseIndexRecord(*text))
                page = record->page;
        }
    }
    if (Result<void> deleted = cursor.DeleteRow(row); !deleted)
        return deleted;
    if (page)
        SearchIndexUpdate::pageRemoved(knowledgeBase, term, *page);
    return {};
}

DeletionOutcome carryOut(const Deletion &deletion)
{
    DeletionOutcome outcome;
    const auto rewrite = [&](const QString &path, const QList<DeleteListItem> &items) {
        if (Result<void> written = rewriteList(path, items); !written)
            outcome.problems.append(written.message());
    };
    std::visit(
        [&](const auto &request) {
            using Kind = std::decay_t<decltype(request)>;
            if constexpr (std::is_same_v<Kind, ListEntriesDeletion>) {
                outcome.list = unselected(request.list);
            } else if constexpr (std::is_same_v<Kind, TaxonomyDeletion>) {
                outcome.list = unselected(request.terms);
                rewrite(CatalogueFiles::taxonomy(), outcome.list);
            } else if constexpr (std::is_same_v<Kind, KeywordDeletion>) {
                outcome.allKeywords = request.allKeywords;
                for (const DeleteListItem &item : request.groupKeywords) {
                    if (item.selected)
                        outcome.allKeywords.removeIf(
                            [&](const DeleteListItem &all) { return all.data == item.data; });
                }
                outcome.list = unselected(request.groupKeywords);
                rewrite(CatalogueFiles::keywords(), outcome.allKeywords);
            } else {
                static_assert(std::is_same_v<Kind, KnowledgeBaseDeletion>);
                deleteKnowledgeBase(request, outcome);
            }
        },
        deletion);
    return outcome;
}

QString MailGroupDeletion::KnowledgeBaseItem::displayText() const
{
    return name + QString(30, QLatin1Char(' ')) + QLatin1Char('!') + folder;
}

Result<void> MailGroupDeletion::open(qint32 preselect)
{
    MailGroupCatalogue groups;
    Result<void> loaded = groups.LoadMailGroups();
    m_mailGroups = groups.entries();
    if (!loaded)
        return loaded;
    Result<QList<QByteArray>> bases = storedRecords(CatalogueFiles::kbMailGroups());
    if (!bases)
        return bases.error();
    Result<QList<QByteArray>> keywords = storedRecords(CatalogueFiles::kbKeywords());
    if (!keywords)
        return keywords.error();
    m_kbLines = std::move(bases).value();
    m_keywordLines = std::move(keywords).value();
    m_selected = m_mailGroups.isEmpty() ? 0 : m_mailGroups.first().number;
    for (const CatalogueEntry &group : std::as_const(m_mailGroups)) {
        if (group.number == preselect)
            m_selected = preselect;
    }
    return {};
}

QList<MailGroupDeletion::KnowledgeBaseItem> MailGroupDeletion::knowledgeBases() const
{
    QList<KnowledgeBaseItem> items;
    for (const QByteArray &line : m_kbLines) {
        Result<QString> text = decodeRecord(line);
        const QStringList fields = text ? text->split(QLatin1Char('@')) : QStringList();
        if (fields.size() < 4)
            continue;
        const std::optional<qint32> number = parseRecordNumber(fields[0]);
        const std::optional<qint32> group = parseRecordNumber(fields[1]);
        if (number && group == m_selected)
            items.append({*number, fields[2], fields.mid(3).join(QLatin1Char('@'))});
    }
    return items;
}

Result<void> MailGroupDeletion::deleteKnowledgeBases(const QList<qint32> &knowledgeBaseNumbers)
{
    const auto failed = [](const QString &description) {
        return fail(QStringLiteral("DelMailGroup->") + description);
    };
    for (const KnowledgeBaseItem &item : knowledgeBases()) {
        if (!knowledgeBaseNumbers.contains(item.number))
            continue;
        Result<QString> folder = KnowledgeBaseLayout::knowledgeBaseFolder(
            {item.number, m_selected, item.name, item.folder});
        if (!folder)
            return failed(folder.message());
        if (Result<void> removed = removeFolder(*folder, "DelMailGroup->"); !removed)
            return removed;
        // Records go right after their folder, so a later failure leaves no record of a
        // knowledge base whose folder is already gone.
        removeLines(m_keywordLines,
                    [&](const QByteArray &line) { return secondNumber(line) == item.number; });
        removeLines(m_kbLines,
                    [&](const QByteArray &line) { return firstNumber(line) == item.number; });
        if (Result<void> written =
                RecordFile::rewriteStoredLines(CatalogueFiles::kbKeywords(), m_keywordLines);
            !written)
            return failed(written.message());
        if (Result<void> written =
                RecordFile::rewriteStoredLines(CatalogueFiles::kbMailGroups(), m_kbLines);
            !written)
            return failed(written.message());
        SearchIndexUpdate::knowledgeBaseRemoved(item.number);
    }
    if (!knowledgeBases().isEmpty() || m_selected == 0)
        return {};

    // The mail group has no knowledge base left: it goes, with its keywords.
    Result<QList<QByteArray>> keywords = storedRecords(CatalogueFiles::keywords());
    if (!keywords)
        return failed(keywords.message());
    removeLines(keywords.value(),
                [&](const QByteArray &line) { return secondNumber(line) == m_selected; });
    if (Result<void> written =
            RecordFile::rewriteStoredLines(CatalogueFiles::keywords(), *keywords);
        !written)
        return failed(written.message());
    m_mailGroups.removeIf([&](const CatalogueEntry &group) { return group.number == m_selected; });
    QStringList groups;
    for (const CatalogueEntry &group : std::as_const(m_mailGroups))
        groups.append(QString::number(group.number) + QLatin1Char('@') + group.text);
    if (Result<void> written = RecordFile::rewriteRecords(CatalogueFiles::mailGroups(), groups);
        !written)
        return failed(written.message());
    m_selected = m_mailGroups.isEmpty() ? 0 : m_mailGroups.first().number;
    return {};
}

} // namespace corvane
