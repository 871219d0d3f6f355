#include "support/TestSupport.h"

#include "ui/KnowledgeBasePathDialog.h"

#include <QComboBox>
#include <QDir>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QTreeView>

#include <gtest/gtest.h>

using namespace corvane;

TEST(PathDialogTest, KeepsTheFolderOnShowHoweverItCloses)
{
    test::TempDataFolder home;
    const QString folder = home.file(QStringLiteral("roots/kb"));
    ASSERT_TRUE(QDir().mkpath(folder));
    {
        KnowledgeBasePathDialog dialog(QStringLiteral("  ") + folder + QStringLiteral("  "));
        EXPECT_EQ(dialog.chosenPath(), QDir::toNativeSeparators(folder));
        EXPECT_GT(dialog.driveList()->count(), 0);
        QTimer::singleShot(0, &dialog, [&] { QTest::keyClick(&dialog, Qt::Key_Escape); });
        dialog.exec();
        EXPECT_EQ(dialog.chosenPath(), QDir::toNativeSeparators(folder));
    }
    {
        KnowledgeBasePathDialog dialog;
        EXPECT_EQ(dialog.chosenPath(), QDir::toNativeSeparators(QDir::cleanPath(home.path())));
        dialog.setFolder(folder);
        QTimer::singleShot(0, &dialog, [&] { QTest::keyClick(&dialog, Qt::Key_Return); });
        dialog.exec();
        EXPECT_EQ(dialog.chosenPath(), QDir::toNativeSeparators(folder));
    }
}
