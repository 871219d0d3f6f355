#include "support/SheetFiles.h"
#include "support/TestSupport.h"

#include "DnsmasqServer.h"
#include "common/DataFolder.h"
#include "common/LeadFile.h"
#include "common/TimerSource.h"
#include "exchange/CategoryList.h"
#include "ui/DeleteConfirmDialog.h"
#include "ui/LeadsScanWindow.h"
#include "ui/LeadsVerifierWindow.h"
#include "ui/MessageDialog.h"
#include "ui/VCardExportWindow.h"

#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

#include <gtest/gtest.h>

using namespace corvane;

namespace {

class ToolWindowsTest : public ::testing::Test
{
protected:
    void TearDown() override { DeleteConfirmDialog::setAnswerHook({}); }

    template <typename T>
    static T *child(QWidget &window, const char *name)
    {
        T *found = window.findChild<T *>(QString::fromLatin1(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    static void click(QWidget &window, const char *name)
    {
        QTest::mouseClick(child<QPushButton>(window, name), Qt::LeftButton);
    }
    // Fetch reads on a worker: the count label says so until the leads are in.
    static bool fetchAndWait(QWidget &window, const QString &total)
    {
        click(window, "cmdFetch");
        auto *label = child<QLabel>(window, "lblTotLeads");
        EXPECT_TRUE(label->text().startsWith(QStringLiteral("Reading...")));
        EXPECT_FALSE(child<QPushButton>(window, "cmdFetch")->isEnabled());
        return QTest::qWaitFor([&] { return label->text() == total; }, 10000);
    }

    test::TempDataFolder home;
};

TEST_F(ToolWindowsTest, LeadsScanScansAFolderAndSavesTheLeads)
{
    const QString folder = home.file(QStringLiteral("scan"));
    ASSERT_TRUE(QDir().mkpath(folder + "/sub"));
    test::writeFile(folder + "/a.txt", "write to ann@example.com or bob@example.org\n");
    test::writeFile(folder + "/sub/b.htm", "<a href=mailto:ann@example.com>ann</a> cy@example.net");
    test::writeFile(folder + "/c.dat", "dan@example.com");

    MessageCapture messages;
    auto *window = new LeadsScanWindow;
    QPointer<LeadsScanWindow> alive(window);
    EXPECT_TRUE(child<QRadioButton>(*window, "optAction1")->isChecked());
    auto *types = child<QListWidget>(*window, "lstExt");
    // ".***", then the types read by their content.
    const int offered = 1 + int(FileTypeList::kDocumentTypes.size());
    ASSERT_EQ(types->count(), offered);
    EXPECT_EQ(types->item(0)->text(), QStringLiteral(".***"));
    EXPECT_EQ(types->item(offered - 1)->text(), QStringLiteral(".pdf"));

    click(*window, "cmdScanFolder");
    EXPECT_EQ(messages.messages().value(0), LeadsScan::kSelectFolderMessage);

    // Only .txt and .htm: the .dat file is passed over.
    auto *newType = child<QLineEdit>(*window, "txtext");
    newType->setText(QStringLiteral(".html"));
    click(*window, "cmdAddExt");
    EXPECT_EQ(messages.messages().value(1), FileTypeList::kLengthMessage);
    EXPECT_EQ(types->item(offered)->text(), QStringLiteral("html"));
    newType->setText(QStringLiteral(".txt"));
    QTest::keyClick(newType, Qt::Key_Return);
    newType->setText(QStringLiteral(".htm"));
    click(*window, "cmdAddExt");
    ASSERT_EQ(types->count(), offered + 3);
    types->item(0)->setCheckState(Qt::Unchecked);
    types->item(offered + 1)->setCheckState(Qt::Checked);
    types->item(offered + 2)->setCheckState(Qt::Checked);

    window->setFolderChooser([&] { return folder; });
    click(*window, "cmdSelectFolder");
    click(*window, "cmdScanFolder");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !window->scan().isScanning(); }, 10000));
    EXPECT_EQ(window->scan().leads().texts().size(), 3);
    EXPECT_FALSE(window->scan().leads().contains(QStringLiteral("dan@example.com")));
    EXPECT_EQ(child<QLabel>(*window, "lbllistcount")->text(), QStringLiteral("3 Leads "));
    EXPECT_EQ(child<QLabel>(*window, "lblscancount")->text(), QStringLiteral("2 Files Scanned"));

