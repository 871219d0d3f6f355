#include "analysis/AnalysisContext.h"
#include "common/TimerSource.h"
#include "engine/ConnectionProbe.h"
#include "engine/FixedConnection.h"
#include "engine/ResumeController.h"
#include "support/TestSupport.h"
#include "ui/BookmarkImportDialog.h"
#include "ui/MessageDialog.h"
#include "ui/ResumeDialog.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

using namespace corvane;

TEST(ResumeDialogTest, ShowsTheTextsAndReportsTheUsersChoice)
{
    test::TempDataFolder home;
    test::FixedConnection connection(false);
    VirtualTimerSource timers;
    ResumeController controller(connection, timers);
    ASSERT_EQ(controller.connectionTested(false), ResumeController::StepVerdict::Skip);
    ASSERT_TRUE(controller.isAsking());

    ResumeDialog dialog(controller);
    dialog.open();
    EXPECT_EQ(dialog.resumeButton()->text(), QStringLiteral("&Resume Mode"));
    QTest::mouseClick(dialog.resumeButton(), Qt::LeftButton);
    EXPECT_TRUE(controller.resumeMode());
    EXPECT_FALSE(dialog.isVisible());
}

TEST(ResumeDialogTest, ClosesByItselfWhenTheConnectionReturns)
{
    test::TempDataFolder home;
    test::FixedConnection connection(false);
    VirtualTimerSource timers;
    ResumeController controller(connection, timers);
    controller.connectionTested(false);
    ResumeDialog dialog(controller);
    dialog.open();
    connection.online = true;
    timers.advance(ResumeController::RetestIntervalMs);
    EXPECT_EQ(controller.state(), ResumeController::State::Online);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(controller.dialogReply(), ResumeTexts::ReplyOk);
}

TEST(ImportDialogTest, AppendsTheBookmarkedAddressesOrExplainsWhyNot)
{
    test::TempDataFolder home;
    AnalysisContext context;
    context.searchEngineSelected = false;
    MessageCapture messages;

    BookmarkImportDialog dialog(context);
    QTest::mouseClick(dialog.importButton(), Qt::LeftButton);
    EXPECT_EQ(messages.messages().last(), QStringLiteral("Please enter path of the file."));
    dialog.pathField()->setText(home.file(QStringLiteral("missing.htm")));
    QTest::mouseClick(dialog.importButton(), Qt::LeftButton);
    EXPECT_EQ(messages.messages().size(), 2);
    EXPECT_TRUE(context.lstURLList.isEmpty());

    const QString file = home.file(QStringLiteral("bookmarks.htm"));
    test::writeFile(file, "<DL><DT><A HREF=\"http://127.0.0.1/a/\">A</A>"
                          "<DT><A HREF=\"http://127.0.0.1/b/\">B</A></DL>");
    dialog.pathField()->setText(file);
    QTest::mouseClick(dialog.importButton(), Qt::LeftButton);
    EXPECT_EQ(dialog.imported(), context.lstURLList.count());
    EXPECT_TRUE(context.lstURLList.contains(QStringLiteral("http://127.0.0.1/a/")));
    EXPECT_TRUE(context.lstURLList.contains(QStringLiteral("http://127.0.0.1/b/")));
}
