#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace corvane {

// Line-level access to .qdx files, shared by the catalogues, the page store and deletion.
// Lines end with CR LF on writing; on reading CR LF, a lone CR and a lone LF all end a
// line, and a last line without an ending still counts.
namespace RecordFile {

// The raw stored lines (still scrambled, terminators removed). A missing file reads as
// empty.
Result<QList<QByteArray>> readLines(const QString &path);

// Splits file content into lines as readLines does; exposed for cursors and tests.
QList<QByteArray> splitLines(const QByteArray &content);

// One decoded line of a record file: the record text, or nothing when the line cannot be
// unscrambled (a damaged file).
struct Line
{
    int row = 0; // from 1
    QByteArray stored;
    std::optional<QString> text;
    bool isBlank() const { return text && text->trimmed().isEmpty(); }
};
Result<QList<Line>> readRecords(const QString &path);

// Creates the file empty when it does not exist ("common file step").
Result<void> ensureExists(const QString &path);

// Appends one scrambled record with CR LF, creating the file if needed. A last line left
// without its CR LF is ended first, so the record never joins it. The record goes out in one
// write, so a crash leaves it whole or not at all.
Result<void> appendRecord(const QString &path, const QString &recordText);

// Replaces the whole file by these record texts, scrambled, in order (through a temporary
// file, see AtomicFile). Fails, leaving the old file, when a record cannot be scrambled.
Result<void> rewriteRecords(const QString &path, const QStringList &recordTexts);

// Same with lines already in their stored form (copied unchanged).
Result<void> rewriteStoredLines(const QString &path, const QList<QByteArray> &storedLines);

} // namespace RecordFile
} // namespace corvane
