#include "engine/CurlDownloader.h"

#include "common/AppSettings.h"
#include "engine/RobotsRules.h"

#include <QMetaObject>
#include <QUrl>

#include <curl/curl.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <unordered_map>
#include <variant>
#include <vector>

namespace corvane {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kDefaultTimeoutMs = 30000;
constexpr int kRobotsTimeoutCapMs = 15000;
constexpr qint64 kRobotsMaxBytes = 512 * 1024;
constexpr int kPollCapMs = 250;
constexpr std::size_t kMaxSitesRemembered = 50000;
const QByteArray kProductToken = "Corvane";

void initCurlOnce()
{
    static const bool done = [] {
        curl_global_init(CURL_GLOBAL_DEFAULT);
        return true;
    }();
    (void)done;
}

// The address as curl wants it: blanks and other stray characters percent-encoded.
QByteArray encodedUrl(const QString &url)
{
    const QUrl parsed(url.trimmed(), QUrl::TolerantMode);
    return parsed.isValid() ? parsed.toEncoded() : url.trimmed().toUtf8();
}

// "scheme://host:port" of an http(s) address, or empty when robots rules cannot apply.
QString siteKey(const QUrl &url)
{
    const QString scheme = url.scheme().toLower();
    if ((scheme != QLatin1String("http") && scheme != QLatin1String("https")) ||
        url.host().isEmpty())
        return {};
    const int port = url.port(scheme == QLatin1String("https") ? 443 : 80);
    return scheme + QLatin1String("://") + url.host().toLower() + QLatin1Char(':') +
           QString::number(port);
}

QByteArray robotsPath(const QUrl &url)
{
    QByteArray path = url.path(QUrl::FullyEncoded).toUtf8();
    if (path.isEmpty())
        path = "/";
    if (url.hasQuery())
        path += '?' + url.query(QUrl::FullyEncoded).toUtf8();
    return path;
}

} // namespace

// ---------------------------------------------------------------------------------------
// Options

QByteArray DownloadOptions::defaultUserAgent()
{
    return QByteArrayLiteral("Mozilla/5.0 (compatible; Corvane/0.1; lead harvester)");
}

DownloadOptions DownloadOptions::fromSettings()
{
    DownloadOptions options;
    const auto settings = openSettings();
    options.honourRobots = settings->value(QStringLiteral("Download/HonourRobots"), true).toBool();
    bool ok = false;
    const qint64 cap =
        settings->value(QStringLiteral("Download/MaxPageBytes"), options.maxPageBytes)
            .toLongLong(&ok);
    if (ok && cap > 0)
        options.maxPageBytes = cap;
    return options;
}

ProxySettings ProxySettings::fromJob(const QString &typeText, const QString &host, int port,
                                     const QString &userName, const QString &password,
                                     bool remoteDns)
{
    ProxySettings proxy;
    const QString type = typeText.trimmed().toLower();
    if (type.contains(QLatin1String("socks5")))
        proxy.kind = Kind::Socks5;
    else if (type.contains(QLatin1String("socks4")))
        proxy.kind = Kind::Socks4;
    else if (type.contains(QLatin1String("normal")) || type.contains(QLatin1String("http")))
        proxy.kind = Kind::Http;
    proxy.host = host.trimmed();
    proxy.port = port;
    if (proxy.host.isEmpty() || port <= 0 || port > 65535)
        return ProxySettings{};
    proxy.userName = userName.trimmed();
    proxy.password = password;
    proxy.remoteDns = remoteDns;
    if (proxy.kind == Kind::None)
        return ProxySettings{};
    return proxy;
}

// ---------------------------------------------------------------------------------------
// Worker: owns the curl multi handle and everything it runs. Only the command queue is
// shared with the owner's thread.

class CurlDownloader::Worker
{
public:
    explicit Worker(CurlDownloader *owner, const DownloadOptions &options);
    ~Worker();
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;

    void add(const QString &url, int timeoutMs, int slot, std::uint64_t generation);
    void cancelBelow(std::uint64_t generation);
    void setOptions(const DownloadOptions &options);
    DownloadOptions options() const;
    int robotsFetches() const { return m_robotsFetches.load(); }

private:
    using OptionsPtr = std::shared_ptr<const DownloadOptions>;

