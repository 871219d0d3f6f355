#pragma once

// Documents and archives built on the spot for the scan tests, so each test shows the text it
// reads and no binary fixture needs checking in.

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

namespace corvane::test {

// A Word document whose body holds the paragraphs (each already Word XML runs: <w:r>...).
QByteArray docxBody(const QStringList &paragraphs);
void writeDocx(const QString &path, const QByteArray &documentXml,
               const QList<std::pair<QString, QByteArray>> &moreParts = {});

// The bytes of a PDF with one page per entry, each page showing its text in one line.
// The page contents are flate-compressed, as PDF writers store them.
QByteArray pdfBytes(const QStringList &pages);
// A PDF whose one page shows a single string of stringBytes "a"s: a few hundred kilobytes on
// disk, but its reader must hold the whole string.
QByteArray pdfStringBomb(qint64 stringBytes);

// Whether the PDF helper was built next to the test programs.
bool pdfHelperBuilt();

} // namespace corvane::test
