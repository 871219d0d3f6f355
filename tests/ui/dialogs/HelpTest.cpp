#include "support/TestSupport.h"
#include "ui/DialogState.h"
#include "ui/HelpWindow.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <gtest/gtest.h>

using namespace corvane;

namespace {

QString bundledPage(const QString &page)
{
    QFile file(QStringLiteral(":/corvane/HelpFiles/") + page);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

bool hasAnchor(const QString &html, const QString &anchor)
{
    const QRegularExpression target(
        QStringLiteral("(id|name)=\"%1\"").arg(QRegularExpression::escape(anchor)));
    return target.match(html).hasMatch();
}

} // namespace

TEST(HelpPages, EveryHelpButtonFindsItsPageAndAnchor)
{
    test::TempDataFolder home;
    const QString main = bundledPage(help::kMainPage);
    ASSERT_FALSE(main.isEmpty());
    for (int index = 0; index < 5; ++index) {
        const QString anchor = help::mainWindowAnchor(index);
        ASSERT_TRUE(anchor.startsWith(QLatin1Char('#'))) << index;
        EXPECT_TRUE(hasAnchor(main, anchor.mid(1))) << anchor.toStdString();
    }
    EXPECT_TRUE(help::mainWindowAnchor(5).isEmpty());
    EXPECT_TRUE(help::mainWindowAnchor(-1).isEmpty());
    for (const QString &page :
         {help::kViewerPage, help::kLeadsScanPage, help::kVerifierPage, help::kOutlookPage}) {
        const QString html = bundledPage(page);
        EXPECT_TRUE(html.contains(QLatin1String("</html>"))) << page.toStdString();
        EXPECT_FALSE(html.contains(QLatin1String("TODO"))) << page.toStdString();
    }
}

TEST(HelpPages, AddressPrefersTheDataFoldersCopy)
{
    test::TempDataFolder home;
    const QUrl bundled = helpAddress(help::kMainPage, QStringLiteral("#filter"));
    EXPECT_EQ(bundled, QUrl(QStringLiteral("qrc:/corvane/HelpFiles/Corvane.htm#filter")));
    EXPECT_EQ(helpAddress(help::kMainPage, QStringLiteral("filter")), bundled);

    test::writeFile(home.file(QStringLiteral("HelpFiles/Corvane.htm")), "<html>mine</html>");
    const QUrl own = helpAddress(help::kMainPage, QStringLiteral("#result"));
    EXPECT_TRUE(own.isLocalFile());
    EXPECT_EQ(own.toLocalFile(), home.file(QStringLiteral("HelpFiles/Corvane.htm")));
    EXPECT_EQ(own.fragment(), QStringLiteral("result"));
}

TEST(HelpPages, PagesAreCopiedToDiskWithoutOverwritingTheUsersOwn)
{
    test::TempDataFolder home;
    test::writeFile(home.file(QStringLiteral("HelpFiles/KB.htm")), "edited");
    const QString path = helpPageOnDisk(help::kMainPage);
    ASSERT_FALSE(path.isEmpty());
    EXPECT_EQ(test::readFile(path),
              test::readFile(QStringLiteral(":/corvane/HelpFiles/Corvane.htm")));
    EXPECT_EQ(test::readFile(home.file(QStringLiteral("HelpFiles/KB.htm"))), QByteArray("edited"));
    EXPECT_TRUE(helpPageOnDisk(QStringLiteral("missing.htm")).isEmpty());
}

TEST(HelpWindow, OneWindowGoesToEachNewAddress)
{
    test::TempDataFolder home;
    HelpWindow *first = HelpWindow::showHelp(help::kMainPage, help::mainWindowAnchor(3));
    ASSERT_NE(first, nullptr);
    EXPECT_TRUE(first->isVisible());
    EXPECT_EQ(first->helpAddress().fragment(), QStringLiteral("filter"));
    EXPECT_EQ(dialogState().helpAddress, first->helpAddress().toString());
    EXPECT_NE(first->findChild<QWidget *>(QStringLiteral("webHelp")), nullptr);
#ifndef CORVANE_HAVE_WEBENGINE
    EXPECT_EQ(first->shownAddress(), first->helpAddress());
#endif
    HelpWindow *second = HelpWindow::showHelp(help::kVerifierPage);
    EXPECT_EQ(second, first);
    EXPECT_TRUE(second->helpAddress().path().endsWith(QLatin1String("/leadsverifier.htm")));
    first->close();
    QTest::qWait(0);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(HelpWindow::instance(), nullptr);
}
