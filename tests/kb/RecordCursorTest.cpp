#include "KbTestSupport.h"
#include "support/TestSupport.h"

#include "kb/RecordCursor.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

// A keyword folder with an index of `rows` pages, each with its page file.
class IndexFolder : public ::testing::Test
{
protected:
    void make(int rows)
    {
        QStringList records;
        for (int i = 1; i <= rows; ++i) {
            records << QStringLiteral("%1##http://site%1.test/").arg(i);
            writeFile(page(i), "<html>" + QByteArray::number(i) + "</html>");
        }
        writeFile(index(), storedFile(records));
    }
    QString folder() const { return home.file(QStringLiteral("kb/base/Term")); }
    QString index() const { return folder() + QStringLiteral("/index.qdx"); }
    QString page(int n) const { return folder() + QStringLiteral("/%1.htm").arg(n); }
    static QString record(RecordCursor &cursor, int row)
    {
        const Result<QString> stored = cursor.GetDataFromRow(row);
        EXPECT_TRUE(stored) << stored.message().toStdString();
        return stored ? ScrambleLine(QStringView(*stored)).value() : QString();
    }

    TempDataFolder home;
};

} // namespace

TEST_F(IndexFolder, OpensTheSameFileWithOrWithoutFinalSeparator)
{
    make(3);
    RecordCursor plain, slash, backslash;
    ASSERT_TRUE(plain.OpenFile(folder(), QStringLiteral("index.qdx")));
    ASSERT_TRUE(slash.OpenFile(folder() + QLatin1Char('/'), QStringLiteral("index.qdx")));
    ASSERT_TRUE(backslash.OpenFile(folder() + QLatin1Char('\\'), QStringLiteral("index.qdx")));
    EXPECT_EQ(plain.folder(), slash.folder());
    EXPECT_EQ(plain.folder(), backslash.folder());
    EXPECT_EQ(plain.RowCount(), 3);
    EXPECT_EQ(slash.RowCount(), 3);
    EXPECT_EQ(record(plain, 2), record(slash, 2));
}

TEST_F(IndexFolder, MovesKeepTheSpecifiedCursorPositions)
{
    make(3);
    RecordCursor cursor;
    ASSERT_TRUE(cursor.OpenFile(folder(), QStringLiteral("index.qdx")));
    EXPECT_EQ(cursor.CurrentRow(), 0);
    // Row 0 at the start reads row 1, and again on a second call.
    EXPECT_EQ(record(cursor, 0), QStringLiteral("1##http://site1.test/"));
    EXPECT_EQ(cursor.CurrentRow(), 1);
    EXPECT_EQ(record(cursor, 0), QStringLiteral("1##http://site1.test/"));
    ASSERT_TRUE(cursor.MoveNext());
    EXPECT_EQ(cursor.CurrentRow(), 2);
    EXPECT_EQ(record(cursor, 0), QStringLiteral("2##http://site2.test/"));
    ASSERT_TRUE(cursor.MoveLast());
    EXPECT_EQ(record(cursor, 0), QStringLiteral("3##http://site3.test/"));
    // Beyond the last row nothing changes.
    ASSERT_TRUE(cursor.MoveNext());
    EXPECT_EQ(cursor.CurrentRow(), 3);
    ASSERT_TRUE(cursor.MoveToRow(4));
    EXPECT_EQ(cursor.CurrentRow(), 3);
    ASSERT_TRUE(cursor.MoveToRow(1));
    ASSERT_TRUE(cursor.MovePrevious());
    EXPECT_EQ(cursor.CurrentRow(), 0);
    ASSERT_TRUE(cursor.MovePrevious());
    EXPECT_EQ(cursor.CurrentRow(), 0);
    ASSERT_TRUE(cursor.MoveToRow(-5));
    EXPECT_EQ(cursor.CurrentRow(), 0);
    EXPECT_EQ(record(cursor, 3), QStringLiteral("3##http://site3.test/"));
    EXPECT_EQ(cursor.CurrentRow(), 3);
    // Out of range reads give empty text and leave the cursor alone.
    EXPECT_EQ(cursor.GetDataFromRow(4).value(), QString());
    EXPECT_EQ(cursor.CurrentRow(), 3);
    ASSERT_TRUE(cursor.MoveFirst());
    EXPECT_EQ(cursor.CurrentRow(), 0);
}

TEST_F(IndexFolder, MissingFileLeavesTheCursorUnbound)
{
    RecordCursor cursor;
    ASSERT_TRUE(cursor.OpenFile(folder(), QStringLiteral("index.qdx")));
    EXPECT_FALSE(cursor.isBound());
    EXPECT_EQ(cursor.RowCount(), 0);
    EXPECT_EQ(cursor.GetDataFromRow(0).value(), QString());
    ASSERT_TRUE(cursor.WriteData(0, QStringLiteral("x"), 0));
    EXPECT_FALSE(QFileInfo::exists(index()));
    ASSERT_TRUE(cursor.DeleteRow(1));
}

