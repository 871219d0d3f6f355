#include "scan/DirScanner.h"

#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace corvane;
using namespace corvane::test;

namespace {

// Every event of a walk as "D:relative" / "F:relative" / "E:relative".
class WalkLog
{
public:
    WalkLog(DirScanner &scanner, const QString &root) : m_root(withTrailingSlash(root))
    {
        QObject::connect(&scanner, &DirScanner::newdir, [this](const QFileInfo &d) {
            events << QStringLiteral("D:") + rel(d.filePath());
        });
        QObject::connect(&scanner, &DirScanner::newfile, [this](const QFileInfo &f) {
            events << QStringLiteral("F:") + rel(f.filePath());
        });
        QObject::connect(&scanner, &DirScanner::scanError,
                         [this](const QString &path, const QString &reason) {
                             events << QStringLiteral("E:") + rel(path);
                             reasons << reason;
                         });
    }
    QStringList events;
    QStringList reasons;

private:
    QString rel(const QString &path) const
    {
        return path.startsWith(m_root) ? path.mid(m_root.size()) : path;
    }
    QString m_root;
};

// root/{a/{c/{deep.txt}, x.txt}, b/{d/, y.txt}, s.txt}
void makeTree(const QString &root)
{
    writeFile(root + "/a/c/deep.txt", "1");
    writeFile(root + "/a/x.txt", "2");
    writeFile(root + "/b/y.txt", "3");
    QDir().mkpath(root + "/b/d");
    writeFile(root + "/s.txt", "4");
}

QStringList walk(const QString &root, int depth = 0, const QString &start = {})
{
    DirScanner scanner;
    scanner.setScandepth(depth);
    WalkLog log(scanner, root);
    EXPECT_TRUE(scanner.Scan(start.isEmpty() ? root : start).ok());
    return log.events;
}

} // namespace

TEST(DirScanner, WalksBreadthFirstFoldersBeforeFiles)
{
    QTemporaryDir dir;
    makeTree(dir.path());
    const QStringList expected{"D:a",       "D:b",   "F:s.txt",   "D:a/c",
                               "F:a/x.txt", "D:b/d", "F:b/y.txt", "F:a/c/deep.txt"};
    EXPECT_EQ(walk(dir.path()), expected);
    // With or without a trailing separator the walk is the same.
    EXPECT_EQ(walk(dir.path(), 0, dir.path() + "/"), expected);
    EXPECT_EQ(walk(dir.path(), 0, dir.path() + "//"), expected);
}

TEST(DirScanner, DepthCountsFoldersTakenFromTheQueue)
{
    QTemporaryDir dir;
    makeTree(dir.path());
    EXPECT_EQ(walk(dir.path(), 1), QStringList{"F:s.txt"});
    EXPECT_EQ(walk(dir.path(), 2),
              (QStringList{"D:a", "D:b", "F:s.txt", "F:a/x.txt", "F:b/y.txt"}));
    // Third folder taken (b) no longer lists its subfolders; a (second) still does.
    EXPECT_EQ(walk(dir.path(), 3), (QStringList{"D:a", "D:b", "F:s.txt", "D:a/c", "F:a/x.txt",
                                                "F:b/y.txt", "F:a/c/deep.txt"}));
}

TEST(DirScanner, EmptyFolderRaisesNothingAndMissingStartFails)
{
    QTemporaryDir dir;
    EXPECT_TRUE(walk(dir.path()).isEmpty());

    DirScanner scanner;
    const auto missing = scanner.Scan(dir.path() + "/nope");
    ASSERT_FALSE(missing.ok());
    EXPECT_TRUE(missing.message().contains("nope"));
    EXPECT_FALSE(scanner.Scan(QString()).ok());
}

