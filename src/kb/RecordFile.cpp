#include "kb/RecordFile.h"

#include "kb/AtomicFile.h"
#include "kb/ScrambleLine.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace corvane::RecordFile {

namespace {

Error cannot(const char *what, const QString &path, const QFile &file)
{
    return fail(QStringLiteral("Cannot %1 %2: %3")
                    .arg(QLatin1String(what), QDir::toNativeSeparators(path), file.errorString()));
}

} // namespace

QList<QByteArray> splitLines(const QByteArray &content)
{
    QList<QByteArray> lines;
    qsizetype start = 0;
    const qsizetype size = content.size();
    for (qsizetype i = 0; i < size; ++i) {
        const char c = content[i];
        if (c != '\r' && c != '\n')
            continue;
        lines.append(content.mid(start, i - start));
        if (c == '\r' && i + 1 < size && content[i + 1] == '\n')
            ++i;
        start = i + 1;
    }
    if (start < size)
        lines.append(content.mid(start));
    return lines;
}

Result<QList<QByteArray>> readLines(const QString &path)
{
    QFile file(path);
    if (!file.exists())
        return QList<QByteArray>{};
    if (!file.open(QIODevice::ReadOnly))
        return cannot("read", path, file);
    return splitLines(file.readAll());
}

Result<QList<Line>> readRecords(const QString &path)
{
    Result<QList<QByteArray>> lines = readLines(path);
    if (!lines)
        return lines.error();
    QList<Line> records;
    records.reserve(lines->size());
    int row = 0;
    for (QByteArray &stored : lines.value()) {
        Line line;
        line.row = ++row;
        Result<QString> text = decodeRecord(stored);
        if (text)
            line.text = std::move(text).value();
        line.stored = std::move(stored);
        records.append(std::move(line));
    }
    return records;
}

Result<void> ensureExists(const QString &path)
{
    if (QFileInfo::exists(path))
        return {};
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return cannot("create", path, file);
    return {};
}

namespace {

// Whether the file ends in the middle of a line: edited by hand, or cut short by a crash.
Result<bool> endsInsideALine(const QString &path)
{
    QFile file(path);
    if (!file.exists())
        return false;
    if (!file.open(QIODevice::ReadOnly))
        return cannot("read", path, file);
    if (file.size() == 0)
        return false;
    char last = 0;
    if (!file.seek(file.size() - 1) || !file.getChar(&last))
        return cannot("read", path, file);
    return last != '\n' && last != '\r';
}

} // namespace

Result<void> appendRecord(const QString &path, const QString &recordText)
{
    Result<QByteArray> stored = encodeRecord(recordText);
    if (!stored)
        return stored.error();
    // An unterminated last line is ended first, or the new record would be glued onto it and
    // read as part of it.
    Result<bool> unterminated = endsInsideALine(path);
    if (!unterminated)
        return unterminated.error();
    QByteArray line = *unterminated ? QByteArray("\r\n") : QByteArray();
    line += stored.value();
    line += "\r\n";
    // One unbuffered write: a program killed while appending leaves the whole record or none
    // of it, never half a line.
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered))
        return cannot("write", path, file);
    const qint64 before = file.size();
    if (file.write(line) != line.size()) {
        Error error = cannot("write", path, file);
        // A torn record would swallow the next one appended; cut it off again.
        file.resize(before);
        return error;
    }
    return {};
}

Result<void> rewriteStoredLines(const QString &path, const QList<QByteArray> &storedLines)
{
    QByteArray content;
    for (const QByteArray &line : storedLines) {
        content += line;
        content += "\r\n";
    }
    return AtomicFile::write(path, content);
}

Result<void> rewriteRecords(const QString &path, const QStringList &recordTexts)
{
    QList<QByteArray> lines;
    lines.reserve(recordTexts.size());
    for (const QString &text : recordTexts) {
        Result<QByteArray> stored = encodeRecord(text);
        if (!stored)
            return stored.error();
        lines.append(std::move(stored).value());
    }
    return rewriteStoredLines(path, lines);
}

} // namespace corvane::RecordFile
