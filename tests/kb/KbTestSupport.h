#pragma once

#include "kb/RecordFile.h"
#include "kb/ScrambleLine.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace corvane::test {

// The stored bytes of a record file made of these record texts (scrambled, CR LF).
inline QByteArray storedFile(const QStringList &records)
{
    QByteArray bytes;
    for (const QString &record : records) {
        bytes += encodeRecord(record).value();
        bytes += "\r\n";
    }
    return bytes;
}

// The record texts of a record file, blank lines included; "<damaged>" for a line that
// does not unscramble.
inline QStringList recordTexts(const QString &path)
{
    QStringList texts;
    const Result<QList<RecordFile::Line>> lines = RecordFile::readRecords(path);
    if (!lines)
        return {QStringLiteral("<unreadable>")};
    for (const RecordFile::Line &line : *lines)
        texts.append(line.text.value_or(QStringLiteral("<damaged>")));
    return texts;
}

} // namespace corvane::test
