#include "common/TimerSource.h"
#include "engine/ConnectionProbe.h"
#include "engine/FixedConnection.h"
#include "engine/HarvestJob.h"
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

    ResumeDialog dialog(controller, QUrl(QStringLiteral("http://intranet.test:8080/")));
    dialog.open();
    EXPECT_EQ(dialog.titleLabel()->text(), ResumeTexts::Title);
    // The address tested, and where to change it, beneath the question's own texts.
    EXPECT_TRUE(dialog.probeLabel()->text().startsWith(
        QStringLiteral("The connection is tested by reaching http://intranet.test:8080/.")));
    EXPECT_TRUE(dialog.probeLabel()->text().contains(QStringLiteral("Connection Probe")));
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
    ResumeDialog dialog(controller, ConnectionProbe::defaultAddress());
    dialog.open();
    connection.online = true;
    timers.advance(ResumeController::RetestIntervalMs);
    EXPECT_EQ(controller.state(), ResumeController::State::Online);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(controller.dialogReply(), ResumeTexts::ReplyOk);
}

// The import leaves out the domains the job excludes at that moment: checked entries only.
TEST(ImportDialogTest, AppendsTheBookmarkedAddressesOrExplainsWhyNot)
{
    test::TempDataFolder home;
    HarvestJob job;
    job.excludedDomains.setEntries({{QStringLiteral("127.0.0.1/c"), 1, {}, true},
                                    {QStringLiteral("127.0.0.1/b"), 2, {}, false}});
    MessageCapture messages;

    BookmarkImportDialog dialog(job);
    QTest::mouseClick(dialog.importButton(), Qt::LeftButton);
    EXPECT_EQ(messages.messages().last(), QStringLiteral("Please enter path of the file."));
    dialog.pathField()->setText(home.file(QStringLiteral("missing.htm")));
    QTest::mouseClick(dialog.importButton(), Qt::LeftButton);
    EXPECT_EQ(messages.messages().size(), 2);
    EXPECT_TRUE(job.urlList.isEmpty());

    const QString file = home.file(QStringLiteral("bookmarks.htm"));
    test::writeFile(file, "<DL><DT><A HREF=\"http://127.0.0.1/a/\">A</A>"
                          "<DT><A HREF=\"http://127.0.0.1/b/\">B</A>"
                          "<DT><A HREF=\"http://127.0.0.1/c/\">C</A></DL>");
    dialog.pathField()->setText(file);
    QTest::mouseClick(dialog.importButton(), Qt::LeftButton);
    EXPECT_EQ(dialog.imported(), 2);
    EXPECT_EQ(job.urlList.texts(), (QStringList{QStringLiteral("http://127.0.0.1/a/"),
                                                QStringLiteral("http://127.0.0.1/b/")}));
}
