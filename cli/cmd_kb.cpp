// corvane-cli kb: look into the stored knowledge bases from a shell.
//
//   kb list              NUMBER <tab> NAME <tab> FOLDER, one knowledge base a line
//   kb show NAME         TERM <tab> PAGES, one taxonomy term of the knowledge base a line
//   kb pages NAME TERM   PAGE <tab> ADDRESS <tab> FILE, one stored page a line

#include "Command.h"

#include "common/DataFolder.h"
#include "kb/KnowledgeBaseCatalogue.h"
#include "kb/KnowledgeBaseLayout.h"
#include "kb/RecordCursor.h"
#include "kb/ScrambleLine.h"

#include <QDir>
#include <QFileInfo>

#include <optional>

using namespace corvane;
using namespace corvane::cli;

namespace {

Result<KnowledgeBaseRecord> knowledgeBaseNamed(const QString &name)
{
    Result<std::optional<KnowledgeBaseRecord>> found = KnowledgeBaseCatalogue::findByName(name);
    if (!found)
        return found.error();
    if (!*found)
        return fail(
            QStringLiteral("no knowledge base named \"%1\" (see corvane-cli kb list)").arg(name));
    return **found;
}

int list()
{
    Result<QList<KnowledgeBaseRecord>> bases = KnowledgeBaseCatalogue::knowledgeBases();
    if (!bases)
        return failure(bases.message());
    QString text;
    for (const KnowledgeBaseRecord &base : *bases)
        text += QStringLiteral("%1\t%2\t%3\n")
                    .arg(base.number)
                    .arg(base.name, QDir::toNativeSeparators(base.folder));
    writeOut(text);
    return kExitOk;
}

struct KnowledgeBaseTerms
{
    KnowledgeBaseRecord base;
    QString folder; // checked to be the knowledge base's own
    QList<KeywordFolderRecord> folders;
};

// The knowledge base of that name with its keyword folders, or why there is none.
Result<KnowledgeBaseTerms> knowledgeBaseWithTerms(const QString &name)
{
    Result<KnowledgeBaseRecord> base = knowledgeBaseNamed(name);
    if (!base)
        return base.error();
    Result<QString> folder = KnowledgeBaseLayout::knowledgeBaseFolder(*base);
    if (!folder)
        return folder.error();
    Result<QList<KeywordFolderRecord>> folders =
        KnowledgeBaseCatalogue::keywordFoldersOf(base->number);
    if (!folders)
        return folders.error();
    return KnowledgeBaseTerms{std::move(base).value(), std::move(folder).value(),
                              std::move(folders).value()};
}

const QString kIndex = QLatin1String(KnowledgeBaseLayout::kIndexFileName);

int show(const QString &name)
{
    Result<KnowledgeBaseTerms> found = knowledgeBaseWithTerms(name);
    if (!found)
        return failure(found.message());
    QString text;
    for (const KeywordFolderRecord &term : std::as_const(found->folders)) {
        Result<QString> folder = KnowledgeBaseLayout::keywordFolder(found->folder, term.term);
        if (!folder) {
            writeErr(QStringLiteral("corvane-cli: %1\n").arg(folder.message()));
            continue;
        }
        RecordCursor index;
        if (Result<void> opened = index.OpenFile(*folder, kIndex); !opened)
            return failure(opened.message());
        text +=
            QStringLiteral("%1\t%2\n").arg(term.term).arg(index.isBound() ? index.RowCount() : 0);
    }
    writeOut(text);
    return kExitOk;
}

int pages(const QString &name, const QString &term)
{
    Result<KnowledgeBaseTerms> found = knowledgeBaseWithTerms(name);
    if (!found)
        return failure(found.message());
    const QList<KeywordFolderRecord> &folders = found->folders;
    const bool known =
        std::any_of(folders.begin(), folders.end(),
                    [&](const KeywordFolderRecord &folder) { return folder.term == term; });
    if (!known)
        return failure(
            QStringLiteral("knowledge base \"%1\" has no taxonomy term \"%2\"").arg(name, term));
    Result<QString> folder = KnowledgeBaseLayout::keywordFolder(found->folder, term);
    if (!folder)
        return failure(folder.message());

    RecordCursor index;
    if (Result<void> opened = index.OpenFile(*folder, kIndex); !opened)
        return failure(opened.message());
    QString text;
    for (int row = 1; index.isBound() && row <= index.RowCount(); ++row) {
        Result<QString> stored = index.GetDataFromRow(row);
        Result<QString> decoded = stored ? ScrambleLine(QStringView(*stored)) : stored;
        using Record = Result<KnowledgeBaseLayout::IndexRecord>;
        const Record record =
            decoded ? KnowledgeBaseLayout::parseIndexRecord(*decoded) : Record(decoded.error());
        if (!record) {
            writeErr(QStringLiteral("corvane-cli: %1 row %2 is damaged (%3) and was skipped\n")
                         .arg(QDir::toNativeSeparators(index.folder() + index.fileName()))
                         .arg(row)
                         .arg(record.message()));
            continue;
        }
        text += QStringLiteral("%1\t%2\t%3\n")
                    .arg(record->page)
                    .arg(record->address, QDir::toNativeSeparators(KnowledgeBaseLayout::pageFile(
                                              *folder, record->page)));
    }
    writeOut(text);
    return kExitOk;
}

const OptionTable &listTable()
{
    static const OptionTable table({
        .name = QStringLiteral("kb list"),
        .summary = QStringLiteral("List the knowledge bases, one a line, tab-separated: number, "
                                  "name, folder."),
        .examples = {QStringLiteral("kb list")},
    });
    return table;
}

const OptionTable &showTable()
{
    static const OptionTable table({
        .name = QStringLiteral("kb show"),
        .summary = QStringLiteral("List the taxonomy terms of knowledge base NAME, one a line, "
                                  "tab-separated: term, stored pages."),
        .arguments = QStringLiteral("NAME"),
        .examples = {QStringLiteral("kb show \"Demo 20240531140000\"")},
    });
    return table;
}

const OptionTable &pagesTable()
{
    static const OptionTable table({
        .name = QStringLiteral("kb pages"),
        .summary = QStringLiteral("List the pages stored under TERM in knowledge base NAME, one a "
                                  "line, tab-separated: page number, address, file."),
        .arguments = QStringLiteral("NAME TERM"),
        .examples = {QStringLiteral("kb pages \"Demo 20240531140000\" Tools")},
    });
    return table;
}

// The arguments a kb subcommand takes, exactly; a usage message otherwise.
std::optional<int> wrongArguments(const OptionTable &table, const OptionValues &options,
                                  qsizetype wanted)
{
    if (options.positional().size() == wanted)
        return std::nullopt;
    return usageError(QStringLiteral("usage: %1").arg(table.usageLine()));
}

// The commands read the catalogues of the data folder, which must be there.
std::optional<int> missingDataFolder()
{
    if (QFileInfo(DataFolder::root()).isDir())
        return std::nullopt;
    return usageError(
        QStringLiteral("no data folder at %1").arg(QDir::toNativeSeparators(DataFolder::root())));
}

int runList(const OptionValues &)
{
    if (const auto code = missingDataFolder())
        return *code;
    return list();
}

int runShow(const OptionValues &options)
{
    if (const auto code = wrongArguments(showTable(), options, 1))
        return *code;
    if (const auto code = missingDataFolder())
        return *code;
    return show(options.positional().at(0));
}

int runPages(const OptionValues &options)
{
    if (const auto code = wrongArguments(pagesTable(), options, 2))
        return *code;
    if (const auto code = missingDataFolder())
        return *code;
    return pages(options.positional().at(0), options.positional().at(1));
}

int runKb(const QStringList &args)
{
    return runSubcommand(
        QStringLiteral("kb"),
        QStringLiteral("The stored knowledge bases, their taxonomy terms and pages."),
        {{listTable(), runList}, {showTable(), runShow}, {pagesTable(), runPages}}, args);
}

const CommandRegistration reg(QStringLiteral("kb"),
                              QStringLiteral("list knowledge bases, their terms and pages"), runKb,
                              {&listTable(), &showTable(), &pagesTable()});

} // namespace
