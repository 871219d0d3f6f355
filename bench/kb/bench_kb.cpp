// Store throughput: pages stored per second, paging through an index, and the cost of one
// rewrite of a large index.
//
//   build/<name>/bin/bench_kb

#include "common/DataFolder.h"
#include "kb/PageStore.h"
#include "kb/RecordCursor.h"
#include "kb/ScrambleLine.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace corvane;

namespace {

constexpr int kTerms = 10;
constexpr int kPages = 20000;

QStringList terms()
{
    QStringList list;
    for (int i = 0; i < kTerms; ++i)
        list << QStringLiteral("Term%1").arg(i);
    return list;
}

QByteArray page(int n, const QString &term)
{
    return "<html><head><title>Page " + QByteArray::number(n) + " about " + term.toLatin1() +
           "</title></head><body>" + QByteArray(2000, 'x') + "</body></html>";
}

// A knowledge base of kPages pages spread over kTerms terms; returns its first keyword folder.
QString storeAll(const QString &root, int pages)
{
    PageStore store([] { return QDateTime(QDate(2026, 1, 1), QTime(12, 0)); });
    PageStoreSettings settings;
    settings.root = root;
    settings.baseName = QStringLiteral("Bench");
    settings.selectedTerms = terms();
    store.setSettings(settings);
    for (int n = 0; n < pages; ++n) {
        const QString term = settings.selectedTerms[n % kTerms];
        (void)store.SaveTaxonomy(QStringLiteral("http://site%1.test/page").arg(n), page(n, term));
    }
    return store.knowledgeBaseFolder(store.KnowledgeBaseName()) + QStringLiteral("/Term0");
}

void BM_StorePages(benchmark::State &state)
{
    for (auto _ : state) {
        QTemporaryDir home;
        DataFolder::setRoot(home.path());
        storeAll(home.filePath(QStringLiteral("KB")), kPages);
    }
    state.SetItemsProcessed(state.iterations() * kPages);
}
BENCHMARK(BM_StorePages)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_PageThroughIndex(benchmark::State &state)
{
    QTemporaryDir home;
    DataFolder::setRoot(home.path());
    const QString folder = storeAll(home.filePath(QStringLiteral("KB")), kPages);
    int rows = 0;
    for (auto _ : state) {
        RecordCursor cursor;
        (void)cursor.OpenFile(folder, QStringLiteral("index.qdx"));
        (void)cursor.MoveFirst();
        rows = cursor.RowCount();
        for (int i = 0; i < rows; ++i) {
            (void)cursor.MoveNext();
            benchmark::DoNotOptimize(cursor.GetDataFromRow(0));
        }
    }
    state.SetItemsProcessed(state.iterations() * rows);
    state.counters["rows"] = rows;
}
BENCHMARK(BM_PageThroughIndex)->Unit(benchmark::kMillisecond);

void BM_WriteDataOn5000Rows(benchmark::State &state)
{
    QTemporaryDir home;
    const QString folder = home.filePath(QStringLiteral("Term"));
    QDir().mkpath(folder);
    QByteArray content;
    for (int n = 1; n <= 5000; ++n)
        content +=
            encodeRecord(QStringLiteral("%1##http://site%1.test/page").arg(n)).value() + "\r\n";
    QFile file(folder + QStringLiteral("/index.qdx"));
    (void)file.open(QIODevice::WriteOnly);
    file.write(content);
    file.close();
    RecordCursor cursor;
    (void)cursor.OpenFile(folder, QStringLiteral("index.qdx"));
    const QString replacement = ScrambleLine(QStringView(u"2500##http://other.test/")).value();
    for (auto _ : state)
        benchmark::DoNotOptimize(cursor.WriteData(2, replacement, 2500));
    state.counters["rows"] = cursor.RowCount();
}
BENCHMARK(BM_WriteDataOn5000Rows)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
