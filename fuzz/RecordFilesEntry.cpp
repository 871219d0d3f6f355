// A damaged or hand-edited .qdx file: the input is written as every catalogue of a temporary
// data folder and as a keyword folder's index, and every reader of the store goes over it.

#include "FuzzTarget.h"

#include "common/Cp1252.h"
#include "common/DataFolder.h"
#include "kb/Catalogues.h"
#include "kb/Deletion.h"
#include "kb/KnowledgeBaseCatalogue.h"
#include "kb/RecordCursor.h"
#include "kb/RecordFile.h"
#include "kb/ScrambleLine.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace corvane;

namespace {

// Row-by-row steps reopen (and deletions rewrite) the file each time; a few rows show
// whatever they can show.
constexpr int kRowsRead = 16;
constexpr int kRowsDeleted = 6;

// The data folder, a knowledge base with one keyword folder, and a page beside that folder
// that no edit of the index may remove.
struct Store
{
    Store()
    {
        DataFolder::setRoot(home.path());
        QDir().mkpath(keywordFolder);
        fuzz::writeFile(outsidePage, "outside");
    }
    QTemporaryDir home;
    const QString keywordFolder = home.filePath(QStringLiteral("KB/base/Term"));
    const QString index = keywordFolder + QStringLiteral("/index.qdx");
    const QString outsidePage = home.filePath(QStringLiteral("KB/base/1.htm"));
};

} // namespace