    struct Request
    {
        QString url;      // as asked for, and as delivered
        QString location; // where a redirect has led, when it has
        QString referer;  // the address that redirected there
        int redirects = 0;
        int slot = 0;
        int timeoutMs = kDefaultTimeoutMs;
        std::uint64_t generation = 0;
        Clock::time_point deadline;
        OptionsPtr options;
        // Politeness: the site the page is paced by (empty when politeness is off), when it
        // joined that site's queue, and whether it is the one retry after a busy answer.
        QString site;
        Clock::time_point queuedAt;
        bool retried = false;

        const QString &address() const { return location.isEmpty() ? url : location; }
    };

    struct Transfer
    {
        Worker *worker = nullptr;
        Request request;
        CURL *easy = nullptr;
        QByteArray body;
        qint64 cap = 0;
        bool overflow = false;
        QString robotsSite;    // set for a robots.txt fetch
        QString host;          // the site it holds one of the connections of
        QString pacedSite;     // the site whose pace this transfer sets, while politeness is on
        bool answered = false; // the answer has begun
    };

    struct Site
    {
        // Robots rules.
        bool known = false;
        bool robotsAsked = false;
        RobotsRules rules;
        std::vector<Request> waiting; // for the robots.txt

        // Politeness.
        std::deque<Request> queue; // cleared pages waiting for the site's next turn
        bool queued = false;       // listed in m_queuedSites
        bool started = false;      // a request has gone to the site
        Clock::time_point lastAnswer;
        int unanswered = 0; // paced transfers whose answer has not begun yet
        Clock::time_point closedUntil;
        int pagesStarted = 0;
    };

    struct AddCommand
    {
        Request request;
    };
    struct CancelCommand
    {
        std::uint64_t generation;
    };
    using Command = std::variant<AddCommand, CancelCommand>;

    void post(Command command);
    void run();
    void takeCommands();
    void accept(Request request);
    Site &siteFor(const QString &key);
    void admit(Site &site, Request request);
    static int intervalMs(const Site &site, const SitePoliteness &polite);
    void listQueued(Site &site);
    void startRobotsFetch(const QString &site, const QUrl &pageUrl, const Request &page);
    void startPages();
    std::optional<Request> takeQueuedTurn(Clock::time_point now);
    bool hasTurn(const Site &site, const DownloadOptions &options, Clock::time_point now) const;
    bool hostHasRoom(const Request &request) const;
    void leaveHost(Transfer &transfer);
    int pauseMs(Clock::time_point now) const;
    bool launch(Request request, Clock::time_point now);
    bool startTransfer(Transfer *transfer, const QByteArray &url);
    void paceBy(Transfer *transfer, const QString &site);
    void leaveSite(Transfer &transfer);
    void finishTransfers();
    bool followRedirect(Transfer &done, CURL *easy, long status);
    bool backOff(Transfer &done, CURL *easy, long status);
    void closeSite(Site &site, Clock::time_point until);
    void robotsArrived(const QString &site, const RobotsRules &rules);
    void complete(const Request &request, const QByteArray &body);
    void dropAll();
    CURL *takeEasy();
    void configure(CURL *easy, Transfer *transfer, const QByteArray &url, long timeoutMs);

    static size_t onWrite(char *data, size_t size, size_t count, void *userData);
    static size_t onHeader(char *, size_t size, size_t count, void *userData);

    CurlDownloader *m_owner;
    CURLM *m_multi = nullptr;
    std::thread m_thread;

    mutable std::mutex m_mutex; // guards m_commands, m_options, m_stop
    std::vector<Command> m_commands;
    OptionsPtr m_options;
    bool m_stop = false;
    std::atomic<int> m_robotsFetches{0};

    // Worker-thread state.
    std::uint64_t m_minGeneration = 0;
    std::deque<Request> m_ready;
    std::vector<std::unique_ptr<Transfer>> m_transfers;
    std::unordered_map<QString, Site> m_sites;
    std::vector<QString> m_queuedSites; // sites with pages in their queue, taken in turn
    std::size_t m_nextQueuedSite = 0;
    std::vector<CURL *> m_spareEasies;
    int m_runningPages = 0;
    // Transfers in curl per site. The cap is kept here rather than by curl: transfers curl
    // holds back for a connection can stay parked until their time-out once the site's
    // connections have closed, and a whole burst then waits for nothing.
    std::unordered_map<QString, int> m_hostTransfers;
};

