// corvane-cli harvest: one harvest run from the command line.
//
//   harvest (--engine NAME --keywords K1,K2 | --url URL | --urls FILE | --demo) [options]
//
// The run goes exactly as in the harvest window: the crawl timer takes bursts, the run
// limits end it, a lost connection waits and resumes. Progress goes to stderr (one live
// line on a terminal, plain lines otherwise), the end-of-run message to stdout, and the
// leads to the lead file given by --out (else to stdout), also when Ctrl-C stops the run.

#include "Command.h"

#include "analysis/AnalysisContext.h"
#include "common/DataFolder.h"
#include "common/LeadFile.h"
#include "engine/ConnectionProbe.h"
#include "engine/CrawlController.h"
#include "engine/CrawlWiring.h"
#include "engine/CurlDownloader.h"
#include "engine/DemoWebServer.h"
#include "engine/HarvestJob.h"
#include "engine/ResumeController.h"
#include "engine/RunLimits.h"
#include "engine/SearchListProvider.h"
#include "engine/TempCleaner.h"
#include "kb/Catalogues.h"
#include "kb/PageStore.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSocketNotifier>
#include <QTimer>
#include <QUrl>

#include <csignal>
#include <cstdio>
#include <sys/socket.h>
#include <unistd.h>

using namespace corvane;
using namespace corvane::cli;

namespace {

QStringList commaList(const QStringList &values)
{
    QStringList items;
    for (const QString &value : values)
        for (const QString &item : value.split(QLatin1Char(',')))
            if (!item.trimmed().isEmpty())
                items << item.trimmed();
    return items;
}

// Ctrl-C becomes an ordinary event: the handler only writes a byte to a socket pair that
// the event loop watches.
class InterruptWatch
{
public:
    explicit InterruptWatch(std::function<void()> onInterrupt)
    {
        if (::socketpair(AF_UNIX, SOCK_STREAM, 0, s_fds) != 0)
            return;
        m_notifier = std::make_unique<QSocketNotifier>(s_fds[1], QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [this, onInterrupt] {
            char byte = 0;
            if (::read(s_fds[1], &byte, 1) > 0)
                onInterrupt();
        });
        struct sigaction action = {};
        action.sa_handler = [](int) {
            const char byte = 1;
            [[maybe_unused]] const auto written = ::write(s_fds[0], &byte, 1);
        };
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_RESTART;
        ::sigaction(SIGINT, &action, nullptr);
        ::sigaction(SIGTERM, &action, nullptr);
    }
    ~InterruptWatch()
    {
        ::signal(SIGINT, SIG_DFL);
        ::signal(SIGTERM, SIG_DFL);
        m_notifier.reset();
        if (s_fds[0] >= 0) {
            ::close(s_fds[0]);
            ::close(s_fds[1]);
            s_fds[0] = s_fds[1] = -1;
        }
    }

private:
    static inline int s_fds[2] = {-1, -1};
    std::unique_ptr<QSocketNotifier> m_notifier;
};

// "--proxy TYPE://[user:pass@]host:port" as the job's proxy fields.
std::optional<QString> applyProxy(const QString &text, HarvestJob &job)
{
    const QUrl url(text, QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    static const QHash<QString, QString> types = {
        {QStringLiteral("http"), QStringLiteral("Normal Proxy")},
        {QStringLiteral("socks4"), QStringLiteral("SOCKS4 Proxy")},
        {QStringLiteral("socks5"), QStringLiteral("SOCKS5 Proxy")}};
    if (!url.isValid() || !types.contains(scheme) || url.host().isEmpty() || url.port() <= 0)
        return QStringLiteral(
                   "--proxy wants TYPE://[user:pass@]host:port with TYPE http, socks4 or socks5, "
                   "not \"%1\"")
            .arg(text);
    job.proxyType = types.value(scheme);
    job.proxyHost = url.host();
    job.proxyPort = QString::number(url.port());
    job.proxyUserName = url.userName();
    job.proxyPassword = url.password();
    return std::nullopt;
}

std::optional<QString> readUrlFile(const QString &path, HarvestJob &job)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (!line.isEmpty() && !line.startsWith(QLatin1Char('#')))
            job.urlList.append(ListChoice{line, true});
    }
    if (job.urlList.isEmpty())
        return QStringLiteral("%1 lists no URL").arg(path);
    return std::nullopt;
}

