#include "support/TestSupport.h"

#include "common/DataFolder.h"
#include "kb/Catalogues.h"
#include "kb/KnowledgeBaseCatalogue.h"
#include "ui/DeleteConfirmDialog.h"
#include "ui/MailGroupDeleteDialog.h"
#include "ui/MessageDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

using namespace corvane;

namespace {

class DeleteDialogsTest : public ::testing::Test
{
protected:
    test::TempDataFolder home;
};

// Shows the question and answers it from the keyboard; true for Yes.
bool answerWithKey(const QString &question, Qt::Key key,
                   Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    DeleteConfirmDialog dialog(question);
    EXPECT_EQ(dialog.questionLabel()->text(), question);
    dialog.show();
    dialog.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog));
    QTest::keyClick(&dialog, key, modifiers);
    // A mnemonic "animates" the button press before it clicks.
    EXPECT_TRUE(QTest::qWaitFor([&] { return !dialog.isVisible(); }));
    return dialog.result() == QDialog::Accepted;
}

TEST_F(DeleteDialogsTest, NoIsTheDefaultAndOnlyYesDeletes)
{
    const QString question = QStringLiteral("Do you wish to permanently delete selected domains");
    EXPECT_FALSE(answerWithKey(question, Qt::Key_Escape));
    EXPECT_FALSE(answerWithKey(question, Qt::Key_Return)); // No is the default button
    EXPECT_TRUE(answerWithKey(question, Qt::Key_Y, Qt::AltModifier));

    const ListEntriesDeletion domains{
        {{QStringLiteral("a.example"), 1, true}, {QStringLiteral("b.example"), 2, false}}};
    DeleteConfirmDialog::setAnswerHook([](const DeleteConfirmDialog &) { return false; });
    EXPECT_FALSE(DeleteConfirmDialog::askToDelete(question, domains, nullptr));
    DeleteConfirmDialog::setAnswerHook([](const DeleteConfirmDialog &) { return true; });
    const auto kept = DeleteConfirmDialog::askToDelete(question, domains, nullptr);
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->list, (QList<DeleteListItem>{{QStringLiteral("b.example"), 2, false}}));
    DeleteConfirmDialog::setAnswerHook({});
}

TEST_F(DeleteDialogsTest, MailGroupDialogDeletesKnowledgeBasesThenTheGroup)
{
    MailGroupCatalogue groups;
    ASSERT_TRUE(groups.LoadMailGroups());
    const auto birds = groups.AddMailGroup(QStringLiteral("birds"));
    const auto fish = groups.AddMailGroup(QStringLiteral("fish"));
    ASSERT_TRUE(birds && fish);
    const QString kb1 = home.file(QStringLiteral("kb/one"));
    const QString kb2 = home.file(QStringLiteral("kb/two"));
    const QString kb3 = home.file(QStringLiteral("kb/three"));
    for (const QString &folder : {kb1, kb2, kb3})
        ASSERT_TRUE(QDir().mkpath(folder + "/term"));
    const auto one = KnowledgeBaseCatalogue::AddKBMailGroup(birds->number, "one", kb1);
    const auto two = KnowledgeBaseCatalogue::AddKBMailGroup(birds->number, "two", kb2);
    const auto three = KnowledgeBaseCatalogue::AddKBMailGroup(fish->number, "three", kb3);
    ASSERT_TRUE(one && two && three);
    ASSERT_TRUE(KnowledgeBaseCatalogue::AddKBKeyword(*one, "term"));
    ASSERT_TRUE(KnowledgeBaseCatalogue::AddKBKeyword(*three, "term"));

    MessageCapture messages;
    MailGroupDeleteDialog dialog(birds->number);
    ASSERT_EQ(dialog.mailGroupBox()->count(), 2);
    EXPECT_EQ(dialog.mailGroupBox()->currentText(), QStringLiteral("birds"));
    ASSERT_EQ(dialog.knowledgeBaseList()->count(), 2);
    EXPECT_TRUE(dialog.knowledgeBaseList()->item(0)->text().startsWith(QStringLiteral("one") +
                                                                       QString(30, ' ') + "!"));

    dialog.knowledgeBasesSwitch()->setChecked(false);
    EXPECT_FALSE(dialog.knowledgeBaseList()->isEnabled());
    dialog.knowledgeBasesSwitch()->setChecked(true);

    dialog.knowledgeBaseList()->item(0)->setSelected(true);
    QTest::mouseClick(dialog.deleteButton(), Qt::LeftButton);
    EXPECT_FALSE(QFileInfo::exists(kb1));
    ASSERT_EQ(dialog.knowledgeBaseList()->count(), 1);
    EXPECT_EQ(dialog.mailGroupBox()->count(), 2);

    dialog.knowledgeBaseList()->item(0)->setSelected(true);
    QTest::mouseClick(dialog.deleteButton(), Qt::LeftButton);
    EXPECT_FALSE(QFileInfo::exists(kb2));
    ASSERT_EQ(dialog.mailGroupBox()->count(), 1); // birds went with its last knowledge base
    EXPECT_EQ(dialog.mailGroupBox()->currentText(), QStringLiteral("fish"));
    EXPECT_EQ(dialog.knowledgeBaseList()->count(), 1);
    EXPECT_TRUE(dialog.changed());
    EXPECT_TRUE(QFileInfo::exists(kb3));
    const auto left = KnowledgeBaseCatalogue::knowledgeBases();
    ASSERT_TRUE(left);
    ASSERT_EQ(left->size(), 1);
    EXPECT_EQ(left->first().name, QStringLiteral("three"));
    EXPECT_TRUE(messages.messages().isEmpty()) << messages.messages().join('|').toStdString();
}

} // namespace
