#pragma once

#include "engine/HarvestJob.h"

#include <QWidget>

class QPushButton;
class QRadioButton;

namespace corvane {

class JobListView;

// The harvest window's filters tab: excluded domains and the excluded or included e-mail
// types, each a check-box list whose checked entries count from the next page on.
class HarvestFiltersTab : public QWidget
{
    Q_OBJECT
public:
    explicit HarvestFiltersTab(HarvestJob &job, QWidget *parent = nullptr);

signals:
    void nextRequested();

private:
    // One list with its Add and Delete buttons.
    struct ListEditor
    {
        JobListView *view;
        QPushButton *add;
        QPushButton *remove;
    };

    ListEditor listEditor(JobList &list, const char *viewName, const char *addName,
                          const char *deleteName, const QString &addCaption,
                          const QString &deleteCaption, int mode, const QString &question);
    void chooseTypeMode(EmailTypeMode mode);

    HarvestJob &m_job;
    ListEditor m_domains;
    ListEditor m_excludedTypes;
    ListEditor m_includedTypes;
    QRadioButton *m_excludeOption;
    QRadioButton *m_includeOption;
};

} // namespace corvane
