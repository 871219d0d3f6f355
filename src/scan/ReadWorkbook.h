#pragma once

#include "common/Result.h"

#include <QString>
#include <QStringList>

#include <functional>

class QIODevice;

namespace corvane {

// How much of a lead sheet is read before it is refused. A lead is short and a spreadsheet
// cell holds at most 32,767 characters, so no real lead sheet comes near these.
struct LeadSheetLimits
{
    // The file on disk, and everything unpacked from it, together.
    qint64 maxBytes = qint64(256) << 20;
    // One first-column cell or the shared text it refers to.
    int maxTextChars = 64 * 1024;
    // Any one piece of a workbook's XML (a text, a tag), wherever it is.
    qint64 maxPieceBytes = qint64(1) << 20;
    // A spreadsheet's own row limit.
    int maxRows = 1048576;
};

// Lets a caller on another thread follow a read and stop it.
struct LeadSheetWatch
{
    // Rows of the first column walked so far; called now and then, on the reading thread.
    std::function<void(int rows)> progress;
    // Polled now and then; true ends the read with a failure.
    std::function<bool()> cancelled;
};

// Reads the first column of a lead sheet, from row 1 down to the first empty cell, and
// returns the cells that contain "@", unchanged and in order. A lead file saved by the
// leads scan yields exactly its leads ("Email Id" holds no "@").
//
// The format is told by the content, not by the name: an .xlsx workbook (zip), an .xls
// workbook (Excel 97-2003) or text (.csv, .txt and any other text: comma or tab separated,
// quoted cells, any line ends, UTF-8 or UTF-16 with a byte-order mark, else UTF-8 or
// Windows-1252 cell by cell). Formula cells give their stored result.
//
// Memory stays small whatever the file holds: workbooks are streamed, and a file beyond the
// limits is refused with "NAME is not a lead sheet: REASON."; so are damaged files.
Result<QStringList> ReadWorkbook(const QString &path);
Result<QStringList> readLeadSheet(const QString &path, const LeadSheetWatch &watch,
                                  const LeadSheetLimits &limits = {});

// The same over an open device (a file, a buffer); name is what messages call it.
Result<QStringList> readLeadSheet(QIODevice &device, const QString &name,
                                  const LeadSheetWatch &watch = {},
                                  const LeadSheetLimits &limits = {});

} // namespace corvane