// The knowledge base's name is also a mail group, as when the window switches it on.
std::optional<QString> ensureMailGroup(const QString &name)
{
    MailGroupCatalogue groups;
    if (Result<void> loaded = groups.LoadMailGroups(); !loaded)
        return loaded.message();
    for (const CatalogueEntry &entry : groups.entries())
        if (entry.text.trimmed() == name.trimmed())
            return std::nullopt;
    if (Result<CatalogueEntry> added = groups.AddMailGroup(name); !added)
        return added.message();
    return std::nullopt;
}

class ProgressLine
{
public:
    explicit ProgressLine(bool live) : m_live(live) {}

    void show(const QString &text, bool force = false)
    {
        if (m_live) {
            writeErr(QStringLiteral("\r%1\x1b[K").arg(text));
            m_open = true;
        } else if (force || ++m_ticks % 5 == 0) {
            writeErr(text + QLatin1Char('\n'));
        }
    }
    void finish()
    {
        if (m_open)
            writeErr(QStringLiteral("\n"));
        m_open = false;
    }

private:
    bool m_live;
    bool m_open = false;
    int m_ticks = 0;
};

int harvest(const QStringList &args)
{
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption engineOpt(
        QStringLiteral("engine"), QStringLiteral("search engine by name"), QStringLiteral("NAME"));
    const QCommandLineOption keywordsOpt(QStringLiteral("keywords"),
                                         QStringLiteral("keywords, comma-separated"),
                                         QStringLiteral("K1,K2"));
    const QCommandLineOption urlOpt(QStringLiteral("url"), QStringLiteral("one start URL"),
                                    QStringLiteral("URL"));
    const QCommandLineOption urlsOpt(QStringLiteral("urls"), QStringLiteral("file of start URLs"),
                                     QStringLiteral("FILE"));
    const QCommandLineOption minutesOpt(QStringLiteral("minutes"), QStringLiteral("stop after"),
                                        QStringLiteral("N"));
    const QCommandLineOption pagesOpt(QStringLiteral("pages"), QStringLiteral("maximum pages"),
                                      QStringLiteral("N"));
    const QCommandLineOption leadsOpt(QStringLiteral("leads"), QStringLiteral("maximum leads"),
                                      QStringLiteral("N"));
    const QCommandLineOption timeoutOpt(
        QStringLiteral("timeout"), QStringLiteral("page time-out, seconds"), QStringLiteral("S"));
    const QCommandLineOption excludeDomainOpt(
        QStringLiteral("exclude-domain"), QStringLiteral("excluded domains"), QStringLiteral("D"));
    const QCommandLineOption excludeTypeOpt(QStringLiteral("exclude-type"),
                                            QStringLiteral("excluded e-mail types"),
                                            QStringLiteral("T"));
    const QCommandLineOption includeTypeOpt(QStringLiteral("include-type"),
                                            QStringLiteral("e-mail types to include"),
                                            QStringLiteral("T"));
    const QCommandLineOption kbOpt(QStringLiteral("kb"), QStringLiteral("knowledge-base root"),
                                   QStringLiteral("ROOT"));
    const QCommandLineOption kbNameOpt(
        QStringLiteral("kb-name"), QStringLiteral("knowledge-base name"), QStringLiteral("NAME"));
    const QCommandLineOption taxonomyOpt(QStringLiteral("taxonomy"),
                                         QStringLiteral("taxonomy terms"), QStringLiteral("T1,T2"));
    const QCommandLineOption favoritesOpt(QStringLiteral("favorites"),
                                          QStringLiteral("create favourites"));
    const QCommandLineOption noEmailsOpt(QStringLiteral("no-emails"),
                                         QStringLiteral("exclude e-mail extraction"));
    const QCommandLineOption proxyOpt(QStringLiteral("proxy"), QStringLiteral("proxy"),
                                      QStringLiteral("TYPE://[user:pass@]host:port"));
    const QCommandLineOption remoteDnsOpt(QStringLiteral("remote-dns"),
                                          QStringLiteral("use remote DNS"));
    const QCommandLineOption profileOpt(QStringLiteral("profile"),
                                        QStringLiteral("classic or modern"), QStringLiteral("P"));
    const QCommandLineOption probeOpt(
        QStringLiteral("probe"), QStringLiteral("connection probe address"), QStringLiteral("URL"));
    const QCommandLineOption outOpt(QStringLiteral("out"), QStringLiteral("lead file"),
                                    QStringLiteral("FILE"));
    const QCommandLineOption demoOpt(QStringLiteral("demo"),
                                     QStringLiteral("harvest the bundled demo web"));
    parser.addOptions({engineOpt,      keywordsOpt, urlOpt,       urlsOpt,          minutesOpt,
                       pagesOpt,       leadsOpt,    timeoutOpt,   excludeDomainOpt, excludeTypeOpt,
                       includeTypeOpt, kbOpt,       kbNameOpt,    taxonomyOpt,      favoritesOpt,
                       noEmailsOpt,    proxyOpt,    remoteDnsOpt, profileOpt,       probeOpt,
                       outOpt,         demoOpt});
    if (!parser.parse(QStringList{QStringLiteral("harvest")} + args))
        return usageError(parser.errorText());
    if (!parser.positionalArguments().isEmpty())
        return usageError(QStringLiteral("harvest takes no argument \"%1\"")
                              .arg(parser.positionalArguments().first()));

    const bool demo = parser.isSet(demoOpt);
    const int sources =
        int(parser.isSet(engineOpt)) + int(parser.isSet(urlOpt)) + int(parser.isSet(urlsOpt));
    if (sources > 1 || (sources == 0 && !demo))
        return usageError(
            QStringLiteral("harvest needs one of --engine, --url and --urls, or --demo"));

    const auto profile =
        parseCrawlProfile(parser.value(profileOpt).isEmpty()
                              ? (demo ? QStringLiteral("modern") : QStringLiteral("classic"))
                              : parser.value(profileOpt));
    if (!profile)
        return usageError(QStringLiteral("--profile is classic or modern, not \"%1\"")
                              .arg(parser.value(profileOpt)));

    // The demo web runs in this process; everything below treats it like any site.
    std::unique_ptr<DemoWebServer> demoServer;
    if (demo) {
        demoServer = std::make_unique<DemoWebServer>();
        if (!demoServer->start())
            return failure(
                QStringLiteral("cannot start the demo web: %1").arg(demoServer->errorString()));
        SearchListProvider::setDemoHost(demoServer->hostAndPort());
    }

    // With the demo web, "{{HOST}}" in a start URL stands for its address.
    const auto demoUrl = [&](QString url) {
        return demoServer ? url.replace(QStringLiteral("{{HOST}}"), demoServer->hostAndPort())
                          : url;
    };
    HarvestJob job;
    SearchListProvider provider;
    if (parser.isSet(engineOpt)) {
        job.searchType = SearchType::SearchEngines;
        if (const auto error = GetSearchEngineList(provider, job.engines))
            writeErr(*error + QLatin1Char('\n'));
        const QString wanted = parser.value(engineOpt).trimmed();
        bool found = false;
        QStringList names;
        for (EngineChoice &engine : job.engines) {
            const QString name = engine.text.left(engine.text.indexOf(QLatin1Char('$'))).trimmed();
            names << name;
            if (name.compare(wanted, Qt::CaseInsensitive) == 0 && !found)
                engine.selected = found = true;
        }
        if (!found)
            return usageError(QStringLiteral("no search engine \"%1\" (engines: %2)")
                                  .arg(wanted, names.join(QStringLiteral(", "))));
        for (const QString &keyword : commaList(parser.values(keywordsOpt)))
            job.keywords.append(ListChoice{keyword, true});
    } else if (parser.isSet(urlOpt)) {
        job.searchType = SearchType::SingleUrl;
        job.url = demoUrl(parser.value(urlOpt));
    } else if (parser.isSet(urlsOpt)) {
        job.searchType = SearchType::UrlList;
        if (const auto error = readUrlFile(parser.value(urlsOpt), job))
            return usageError(*error);
        for (ListChoice &entry : job.urlList)
            entry.text = demoUrl(entry.text);
    } else {
        job.searchType = SearchType::UrlList;
        for (const char *site : {"/acme/", "/birchwood/", "/coastal/"})
            job.urlList.append(ListChoice{demoServer->url(QString::fromLatin1(site)), true});
    }

    if (parser.isSet(minutesOpt))
        job.stopAfter = parser.value(minutesOpt);
    if (parser.isSet(pagesOpt))
        job.maxPages = parser.value(pagesOpt);
    if (parser.isSet(leadsOpt))
        job.maxLeads = parser.value(leadsOpt);
    job.pageTimeout = parser.isSet(timeoutOpt) ? parser.value(timeoutOpt)
                                               : (demo ? QStringLiteral("5") : job.pageTimeout);
    bool timeoutOk = false;
    const int timeoutSeconds = job.pageTimeout.trimmed().toInt(&timeoutOk);
    if (!timeoutOk || timeoutSeconds < 1 || timeoutSeconds > 600)
        return usageError(
            QStringLiteral("--timeout is a whole number of seconds from 1 to 600, not \"%1\"")
                .arg(job.pageTimeout));

    job.excludedDomains = commaList(parser.values(excludeDomainOpt));
    job.excludedEmailTypes = commaList(parser.values(excludeTypeOpt));
    job.includedEmailTypes = commaList(parser.values(includeTypeOpt));
    job.excludeEmailExtraction = parser.isSet(noEmailsOpt);
    job.createFavorites = parser.isSet(favoritesOpt);
    job.remoteDns = parser.isSet(remoteDnsOpt);
    if (parser.isSet(proxyOpt)) {
        if (const auto error = applyProxy(parser.value(proxyOpt), job))
            return usageError(*error);
    } else {
        job.proxyType = QStringLiteral("No Proxy");
    }

    QString kbName = parser.value(kbNameOpt).trimmed();
    if (parser.isSet(kbOpt) || demo) {
        job.buildKnowledgeBase = true;
        job.knowledgeBaseRoot =
            parser.isSet(kbOpt)
                ? parser.value(kbOpt)
                : QDir(DataFolder::root()).filePath(QStringLiteral("KnowledgeBases"));
        if (kbName.isEmpty())
            kbName = demo ? QStringLiteral("Demo") : QStringLiteral("Harvest");
        QStringList terms = commaList(parser.values(taxonomyOpt));
        if (terms.isEmpty() && demo)
            terms = {QStringLiteral("Tools"), QStringLiteral("Books"), QStringLiteral("Sailing")};
        if (terms.isEmpty())
            return usageError(QStringLiteral("--kb needs --taxonomy T1,T2: pages are stored under "
                                             "the terms their titles contain"));
        for (const QString &term : terms)
            job.taxonomy.append(ListChoice{term, true});
    } else if (parser.isSet(taxonomyOpt) || parser.isSet(kbNameOpt) || parser.isSet(favoritesOpt)) {
        return usageError(QStringLiteral("--taxonomy, --kb-name and --favorites need --kb ROOT"));
    }

    const JobCheck check = validateStart(job);
    if (!check.passed())
        return usageError(check.message);

    if (job.buildKnowledgeBase) {
        if (!QDir().mkpath(job.knowledgeBaseRoot.trimmed()))
            return failure(QStringLiteral("cannot create the knowledge-base root %1")
                               .arg(job.knowledgeBaseRoot));
        if (const auto error = ensureMailGroup(kbName))
            return failure(*error);
    }

    // The parts of the run.
    AnalysisContext context;
    context.profile = *profile;
    context.searchEngineSelected = job.searchType == SearchType::SearchEngines;
    context.filters.excludedDomains = job.excludedDomains;
    if (!job.includedEmailTypes.isEmpty()) {
        context.filters.typeMode = EmailTypeMode::Include;
        context.filters.includedTypes = job.includedEmailTypes;
    } else {
        context.filters.excludedTypes = job.excludedEmailTypes;
    }
    context.filters.leadLimit = check.captured->maxLeads;
    ExtractorAnalysis analysis(context);

    PageStore store;
    PageStoreSettings storeSettings;
    storeSettings.root = job.knowledgeBaseRoot.trimmed();
    storeSettings.buildKnowledgeBase = job.buildKnowledgeBase;
    storeSettings.createFavorites = job.createFavorites;
    storeSettings.baseName = kbName;
    storeSettings.selectedTerms = job.selectedTaxonomy();
    // The demo keeps its shortcuts in the data folder, away from the user's own favourites.
    storeSettings.favoritesFolder =
        demo ? QDir(DataFolder::root()).filePath(QStringLiteral("Favorites")) : favoritesFolder();
    store.setSettings(storeSettings);
    StoreForCrawl storePort(store);
    SearchListForCrawl searchList(provider);

    CurlDownloader downloader;
    const CapturedJobValues &captured = *check.captured;
    downloader.setProxy(ProxySettings::fromJob(captured.proxyType, captured.proxyHost,
                                               captured.proxyPort, captured.proxyUserName,
                                               captured.proxyPassword, captured.remoteDns));
    ConnectionProbe probe(parser.isSet(probeOpt) ? QUrl(parser.value(probeOpt))
                          : demo                 ? QUrl(demoServer->url(QStringLiteral("/")))
                                                 : ConnectionProbe::configuredAddress());

    CrawlController crawl(job, *profile,
                          CrawlController::Parts{&downloader, &RealTimerSource::instance(),
                                                 &analysis, &storePort, &searchList, &probe});

    ProgressLine progress(isatty(fileno(stderr)) != 0);
    const auto progressText = [&] {
        return QStringLiteral("%1  pages %2  leads %3  main %4  links %5%6")
            .arg(crawl.monitor().clock().text())
            .arg(crawl.pageCounter())
            .arg(analysis.leadCount())
            .arg(context.lstResult.count())
            .arg(context.lstDetails.count())
            .arg(job.buildKnowledgeBase ? QStringLiteral("  stored %1").arg(store.pageCounter())
                                        : QString());
    };
    QObject::connect(&crawl.monitor(), &RunMonitor::ticked, [&] { progress.show(progressText()); });
    // The command line has no web view, so its share of the clean-up is the temporary folder.
    QObject::connect(&crawl.monitor(), &RunMonitor::cleanupDue, [&] {
        const QStringList problems = TempCleaner().DeleteTempFiles();
        if (problems.isEmpty())
            return;
        progress.finish();
        for (const QString &problem : problems)
            writeErr(QStringLiteral("corvane-cli: %1\n").arg(problem));
    });
    QObject::connect(&crawl, &CrawlController::message, [&](const QString &text) {
        progress.finish();
        writeOut(text + QLatin1Char('\n'));
        std::fflush(stdout);
    });
    QObject::connect(&crawl.resume(), &ResumeController::dialogOpened, [&] {
        progress.finish();
        writeErr(ResumeTexts::Title +
                 QStringLiteral(" Waiting for the connection; it is tested every 10 seconds.\n"));
    });
    // The dialog closing brings the window back to the front, which restarts its timers.
    QObject::connect(&crawl.resume(), &ResumeController::dialogClosed,
                     [&] { crawl.windowActivated(); });

    QEventLoop loop;
    QObject::connect(&crawl, &CrawlController::finished, &loop, &QEventLoop::quit);
    bool interrupted = false;
    QEventLoop *waiting = &loop;
    InterruptWatch interrupt([&] {
        interrupted = true;
        crawl.Stop();
        waiting->quit();
    });

    crawl.Start();
    loop.exec();
    // Pages already asked for still count, as after Stop in the window: wait for them, at
    // most one page time-out (a second Ctrl-C gives up on them).
    if (crawl.pending() > 0) {
        QEventLoop drain;
        QObject::connect(&crawl, &CrawlController::allPagesBack, &drain, &QEventLoop::quit);
        QTimer::singleShot(crawl.crawlIntervalMs(), &drain, &QEventLoop::quit);
        waiting = &drain;
        drain.exec();
    }
    downloader.cancelAll();
    progress.show(progressText(), true);
    progress.finish();
    if (interrupted)
        writeErr(QStringLiteral("Stopped.\n"));

    const QStringList leads = analysis.leads();
    if (parser.isSet(outOpt)) {
        if (Result<void> written = LeadFile::write(parser.value(outOpt), leads); !written)
            return failure(written.message());
        writeErr(
            QStringLiteral("%1 leads written to %2\n").arg(leads.size()).arg(parser.value(outOpt)));
    } else {
        QString text;
        for (const QString &lead : leads)
            text += lead + QLatin1Char('\n');
        writeOut(text);
    }
    if (job.buildKnowledgeBase)
        writeErr(QStringLiteral("%1 pages stored in the knowledge base below %2\n")
                     .arg(store.pageCounter())
                     .arg(QDir::toNativeSeparators(job.knowledgeBaseRoot.trimmed())));
    return kExitOk;
}

CommandRegistration
    reg(QStringLiteral("harvest"),
        QStringLiteral(
            "harvest leads and pages from search engines, a URL list, one URL or the demo web"),
        harvest);

} // namespace
