// Full-text search over 100,000 stored pages: time per query for common words, rare words,
// two-word and phrase queries and prefixes, median and worst; also the cost of indexing a
// page and of the first search of a program (opening the index).
//
//   build/<name>/bin/bench_kb_search [--benchmark_filter=...]
//
// The pages are generated (a Zipf-distributed vocabulary: English function words on top of
// fifty thousand made-up words; 180 to 2,000 words a page, with markup, scripts and styles
// around the prose) and indexed once into $TMPDIR/corvane-bench-search-<pages>, which later
// runs reuse while it holds them all (an index of another layout opens empty, and is built
// again; building takes a few minutes).

#include "common/DataFolder.h"
#include "kb/SearchIndex.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

using namespace corvane;

namespace {

constexpr int kPages = 100000;
constexpr int kVocabulary = 50000;

const char *const kCommonWords[] = {
    "the",  "of",   "and",   "to",      "in",    "a",     "is",    "that",  "for",     "it",
    "as",   "was",  "with",  "be",      "by",    "on",    "not",   "he",    "this",    "are",
    "or",   "his",  "from",  "at",      "which", "but",   "have",  "an",    "had",     "they",
    "you",  "were", "their", "one",     "all",   "we",    "can",   "her",   "has",     "there",
    "been", "if",   "more",  "when",    "will",  "would", "who",   "so",    "no",      "out",
    "page", "home", "about", "contact", "news",  "shop",  "price", "order", "service", "team"};

class Vocabulary
{
public:
    Vocabulary()
    {
        QRandomGenerator random(7);
        static const char *const syllables[] = {"ka",  "lo",  "mi",  "ne",  "ru",  "sa",  "ti",
                                                "vo",  "ber", "con", "dis", "gen", "har", "lin",
                                                "mor", "pel", "qui", "ste", "tra", "und", "ex",
                                                "al",  "or",  "im",  "pro", "zen", "fa",  "dor"};
        QSet<QString> seen;
        for (const char *word : kCommonWords) {
            m_words.append(QString::fromLatin1(word));
            seen.insert(m_words.back());
        }
        while (m_words.size() < kVocabulary) {
            QString word;
            const int parts = 2 + int(random.bounded(3));
            for (int i = 0; i < parts; ++i)
                word += QLatin1String(syllables[random.bounded(int(std::size(syllables)))]);
            if (!seen.contains(word)) {
                seen.insert(word);
                m_words.append(word);
            }
        }
        // Zipf with exponent 1: the word of rank r turns up in proportion to 1 / r.
        double sum = 0;
        for (int rank = 1; rank <= kVocabulary; ++rank) {
            sum += 1.0 / rank;
            m_cumulative.push_back(sum);
        }
    }

