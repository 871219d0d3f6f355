// The lead database's costs: what recording leads and a verifier answer cost the thread that
// records them, how many leads a recorder writes per second, and how fast a large database
// lists as CSV.
//
//   build/release/bin/bench_leads                 the benchmarks below
//   build/release/bin/bench_leads fill DIR N      DIR/leads.sqlite with N leads, for list-csv.sh

#include "leads/LeadDatabase.h"
#include "leads/LeadFormats.h"
#include "leads/RunRecorder.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>

using namespace corvane;

namespace {

// Leads as a harvest finds them: ten to a page, each page with its own address and title.
QString leadAddress(qint64 n)
{
    return QStringLiteral("person%1@host%2.example.com").arg(n).arg(n % 5000);
}
QString pageAddress(qint64 n)
{
    return QStringLiteral("http://host%1.example.com/team/page%2.html")
        .arg(n / 10 % 5000)
        .arg(n / 10);
}
QString pageTitle(qint64 n)
{
    return QStringLiteral("Our team, page %1").arg(n / 10);
}

// Records n leads in one run, a page's ten at a time as a harvest hands them over; returns
// the seconds the caller spent recording them and the seconds until the run was committed
// in full.
std::pair<double, double> fill(const QString &path, qint64 n)
{
    auto recorder = RunRecorder::start(path, RunKind::Harvest, {{"bench", true}});
    if (!recorder) {
        std::fprintf(stderr, "%s\n", qPrintable(recorder.message()));
        std::exit(1);
    }
    // The texts are made beforehand: the harvest has them already when it records.
    constexpr qint64 kBlock = 10000;
    constexpr qsizetype kPerPage = 10;
    QStringList leads, pages, titles;
    QElapsedTimer total;
    total.start();
    qint64 callerNs = 0;
    for (qint64 start = 0; start < n; start += kBlock) {
        leads.clear();
        pages.clear();
        titles.clear();
        for (qint64 i = start; i < std::min(n, start + kBlock); ++i) {
            leads << leadAddress(i);
            pages << pageAddress(i);
            titles << pageTitle(i);
        }
        QElapsedTimer caller;
        caller.start();
        for (qsizetype i = 0; i < leads.size(); i += kPerPage)
            recorder.value()->recordLeads(leads.mid(i, kPerPage), pages[i], titles[i]);
        callerNs += caller.nsecsElapsed();
    }
    if (auto ended = recorder.value()->endRun(QStringLiteral("filled")); !ended) {
        std::fprintf(stderr, "%s\n", qPrintable(ended.message()));
        std::exit(1);
    }
    return {callerNs / 1e9, total.nsecsElapsed() / 1e9};
}

// recordLeads as the harvest calls it, a page's ten leads at a time, with the writer
// committing behind it; items are leads.
void BM_RecordLeadsOnCallerThread(benchmark::State &state)
{
    QTemporaryDir dir;
    auto recorder = RunRecorder::start(dir.filePath("leads.sqlite"), RunKind::Harvest, {});
    const QString page = pageAddress(0);
    const QString title = pageTitle(0);
    qint64 n = 0;
    QList<QStringList> pages;
    for (int i = 0; i < 4096; i += 10) {
        pages.append(QStringList());
        for (int j = i; j < i + 10; ++j)
            pages.back() << leadAddress(j);
    }
    for (auto _ : state)
        recorder.value()->recordLeads(pages[n++ % pages.size()], page, title);
    (void)recorder.value()->endRun({});
    state.SetItemsProcessed(state.iterations() * 10);
}
BENCHMARK(BM_RecordLeadsOnCallerThread)->Iterations(20000);

// Leads recorded and committed per second, new leads on pages of ten.
void BM_RecorderThroughput(benchmark::State &state)
{
    const qint64 n = state.range(0);
    double callerSeconds = 0;
    for (auto _ : state) {
        QTemporaryDir dir;
        callerSeconds += fill(dir.filePath("leads.sqlite"), n).first;
    }
    state.SetItemsProcessed(state.iterations() * n);
    state.counters["caller_ns_per_lead"] = callerSeconds * 1e9 / double(state.iterations() * n);
}
BENCHMARK(BM_RecorderThroughput)->Arg(200000)->Unit(benchmark::kMillisecond)->UseRealTime();

// One verifier answer, committed on the caller's thread as the verifier window records it.
void BM_RecordVerification(benchmark::State &state)
{
    QTemporaryDir dir;
    auto db = LeadDatabase::open(dir.filePath("leads.sqlite"));
    qint64 n = 0;
    for (auto _ : state) {
        if (!db.value().recordVerification({leadAddress(n++), true, QStringLiteral("mx.test")}))
            state.SkipWithError("not recorded");
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_RecordVerification)->UseRealTime();

// The whole database as CSV, written to /dev/null.
void BM_ListCsv(benchmark::State &state)
{
    const qint64 n = state.range(0);
    QTemporaryDir dir;
    const QString path = dir.filePath("leads.sqlite");
    fill(path, n);
    auto db = LeadDatabase::open(path);
    QFile null(QStringLiteral("/dev/null"));
    if (!db || !null.open(QIODevice::WriteOnly)) {
        state.SkipWithError("cannot open");
        return;
    }
    for (auto _ : state) {
        const auto count = writeLeads(db.value(), {}, csvFormat(), null);
        if (!count || *count != n)
            state.SkipWithError("listing failed");
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_ListCsv)->Arg(1000000)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (argc == 4 && qstrcmp(argv[1], "fill") == 0) {
        const QString path = QString::fromLocal8Bit(argv[2]) + QStringLiteral("/leads.sqlite");
        const qint64 n = QByteArray(argv[3]).toLongLong();
        const auto [caller, total] = fill(path, n);
        std::printf("%lld leads recorded in %.2f s (%.0f leads/s committed); recording cost "
                    "the caller %.0f ns per lead\n",
                    n, total, n / total, caller * 1e9 / double(n));
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
