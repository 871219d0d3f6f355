#include "support/TestSupport.h"
#include "ui/DialogState.h"
#include "ui/MessageDialog.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

using namespace corvane;

class MsgBoxTest : public ::testing::Test
{
protected:
    test::TempDataFolder home;
};

TEST_F(MsgBoxTest, ShowsTheTextAndClosesOnEnterEscapeOrMnemonic)
{
    for (const auto &[key, modifier] :
         {std::pair{Qt::Key_Return, Qt::NoModifier}, std::pair{Qt::Key_Escape, Qt::NoModifier},
          std::pair{Qt::Key_O, Qt::AltModifier}}) {
        MessageDialog box(QStringLiteral("Please enter URL."));
        box.show();
        box.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&box));
        EXPECT_EQ(box.messageLabel()->text(), QStringLiteral("Please enter URL."));
        EXPECT_EQ(box.okButton()->text(), QStringLiteral("&OK"));
        EXPECT_TRUE(box.okButton()->isDefault());
        QTest::keyClick(&box, key, modifier);
        // A mnemonic "animates" the button press before it clicks.
        EXPECT_TRUE(QTest::qWaitFor([&] { return !box.isVisible(); })) << key;
    }
}

TEST_F(MsgBoxTest, LongTextWrapsInsteadOfWideningPastTheScreen)
{
    MessageDialog box(QString(2000, QLatin1Char('x'))
                          .replace(QLatin1String("xxxxxxxxxx"), QLatin1String("xxxxxxxxx ")));
    box.show();
    EXPECT_TRUE(box.messageLabel()->wordWrap());
    EXPECT_LT(box.width(), 1200);
}

TEST_F(MsgBoxTest, ShowMessageIsModalAndRemembersTheText)
{
    bool sawModal = false;
    QTimer::singleShot(0, [&] {
        auto *box = qobject_cast<MessageDialog *>(QApplication::activeModalWidget());
        sawModal = box != nullptr;
        if (box)
            QTest::keyClick(box, Qt::Key_Return);
    });
    showMessage(nullptr, QStringLiteral("No matching records found for the selected keyword."));
    EXPECT_TRUE(sawModal);
    EXPECT_EQ(dialogState().message,
              QStringLiteral("No matching records found for the selected keyword."));
}

TEST_F(MsgBoxTest, ErrorReportIsLabelThenDescription)
{
    MessageCapture capture;
    showErrorReport(nullptr, QStringLiteral("SearchEngines-->"), QStringLiteral("no list"));
    showMessage(nullptr, QStringLiteral("second"));
    EXPECT_EQ(capture.messages(),
              QStringList({QStringLiteral("SearchEngines-->no list"), QStringLiteral("second")}));
}