CurlDownloader::Worker::Worker(CurlDownloader *owner, const DownloadOptions &options)
    : m_owner(owner), m_options(std::make_shared<DownloadOptions>(options))
{
    initCurlOnce();
    m_multi = curl_multi_init();
    curl_multi_setopt(m_multi, CURLMOPT_MAXCONNECTS, 200L);
    m_thread = std::thread([this] { run(); });
}

CurlDownloader::Worker::~Worker()
{
    {
        std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    curl_multi_wakeup(m_multi);
    m_thread.join();
    dropAll();
    for (CURL *easy : m_spareEasies)
        curl_easy_cleanup(easy);
    curl_multi_cleanup(m_multi);
}

void CurlDownloader::Worker::post(Command command)
{
    {
        std::lock_guard lock(m_mutex);
        m_commands.push_back(std::move(command));
    }
    curl_multi_wakeup(m_multi);
}

void CurlDownloader::Worker::add(const QString &url, int timeoutMs, int slot,
                                 std::uint64_t generation)
{
    Request request;
    request.url = url;
    request.slot = slot;
    request.generation = generation;
    request.timeoutMs = timeoutMs > 0 ? timeoutMs : kDefaultTimeoutMs;
    request.deadline = Clock::now() + std::chrono::milliseconds(request.timeoutMs);
    {
        std::lock_guard lock(m_mutex);
        request.options = m_options;
    }
    post(AddCommand{std::move(request)});
}

void CurlDownloader::Worker::cancelBelow(std::uint64_t generation)
{
    post(CancelCommand{generation});
}

void CurlDownloader::Worker::setOptions(const DownloadOptions &options)
{
    std::lock_guard lock(m_mutex);
    m_options = std::make_shared<DownloadOptions>(options);
}

DownloadOptions CurlDownloader::Worker::options() const
{
    std::lock_guard lock(m_mutex);
    return *m_options;
}

void CurlDownloader::Worker::run()
{
    for (;;) {
        {
            std::lock_guard lock(m_mutex);
            if (m_stop)
                return;
        }
        takeCommands();
        startPages();
        int running = 0;
        curl_multi_perform(m_multi, &running);
        finishTransfers();
        startPages(); // slots freed by finished pages
        curl_multi_poll(m_multi, nullptr, 0, pauseMs(Clock::now()), nullptr);
    }
}

void CurlDownloader::Worker::takeCommands()
{
    std::vector<Command> commands;
    {
        std::lock_guard lock(m_mutex);
        commands.swap(m_commands);
    }
    for (Command &command : commands) {
        if (auto *add = std::get_if<AddCommand>(&command)) {
            if (add->request.generation >= m_minGeneration)
                accept(std::move(add->request));
        } else {
            m_minGeneration = std::get<CancelCommand>(command).generation;
            dropAll();
        }
    }
}

CurlDownloader::Worker::Site &CurlDownloader::Worker::siteFor(const QString &key)
{
    auto found = m_sites.find(key);
    if (found != m_sites.end())
        return found->second;
    if (m_sites.size() >= kMaxSitesRemembered) {
        // Forget what is settled; sites with pages waiting or going out stay.
        const auto now = Clock::now();
        std::erase_if(m_sites, [&](const auto &entry) {
            const Site &site = entry.second;
            return site.waiting.empty() && site.queue.empty() && site.unanswered == 0 &&
                   site.known == site.robotsAsked && site.closedUntil <= now;
        });
    }
    return m_sites.emplace(key, Site{}).first->second;
}

// Routes a new page: straight to the ready queue, to its site's robots wait list, to its
// site's queue, or to an empty completion when the site's rules forbid it.
void CurlDownloader::Worker::accept(Request request)
{
    const bool robots = request.options->honourRobots;
    const bool polite = request.options->politeness.isOn();
    if (!robots && !polite) {
        m_ready.push_back(std::move(request));
        return;
    }
    const QUrl url(request.address().trimmed(), QUrl::TolerantMode);
    const QString key = siteKey(url);
    if (key.isEmpty()) {
        m_ready.push_back(std::move(request)); // curl reports the bad address
        return;
    }
    request.site = polite ? key : QString();
    Site &site = siteFor(key);
    if (robots && !site.known) {
        site.waiting.push_back(std::move(request));
        if (!site.robotsAsked) {
            site.robotsAsked = true;
            startRobotsFetch(key, url, site.waiting.back());
        }
    } else if (robots && !site.rules.allows(robotsPath(url))) {
        complete(request, {});
    } else {
        admit(site, std::move(request));
    }
}

// The least time between two requests to site: the job's delay, or robots.txt's Crawl-delay
// when that asks for more.
int CurlDownloader::Worker::intervalMs(const Site &site, const SitePoliteness &polite)
{
    return std::max(polite.delayMs, polite.followCrawlDelay ? site.rules.crawlDelayMs() : 0);
}

// Site has pages in its queue: it takes its turn in the rotation.
void CurlDownloader::Worker::listQueued(Site &site)
{
    if (site.queued || site.queue.empty())
        return;
    site.queued = true;
    m_queuedSites.push_back(site.queue.front().site);
}

// A page its site's robots rules let through: to the ready queue when its site sets no pace
// and is open, else into the site's queue for its turn.
void CurlDownloader::Worker::admit(Site &site, Request request)
{
    const auto now = Clock::now();
    const int interval = intervalMs(site, request.options->politeness);
    if (request.site.isEmpty() ||
        (interval <= 0 && site.queue.empty() && site.closedUntil <= now)) {
        m_ready.push_back(std::move(request));
        return;
    }
    if (site.closedUntil - now > std::chrono::milliseconds(request.timeoutMs)) {
        complete(request, {}); // the site asked to be left alone for longer than the page may wait
        return;
    }
    request.queuedAt = now;
    site.queue.push_back(std::move(request));
    listQueued(site);
}

void CurlDownloader::Worker::startRobotsFetch(const QString &site, const QUrl &pageUrl,
                                              const Request &page)
{
    auto transfer = std::make_unique<Transfer>();
    transfer->robotsSite = site;
    transfer->request.options = page.options;
    transfer->request.deadline =
        std::min(page.deadline, Clock::now() + std::chrono::milliseconds(kRobotsTimeoutCapMs));
    transfer->cap = kRobotsMaxBytes;
    QUrl robots = pageUrl.adjusted(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment |
                                   QUrl::RemovePath);
    robots.setPath(QStringLiteral("/robots.txt"));
    transfer->request.url = robots.toString();
    ++m_robotsFetches;
    Transfer *raw = transfer.get();
    m_transfers.push_back(std::move(transfer));
    // The site's first request: it goes out at once and sets the site's pace like a page.
    if (page.options->politeness.isOn())
        paceBy(raw, site);
    if (!startTransfer(raw, robots.toEncoded()))
        robotsArrived(site, RobotsRules{});
}

// May a page of site start now? Its site must be open, and when it sets a pace, no request of
// it may still be waiting for its answer and its interval must have passed since the last
// answer began.
bool CurlDownloader::Worker::hasTurn(const Site &site, const DownloadOptions &options,
                                     Clock::time_point now) const
{
    if (now < site.closedUntil)
        return false;
    const int interval = intervalMs(site, options.politeness);
    if (interval <= 0 || !site.started)
        return true;
    return site.unanswered == 0 && now >= site.lastAnswer + std::chrono::milliseconds(interval);
}

// May one more transfer go to the page's site without passing its connection cap?
bool CurlDownloader::Worker::hostHasRoom(const Request &request) const
{
    const QString host = siteKey(QUrl(request.address().trimmed(), QUrl::TolerantMode));
    if (host.isEmpty())
        return true;
    const auto found = m_hostTransfers.find(host);
    return found == m_hostTransfers.end() ||
           found->second < std::max(1, request.options->maxConnectionsPerHost);
}

// The transfer has left curl: its connection is free for the next page of its site.
void CurlDownloader::Worker::leaveHost(Transfer &transfer)
{
    if (transfer.host.isEmpty())
        return;
    const auto found = m_hostTransfers.find(transfer.host);
    if (found != m_hostTransfers.end() && --found->second <= 0)
        m_hostTransfers.erase(found);
    transfer.host.clear();
}

// The next queued page whose site has its turn, the sites taken in rotation so that one busy
// site does not hold up the others. Nothing when no site has its turn or no transfer is free.
std::optional<CurlDownloader::Worker::Request>
CurlDownloader::Worker::takeQueuedTurn(Clock::time_point now)
{
    for (std::size_t looked = 0; looked < m_queuedSites.size();) {
        if (m_nextQueuedSite >= m_queuedSites.size())
            m_nextQueuedSite = 0;
        const auto found = m_sites.find(m_queuedSites[m_nextQueuedSite]);
        if (found == m_sites.end() || found->second.queue.empty()) {
            if (found != m_sites.end())
                found->second.queued = false;
            m_queuedSites.erase(m_queuedSites.begin() + std::ptrdiff_t(m_nextQueuedSite));
            continue;
        }
        Site &site = found->second;
        const Request &front = site.queue.front();
        if (m_runningPages >= std::max(1, front.options->maxInFlight))
            return std::nullopt;
        ++looked;
        ++m_nextQueuedSite;
        if (!hasTurn(site, *front.options, now) || !hostHasRoom(front))
            continue;
        Request request = std::move(site.queue.front());
        site.queue.pop_front();
        // Waiting for the site's turn is not the page's own time.
        request.deadline += now - request.queuedAt;
        return request;
    }
    return std::nullopt;
}

// How long the worker may wait for curl before a queued page's site has its turn.
int CurlDownloader::Worker::pauseMs(Clock::time_point now) const
{
    auto wake = now + std::chrono::milliseconds(kPollCapMs);
    for (const QString &key : m_queuedSites) {
        const auto found = m_sites.find(key);
        if (found == m_sites.end() || found->second.queue.empty())
            continue;
        const Site &site = found->second;
        const int interval = intervalMs(site, site.queue.front().options->politeness);
        auto turn =
            std::max(site.closedUntil, site.lastAnswer + std::chrono::milliseconds(interval));
        if (site.unanswered > 0 && interval > 0)
            continue; // the answer arriving wakes the worker
        wake = std::min(wake, std::max(turn, now));
    }
    // Rounded up, so that the worker never wakes a moment before the turn.
    return int(std::chrono::ceil<std::chrono::milliseconds>(wake - now).count());
}

void CurlDownloader::Worker::startPages()
{
    const auto now = Clock::now();
    for (;;) {
        std::optional<Request> request = takeQueuedTurn(now);
        if (!request) {
            if (m_ready.empty() ||
                m_runningPages >= std::max(1, m_ready.front().options->maxInFlight))
                return;
            const auto next = std::find_if(m_ready.begin(), m_ready.end(),
                                           [this](const Request &r) { return hostHasRoom(r); });
            if (next == m_ready.end())
                return; // a finishing transfer wakes the worker
            request = std::move(*next);
            m_ready.erase(next);
            if (!request->site.isEmpty()) {
                // Its site may have closed since the page was made ready.
                const auto found = m_sites.find(request->site);
                if (found != m_sites.end() && found->second.closedUntil > now) {
                    admit(found->second, std::move(*request));
                    continue;
                }
            }
        }
        launch(std::move(*request), now);
    }
}

// Starts one page's transfer; a page past its time-out or its site's page cap completes
// empty instead.
bool CurlDownloader::Worker::launch(Request request, Clock::time_point now)
{
    if (request.deadline <= now) {
        complete(request, {});
        return false;
    }
    if (!request.site.isEmpty()) {
        Site &site = siteFor(request.site);
        const int cap = request.options->politeness.maxPagesPerSite;
        if (cap > 0 && site.pagesStarted >= cap && !request.retried) {
            complete(request, {});
            return false;
        }
        if (!request.retried)
            ++site.pagesStarted;
    }
    auto transfer = std::make_unique<Transfer>();
    transfer->cap = request.options->maxPageBytes;
    transfer->request = std::move(request);
    Transfer *raw = transfer.get();
    m_transfers.push_back(std::move(transfer));
    ++m_runningPages;
    if (!raw->request.site.isEmpty())
        paceBy(raw, raw->request.site);
    return startTransfer(raw, encodedUrl(raw->request.address()));
}

// The transfer is the site's latest request: the site's next turn counts from when its answer
// begins (leaveSite), and until then no other paced request of the site starts.
void CurlDownloader::Worker::paceBy(Transfer *transfer, const QString &key)
{
    Site &site = siteFor(key);
    transfer->pacedSite = key;
    site.started = true;
    site.lastAnswer = Clock::now();
    ++site.unanswered;
}

// A paced transfer is done with its site's pace: its answer has begun, or it ended without
// one. The answer proves the server has the request, so the site's next request reaches the
// server at least the site's interval after this one did, however the two were delayed on
// their way out.
void CurlDownloader::Worker::leaveSite(Transfer &transfer)
{
    if (transfer.pacedSite.isEmpty() || transfer.answered)
        return;
    transfer.answered = true;
    const auto found = m_sites.find(transfer.pacedSite);
    if (found == m_sites.end())
        return;
    found->second.lastAnswer = std::max(found->second.lastAnswer, Clock::now());
    --found->second.unanswered;
}

size_t CurlDownloader::Worker::onHeader(char *, size_t size, size_t count, void *userData)
{
    auto *transfer = static_cast<Transfer *>(userData);
    transfer->worker->leaveSite(*transfer);
    return size * count;
}

// Adds the transfer to the multi handle; on failure completes it at once and returns false.
bool CurlDownloader::Worker::startTransfer(Transfer *transfer, const QByteArray &url)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                          transfer->request.deadline - Clock::now())
                          .count();
    CURL *easy = takeEasy();
    if (easy && left > 0) {
        configure(easy, transfer, url, static_cast<long>(left));
        if (curl_multi_add_handle(m_multi, easy) == CURLM_OK) {
            transfer->easy = easy;
            transfer->host = siteKey(QUrl::fromEncoded(url));
            if (!transfer->host.isEmpty())
                ++m_hostTransfers[transfer->host];
            return true;
        }
    }
    if (easy)
        m_spareEasies.push_back(easy);
    // Never started: finish it the way a failed transfer finishes.
    const auto it = std::find_if(m_transfers.begin(), m_transfers.end(),
                                 [&](const auto &t) { return t.get() == transfer; });
    std::unique_ptr<Transfer> owned = std::move(*it);
    m_transfers.erase(it);
    leaveSite(*owned);
    if (owned->robotsSite.isEmpty()) {
        --m_runningPages;
        complete(owned->request, {});
    }
    return false;
}

