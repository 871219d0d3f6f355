#include "support/TestSupport.h"

#include "common/TimerSource.h"
#include "engine/ConnectionProbe.h"
#include "engine/FixedConnection.h"
#include "engine/ResumeController.h"
#include "ui/HarvestWindow.h"
#include "ui/LeadsScanWindow.h"
#include "ui/LeadsVerifierWindow.h"
#include "ui/MailGroupDeleteDialog.h"
#include "ui/ResumeDialog.h"
#include "ui/VCardExportWindow.h"

#include <QApplication>
#include <QPushButton>
#include <QSet>
#include <QTabWidget>
#include <QTest>

#include <gtest/gtest.h>

using namespace corvane;

namespace {

// Presses Tab round the window until focus comes back where it began and returns the
// visible buttons that were never reached.
QStringList buttonsTabMisses(QWidget &window)
{
    window.show();
    window.activateWindow();
    if (!QTest::qWaitForWindowActive(&window))
        return {QStringLiteral("window never became active")};
    if (!QApplication::focusWidget())
        QTest::keyClick(&window, Qt::Key_Tab);
    QSet<QWidget *> reached;
    QWidget *first = QApplication::focusWidget();
    for (int press = 0; press < 400 && first; ++press) {
        reached.insert(QApplication::focusWidget());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        if (QApplication::focusWidget() == first)
            break;
    }
    QStringList missed;
    for (QPushButton *button : window.findChildren<QPushButton *>()) {
        if (button->isVisible() && button->isEnabled() && !reached.contains(button))
            missed << button->objectName();
    }
    return missed;
}

} // namespace

TEST(Keyboard, TabReachesEveryButtonOfEveryWindow)
{
    test::TempDataFolder home;
    HarvestWindow harvest;
    auto *tabs = harvest.findChild<QTabWidget *>(QStringLiteral("stabEmailExt"));
    ASSERT_NE(tabs, nullptr);
    for (int tab = 0; tab < tabs->count(); ++tab) {
        tabs->setCurrentIndex(tab);
        EXPECT_EQ(buttonsTabMisses(harvest), QStringList{}) << "harvest tab " << tab;
    }
    harvest.close();

    LeadsScanWindow scan;
    EXPECT_EQ(buttonsTabMisses(scan), QStringList{}) << "leads scan";
    LeadsVerifierWindow verifier;
    EXPECT_EQ(buttonsTabMisses(verifier), QStringList{}) << "verifier";
    VCardExportWindow exchange;
    EXPECT_EQ(buttonsTabMisses(exchange), QStringList{}) << "lead export";
    MailGroupDeleteDialog groups(0);
    EXPECT_EQ(buttonsTabMisses(groups), QStringList{}) << "mail-group deletion";

    test::FixedConnection offline(false);
    VirtualTimerSource timers;
    ResumeController resume(offline, timers);
    ASSERT_EQ(resume.connectionTested(false), ResumeController::StepVerdict::Skip);
    ResumeDialog question(resume, QUrl(QStringLiteral("http://127.0.0.1:9/")));
    EXPECT_EQ(buttonsTabMisses(question), QStringList{}) << "resume question";
    // Escape is Cancel there: the run ends rather than waiting on with no one asked.
    QTest::keyClick(&question, Qt::Key_Escape);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !question.isVisible(); }));
    EXPECT_FALSE(resume.isAsking());
    EXPECT_FALSE(resume.resumeMode());
    EXPECT_EQ(resume.dialogReply(), ResumeTexts::ReplyOk);
}
