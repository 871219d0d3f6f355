// corvane-cli kb: look into and search the stored knowledge bases from a shell.
//
//   kb list              NUMBER <tab> NAME <tab> FOLDER, one knowledge base a line
//   kb show NAME         TERM <tab> PAGES, one taxonomy term of the knowledge base a line
//   kb pages NAME TERM   PAGE <tab> ADDRESS <tab> FILE, one stored page a line
//   kb search QUERY...   ranked pages holding the words (see searchTable)
//   kb reindex           builds the search index anew from the stored pages
//   kb export-warc NAME FILE      a knowledge base's pages as a web archive
//   kb import-warc FILE NAME ...  the HTML pages of a web archive as a new knowledge base

#include "Command.h"
#include "OptionTable.h"

#include "common/DataFolder.h"
#include "kb/KnowledgeBaseArchive.h"
#include "kb/KnowledgeBaseCatalogue.h"
#include "kb/KnowledgeBaseLayout.h"
#include "kb/NameRules.h"
#include "kb/RecordCursor.h"
#include "kb/ScrambleLine.h"
#include "kb/SearchIndex.h"
#include "kb/SearchQuery.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <unistd.h>

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
    const QString folder = DataFolder::rootPath();
    if (QFileInfo(folder).isDir())
        return std::nullopt;
    return usageError(QStringLiteral("no data folder at %1 (--home or CORVANE_HOME names it)")
                          .arg(QDir::toNativeSeparators(folder)));
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

const OptionTable &searchTable()
{
    static const OptionTable table({
        .name = QStringLiteral("kb search"),
        .summary = QStringLiteral(
            "Print the stored pages holding every word of QUERY, best first, one a line, "
            "tab-separated: knowledge base, taxonomy term, page number, address, title, a "
            "snippet of the page's text. \"Quoted words\" must stand together; a word ending "
            "in * also matches longer words it begins; letter case and accents do not count."),
        .arguments = QStringLiteral("QUERY..."),
        .options = {{.name = QStringLiteral("kb"),
                     .valueName = QStringLiteral("NAME"),
                     .help = QStringLiteral("only pages of this knowledge base"),
                     .kind = TextValue{}},
                    {.name = QStringLiteral("term"),
                     .valueName = QStringLiteral("T"),
                     .help = QStringLiteral("only pages stored under this taxonomy term"),
                     .kind = TextValue{}},
                    {.name = QStringLiteral("limit"),
                     .valueName = QStringLiteral("N"),
                     .help = QStringLiteral("at most N pages, 0 for all"),
                     .kind = NumberValue{0, std::numeric_limits<int>::max()},
                     .defaultValue = QStringLiteral("50")},
                    {.name = QStringLiteral("format"),
                     .valueName = QStringLiteral("FORMAT"),
                     .help = QStringLiteral("output format"),
                     .kind = ChoiceValue{{QStringLiteral("text"), QStringLiteral("jsonl")}},
                     .defaultValue = QStringLiteral("text")}},
        .examples = {QStringLiteral("kb search bakery \"opening hours\""),
                     QStringLiteral("kb search 'bread*' --kb Shops-01-02-26-1345 --format jsonl")},
    });
    return table;
}

const OptionTable &reindexTable()
{
    static const OptionTable table({
        .name = QStringLiteral("kb reindex"),
        .summary = QStringLiteral("Build the search index anew from the stored pages (the "
                                  "catalogues, index.qdx files and page files)."),
        .examples = {QStringLiteral("kb reindex")},
    });
    return table;
}

// Progress of long work on stderr ("label: done of total unit (percent)"), on one line when
// stderr is a terminal, else every tenth; nothing with --quiet. Counts are shown divided by
// scale.
std::function<void(qint64, qint64)> progressLine(const QString &label, qint64 scale = 1,
                                                 const QString &unit = {})
{
    if (isQuiet())
        return [](qint64, qint64) {};
    const bool terminal = isatty(fileno(stderr)) != 0;
    return [=, shown = qint64(-1)](qint64 done, qint64 total) mutable {
        const qint64 percent = total > 0 ? done * 100 / total : 100;
        if (percent == shown || (!terminal && percent % 10 != 0 && done != total))
            return;
        shown = percent;
        writeErr(QStringLiteral("%1%2: %3 of %4%5 (%6%)%7")
                     .arg(terminal ? QStringLiteral("\r") : QString(), label)
                     .arg(done / scale)
                     .arg(total / scale)
                     .arg(unit)
                     .arg(percent)
                     .arg(terminal && done != total ? QString() : QStringLiteral("\n")));
    };
}

RebuildProgress rebuildProgress()
{
    return [show = progressLine(QStringLiteral("Indexing pages"))](qint64 done, qint64 total) {
        show(done, total);
        return true;
    };
}

// A field of a tab-separated line: tabs and line ends would split it.
QString oneField(QString text)
{
    for (QChar &ch : text) {
        if (ch.unicode() < 0x20)
            ch = QLatin1Char(' ');
    }
    return text;
}

