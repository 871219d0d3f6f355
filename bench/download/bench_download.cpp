// Pages per second of the page downloader against nginx on loopback, fifty pages in flight
// the way a crawl burst keeps them, and the peak resident memory of the process.
//
//   bench_download [--benchmark_...]     CORVANE_BENCH_PAGES (default 20000) pages
//
// The site is generated once into a temporary folder and served by nginx for the run.

#include "engine/CurlDownloader.h"

#include "../../tests/engine/download/NginxSite.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <memory>

using namespace corvane;

namespace {

int pageCount()
{
    bool ok = false;
    const int n = qEnvironmentVariableIntValue("CORVANE_BENCH_PAGES", &ok);
    return ok && n > 0 ? n : 20000;
}

struct Site
{
    QTemporaryDir dir;
    std::unique_ptr<test::NginxSite> nginx;
};

Site *site()
{
    static Site *s = [] {
        auto *made = new Site;
        made->nginx = std::make_unique<test::NginxSite>(QStringLiteral(CORVANE_SOURCE_DIR),
                                                        made->dir.path(), pageCount());
        if (!made->nginx->start())
            qFatal("bench_download: %s", qPrintable(made->nginx->error()));
        return made;
    }();
    return s;
}

// Downloads every page of the site, keeping `inFlight` requests running.
void downloadSite(benchmark::State &state, bool robots)
{
    Site *s = site();
    const int pages = pageCount();
    DownloadOptions options;
    options.honourRobots = robots;
    qint64 bytes = 0;
    int empty = 0;
    for (auto _ : state) {
        CurlDownloader downloader(options);
        QEventLoop loop;
        int next = 0;
        int arrived = 0;
        QObject::connect(&downloader, &PageDownloader::DownloadComplete, &loop,
                         [&](int slot, const QString &, const QByteArray &body) {
                             bytes += body.size();
                             empty += body.isEmpty() ? 1 : 0;
                             if (++arrived == pages)
                                 loop.quit();
                             else if (next < pages)
                                 downloader.Download(
                                     s->nginx->url(test::NginxSite::pagePath(next++)), 20000, slot);
                         });
        const int inFlight = static_cast<int>(state.range(0));
        for (int slot = 1; slot <= inFlight && next < pages; ++slot)
            downloader.Download(s->nginx->url(test::NginxSite::pagePath(next++)), 20000, slot);
        loop.exec();
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["pages_per_s"] =
        benchmark::Counter(static_cast<double>(pages) * static_cast<double>(state.iterations()),
                           benchmark::Counter::kIsRate);
    state.counters["bytes_per_s"] =
        benchmark::Counter(static_cast<double>(bytes), benchmark::Counter::kIsRate);
    state.counters["empty_pages"] = empty;
    state.counters["peak_rss_MiB"] = static_cast<double>(usage.ru_maxrss) / 1024.0;
}

void BM_DownloadSite(benchmark::State &state)
{
    downloadSite(state, true);
}
void BM_DownloadSiteNoRobots(benchmark::State &state)
{
    downloadSite(state, false);
}

BENCHMARK(BM_DownloadSite)
    ->Arg(50)
    ->Arg(8)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);
BENCHMARK(BM_DownloadSiteNoRobots)
    ->Arg(50)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    delete site();
    return 0;
}
