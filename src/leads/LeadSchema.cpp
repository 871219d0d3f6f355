#include "leads/LeadSchema.h"

#include <array>

namespace corvane {

namespace {

// leads.domain is the part after the last "@" in lower case, kept for the domain filter;
// leads.last_run/last_source repeat the lead's latest sighting so a full listing needs no
// search through the sightings. A sighting is a lead's first source within one run.
constexpr char kVersion1[] = R"sql(
CREATE TABLE runs(
    id INTEGER PRIMARY KEY,
    kind TEXT NOT NULL CHECK(kind IN ('harvest', 'scan')),
    job TEXT NOT NULL,
    started INTEGER NOT NULL,
    ended INTEGER,
    message TEXT
);
CREATE TABLE sources(
    id INTEGER PRIMARY KEY,
    location TEXT NOT NULL UNIQUE,
    title TEXT NOT NULL
);
CREATE TABLE leads(
    id INTEGER PRIMARY KEY,
    email TEXT NOT NULL UNIQUE,
    domain TEXT NOT NULL,
    first_seen INTEGER NOT NULL,
    last_seen INTEGER NOT NULL,
    first_run INTEGER NOT NULL REFERENCES runs(id),
    last_run INTEGER NOT NULL REFERENCES runs(id),
    last_source INTEGER NOT NULL REFERENCES sources(id)
);
CREATE INDEX leads_by_first_run ON leads(first_run);
CREATE INDEX leads_by_first_seen ON leads(first_seen);
CREATE INDEX leads_by_last_seen ON leads(last_seen);
CREATE TABLE sightings(
    run INTEGER NOT NULL REFERENCES runs(id),
    lead INTEGER NOT NULL REFERENCES leads(id),
    source INTEGER NOT NULL REFERENCES sources(id),
    seen INTEGER NOT NULL,
    PRIMARY KEY(run, lead)
) WITHOUT ROWID;
CREATE TABLE verifications(
    id INTEGER PRIMARY KEY,
    email TEXT NOT NULL,
    valid INTEGER NOT NULL,
    mx TEXT NOT NULL,
    checked INTEGER NOT NULL
);
CREATE INDEX verifications_by_email ON verifications(email, id);
CREATE TABLE exports(
    id INTEGER PRIMARY KEY,
    format TEXT NOT NULL,
    destination TEXT NOT NULL,
    count INTEGER NOT NULL,
    exported INTEGER NOT NULL
);
)sql";

// A running harvest only appends what it finds to pending, a row for each commit: keeping
// leads, sources and sightings current lead by lead cost a fast crawl a fifth of its speed.
// Readers fold the pending rows into those tables, in the order found (foldPendingLeads).
// pending.leads is a JSON array of the pages the commit's leads were found at, each
// [source, title, seen, email, email, ...].
// The indexes on leads by run and time cost every folded lead three more inserts; a filter
// by date reads the table through, which a million leads take in a fraction of a second, and
// a run's leads are found through its sightings.
constexpr char kVersion2[] = R"sql(
DROP INDEX leads_by_first_run;
DROP INDEX leads_by_first_seen;
DROP INDEX leads_by_last_seen;
CREATE TABLE pending(
    id INTEGER PRIMARY KEY,
    run INTEGER NOT NULL REFERENCES runs(id),
    leads TEXT NOT NULL
);
)sql";

constexpr std::array kSteps{SchemaStep{1, kVersion1}, SchemaStep{2, kVersion2}};

} // namespace

std::span<const SchemaStep> leadSchemaSteps()
{
    return kSteps;
}

int leadSchemaVersion()
{
    return kSteps.back().version;
}

namespace {

Error newerFileError(qint64 version, int latest)
{
    return fail(QStringLiteral("it was written by a newer version of Corvane (layout %1; this "
                               "version knows up to %2) and was left as it is")
                    .arg(version)
                    .arg(latest));
}

} // namespace

Result<void> migrate(sqlite::Connection &db, std::span<const SchemaStep> steps)
{
    const int latest = steps.empty() ? 0 : steps.back().version;
    // A file already up to date takes no lock: readers must never wait for a writer.
    const Result<qint64> seen = db.queryInt("PRAGMA user_version");
    if (!seen)
        return seen.error();
    if (*seen > latest)
        return newerFileError(*seen, latest);
    if (*seen == latest)
        return {};

    // Read again under the write lock, so two programs opening a new file at once cannot
    // both build it.
    auto transaction = sqlite::Transaction::begin(db);
    if (!transaction)
        return transaction.error();
    const Result<qint64> version = db.queryInt("PRAGMA user_version");
    if (!version)
        return version.error();
    if (*version > latest)
        return newerFileError(*version, latest);
    for (const SchemaStep &step : steps) {
        if (step.version <= *version)
            continue;
        if (auto done = db.exec(step.sql); !done)
            return fail(QStringLiteral("updating it to layout %1 failed: %2")
                            .arg(step.version)
                            .arg(done.message()));
    }
    const QByteArray setVersion = "PRAGMA user_version = " + QByteArray::number(latest);
    if (auto set = db.exec(setVersion.constData()); !set)
        return set;
    return transaction.value().commit();
}

} // namespace corvane
