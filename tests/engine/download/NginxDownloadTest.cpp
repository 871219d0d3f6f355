#include "DownloadTestSupport.h"
#include "NginxSite.h"
#include "support/TestSupport.h"

#include "engine/CurlDownloader.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

// The downloader against a real web server: a few hundred pages, fifty in flight, each
// page's body exactly the file nginx serves.
TEST(NginxDownloadTest, EveryPageOfAStaticSiteArrivesIntact)
{
    TempDataFolder home;
    QTemporaryDir dir;
    constexpr int kPages = 400;
    NginxSite site(sourceDir(), dir.path(), kPages);
    if (!site.start())
        GTEST_SKIP() << site.error().toStdString();

    CurlDownloader downloader;
    ArrivalLog log(&downloader);
    int next = 0;
    QObject::connect(&downloader, &PageDownloader::DownloadComplete, &downloader,
                     [&](int slot, const QString &, const QByteArray &) {
                         if (next < kPages)
                             downloader.Download(site.url(NginxSite::pagePath(next++)), 20000,
                                                 slot);
                     });
    for (int slot = 1; slot <= 50; ++slot)
        downloader.Download(site.url(NginxSite::pagePath(next++)), 20000, slot);
    // The robots-forbidden page of the site.
    downloader.Download(site.url(QStringLiteral("/private/index.htm")), 20000, 1);
    ASSERT_TRUE(log.waitFor(kPages + 1, 120000));

    int checked = 0;
    for (const Arrival &a : log.arrivals) {
        if (a.url.contains(QLatin1String("/private/"))) {
            EXPECT_TRUE(a.body.isEmpty());
            continue;
        }
        const QString path = a.url.mid(site.url(QString()).size());
        EXPECT_EQ(a.body, readFile(dir.path() + path)) << path.toStdString();
        ++checked;
    }
    EXPECT_EQ(checked, kPages);
    EXPECT_EQ(downloader.robotsFetches(), 1);
}

} // namespace
