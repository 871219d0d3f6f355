#pragma once

#include "common/Result.h"
#include "leads/LeadRecords.h"

#include <QByteArray>
#include <QString>

#include <functional>

class QIODevice;

namespace corvane {

class LeadDatabase;

// Times as the lead listings show them: ISO 8601 in UTC to the second, "2024-05-31T14:00:00Z".
void appendIsoUtc(QByteArray &out, qint64 ms);
QString isoUtc(qint64 ms);

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

} // namespace corvane
