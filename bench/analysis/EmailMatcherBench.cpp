// Address matching throughput on HTML.
//
//   bench/gen-html-corpus.py /tmp/corpus.html 200
//   CORVANE_BENCH_CORPUS=/tmp/corpus.html build/<name>/bin/bench_email_matcher
//
// Without CORVANE_BENCH_CORPUS a 64 MB corpus of the same shape is built in memory.

#include "analysis/EmailMatcher.h"
#include "analysis/LeadFilters.h"
#include "analysis/PageAnalyser.h"
#include "analysis/TextListModel.h"
#include "analysis/TextSet.h"

#include <QByteArray>
#include <QFile>

#include <benchmark/benchmark.h>

#include <cstdlib>

using namespace corvane;

namespace {

QByteArray builtInCorpus(qsizetype size)
{
    static const char *const paragraphs[] = {
        "<p>Our services and products for customers in the market, quality and delivery policy. ",
        "<li><a href=\"/about/team.html\">Team</a></li>\n<li><a "
        "href=\"/news/events.html\">News</a></li>\n",
        "<style>@media screen { body { margin: 0 } } .nav a { color: #333; }</style>\n",
        "<p>Follow @acme or ask root@server for the information report and the research price "
        "list. ",
    };
    QByteArray corpus;
    corpus.reserve(size + 4096);
    int n = 0;
    while (corpus.size() < size) {
        for (const char *paragraph : paragraphs)
            corpus += paragraph;
        corpus += QByteArray(n % 2 ? "Write to <a href=\"mailto:sales" : "Contact: john.smith") +
                  QByteArray::number(n) + "@acme" + QByteArray::number(n) + ".com\">us</a></p>\n";
        ++n;
    }
    return corpus;
}

const QByteArray &corpus()
{
    static const QByteArray data = [] {
        if (const char *path = std::getenv("CORVANE_BENCH_CORPUS")) {
            QFile file(QString::fromLocal8Bit(path));
            if (file.open(QIODevice::ReadOnly))
                return file.readAll();
            std::fprintf(stderr, "cannot read %s, using the built-in corpus\n", path);
        }
        return builtInCorpus(64 << 20);
    }();
    return data;
}

void BM_MatcherAlone(benchmark::State &state)
{
    const QByteArray &text = corpus();
    qsizetype matches = 0;
    for (auto _ : state) {
        qsizetype lengths = 0;
        matches = forEachEmailMatch(text, [&](qsizetype, qsizetype length) { lengths += length; });
        benchmark::DoNotOptimize(lengths);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * text.size());
    state.counters["matches"] = double(matches);
}
BENCHMARK(BM_MatcherAlone)->Unit(benchmark::kMillisecond);

void BM_ExtractWithFilters(benchmark::State &state)
{
    const QByteArray &text = corpus();
    LeadFilters filters;
    filters.addressFilters =
        AddressFilterList(QStringLiteral(".com#.net#.org#.de#.uk#.fr#.au#.nl#.it#.es#.io#"));
    filters.excludedDomains = {QStringLiteral("spam"), QStringLiteral("example")};
    filters.excludedTypes = {QStringLiteral("noreply")};
    int leads = 0;
    for (auto _ : state) {
        LeadSet set;
        TextListModel list;
        leads = ExtractEmails(text, filters, set, list);
        benchmark::DoNotOptimize(leads);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * text.size());
    state.counters["leads"] = leads;
}
BENCHMARK(BM_ExtractWithFilters)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