int search(const OptionValues &options)
{
    const QString query = options.positional().join(QLatin1Char(' '));
    if (query.trimmed().isEmpty())
        return usageError(QStringLiteral("kb search needs the words to look for"));
    // Words with nothing to look for are a wrong call, as a missing query is.
    if (Result<QString> words = matchExpression(query); !words)
        return usageError(words.message());
    const SearchFilter filter{options.value(QStringLiteral("kb")),
                              options.value(QStringLiteral("term"))};
    // Names that match nothing are told apart from words that match nothing.
    std::optional<qint32> owner;
    if (!filter.knowledgeBaseName.isEmpty()) {
        Result<KnowledgeBaseRecord> base = knowledgeBaseNamed(filter.knowledgeBaseName);
        if (!base)
            return failure(base.message());
        owner = base->number;
    }
    if (!filter.term.isEmpty()) {
        Result<QList<KeywordFolderRecord>> terms = KnowledgeBaseCatalogue::keywordFolders();
        if (!terms)
            return failure(terms.message());
        if (std::none_of(terms->begin(), terms->end(), [&](const KeywordFolderRecord &term) {
                return term.term == filter.term && (!owner || term.owner == *owner);
            }))
            return failure(
                QStringLiteral("no knowledge base%1 has a taxonomy term \"%2\"")
                    .arg(owner ? QStringLiteral(" named \"%1\"").arg(filter.knowledgeBaseName)
                               : QString(),
                         filter.term));
    }
    const Result<SearchResults> results = searchKnowledgeBases(
        query, filter, int(options.number(QStringLiteral("limit"))), rebuildProgress());
    if (!results)
        return failure(results.message());
    const bool jsonl = options.value(QStringLiteral("format")) == QLatin1String("jsonl");
    QString out;
    for (const SearchHit &hit : results->hits) {
        if (jsonl) {
            const QJsonObject line{
                {QStringLiteral("knowledge_base"), hit.page.knowledgeBaseName},
                {QStringLiteral("knowledge_base_number"), hit.page.knowledgeBase},
                {QStringLiteral("term"), hit.page.term},
                {QStringLiteral("page"), hit.page.page},
                {QStringLiteral("address"), hit.page.address},
                {QStringLiteral("title"), hit.title},
                {QStringLiteral("snippet"), hit.snippet}};
            out += QString::fromUtf8(QJsonDocument(line).toJson(QJsonDocument::Compact)) +
                   QLatin1Char('\n');
        } else {
            out += QStringList{oneField(hit.page.knowledgeBaseName),
                               oneField(hit.page.term),
                               QString::number(hit.page.page),
                               oneField(hit.page.address),
                               oneField(hit.title),
                               oneField(hit.snippet)}
                       .join(QLatin1Char('\t')) +
                   QLatin1Char('\n');
        }
    }
    writeOut(out);
    if (results->manyMatches)
        writeMessage(QStringLiteral("More than %1 pages match; these are the best of the %1 stored "
                                    "last (--limit 0 ranks them all).\n")
                         .arg(results->total - 1));
    else
        writeMessage(QStringLiteral("%1 of %2 matching pages shown.\n")
                         .arg(results->hits.size())
                         .arg(results->total));
    return kExitOk;
}

int reindex(const OptionValues &)
{
    const Result<RebuildSummary> rebuilt = rebuildSearchIndex(rebuildProgress());
    if (!rebuilt)
        return failure(rebuilt.message());
    writeMessage(
        QStringLiteral("%1 pages indexed").arg(rebuilt->pages) +
        (rebuilt->missing > 0
             ? QStringLiteral("; %1 listed pages have no readable page file").arg(rebuilt->missing)
             : QString()) +
        QLatin1Char('\n'));
    return kExitOk;
}

const OptionTable &exportWarcTable()
{
    static const OptionTable table({
        .name = QStringLiteral("kb export-warc"),
        .summary = QStringLiteral(
            "Write the pages of knowledge base NAME to the web archive FILE (WARC 1.1): one "
            "response record per stored page, its address as target and its stored bytes as "
            "payload. A FILE ending in .gz is compressed record by record."),
        .arguments = QStringLiteral("NAME FILE"),
        .examples = {QStringLiteral("kb export-warc Shops-01-02-26-1345 shops.warc.gz")},
    });
    return table;
}

const OptionTable &importWarcTable()
{
    static const OptionTable table({
        .name = QStringLiteral("kb import-warc"),
        .summary = QStringLiteral(
            "Store the HTML pages of the web archive FILE (WARC, plain or compressed) in a new "
            "knowledge base named after NAME and the time, as a harvest stores fetched pages: "
            "each page under the first taxonomy term its title contains."),
        .arguments = QStringLiteral("FILE NAME"),
        .options = {{.name = QStringLiteral("taxonomy"),
                     .valueName = QStringLiteral("T1,T2"),
                     .help = QStringLiteral("the taxonomy terms, comma-separated"),
                     .kind = TextValue{},
                     .required = true},
                    {.name = QStringLiteral("root"),
                     .valueName = QStringLiteral("ROOT"),
                     .help = QStringLiteral("knowledge-base root (default: KnowledgeBases in the "
                                            "data folder)"),
                     .kind = FileValue{}}},
        .examples = {QStringLiteral("kb import-warc crawl.warc.gz Shops --taxonomy Bakery,Bread")},
    });
    return table;
}

