#include "ui/JobListView.h"

#include "engine/JobList.h"

namespace corvane {

JobListView::JobListView(JobList &list, const char *objectName, QWidget *parent)
    : QListView(parent), m_list(list)
{
    setObjectName(QLatin1String(objectName));
    setModel(&list);
    if (list.markShown() == JobList::MarkShown::AsCheckBox) {
        setSelectionMode(QAbstractItemView::ExtendedSelection);
        return;
    }
    setSelectionMode(QAbstractItemView::MultiSelection);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &JobListView::markFromSelection);
    connect(&list, &QAbstractItemModel::dataChanged, this,
            [this](const QModelIndex &first, const QModelIndex &last) {
                selectFromMarks(first.row(), last.row());
            });
    connect(&list, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex &, int first, int last) { selectFromMarks(first, last); });
    connect(&list, &QAbstractItemModel::modelReset, this,
            [this] { selectFromMarks(0, int(m_list.count()) - 1); });
    selectFromMarks(0, int(list.count()) - 1);
}

bool JobListView::isPicked(qsizetype row) const
{
    if (m_list.markShown() == JobList::MarkShown::AsSelection)
        return m_list.isMarked(row);
    return selectionModel()->isRowSelected(int(row), {});
}

void JobListView::markFromSelection(const QItemSelection &selected,
                                    const QItemSelection &deselected)
{
    if (m_syncing)
        return;
    m_syncing = true;
    for (const QModelIndex &index : selected.indexes())
        m_list.setMarked(index.row(), true);
    for (const QModelIndex &index : deselected.indexes())
        m_list.setMarked(index.row(), false);
    m_syncing = false;
}

void JobListView::selectFromMarks(int first, int last)
{
    if (m_syncing)
        return;
    m_syncing = true;
    for (int row = qMax(0, first); row <= last && row < m_list.count(); ++row) {
        const QModelIndex index = m_list.index(row);
        if (m_list.isMarked(row) != selectionModel()->isSelected(index))
            selectionModel()->select(index, m_list.isMarked(row) ? QItemSelectionModel::Select
                                                                 : QItemSelectionModel::Deselect);
    }
    m_syncing = false;
}

} // namespace corvane
