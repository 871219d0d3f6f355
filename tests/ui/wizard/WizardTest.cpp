#include "kb/Catalogues.h"
#include "support/TestSupport.h"
#include "ui/HarvestWindow.h"
#include "ui/InputDialog.h"
#include "ui/MailGroupDeleteDialog.h"
#include "ui/MessageDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QListView>
#include <QMouseEvent>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

using namespace corvane;

class WizardTest : public ::testing::Test
{
protected:
    template <typename W>
    W *child(const char *name)
    {
        W *w = window.findChild<W *>(QLatin1String(name));
        EXPECT_NE(w, nullptr) << name;
        return w;
    }
    void click(const char *name) { QTest::mouseClick(child<QPushButton>(name), Qt::LeftButton); }
    int tab() { return child<QTabWidget>("stabEmailExt")->currentIndex(); }

    test::TempDataFolder home;
    HarvestWindow window;
};

TEST_F(WizardTest, StartsWithTheFactoryValuesAndTheProxyFrameClosed)
{
    EXPECT_EQ(tab(), 0);
    EXPECT_TRUE(child<QRadioButton>("optSearchType0")->isChecked());
    EXPECT_EQ(child<QComboBox>("cmbPage")->currentText(), QStringLiteral("30"));
    EXPECT_FALSE(child<QComboBox>("cmbPage")->isEditable());
    EXPECT_EQ(child<QComboBox>("cmbStop")->currentText(), QStringLiteral("60"));
    EXPECT_EQ(child<QComboBox>("cmbSearched")->currentText(), QStringLiteral("100000"));
    EXPECT_EQ(child<QComboBox>("cmbEmail")->currentText(), QStringLiteral("10000"));
    EXPECT_EQ(child<QComboBox>("cmbType")->currentText(), QStringLiteral("Normal Proxy"));
    EXPECT_EQ(child<QLineEdit>("txtProxy")->text(), QStringLiteral("10.0.0.1"));
    EXPECT_EQ(child<QLineEdit>("txtPort")->text(), QStringLiteral("80"));
    EXPECT_TRUE(child<QGroupBox>("fraProxy")->isHidden());
    EXPECT_FALSE(child<QLineEdit>("txtPath")->isEnabled());
    EXPECT_FALSE(child<QListView>("lstTaxonomy")->isEnabled());
    EXPECT_FALSE(child<QPushButton>("cmdImport")->isEnabled());
    EXPECT_EQ(child<QPushButton>("cmdStart")->text(), QStringLiteral("&Start"));
    EXPECT_EQ(child<QPushButton>("cmdStop")->text(), QStringLiteral("S&top"));
    for (const char *name : {"cmdNext1", "cmdStart", "cmdStop", "cmdSaveEmail", "cmdAdv"})
        EXPECT_TRUE(child<QPushButton>(name)->focusPolicy() & Qt::TabFocus) << name;

    click("cmdAdv");
    EXPECT_FALSE(child<QGroupBox>("fraProxy")->isHidden());
}

TEST_F(WizardTest, SearchTypeSwitchesWhichSourceIsEditable)
{
    QTest::mouseClick(child<QRadioButton>("optSearchType2"), Qt::LeftButton);
    EXPECT_EQ(child<QLineEdit>("txtURL")->text(), QStringLiteral("http://"));
    EXPECT_TRUE(child<QLineEdit>("txtURL")->isEnabled());
    EXPECT_FALSE(child<QListView>("lstEngines")->isEnabled());
    QTest::mouseClick(child<QRadioButton>("optSearchType1"), Qt::LeftButton);
    EXPECT_TRUE(child<QPushButton>("cmdImport")->isEnabled());
    EXPECT_FALSE(child<QLineEdit>("txtURL")->isEnabled());
    QTest::mouseClick(child<QRadioButton>("optSearchType0"), Qt::LeftButton);
    EXPECT_TRUE(child<QListView>("lstEngines")->isEnabled());
    EXPECT_FALSE(child<QPushButton>("cmdAddURL")->isEnabled());

    // Only one of the two e-mail type lists can be edited at a time.
    EXPECT_TRUE(child<QListView>("lstEmail")->isEnabled());
    EXPECT_FALSE(child<QListView>("lstIncEmail")->isEnabled());
    QTest::mouseClick(child<QRadioButton>("optExclude1"), Qt::LeftButton);
    EXPECT_FALSE(child<QListView>("lstEmail")->isEnabled());
    EXPECT_TRUE(child<QPushButton>("cmdAddEmail1")->isEnabled());
    EXPECT_EQ(window.job().typeMode, EmailTypeMode::Include);
}

