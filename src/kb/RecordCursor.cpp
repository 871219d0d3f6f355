#include "kb/RecordCursor.h"

#include "common/Cp1252.h"
#include "kb/AtomicFile.h"
#include "kb/Deletion.h"
#include "kb/KnowledgeBaseLayout.h"
#include "kb/RecordFile.h"
#include "kb/ScrambleLine.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace corvane {

namespace {

Error prefixed(const char *prefix, const QString &description)
{
    return fail(QLatin1String(prefix) + description);
}

const QString kFileNotFound = QStringLiteral("File not found");
const QString kPastEnd = QStringLiteral("Input past end of file");
const QString kInvalidArgument = QStringLiteral("Invalid procedure call or argument");

// Strips the one line ending a row's bytes carry.
QByteArray withoutLineEnd(QByteArray bytes)
{
    if (bytes.endsWith("\r\n"))
        bytes.chop(2);
    else if (bytes.endsWith('\r') || bytes.endsWith('\n'))
        bytes.chop(1);
    return bytes;
}

} // namespace

Result<void> RecordCursor::OpenFile(const QString &path, const QString &fileName)
{
    QString folder = path;
    if (!folder.endsWith(QLatin1Char('/')) && !folder.endsWith(QLatin1Char('\\')))
        folder += QLatin1Char('/');
    else
        folder.replace(folder.size() - 1, 1, QLatin1Char('/'));
    m_folder = folder;
    m_fileName = fileName;
    if (!QFileInfo(this->path()).isFile()) {
        m_bound = false;
        return {};
    }
    m_bound = true;
    if (Result<void> counted = SetRowCount(); !counted)
        return prefixed("OpenFile->", counted.message());
    return {};
}

Result<void> RecordCursor::SetRowCount()
{
    m_rowCount = 0;
    m_rowStarts.clear();
    QFile file(path());
    if (!file.open(QIODevice::ReadOnly))
        return prefixed("SetRowCount->", file.exists() ? file.errorString() : kFileNotFound);
    const QByteArray content = file.readAll();
    const qsizetype size = content.size();
    qsizetype start = 0;
    for (qsizetype i = 0; i < size; ++i) {
        const char c = content[i];
        if (c != '\r' && c != '\n')
            continue;
        if (c == '\r' && i + 1 < size && content[i + 1] == '\n')
            ++i;
        m_rowStarts.append(start);
        start = i + 1;
    }
    if (start < size)
        m_rowStarts.append(start);
    m_rowCount = static_cast<int>(std::min<qsizetype>(m_rowStarts.size(), INT_MAX));
    m_rowStarts.resize(m_rowCount);
    m_rowStarts.append(size);
    return MoveFirst();
}

Result<void> RecordCursor::MoveFirst()
{
    m_currentRow = 0;
    return {};
}

Result<void> RecordCursor::MoveToRow(int row)
{
    if (row > m_rowCount || !m_bound)
        return {};
    m_currentRow = std::max(row, 0);
    return {};
}

Result<QByteArray> RecordCursor::readRow(int row) const
{
    QFile file(path());
    if (!file.open(QIODevice::ReadOnly))
        return fail(file.exists() ? file.errorString() : kFileNotFound);
    const qint64 start = m_rowStarts[row - 1];
    const qint64 end = m_rowStarts[row];
    if (start >= file.size() || !file.seek(start))
        return fail(kPastEnd);
    return withoutLineEnd(file.read(end - start));
}

Result<QString> RecordCursor::GetDataFromRow(int row)
{
    if (row > m_rowCount || !m_bound)
        return QString();
    const int r = row != 0 ? row : m_currentRow;
    m_currentRow = r;
    (void)MoveToRow(r - 1);
    if (m_rowCount == 0)
        return prefixed("GetDataFromRow-", kPastEnd);
    const int target = std::max(r, 1);
    Result<QByteArray> line = readRow(target);
    if (!line)
        return prefixed("GetDataFromRow-", line.message());
    m_currentRow = target;
    return fromCp1252(*line);
}

Result<void> RecordCursor::WriteData(int mode, const QString &data, int row)
{
    if (row > m_rowCount || !m_bound)
        return {};
    const auto failed = [](const QString &description) {
        return prefixed("WriteData->", description);
    };

    Result<QList<QByteArray>> source = RecordFile::readLines(path());
    if (!source)
        return failed(source.message());
    const QList<QByteArray> &lines = *source;

    const int r = row != 0 ? row : m_currentRow;
    const int k = mode == 0 ? m_rowCount : r - 1;
    const qsizetype copied = std::clamp<qsizetype>(k, 0, lines.size());

    QList<QByteArray> rewritten(lines.begin(), lines.begin() + copied);
    if (!data.trimmed().isEmpty()) {
        const std::optional<QByteArray> bytes = toCp1252(data);
        if (!bytes || bytes->contains('\r') || bytes->contains('\n'))
            return failed(kInvalidArgument);
        rewritten.append(*bytes);
    }
    qsizetype next = copied;
    QString droppedPage;
    if (mode == 2) {
        if (next >= lines.size())
            return failed(kPastEnd);
        Result<QString> dropped = decodeRecord(lines[next]);
        if (!dropped || !dropped->contains(QLatin1Char('#')))
            return failed(kInvalidArgument);
        droppedPage = dropped->left(dropped->indexOf(QLatin1Char('#')));
        ++next;
    }
    rewritten.append(QList<QByteArray>(lines.begin() + next, lines.end()));

    if (Result<void> written = RecordFile::rewriteStoredLines(path(), rewritten); !written)
        return failed(written.message());

    // The index is rewritten first so that a page file is only ever removed once no row
    // names it any more. Only a plain page number names a file: anything else (a damaged or
    // hand-edited index) must not reach outside the folder, so such a row deletes no file.
    QString pageProblem;
    const std::optional<qint32> pageNumber = KnowledgeBaseLayout::parsePageNumber(droppedPage);
    if (mode == 2 && pageNumber) {
        QFile page(KnowledgeBaseLayout::pageFile(m_folder, *pageNumber));
        if (page.exists() && !page.remove())
            pageProblem = page.errorString();
    }

    if (Result<void> reopened = OpenFile(m_folder, m_fileName); !reopened)
        return failed(reopened.message());
    if (m_rowCount == 0) {
        // An emptied index goes with its keyword folder; the cursor stays bound to it.
        const QString folder = m_folder.chopped(1);
        if (Result<void> removed = DeleteKBFiles(folder); !removed)
            return failed(removed.message());
    }
    m_currentRow = k + 1;
    (void)MoveToRow(k + 1);
    if (!pageProblem.isEmpty())
        return failed(pageProblem);
    return {};
}

Result<void> RecordCursor::DeleteRow(int row)
{
    if (m_rowCount == 0)
        return {};
    Result<void> written = WriteData(2, QString(), row);
    const int c = m_currentRow;
    (void)MoveToRow(c == 1 ? 1 : c - 1);
    return written;
}

} // namespace corvane