    // Remove one lead through the list's selection, then save twice: the second save asks.
    auto *emails = child<QListView>(*window, "lstEmails");
    emails->selectionModel()->select(window->scan().leads().index(0), QItemSelectionModel::Select);
    click(*window, "cmdremoveselectedemails");
    EXPECT_EQ(child<QLabel>(*window, "lbllistcount")->text(), QStringLiteral("2 Leads "));
    const QStringList kept = window->scan().leads().texts();

    const QString chosen = home.file(QStringLiteral("leads.csv"));
    window->setSaveChooser([&] { return chosen; });
    click(*window, "cmdsavelist");
    const QByteArray saved = test::readFile(chosen + ".csv");
    EXPECT_EQ(saved, "Email Id\r\n" + kept.join("\r\n").toLatin1() + "\r\n");
    QString asked;
    DeleteConfirmDialog::setAnswerHook([&](const DeleteConfirmDialog &dialog) {
        asked = dialog.questionLabel()->text();
        return false;
    });
    click(*window, "cmdsavelist");
    EXPECT_EQ(asked, LeadsScan::kReplaceQuestion);
    EXPECT_EQ(test::readFile(chosen + ".csv"), saved);

    // The CSV with sources: the leads still listed, each with the file it was found in.
    const QString withSources = home.file(QStringLiteral("sources.csv"));
    window->setSaveChooser([&] { return LeadSaveChoice{withSources, true}; });
    click(*window, "cmdsavelist");
    const QList<QByteArray> rows = test::readFile(withSources).trimmed().split('\n');
    ASSERT_EQ(rows.size(), kept.size() + 1) << test::readFile(withSources).toStdString();
    EXPECT_TRUE(rows[0].startsWith("email,source_url,"));
    for (qsizetype i = 0; i < kept.size(); ++i) {
        EXPECT_TRUE(rows[i + 1].startsWith(kept[i].toLatin1() + "," + folder.toLatin1() + "/"))
            << rows[i + 1].toStdString();
    }