CURL *CurlDownloader::Worker::takeEasy()
{
    if (m_spareEasies.empty())
        return curl_easy_init();
    CURL *easy = m_spareEasies.back();
    m_spareEasies.pop_back();
    curl_easy_reset(easy);
    return easy;
}

void CurlDownloader::Worker::configure(CURL *easy, Transfer *transfer, const QByteArray &url,
                                       long timeoutMs)
{
    const DownloadOptions &o = *transfer->request.options;
    transfer->worker = this;
    curl_easy_setopt(easy, CURLOPT_URL, url.constData());
    curl_easy_setopt(easy, CURLOPT_PRIVATE, transfer);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Worker::onWrite);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, transfer);
    if (!transfer->pacedSite.isEmpty()) {
        curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &Worker::onHeader);
        curl_easy_setopt(easy, CURLOPT_HEADERDATA, transfer);
        // A proxy's answer to CONNECT comes before the request has gone out.
        curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    }
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    // Redirects are followed here, not by curl, so that each new address passes its own
    // site's robots rules first.
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    if (!transfer->request.referer.isEmpty())
        curl_easy_setopt(easy, CURLOPT_REFERER, encodedUrl(transfer->request.referer).constData());
    curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, ""); // every encoding curl can decode
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, timeoutMs);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, timeoutMs);
    curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(transfer->cap));
    curl_easy_setopt(easy, CURLOPT_USERAGENT, o.userAgent.constData());
    const ProxySettings &p = o.proxy;
    if (p.kind == ProxySettings::Kind::None) {
        curl_easy_setopt(easy, CURLOPT_PROXY, ""); // and ignore *_proxy variables
        return;
    }
    long type = CURLPROXY_HTTP;
    if (p.kind == ProxySettings::Kind::Socks4)
        type = p.remoteDns ? CURLPROXY_SOCKS4A : CURLPROXY_SOCKS4;
    else if (p.kind == ProxySettings::Kind::Socks5)
        type = p.remoteDns ? CURLPROXY_SOCKS5_HOSTNAME : CURLPROXY_SOCKS5;
    curl_easy_setopt(easy, CURLOPT_PROXYTYPE, type);
    curl_easy_setopt(easy, CURLOPT_PROXY, p.host.toUtf8().constData());
    curl_easy_setopt(easy, CURLOPT_PROXYPORT, static_cast<long>(p.port));
    curl_easy_setopt(easy, CURLOPT_NOPROXY, ""); // loopback goes through the proxy too
    if (!p.userName.isEmpty()) {
        curl_easy_setopt(easy, CURLOPT_PROXYUSERNAME, p.userName.toUtf8().constData());
        curl_easy_setopt(easy, CURLOPT_PROXYPASSWORD, p.password.toUtf8().constData());
    }
}

