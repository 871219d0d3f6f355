// Leads per second of the verifier against a real DNS server (dnsmasq on loopback), and
// the cost of a server that never answers, measured in virtual time.
//
//   bench_verify [--benchmark_filter=...]

#include "DnsmasqServer.h"
#include "FakeDnsServer.h"

#include "common/DataFolder.h"
#include "verify/LeadVerifier.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace corvane;

namespace {

constexpr int kDomains = 1000;
constexpr int kLeads = 10000;

// Seven domains in ten have a mail exchanger; leads cycle through the domains so that no
// two neighbours share one.
QStringList benchLeads(int count)
{
    QStringList leads;
    leads.reserve(count);
    for (int i = 0; i < count; ++i)
        leads << QStringLiteral("user%1@d%2.test").arg(i).arg(i % kDomains);
    return leads;
}

QList<test::DnsmasqServer::Mx> benchRecords()
{
    QList<test::DnsmasqServer::Mx> records;
    for (int d = 0; d < kDomains; ++d)
        if (d % 10 < 7)
            records.append(
                {QStringLiteral("d%1.test").arg(d), QStringLiteral("mx.d%1.test").arg(d), 10});
    return records;
}

struct RunResult
{
    int valid = 0;
    int queries = 0;
};

RunResult runToCompletion(LeadVerifier &verifier, VirtualTimerSource *virtualTime)
{
    QEventLoop loop;
    QObject::connect(&verifier, &LeadVerifier::completed, &loop, &QEventLoop::quit);
    if (!verifier.verify())
        return {};
    if (virtualTime) {
        // Let the sends go out, then jump to the next deadline, until the run ends.
        while (verifier.isRunning()) {
            loop.processEvents(QEventLoop::AllEvents, 5);
            virtualTime->advanceToNext();
        }
    } else if (verifier.isRunning()) {
        loop.exec();
    }
    return {verifier.validCount(), verifier.queriesSent()};
}

void BM_VerifyAgainstDnsmasq(benchmark::State &state)
{
    const auto profile = CrawlProfile(state.range(0));
    test::DnsmasqServer dns;
    QString error;
    if (!dns.start(benchRecords(), &error)) {
        state.SkipWithError(error.toUtf8().constData());
        return;
    }
    const QStringList leads = benchLeads(kLeads);
    RunResult result;
    for (auto _ : state) {
        QTemporaryDir home;
        DataFolder::setRoot(home.path());
        LeadVerifier verifier(RealTimerSource::instance(), profile);
        verifier.setDnsServer(dns.endpoint());
        verifier.addLeads(leads);
        QElapsedTimer wall;
        wall.start();
        result = runToCompletion(verifier, nullptr);
        state.SetIterationTime(double(wall.nsecsElapsed()) / 1e9);
    }
    state.counters["leads_per_s"] = benchmark::Counter(double(kLeads) * double(state.iterations()),
                                                       benchmark::Counter::kIsRate);
    state.counters["valid"] = result.valid;
    state.counters["queries"] = result.queries;
}

// A server that never answers: every question costs the full ten-second wait. Reported
// in virtual seconds, since the wall time would be hours in classic.
void BM_VerifySilentServerVirtual(benchmark::State &state)
{
    const auto profile = CrawlProfile(state.range(0));
    const int count = int(state.range(1));
    test::FakeDnsServer silent;
    const QStringList leads = benchLeads(count);
    RunResult result;
    qint64 virtualMs = 0;
    for (auto _ : state) {
        QTemporaryDir home;
        DataFolder::setRoot(home.path());
        VirtualTimerSource timers;
        LeadVerifier verifier(timers, profile);
        verifier.setDnsServer(QStringLiteral("127.0.0.1:%1").arg(silent.port()));
        verifier.addLeads(leads);
        result = runToCompletion(verifier, &timers);
        virtualMs = timers.nowMs();
    }
    state.counters["virtual_s"] = double(virtualMs) / 1000.0;
    state.counters["leads_per_virtual_s"] = virtualMs > 0 ? count * 1000.0 / double(virtualMs) : 0;
    state.counters["queries"] = result.queries;
}

} // namespace

BENCHMARK(BM_VerifyAgainstDnsmasq)
    ->ArgName("modern")
    ->Arg(int(CrawlProfile::Classic))
    ->Arg(int(CrawlProfile::Modern))
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VerifySilentServerVirtual)
    ->ArgNames({"modern", "leads"})
    ->Args({int(CrawlProfile::Classic), 1000})
    ->Args({int(CrawlProfile::Modern), kLeads})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
