#pragma once

#include "engine/HarvestJob.h"
#include "kb/Catalogues.h"

#include <QWidget>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace corvane {

class JobListView;

// The harvest window's keyword tab: the keywords a search-engine run queries and the mail
// group they belong to. The mail-group rules are MailGroupRules'; this tab asks and shows.
class HarvestKeywordTab : public QWidget
{
    Q_OBJECT
public:
    explicit HarvestKeywordTab(HarvestJob &job, QWidget *parent = nullptr);

    // Keywords matter only for search engines; other runs see the tab covered.
    void showSearchType(SearchType type);

signals:
    void nextRequested();

private:
    void chooseNewGroup();
    void chooseExistingGroup();
    void reloadMailGroups();
    void loadGroupKeywords();
    void addKeyword();
    void deleteKeywords();
    void deleteMailGroup();

    HarvestJob &m_job;
    MailGroupCatalogue m_mailGroups;
    KeywordCatalogue m_keywords;
    QWidget *m_keywordsFrame;
    QRadioButton *m_newGroupOption;
    QRadioButton *m_existingGroupOption;
    QComboBox *m_mailGroupBox;
    QLineEdit *m_mailGroupNameField;
    QPushButton *m_deleteGroupButton;
    JobListView *m_keywordListView;
    QPushButton *m_addKeywordButton;
    QPushButton *m_deleteKeywordButton;
    QLabel *m_keywordsCover;
};

} // namespace corvane
