#include "analysis/TextListModel.h"

namespace corvane {

TextListModel::TextListModel(QObject *parent) : QAbstractListModel(parent) {}

int TextListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_announced);
}

QVariant TextListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const Row &row = m_rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return row.text;
    case Qt::CheckStateRole:
        return row.selected ? Qt::Checked : Qt::Unchecked;
    default:
        return {};
    }
}

bool TextListModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!index.isValid() || index.row() >= m_rows.size() || role != Qt::CheckStateRole)
        return false;
    setSelected(index.row(), value.toInt() == Qt::Checked);
    return true;
}

Qt::ItemFlags TextListModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable;
}

QStringList TextListModel::texts() const
{
    QStringList out;
    out.reserve(m_rows.size());
    for (const Row &row : m_rows)
        out.append(row.text);
    return out;
}

QByteArray TextListModel::toLines() const
{
    QByteArray lines;
    qsizetype total = 0;
    for (const Row &row : m_rows)
        total += row.text.size() + 1;
    lines.reserve(total);
    for (const Row &row : m_rows) {
        lines += row.text.toUtf8();
        lines += '\n';
    }
    return lines;
}

void TextListModel::indexAdd(const QString &text)
{
    ++m_index[text];
}

void TextListModel::indexRemove(const QString &text)
{
    const auto it = m_index.find(text);
    if (it == m_index.end())
        return;
    if (--it.value() == 0)
        m_index.erase(it);
}

void TextListModel::announceRows()
{
    if (m_batchDepth > 0 || m_announced == m_rows.size())
        return;
    beginInsertRows(QModelIndex(), int(m_announced), int(m_rows.size()) - 1);
    m_announced = m_rows.size();
    endInsertRows();
}

TextListModel::Batch::Batch(TextListModel &model) : m_model(model)
{
    ++m_model.m_batchDepth;
}

TextListModel::Batch::~Batch()
{
    --m_model.m_batchDepth;
    m_model.announceRows();
}

void TextListModel::append(const QString &text, bool selected)
{
    m_rows.append(Row{text, selected});
    indexAdd(text);
    announceRows();
}

void TextListModel::append(const QStringList &texts, bool selected)
{
    m_rows.reserve(m_rows.size() + texts.size());
    for (const QString &text : texts) {
        m_rows.append(Row{text, selected});
        indexAdd(text);
    }
    announceRows();
}

QString TextListModel::takeFirst()
{
    if (m_rows.isEmpty())
        return {};
    return takeAt(0);
}

void TextListModel::removeAt(qsizetype row)
{
    if (row < 0 || row >= m_rows.size())
        return;
    takeAt(row);
}

QString TextListModel::takeAt(qsizetype row)
{
    // A row still waiting for its batch goes without a word to the views.
    const bool announced = row < m_announced;
    if (announced)
        beginRemoveRows(QModelIndex(), int(row), int(row));
    QString text = row == 0 ? m_rows.takeFirst().text : m_rows.takeAt(row).text;
    indexRemove(text);
    if (announced) {
        --m_announced;
        endRemoveRows();
    }
    return text;
}

void TextListModel::clear()
{
    if (m_rows.isEmpty())
        return;
    beginResetModel();
    m_rows.clear();
    m_index.clear();
    m_announced = 0;
    endResetModel();
}

void TextListModel::setSelected(qsizetype row, bool selected)
{
    if (row < 0 || row >= m_rows.size() || m_rows.at(row).selected == selected)
        return;
    m_rows[row].selected = selected;
    if (row >= m_announced)
        return;
    const QModelIndex changed = index(int(row));
    emit dataChanged(changed, changed, {Qt::CheckStateRole});
}

qsizetype TextListModel::firstSelected(qsizetype from) const
{
    for (qsizetype row = qMax<qsizetype>(from, 0); row < m_rows.size(); ++row) {
        if (m_rows.at(row).selected)
            return row;
    }
    return -1;
}

} // namespace corvane
