#include "engine/JobList.h"

namespace corvane {

JobList::JobList(MarkShown shown, QObject *parent) : QAbstractListModel(parent), m_shown(shown) {}

int JobList::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_entries.size());
}

QVariant JobList::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_entries.size())
        return {};
    const JobListEntry &entry = m_entries.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return entry.text;
    case Qt::CheckStateRole:
        if (m_shown != MarkShown::AsCheckBox)
            return {};
        return entry.marked ? Qt::Checked : Qt::Unchecked;
    case NumberRole:
        return entry.number;
    case AddressRole:
        return entry.address;
    case MarkedRole:
        return entry.marked;
    default:
        return {};
    }
}

bool JobList::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!index.isValid() || index.row() >= m_entries.size())
        return false;
    if (role == MarkedRole)
        setMarked(index.row(), value.toBool());
    else if (role == Qt::CheckStateRole && m_shown == MarkShown::AsCheckBox)
        setMarked(index.row(), value.toInt() == Qt::Checked);
    else
        return false;
    return true;
}

Qt::ItemFlags JobList::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (m_shown == MarkShown::AsCheckBox)
        flags |= Qt::ItemIsUserCheckable;
    return flags;
}

QStringList JobList::texts() const
{
    QStringList out;
    out.reserve(m_entries.size());
    for (const JobListEntry &entry : m_entries)
        out.append(entry.text);
    return out;
}

void JobList::setEntries(QList<JobListEntry> entries)
{
    beginResetModel();
    m_entries = std::move(entries);
    endResetModel();
}

void JobList::append(JobListEntry entry)
{
    const int row = int(m_entries.size());
    beginInsertRows(QModelIndex(), row, row);
    m_entries.append(std::move(entry));
    endInsertRows();
}

JobListEntry JobList::takeAt(qsizetype row)
{
    beginRemoveRows(QModelIndex(), int(row), int(row));
    JobListEntry entry = m_entries.takeAt(row);
    endRemoveRows();
    return entry;
}

void JobList::setMarked(qsizetype row, bool marked)
{
    if (row < 0 || row >= m_entries.size() || m_entries.at(row).marked == marked)
        return;
    m_entries[row].marked = marked;
    const QModelIndex changed = index(int(row));
    emit dataChanged(changed, changed, {MarkedRole, Qt::CheckStateRole});
}

void JobList::setAllMarked(bool marked)
{
    for (qsizetype row = 0; row < m_entries.size(); ++row)
        setMarked(row, marked);
}

qsizetype JobList::firstMarked(qsizetype from) const
{
    for (qsizetype row = qMax<qsizetype>(from, 0); row < m_entries.size(); ++row) {
        if (m_entries.at(row).marked)
            return row;
    }
    return -1;
}

QList<JobListEntry> JobList::markedEntries() const
{
    QList<JobListEntry> out;
    for (const JobListEntry &entry : m_entries)
        if (entry.marked)
            out.append(entry);
    return out;
}

QStringList JobList::markedTexts() const
{
    QStringList out;
    for (const JobListEntry &entry : m_entries)
        if (entry.marked)
            out.append(entry.text);
    return out;
}

} // namespace corvane