    window->close(); // stores the type list
    QTest::qWait(0);
    const FileTypeList stored = FileTypeList::load();
    EXPECT_EQ(stored.count(), offered + 3);
}

TEST_F(ToolWindowsTest, ExportWritesEveryLeadAsAContactOfTheCategory)
{
    const QString leads = home.file(QStringLiteral("in.csv"));
    ASSERT_TRUE(LeadFile::write(
        leads, {QStringLiteral("ann@example.com"), QStringLiteral("bob@example.org")}));
    MessageCapture messages;
    VCardExportWindow window;
    click(window, "cmdImport");
    EXPECT_EQ(messages.messages().value(0), LeadExport::kNoLeadsMessage);
    click(window, "cmdFetch");
    EXPECT_EQ(messages.messages().value(1), LeadExport::kSelectFileMessage);

    child<QLineEdit>(window, "txtPath")->setText(QStringLiteral(" ") + leads);
    ASSERT_TRUE(fetchAndWait(window, QStringLiteral("2")));
    ASSERT_TRUE(fetchAndWait(window, QStringLiteral("4"))); // a second fetch lists them twice

    auto *category = child<QComboBox>(window, "cmbCategory");
    EXPECT_EQ(category->count(), 0);
    child<QRadioButton>(window, "optCatType1")->setChecked(true);
    EXPECT_FALSE(category->isVisibleTo(&window));
    child<QLineEdit>(window, "txtCategory")->setText(QStringLiteral("Prospects"));
    click(window, "cmdAddCat");
    ASSERT_EQ(category->count(), 1);
    EXPECT_EQ(category->currentText(), QStringLiteral("Prospects"));
    EXPECT_EQ(CategoryList::load(), QStringList{QStringLiteral("Prospects")});

    const QString vcf = home.file(QStringLiteral("out.vcf"));
    window.setVCardChooser([&] { return vcf; });
    click(window, "cmdImport");
    EXPECT_EQ(messages.messages().last(), LeadExport::kCompleteMessage);
    EXPECT_TRUE(window.exporter().leads().isEmpty());
    const QString written = QString::fromUtf8(test::readFile(vcf));
    EXPECT_EQ(written.count(QStringLiteral("BEGIN:VCARD")), 4);
    EXPECT_EQ(written.count(QStringLiteral("ann@example.com")), 2);
    EXPECT_EQ(written.count(QStringLiteral("Prospects")), 4);
}

TEST_F(ToolWindowsTest, VerifierFetchesAndRefusesAnEmptyRun)
{
    const QString leads = home.file(QStringLiteral("in.xlsx"));
    test::writeXlsx(leads, {QStringLiteral("Email Id"), QStringLiteral("ann@example.com"),
                            QStringLiteral("bob@example.org")});
    MessageCapture messages;
    VirtualTimerSource timers;
    LeadsVerifierWindow window(nullptr, timers);
    EXPECT_TRUE(QDir(DataFolder::verified()).exists());
    EXPECT_TRUE(QDir(DataFolder::unverified()).exists());
    click(window, "cmdVerify");
    EXPECT_EQ(messages.messages().value(0), LeadVerifier::kEmptyListMessage);
    EXPECT_FALSE(child<QLabel>(window, "lblStatus")->isVisibleTo(&window));

    window.setFileChooser([&] { return leads; });
    click(window, "cmdBrowse");
    EXPECT_EQ(child<QLineEdit>(window, "txtPath")->text(), leads);
    ASSERT_TRUE(fetchAndWait(window, QStringLiteral("2")));
    EXPECT_EQ(child<QListWidget>(window, "lstEmail")->item(1)->text(),
              QStringLiteral("bob@example.org"));

    // A file that is no lead sheet: its message, and the list as it was.
    test::writeFile(leads, QByteArray("PK\x03\x04 torn", 9));
    ASSERT_TRUE(fetchAndWait(window, QStringLiteral("2")));
    EXPECT_EQ(messages.messages().value(1),
              QStringLiteral("in.xlsx is not a lead sheet: it is a damaged zip archive."));
    EXPECT_TRUE(child<QPushButton>(window, "cmdFetch")->isEnabled());
    click(window, "cmdFetch"); // and the window closes while it reads
}

TEST_F(ToolWindowsTest, VerifierKeepsTheLeadsWhoseDomainHasAMailExchanger)
{
    test::DnsmasqServer dns;
    QString error;
    if (!dns.start({{QStringLiteral("good.test"), QStringLiteral("mx.good.test"), 10}}, &error))
        GTEST_SKIP() << "dnsmasq: " << error.toStdString();
    const QString leads = home.file(QStringLiteral("in.csv"));
    ASSERT_TRUE(
        LeadFile::write(leads, {QStringLiteral("ann@good.test"), QStringLiteral("bob@none.test"),
                                QStringLiteral("cy@GOOD.test")}));
    MessageCapture messages;
    LeadsVerifierWindow window;
    window.setFileChooser([&] { return leads; });
    click(window, "cmdBrowse");
    ASSERT_TRUE(fetchAndWait(window, QStringLiteral("3")));
    child<QLineEdit>(window, "txtDNS")->setText(dns.endpoint());

    click(window, "cmdVerify");
    EXPECT_TRUE(child<QPushButton>(window, "cmdStop")->isEnabled());
    EXPECT_FALSE(child<QPushButton>(window, "cmdFetch")->isEnabled());
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return child<QLabel>(window, "lblStatus")->isVisibleTo(&window); }, 60000));
    EXPECT_TRUE(messages.messages().isEmpty()) << messages.messages().join('|').toStdString();
    EXPECT_FALSE(child<QPushButton>(window, "cmdStop")->isEnabled());
    EXPECT_TRUE(child<QPushButton>(window, "cmdVerify")->isEnabled());
    EXPECT_EQ(child<QListWidget>(window, "lstEmail")->count(), 0);
    QStringList valid;
    for (int row = 0; row < child<QListWidget>(window, "lstValid")->count(); ++row)
        valid << child<QListWidget>(window, "lstValid")->item(row)->text();
    EXPECT_EQ(valid,
              (QStringList{QStringLiteral("ann@good.test"), QStringLiteral("cy@GOOD.test")}));
    EXPECT_EQ(child<QLabel>(window, "lblVLeads")->text(), QStringLiteral("2"));
}

} // namespace
