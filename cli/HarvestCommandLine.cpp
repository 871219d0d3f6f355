#include "HarvestCommandLine.h"

#include "Command.h"

#include "common/DataFolder.h"
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

QCommandLineOption option(const char *name, const char *description, const char *value = nullptr)
{
    if (!value)
        return QCommandLineOption(QString::fromLatin1(name), QString::fromLatin1(description));
    return QCommandLineOption(QString::fromLatin1(name), QString::fromLatin1(description),
                              QString::fromLatin1(value));
}

QStringList commaList(const QStringList &values)
{
    QStringList items;
    for (const QString &value : values)
        for (const QString &item : value.split(QLatin1Char(',')))
            if (!item.trimmed().isEmpty())
                items << item.trimmed();
    return items;
}

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

// A whole number from low to high, or nothing.
std::optional<int> wholeNumber(const QString &text, int low, int high)
{
    bool ok = false;
    const int value = text.trimmed().toInt(&ok);
    if (!ok || value < low || value > high)
        return std::nullopt;
    return value;
}

HarvestSetupError refusalOf(const QString &message,
                            const std::optional<ConversionFailure> &conversion)
{
    if (conversion)
        return usage(flagOf(conversion->field) + QStringLiteral(": ") + conversion->detail);
    return usage(message);
}

} // namespace

HarvestCommandLine::HarvestCommandLine()
    : m_engine(option("engine", "search engine by name", "NAME")),
      m_keywords(option("keywords", "keywords, comma-separated", "K1,K2")),
      m_url(option("url", "one start URL", "URL")),
      m_urls(option("urls", "file of start URLs", "FILE")),
      m_minutes(option("minutes", "stop after", "N")),
      m_pages(option("pages", "maximum pages", "N")),
      m_leads(option("leads", "maximum leads", "N")),
      m_timeout(option("timeout", "page time-out, seconds", "S")),
      m_excludeDomain(option("exclude-domain", "excluded domains", "D")),
      m_excludeType(option("exclude-type", "excluded e-mail types", "T")),
      m_includeType(option("include-type", "e-mail types to include", "T")),
      m_kb(option("kb", "knowledge-base root", "ROOT")),
      m_kbName(option("kb-name", "knowledge-base name", "NAME")),
      m_taxonomy(option("taxonomy", "taxonomy terms", "T1,T2")),
      m_favorites(option("favorites", "create favourites")),
      m_noEmails(option("no-emails", "exclude e-mail extraction")),
      m_proxy(option("proxy", "proxy", "TYPE://[user:pass@]host:port")),
      m_remoteDns(option("remote-dns", "use remote DNS")),
      m_profile(option("profile", "classic or modern", "P")),
      m_probe(option("probe", "connection probe address", "URL")),
      m_out(option("out", "lead file", "FILE")),
      m_demo(option("demo", "harvest the bundled demo web")),
      m_firstPage(option("first-page",
                         "modern: the result page each keyword starts from (1 to 1000, default 1)",
                         "N")),
      m_delay(option("delay",
                     "modern: least milliseconds between requests to one site (0 to 60000, "
                     "default 250, 0 with --demo); robots.txt may ask for more",
                     "MS")),
      m_sitePages(
          option("site-pages", "modern: pages requested from one site at most (0: no cap)", "N"))
{
    m_parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    m_parser.addOptions({m_engine,      m_keywords, m_url,       m_urls,          m_minutes,
                         m_pages,       m_leads,    m_timeout,   m_excludeDomain, m_excludeType,
                         m_includeType, m_kb,       m_kbName,    m_taxonomy,      m_favorites,
                         m_noEmails,    m_proxy,    m_remoteDns, m_profile,       m_probe,
                         m_out,         m_demo,     m_firstPage, m_delay,         m_sitePages});
}

Result<void> HarvestCommandLine::parse(const QStringList &args)
{
    if (!m_parser.parse(QStringList{QStringLiteral("harvest")} + args))
        return fail(m_parser.errorText());
    if (!m_parser.positionalArguments().isEmpty())
        return fail(QStringLiteral("harvest takes no argument \"%1\"")
                        .arg(m_parser.positionalArguments().first()));
    const int sources =
        int(m_parser.isSet(m_engine)) + int(m_parser.isSet(m_url)) + int(m_parser.isSet(m_urls));
    if (sources > 1 || (sources == 0 && !demo()))
        return fail(QStringLiteral("harvest needs one of --engine, --url and --urls, or --demo"));
    if (!m_parser.value(m_profile).isEmpty() && !parseCrawlProfile(m_parser.value(m_profile)))
        return fail(QStringLiteral("--profile is classic or modern, not \"%1\"")
                        .arg(m_parser.value(m_profile)));
    const struct
    {
        const QCommandLineOption &option;
        int low, high;
        const char *wanted;
    } numbers[] = {
        {m_firstPage, 1, kMaxFirstResultPage, "a result page from 1 to %1"},
        {m_delay, 0, kMaxSiteDelayMs, "a whole number of milliseconds from 0 to %1"},
        {m_sitePages, 0, kMaxSitePages, "a whole number of pages from 0 (no cap) to %1"},
    };
    for (const auto &number : numbers) {
        if (m_parser.isSet(number.option) &&
            !wholeNumber(m_parser.value(number.option), number.low, number.high))
            return fail(QStringLiteral("--%1 wants %2, not \"%3\"")
                            .arg(number.option.names().first(),
                                 QString::fromLatin1(number.wanted).arg(number.high),
                                 m_parser.value(number.option)));
    }
    if (m_parser.isSet(m_kb) || demo())
        return {};
    if (m_parser.isSet(m_taxonomy) || m_parser.isSet(m_kbName) || m_parser.isSet(m_favorites))
        return fail(QStringLiteral("--taxonomy, --kb-name and --favorites need --kb ROOT"));
    return {};
}