size_t CurlDownloader::Worker::onWrite(char *data, size_t size, size_t count, void *userData)
{
    auto *transfer = static_cast<Transfer *>(userData);
    const size_t bytes = size * count;
    if (transfer->body.size() + static_cast<qint64>(bytes) > transfer->cap) {
        transfer->overflow = true;
        return 0; // makes curl abandon the transfer
    }
    transfer->body.append(data, static_cast<qsizetype>(bytes));
    return bytes;
}

void CurlDownloader::Worker::finishTransfers()
{
    int left = 0;
    while (CURLMsg *msg = curl_multi_info_read(m_multi, &left)) {
        if (msg->msg != CURLMSG_DONE)
            continue;
        CURL *easy = msg->easy_handle;
        const CURLcode result = msg->data.result;
        Transfer *transfer = nullptr;
        curl_easy_getinfo(easy, CURLINFO_PRIVATE, reinterpret_cast<char **>(&transfer));
        long status = 0;
        curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
        curl_multi_remove_handle(m_multi, easy);
        if (transfer)
            leaveHost(*transfer);

        const auto it = std::find_if(m_transfers.begin(), m_transfers.end(),
                                     [&](const auto &t) { return t.get() == transfer; });
        if (it == m_transfers.end()) {
            m_spareEasies.push_back(easy);
            continue;
        }
        std::unique_ptr<Transfer> done = std::move(*it);
        m_transfers.erase(it);
        leaveSite(*done);
        const bool ok = result == CURLE_OK && !done->overflow && status >= 200 && status < 300;
        if (!done->robotsSite.isEmpty()) {
            m_spareEasies.push_back(easy);
            // Only a robots.txt that was really served restricts anything; a missing file,
            // a server error or no answer leaves the site open.
            robotsArrived(done->robotsSite,
                          ok ? RobotsRules::parse(done->body, kProductToken) : RobotsRules{});
            continue;
        }
        --m_runningPages;
        const bool handled = result == CURLE_OK &&
                             (followRedirect(*done, easy, status) || backOff(*done, easy, status));
        m_spareEasies.push_back(easy);
        if (!handled)
            complete(done->request, ok ? done->body : QByteArray());
    }
}

