#pragma once

// The parts every lead-sheet format shares: the read's budget and messages, and the walk
// down the first column. Internal to the scan library; ReadWorkbook.h is the interface.

#include "scan/ReadWorkbook.h"

#include <QElapsedTimer>
#include <QString>
#include <QStringList>

#include <variant>
#include <vector>

class QIODevice;

namespace corvane {

// One read: its limits, how much it has unpacked, and the caller's watch.
class SheetContext
{
public:
    SheetContext(QString name, const LeadSheetWatch &watch, const LeadSheetLimits &limits)
        : m_name(std::move(name)), m_watch(watch), m_limits(limits)
    {
    }

    const LeadSheetLimits &limits() const { return m_limits; }

    // "NAME is not a lead sheet: WHY."
    Error refuse(const QString &why) const;
    Error textTooLong() const;
    // The size limit in words ("256 MiB").
    QString sizeLimit() const;
    // "Cannot read NAME: REASON"
    Error unreadable(const QString &reason) const;

    // Counts bytes read or unpacked against the limit, notices a cancel and now and then
    // reports the rows walked so far; called for every chunk or record, so a read never
    // runs long without looking.
    Result<void> advance(qint64 bytes);
    void setRows(int rows) { m_rows = rows; }

private:
    QString m_name;
    const LeadSheetWatch &m_watch;
    LeadSheetLimits m_limits;
    qint64 m_bytes = 0;
    int m_rows = 0;
    int m_reportedRows = 0;
    QElapsedTimer m_sinceReport;
};

// The walk down column 1 of a workbook, fed the column's cells in row order as the sheet
// streams past. Shared texts are kept as their index until the shared-text table has been
// read; only cells that can still be leads are kept at all.
class LeadColumn
{
public:
    explicit LeadColumn(SheetContext &context) : m_context(context) {}

    // Each returns false once the column has ended (an empty cell, or a row without a
    // column-1 cell), after which nothing more is taken and the sheet need not be read on.
    // Rows count from 1; a row out of order fails the read.
    Result<bool> addText(qint64 row, const QString &text);
    Result<bool> addShared(qint64 row, qint64 index);
    // A number, a truth value or an error: a cell that is not empty but holds no lead.
    Result<bool> addValue(qint64 row);
    // For sheets that list their rows: every cell of that row has been offered. False when
    // the column has ended, as it has at a row without a column-1 cell.
    bool endRow(qint64 row);

    bool ended() const { return m_ended; }
    // The shared-text indices the kept cells refer to, ascending; call once the column has
    // been read.
    const std::vector<qint64> &sharedIndices();
    // The leads, in order, given the texts of sharedIndices() in the same order (fewer when
    // the table ended early).
    Result<QStringList> leads(const std::vector<QString> &shared) const;

private:
    Result<bool> admit(qint64 row);

    SheetContext &m_context;
    std::vector<std::variant<QString, qint64>> m_kept;
    std::vector<qint64> m_sharedIndices;
    qint64 m_nextRow = 1;
    bool m_ended = false;
};

bool isLeadCell(const QString &text);

// The formats. Each reads from the device's current position; the workbooks need a
// device that can seek.
Result<QStringList> readTextSheet(QIODevice &device, SheetContext &context);
Result<QStringList> readXlsxSheet(QIODevice &device, SheetContext &context);
Result<QStringList> readXlsSheet(QIODevice &device, SheetContext &context);

} // namespace corvane
