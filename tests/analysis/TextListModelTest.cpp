// The queue and list models the crawl, the windows and the command line share.

#include "analysis/TextListModel.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace corvane;

TEST(TextListModel, QueueOrderAndExactMembership)
{
    TextListModel list;
    list.append("a");
    list.append(QStringList{"b", "a", "A"});
    EXPECT_EQ(list.rowCount(), 4);
    EXPECT_TRUE(list.contains("A"));
    EXPECT_FALSE(list.contains("B"));

    EXPECT_EQ(list.takeFirst(), "a");
    EXPECT_TRUE(list.contains("a")) << "a second copy is still listed";
    list.removeAt(1); // the other "a"
    EXPECT_FALSE(list.contains("a"));
    EXPECT_EQ(list.texts(), QStringList({"b", "A"}));
    list.clear();
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(list.takeFirst(), QString());
    list.removeAt(5); // out of range: ignored
}

TEST(TextListModel, ViewsAreToldOfEveryChange)
{
    TextListModel list;
    QSignalSpy inserted(&list, &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(&list, &QAbstractItemModel::rowsRemoved);
    QSignalSpy changed(&list, &QAbstractItemModel::dataChanged);
    list.append("x");
    list.append(QStringList{"y", "z"});
    EXPECT_EQ(inserted.count(), 2) << "a batch is one insertion";
    list.takeFirst();
    EXPECT_EQ(removed.count(), 1);
    list.setSelected(1, true);
    list.setSelected(1, true);
    EXPECT_EQ(changed.count(), 1) << "no notice when nothing changes";
    EXPECT_EQ(list.data(list.index(1), Qt::CheckStateRole).toInt(), int(Qt::Checked));
    EXPECT_EQ(list.data(list.index(0)).toString(), "y");
}

TEST(TextListModel, SelectionFollowsRows)
{
    TextListModel list;
    list.append(QStringList{"a", "b", "c"});
    EXPECT_EQ(list.firstSelected(), -1);
    EXPECT_TRUE(list.setData(list.index(2), Qt::Checked, Qt::CheckStateRole));
    list.setSelected(1, true);
    EXPECT_EQ(list.firstSelected(), 1);
    EXPECT_EQ(list.firstSelected(2), 2);
    list.takeFirst();
    EXPECT_EQ(list.firstSelected(), 0);
    EXPECT_TRUE(list.isSelected(1));
}

TEST(TextListModel, LargeListsStayCheap)
{
    // 10^5 entries: appending, testing and draining touch each entry a bounded number of times.
    TextListModel list;
    for (int i = 0; i < 100000; ++i)
        list.append(QString::number(i));
    for (int i = 0; i < 100000; i += 997)
        EXPECT_TRUE(list.contains(QString::number(i)));
    for (int i = 0; i < 100000; ++i)
        ASSERT_EQ(list.takeFirst(), QString::number(i));
    EXPECT_TRUE(list.isEmpty());
    EXPECT_FALSE(list.contains("0"));
}

TEST(TextListModel, LinesForScripts)
{
    TextListModel list;
    EXPECT_EQ(list.toLines(), QByteArray());
    list.append(QStringList{"a@b.com", QString::fromUtf8("http://h.com/caf\u00e9")});
    EXPECT_EQ(list.toLines(), QByteArray("a@b.com\nhttp://h.com/caf\xc3\xa9\n"));
}

TEST(TextListModel, ABatchIsAnnouncedOnceWhenItCloses)
{
    TextListModel list;
    list.append("old");
    QSignalSpy inserted(&list, &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(&list, &QAbstractItemModel::rowsRemoved);
    QSignalSpy changed(&list, &QAbstractItemModel::dataChanged);
    {
        const TextListModel::Batch outer(list);
        {
            const TextListModel::Batch inner(list);
            list.append("a");
            list.append(QStringList{"b", "c"});
        }
        EXPECT_EQ(inserted.count(), 0) << "only the outermost batch announces";
        // The list itself holds the rows already; views still see the announced one.
        EXPECT_EQ(list.count(), 4);
        EXPECT_TRUE(list.contains("b"));
        EXPECT_EQ(list.rowCount(), 1);
        list.setSelected(2, true); // "b", not announced yet: no notice, but the mark is kept
        EXPECT_EQ(changed.count(), 0);
        EXPECT_EQ(list.takeFirst(), "old");
        EXPECT_EQ(removed.count(), 1);
        EXPECT_EQ(list.takeFirst(), "a"); // a waiting row leaves unannounced
        EXPECT_EQ(removed.count(), 1);
        EXPECT_EQ(list.rowCount(), 0);
    }
    ASSERT_EQ(inserted.count(), 1);
    EXPECT_EQ(inserted.at(0).at(1).toInt(), 0);
    EXPECT_EQ(inserted.at(0).at(2).toInt(), 1);
    EXPECT_EQ(list.rowCount(), 2);
    EXPECT_EQ(list.data(list.index(0)).toString(), "b");
    EXPECT_EQ(list.data(list.index(0), Qt::CheckStateRole).toInt(), int(Qt::Checked));
    EXPECT_EQ(list.data(list.index(1), Qt::CheckStateRole).toInt(), int(Qt::Unchecked));

    {
        const TextListModel::Batch batch(list);
        list.append("d");
        list.clear(); // a reset takes waiting rows along
    }
    EXPECT_EQ(inserted.count(), 1);
    EXPECT_EQ(list.rowCount(), 0);
    EXPECT_TRUE(list.isEmpty());
}
