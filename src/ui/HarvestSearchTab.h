#pragma once

#include "engine/HarvestJob.h"

#include <QWidget>

#include <functional>

class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace corvane {

class JobListView;

// The harvest window's search tab: where a run starts. Every change goes straight into the
// job: the search type, the engines and start URLs the user marks, the single URL.
class HarvestSearchTab : public QWidget
{
    Q_OBJECT
public:
    explicit HarvestSearchTab(HarvestJob &job, QWidget *parent = nullptr);

    // Where a bookmark import reads; empty shows BookmarkImportDialog.
    using ImportRunner = std::function<void(HarvestJob &job)>;
    void setImportRunner(ImportRunner runner) { m_importRunner = std::move(runner); }

    JobListView *urlListView() const { return m_urlListView; }

signals:
    void searchTypeChanged(corvane::SearchType type);
    void nextRequested();

private:
    void chooseSearchType(SearchType type);
    void addUrl();
    void deleteUrls();
    void importBookmarks();

    HarvestJob &m_job;
    ImportRunner m_importRunner;
    QRadioButton *m_searchTypeOptions[3] = {};
    JobListView *m_engineListView;
    QPushButton *m_selectAllButton;
    QPushButton *m_clearAllButton;
    JobListView *m_urlListView;
    QPushButton *m_addUrlButton;
    QPushButton *m_deleteUrlButton;
    QPushButton *m_importButton;
    QLabel *m_urlCountLabel;
    QLineEdit *m_urlField;
};

} // namespace corvane