// A 3xx answer with a location sends the page on to it, through the robots rules of the
// site it leads to; past the redirect limit, or to anything but http(s), the page fails.
bool CurlDownloader::Worker::followRedirect(Transfer &done, CURL *easy, long status)
{
    if (status < 300 || status >= 400)
        return false;
    char *target = nullptr;
    curl_easy_getinfo(easy, CURLINFO_REDIRECT_URL, &target);
    if (!target)
        return false; // a 304 or a 3xx without a location: nothing to follow
    const QString next = QString::fromUtf8(target);
    const QString scheme = QUrl(next).scheme().toLower();
    Request request = done.request;
    if (request.redirects >= std::max(0, request.options->maxRedirects) ||
        (scheme != QLatin1String("http") && scheme != QLatin1String("https"))) {
        complete(request, {});
        return true;
    }
    ++request.redirects;
    request.referer = request.address();
    request.location = next;
    request.site.clear(); // the site it leads to paces it
    request.retried = false;
    accept(std::move(request));
    return true;
}

// A 429 or 503 answer with politeness on: the site closes for a while, and the page waits
// at the front of its site's queue to be asked once more when it opens.
bool CurlDownloader::Worker::backOff(Transfer &done, CURL *easy, long status)
{
    Request &request = done.request;
    if ((status != 429 && status != 503) || request.site.isEmpty() ||
        !request.options->politeness.backOffWhenBusy)
        return false;
    curl_off_t retryAfter = 0; // seconds; curl reads both forms of the header
    curl_easy_getinfo(easy, CURLINFO_RETRY_AFTER, &retryAfter);
    const qint64 pauseMs =
        retryAfter > 0 ? std::min<qint64>(qint64(retryAfter) * 1000, SitePoliteness::kMaxBackOffMs)
                       : SitePoliteness::kDefaultBackOffMs;
    const auto now = Clock::now();
    Site &site = siteFor(request.site);
    closeSite(site, now + std::chrono::milliseconds(pauseMs));
    if (request.retried || pauseMs > request.timeoutMs) {
        complete(request, {});
        return true;
    }
    request.retried = true;
    request.queuedAt = now;
    site.queue.push_front(std::move(request));
    listQueued(site);
    return true;
}

