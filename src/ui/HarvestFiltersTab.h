#pragma once

#include "engine/HarvestJob.h"

#include <QWidget>

class QPushButton;
class QRadioButton;

namespace corvane {

class JobListView;

// The harvest window's filters tab: excluded domains, the excluded or included e-mail types
// and the modern profile's junk file extensions, each a check-box list whose checked entries
// count from the next page on. The junk list is the data folder's: every edit is kept there.
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
    void keepJunkList();

    HarvestJob &m_job;
    ListEditor m_domains;
    ListEditor m_excludedTypes;
    ListEditor m_includedTypes;
    ListEditor m_junkExtensions;
    QRadioButton *m_excludeOption;
    QRadioButton *m_includeOption;
};

} // namespace corvane
