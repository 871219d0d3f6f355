#pragma once

#include "engine/HarvestJob.h"
#include "kb/Catalogues.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLineEdit;
class QPushButton;
class QSpinBox;

namespace corvane {

class JobListView;

// The harvest window's settings tab: the run limits, the crawl profile with the modern
// profile's first result page and pace per site, the connection probe,
// the proxy, and what happens to fetched pages (knowledge base, favourites, taxonomy, leads).
// Every edit goes straight into the job, which the running crawl reads at its next tick.
class HarvestSettingsTab : public QWidget
{
    Q_OBJECT
public:
    explicit HarvestSettingsTab(HarvestJob &job, QWidget *parent = nullptr);

    // Favourites and taxonomy belong to search-engine runs.
    void showSearchType(SearchType type);

signals:
    void nextRequested();

private:
    QWidget *buildLimits();
    QWidget *buildProxy();
    QWidget *buildDefinition();
    void switchKnowledgeBase();
    void switchLeadExtraction();
    void browseForRoot();
    void addTaxonomy();
    void deleteTaxonomy();
    void enableKnowledgeBaseFields();
    void enableModernFields();

    HarvestJob &m_job;
    TaxonomyCatalogue m_taxonomy;
    MailGroupCatalogue m_mailGroups;

    QComboBox *m_stopAfterBox = nullptr;
    QComboBox *m_maxPagesBox = nullptr;
    QComboBox *m_maxLeadsBox = nullptr;
    QComboBox *m_pageTimeoutBox = nullptr;
    QComboBox *m_profileBox = nullptr;
    QLineEdit *m_probeField = nullptr;
    QSpinBox *m_firstPageBox = nullptr;
    QSpinBox *m_delayBox = nullptr;
    QSpinBox *m_sitePagesBox = nullptr;
    QPushButton *m_advancedButton = nullptr;
    QGroupBox *m_proxyFrame = nullptr;
    QCheckBox *m_knowledgeBaseBox = nullptr;
    QLineEdit *m_rootField = nullptr;
    QPushButton *m_browseButton = nullptr;
    QCheckBox *m_favoritesBox = nullptr;
    QCheckBox *m_skipLeadsBox = nullptr;
    JobListView *m_taxonomyView = nullptr;
    QPushButton *m_addTaxonomyButton = nullptr;
    QPushButton *m_deleteTaxonomyButton = nullptr;
};

} // namespace corvane
