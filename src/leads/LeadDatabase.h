#pragma once

#include "common/Result.h"
#include "common/Sqlite.h"
#include "leads/LeadRecords.h"

#include <QString>

#include <functional>
#include <vector>

namespace corvane {

// The lead database: one SQLite file in the data folder that remembers every run, where
// each lead was found, what the verifier said about it and where leads were exported.
//
// Readers and writers use separate connections in WAL mode, so a listing never waits for a
// harvest that is writing. Runs are recorded through RunRecorder, which appends its leads to
// a pending table; each read first folds what is pending into the lead tables (if a writer
// holds the file for longer than a moment, the read goes on with what is folded). The
// verifier and the exports record through an open LeadDatabase:
//
//     db.recordVerification({address, valid, mxHost});
//     db.recordExport({"vcard", path, count});
//
// An open LeadDatabase is used by one thread at a time.
class LeadDatabase
{
public:
    // DataFolder::root()/leads.sqlite
    static QString defaultPath();

    // Opens the file, creating it when missing and bringing an older layout up to date.
    static Result<LeadDatabase> open(const QString &path);

    const QString &path() const { return m_path; }

    // Every run, oldest first.
    Result<std::vector<RunSummary>> runs();
    Result<bool> hasRun(qint64 id);
    // Hands visit the leads selection picks, in the order they were first found, until it
    // returns false; returns how many it was handed.
    Result<qint64> forEachLead(const LeadSelection &selection,
                               const std::function<bool(const LeadRow &)> &visit);

    Result<void> recordVerification(const Verification &verification);
    // Several answers in one transaction: all of them or none.
    Result<void> recordVerifications(const std::vector<Verification> &verifications);
    Result<void> recordExport(const ExportRecord &record);
    // Every export, oldest first.
    Result<std::vector<ExportRecord>> exports();

private:
    LeadDatabase(QString path, sqlite::Connection db);
    Result<void> foldPending();

    QString m_path;
    sqlite::Connection m_db;
};

// Opens a connection ready for use: WAL journal, the current layout. The message names the
// file. Both LeadDatabase and RunRecorder open through this.
Result<sqlite::Connection> openLeadConnection(const QString &path);

// Moves the leads runs have appended to pending into leads, sources and sightings, as if each
// had been recorded there when it was found: at most rowLimit pending rows (a row is one
// commit of a run), oldest first, in one transaction. Returns how many rows were moved.
Result<qint64> foldPendingLeads(sqlite::Connection &db, qint64 rowLimit);

// Records an export in the lead database of the data folder (LeadDatabase::defaultPath()).
Result<void> recordExport(const ExportRecord &record);

// The part of an address after its last "@", in lower case: the key the domain filter uses.
QString leadDomain(const QString &email);

} // namespace corvane