int exportWarc(const OptionValues &options)
{
    if (options.positional().size() != 2)
        return usageError(QStringLiteral("kb export-warc needs a knowledge-base name and a file"));
    Result<KnowledgeBaseRecord> base = knowledgeBaseNamed(options.positional().at(0));
    if (!base)
        return failure(base.message());
    const Result<WarcExportSummary> exported = exportKnowledgeBaseWarc(
        *base, options.positional().at(1), progressLine(QStringLiteral("Writing pages")));
    if (!exported)
        return failure(exported.message());
    writeMessage(
        QStringLiteral("%1 pages written").arg(exported->pages) +
        (exported->missing > 0
             ? QStringLiteral("; %1 listed pages have no readable page file").arg(exported->missing)
             : QString()) +
        QLatin1Char('\n'));
    return kExitOk;
}

int importWarc(const OptionValues &options)
{
    if (options.positional().size() != 2)
        return usageError(
            QStringLiteral("kb import-warc needs an archive file and a knowledge-base name"));
    QStringList terms;
    for (const QString &term : options.value(QStringLiteral("taxonomy")).split(QLatin1Char(','))) {
        if (!term.trimmed().isEmpty() && !terms.contains(term.trimmed()))
            terms.append(term.trimmed());
    }
    if (terms.isEmpty())
        return usageError(QStringLiteral("--taxonomy needs at least one term"));
    WarcImportRequest request{
        options.positional().at(1), terms,
        options.isSet(QStringLiteral("root"))
            ? options.value(QStringLiteral("root"))
            : QDir(DataFolder::root()).filePath(QStringLiteral("KnowledgeBases"))};
    // A name the disk would refuse is a wrong call, not a failed import.
    if (Result<void> names = checkKnowledgeBaseNames(QFileInfo(request.root).absoluteFilePath(),
                                                     request.knowledgeBaseName.trimmed(), terms);
        !names)
        return usageError(names.message());
    // Archives of a few megabytes are read before a progress line would be worth reading.
    constexpr qint64 kMegabyte = 1024 * 1024;
    const bool large = QFileInfo(options.positional().at(0)).size() >= 16 * kMegabyte;
    const Result<WarcImportSummary> imported =
        corvane::importWarc(options.positional().at(0), request,
                            large ? progressLine(QStringLiteral("Reading the archive"), kMegabyte,
                                                 QStringLiteral(" MB"))
                                  : ArchiveProgress());
    if (!imported)
        return failure(imported.message());
    for (const QString &problem : imported->problems)
        writeErr(problem + QLatin1Char('\n'));
    writeMessage(
        QStringLiteral("%1 of %2 responses stored as pages%3; %4 were no HTML page, %5 too "
                       "long or damaged, %6 taken by no term or seen before\n")
            .arg(imported->stored)
            .arg(imported->responses)
            .arg(imported->knowledgeBase.isEmpty()
                     ? QString()
                     : QStringLiteral(" in %1").arg(imported->knowledgeBase))
            .arg(imported->notPages)
            .arg(imported->cut)
            .arg(imported->notFiled));
    if (!imported->failure.isEmpty())
        return failure(imported->failure + (imported->stored > 0
                                                ? QStringLiteral("; the pages stored before stay")
                                                : QString()));
    return kExitOk;
}

// The commands read the catalogues of the data folder, which must be there.
int inDataFolder(int (*run)(const OptionValues &), const OptionValues &options)
{
    if (const auto code = missingDataFolder())
        return *code;
    return run(options);
}

int runKb(const QStringList &args)
{
    return runSubcommand(
        QStringLiteral("kb"),
        QStringLiteral("The stored knowledge bases: their taxonomy terms and pages, a search of "
                       "their pages, and web-archive export and import."),
        {{listTable(), runList},
         {showTable(), runShow},
         {pagesTable(), runPages},
         {searchTable(), [](const OptionValues &o) { return inDataFolder(search, o); }},
         {reindexTable(), [](const OptionValues &o) { return inDataFolder(reindex, o); }},
         {exportWarcTable(), [](const OptionValues &o) { return inDataFolder(exportWarc, o); }},
         {importWarcTable(), [](const OptionValues &o) { return inDataFolder(importWarc, o); }}},
        args);
}

const CommandRegistration reg(QStringLiteral("kb"),
                              QStringLiteral("list and search knowledge bases, their terms and "
                                             "pages"),
                              runKb,
                              {&listTable(), &showTable(), &pagesTable(), &searchTable(),
                               &reindexTable(), &exportWarcTable(), &importWarcTable()});

} // namespace
