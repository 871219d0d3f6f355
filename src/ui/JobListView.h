#pragma once

#include <QListView>

namespace corvane {

class JobList;

// A view of one of the harvest job's lists. For a list whose mark is the selection, the
// view's selection and the model's marks stay the same both ways: the user's clicks mark
// entries, and what the crawl unmarks or takes out leaves the selection on screen at once.
// A check-box list shows its marks as check boxes and keeps the selection for the entries
// the user picks to delete.
class JobListView : public QListView
{
    Q_OBJECT
public:
    JobListView(JobList &list, const char *objectName, QWidget *parent = nullptr);

    JobList &list() { return m_list; }
    // The entries a Delete button acts on: the marked ones of a selection list, the
    // highlighted ones of a check-box list.
    bool isPicked(qsizetype row) const;

private:
    void markFromSelection(const QItemSelection &selected, const QItemSelection &deselected);
    void selectFromMarks(int first, int last);

    JobList &m_list;
    bool m_syncing = false;
};

} // namespace corvane
