#pragma once

#include "engine/HarvestJob.h"
#include "engine/HarvestSession.h"
#include "ui/LeadSaveChoice.h"
#include "ui/SkinnedWindow.h"

#include <QPointer>

#include <functional>

class QTabWidget;

namespace corvane {

class HarvestFiltersTab;
class HarvestKeywordTab;
class HarvestResultTab;
class HarvestSearchTab;
class HarvestSettingsTab;
class ResumeDialog;

// The harvest window: the job as a five-tab wizard, one widget per tab, each editing the live
// job; the session runs it and the result tab shows the run. The rules live in the engine
// (job checks, run building, crawl, limits, resume) and in the knowledge-base store.
class HarvestWindow : public SkinnedWindow
{
    Q_OBJECT
public:
    explicit HarvestWindow(QWidget *parent = nullptr);
    ~HarvestWindow() override;

    HarvestJob &job() { return m_job; }
    HarvestSession &session() { return m_session; }
    CrawlController &crawl() { return m_session.crawl(); }
    AnalysisContext &context() { return m_session.context(); }
    QStringList leads() const;
    // The picture a tab shows: 1, or 2 for the tab just chosen.
    int tabPicture(int tab) const { return tab >= 0 && tab < 5 ? m_tabPictures[tab] : 0; }

    // Save Leads asks here (a file dialog by default); tests answer it.
    using FileChooser = std::function<LeadSaveChoice(QWidget *parent)>;
    void setLeadFileChooser(FileChooser chooser) { m_leadFileChooser = std::move(chooser); }
    // Where a bookmark import reads; empty shows BookmarkImportDialog.
    void setImportRunner(std::function<void(HarvestJob &job)> runner);

public slots:
    void goFromSearchTab();
    void goFromKeywordTab();
    void goFromSettingsTab();
    void goFromFiltersTab();
    void startRun();
    void stopRun();
    void saveLeads();
    void skipDomainOfSelectedLink();

protected:
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void showCheck(const JobCheck &check);
    void showSearchType(SearchType type);
    void showStoreProblem(const QString &problem);
    void openResumeDialog();
    void setTabPicture(int tab, int picture);

    HarvestJob m_job;
    HarvestSession m_session{m_job};
    QTabWidget *m_tabs;
    HarvestSearchTab *m_searchTab;
    HarvestKeywordTab *m_keywordTab;
    HarvestSettingsTab *m_settingsTab;
    HarvestFiltersTab *m_filtersTab;
    HarvestResultTab *m_resultTab;
    QPointer<ResumeDialog> m_resumeDialog;
    FileChooser m_leadFileChooser;
    int m_previousTab = 0;
    int m_tabPictures[5] = {}; // 1 or 2 per tab, as shown
    // Store problems shown in a dialog per run: only the first, the rest are counted.
    int m_storeProblemsAtStart = 0;
};

} // namespace corvane
