#include "common/LeadFile.h"
#include "engine/DemoWebServer.h"
#include "engine/RunLimits.h"
#include "support/TestSupport.h"
#include "ui/frmMain.h"
#include "ui/frmMsgBox.h"

#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

#include <gtest/gtest.h>

using namespace corvane;

// A whole run of the demo web through the window: Start, Stop, Start again, Save Leads.
TEST(HarvestWindowTest, HarvestsASiteStopsResumesAndSavesTheLeads)
{
    test::TempDataFolder home;
    DemoWebServer server;
    ASSERT_TRUE(server.start()) << server.errorString().toStdString();

    frmMain window(frmMain::Options{QUrl(server.url(QStringLiteral("/"))), CrawlProfile::Modern});
    MessageCapture messages;
    const auto button = [&](const char *name) {
        return window.findChild<QPushButton *>(QLatin1String(name));
    };
    QTest::mouseClick(window.findChild<QRadioButton *>(QStringLiteral("optSearchType2")),
                      Qt::LeftButton);
    window.findChild<QLineEdit *>(QStringLiteral("txtURL"))
        ->setText(server.url(QStringLiteral("/acme/")));

    QTest::mouseClick(button("cmdStart"), Qt::LeftButton);
    ASSERT_TRUE(messages.messages().isEmpty()) << messages.messages().join('|').toStdString();
    EXPECT_EQ(window.appliedProxyType(), QStringLiteral("No Proxy")); // frame never opened
    EXPECT_TRUE(QTest::qWaitFor([&] { return window.context().lstResult.count() > 0; }, 30000));

    QTest::mouseClick(button("cmdStop"), Qt::LeftButton);
    EXPECT_FALSE(window.crawl().isRunning());
    EXPECT_TRUE(button("cmdStart")->isEnabled());
    const qint32 pagesAtStop = window.crawl().pageCounter();

    QTest::mouseClick(button("cmdStart"), Qt::LeftButton);
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return messages.messages().contains(RunMessages::SingleUrlDone); }, 60000))
        << messages.messages().join('|').toStdString();
    EXPECT_GE(window.crawl().pageCounter(), pagesAtStop);
    ASSERT_FALSE(window.leads().isEmpty());
    EXPECT_TRUE(window.leads().contains(QStringLiteral("support@acme.example")) ||
                !window.leads().filter(QStringLiteral("acme")).isEmpty());

    const QString file = home.file(QStringLiteral("leads.csv"));
    window.setLeadFileChooser([&](QWidget *) { return file; });
    QTest::mouseClick(button("cmdSaveEmail"), Qt::LeftButton);
    const QByteArray saved = test::readFile(file);
    EXPECT_TRUE(saved.startsWith("Email Id\r\n")) << saved.toStdString();
    for (const QString &lead : window.leads())
        EXPECT_TRUE(saved.contains(lead.toLatin1() + "\r\n")) << lead.toStdString();
}
