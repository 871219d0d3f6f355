#pragma once

#include "engine/PageDownloader.h"
#include "engine/SitePoliteness.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <memory>

namespace corvane {

// How pages reach the web: straight, or through the job's proxy.
struct ProxySettings
{
    enum class Kind { None, Http, Socks4, Socks5 };

    Kind kind = Kind::None;
    QString host;
    int port = 0;
    QString userName; // empty: no authentication
    QString password;
    // Let the proxy resolve host names (SOCKS4a / SOCKS5 with remote names); for an HTTP
    // proxy the proxy always resolves.
    bool remoteDns = false;

    // From a job's captured proxy fields: "No Proxy", "Normal Proxy", "SOCKS4 Proxy",
    // "SOCKS5 Proxy" (anything else, an empty host or a port outside 1 to 65535 means no
    // proxy).
    static ProxySettings fromJob(const QString &typeText, const QString &host, int port,
                                 const QString &userName, const QString &password, bool remoteDns);

    friend bool operator==(const ProxySettings &, const ProxySettings &) = default;
};

// Everything that shapes a download besides its address, time-out and slot.
struct DownloadOptions
{
    ProxySettings proxy;
    SitePoliteness politeness;
    // Pages a site's robots.txt forbids complete with an empty body.
    bool honourRobots = true;
    // A page whose decoded body grows past this is abandoned (empty body).
    qint64 maxPageBytes = 8 * 1024 * 1024;
    int maxRedirects = 5;
    int maxConnectionsPerHost = 8;
    // Transfers running at once; further Download calls wait their turn.
    int maxInFlight = 50;
    QByteArray userAgent = defaultUserAgent();

    static QByteArray defaultUserAgent();
    // The user's settings file, section "Download": "HonourRobots" (true/false, default
    // true) and "MaxPageBytes" (default 8388608). The proxy is left as "no proxy".
    static DownloadOptions fromSettings();
};

// The page downloader on libcurl's multi interface. One worker thread runs every transfer;
// completions are queued to the thread that owns this object and delivered there one at a
// time through DownloadComplete(slot, url, body).
//
// A site's robots.txt is fetched once per scheme, host and port, before that site's first
// page, and kept for the life of the downloader; the site's pages wait for it. With
// SitePoliteness on, each site's pages wait in the site's own queue for its next turn
// (never blocking other sites' pages, never by sleeping): the worker starts a queued page
// once the site's delay has passed since its last request's answer began. Pages the
// robots rules forbid, failed pages (refused, reset, timed out, HTTP status other than
// 2xx after redirects, too many redirects, body over the size cap) complete with an empty
// body. The body is delivered as received: decoded from gzip/deflate/br, not re-encoded.
class CurlDownloader : public PageDownloader
{
    Q_OBJECT
public:
    // With the user's settings (DownloadOptions::fromSettings()) and no proxy.
    explicit CurlDownloader(QObject *parent = nullptr);
    explicit CurlDownloader(DownloadOptions options, QObject *parent = nullptr);
    // Stops the worker; transfers in flight are dropped without a completion.
    ~CurlDownloader() override;

    // Applies to downloads started afterwards. Changing honourRobots or the proxy does not
    // forget robots rules already learned.
    void setOptions(const DownloadOptions &options);
    void setProxy(const ProxySettings &proxy);
    void setPoliteness(const SitePoliteness &politeness);
    DownloadOptions options() const;

    // Returns at once. A timeoutMs of 0 or less means 30 seconds. The time-out counts from
    // this call, so a page waiting for its site's robots.txt or for a free connection
    // spends its own time.
    void Download(const QString &url, int timeoutMs, int slot) override;
    void cancelAll() override;
    // Downloads asked for and not yet delivered or cancelled.
    int inFlight() const override;

    // Number of robots.txt files fetched so far (for tests and diagnostics).
    int robotsFetches() const;

private:
    class Worker;
    void deliver(std::uint64_t generation, int slot, const QString &url, const QByteArray &body);

    std::unique_ptr<Worker> m_worker;
    std::uint64_t m_generation = 0;
    int m_inFlight = 0;
};

} // namespace corvane
