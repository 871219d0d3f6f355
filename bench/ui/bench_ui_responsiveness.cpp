// How responsive the harvest window stays while it harvests a large site: a static site of
// generated pages served by nginx on 127.0.0.1, a URL-list job set up through the window's
// own controls (modern profile, knowledge base on), run until the page limit ends it.
//
//   bench_ui_responsiveness [--pages N] [--site-pages M] [--site DIR] [--size WxH]
//                           [--big-every K] [--big-size KIB]
//
// Every K-th page of the site (default 200) is made about KIB KiB big (default 2048), as a
// crawl meets big pages now and then. Prints pages per second, the longest single event
// delivery on the UI thread (what it was and who received it) with the 99th percentile, and
// how late a 10 ms timer came at worst. Runs on the offscreen platform unless
// QT_QPA_PLATFORM says otherwise; the exit code is 1 when the run did not reach N pages.

#include "UiLatency.h"

#include "common/DataFolder.h"
#include "ui/HarvestWindow.h"
#include "ui/InputDialog.h"
#include "ui/MessageDialog.h"

#include "../../tests/engine/download/NginxSite.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCommandLineParser>
#include <QEventLoop>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>
#include <map>
#include <optional>

using namespace corvane;

namespace {

QString ms(qint64 ns)
{
    return QString::number(double(ns) / 1e6, 'f', 1) + QStringLiteral(" ms");
}

template <typename W>
W *control(HarvestWindow &window, const char *name)
{
    W *widget = window.findChild<W *>(QLatin1String(name));
    if (!widget)
        qFatal("bench_ui_responsiveness: the harvest window has no %s", name);
    return widget;
}

// The wizard as a user fills it: a knowledge base named "Bench" whose taxonomy term "Page"
// matches every page title of the site, the site's start page as the one URL of the list,
// the page limit at `pages` and no lead limit to speak of; then Next through to the result
// tab.
void fillWizard(HarvestWindow &window, const QString &startUrl, int pages)
{
    const std::map<InputMode, QString> typed{{InputMode::AddKnowledgebase, QStringLiteral("Bench")},
                                             {InputMode::AddTaxonomy, QStringLiteral("Page")},
                                             {InputMode::AddURL, startUrl}};
    setInputHook([&](InputMode mode) -> std::optional<QString> {
        const auto it = typed.find(mode);
        return it == typed.end() ? std::nullopt : std::optional<QString>(it->second);
    });
    control<QCheckBox>(window, "chkKB")->click();
    control<QPushButton>(window, "cmdAddTax")->click(); // taxonomy is edited in engine mode
    control<QRadioButton>(window, "optSearchType1")->click();
    control<QPushButton>(window, "cmdAddURL")->click();
    setInputHook({});

    control<QComboBox>(window, "cmbSearched")->setEditText(QString::number(pages));
    control<QComboBox>(window, "cmbEmail")->setEditText(QStringLiteral("100000000"));
    for (const char *next : {"cmdNext1", "cmdNext3", "cmdNext4"})
        control<QPushButton>(window, next)->click();
}

// A real crawl meets big pages now and then: every `every`-th page of the site gets about
// `bytes` of ordinary page matter before its end (navigation into the site, prose, an
// address now and then), keeping its title and its own links. A page enlarged by an
// earlier run of a kept site is left as it is.
bool enlargePages(const QString &siteDir, int sitePages, int every, qint64 bytes)
{
    if (every <= 0 || bytes <= 0)
        return true;
    for (int i = every; i < sitePages; i += every) {
        QFile page(siteDir + test::NginxSite::pagePath(i));
        if (page.size() >= bytes / 2)
            continue;
        if (!page.open(QIODevice::ReadOnly))
            return false;
        QByteArray html = page.readAll();
        page.close();
        QByteArray filler;
        filler.reserve(bytes + 2048);
        for (int block = 0; filler.size() < bytes; ++block) {
            const int a = (i * 131 + block * 17) % sitePages, b = (i + block * 7919) % sitePages;
            filler += "<div class=\"nav\"><a href=\"" + test::NginxSite::pagePath(a).toLatin1() +
                      "\">Page " + QByteArray::number(a) + "</a> | <a href=\"" +
                      test::NginxSite::pagePath(b).toLatin1() + "\">Page " + QByteArray::number(b) +
                      "</a></div>\n<p>" +
                      QByteArray("Lorem ipsum dolor sit amet, consectetur adipiscing elit. ")
                          .repeated(12);
            if (block % 4 == 0)
                filler += "Contact staff" + QByteArray::number(block) + ".page" +
                          QByteArray::number(i) + "@big-site.com.";
            filler += "</p>\n<script>var cfg = {user: 'guest'}; // user@localhost</script>\n";
        }
        html.replace("</body>", filler + "</body>");
        if (!page.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
            page.write(html) != html.size())
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    bench::LatencyApplication app(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("UI-thread latency of the harvest window during a large harvest"));
    parser.addHelpOption();
    const QCommandLineOption pagesOption(QStringLiteral("pages"),
                                         QStringLiteral("Pages to harvest (default 10000)."),
                                         QStringLiteral("N"), QStringLiteral("10000"));
    const QCommandLineOption sitePagesOption(
        QStringLiteral("site-pages"),
        QStringLiteral("Pages of the generated site (default N + 10%)."), QStringLiteral("M"));
    const QCommandLineOption siteOption(
        QStringLiteral("site"), QStringLiteral("Keep the generated site in DIR for later runs."),
        QStringLiteral("DIR"));
    const QCommandLineOption sizeOption(QStringLiteral("size"),
                                        QStringLiteral("Window size (default 1000x700)."),
                                        QStringLiteral("WxH"), QStringLiteral("1000x700"));
    const QCommandLineOption bigEveryOption(
        QStringLiteral("big-every"),
        QStringLiteral("Make every K-th page of the site big (default 200; 0: none)."),
        QStringLiteral("K"), QStringLiteral("200"));
    const QCommandLineOption bigSizeOption(
        QStringLiteral("big-size"), QStringLiteral("Size of the big pages in KiB (default 2048)."),
        QStringLiteral("KIB"), QStringLiteral("2048"));
    parser.addOptions(
        {pagesOption, sitePagesOption, siteOption, sizeOption, bigEveryOption, bigSizeOption});
    parser.process(app);
    const int pages = qMax(1, parser.value(pagesOption).toInt());
    const int sitePages =
        parser.isSet(sitePagesOption) ? parser.value(sitePagesOption).toInt() : pages + pages / 10;

    QTemporaryDir home, siteTemp;
    DataFolder::setRoot(home.path());
    const QString siteDir = parser.isSet(siteOption) ? parser.value(siteOption) : siteTemp.path();
    test::NginxSite site(QStringLiteral(CORVANE_SOURCE_DIR), siteDir, qMax(1, sitePages));
    // A kept site may still be served by an earlier run that was cut short.
    if (parser.isSet(siteOption))
        QProcess::execute(QStringLiteral(CORVANE_SOURCE_DIR "/bench/site/nginx-site.sh"),
                          {QStringLiteral("stop"), siteDir});
    if (!site.start()) {
        std::fprintf(stderr, "bench_ui_responsiveness: %s\n", qPrintable(site.error()));
        return 1;
    }

    if (!enlargePages(siteDir, sitePages, parser.value(bigEveryOption).toInt(),
                      parser.value(bigSizeOption).toLongLong() * 1024)) {
        std::fprintf(stderr, "bench_ui_responsiveness: cannot enlarge the pages in %s\n",
                     qPrintable(siteDir));
        return 1;
    }

    HarvestWindow window;
    control<QLineEdit>(window, "txtProbe")->setText(site.url(QStringLiteral("/")));
    control<QComboBox>(window, "cmbProfile")->setCurrentText(QStringLiteral("modern"));
    const QStringList size = parser.value(sizeOption).split(QLatin1Char('x'));
    window.resize(size.value(0).toInt(), size.value(1).toInt());
    window.show();
    QStringList messages;
    setMessageHook([&](const QString &text) { messages.append(text); });
    fillWizard(window, site.url(QStringLiteral("/index.htm")), pages);
    if (!messages.isEmpty()) {
        std::fprintf(stderr, "bench_ui_responsiveness: the wizard refused: %s\n",
                     qPrintable(messages.join(QStringLiteral(" | "))));
        return 1;
    }

    CrawlController &crawl = window.crawl();
    QEventLoop loop;
    QObject::connect(&crawl, &CrawlController::finished, &loop, &QEventLoop::quit);
    // A run that stops counting pages for a minute is stuck; say so rather than hang.
    QTimer watchdog;
    qint32 lastCount = -1;
    int idleSeconds = 0;
    QObject::connect(&watchdog, &QTimer::timeout, &loop, [&] {
        idleSeconds = crawl.pageCounter() == lastCount ? idleSeconds + 1 : 0;
        lastCount = crawl.pageCounter();
        if (idleSeconds >= 60 || !crawl.isRunning())
            loop.quit();
    });

    // The window's first layout and paint belong to opening it, not to the harvest.
    QCoreApplication::processEvents();

    bench::EventLoopProbe probe;
    QElapsedTimer run;
    // The page limit is looked at once a second; the rate counts up to the page that met it.
    qint64 reachedNs = 0;
    QObject::connect(&crawl, &CrawlController::progress, &loop, [&] {
        if (reachedNs == 0 && crawl.pageCounter() >= pages)
            reachedNs = run.nsecsElapsed();
    });
    app.setRecording(true);
    probe.start();
    watchdog.start(1000);
    run.start();
    control<QPushButton>(window, "cmdStart")->click();
    loop.exec();
    const qint64 runNs = run.nsecsElapsed();
    app.setRecording(false);
    probe.stop();
    watchdog.stop();
    setMessageHook({});

    const qint32 counted = crawl.pageCounter();
    const bench::LatencySummary events = app.summary();
    const bench::LatencySummary ticks = probe.summary();
    const double seconds = double(reachedNs > 0 ? reachedNs : runNs) / 1e9;
    std::printf("harvest: %d pages counted in %.2f s = %.0f pages/s (%d at the end); %lld "
                "leads, %s knowledge-base pages; ended: %s\n",
                qMin(counted, pages), seconds, qMin(counted, pages) / seconds, counted,
                static_cast<long long>(window.leads().size()),
                qPrintable(control<QLabel>(window, "lblKBCount")->text()),
                qPrintable(messages.isEmpty() ? QStringLiteral("(no message: stuck or stopped)")
                                              : messages.last()));
    const bench::LatencyApplication::Kind worst = app.worst();
    std::printf("longest event delivery: %s (%s); p99 %s; %lld of %lld deliveries over 50 ms\n",
                qPrintable(ms(worst.worstNs)), qPrintable(worst.what), qPrintable(ms(events.p99Ns)),
                static_cast<long long>(events.overBudget), static_cast<long long>(events.count));
    std::printf("event-loop probe (10 ms timer): worst lateness %s, p99 %s; %lld of %lld ticks "
                "over 50 ms late\n",
                qPrintable(ms(ticks.worstNs)), qPrintable(ms(ticks.p99Ns)),
                static_cast<long long>(ticks.overBudget), static_cast<long long>(ticks.count));
    const auto table = [](const char *title, const QList<bench::LatencyApplication::Kind> &kinds) {
        std::printf("%s\n  %10s %10s %8s  %s\n", title, "worst", "total", "count", "delivery");
        for (const auto &kind : kinds)
            std::printf("  %10s %10s %8lld  %s\n", qPrintable(ms(kind.worstNs)),
                        qPrintable(ms(kind.totalNs)), static_cast<long long>(kind.count),
                        qPrintable(kind.what));
    };
    table("slowest kinds of delivery:", app.slowestKinds(6));
    table("busiest kinds of delivery:", app.busiestKinds(6));
    const bool responsive = worst.worstNs <= bench::kBudgetNs;
    std::printf("%s: no handler over 50 ms is %s\n", responsive ? "ok" : "SLOW",
                responsive ? "kept" : "broken");
    return counted >= pages ? 0 : 1;
}
