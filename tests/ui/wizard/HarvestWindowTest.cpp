#include "ui/HarvestWindow.h"
#include "common/LeadFile.h"
#include "engine/DemoWebServer.h"
#include "engine/ResumeController.h"
#include "engine/RunLimits.h"
#include "engine/e2e/DemoWebLeads.h"
#include "support/FaultInjector.h"
#include "support/TestSupport.h"
#include "ui/InputDialog.h"
#include "ui/LeadSourceHints.h"
#include "ui/MessageDialog.h"
#include "ui/ResumeDialog.h"

#include <QComboBox>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QRadioButton>
#include <QTcpServer>
#include <QTest>

#include <gtest/gtest.h>

using namespace corvane;

namespace {

// The harvest window set up for runs of the demo web, with its probe at the demo server.
class HarvestWindowTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        test::installFaults(server);
        ASSERT_TRUE(server.start()) << server.errorString().toStdString();
    }

    void openWindow(const QUrl &probe, SearchType type = SearchType::SingleUrl)
    {
        window = std::make_unique<HarvestWindow>();
        window->findChild<QLineEdit *>(QStringLiteral("txtProbe"))->setText(probe.toString());
        window->findChild<QComboBox *>(QStringLiteral("cmbProfile"))
            ->setCurrentText(QStringLiteral("modern"));
        QTest::mouseClick(
            window->findChild<QRadioButton *>(QStringLiteral("optSearchType%1").arg(int(type))),
            Qt::LeftButton);
        window->findChild<QLineEdit *>(QStringLiteral("txtURL"))
            ->setText(server.url(QStringLiteral("/coastal/")));
        window->findChild<QComboBox *>(QStringLiteral("cmbPage"))->setCurrentIndex(0);
    }
    QPushButton *button(const char *name) const
    {
        return window->findChild<QPushButton *>(QLatin1String(name));
    }
    // Types text into the input box the button opens.
    void add(const char *buttonName, const QString &text)
    {
        setInputHook([&](InputMode) -> std::optional<QString> { return text; });
        QTest::mouseClick(button(buttonName), Qt::LeftButton);
        setInputHook({});
    }
    bool waitFor(const QString &message, int ms = 60000)
    {
        return QTest::qWaitFor([&] { return messages.messages().contains(message); }, ms);
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
    EXPECT_EQ(window->session().run().proxy, ProxySettings{}); // the frame was never opened
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

    ASSERT_TRUE(waitFor(RunMessages::SingleUrlDone)) << messages.messages().join('|').toStdString();
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

    // The other choice: every lead of the run, stopped and gone on, with the page it is on.
    const QString withSources = home.file(QStringLiteral("sources.csv"));
    window->setLeadFileChooser([&](QWidget *) { return LeadSaveChoice{withSources, true}; });
    QTest::mouseClick(button("cmdSaveEmail"), Qt::LeftButton);
    const QStringList rows = QString::fromUtf8(test::readFile(withSources))
                                 .split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
    ASSERT_EQ(rows.size(), window->leads().size() + 1);
    EXPECT_TRUE(rows[0].startsWith(QStringLiteral("email,source_url,page_title,")));
    for (qsizetype row = 1; row < rows.size(); ++row)
        EXPECT_TRUE(rows[row].startsWith(window->leads().at(row - 1) + QLatin1Char(',') +
                                         server.url(QStringLiteral("/"))))
            << rows[row].toStdString();

    // Each listed lead tells where it was found, and opens it.
    auto *leadList = window->findChild<QListView *>(QStringLiteral("lstMailList"));
    auto *hints = leadList->findChild<LeadSourceHints *>();
    ASSERT_TRUE(hints);
    QList<QUrl> opened;
    hints->setOpener([&](const QUrl &link) { opened << link; });
    const QModelIndex first = leadList->model()->index(0, 0);
    const std::optional<LeadSource> source = window->session().leadSource(window->leads().at(0));
    ASSERT_TRUE(source);
    EXPECT_TRUE(hints->toolTip(first).startsWith(QStringLiteral("Found at ") + source->location));
    emit leadList->doubleClicked(first);
    EXPECT_EQ(opened, QList<QUrl>{QUrl(source->location)});
}

// The maximum pages typed while a run waits on a slow page ends it at the next tick.
TEST_F(HarvestWindowTest, LoweringTheMaximumPagesMidRunEndsTheRun)
{
    openWindow(server.url(QStringLiteral("/")));
    window->findChild<QLineEdit *>(QStringLiteral("txtURL"))
        ->setText(server.url(QStringLiteral("/_fault/hold?ms=60000")));
    QTest::mouseClick(button("cmdStart"), Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([&] { return window->crawl().pageCounter() == 2; }, 10000));
    window->findChild<QComboBox *>(QStringLiteral("cmbSearched"))->setEditText(QStringLiteral("1"));
    ASSERT_TRUE(waitFor(RunMessages::PageLimit, 5000));
    EXPECT_EQ(window->crawl().state(), CrawlState::EndedByLimit);
    EXPECT_FALSE(button("cmdStart")->isEnabled());
    EXPECT_TRUE(button("cmdSaveEmail")->isEnabled());
}

// Start URLs leave the list as their downloads start; an unchecked domain filter does
// nothing; a URL added after the list ran out is fetched at the next Start.
TEST_F(HarvestWindowTest, UrlListIsUsedUpOnScreenAndOnlyCheckedDomainsCount)
{
    openWindow(server.url(QStringLiteral("/")), SearchType::UrlList);
    add("cmdAddURL", server.url(QStringLiteral("/coastal/")));
    add("cmdAddURL", server.url(QStringLiteral("/acme/")));
    auto *urls = window->findChild<QListView *>(QStringLiteral("lstURLList"));
    urls->selectionModel()->select(urls->model()->index(1, 0), QItemSelectionModel::Deselect);
    add("cmdAddDomain", QStringLiteral("coastal-demo"));
    add("cmdAddDomain", QStringLiteral("birchwood-demo"));
    auto *domains = window->findChild<QListView *>(QStringLiteral("lstDomains"));
    domains->model()->setData(domains->model()->index(0, 0), Qt::Unchecked, Qt::CheckStateRole);

    QTest::mouseClick(button("cmdStart"), Qt::LeftButton);
    ASSERT_TRUE(waitFor(RunMessages::UrlListDone)) << messages.messages().join('|').toStdString();
    EXPECT_EQ(window->job().urlList.texts(), QStringList{server.url(QStringLiteral("/acme/"))});
    EXPECT_EQ(urls->model()->rowCount(), 1);
    QStringList expected = test::kFromCoastalLeads;
    for (const QString &lead : test::kBirchwoodLeads)
        expected.removeOne(lead);
    EXPECT_EQ(test::sorted(window->leads()), expected);

    QTest::mouseClick(button("cmdStop"), Qt::LeftButton);
    add("cmdAddURL", server.url(QStringLiteral("/_fault/hold?ms=10")));
    QTest::mouseClick(button("cmdStart"), Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return server.requestCount(QStringLiteral("/_fault/hold")) > 0; }, 10000));
    EXPECT_EQ(window->job().urlList.texts(), QStringList{server.url(QStringLiteral("/acme/"))});
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

    ASSERT_TRUE(waitFor(RunMessages::SingleUrlDone)) << messages.messages().join('|').toStdString();
    EXPECT_EQ(test::sorted(window->leads()), test::kFromCoastalLeads);
    EXPECT_EQ(window->findChild<ResumeDialog *>(), nullptr);
}