TEST(DirScanner, EveryFileOfABigTreeIsReportedOnce)
{
    QTemporaryDir dir;
    QStringList created;
    for (int a = 0; a < 6; ++a) {
        for (int b = 0; b < 5; ++b) {
            for (int f = 0; f < 4; ++f) {
                const QString rel = QStringLiteral("d%1/e%2/f%3.txt").arg(a).arg(b).arg(f);
                writeFile(dir.filePath(rel), "x");
                created << "F:" + rel;
            }
        }
        writeFile(dir.filePath(QStringLiteral("d%1/top.txt").arg(a)), "y");
        created << QStringLiteral("F:d%1/top.txt").arg(a);
    }
    QStringList files;
    for (const QString &event : walk(dir.path()))
        if (event.startsWith("F:"))
            files << event;
    EXPECT_EQ(files.size(), created.size());
    files.sort();
    created.sort();
    EXPECT_EQ(files, created);
}

TEST(DirScanner, CancelFromAListenerStopsAtOnce)
{
    QTemporaryDir dir;
    makeTree(dir.path());
    DirScanner scanner;
    WalkLog log(scanner, dir.path());
    QObject::connect(&scanner, &DirScanner::newfile, [&](const QFileInfo &f) {
        if (f.fileName() == "x.txt")
            scanner.Cancel();
    });
    ASSERT_TRUE(scanner.Scan(dir.path()).ok());
    EXPECT_EQ(log.events, (QStringList{"D:a", "D:b", "F:s.txt", "D:a/c", "F:a/x.txt"}));
    EXPECT_FALSE(scanner.isRunning());

    // A new scan clears the flag.
    log.events.clear();
    ASSERT_TRUE(scanner.Scan(dir.path() + "/b").ok());
    EXPECT_EQ(log.events, (QStringList{"D:b/d", "F:b/y.txt"}));
}

TEST(DirScanner, StepsGiveTheSameWalkAsOneCall)
{
    QTemporaryDir dir;
    makeTree(dir.path());
    DirScanner scanner;
    WalkLog log(scanner, dir.path());
    ASSERT_TRUE(scanner.begin(dir.path()).ok());
    int steps = 0;
    while (scanner.step())
        ++steps;
    EXPECT_EQ(log.events, walk(dir.path()));
    // One event per step at most, plus one step per folder to leave it.
    EXPECT_LE(steps, log.events.size() + scanner.foldersVisited());
}

TEST(DirScanner, FolderThatCannotBeListedIsReportedAndTheWalkGoesOn)
{
    QTemporaryDir dir;
    makeTree(dir.path());
    DirScanner scanner;
    WalkLog log(scanner, dir.path());
    // The folder vanishes between being found and being visited.
    QObject::connect(&scanner, &DirScanner::newdir, [&](const QFileInfo &d) {
        if (d.fileName() == "a")
            QDir(d.filePath()).removeRecursively();
    });
    ASSERT_TRUE(scanner.Scan(dir.path()).ok());
    EXPECT_EQ(log.events, (QStringList{"D:a", "D:b", "F:s.txt", "E:a/", "D:b/d", "F:b/y.txt"}));
    ASSERT_EQ(log.reasons.size(), 1);
    EXPECT_FALSE(log.reasons.first().isEmpty());
}

TEST(DirScanner, FolderWithoutPermissionIsReportedWhenNotRoot)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "permissions do not stop root";
    QTemporaryDir dir;
    makeTree(dir.path());
    ASSERT_TRUE(QFile::setPermissions(dir.filePath("a"), QFileDevice::Permissions()));
    const QStringList events = walk(dir.path());
    QFile::setPermissions(dir.filePath("a"),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    EXPECT_TRUE(events.contains("E:a/"));
    EXPECT_TRUE(events.contains("F:b/y.txt"));
}

TEST(DirScanner, LinkedFoldersAreReportedNotEntered)
{
    QTemporaryDir dir;
    makeTree(dir.path());
    ASSERT_TRUE(QFile::link(dir.path(), dir.filePath("b/loop")));
    ASSERT_TRUE(QFile::link(dir.filePath("gone"), dir.filePath("b/dangling")));
    const QStringList events = walk(dir.path());
    EXPECT_TRUE(events.contains("D:b/loop"));
    EXPECT_FALSE(events.contains("F:b/loop/s.txt"));
    // A link to nothing is a file; whoever reads it finds out.
    EXPECT_TRUE(events.contains("F:b/dangling"));
    EXPECT_EQ(events.count("F:s.txt"), 1);
}
