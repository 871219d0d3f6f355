#include "HarvestCommandLine.h"

#include "Command.h"

#include "common/DataFolder.h"
#include "engine/ConnectionProbe.h"
#include "engine/CrawlWiring.h"
#include "engine/DemoWebServer.h"
#include "engine/SearchListProvider.h"
#include "kb/Catalogues.h"
#include "kb/NameRules.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QUrl>

namespace corvane::cli {

namespace {

void appendChecked(JobList &list, const QStringList &texts)
{
    for (const QString &text : texts)
        list.append(text, true);
}

HarvestSetupError usage(const QString &message)
{
    return HarvestSetupError{message, kExitUsage};
}

// "--proxy TYPE://[user:pass@]host:port" as the job's proxy fields.
std::optional<HarvestSetupError> applyProxy(const QString &text, HarvestJob &job)
{
    const QUrl url(text, QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    static const QHash<QString, QString> types = {
        {QStringLiteral("http"), QStringLiteral("Normal Proxy")},
        {QStringLiteral("socks4"), QStringLiteral("SOCKS4 Proxy")},
        {QStringLiteral("socks5"), QStringLiteral("SOCKS5 Proxy")}};
    if (!url.isValid() || !types.contains(scheme) || url.host().isEmpty() || url.port() <= 0)
        return usage(QStringLiteral("--proxy wants TYPE://[user:pass@]host:port with TYPE http, "
                                    "socks4 or socks5 and a port from 1 to 65535, not \"%1\"")
                         .arg(text));
    job.proxyChosen = true;
    job.proxyType = types.value(scheme);
    job.proxyHost = url.host();
    job.proxyPort = QString::number(url.port());
    job.proxyUserName = url.userName();
    job.proxyPassword = url.password();
    return std::nullopt;
}

std::optional<HarvestSetupError> readUrlFile(const QString &path, HarvestJob &job)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return usage(QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (!line.isEmpty() && !line.startsWith(QLatin1Char('#')))
            job.urlList.append(line, true);
    }
    if (job.urlList.isEmpty())
        return usage(QStringLiteral("%1 lists no URL").arg(path));
    return std::nullopt;
}

// The flag that sets a field, for messages that must not name the window's controls.
QString flagOf(JobField field)
{
    switch (field) {
    case JobField::PageTimeout:
        return QStringLiteral("--timeout");
    case JobField::MaxPages:
        return QStringLiteral("--pages");
    case JobField::MaxLeads:
        return QStringLiteral("--leads");
    case JobField::ProxyPort:
        return QStringLiteral("--proxy");
    case JobField::ProbeAddress:
        return QStringLiteral("--probe");
    }
    return {};
}

HarvestSetupError refusalOf(const QString &message,
                            const std::optional<ConversionFailure> &conversion)
{
    if (conversion)
        return usage(flagOf(conversion->field) + QStringLiteral(": ") + conversion->detail);
    return usage(message);
}

} // namespace

const OptionTable &HarvestCommandLine::optionTable()
{
    static const OptionTable table = [] {
        const HarvestJob defaults;
        const auto text = [](const char *name, const char *value, const char *help) {
            return OptionDefinition{.name = QString::fromLatin1(name),
                                    .valueName = QString::fromLatin1(value),
                                    .help = QString::fromLatin1(help),
                                    .kind = TextValue{}};
        };
        const auto flag = [](const char *name, const char *help) {
            return OptionDefinition{.name = QString::fromLatin1(name),
                                    .help = QString::fromLatin1(help)};
        };
        const auto file = [](const char *name, const char *value, const char *help) {
            return OptionDefinition{.name = QString::fromLatin1(name),
                                    .valueName = QString::fromLatin1(value),
                                    .help = QString::fromLatin1(help),
                                    .kind = FileValue{}};
        };
        std::vector<OptionDefinition> options{
            text("engine", "NAME",
                 "harvest the result pages of search engine NAME (one of the harvest window's "
                 "list, letter case ignored) for --keywords"),
            text("keywords", "K1,K2", "the keywords to search for with --engine"),
            text("url", "URL", "harvest from this one start page"),
            file("urls", "FILE",
                 "harvest from the start URLs in FILE, one a line (blank lines and lines "
                 "starting with # are skipped)"),
            flag("demo", "harvest the bundled demo web, served on 127.0.0.1 while the run lasts; "
                         "with --url or --urls, {{HOST}} stands for its address"),
            text("minutes", "N", "stop the run after N minutes"),
            text("pages", "N", "stop the run after N pages"),
            text("leads", "N", "stop taking leads after N"),
            {.name = QStringLiteral("timeout"),
             .valueName = QStringLiteral("S"),
             .help = QStringLiteral("how long a page may take, in seconds; the classic "
                                    "profile also steps the crawl at this pace"),
             .kind = NumberValue{1, 600},
             .shownDefault = defaults.pageTimeout + QStringLiteral("; 5 with --demo")},
        };
        options[1].repeatable = true;
        options[5].shownDefault = defaults.stopAfter;
        options[6].shownDefault = defaults.maxPages;
        options[7].shownDefault = defaults.maxLeads;
        for (OptionDefinition &option : leadFilterOptions())
            options.push_back(std::move(option));
        options.push_back(flag("no-emails", "do not look for leads in the pages"));
        options.push_back(file("kb", "ROOT",
                               "store the pages in a knowledge base below the folder ROOT "
                               "(with --demo: KnowledgeBases in the data folder)"));
        options.push_back(text("kb-name", "NAME",
                               "the knowledge base's name, before its date and time; also "
                               "added as a mail group"));
        options.back().shownDefault = QStringLiteral("Harvest; Demo with --demo");
        options.push_back(text("taxonomy", "T1,T2",
                               "the taxonomy terms: a page is stored under each term its "
                               "title contains (needed with --kb)"));
        options.back().repeatable = true;
        options.back().shownDefault = QStringLiteral("Tools,Books,Sailing with --demo");
        options.push_back(flag("favorites", "also make an Internet shortcut for each site "
                                            "stored"));
        options.push_back(text("proxy", "TYPE://[USER:PASS@]HOST:PORT",
                               "fetch through a proxy; TYPE is http, socks4 or socks5"));
        options.push_back(flag("remote-dns", "let the proxy look up host names"));
        OptionDefinition profile = profileOption();
        profile.defaultValue.clear();
        profile.shownDefault = QStringLiteral("classic; modern with --demo");
        options.push_back(profile);
        const auto modernNumber = [](const char *name, const char *value, const char *help, int min,
                                     int max, QString shown) {
            return OptionDefinition{.name = QString::fromLatin1(name),
                                    .valueName = QString::fromLatin1(value),
                                    .help = QString::fromLatin1(help),
                                    .kind = NumberValue{min, max},
                                    .shownDefault = std::move(shown)};
        };
        options.push_back(modernNumber(
            "first-page", "N", "modern profile: the result page each keyword starts from", 1,
            kMaxFirstResultPage, QString::number(defaults.firstResultPage)));
        options.push_back(modernNumber(
            "delay", "MS",
            "modern profile: least milliseconds between requests to one site; robots.txt may "
            "ask for more",
            0, kMaxSiteDelayMs,
            QString::number(defaults.siteDelayMs) + QStringLiteral("; 0 with --demo")));
        options.push_back(modernNumber("site-pages", "N",
                                       "modern profile: pages requested from one site at most "
                                       "(0: no cap)",
                                       0, kMaxSitePages, QString::number(defaults.sitePageCap)));
        options.push_back(text("probe", "URL",
                               "the address whose server is reached to tell whether the "
                               "Internet is there; a run waits while it cannot be reached"));
        options.back().shownDefault = ConnectionProbe::configuredAddress().toString() +
                                      QStringLiteral("; the demo web with --demo");
        options.push_back(file("out", "FILE",
                               "write the leads to FILE, replacing it, instead of standard "
                               "output"));
        options.push_back(foundLeadsFormatOption());
        options.push_back(noRecordOption());
        return OptionTable({
            .name = QStringLiteral("harvest"),
            .summary = QStringLiteral(
                "Harvest leads (and, with --kb, pages) from search engines, a URL list, one URL "
                "or the demo web (one of --engine, --url, --urls and --demo is needed), as the "
                "harvest window does. The leads go to standard output "
                "(or --out), also when Ctrl-C stops the run; progress and the end-of-run "
                "message go to standard error. Every lead is recorded in the lead database "
                "with the page it was found in (see corvane-cli leads)."),
            .options = options,
            .examples = {QStringLiteral("harvest --demo"),
                         QStringLiteral("harvest --url http://intranet.local/ --probe "
                                        "http://intranet.local/ --out leads.csv"),
                         QStringLiteral("harvest --engine Bing --keywords boats,sails --pages "
                                        "500 --kb ~/kb --taxonomy Boats")},
        });
    }();
    return table;
}

std::optional<int> HarvestCommandLine::parse(const QStringList &args)
{
    auto parsed = optionTable().parse(args);
    if (const auto *exit = std::get_if<ExitNow>(&parsed))
        return exit->code;
    m_options = std::get<OptionValues>(std::move(parsed));
    if (const auto refused = refuseFormatWithoutRecording(m_options))
        return refused;
    const int sources = int(isSet("engine")) + int(isSet("url")) + int(isSet("urls"));
    if (sources > 1 || (sources == 0 && !demo()))
        return usageError(
            QStringLiteral("harvest needs one of --engine, --url and --urls, or --demo"));
    if (isSet("kb") || demo())
        return std::nullopt;
    if (isSet("taxonomy") || isSet("kb-name") || isSet("favorites"))
        return usageError(QStringLiteral("--taxonomy, --kb-name and --favorites need --kb ROOT"));
    return std::nullopt;
}

bool HarvestCommandLine::isSet(const char *name) const
{
    return m_options.isSet(QLatin1String(name));
}

QString HarvestCommandLine::value(const char *name) const
{
    return m_options.value(QLatin1String(name));
}

QStringList HarvestCommandLine::values(const char *name) const
{
    return commaList(m_options.values(QLatin1String(name)));
}

std::optional<HarvestSetupError> HarvestCommandLine::fillJob(HarvestJob &job,
                                                             SearchListProvider &provider,
                                                             const DemoWebServer *demoWeb) const
{
    // With the demo web, "{{HOST}}" in a start URL stands for its address.
    const auto demoUrl = [&](QString url) {
        return demoWeb ? url.replace(QStringLiteral("{{HOST}}"), demoWeb->hostAndPort()) : url;
    };
    if (isSet("engine")) {
        job.searchType = SearchType::SearchEngines;
        if (const auto error = GetSearchEngineList(provider, job.engines))
            writeErr(*error + QLatin1Char('\n'));
        const QString wanted = value("engine").trimmed();
        qsizetype found = -1;
        for (qsizetype row = 0; row < job.engines.count() && found < 0; ++row)
            if (job.engines.at(row).text.trimmed().compare(wanted, Qt::CaseInsensitive) == 0)
                found = row;
        if (found < 0)
            return usage(QStringLiteral("no search engine \"%1\" (engines: %2)")
                             .arg(wanted, job.engines.texts().join(QStringLiteral(", "))));
        job.engines.setMarked(found, true);
        appendChecked(job.keywords, values("keywords"));
    } else if (isSet("url")) {
        job.searchType = SearchType::SingleUrl;
        job.url = demoUrl(value("url"));
    } else if (isSet("urls")) {
        job.searchType = SearchType::UrlList;
        if (const auto error = readUrlFile(value("urls"), job))
            return error;
        QList<JobListEntry> urls = job.urlList.entries();
        for (JobListEntry &entry : urls)
            entry.text = demoUrl(entry.text);
        job.urlList.setEntries(urls);
    } else if (demoWeb) {
        job.searchType = SearchType::UrlList;
        for (const char *site : {"/acme/", "/birchwood/", "/coastal/"})
            job.urlList.append(demoWeb->url(QString::fromLatin1(site)), true);
    }

    if (isSet("minutes"))
        job.stopAfter = value("minutes");
    if (isSet("pages"))
        job.maxPages = value("pages");
    if (isSet("leads"))
        job.maxLeads = value("leads");
    job.pageTimeout =
        isSet("timeout") ? value("timeout") : (demoWeb ? QStringLiteral("5") : job.pageTimeout);

    appendChecked(job.excludedDomains, values("exclude-domain"));
    const Result<EmailTypeMode> typeMode = emailTypeMode(m_options);
    if (!typeMode)
        return usage(typeMode.message());
    job.typeMode = *typeMode;
    appendChecked(job.excludedEmailTypes, values("exclude-type"));
    appendChecked(job.includedEmailTypes, values("include-type"));
    job.excludeEmailExtraction = isSet("no-emails");
    job.createFavorites = isSet("favorites");
    job.remoteDns = isSet("remote-dns");
    if (isSet("proxy")) {
        if (const auto error = applyProxy(value("proxy"), job))
            return error;
    }

    job.profile = parseCrawlProfile(value("profile"))
                      .value_or(demoWeb ? CrawlProfile::Modern : CrawlProfile::Classic);
    if (job.profile != CrawlProfile::Modern &&
        (isSet("first-page") || isSet("delay") || isSet("site-pages")))
        return usage(QStringLiteral("--first-page, --delay and --site-pages belong to the modern "
                                    "profile (--profile modern)"));
    if (isSet("first-page"))
        job.firstResultPage = value("first-page").trimmed().toInt();
    // The demo web is served by this program itself: nobody else's site to spare.
    job.siteDelayMs = isSet("delay") ? value("delay").trimmed().toInt()
                      : demoWeb      ? 0
                                     : job.siteDelayMs;
    if (isSet("site-pages"))
        job.sitePageCap = value("site-pages").trimmed().toInt();
    job.probeAddress = isSet("probe") ? value("probe")
                       : demoWeb      ? demoWeb->url(QStringLiteral("/"))
                                      : QString();

    if (isSet("kb") || demoWeb) {
        job.buildKnowledgeBase = true;
        job.knowledgeBaseRoot =
            isSet("kb") ? value("kb")
                        : QDir(DataFolder::root()).filePath(QStringLiteral("KnowledgeBases"));
        QStringList terms = values("taxonomy");
        if (terms.isEmpty() && demoWeb)
            terms = {QStringLiteral("Tools"), QStringLiteral("Books"), QStringLiteral("Sailing")};
        if (terms.isEmpty())
            return usage(QStringLiteral("--kb needs --taxonomy T1,T2: pages are stored under "
                                        "the terms their titles contain"));
        appendChecked(job.taxonomy, terms);
        // The demo keeps its shortcuts in the data folder, away from the user's own favourites.
        if (demoWeb)
            job.favoritesFolder = QDir(DataFolder::root()).filePath(QStringLiteral("Favorites"));
    }
    return std::nullopt;
}

std::variant<RunDescription, HarvestSetupError>
HarvestCommandLine::prepareRun(HarvestJob &job, SearchListProvider &provider,
                               const DemoWebServer *demoWeb) const
{
    if (auto error = fillJob(job, provider, demoWeb))
        return std::move(*error);
    // The job's own checks come before the knowledge base is named, so that a refused call
    // leaves no mail group behind.
    if (const JobCheck check = validateStart(job); !check.passed())
        return refusalOf(check.message, check.conversion);
    if (job.buildKnowledgeBase) {
        QString name = value("kb-name").trimmed();
        if (name.isEmpty())
            name = demoWeb ? QStringLiteral("Demo") : QStringLiteral("Harvest");
        // A name the disk would refuse is a wrong call, not a failed run.
        if (Result<void> names =
                checkKnowledgeBaseNames(job.knowledgeBaseRoot, name, job.taxonomy.markedTexts());
            !names)
            return usage(names.message());
        MailGroupCatalogue groups;
        if (Result<CatalogueEntry> named = nameKnowledgeBase(groups, job.mailGroup, name); !named)
            return HarvestSetupError{named.message(), kExitFailed};
    }
    std::variant<RunDescription, RunRefusal> built = buildRun(job);
    if (const RunRefusal *refused = std::get_if<RunRefusal>(&built))
        return refusalOf(refused->message, refused->conversion);
    return std::get<RunDescription>(std::move(built));
}

} // namespace corvane::cli