TEST_F(WizardTest, NextButtonsCheckInOrderAndStayOnAFailedTab)
{
    MessageCapture messages;
    click("cmdNext1");
    ASSERT_EQ(messages.messages().size(), 1);
    EXPECT_EQ(messages.messages().last(),
              QStringLiteral("Select atleast one search engine from the list."));
    EXPECT_EQ(tab(), 0);

    QTest::mouseClick(child<QRadioButton>("optSearchType1"), Qt::LeftButton);
    click("cmdNext1");
    EXPECT_EQ(messages.messages().last(), QStringLiteral("Select atleast one URL from the list."));

    QTest::mouseClick(child<QRadioButton>("optSearchType2"), Qt::LeftButton);
    child<QLineEdit>("txtURL")->setText(QStringLiteral("  "));
    click("cmdNext1");
    EXPECT_EQ(messages.messages().last(), QStringLiteral("Please enter URL."));
    child<QLineEdit>("txtURL")->setText(QStringLiteral("http://127.0.0.1/"));
    click("cmdNext1");
    EXPECT_EQ(tab(), 2); // a single URL needs no keywords

    const qsizetype shown = messages.messages().size();
    child<QComboBox>("cmbStop")->setEditText(QStringLiteral("abc"));
    click("cmdNext3");
    EXPECT_EQ(messages.messages().last(), QStringLiteral("Please enter numeric search duration."));
    EXPECT_EQ(tab(), 2);
    // Zero passes the tab check but not Start.
    child<QComboBox>("cmbStop")->setEditText(QStringLiteral("0"));
    child<QComboBox>("cmbEmail")->setEditText(QString());
    click("cmdNext3");
    EXPECT_EQ(messages.messages().last(),
              QStringLiteral("Please enter maximum number of Leads to be extracted."));
    child<QComboBox>("cmbEmail")->setEditText(QStringLiteral("5"));
    click("cmdNext3");
    EXPECT_EQ(tab(), 3);
    click("cmdNext4");
    EXPECT_EQ(tab(), 4);
    EXPECT_EQ(messages.messages().size(), shown + 2);

    click("cmdStart");
    EXPECT_EQ(
        messages.messages().last(),
        QStringLiteral("The Search duration should be greater than zero, under settings tab."));
    EXPECT_FALSE(window.crawl().isRunning());
}

TEST_F(WizardTest, DeleteMailGroupOpensOnTheSelectedGroupAndReloadsTheList)
{
    MailGroupCatalogue groups;
    ASSERT_TRUE(groups.LoadMailGroups());
    ASSERT_TRUE(groups.AddMailGroup(QStringLiteral("birds")));
    ASSERT_TRUE(groups.AddMailGroup(QStringLiteral("fish")));
    QTest::mouseClick(child<QRadioButton>("optSearch1"), Qt::LeftButton);
    QComboBox *list = child<QComboBox>("cmbSearchList");
    ASSERT_EQ(list->count(), 2);
    list->setCurrentIndex(1);

    // "fish" has no knowledge base, so Delete removes the group at once.
    QString preselected;
    QTimer::singleShot(0, [&] {
        auto *dialog = window.findChild<MailGroupDeleteDialog *>();
        ASSERT_NE(dialog, nullptr);
        preselected = dialog->mailGroupBox()->currentText();
        QTest::mouseClick(dialog->deleteButton(), Qt::LeftButton);
        dialog->reject();
    });
    click("cmdDelGroup");
    EXPECT_EQ(preselected, QStringLiteral("fish"));
    ASSERT_EQ(list->count(), 1);
    EXPECT_EQ(list->currentText(), QStringLiteral("birds"));
}

TEST_F(WizardTest, ChosenTabShowsItsSecondPictureUntilTheMouseMovesOverTheStrip)
{
    EXPECT_EQ(window.tabPicture(0), 2);
    EXPECT_EQ(window.tabPicture(2), 1);
    QTabWidget *tabs = child<QTabWidget>("stabEmailExt");
    tabs->setCurrentIndex(2);
    EXPECT_EQ(window.tabPicture(0), 1);
    EXPECT_EQ(window.tabPicture(2), 2);
    QMouseEvent move(QEvent::MouseMove, QPointF(tabs->tabBar()->tabRect(1).center()),
                     QPointF(tabs->tabBar()->mapToGlobal(tabs->tabBar()->tabRect(1).center())),
                     Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(tabs->tabBar(), &move);
    EXPECT_EQ(window.tabPicture(2), 1);
    EXPECT_EQ(tabs->currentIndex(), 2);
}
