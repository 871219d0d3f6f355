#pragma once

#include "common/Result.h"

#include <QList>
#include <QString>

namespace corvane {

// A row cursor over one record file, the way the viewer steps through a keyword folder's
// index.qdx. Rows are numbered from 1; the current row is the number of rows the cursor
// has passed, 0 meaning before the first row.
//
// Failures come back as results whose message is the operation's prefix followed by the
// description ("OpenFile->", "MoveFirst->", "SetRowCount->", "MoveToRow->",
// "GetDataFromRow-", "DeleteRow->", "WriteData->"); the caller shows them.
//
// The cursor does not keep the file open between calls: it remembers where each row starts
// when it counts the rows, so rewrites and folder deletions never find the index in use and
// paging through an index costs one read per row, not a reread from the start.
class RecordCursor
{
public:
    RecordCursor() = default;

    // Binds the cursor to Path + FileName (Path with or without a final separator) and
    // counts the rows; current row 0. A missing file is no error: the cursor stays unbound
    // and every guarded operation does nothing.
    Result<void> OpenFile(const QString &path, const QString &fileName);

    // Back to the start: current row 0.
    Result<void> MoveFirst();

    int RowCount() const { return m_rowCount; }
    int CurrentRow() const { return m_currentRow; }

    // Positions the cursor after row `row`. A row of 0 or below goes to the start; a row
    // above the row count, or an unbound cursor, changes nothing.
    Result<void> MoveToRow(int row);
    Result<void> MoveNext() { return MoveToRow(m_currentRow + 1); }
    Result<void> MovePrevious() { return MoveToRow(m_currentRow - 1); }
    Result<void> MoveLast() { return MoveToRow(m_rowCount); }

    // The stored (still scrambled) line of row `row`, decoded as Windows-1252 text; pass it
    // through ScrambleLine for the record. Row 0 rereads the row last read (row 1 at the
    // start). Leaves the cursor on the row read. Empty when the row is out of range or the
    // cursor is unbound.
    Result<QString> GetDataFromRow(int row);

    // Removes a row and, for an index, its page file; afterwards the cursor stands on the
    // row before (row 1 when row 1 was deleted). Removing the last row removes the file and
    // its folder.
    Result<void> DeleteRow(int row);

    // Rewrites the file with one row changed, through a temporary file:
    //   mode 0: appends data after the last row;
    //   mode 2: replaces row r by data (deletes it when data is blank) and deletes the page
    //           file the dropped row named (page number + ".htm" in the cursor's folder);
    //   any other mode: inserts data before row r.
    // r is `row`, or the current row when `row` is 0; a row above the row count, or an
    // unbound cursor, does nothing. Blank data never produces a line. Afterwards the cursor
    // stands after row k + 1 where k is the number of rows copied before the change.
    Result<void> WriteData(int mode, const QString &data, int row);

    // Folder (always ending with the platform separator "/") and file name of the binding.
    QString folder() const { return m_folder; }
    QString fileName() const { return m_fileName; }
    bool isBound() const { return m_bound; }

private:
    Result<void> SetRowCount();
    QString path() const { return m_folder + m_fileName; }
    Result<QByteArray> readRow(int row) const; // row >= 1, from the remembered offsets

    QString m_folder;
    QString m_fileName;
    bool m_bound = false;
    int m_currentRow = 0;
    int m_rowCount = 0;
    QList<qint64> m_rowStarts; // byte offset of each row, plus the file size at the end
};

} // namespace corvane
