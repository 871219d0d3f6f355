#pragma once

// Spreadsheet files built on the spot for the lead-sheet tests, so no binary fixture needs
// checking in and each test shows the cells it reads.

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <utility>

namespace corvane::test {

// A zip archive of (member name, bytes), the way an .xlsx holds its parts. With produce,
// one more member, streamed, whose bytes come from produce a chunk per call until it returns
// an empty chunk: archives far larger unpacked than on disk, never held whole.
void writeZip(const QString &path, const QList<std::pair<QString, QByteArray>> &members,
              const QString &streamed = {}, const std::function<QByteArray()> &produce = {});

// An .xlsx whose first worksheet holds the texts in column 1 from row 1 down, as inline
// strings.
void writeXlsx(const QString &path, const QStringList &columnOne);

// One column-1 cell of a generated .xls.
struct XlsCell
{
    enum class Kind {
        SharedText,    // a text cell (LABELSST), the text kept in the shared-text table
        Label,         // a text cell holding its own text (LABEL)
        Number,        // a number (NUMBER)
        FormulaText,   // a formula whose stored result is text (FORMULA + STRING)
        FormulaNumber, // a formula whose stored result is a number
        FormulaEmpty,  // a formula whose stored result is the empty text
        Blank,         // a formatted empty cell (BLANK)
    };
    Kind kind;
    QString text;
};

// The bytes of an Excel 97-2003 workbook (BIFF8 records in a compound file): the first
// worksheet holds the cells in column 1 from row 1 down, each row also has a lead-like text
// in column 2, and a second worksheet has "second@sheet.test" in A1. Small workbooks land in
// the compound file's mini stream and large ones in its regular sectors, as spreadsheet
// programs write them; a shared-text table beyond one record is continued the same way.
QByteArray xlsBytes(const QList<XlsCell> &columnOne);

} // namespace corvane::test
