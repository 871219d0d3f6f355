#include "support/TestSupport.h"

#include "engine/ConnectionProbe.h"
#include "engine/FixedConnection.h"
#include "kb/KnowledgeBaseCatalogue.h"
#include "kb/PageStore.h"
#include "kb/ScrambleLine.h"
#include "ui/DeleteConfirmDialog.h"
#include "ui/MessageDialog.h"
#include "viewer/PageView.h"
#include "viewer/ViewerWindow.h"

#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

using namespace corvane;

namespace {

QByteArray page(const QString &title)
{
    return QStringLiteral("<html><head><title>%1</title></head><body>%1</body></html>")
        .arg(title)
        .toUtf8();
}

class ViewerTest : public ::testing::Test
{
protected:
    void SetUp() override { root = QDir(home.path()).filePath(QStringLiteral("kb")); }
    void TearDown() override { DeleteConfirmDialog::setAnswerHook({}); }

    // A knowledge base through the store, with `counts[i]` pages under term i.
    void harvest(const QString &base, const QStringList &terms, const QList<int> &counts)
    {
        PageStore store;
        PageStoreSettings settings;
        settings.root = root;
        settings.baseName = base;
        settings.selectedTerms = terms;
        store.setSettings(settings);
        for (int t = 0; t < terms.size(); ++t)
            for (int i = 0; i < counts[t]; ++i) {
                const QString address =
                    QStringLiteral("http://127.0.0.1/%1/%2/%3.html").arg(base, terms[t]).arg(i);
                const auto saved = store.SavePage(address, terms[t], page(terms[t]));
                ASSERT_TRUE(saved) << saved.message().toStdString();
            }
    }

