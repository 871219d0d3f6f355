#include "support/TestSupport.h"
#include "ui/DialogState.h"
#include "ui/InputDialog.h"
#include "ui/MessageDialog.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

using namespace corvane;

namespace {

// Records which operation ran with which text.
struct OperationLog
{
    QList<QPair<int, QString>> calls;

    InputOperations operations()
    {
        InputOperations ops;
        for (int mode = 1; mode <= 7; ++mode)
            ops.set(static_cast<InputMode>(mode), [this, mode](const QString &text) {
                calls.append({mode, text});
            });
        return ops;
    }
};

} // namespace

TEST(InputModes, PromptsAndEmptyMessagesPerMode)
{
    const QList<QPair<QString, QString>> expected = {
        {QStringLiteral("Enter URL (like http://www.example.com)"),
         QStringLiteral("Please enter URL")},
        {QStringLiteral("Enter Keyword"), QStringLiteral("Please enter Keyword")},
        {QStringLiteral("Enter Knowledgebase name"),
         QStringLiteral("Please enter Knowledgebase name")},
        {QStringLiteral("Enter Domain name to exclude"),
         QStringLiteral("Please enter Domian name")},
        {QStringLiteral("Enter Email-ID types to exclude"),
         QStringLiteral("Please enter Email-ID types to exclude")},
        {QStringLiteral("Enter Email-ID type to include"),
         QStringLiteral("Please enter Email-ID types to include")},
        {QStringLiteral("Please enter taxonomy"), QStringLiteral("Please enter Taxonomy")},
    };
    for (int mode = 1; mode <= 7; ++mode) {
        const auto text = inputModeText(qint16(mode));
        ASSERT_TRUE(text) << mode;
        EXPECT_EQ(text->prompt, expected[mode - 1].first) << mode;
        EXPECT_EQ(text->emptyMessage, expected[mode - 1].second) << mode;
        EXPECT_EQ(text->initialText, mode == 1 ? QStringLiteral("http://") : QString()) << mode;
        const InputVerdict empty = checkInput(qint16(mode), QString());
        EXPECT_FALSE(empty.accepted);
        EXPECT_EQ(empty.message, expected[mode - 1].second);
    }
    EXPECT_FALSE(inputModeText(0));
    EXPECT_FALSE(inputModeText(9));
    EXPECT_FALSE(inputModeText(-3));
}

TEST(InputModes, UrlModeWantsHttpPrefixOthersTakeAnyText)
{
    const InputVerdict bare = checkInput(1, QStringLiteral("www.corvane.test"));
    EXPECT_FALSE(bare.accepted);
    EXPECT_EQ(bare.message, QStringLiteral("Please enter valid URL (like http://www.example.com)"));
    ASSERT_TRUE(bare.resetTo);
    EXPECT_EQ(*bare.resetTo, QStringLiteral("http://"));
    EXPECT_FALSE(checkInput(1, QStringLiteral("HTTP://upper.test")).accepted);
    EXPECT_TRUE(checkInput(1, QStringLiteral("http://www.corvane.test/start")).accepted);
    EXPECT_TRUE(checkInput(4, QStringLiteral("www.corvane.test")).accepted);
    EXPECT_TRUE(checkInput(2, QStringLiteral("http")).accepted);
}

class InputBoxTest : public ::testing::Test
{
protected:
    test::TempDataFolder home;
    OperationLog log;
    MessageCapture shown;
};

TEST_F(InputBoxTest, EnterInTheFieldAcceptsAndRunsTheOperation)
{
    InputDialog box(4, log.operations());
    box.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&box));
    EXPECT_EQ(box.findChild<QLabel *>(QStringLiteral("lblPrompt"))->text(),
              QStringLiteral("Enter Domain name to exclude"));
    EXPECT_TRUE(box.inputField()->hasFocus());
    QTest::keyClicks(box.inputField(), QStringLiteral("spam.test"));
    QTest::keyClick(box.inputField(), Qt::Key_Return);
    EXPECT_EQ(box.result(), QDialog::Accepted);
    EXPECT_FALSE(box.isVisible());
    ASSERT_EQ(log.calls.size(), 1);
    EXPECT_EQ(log.calls[0], qMakePair(4, QStringLiteral("spam.test")));
    EXPECT_EQ(dialogState().inputText, QStringLiteral("spam.test"));
    EXPECT_EQ(box.inputText(), QStringLiteral("spam.test"));
    EXPECT_TRUE(shown.messages().isEmpty());
}

TEST_F(InputBoxTest, EmptyTextShowsTheModesMessageAndKeepsTheDialogOpen)
{
    InputDialog box(4, log.operations());
    box.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&box));
    QTest::keyClick(box.inputField(), Qt::Key_Return);
    EXPECT_TRUE(box.isVisible());
    EXPECT_EQ(shown.messages(), QStringList{QStringLiteral("Please enter Domian name")});
    EXPECT_TRUE(log.calls.isEmpty());
    // OK button does the same.
    QTest::mouseClick(box.okButton(), Qt::LeftButton);
    EXPECT_TRUE(box.isVisible());
    EXPECT_EQ(shown.messages().size(), 2);
}