// No page of the site starts before until; queued pages that may not wait that long give up.
void CurlDownloader::Worker::closeSite(Site &site, Clock::time_point until)
{
    site.closedUntil = std::max(site.closedUntil, until);
    const auto now = Clock::now();
    std::erase_if(site.queue, [&](const Request &request) {
        if (site.closedUntil - now <= std::chrono::milliseconds(request.timeoutMs))
            return false;
        complete(request, {});
        return true;
    });
}

void CurlDownloader::Worker::robotsArrived(const QString &key, const RobotsRules &rules)
{
    const auto found = m_sites.find(key);
    if (found == m_sites.end())
        return;
    Site &site = found->second;
    site.known = true;
    site.rules = rules;
    std::vector<Request> waiting;
    waiting.swap(site.waiting);
    for (Request &request : waiting) {
        if (request.generation < m_minGeneration)
            continue;
        const QUrl url(request.address().trimmed(), QUrl::TolerantMode);
        if (rules.allows(robotsPath(url)))
            admit(site, std::move(request));
        else
            complete(request, {});
    }
}

void CurlDownloader::Worker::complete(const Request &request, const QByteArray &body)
{
    if (request.generation < m_minGeneration)
        return;
    CurlDownloader *owner = m_owner;
    QMetaObject::invokeMethod(
        owner,
        [owner, generation = request.generation, slot = request.slot, url = request.url, body] {
            owner->deliver(generation, slot, url, body);
        },
        Qt::QueuedConnection);
}