    const QString &word(QRandomGenerator &random) const
    {
        const double at = random.generateDouble() * m_cumulative.back();
        const auto rank = std::lower_bound(m_cumulative.begin(), m_cumulative.end(), at);
        return m_words[std::min<qsizetype>(rank - m_cumulative.begin(), m_words.size() - 1)];
    }
    const QString &byRank(int rank) const { return m_words[rank]; }

private:
    QStringList m_words;
    std::vector<double> m_cumulative;
};

const Vocabulary &vocabulary()
{
    static const Vocabulary words;
    return words;
}

QString prose(QRandomGenerator &random, int words)
{
    QString text;
    for (int i = 0; i < words; ++i) {
        if (i > 0)
            text += (i % 14 == 0) ? QStringLiteral(". ") : QStringLiteral(" ");
        text += vocabulary().word(random);
    }
    return text;
}

QByteArray page(QRandomGenerator &random, QString *title)
{
    *title = prose(random, 4 + int(random.bounded(6)));
    // Lengths spread evenly on a log scale around 600 words, from about 180 to 2,000.
    int left = int(600 * std::exp(1.2 * (random.generateDouble() * 2 - 1)));
    QString html = QStringLiteral("<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>") +
                   *title +
                   QStringLiteral("</title><style>body{margin:0} .nav a{color:#333}</style>"
                                  "<script>var cfg = {user: 'guest'}; function go(u) "
                                  "{ location = u; }</script></head><body><ul class=\"nav\">");
    for (int i = 0; i < 8; ++i)
        html +=
            QStringLiteral("<li><a href=\"/%1.html\">%1</a></li>").arg(vocabulary().word(random));
    html += QStringLiteral("</ul>");
    while (left > 0) {
        const int words = std::min(left, 30 + int(random.bounded(60)));
        html += QStringLiteral("<p>") + prose(random, words) + QStringLiteral(" &amp; more.</p>\n");
        left -= words;
    }
    html += QStringLiteral("<footer>&copy; Example</footer></body></html>");
    return html.toUtf8();
}

QString indexFolder()
{
    return QDir(QDir::tempPath()).filePath(QStringLiteral("corvane-bench-search-%1").arg(kPages));
}

// The index of kPages generated pages, built on first use.
SearchIndex &index()
{
    static std::optional<SearchIndex> opened = [] {
        const QString folder = indexFolder();
        const QString done = QDir(folder).filePath(QStringLiteral("complete"));
        DataFolder::setRoot(folder);
        const bool whole = QFile::exists(done) && SearchIndex::open().value().pageCount() == kPages;
        if (!whole) {
            QDir(folder).removeRecursively();
            QDir().mkpath(folder);
            std::fprintf(stderr, "Indexing %d pages into %s ...\n", kPages, qPrintable(folder));
            SearchIndex building = SearchIndex::open().value();
            QRandomGenerator random(2026);
            QElapsedTimer timer;
            timer.start();
            for (int n = 1; n <= kPages; ++n) {
                QString title;
                const QByteArray html = page(random, &title);
                const IndexedPage where{
                    1 + n % 5, QStringLiteral("Base%1").arg(1 + n % 5),
                    QStringLiteral("Term%1").arg(n % 20), n,
                    QStringLiteral("http://site%1.example/page/%2").arg(n % 3000).arg(n)};
                if (!building.addPage(where, title, html)) {
                    std::fprintf(stderr, "indexing failed\n");
                    std::exit(1);
                }
                if (n % 10000 == 0)
                    std::fprintf(stderr, "  %d pages, %.0f s\n", n, timer.elapsed() / 1000.0);
            }
            QFile(done).open(QIODevice::WriteOnly);
            std::fprintf(stderr, "Index: %.0f MB\n",
                         QFileInfo(SearchIndex::defaultPath()).size() / 1e6);
        }
        return std::optional<SearchIndex>(SearchIndex::open().value());
    }();
    return *opened;
}

// Query classes, each a list the repetitions cycle through.
QStringList queries(int kind)
{
    const Vocabulary &words = vocabulary();
    QStringList list;
    switch (kind) {
    case 0: // common: among the twenty most frequent words, on most pages
        for (int rank = 0; rank < 20; ++rank)
            list << words.byRank(rank);
        break;
    case 1: // rare: ranks 10,000 to 50,000, on a handful of pages each
        for (int rank = 10000; rank < kVocabulary; rank += 2000)
            list << words.byRank(rank);
        break;
    case 2: // a common and a rare word
        for (int i = 0; i < 20; ++i)
            list << words.byRank(i) + QLatin1Char(' ') + words.byRank(10000 + 1500 * i);
        break;
    case 3: // two common words as a phrase
        for (int i = 0; i < 20; ++i)
            list << QStringLiteral("\"%1 %2\"").arg(words.byRank(i), words.byRank(i + 1));
        break;
    case 4: // prefixes of three letters and more
        for (int rank = 100; rank < 2100; rank += 100)
            list << words.byRank(rank).left(3 + rank % 3) + QLatin1Char('*');
        break;
    }
    return list;
}

const char *const kKindNames[] = {"common word", "rare word", "common and rare word",
                                  "phrase of two common words", "prefix"};

void BM_Search(benchmark::State &state)
{
    SearchIndex &searched = index();
    const QStringList list = queries(int(state.range(0)));
    static int next = 0;
    qint64 total = 0;
    for (auto _ : state) {
        const QString &query = list[next++ % list.size()];
        Result<SearchResults> results = searched.search(query, {}, 20);
        if (!results) {
            state.SkipWithError(qPrintable(results.message()));
            return;
        }
        total = results->total;
    }
    state.SetLabel(kKindNames[state.range(0)]);
    state.counters["matches"] = double(total);
}

double worst(const std::vector<double> &times)
{
    return *std::max_element(times.begin(), times.end());
}

BENCHMARK(BM_Search)
    ->DenseRange(0, 4)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(40)
    ->ComputeStatistics("worst", worst)
    ->ReportAggregatesOnly(true);

// As the command line runs it: open the index, search, close.
void BM_OpenAndSearch(benchmark::State &state)
{
    index();
    const QStringList list = queries(0);
    int next = 0;
    for (auto _ : state) {
        Result<SearchIndex> opened = SearchIndex::open();
        benchmark::DoNotOptimize(opened.value().search(list[next++ % list.size()], {}, 20));
    }
}
BENCHMARK(BM_OpenAndSearch)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(20)
    ->ComputeStatistics("worst", worst)
    ->ReportAggregatesOnly(true);

// Indexing one page (text extraction and the index's own work) into a scratch index.
void BM_IndexPage(benchmark::State &state)
{
    const QString folder = indexFolder() + QStringLiteral("-scratch");
    QDir(folder).removeRecursively();
    QDir().mkpath(folder);
    SearchIndex scratch =
        SearchIndex::open(QDir(folder).filePath(QStringLiteral("s.sqlite"))).value();
    QRandomGenerator random(99);
    QList<QByteArray> pages;
    QStringList titles;
    for (int i = 0; i < 200; ++i) {
        QString title;
        pages.append(page(random, &title));
        titles.append(title);
    }
    int n = 0;
    for (auto _ : state) {
        const int at = n % pages.size();
        benchmark::DoNotOptimize(scratch.addPage(
            {1, QStringLiteral("Base"), QStringLiteral("Term"), ++n, QStringLiteral("http://x/")},
            titles[at], pages[at]));
    }
    state.SetItemsProcessed(state.iterations());
    QDir(folder).removeRecursively();
}
BENCHMARK(BM_IndexPage)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