std::optional<HarvestSetupError> HarvestCommandLine::fillJob(HarvestJob &job,
                                                             SearchListProvider &provider,
                                                             const DemoWebServer *demoWeb) const
{
    // With the demo web, "{{HOST}}" in a start URL stands for its address.
    const auto demoUrl = [&](QString url) {
        return demoWeb ? url.replace(QStringLiteral("{{HOST}}"), demoWeb->hostAndPort()) : url;
    };
    if (m_parser.isSet(m_engine)) {
        job.searchType = SearchType::SearchEngines;
        if (const auto error = GetSearchEngineList(provider, job.engines))
            writeErr(*error + QLatin1Char('\n'));
        const QString wanted = m_parser.value(m_engine).trimmed();
        qsizetype found = -1;
        for (qsizetype row = 0; row < job.engines.count() && found < 0; ++row)
            if (job.engines.at(row).text.trimmed().compare(wanted, Qt::CaseInsensitive) == 0)
                found = row;
        if (found < 0)
            return usage(QStringLiteral("no search engine \"%1\" (engines: %2)")
                             .arg(wanted, job.engines.texts().join(QStringLiteral(", "))));
        job.engines.setMarked(found, true);
        appendChecked(job.keywords, commaList(m_parser.values(m_keywords)));
    } else if (m_parser.isSet(m_url)) {
        job.searchType = SearchType::SingleUrl;
        job.url = demoUrl(m_parser.value(m_url));
    } else if (m_parser.isSet(m_urls)) {
        job.searchType = SearchType::UrlList;
        if (const auto error = readUrlFile(m_parser.value(m_urls), job))
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

    if (m_parser.isSet(m_minutes))
        job.stopAfter = m_parser.value(m_minutes);
    if (m_parser.isSet(m_pages))
        job.maxPages = m_parser.value(m_pages);
    if (m_parser.isSet(m_leads))
        job.maxLeads = m_parser.value(m_leads);
    job.pageTimeout = m_parser.isSet(m_timeout) ? m_parser.value(m_timeout)
                                                : (demoWeb ? QStringLiteral("5") : job.pageTimeout);
    bool timeoutOk = false;
    const int timeoutSeconds = job.pageTimeout.trimmed().toInt(&timeoutOk);
    if (!timeoutOk || timeoutSeconds < 1 || timeoutSeconds > 600)
        return usage(
            QStringLiteral("--timeout is a whole number of seconds from 1 to 600, not \"%1\"")
                .arg(job.pageTimeout));

    appendChecked(job.excludedDomains, commaList(m_parser.values(m_excludeDomain)));
    const Result<EmailTypeMode> typeMode = emailTypeMode(m_parser);
    if (!typeMode)
        return usage(typeMode.message());
    job.typeMode = *typeMode;
    appendChecked(job.excludedEmailTypes, commaList(m_parser.values(m_excludeType)));
    appendChecked(job.includedEmailTypes, commaList(m_parser.values(m_includeType)));
    job.excludeEmailExtraction = m_parser.isSet(m_noEmails);
    job.createFavorites = m_parser.isSet(m_favorites);
    job.remoteDns = m_parser.isSet(m_remoteDns);
    if (m_parser.isSet(m_proxy)) {
        if (const auto error = applyProxy(m_parser.value(m_proxy), job))
            return error;
    }

    job.profile = parseCrawlProfile(m_parser.value(m_profile))
                      .value_or(demoWeb ? CrawlProfile::Modern : CrawlProfile::Classic);
    if (job.profile != CrawlProfile::Modern &&
        (m_parser.isSet(m_firstPage) || m_parser.isSet(m_delay) || m_parser.isSet(m_sitePages)))
        return usage(QStringLiteral("--first-page, --delay and --site-pages belong to the modern "
                                    "profile (--profile modern)"));
    if (m_parser.isSet(m_firstPage))
        job.firstResultPage = m_parser.value(m_firstPage).trimmed().toInt();
    // The demo web is served by this program itself: nobody else's site to spare.
    job.siteDelayMs = m_parser.isSet(m_delay) ? m_parser.value(m_delay).trimmed().toInt()
                      : demoWeb               ? 0
                                              : job.siteDelayMs;
    if (m_parser.isSet(m_sitePages))
        job.sitePageCap = m_parser.value(m_sitePages).trimmed().toInt();
    job.probeAddress = m_parser.isSet(m_probe) ? m_parser.value(m_probe)
                       : demoWeb               ? demoWeb->url(QStringLiteral("/"))
                                               : QString();

    if (m_parser.isSet(m_kb) || demoWeb) {
        job.buildKnowledgeBase = true;
        job.knowledgeBaseRoot =
            m_parser.isSet(m_kb)
                ? m_parser.value(m_kb)
                : QDir(DataFolder::root()).filePath(QStringLiteral("KnowledgeBases"));
        QStringList terms = commaList(m_parser.values(m_taxonomy));
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
        QString name = m_parser.value(m_kbName).trimmed();
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
