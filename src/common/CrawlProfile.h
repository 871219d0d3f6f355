#pragma once

#include <QString>

#include <optional>

namespace corvane {

// classic follows the program's original rules to the letter; modern adapts them to
// today's web (https counts like http, bursts chain on completion, parallel MX checks).
enum class CrawlProfile { Classic, Modern };

inline std::optional<CrawlProfile> parseCrawlProfile(const QString &name)
{
    if (name == QLatin1String("classic"))
        return CrawlProfile::Classic;
    if (name == QLatin1String("modern"))
        return CrawlProfile::Modern;
    return std::nullopt;
}

inline QString crawlProfileName(CrawlProfile profile)
{
    return profile == CrawlProfile::Modern ? QStringLiteral("modern") : QStringLiteral("classic");
}

} // namespace corvane
