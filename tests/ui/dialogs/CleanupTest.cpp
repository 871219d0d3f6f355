#include "ui/Cleanup.h"
#include "engine/TempCleaner.h"
#include "support/TestSupport.h"

#include "common/DataFolder.h"
#include "common/ProgramLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

using namespace corvane;

namespace {

const QDateTime kNow = QDateTime(QDate(2026, 3, 14), QTime(10, 30, 20), Qt::UTC);

void writeAged(const QString &path, const QDateTime &changed)
{
    test::writeFile(path, "x");
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.setFileTime(changed, QFileDevice::FileModificationTime));
}

} // namespace

TEST(TempCleaner, AgeCountsMinuteBoundariesCrossed)
{
    const auto at = [](int h, int m, int s) {
        return QDateTime(QDate(2026, 3, 14), QTime(h, m, s), Qt::UTC);
    };
    EXPECT_EQ(TempCleaner::minuteBoundariesBetween(at(10, 0, 59), at(10, 1, 0)), 1);
    EXPECT_EQ(TempCleaner::minuteBoundariesBetween(at(10, 0, 0), at(10, 0, 59)), 0);
    EXPECT_EQ(TempCleaner::minuteBoundariesBetween(at(10, 0, 59), at(10, 5, 59)), 5);
    EXPECT_EQ(TempCleaner::minuteBoundariesBetween(at(10, 0, 59), at(10, 6, 0)), 6);
    EXPECT_EQ(TempCleaner::minuteBoundariesBetween(at(10, 6, 0), at(10, 0, 0)), -6);

    test::TempDataFolder home;
    const TempCleaner cleaner(kNow);
    const QString five = home.file(QStringLiteral("five.tmp"));
    const QString six = home.file(QStringLiteral("six.tmp"));
    const QString future = home.file(QStringLiteral("future.tmp"));
    writeAged(five, kNow.addSecs(-5 * 60));
    writeAged(six, kNow.addSecs(-6 * 60));
    writeAged(future, kNow.addSecs(3600));
    EXPECT_FALSE(cleaner.FileIsOld(five));
    EXPECT_TRUE(cleaner.FileIsOld(six));
    EXPECT_FALSE(cleaner.FileIsOld(future));
    EXPECT_FALSE(cleaner.FileIsOld(home.file(QStringLiteral("absent.tmp"))));
}

TEST(TempCleaner, RemovesOldFilesHiddenAndReadOnlyIncluded)
{
    test::TempDataFolder home;
    const QString temp = DataFolder::temp();
    writeAged(temp + QStringLiteral("/young.tmp"), kNow.addSecs(-5 * 60));
    writeAged(temp + QStringLiteral("/old.tmp"), kNow.addSecs(-6 * 60));
    writeAged(temp + QStringLiteral("/.hidden-old"), kNow.addSecs(-3600));
    writeAged(temp + QStringLiteral("/readonly-old.tmp"), kNow.addDays(-2));
    QFile::setPermissions(temp + QStringLiteral("/readonly-old.tmp"), QFileDevice::ReadOwner);

    const QStringList messages = TempCleaner(kNow).DeleteTempFiles();
    EXPECT_TRUE(messages.isEmpty()) << messages.join(QLatin1Char('\n')).toStdString();
    EXPECT_EQ(QDir(temp).entryList(QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("young.tmp")});
}

TEST(TempCleaner, EmptiedSubfoldersGoFoldersWithYoungFilesStayWithMessage)
{
    test::TempDataFolder home;
    QString folder = home.file(QStringLiteral("work"));
    writeAged(folder + QStringLiteral("/a-old/deep/x.tmp"), kNow.addSecs(-600));
    writeAged(folder + QStringLiteral("/a-old/y.tmp"), kNow.addSecs(-600));
    writeAged(folder + QStringLiteral("/b-young/keep.tmp"), kNow.addSecs(-60));
    writeAged(folder + QStringLiteral("/b-young/drop.tmp"), kNow.addSecs(-600));

    const QStringList messages = TempCleaner(kNow).CleanAllPath(folder);
    EXPECT_EQ(folder, home.file(QStringLiteral("work/")));
    EXPECT_FALSE(QFileInfo::exists(home.file(QStringLiteral("work/a-old"))));
    EXPECT_TRUE(QFileInfo::exists(home.file(QStringLiteral("work/b-young/keep.tmp"))));
    EXPECT_FALSE(QFileInfo::exists(home.file(QStringLiteral("work/b-young/drop.tmp"))));
    ASSERT_EQ(messages.size(), 1);
    EXPECT_TRUE(messages[0].startsWith(QLatin1String("ClearAllPath-> ")))
        << messages[0].toStdString();
    EXPECT_GT(messages[0].size(), QStringLiteral("ClearAllPath-> ").size());

    // A folder path with its slash stays as it is; an empty folder gives no message.
    QString empty = home.file(QStringLiteral("empty/"));
    QDir().mkpath(empty);
    EXPECT_TRUE(TempCleaner(kNow).CleanAllPath(empty).isEmpty());
    EXPECT_EQ(empty, home.file(QStringLiteral("empty/")));

    QString missing = home.file(QStringLiteral("missing"));
    const QStringList gone = TempCleaner(kNow).CleanAllPath(missing);
    ASSERT_EQ(gone.size(), 1);
    EXPECT_TRUE(gone[0].startsWith(QLatin1String("ClearAllPath-> ")));
}

TEST(TempCleaner, LinksOutOfTheFolderAreNotFollowed)
{
    test::TempDataFolder home;
    const QString outside = home.file(QStringLiteral("outside"));
    writeAged(outside + QStringLiteral("/precious.txt"), kNow.addDays(-30));
    QString temp = DataFolder::temp();
    ASSERT_TRUE(QFile::link(outside, temp + QStringLiteral("/link")));
    TempCleaner(kNow).CleanAllPath(temp);
    EXPECT_TRUE(QFileInfo::exists(outside + QStringLiteral("/precious.txt")));
}

TEST(Cleanup, RunsOnlyAtTheCleanupMinutes)
{
    // Which minutes are marked is checked on the run monitor; here that a mark cleans.
    test::TempDataFolder home;
    const QString stale = DataFolder::temp() + QStringLiteral("/stale.tmp");
    writeAged(stale, QDateTime::currentDateTime().addSecs(-3600));
    EXPECT_FALSE(cleanup::onRunClockTick(11));
    EXPECT_TRUE(QFileInfo::exists(stale));
    // A folder that cannot go yet (it holds a young file) is reported in the program's log.
    writeAged(DataFolder::temp() + QStringLiteral("/busy/young.tmp"), QDateTime::currentDateTime());
    EXPECT_TRUE(cleanup::onRunClockTick(20));
    EXPECT_FALSE(QFileInfo::exists(stale));
    const QString log = QString::fromUtf8(test::readFile(ProgramLog::path()));
    EXPECT_EQ(log.count(QLatin1String("ClearAllPath-> ")), 1) << log.toStdString();
}