    template <typename T>
    T *child(ViewerWindow &viewer, const char *name)
    {
        T *found = viewer.findChild<T *>(QString::fromLatin1(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    QString text(ViewerWindow &viewer, const char *label)
    {
        return child<QLabel>(viewer, label)->text();
    }
    void click(ViewerWindow &viewer, const char *name)
    {
        QPushButton *b = child<QPushButton>(viewer, name);
        ASSERT_TRUE(b->isEnabled()) << name;
        QTest::mouseClick(b, Qt::LeftButton);
    }

    test::TempDataFolder home;
    QString root;
};

TEST_F(ViewerTest, WithoutKnowledgeBaseShowsPlaceholderAndDisablesPageButtons)
{
    MessageCapture messages;
    ViewerWindow viewer;
    EXPECT_EQ(child<QComboBox>(viewer, "cmbMailList")->count(), 0);
    EXPECT_EQ(child<QComboBox>(viewer, "cmbKeyword")->count(), 0);
    for (const char *name :
         {"cmdFirst", "cmdPrevious", "cmdNext", "cmdLast", "cmdDel", "cmdView", "cmdDelKB"})
        EXPECT_FALSE(child<QPushButton>(viewer, name)->isEnabled()) << name;
    EXPECT_EQ(viewer.pageView()->requestedUrl(), ViewerWindow::placeholderPage());
    EXPECT_TRUE(QFileInfo::exists(home.file(QStringLiteral("IOFiles/KBMailGroup.qdx"))));
    EXPECT_TRUE(messages.messages().isEmpty());
}

TEST_F(ViewerTest, PagesThroughAKeywordFromFirstToLast)
{
    harvest(QStringLiteral("Birds"), {QStringLiteral("crow"), QStringLiteral("wren")}, {3, 1});
    MessageCapture messages;
    ViewerWindow viewer;
    auto *kbs = child<QComboBox>(viewer, "cmbMailList");
    ASSERT_EQ(kbs->count(), 1);
    EXPECT_TRUE(kbs->itemText(0).startsWith(QStringLiteral("Birds")));
    auto *keywords = child<QComboBox>(viewer, "cmbKeyword");
    ASSERT_EQ(keywords->count(), 2);
    EXPECT_EQ(keywords->itemText(0), QStringLiteral("crow"));

    EXPECT_EQ(text(viewer, "lblTotalNum"), QStringLiteral("3"));
    EXPECT_EQ(text(viewer, "lblNum"), QStringLiteral("1"));
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/crow/0.html"));
    EXPECT_TRUE(text(viewer, "lblCreatedOn").startsWith(QStringLiteral("Content as on: ")));
    EXPECT_TRUE(viewer.pageView()->requestedUrl().isLocalFile());
    EXPECT_TRUE(viewer.pageView()->requestedUrl().toLocalFile().endsWith(QStringLiteral(".htm")));

    click(viewer, "cmdNext");
    EXPECT_EQ(text(viewer, "lblNum"), QStringLiteral("2"));
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/crow/1.html"));
    click(viewer, "cmdLast");
    EXPECT_EQ(text(viewer, "lblNum"), QStringLiteral("3"));
    click(viewer, "cmdNext"); // beyond the end the cursor stays
    EXPECT_EQ(text(viewer, "lblNum"), QStringLiteral("3"));
    click(viewer, "cmdPrevious");
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/crow/1.html"));
    click(viewer, "cmdFirst");
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/crow/0.html"));

    keywords->setCurrentIndex(1);
    emit keywords->activated(1);
    EXPECT_EQ(text(viewer, "lblTotalNum"), QStringLiteral("1"));
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/wren/0.html"));
    EXPECT_TRUE(messages.messages().isEmpty()) << messages.messages().join('|').toStdString();
}

TEST_F(ViewerTest, DeletePageRemovesTheRowThenTheKeywordThenAsksForTheKnowledgeBase)
{
    harvest(QStringLiteral("Birds"), {QStringLiteral("crow"), QStringLiteral("wren")}, {2, 1});
    MessageCapture messages;
    ViewerWindow viewer;
    auto *keywords = child<QComboBox>(viewer, "cmbKeyword");
    const QString crowFolder = viewer.currentKeywordFolder();

    click(viewer, "cmdNext");
    click(viewer, "cmdDel"); // two rows: the second goes, the first is shown
    EXPECT_EQ(text(viewer, "lblTotalNum"), QStringLiteral("1"));
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/crow/0.html"));

    click(viewer, "cmdDel"); // last page of a keyword with a sibling: the keyword goes
    EXPECT_FALSE(QFileInfo::exists(crowFolder));
    ASSERT_EQ(keywords->count(), 1);
    EXPECT_EQ(keywords->itemText(0), QStringLiteral("wren"));
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/wren/0.html"));
    const auto remaining = KnowledgeBaseCatalogue::keywordFolders();
    ASSERT_TRUE(remaining);
    EXPECT_EQ(remaining->size(), 1);

    // The only page of the only keyword: the viewer asks to delete the knowledge base.
    QString asked;
    DeleteConfirmDialog::setAnswerHook([&](const DeleteConfirmDialog &dialog) {
        asked = dialog.questionLabel()->text();
        return false;
    });
    click(viewer, "cmdDel");
    EXPECT_TRUE(asked.startsWith(QStringLiteral("Do you wish to permanently delete Birds")));
    EXPECT_TRUE(asked.endsWith(QStringLiteral(" Knowledgbase?")));
    EXPECT_EQ(text(viewer, "lblTotalNum"), QStringLiteral("1")); // declined: still there

    DeleteConfirmDialog::setAnswerHook([](const DeleteConfirmDialog &) { return true; });
    click(viewer, "cmdDel");
    EXPECT_EQ(child<QComboBox>(viewer, "cmbMailList")->count(), 0);
    EXPECT_EQ(text(viewer, "lblTotalNum"), QStringLiteral("0"));
    EXPECT_EQ(viewer.pageView()->requestedUrl(), ViewerWindow::placeholderPage());
    EXPECT_TRUE(QDir(root).entryList(QDir::Dirs | QDir::NoDotAndDotDot).isEmpty());
    EXPECT_FALSE(child<QPushButton>(viewer, "cmdDel")->isEnabled());
}

TEST_F(ViewerTest, DeleteKnowledgeBaseKeepsTheOthersAndNoKeepsThePage)
{
    harvest(QStringLiteral("Birds"), {QStringLiteral("crow")}, {2});
    harvest(QStringLiteral("Fish"), {QStringLiteral("carp")}, {2});
    ViewerWindow viewer;
    auto *kbs = child<QComboBox>(viewer, "cmbMailList");
    ASSERT_EQ(kbs->count(), 2);
    click(viewer, "cmdNext");
    DeleteConfirmDialog::setAnswerHook([](const DeleteConfirmDialog &) { return false; });
    click(viewer, "cmdDelKB");
    EXPECT_EQ(kbs->count(), 2);
    EXPECT_EQ(text(viewer, "lblNum"), QStringLiteral("2"));
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/crow/1.html"));

    DeleteConfirmDialog::setAnswerHook([](const DeleteConfirmDialog &) { return true; });
    click(viewer, "cmdDelKB");
    ASSERT_EQ(kbs->count(), 1);
    EXPECT_TRUE(kbs->itemText(0).startsWith(QStringLiteral("Fish")));
    EXPECT_EQ(text(viewer, "lblTotalNum"), QStringLiteral("2"));
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Fish/carp/0.html"));
}

TEST_F(ViewerTest, HarvestShowsUpAtOnceAndTheStoredPageKeepsItsDate)
{
    harvest(QStringLiteral("Birds"), {QStringLiteral("crow")}, {2});
    MessageCapture messages;
    ViewerWindow viewer;
    // The stored page's own load leaves its date on show; the next load (a link followed
    // inside the page) is another page.
    auto *createdOn = child<QLabel>(viewer, "lblCreatedOn");
    click(viewer, "cmdNext");
    emit viewer.pageView()->loadStarted();
    EXPECT_FALSE(createdOn->isHidden());
    emit viewer.pageView()->loadStarted();
    EXPECT_TRUE(createdOn->isHidden());

    // A harvest elsewhere adds a knowledge base; the viewer lists it without leaving the page
    // it shows.
    harvest(QStringLiteral("Fish"), {QStringLiteral("carp")}, {1});
    auto *kbs = child<QComboBox>(viewer, "cmbMailList");
    ASSERT_TRUE(QTest::qWaitFor([&] { return kbs->count() == 2; }, 20000));
    EXPECT_EQ(kbs->currentIndex(), 0);
    EXPECT_EQ(text(viewer, "lblNum"), QStringLiteral("2"));
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/crow/1.html"));
    EXPECT_TRUE(messages.messages().isEmpty()) << messages.messages().join('|').toStdString();
}

TEST_F(ViewerTest, KeywordWithoutIndexAndBadRecordsAreReported)
{
    harvest(QStringLiteral("Birds"), {QStringLiteral("crow"), QStringLiteral("wren")}, {1, 1});
    const auto kb = KnowledgeBaseCatalogue::findByNumber(1);
    ASSERT_TRUE(kb && *kb);
    QFile::remove(QDir((*kb)->folder).filePath(QStringLiteral("crow/index.qdx")));
    // A record without the page-number separator.
    test::writeFile(QDir((*kb)->folder).filePath(QStringLiteral("wren/index.qdx")),
                    *ScrambleLine(QByteArrayView("no separator")) + "\r\n");

    MessageCapture messages;
    ViewerWindow viewer;
    ASSERT_FALSE(messages.messages().isEmpty());
    EXPECT_EQ(messages.messages().first(),
              QStringLiteral("No matching records found for the selected keyword."));
    EXPECT_EQ(text(viewer, "lblTotalNum"), QStringLiteral("0"));
    EXPECT_FALSE(child<QPushButton>(viewer, "cmdNext")->isEnabled());

    auto *keywords = child<QComboBox>(viewer, "cmbKeyword");
    keywords->setCurrentIndex(1);
    emit keywords->activated(1);
    EXPECT_TRUE(messages.messages().last().startsWith(QStringLiteral("PopulateDetails->")));
}

TEST_F(ViewerTest, AddressBoxAndOriginalPageFollowTheConnection)
{
    harvest(QStringLiteral("Birds"), {QStringLiteral("crow")}, {1});
    MessageCapture messages;
    ViewerWindow viewer;
    const QUrl saved = viewer.pageView()->requestedUrl();

    test::FixedConnection offline(false);
    viewer.setConnectionCheck(&offline);
    click(viewer, "cmdView");
    EXPECT_EQ(messages.messages().value(0), QStringLiteral("Not connected To the internet."));
    EXPECT_EQ(viewer.pageView()->requestedUrl(), saved);

    test::FixedConnection online(true);
    viewer.setConnectionCheck(&online);
    click(viewer, "cmdView");
    EXPECT_EQ(viewer.pageView()->requestedUrl(),
              QUrl(QStringLiteral("http://127.0.0.1/Birds/crow/0.html")));

    auto *address = child<QLineEdit>(viewer, "txtURL");
    address->setText(QStringLiteral("   "));
    click(viewer, "cmdBrowse");
    EXPECT_EQ(messages.messages().value(1), QStringLiteral("Please enter URL."));
    address->setText(QStringLiteral(" 127.0.0.1:1/x.html "));
    QTest::keyClick(address, Qt::Key_Return);
    EXPECT_EQ(viewer.pageView()->requestedUrl(), QUrl(QStringLiteral("http://127.0.0.1:1/x.html")));
}

TEST_F(ViewerTest, ToolButtonsOpenOneWindowEachAndAreReachableByTab)
{
    ViewerWindow viewer;
    int made = 0;
    QWidget *made1 = nullptr;
    viewer.setWindowFactory(ViewerWindow::Tool::LeadsScan, [&](QWidget *) {
        ++made;
        made1 = new QWidget;
        made1->setAttribute(Qt::WA_DeleteOnClose);
        return made1;
    });
    EXPECT_FALSE(child<QPushButton>(viewer, "cmdZebCorvane")->isEnabled());
    click(viewer, "cmdLeadsScan");
    click(viewer, "cmdLeadsScan");
    EXPECT_EQ(made, 1);
    EXPECT_TRUE(made1->isVisible());
    delete made1;

    for (QPushButton *b : viewer.findChildren<QPushButton *>())
        EXPECT_EQ(b->focusPolicy() & Qt::TabFocus, Qt::TabFocus) << b->objectName().toStdString();
}

} // namespace
