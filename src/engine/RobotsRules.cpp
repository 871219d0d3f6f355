#include "engine/RobotsRules.h"

#include <QList>

#include <algorithm>

namespace corvane {

namespace {

constexpr qsizetype kMaxRobotsBytes = 512 * 1024;
constexpr std::size_t kMaxRules = 4096;

struct Line
{
    QByteArray key;
    QByteArray value;
};

bool splitLine(QByteArray line, Line *out)
{
    const qsizetype hash = line.indexOf('#');
    if (hash >= 0)
        line.truncate(hash);
    const qsizetype colon = line.indexOf(':');
    if (colon <= 0)
        return false;
    out->key = line.left(colon).trimmed().toLower();
    out->value = line.mid(colon + 1).trimmed();
    return true;
}

// A group's user-agent value names us when our token starts with it (case-insensitive).
bool namesRobot(const QByteArray &agent, const QByteArray &token)
{
    const QByteArray a = agent.toLower();
    return !a.isEmpty() && a != "*" && token.toLower().startsWith(a);
}

// "Crawl-delay: 2.5" in milliseconds, within 0 and the cap; anything unreadable is 0.
int crawlDelayOf(const QByteArray &value)
{
    bool ok = false;
    const double seconds = value.toDouble(&ok);
    if (!ok || !(seconds > 0))
        return 0;
    return int(std::min(seconds * 1000.0, double(RobotsRules::kMaxCrawlDelayMs)));
}

} // namespace

bool robotsPatternMatches(const QByteArray &pattern, const QByteArray &path)
{
    QByteArray p = pattern;
    const bool anchored = p.endsWith('$');
    if (anchored)
        p.chop(1);

    // Greedy wildcard matching with one back-tracking point (the last "*"): each character
    // of the path is revisited at most once per star, so hostile patterns stay cheap.
    qsizetype pi = 0, si = 0, star = -1, mark = 0;
    const qsizetype plen = p.size(), slen = path.size();
    while (si < slen) {
        if (pi < plen && p[pi] == '*') {
            star = pi++;
            mark = si;
        } else if (pi < plen && p[pi] == path[si]) {
            ++pi;
            ++si;
        } else if (pi == plen && !anchored) {
            return true; // a prefix match is enough without "$"
        } else if (star >= 0) {
            pi = star + 1;
            si = ++mark;
        } else {
            return false;
        }
    }
    while (pi < plen && p[pi] == '*')
        ++pi;
    return pi == plen;
}

RobotsRules RobotsRules::parse(const QByteArray &text, const QByteArray &productToken)
{
    struct Group
    {
        QList<QByteArray> agents;
        std::vector<Rule> rules;
        int crawlDelayMs = 0;
    };
    std::vector<Group> groups;
    bool lastWasAgent = false;

    const QList<QByteArray> lines = text.left(kMaxRobotsBytes).split('\n');
    for (const QByteArray &raw : lines) {
        Line line;
        if (!splitLine(raw, &line))
            continue;
        if (line.key == "user-agent") {
            if (!lastWasAgent || groups.empty())
                groups.emplace_back();
            groups.back().agents.append(line.value);
            lastWasAgent = true;
            continue;
        }
        lastWasAgent = false;
        if (!groups.empty() && line.key == "crawl-delay") {
            groups.back().crawlDelayMs =
                std::max(groups.back().crawlDelayMs, crawlDelayOf(line.value));
            continue;
        }
        if (groups.empty() || (line.key != "allow" && line.key != "disallow"))
            continue;
        if (line.value.isEmpty())
            continue; // "Disallow:" with nothing forbids nothing
        groups.back().rules.push_back(Rule{line.value, line.key == "allow"});
    }

    RobotsRules result;
    auto take = [&](auto accepts) {
        for (const Group &g : groups) {
            bool match = false;
            for (const QByteArray &agent : g.agents)
                match = match || accepts(agent);
            if (!match)
                continue;
            result.m_crawlDelayMs = std::max(result.m_crawlDelayMs, g.crawlDelayMs);
            for (const Rule &r : g.rules) {
                if (result.m_rules.size() >= kMaxRules)
                    return;
                result.m_rules.push_back(r);
            }
        }
    };
    bool named = false;
    for (const Group &g : groups)
        for (const QByteArray &agent : g.agents)
            named = named || namesRobot(agent, productToken);
    if (named)
        take([&](const QByteArray &a) { return namesRobot(a, productToken); });
    else
        take([](const QByteArray &a) { return a.trimmed() == "*"; });
    return result;
}

bool RobotsRules::allows(const QByteArray &pathAndQuery) const
{
    const QByteArray path = pathAndQuery.isEmpty() ? QByteArray("/") : pathAndQuery;
    if (path == "/robots.txt")
        return true;
    qsizetype bestLength = -1;
    bool allowed = true;
    for (const Rule &r : m_rules) {
        if (!robotsPatternMatches(r.pattern, path))
            continue;
        const qsizetype length = r.pattern.size();
        if (length > bestLength || (length == bestLength && r.allow)) {
            bestLength = length;
            allowed = r.allow;
        }
    }
    return allowed;
}

} // namespace corvane
