#pragma once

#include "common/Result.h"
#include "leads/LeadRecords.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <functional>
#include <optional>
#include <vector>

class QIODevice;

namespace corvane {

class LeadDatabase;

// Where a lead was found, as a line for the user: "Found at URL" with the page's title on a
// line of its own, or "Found in PATH".
QString leadSourceText(const LeadSource &source);
// What opening a lead's source shows: a web page (http or https only) itself, a file its
// folder, so that nothing found on disk is ever run. Empty when there is nothing safe to open.
QUrl leadSourceLink(const LeadSource &source);

// Times as the lead listings show them: ISO 8601 in UTC to the second, "2024-05-31T14:00:00Z".
void appendIsoUtc(QByteArray &out, qint64 ms);
QString isoUtc(qint64 ms);

// text as a JSON string, quotes included, in UTF-8.
void appendJsonString(QByteArray &out, const QString &text);

// A date ("2024-05-31", from its first moment) or date-time ("2024-05-31T14:00",
// "...:00Z", "...+02:00"); without a zone the time is UTC, as the listings print it.
Result<qint64> parseLeadTime(const QString &text);

// How listed leads are written: an optional header, then each lead appended by row.
struct LeadOutputFormat
{
    QByteArray header;
    std::function<void(QByteArray &out, const LeadRow &lead)> row;
};

// One address per line.
LeadOutputFormat addressLinesFormat();
// RFC 4180: a header line, CR LF line ends; fields with a comma, quote, CR or LF quoted.
LeadOutputFormat csvFormat();
// JSON Lines: one object per lead with the CSV's field names; run is a number.
LeadOutputFormat jsonLinesFormat();

// Writes the selected leads to out in format, in large chunks; returns how many.
Result<qint64> writeLeads(LeadDatabase &db, const LeadSelection &selection,
                          const LeadOutputFormat &format, QIODevice &out);

// The leads of each selection in turn under one header; returns how many.
Result<qint64> writeEachSelection(LeadDatabase &db, const std::vector<LeadSelection> &selections,
                                  LeadOutputFormat format, QIODevice &out);

// The same to the file at path, replaced whole or left as it was. The message names the file.
Result<qint64> writeLeadsToFile(LeadDatabase &db, const std::vector<LeadSelection> &selections,
                                const LeadOutputFormat &format, const QString &path);

// "text" (addresses), "csv" or "jsonl"; none for another name.
std::optional<LeadOutputFormat> leadFormatNamed(const QString &name);

// Saves the leads of runs (each with the source its run found it at; with addresses, only
// those) to path in the format named formatName, and records the export in the database at
// databasePath; returns how many. What a front end calls to save a harvest's or a scan's
// leads with their sources.
Result<qint64> exportRunLeads(const QString &databasePath, const std::vector<qint64> &runs,
                              const QString &formatName, const QString &path,
                              const std::optional<QSet<QString>> &addresses = {});

} // namespace corvane