TEST_F(InputBoxTest, UrlWithoutHttpIsRefusedAndFieldReset)
{
    InputDialog box(1, log.operations());
    box.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&box));
    EXPECT_EQ(box.inputField()->text(), QStringLiteral("http://"));
    QTest::keyClicks(box.inputField(), QStringLiteral("a.test"));
    EXPECT_EQ(box.inputField()->text(), QStringLiteral("http://a.test"));
    box.inputField()->setText(QStringLiteral("www.corvane.test"));
    QTest::keyClick(box.inputField(), Qt::Key_Return);
    EXPECT_TRUE(box.isVisible());
    EXPECT_EQ(shown.messages(),
              QStringList{QStringLiteral("Please enter valid URL (like http://www.example.com)")});
    EXPECT_EQ(box.inputField()->text(), QStringLiteral("http://"));
    EXPECT_TRUE(log.calls.isEmpty());
    QTest::keyClicks(box.inputField(), QStringLiteral("www.corvane.test"));
    QTest::keyClick(box.inputField(), Qt::Key_Enter);
    EXPECT_FALSE(box.isVisible());
    ASSERT_EQ(log.calls.size(), 1);
    EXPECT_EQ(log.calls[0].second, QStringLiteral("http://www.corvane.test"));
}

TEST_F(InputBoxTest, EscapeCancelAndItsMnemonicRunNothing)
{
    {
        InputDialog box(2, log.operations());
        box.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&box));
        QTest::keyClicks(box.inputField(), QStringLiteral("crow"));
        QTest::keyClick(&box, Qt::Key_Escape);
        EXPECT_EQ(box.result(), QDialog::Rejected);
        EXPECT_FALSE(box.isVisible());
    }
    {
        InputDialog box(2, log.operations());
        box.show();
        box.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&box));
        QTest::keyClicks(box.inputField(), QStringLiteral("crow"));
        QTest::keyClick(&box, Qt::Key_C, Qt::AltModifier);
        // A mnemonic "animates" the button press before it clicks.
        EXPECT_TRUE(QTest::qWaitFor([&] { return !box.isVisible(); }));
    }
    EXPECT_TRUE(log.calls.isEmpty());
    EXPECT_TRUE(shown.messages().isEmpty());
}

TEST_F(InputBoxTest, TabOrderAndOkMnemonic)
{
    InputDialog box(7, log.operations());
    box.show();
    box.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&box));
    EXPECT_EQ(box.okButton()->text(), QStringLiteral("&OK"));
    EXPECT_EQ(box.cancelButton()->text(), QStringLiteral("&Cancel"));
    ASSERT_EQ(QApplication::focusWidget(), box.inputField());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), box.okButton());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), box.cancelButton());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), box.inputField());

    // Enter on a focused Cancel cancels rather than accepting.
    {
        InputDialog other(7, log.operations());
        other.show();
        other.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
        other.inputField()->setText(QStringLiteral("Fish"));
        other.cancelButton()->setFocus();
        QTest::keyClick(other.cancelButton(), Qt::Key_Return);
        EXPECT_EQ(other.result(), QDialog::Rejected);
        EXPECT_TRUE(log.calls.isEmpty());
    }
    box.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&box));

    QTest::keyClicks(box.inputField(), QStringLiteral("Birds"));
    QTest::keyClick(&box, Qt::Key_O, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !box.isVisible(); }));
    ASSERT_EQ(log.calls.size(), 1);
    EXPECT_EQ(log.calls[0], qMakePair(7, QStringLiteral("Birds")));
}

TEST_F(InputBoxTest, AskInputRunsModallyAtTheGivenPlace)
{
    QTimer::singleShot(0, [] {
        auto *box = qobject_cast<InputDialog *>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->pos(), QPoint(150, 120));
        box->inputField()->setText(QStringLiteral("news"));
        QTest::keyClick(box->inputField(), Qt::Key_Return);
    });
    const auto typed = askInput(nullptr, InputMode::AddKeyword, log.operations(), QPoint(150, 120));
    ASSERT_TRUE(typed);
    EXPECT_EQ(*typed, QStringLiteral("news"));
    EXPECT_EQ(dialogState().inputMode, 2);
    ASSERT_EQ(log.calls.size(), 1);

    QTimer::singleShot(0,
                       [] { QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Escape); });
    EXPECT_FALSE(askInput(nullptr, InputMode::AddKeyword, log.operations()));
    EXPECT_EQ(log.calls.size(), 1);
}

TEST_F(InputBoxTest, HookTypesForWindowTestsThroughTheSameChecks)
{
    setInputHook([](InputMode mode) -> std::optional<QString> {
        if (mode == InputMode::AddURL)
            return QStringLiteral("ftp://nope.test");
        if (mode == InputMode::AddTaxonomy)
            return std::nullopt;
        return QStringLiteral("typed");
    });
    EXPECT_FALSE(askInput(nullptr, InputMode::AddURL, log.operations()));
    EXPECT_EQ(shown.messages(),
              QStringList{QStringLiteral("Please enter valid URL (like http://www.example.com)")});
    EXPECT_FALSE(askInput(nullptr, InputMode::AddTaxonomy, log.operations()));
    EXPECT_EQ(askInput(nullptr, InputMode::AddDomain, log.operations()), QStringLiteral("typed"));
    setInputHook({});
    ASSERT_EQ(log.calls.size(), 1);
    EXPECT_EQ(log.calls[0].first, 4);
}
