#pragma once

namespace corvane {

// How hard the downloader may press one site: a scheme, host and port, what one robots.txt
// covers. All off by default; the modern profile turns it on.
struct SitePoliteness
{
    // Least time between the starts of two requests to one site (robots.txt included). A
    // page waiting for its site's turn does not spend its own time-out on the wait.
    int delayMs = 0;
    // The site's robots.txt "Crawl-delay" counts when it asks for more than delayMs.
    bool followCrawlDelay = false;
    // Pages requested from one site at most; 0: no cap. Pages past it complete empty at once.
    int maxPagesPerSite = 0;
    // A 429 or 503 answer closes its site for the answer's Retry-After (kDefaultBackOffMs when
    // it gives none; at most kMaxBackOffMs), and the page is asked again once after that.
    // Pages whose time-out is shorter than the site's closing complete empty.
    bool backOffWhenBusy = false;

    static constexpr int kDefaultBackOffMs = 10000;
    static constexpr int kMaxBackOffMs = 300000;

    bool isOn() const
    {
        return delayMs > 0 || followCrawlDelay || maxPagesPerSite > 0 || backOffWhenBusy;
    }
    friend bool operator==(const SitePoliteness &, const SitePoliteness &) = default;
};

} // namespace corvane
