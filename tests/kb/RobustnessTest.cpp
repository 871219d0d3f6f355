#include "KbTestSupport.h"
#include "support/TestSupport.h"

#include "kb/AtomicFile.h"
#include "kb/RecordCursor.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

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
