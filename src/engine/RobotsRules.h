#pragma once

#include <QByteArray>

#include <vector>

namespace corvane {

// The rules of one site's robots.txt that apply to one robot. Groups are chosen by the
// robot's product token ("Corvane"), falling back to the "*" group; within them the
// longest matching Allow or Disallow pattern decides, Allow winning a tie. Patterns may
// use "*" (any run of characters) and a final "$" (end of the address). A "Crawl-delay" in the
// chosen groups asks for that many seconds between requests.
class RobotsRules
{
public:
    // Allows everything: what a site without a usable robots.txt gets.
    RobotsRules() = default;

    // Reads at most the first 512 KiB and 4096 rules; anything unreadable is skipped.
    static RobotsRules parse(const QByteArray &text, const QByteArray &productToken);

    // pathAndQuery: the address's path (and "?query"), as sent to the server.
    bool allows(const QByteArray &pathAndQuery) const;
    bool allowsEverything() const { return m_rules.empty(); }
    // The largest "Crawl-delay" of the chosen groups in milliseconds, at most a minute (a
    // site cannot stall the crawl with a day); 0 when none is given.
    int crawlDelayMs() const { return m_crawlDelayMs; }

    static constexpr int kMaxCrawlDelayMs = 60000;

private:
    struct Rule
    {
        QByteArray pattern;
        bool allow = false;
    };
    std::vector<Rule> m_rules;
    int m_crawlDelayMs = 0;
};

// Does path match a robots pattern ("*" wildcards, optional final "$")? Linear in the
// product of the lengths at worst, never exponential.
bool robotsPatternMatches(const QByteArray &pattern, const QByteArray &path);

} // namespace corvane