// The line split, the unscrambling and the cursor's row offsets agree; scrambling undoes
// itself; loaded catalogues hold one entry per line they accept and never more; an index edit
// removes pages of its own folder only, and an insert followed by its deletion gives the file
// back.
CORVANE_FUZZ_TARGET(record_files)
{
    static Store store;
    DataFolder::setRoot(store.home.path());
    const QStringList catalogues = {CatalogueFiles::taxonomy(), CatalogueFiles::mailGroups(),
                                    CatalogueFiles::keywords(), CatalogueFiles::kbMailGroups(),
                                    CatalogueFiles::kbKeywords()};
    for (const QString &path : catalogues)
        fuzz::writeFile(path, input);
    QDir(store.keywordFolder).removeRecursively();
    QDir().mkpath(store.keywordFolder);
    fuzz::writeFile(store.index, input);
    fuzz::writeFile(store.keywordFolder + QStringLiteral("/7.htm"), "page seven");

    const QList<QByteArray> lines = RecordFile::splitLines(input.toByteArray());
    const Result<QList<RecordFile::Line>> records = RecordFile::readRecords(store.index);
    CORVANE_EXPECT(records && records->size() == lines.size());
    qsizetype nonBlank = 0;
    for (qsizetype i = 0; records && i < records->size(); ++i) {
        const RecordFile::Line &line = records->at(i);
        CORVANE_EXPECT(line.row == i + 1 && line.stored == lines[i]);
        CORVANE_EXPECT(!line.stored.contains('\r') && !line.stored.contains('\n'));
        const bool plain = std::all_of(line.stored.begin(), line.stored.end(),
                                       [](char c) { return uchar(c) <= 248; });
        CORVANE_EXPECT(line.text.has_value() == plain);
        if (line.text) {
            const Result<QByteArray> stored = encodeRecord(*line.text);
            CORVANE_EXPECT(stored && *stored == line.stored);
            CORVANE_EXPECT(ScrambleLine(QStringView(ScrambleLine(*line.text).value())).value() ==
                           *line.text);
        }
        nonBlank += line.isBlank() ? 0 : 1;
    }

    TaxonomyCatalogue taxonomy;
    const Result<void> taxonomyLoaded = taxonomy.LoadTaxonomy();
    CORVANE_EXPECT(taxonomy.entries().size() <= nonBlank);
    CORVANE_EXPECT(!taxonomyLoaded || taxonomy.entries().size() == nonBlank);
    CORVANE_EXPECT(taxonomy.entries().isEmpty() ||
                   taxonomy.nextNumber() == qint64(taxonomy.entries().last().number) + 1);
    MailGroupCatalogue groups;
    const Result<void> groupsLoaded = groups.LoadMailGroups();
    CORVANE_EXPECT(groups.entries() == taxonomy.entries() &&
                   bool(groupsLoaded) == bool(taxonomyLoaded));
    KeywordCatalogue keywords;
    const Result<void> keywordsLoaded = keywords.LoadKeywords(1);
    CORVANE_EXPECT(keywords.allKeywords().size() <= lines.size());
    CORVANE_EXPECT(!keywordsLoaded || keywords.allKeywords().size() == lines.size());
    CORVANE_EXPECT(keywords.groupKeywords().size() <= keywords.allKeywords().size());

    const Result<QList<KnowledgeBaseRecord>> bases = KnowledgeBaseCatalogue::knowledgeBases();
    CORVANE_EXPECT(bases && bases->size() <= nonBlank);
    for (const KnowledgeBaseRecord &base : bases ? *bases : QList<KnowledgeBaseRecord>())
        CORVANE_EXPECT(!base.name.contains(QLatin1Char('@')));
    const Result<QList<KeywordFolderRecord>> folders = KnowledgeBaseCatalogue::keywordFolders();
    CORVANE_EXPECT(folders && folders->size() <= nonBlank);
    (void)KnowledgeBaseCatalogue::keywordFoldersOf(1);
    (void)KnowledgeBaseCatalogue::findByName(QStringLiteral("base"));
    const Result<qint32> next = KnowledgeBaseCatalogue::NextKBNumber();
    CORVANE_EXPECT(next || next.message() == QLatin1String(kNumbersExhausted));
    (void)KnowledgeBaseCatalogue::NextKBKeywordNumber();
    (void)KnowledgeBaseCatalogue::LastMailGroupNumber();
    MailGroupDeletion deletion;
    if (deletion.open(1)) {
        for (const MailGroupDeletion::KnowledgeBaseItem &item : deletion.knowledgeBases())
            CORVANE_EXPECT(!item.name.contains(QLatin1Char('@')));
    }

    // The viewer's cursor over the same bytes as an index.
    RecordCursor cursor;
    CORVANE_EXPECT(cursor.OpenFile(store.keywordFolder, QStringLiteral("index.qdx")));
    CORVANE_EXPECT(cursor.RowCount() == lines.size());
    for (int row = 1; row <= std::min(cursor.RowCount(), kRowsRead); ++row) {
        const Result<QString> data = cursor.GetDataFromRow(row);
        CORVANE_EXPECT(data && *data == fromCp1252(lines[row - 1]) && cursor.CurrentRow() == row);
    }
    (void)cursor.MoveLast();
    (void)cursor.MovePrevious();
    (void)cursor.GetDataFromRow(0);
    (void)cursor.GetDataFromRow(-1);
    (void)cursor.GetDataFromRow(cursor.RowCount() + 1);

    // Nothing may leave the keyword folder: removals of whole folders are only recorded.
    QStringList removedFolders;
    setFolderRemover([&](const QString &folder) {
        removedFolders << folder;
        return std::error_code();
    });
    const QString inserted = ScrambleLine(QStringView(u"7##http://a.test/")).value();
    const int rows = cursor.RowCount();
    if (rows > 0 && cursor.WriteData(1, inserted, 1)) {
        CORVANE_EXPECT(cursor.RowCount() == rows + 1);
        CORVANE_EXPECT(cursor.GetDataFromRow(1).value() == inserted);
        CORVANE_EXPECT(cursor.DeleteRow(1));
        CORVANE_EXPECT(!QFile::exists(store.keywordFolder + QStringLiteral("/7.htm")));
        CORVANE_EXPECT(RecordFile::readLines(store.index).value() == lines);
    }
    for (int i = 0; i < kRowsDeleted && cursor.RowCount() > 0; ++i)
        (void)cursor.DeleteRow(cursor.RowCount() - i % 2);
    setFolderRemover({});
    CORVANE_EXPECT(QFile::exists(store.outsidePage));
    for (const QString &folder : removedFolders)
        CORVANE_EXPECT(QDir(folder) == QDir(store.keywordFolder));
}
