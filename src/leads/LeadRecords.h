#pragma once

#include <QDateTime>
#include <QSet>
#include <QString>

#include <optional>

namespace corvane {

// What the lead database keeps. Times are milliseconds since 1970-01-01 UTC.

enum class RunKind { Harvest, Scan };

// The end message of a run the user stopped.
inline const QString kRunStoppedMessage = QStringLiteral("Stopped.");
QString runKindName(RunKind kind);

struct RunSummary
{
    qint64 id = 0;
    RunKind kind = RunKind::Harvest;
    QString job{}; // the JSON text the run was started with
    qint64 startedMs = 0;
    std::optional<qint64> endedMs{}; // none: still going, or cut off by a crash
    QString message{};
    qint64 leads = 0;    // addresses seen in the run
    qint64 newLeads = 0; // of those, first seen in the run
};

// One lead as listed: where it was found in its run, and when it was first and last seen.
struct LeadRow
{
    QString email{};
    QString source{}; // page address, or file path
    QString title{};  // the page's title; empty for files
    qint64 firstSeenMs = 0;
    qint64 lastSeenMs = 0;
    qint64 run = 0;
    QString mx{}; // MX host of the latest verification; empty if none or found invalid
};

// Which leads to list. Every given condition must hold.
struct LeadSelection
{
    std::optional<qint64> run{}; // seen in this run (its source is the one of that run)
    std::optional<qint64> sinceMs{};
    // First seen in the selected run (or the latest run); with sinceMs: first seen since then.
    bool newOnly = false;
    QString domain{}; // the domain or any of its subdomains, letter case ignored
    // Only these addresses, exactly as recorded (a window's list, less what the user removed).
    std::optional<QSet<QString>> addresses{};
};

// Where a run found a lead: a page address with the page's title, or a file path.
struct LeadSource
{
    QString location{};
    QString title{}; // empty for files and pages without one
};

struct Verification
{
    QString email{};
    bool valid = false;
    QString mxHost{};
    qint64 checkedMs = QDateTime::currentMSecsSinceEpoch();
};

struct ExportRecord
{
    QString format{}; // "csv", "jsonl", "vcard", ...
    QString destination{};
    qint64 count = 0;
    qint64 exportedMs = QDateTime::currentMSecsSinceEpoch();
};

} // namespace corvane