TEST_F(IndexFolder, WriteDataAppendsInsertsAndReplaces)
{
    make(3);
    const QString added = ScrambleLine(QStringView(u"9##http://new.test/")).value();
    RecordCursor cursor;
    ASSERT_TRUE(cursor.OpenFile(folder(), QStringLiteral("index.qdx")));

    ASSERT_TRUE(cursor.WriteData(0, added, 0));
    EXPECT_EQ(cursor.RowCount(), 4);
    EXPECT_EQ(cursor.CurrentRow(), 4);
    EXPECT_EQ(recordTexts(index()).last(), QStringLiteral("9##http://new.test/"));

    make(3);
    ASSERT_TRUE(cursor.OpenFile(folder(), QStringLiteral("index.qdx")));
    ASSERT_TRUE(cursor.WriteData(1, added, 2));
    EXPECT_EQ(recordTexts(index()),
              QStringList({"1##http://site1.test/", "9##http://new.test/", "2##http://site2.test/",
                           "3##http://site3.test/"}));
    EXPECT_EQ(cursor.CurrentRow(), 2);
    EXPECT_TRUE(QFileInfo::exists(page(2)));

    make(3);
    ASSERT_TRUE(cursor.OpenFile(folder(), QStringLiteral("index.qdx")));
    ASSERT_TRUE(cursor.WriteData(2, added, 2));
    EXPECT_EQ(recordTexts(index()), QStringList({"1##http://site1.test/", "9##http://new.test/",
                                                 "3##http://site3.test/"}));
    EXPECT_FALSE(QFileInfo::exists(page(2)));
    EXPECT_TRUE(QFileInfo::exists(page(1)));
    EXPECT_TRUE(QFileInfo::exists(page(3)));
    // The file is written with CR LF and no temporary copy is left beside it.
    EXPECT_EQ(readFile(index()).count("\r\n"), 3);
    EXPECT_EQ(QDir(folder()).entryList(QDir::Files).size(), 3);
}

TEST_F(IndexFolder, WriteDataBeyondTheLastRowDoesNothing)
{
    make(3);
    const QByteArray before = readFile(index());
    RecordCursor cursor;
    ASSERT_TRUE(cursor.OpenFile(folder(), QStringLiteral("index.qdx")));
    ASSERT_TRUE(cursor.WriteData(1, QStringLiteral("xyz"), 4));
    EXPECT_EQ(readFile(index()), before);
    EXPECT_EQ(QDir(folder()).entryList(QDir::Files).size(), 4);
}

TEST_F(IndexFolder, ReplacingARowWithoutPageNumberFailsBeforeTouchingTheFile)
{
    writeFile(index(), storedFile({"1##http://a.test/", "no page number here"}));
    const QByteArray before = readFile(index());
    RecordCursor cursor;
    ASSERT_TRUE(cursor.OpenFile(folder(), QStringLiteral("index.qdx")));
    const Result<void> written = cursor.WriteData(2, QString(), 2);
    ASSERT_FALSE(written);
    EXPECT_TRUE(written.message().startsWith(QStringLiteral("WriteData->")));
    EXPECT_EQ(readFile(index()), before);
}

TEST_F(IndexFolder, DeleteRowLeavesTheCursorOnThePreviousRow)
{
    make(3);
    RecordCursor cursor;
    ASSERT_TRUE(cursor.OpenFile(folder(), QStringLiteral("index.qdx")));
    ASSERT_TRUE(cursor.DeleteRow(2));
    EXPECT_EQ(cursor.RowCount(), 2);
    EXPECT_EQ(cursor.CurrentRow(), 1);
    EXPECT_FALSE(QFileInfo::exists(page(2)));
    EXPECT_EQ(record(cursor, 0), QStringLiteral("1##http://site1.test/"));

    ASSERT_TRUE(cursor.DeleteRow(1));
    EXPECT_EQ(cursor.CurrentRow(), 1);
    EXPECT_EQ(record(cursor, 0), QStringLiteral("3##http://site3.test/"));

    // The last row takes the index and its keyword folder with it.
    ASSERT_TRUE(cursor.DeleteRow(1));
    EXPECT_EQ(cursor.RowCount(), 0);
    EXPECT_FALSE(QFileInfo::exists(folder()));
    EXPECT_TRUE(QFileInfo::exists(home.file(QStringLiteral("kb/base"))));
}

TEST_F(IndexFolder, DamagedPageNumberNeverReachesOutsideTheFolder)
{
    writeFile(home.file(QStringLiteral("kb/victim.htm")), "keep me");
    writeFile(index(), storedFile({"../../victim#x", "2##http://b.test/"}));
    RecordCursor cursor;
    ASSERT_TRUE(cursor.OpenFile(folder(), QStringLiteral("index.qdx")));
    ASSERT_TRUE(cursor.DeleteRow(1));
    EXPECT_EQ(readFile(home.file(QStringLiteral("kb/victim.htm"))), QByteArray("keep me"));
    EXPECT_EQ(recordTexts(index()), QStringList({"2##http://b.test/"}));
}

TEST_F(IndexFolder, CountsEveryLineWhateverItsEnding)
{
    writeFile(index(), encodeRecord(u"1##a").value() + "\r\n\r\n" + encodeRecord(u"2##b").value() +
                           "\n" + encodeRecord(u"3##c").value() + "\r" +
                           encodeRecord(u"4##d").value());
    RecordCursor cursor;
    ASSERT_TRUE(cursor.OpenFile(folder(), QStringLiteral("index.qdx")));
    EXPECT_EQ(cursor.RowCount(), 5);
    EXPECT_EQ(record(cursor, 2), QString());
    EXPECT_EQ(record(cursor, 4), QStringLiteral("3##c"));
    EXPECT_EQ(record(cursor, 5), QStringLiteral("4##d"));
}
