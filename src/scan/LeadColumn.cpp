#include "scan/LeadColumn.h"

#include <algorithm>

namespace corvane {

namespace {

constexpr qint64 kReportEveryMs = 50;

} // namespace

bool isLeadCell(const QString &text)
{
    return text.contains(QLatin1Char('@'));
}

Error SheetContext::refuse(const QString &why) const
{
    return fail(QStringLiteral("%1 is not a lead sheet: %2.").arg(m_name, why));
}

QString SheetContext::sizeLimit() const
{
    const qint64 bytes = m_limits.maxBytes;
    return bytes % (1 << 20) == 0 ? QStringLiteral("%1 MiB").arg(bytes >> 20)
                                  : QStringLiteral("%1 KiB").arg(bytes >> 10);
}

Error SheetContext::textTooLong() const
{
    return refuse(
        QStringLiteral("it holds a text longer than %1 characters").arg(m_limits.maxTextChars));
}

Error SheetContext::unreadable(const QString &reason) const
{
    return fail(QStringLiteral("Cannot read %1: %2").arg(m_name, reason));
}

Result<void> SheetContext::advance(qint64 bytes)
{
    m_bytes += bytes;
    if (m_bytes > m_limits.maxBytes)
        return refuse(QStringLiteral("it unpacks to more than %1").arg(sizeLimit()));
    if (m_watch.cancelled && m_watch.cancelled())
        return fail(QStringLiteral("Reading %1 was stopped.").arg(m_name));
    if (m_watch.progress && m_rows != m_reportedRows &&
        (!m_sinceReport.isValid() || m_sinceReport.hasExpired(kReportEveryMs))) {
        m_watch.progress(m_rows);
        m_reportedRows = m_rows;
        m_sinceReport.start();
    }
    return {};
}

Result<bool> LeadColumn::admit(qint64 row)
{
    if (m_ended)
        return false;
    if (row < m_nextRow)
        return m_context.refuse(QStringLiteral("its rows are out of order at row %1").arg(row));
    if (row > m_nextRow) {
        // Nothing in column 1 of the row before: the column ends there.
        m_ended = true;
        return false;
    }
    if (row > m_context.limits().maxRows)
        return m_context.refuse(
            QStringLiteral("it has more than %1 rows").arg(m_context.limits().maxRows));
    m_context.setRows(int(m_nextRow));
    ++m_nextRow;
    return true;
}

Result<bool> LeadColumn::addText(qint64 row, const QString &text)
{
    const Result<bool> admitted = admit(row);
    if (!admitted || !*admitted)
        return admitted;
    if (text.isEmpty()) {
        m_ended = true;
        return false;
    }
    if (isLeadCell(text))
        m_kept.emplace_back(text);
    return true;
}

Result<bool> LeadColumn::addValue(qint64 row)
{
    return admit(row);
}

bool LeadColumn::endRow(qint64 row)
{
    if (row >= m_nextRow)
        m_ended = true;
    return !m_ended;
}

Result<bool> LeadColumn::addShared(qint64 row, qint64 index)
{
    const Result<bool> admitted = admit(row);
    if (!admitted || !*admitted)
        return admitted;
    m_kept.emplace_back(index);
    return true;
}

const std::vector<qint64> &LeadColumn::sharedIndices()
{
    m_sharedIndices.clear();
    for (const auto &cell : m_kept) {
        if (const qint64 *index = std::get_if<qint64>(&cell))
            m_sharedIndices.push_back(*index);
    }
    std::sort(m_sharedIndices.begin(), m_sharedIndices.end());
    m_sharedIndices.erase(std::unique(m_sharedIndices.begin(), m_sharedIndices.end()),
                          m_sharedIndices.end());
    return m_sharedIndices;
}

Result<QStringList> LeadColumn::leads(const std::vector<QString> &shared) const
{
    QStringList leads;
    for (const auto &cell : m_kept) {
        if (const QString *text = std::get_if<QString>(&cell)) {
            leads << *text;
            continue;
        }
        const auto found = std::lower_bound(m_sharedIndices.begin(), m_sharedIndices.end(),
                                            std::get<qint64>(cell));
        const size_t at = size_t(found - m_sharedIndices.begin());
        if (at >= shared.size())
            return m_context.refuse(QStringLiteral("a cell refers to shared text that is missing"));
        // An empty shared text is an empty cell: the column ends there.
        if (shared[at].isEmpty())
            break;
        if (isLeadCell(shared[at]))
            leads << shared[at];
    }
    return leads;
}

} // namespace corvane
