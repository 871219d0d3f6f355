#pragma once

#include "kb/SearchIndex.h"

#include <QList>
#include <QWidget>

class QLabel;
class QLineEdit;
class QListWidget;

namespace corvane {

// The viewer's search box: the words typed are looked up in the stored pages off the window's
// thread (the first search may have to build the index), the hits fill a list, best first,
// and choosing one asks for its page.
class SearchPanel : public QWidget
{
    Q_OBJECT
public:
    explicit SearchPanel(QWidget *parent = nullptr);

    // At most this many hits are listed.
    static constexpr int kShownHits = 200;

signals:
    void pageChosen(const corvane::IndexedPage &page);

private:
    void start();
    void showResults(const Result<SearchResults> &results);
    void showProgress(qint64 done, qint64 total);

    QLineEdit *m_query;
    QListWidget *m_results;
    QLabel *m_status;
    QList<IndexedPage> m_pages; // by list row
    // Only the latest search shows; earlier ones still running are let finish unseen.
    int m_searchNumber = 0;
};

} // namespace corvane
