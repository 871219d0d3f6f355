#include "KbTestSupport.h"
#include "support/TestSupport.h"

#include "kb/AtomicFile.h"
#include "kb/Catalogues.h"
#include "kb/Deletion.h"
#include "kb/KnowledgeBaseCatalogue.h"
#include "kb/RecordCursor.h"

#include <QDir>
#include <QRandomGenerator>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

// Runs every reader of the store over whatever the catalogue and index files hold. They may
// report damage; they must not crash, hang or read out of bounds.
void readEverything(const QString &indexFolder)
{
    TaxonomyCatalogue taxonomy;
    (void)taxonomy.LoadTaxonomy();
    MailGroupCatalogue groups;
    (void)groups.LoadMailGroups();
    KeywordCatalogue keywords;
    (void)keywords.LoadKeywords(1);
    (void)KnowledgeBaseCatalogue::knowledgeBases();
    (void)KnowledgeBaseCatalogue::keywordFoldersOf(1);
    (void)KnowledgeBaseCatalogue::NextKBNumber();
    (void)KnowledgeBaseCatalogue::NextKBKeywordNumber();
    (void)KnowledgeBaseCatalogue::LastMailGroupNumber();
    MailGroupDeletion dialog;
    if (dialog.open(1))
        (void)dialog.knowledgeBases();

    RecordCursor cursor;
    (void)cursor.OpenFile(indexFolder, QStringLiteral("index.qdx"));
    for (int row = -1; row <= cursor.RowCount() + 1; ++row)
        (void)cursor.GetDataFromRow(row);
    (void)cursor.MoveLast();
    (void)cursor.MovePrevious();
    (void)cursor.GetDataFromRow(0);
    (void)cursor.WriteData(1, QStringLiteral("\u00d7\u00d7"), 1);
    (void)cursor.DeleteRow(cursor.RowCount());
}

} // namespace

TEST(Robustness, RandomAndTruncatedFilesNeverCrashAReader)
{
    TempDataFolder home;
    const QString indexFolder = home.file(QStringLiteral("KB/base/Term"));
    const QStringList catalogues = {CatalogueFiles::taxonomy(), CatalogueFiles::mailGroups(),
                                    CatalogueFiles::keywords(), CatalogueFiles::kbMailGroups(),
                                    CatalogueFiles::kbKeywords()};
    const QByteArray valid = storedFile({"1@1@Rail@" + indexFolder, "2##http://a.test/", "3@x"});
    QRandomGenerator random(20260307);
    for (int round = 0; round < 200; ++round) {
        QByteArray bytes;
        switch (round % 3) {
        case 0: { // random bytes, CR and LF included
            bytes.resize(random.bounded(200));
            for (char &b : bytes)
                b = char(random.bounded(256));
            break;
        }
        case 1: // a valid file cut anywhere
            bytes = valid.left(random.bounded(int(valid.size()) + 1));
            break;
        default: { // a valid file with a few bytes flipped
            bytes = valid;
            for (int i = 0; i < 4; ++i)
                bytes[random.bounded(int(bytes.size()))] = char(random.bounded(256));
        }
        }
        for (const QString &path : catalogues)
            writeFile(path, bytes);
        writeFile(indexFolder + QStringLiteral("/index.qdx"), bytes);
        readEverything(indexFolder);
    }
    SUCCEED();
}

TEST(Robustness, FailedIndexRewriteKeepsTheIndexAndItsPages)
{
    TempDataFolder home;
    const QString folder = home.file(QStringLiteral("KB/base/Term"));
    writeFile(folder + QStringLiteral("/index.qdx"),
              storedFile({"1##http://a.test/", "2##http://b.test/"}));
    writeFile(folder + QStringLiteral("/1.htm"), "one");
    const QByteArray before = readFile(folder + QStringLiteral("/index.qdx"));

    RecordCursor cursor;
    ASSERT_TRUE(cursor.OpenFile(folder, QStringLiteral("index.qdx")));
    const qint64 rewrittenSize = storedFile({"2##http://b.test/"}).size();
    for (const qint64 failAfter : {qint64(0), qint64(5), rewrittenSize - 1}) {
        AtomicFile::ScopedFailAfter diskFull(failAfter);
        const Result<void> deleted = cursor.DeleteRow(1);
        ASSERT_FALSE(deleted);
        EXPECT_TRUE(deleted.message().startsWith(QStringLiteral("WriteData->")));
        EXPECT_EQ(readFile(folder + QStringLiteral("/index.qdx")), before);
        EXPECT_EQ(readFile(folder + QStringLiteral("/1.htm")), QByteArray("one"));
        EXPECT_EQ(QDir(folder).entryList(QDir::Files).size(), 2);
    }
    ASSERT_TRUE(cursor.DeleteRow(1));
    EXPECT_EQ(recordTexts(folder + QStringLiteral("/index.qdx")),
              QStringList({"2##http://b.test/"}));
}
