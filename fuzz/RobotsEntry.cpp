// A site's robots.txt. The input's first line is the address path the crawl asks about; the
// rest is the file.

#include "FuzzTarget.h"

#include "engine/RobotsRules.h"

#include <vector>

using namespace corvane;

namespace {

// The plain matcher below builds a table per pattern; these keep an input's cost small.
constexpr qsizetype kOracleLength = 128;
constexpr int kOraclePatterns = 32;

// The pattern rule written out as a table over (pattern prefix, path prefix): "*" takes any
// run, a final "$" demands the whole path, otherwise the pattern need only match a prefix.
bool plainPatternMatch(QByteArray pattern, const QByteArray &path)
{
    const bool anchored = pattern.endsWith('$');
    if (anchored)
        pattern.chop(1);
    const qsizetype m = pattern.size(), n = path.size();
    // matches[i][j]: the first i pattern bytes match exactly the first j path bytes.
    std::vector<std::vector<bool>> matches(m + 1, std::vector<bool>(n + 1, false));
    matches[0][0] = true;
    for (qsizetype i = 1; i <= m; ++i) {
        for (qsizetype j = 0; j <= n; ++j) {
            if (pattern[i - 1] == '*')
                matches[i][j] = matches[i - 1][j] || (j > 0 && matches[i][j - 1]);
            else
                matches[i][j] = j > 0 && matches[i - 1][j - 1] && pattern[i - 1] == path[j - 1];
        }
    }
    if (anchored)
        return matches[m][n];
    for (qsizetype j = 0; j <= n; ++j) {
        if (matches[m][j])
            return true;
    }
    return false;
}

} // namespace

// The file itself is always allowed; a question gets the same answer twice; every pattern in
// the file matches the path exactly when the plain rule says so.
CORVANE_FUZZ_TARGET(robots)
{
    const qsizetype newline = input.indexOf('\n');
    const QByteArray path = (newline < 0 ? input : input.first(newline)).toByteArray();
    const QByteArray text = newline < 0 ? QByteArray() : input.sliced(newline + 1).toByteArray();

    const RobotsRules rules = RobotsRules::parse(text, "Corvane");
    CORVANE_EXPECT(rules.allows("/robots.txt"));
    CORVANE_EXPECT(rules.allows(path) == rules.allows(path));
    CORVANE_EXPECT(!rules.allowsEverything() || rules.allows(path));

    if (path.size() > kOracleLength)
        return;
    const QList<QByteArray> lines = text.split('\n');
    for (const QByteArray &line : lines.first(std::min<qsizetype>(lines.size(), kOraclePatterns))) {
        const QByteArray pattern = line.mid(line.indexOf(':') + 1).trimmed();
        if (pattern.size() <= kOracleLength)
            CORVANE_EXPECT(robotsPatternMatches(pattern, path) == plainPatternMatch(pattern, path));
    }
}