// Drops every page of an older generation: queued, waiting for robots or running. Robots
// fetches keep going so that their answer is not fetched twice.
void CurlDownloader::Worker::dropAll()
{
    const auto old = [&](const Request &r) { return r.generation < m_minGeneration; };
    std::erase_if(m_ready, old);
    for (auto &[key, site] : m_sites) {
        std::erase_if(site.waiting, old);
        std::erase_if(site.queue, old);
    }
    bool stopping = false;
    {
        std::lock_guard lock(m_mutex);
        stopping = m_stop;
    }
    for (auto it = m_transfers.begin(); it != m_transfers.end();) {
        Transfer *t = it->get();
        const bool robots = !t->robotsSite.isEmpty();
        if ((robots && !stopping) ||
            (!robots && !stopping && t->request.generation >= m_minGeneration)) {
            ++it;
            continue;
        }
        if (t->easy) {
            curl_multi_remove_handle(m_multi, t->easy);
            m_spareEasies.push_back(t->easy);
            leaveHost(*t);
        }
        leaveSite(*t);
        if (!robots)
            --m_runningPages;
        it = m_transfers.erase(it);
    }
}

// ---------------------------------------------------------------------------------------

CurlDownloader::CurlDownloader(QObject *parent)
    : CurlDownloader(DownloadOptions::fromSettings(), parent)
{
}

CurlDownloader::CurlDownloader(DownloadOptions options, QObject *parent)
    : PageDownloader(parent), m_worker(std::make_unique<Worker>(this, options))
{
}

CurlDownloader::~CurlDownloader()
{
    m_worker.reset(); // joins the worker before QObject drops our posted completions
}

void CurlDownloader::setOptions(const DownloadOptions &options)
{
    m_worker->setOptions(options);
}

void CurlDownloader::setProxy(const ProxySettings &proxy)
{
    DownloadOptions o = m_worker->options();
    o.proxy = proxy;
    m_worker->setOptions(o);
}

void CurlDownloader::setPoliteness(const SitePoliteness &politeness)
{
    DownloadOptions o = m_worker->options();
    o.politeness = politeness;
    m_worker->setOptions(o);
}

DownloadOptions CurlDownloader::options() const
{
    return m_worker->options();
}

void CurlDownloader::Download(const QString &url, int timeoutMs, int slot)
{
    try {
        m_worker->add(url, timeoutMs, slot, m_generation);
        ++m_inFlight;
    } catch (...) {
        // Out of memory queuing one page: that page is simply never delivered.
    }
}

void CurlDownloader::cancelAll()
{
    ++m_generation;
    m_inFlight = 0;
    m_worker->cancelBelow(m_generation);
}

int CurlDownloader::inFlight() const
{
    return m_inFlight;
}

int CurlDownloader::robotsFetches() const
{
    return m_worker->robotsFetches();
}

void CurlDownloader::deliver(std::uint64_t generation, int slot, const QString &url,
                             const QByteArray &body)
{
    if (generation != m_generation)
        return;
    --m_inFlight;
    emit DownloadComplete(slot, url, body);
}

} // namespace corvane
