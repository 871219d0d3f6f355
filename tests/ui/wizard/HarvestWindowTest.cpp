#include "ui/HarvestWindow.h"
#include "common/LeadFile.h"
#include "engine/DemoWebServer.h"
#include "engine/ResumeController.h"
#include "engine/RunLimits.h"
#include "engine/e2e/DemoWebLeads.h"
#include "support/TestSupport.h"
#include "ui/MessageDialog.h"
#include "ui/ResumeDialog.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTcpServer>
#include <QTest>

#include <gtest/gtest.h>

using namespace corvane;

namespace {

// The harvest window set up for a single-URL run of the demo web's Coastal site.
class HarvestWindowTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(server.start()) << server.errorString().toStdString(); }

    void openWindow(const QUrl &probe)
    {
        window =
            std::make_unique<HarvestWindow>(HarvestWindow::Options{probe, CrawlProfile::Modern});
        QTest::mouseClick(window->findChild<QRadioButton *>(QStringLiteral("optSearchType2")),
                          Qt::LeftButton);
        window->findChild<QLineEdit *>(QStringLiteral("txtURL"))
            ->setText(server.url(QStringLiteral("/coastal/")));
        window->findChild<QComboBox *>(QStringLiteral("cmbPage"))->setCurrentIndex(0);
    }
    QPushButton *button(const char *name) const
    {
        return window->findChild<QPushButton *>(QLatin1String(name));
    }
    bool waitForEnd(int ms = 60000)
    {
        return QTest::qWaitFor(
            [&] { return messages.messages().contains(RunMessages::SingleUrlDone); }, ms);
    }

    test::TempDataFolder home;
    DemoWebServer server;
    MessageCapture messages;
    std::unique_ptr<HarvestWindow> window;
};

} // namespace

// Start, Stop, Start again from the queues as they stood, Save Leads.
TEST_F(HarvestWindowTest, HarvestsASiteStopsGoesOnAndSavesTheLeads)
{
    openWindow(server.url(QStringLiteral("/")));
    QTest::mouseClick(button("cmdStart"), Qt::LeftButton);
    ASSERT_TRUE(messages.messages().isEmpty()) << messages.messages().join('|').toStdString();
    EXPECT_EQ(window->appliedProxyType(), QStringLiteral("No Proxy")); // frame never opened
    EXPECT_FALSE(button("cmdStart")->isEnabled());
    EXPECT_FALSE(button("cmdSaveEmail")->isEnabled());
    ASSERT_TRUE(QTest::qWaitFor([&] { return window->context().lstResult.count() > 0; }, 30000));

    QTest::mouseClick(button("cmdStop"), Qt::LeftButton);
    EXPECT_EQ(window->crawl().state(), CrawlState::Stopped);
    EXPECT_TRUE(button("cmdStart")->isEnabled());
    EXPECT_TRUE(button("cmdSaveEmail")->isEnabled());
    const QStringList queuedAtStop = window->context().lstResult.texts();
    const qint32 pagesAtStop = window->crawl().pageCounter();
    const QStringList leadsAtStop = window->leads();

    // Going on starts from the queues, the counter and the leads as they were left.
    QTest::mouseClick(button("cmdStart"), Qt::LeftButton);
    EXPECT_EQ(window->context().lstResult.texts().mid(0, queuedAtStop.size()), queuedAtStop);
    EXPECT_GE(window->crawl().pageCounter(), pagesAtStop);
    EXPECT_EQ(window->leads().mid(0, leadsAtStop.size()), leadsAtStop);

    ASSERT_TRUE(waitForEnd()) << messages.messages().join('|').toStdString();
    EXPECT_EQ(messages.messages(), QStringList{RunMessages::SingleUrlDone});
    EXPECT_EQ(window->crawl().state(), CrawlState::EndedBySingleUrl);
    EXPECT_TRUE(button("cmdSaveEmail")->isEnabled());
    EXPECT_EQ(test::sorted(window->leads()), test::kFromCoastalLeads);

    const QString file = home.file(QStringLiteral("leads.csv"));
    window->setLeadFileChooser([&](QWidget *) { return file; });
    QTest::mouseClick(button("cmdSaveEmail"), Qt::LeftButton);
    EXPECT_EQ(QString::fromLatin1(test::readFile(file)),
              QStringLiteral("Email Id\r\n") + window->leads().join(QStringLiteral("\r\n")) +
                  QStringLiteral("\r\n"));
}

// No connection at Start: the first crawl step asks; Resume Mode waits it out and the run
// reaches everything a run without the outage reaches.
TEST_F(HarvestWindowTest, LostConnectionAsksAndResumeModeFinishesTheRun)
{
    QTcpServer probe;
    ASSERT_TRUE(probe.listen(QHostAddress::LocalHost));
    const quint16 probePort = probe.serverPort();
    probe.close();
    openWindow(QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(probePort)));

    QTest::mouseClick(button("cmdStart"), Qt::LeftButton);
    ResumeDialog *dialog = nullptr;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            dialog = window->findChild<ResumeDialog *>();
            return dialog && dialog->isVisible();
        },
        60000));
    EXPECT_EQ(window->crawl().state(), CrawlState::WaitingForConnection);
    EXPECT_EQ(window->crawl().pageCounter(), 0);

    ASSERT_TRUE(probe.listen(QHostAddress::LocalHost, probePort));
    QTest::mouseClick(dialog->resumeButton(), Qt::LeftButton);
    EXPECT_TRUE(window->crawl().resume().resumeMode());

    ASSERT_TRUE(waitForEnd()) << messages.messages().join('|').toStdString();
    EXPECT_EQ(test::sorted(window->leads()), test::kFromCoastalLeads);
    EXPECT_EQ(window->findChild<ResumeDialog *>(), nullptr);
}
