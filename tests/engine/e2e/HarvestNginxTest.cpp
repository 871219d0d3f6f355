// Whole harvests of a generated static site served by nginx on 127.0.0.1, through the
// command line. Every page of the site carries two addresses of its own, so the lead file
// tells exactly which pages the crawl reached.

#include "../download/NginxSite.h"
#include "HarvestRun.h"

#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

constexpr int kPages = 500;

// The two addresses each page of the site carries; the robots-forbidden page's address
// is not among them.
QStringList siteLeads()
{
    QStringList leads;
    for (int i = 0; i < kPages; ++i)
        leads << QStringLiteral("sales%1@bench-site.com").arg(i)
              << QStringLiteral("help%1@bench-site.net").arg(i);
    return sorted(leads);
}

// Requests of a crawl that starts at the site's index: the index, every page, the forbidden
// page (asked for and refused by robots.txt) and one address per bare-file link. A bare
// "page-000002.htm" on a page in /pages/000/ resolves against the host, not the folder, so it
// names a page that does not exist; every page but the last links on like that.
int expectedRequests()
{
    return 1 + kPages + 1 + (kPages - 1);
}

class HarvestNginx : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(siteDir.isValid());
        site = std::make_unique<NginxSite>(sourceDir(), siteDir.path(), kPages);
        if (!site->start())
            GTEST_SKIP() << site->error().toStdString();
    }

    CliRun run(QStringList args)
    {
        const QString kbRoot = home.file(QStringLiteral("kb"));
        return harvest(home,
                       args + QStringList{QStringLiteral("--probe"), site->url(QStringLiteral("/")),
                                          QStringLiteral("--profile"), QStringLiteral("modern"),
                                          QStringLiteral("--delay"), QStringLiteral("0"),
                                          QStringLiteral("--timeout"), QStringLiteral("5"),
                                          QStringLiteral("--kb"), kbRoot,
                                          QStringLiteral("--kb-name"), QStringLiteral("Site"),
                                          QStringLiteral("--taxonomy"), QStringLiteral("Page")});
    }

    QString lastProgressLine(const CliRun &r) const
    {
        const QStringList lines = r.err.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        static const QRegularExpression progress(QStringLiteral("^\\d+:\\d\\d:\\d\\d  pages "));
        for (auto it = lines.rbegin(); it != lines.rend(); ++it)
            if (progress.match(*it).hasMatch())
                return it->trimmed();
        return {};
    }

    TempDataFolder home;
    QTemporaryDir siteDir;
    std::unique_ptr<NginxSite> site;
};

TEST_F(HarvestNginx, UrlListRunReachesEveryPublicPageAndStoresEachOnce)
{
    writeFile(home.file(QStringLiteral("urls.txt")),
              site->url(QStringLiteral("/index.htm")).toUtf8() + "\n");
    const CliRun r = run({QStringLiteral("--urls"), home.file(QStringLiteral("urls.txt"))});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_TRUE(r.endedWith(QStringLiteral("Corvane has completed the specified search.")));
    EXPECT_EQ(r.leads, siteLeads());
    EXPECT_EQ(storedPages(home, home.file(QStringLiteral("kb"))),
              (QMap<QString, int>{{QStringLiteral("Page"), kPages}}));
    EXPECT_TRUE(lastProgressLine(r).endsWith(QStringLiteral("pages %1  leads %2  main 0  links 0  "
                                                            "stored %3")
                                                 .arg(expectedRequests())
                                                 .arg(2 * kPages)
                                                 .arg(kPages)))
        << lastProgressLine(r).toStdString();
}

TEST_F(HarvestNginx, SingleUrlRunOfTheIndexEndsWithTheSameLeads)
{
    const CliRun r = run({QStringLiteral("--url"), site->url(QStringLiteral("/index.htm"))});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_TRUE(r.endedWith(QStringLiteral("Corvane has scanned specified URL.")));
    EXPECT_EQ(r.leads, siteLeads());
    // The single URL is counted twice.
    EXPECT_TRUE(lastProgressLine(r).contains(
        QStringLiteral(" pages %1  leads %2 ").arg(expectedRequests() + 1).arg(2 * kPages)))
        << lastProgressLine(r).toStdString();
}

} // namespace
