#include "leads/LeadDatabase.h"

#include "common/DataFolder.h"
#include "leads/LeadSchema.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>

namespace corvane {

namespace {

// How long a read waits for a writer's commit before it reads without folding.
constexpr int kFoldWaitMs = 200;

} // namespace

QString runKindName(RunKind kind)
{
    return kind == RunKind::Scan ? QStringLiteral("scan") : QStringLiteral("harvest");
}

QString leadDomain(const QString &email)
{
    return email.mid(email.lastIndexOf(QLatin1Char('@')) + 1).toLower();
}

QString LeadDatabase::defaultPath()
{
    return DataFolder::root() + QStringLiteral("/leads.sqlite");
}

Result<sqlite::Connection> openLeadConnection(const QString &path)
{
    const auto problem = [&path](const QString &reason) {
        return fail(QStringLiteral("The lead database %1 cannot be used: %2").arg(path, reason));
    };
    auto opened = sqlite::Connection::open(path, true);
    if (!opened)
        return problem(opened.message());
    sqlite::Connection &db = opened.value();
    // WAL lets readers go on while a run writes; NORMAL syncs at checkpoints only, which a
    // killed program survives (only a power cut may lose the last commits, never the file).
    if (auto wal = db.exec("PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL"); !wal)
        return problem(wal.message());
    if (auto migrated = migrate(db, leadSchemaSteps()); !migrated)
        return problem(migrated.message());
    if (auto added = db.addTextFunction("lead_domain", leadDomain); !added)
        return problem(added.message());
    return std::move(opened).value();
}

namespace {

// The leads of the pending rows up to lastId into temp.found, one to a row, in the order
// found, each with the id of its source, which this files (a source keeps its latest title).
// One parse per row and one source lookup per page: SQL's JSON functions took a parse per
// field and its joins a lookup per lead. A row edited by hand into something else is
// dropped, never an error of every read.
Result<void> splitPendingLeads(sqlite::Connection &db, qint64 lastId)
{
    auto rows =
        db.prepare(QStringLiteral("SELECT run, leads FROM pending WHERE id <= ?1 ORDER BY id"));
    auto addSource = db.prepare(
        QStringLiteral("INSERT INTO sources(location, title) VALUES(?1, ?2)"
                       " ON CONFLICT(location) DO UPDATE SET title = excluded.title RETURNING id"));
    auto addLead = db.prepare(
        QStringLiteral("INSERT INTO temp.found(run, email, source, seen) VALUES(?1, ?2, ?3, ?4)"));
    for (const Result<sqlite::Statement> *prepared : {&rows, &addSource, &addLead}) {
        if (!*prepared)
            return prepared->error();
    }
    struct Source
    {
        qint64 id;
        QString title;
    };
    QHash<QString, Source> sources;
    rows.value().bind(1, lastId);
    Result<void> added;
    const auto sourceId = [&](const QString &location, const QString &title) -> Result<qint64> {
        if (const auto known = sources.constFind(location);
            known != sources.cend() && known->title == title)
            return known->id;
        addSource.value().bind(1, location);
        addSource.value().bind(2, title);
        const Result<bool> row = addSource.value().step();
        if (!row)
            return row.error();
        const qint64 id = *row ? addSource.value().integer(0) : -1;
        addSource.value().reset();
        if (id < 0)
            return fail(QStringLiteral("a source was not filed"));
        sources.insert(location, {id, title});
        return id;
    };
    const Result<void> read = rows.value().forEachRow([&] {
        addLead.value().bind(1, rows.value().integer(0));
        const QJsonDocument document = QJsonDocument::fromJson(rows.value().bytes(1));
        for (const QJsonValue &page : document.array()) {
            const QJsonArray fields = page.toArray();
            if (fields.size() < 4 || !fields[0].isString() || !fields[1].isString() ||
                !fields[2].isDouble())
                continue;
            const Result<qint64> source = sourceId(fields[0].toString(), fields[1].toString());
            if (!source) {
                added = source.error();
                return false;
            }
            addLead.value().bind(3, *source);
            addLead.value().bind(4, fields[2].toInteger());
            for (qsizetype i = 3; i < fields.size(); ++i) {
                if (!fields[i].isString())
                    continue;
                addLead.value().bind(2, fields[i].toString());
                if (added = addLead.value().run(); !added)
                    return false;
            }
        }
        return true;
    });
    if (!read)
        return read;
    return added;
}

} // namespace

Result<qint64> foldPendingLeads(sqlite::Connection &db, qint64 rowLimit)
{
    auto transaction = sqlite::Transaction::begin(db);
    if (!transaction)
        return transaction.error();
    auto last = db.prepare(QStringLiteral(
        "SELECT count(*), max(id) FROM (SELECT id FROM pending ORDER BY id LIMIT ?1)"));
    if (!last)
        return last.error();
    last.value().bind(1, rowLimit);
    if (const Result<bool> row = last.value().step(); !row)
        return row.error();
    const qint64 count = last.value().integer(0);
    const qint64 lastId = last.value().integer(1);
    last.value().reset();
    if (count == 0)
        return 0;

    // Once the leads are split out (splitPendingLeads), in the order found, what recording
    // each lead on its own gave: a lead keeps its first sighting, and its latest source is the
    // first one of its latest run; a sighting is a lead's first source within a run.
    static const QString steps[] = {
        QStringLiteral(
            "INSERT INTO leads(email, domain, first_seen, last_seen, first_run, last_run,"
            " last_source) SELECT f.email, lead_domain(f.email), f.seen, f.seen, f.run, f.run,"
            " f.source FROM temp.found f WHERE true"
            " ORDER BY f.id ON CONFLICT(email) DO UPDATE SET last_source = CASE WHEN"
            " last_run = excluded.last_run THEN last_source ELSE excluded.last_source END,"
            " last_run = excluded.last_run, last_seen = max(last_seen, excluded.last_seen)"),
        QStringLiteral("INSERT OR IGNORE INTO sightings(run, lead, source, seen)"
                       " SELECT f.run, l.id, f.source, f.seen FROM temp.found f"
                       " JOIN leads l ON l.email = f.email ORDER BY f.id"),
        QStringLiteral("DELETE FROM temp.found"),
        QStringLiteral("DELETE FROM pending WHERE id <= ?1"),
    };
    if (auto made = db.exec("CREATE TEMP TABLE IF NOT EXISTS found(id INTEGER PRIMARY KEY,"
                            " run INTEGER, email TEXT, source INTEGER, seen INTEGER)");
        !made)
        return made.error();
    if (auto split = splitPendingLeads(db, lastId); !split)
        return split.error();
    for (const QString &step : steps) {
        // A step without ?1 leaves the value unused.
        if (const Result<void> done = db.run(step, lastId); !done)
            return done.error();
    }
    if (auto committed = transaction.value().commit(); !committed)
        return committed.error();
    return count;
}

Result<void> LeadDatabase::foldPending()
{
    // A reader that finds nothing pending takes no lock.
    const Result<qint64> pending = m_db.queryInt("SELECT EXISTS(SELECT 1 FROM pending)");
    if (!pending)
        return pending.error();
    if (*pending == 0)
        return {};
    // In slices (a pending row holds up to RunRecorder::kBatchLimit leads), so a large
    // backlog never holds a running harvest's commits up for long.
    constexpr qint64 kSlice = 16;
    m_db.setBusyTimeout(kFoldWaitMs);
    Result<qint64> folded = kSlice;
    while (folded && *folded == kSlice)
        folded = foldPendingLeads(m_db, kSlice);
    m_db.setBusyTimeout(sqlite::kDefaultBusyTimeoutMs);
    if (!folded && m_db.lastErrorMeansBusy())
        return {}; // a writer holds the file: read what is folded
    if (!folded)
        return folded.error();
    return {};
}

Result<LeadDatabase> LeadDatabase::open(const QString &path)
{
    auto db = openLeadConnection(path);
    if (!db)
        return db.error();
    // Folding takes leads into the address index in no order; with SQLite's small default
    // cache a large fold would spill and rewrite the same pages many times over.
    (void)db.value().exec("PRAGMA cache_size = -65536; PRAGMA temp_store = MEMORY");
    return LeadDatabase(path, std::move(db).value());
}

LeadDatabase::LeadDatabase(QString path, sqlite::Connection db)
    : m_path(std::move(path)), m_db(std::move(db))
{
}

Result<std::vector<RunSummary>> LeadDatabase::runs()
{
    if (auto folded = foldPending(); !folded)
        return folded.error();
    auto query =
        m_db.prepare(QStringLiteral("SELECT r.id, r.kind, r.job, r.started, r.ended, r.message,"
                                    " (SELECT count(*) FROM sightings s WHERE s.run = r.id),"
                                    " (SELECT count(*) FROM sightings s JOIN leads l"
                                    "  ON l.id = s.lead WHERE s.run = r.id AND l.first_run = r.id)"
                                    " FROM runs r ORDER BY r.id"));
    if (!query)
        return query.error();
    sqlite::Statement &rows = query.value();
    std::vector<RunSummary> runs;
    const Result<void> read = rows.forEachRow([&] {
        RunSummary run;
        run.id = rows.integer(0);
        run.kind = rows.text(1) == QLatin1String("scan") ? RunKind::Scan : RunKind::Harvest;
        run.job = rows.text(2);
        run.startedMs = rows.integer(3);
        if (!rows.isNull(4))
            run.endedMs = rows.integer(4);
        run.message = rows.text(5);
        run.leads = rows.integer(6);
        run.newLeads = rows.integer(7);
        runs.push_back(std::move(run));
        return true;
    });
    if (!read)
        return read.error();
    return runs;
}

Result<bool> LeadDatabase::hasRun(qint64 id)
{
    auto query = m_db.prepare(QStringLiteral("SELECT 1 FROM runs WHERE id = ?1"));
    if (!query)
        return query.error();
    query.value().bind(1, id);
    return query.value().step();
}

Result<qint64> LeadDatabase::forEachLead(const LeadSelection &selection,
                                         const std::function<bool(const LeadRow &)> &visit)
{
    if (auto folded = foldPending(); !folded)
        return folded.error();
    // The mx column: the latest verification's host when it found the address valid.
    QString sql =
        QStringLiteral("SELECT l.email, s.location, s.title, l.first_seen, l.last_seen, %1,"
                       " (SELECT CASE WHEN v.valid THEN v.mx ELSE '' END FROM verifications v"
                       "  WHERE v.email = l.email ORDER BY v.id DESC LIMIT 1) ");
    if (selection.run) {
        sql = sql.arg(QLatin1String("x.run")) +
              QStringLiteral("FROM sightings x JOIN leads l ON l.id = x.lead"
                             " JOIN sources s ON s.id = x.source WHERE x.run = ?1");
        if (selection.newOnly)
            sql += QStringLiteral(" AND l.first_run = ?1");
    } else {
        sql = sql.arg(QLatin1String("l.last_run")) +
              QStringLiteral("FROM leads l JOIN sources s ON s.id = l.last_source WHERE 1");
        if (selection.newOnly && !selection.sinceMs)
            sql += QStringLiteral(" AND l.first_run = (SELECT max(id) FROM runs)");
    }
    if (selection.sinceMs)
        sql += selection.newOnly ? QStringLiteral(" AND l.first_seen >= ?2")
                                 : QStringLiteral(" AND l.last_seen >= ?2");
    QString domain = selection.domain.toLower();
    if (domain.startsWith(QLatin1Char('@')) || domain.startsWith(QLatin1Char('.')))
        domain.remove(0, 1);
    if (!domain.isEmpty())
        sql += QStringLiteral(" AND (l.domain = ?3 OR substr(l.domain, -length(?4)) = ?4)");
    sql += selection.run ? QStringLiteral(" ORDER BY x.lead") : QStringLiteral(" ORDER BY l.id");

    auto query = m_db.prepare(sql);
    if (!query)
        return query.error();
    sqlite::Statement &rows = query.value();
    if (selection.run)
        rows.bind(1, *selection.run);
    if (selection.sinceMs)
        rows.bind(2, *selection.sinceMs);
    rows.bind(3, domain);
    rows.bind(4, QLatin1Char('.') + domain);

    qint64 count = 0;
    LeadRow lead;
    const Result<void> read = rows.forEachRow([&] {
        lead.email = rows.text(0);
        if (selection.addresses && !selection.addresses->contains(lead.email))
            return true;
        lead.source = rows.text(1);
        lead.title = rows.text(2);
        lead.firstSeenMs = rows.integer(3);
        lead.lastSeenMs = rows.integer(4);
        lead.run = rows.integer(5);
        lead.mx = rows.text(6);
        ++count;
        return visit(lead);
    });
    if (!read)
        return read.error();
    return count;
}

Result<void> LeadDatabase::recordVerification(const Verification &verification)
{
    return m_db.run(
        QStringLiteral(
            "INSERT INTO verifications(email, valid, mx, checked) VALUES(?1, ?2, ?3, ?4)"),
        verification.email, qint64(verification.valid), verification.mxHost,
        verification.checkedMs);
}

Result<void> LeadDatabase::recordVerifications(const std::vector<Verification> &verifications)
{
    auto transaction = sqlite::Transaction::begin(m_db);
    if (!transaction)
        return transaction.error();
    for (const Verification &verification : verifications) {
        if (Result<void> recorded = recordVerification(verification); !recorded)
            return recorded;
    }
    return transaction.value().commit();
}

Result<void> LeadDatabase::recordExport(const ExportRecord &record)
{
    return m_db.run(QStringLiteral("INSERT INTO exports(format, destination, count, exported) "
                                   "VALUES(?1, ?2, ?3, ?4)"),
                    record.format, record.destination, record.count, record.exportedMs);
}

Result<void> recordExport(const ExportRecord &record)
{
    auto db = LeadDatabase::open(LeadDatabase::defaultPath());
    if (!db)
        return db.error();
    return db.value().recordExport(record);
}

Result<std::vector<ExportRecord>> LeadDatabase::exports()
{
    auto query = m_db.prepare(
        QStringLiteral("SELECT format, destination, count, exported FROM exports ORDER BY id"));
    if (!query)
        return query.error();
    sqlite::Statement &rows = query.value();
    std::vector<ExportRecord> records;
    const Result<void> read = rows.forEachRow([&] {
        records.push_back({rows.text(0), rows.text(1), rows.integer(2), rows.integer(3)});
        return true;
    });
    if (!read)
        return read.error();
    return records;
}

} // namespace corvane
