// Throughput of the leads scan on one file: chunked reading, run splitting and extraction,
// for text with addresses, binary data and one endless run of address characters.

#include "scan/LeadsScan.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <random>

using namespace corvane;

namespace {

QByteArray makeText(qsizetype size)
{
    std::mt19937 random(7);
    QByteArray text;
    text.reserve(size + 100);
    int n = 0;
    while (text.size() < size) {
        text += "Contact our office for prices and delivery; write to ";
        text += "sales" + QByteArray::number(n++ % 5000) + "@firm" +
                QByteArray::number(random() % 900) + ".com";
        text += " or visit the showroom.\n";
    }
    return text;
}

QByteArray makeBinary(qsizetype size)
{
    std::mt19937 random(9);
    QByteArray bytes(size, '\0');
    for (char &c : bytes)
        c = char(random());
    return bytes;
}

void scanFile(benchmark::State &state, const QByteArray &content)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("f.dat");
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(content);
    file.close();
    for (auto _ : state) {
        LeadsScan scan(AddressFilterList(QStringLiteral(".com#")));
        benchmark::DoNotOptimize(scan.runFileScan(path).ok());
        benchmark::DoNotOptimize(scan.leads().count());
    }
    state.SetBytesProcessed(state.iterations() * content.size());
}

void BM_ScanText(benchmark::State &state)
{
    scanFile(state, makeText(state.range(0)));
}
void BM_ScanBinary(benchmark::State &state)
{
    scanFile(state, makeBinary(state.range(0)));
}
void BM_ScanEndlessRun(benchmark::State &state)
{
    scanFile(state, QByteArray(state.range(0), 'a') + "@b.com");
}

BENCHMARK(BM_ScanText)->Arg(64 << 20)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ScanBinary)->Arg(64 << 20)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ScanEndlessRun)->Arg(64 << 20)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
