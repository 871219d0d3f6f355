#pragma once

#include "analysis/AnalysisContext.h"
#include "common/CrawlProfile.h"
#include "engine/CrawlController.h"
#include "engine/CrawlWiring.h"
#include "engine/HarvestJob.h"
#include "engine/SearchListProvider.h"
#include "kb/Catalogues.h"
#include "kb/PageStore.h"
#include "ui/SkinnedWindow.h"

#include <QPointer>
#include <QUrl>

#include <functional>
#include <memory>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QListView;
class QListWidget;
class QPushButton;
class QRadioButton;
class QTabWidget;

namespace corvane {

class ConnectionProbe;
class CurlDownloader;
class ResumeDialog;

// The harvest window: the job as a five-tab wizard, the run's queues and leads, its clock and
// counters. The rules live in the engine (job checks, crawl, limits, resume); this window
// only reads its controls into the job, shows the answers and holds the lists.
class HarvestWindow : public SkinnedWindow
{
    Q_OBJECT
public:
    struct Options
    {
        // Where the connection test looks; by default the configured probe address.
        QUrl probeAddress;
        CrawlProfile profile = CrawlProfile::Classic;
    };

    explicit HarvestWindow(QWidget *parent = nullptr);
    explicit HarvestWindow(const Options &options, QWidget *parent = nullptr);
    ~HarvestWindow() override;

    // The job as the controls describe it right now.
    const HarvestJob &job();
    AnalysisContext &context() { return m_context; }
    CrawlController &crawl() { return *m_crawl; }
    // What the downloader was last told about the proxy (None while the proxy frame has
    // never been opened).
    QString appliedProxyType() const { return m_appliedProxyType; }
    QStringList leads() const;
    // The picture a tab shows: 1, or 2 for the tab just chosen.
    int tabPicture(int tab) const { return tab >= 0 && tab < 5 ? m_tabPictures[tab] : 0; }

    // Save Leads asks for a file name here (a file dialog by default); tests answer it.
    using FileChooser = std::function<QString(QWidget *parent)>;
    void setLeadFileChooser(FileChooser chooser) { m_leadFileChooser = std::move(chooser); }
    // Where a bookmark import reads; empty shows BookmarkImportDialog.
    using ImportRunner = std::function<void(AnalysisContext &context)>;
    void setImportRunner(ImportRunner runner) { m_importRunner = std::move(runner); }

public slots:
    void cmdNext1_Click();
    void cmdNext2_Click();
    void cmdNext3_Click();
    void cmdNext4_Click();
    void cmdStart_Click();
    void cmdStop_Click();
    void cmdSaveEmail_Click();
    void cmdAdv_Click();
    void cmdImport_Click();
    void skipDomainOfSelectedLink();

protected:
    void closeEvent(QCloseEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void buildSearchTab();
    void buildKeywordTab();
    void buildSettingsTab();
    void buildFiltersTab();
    void buildResultTab();
    QWidget *helpButton(int index);
    void Form_Load();

    void optSearchType_Click(int index);
    void optExclude_Click(int index);
    void optSearch_Click(int index);
    void chkKB_Click();
    void chkEmail_Click();
    void cmbSearchList_Click();
    void cmdAddKey_Click();
    void cmdAddTax_Click();
    void cmdBrowse_Click();
    void cmdDelGroup_Click();
    void addEntry(QListWidget *list, const QString &text);
    void deleteEntries(const QString &question, QListWidget *list, bool taxonomy);
    void deleteUrls();
    void deleteKeywords();
    void loadTaxonomy();
    void reloadMailGroups();
    void loadGroupKeywords();
    void showCheck(const JobCheck &check);
    void syncJob();
    void refreshProgress();
    void refreshButtons();
    void openResumeDialog();
    void setTabPicture(int tab, int picture);
    void viewLink(QListView *list);

    Options m_options;
    HarvestJob m_job;
    AnalysisContext m_context;
    ExtractorAnalysis m_analysis{m_context};
    PageStore m_store;
    StoreForCrawl m_storePort{m_store};
    SearchListProvider m_provider;
    SearchListForCrawl m_searchList{m_provider};
    std::unique_ptr<CurlDownloader> m_downloader;
    std::unique_ptr<ConnectionProbe> m_probe;
    std::unique_ptr<CrawlController> m_crawl;
    TaxonomyCatalogue m_taxonomy;
    MailGroupCatalogue m_mailGroups;
    KeywordCatalogue m_keywords;
    QPointer<ResumeDialog> m_resumeDialog;
    FileChooser m_leadFileChooser;
    ImportRunner m_importRunner;
    QString m_kbName;
    QString m_appliedProxyType;
    bool m_proxyOpened = false;
    int m_previousTab = 0;
    bool m_returnFromQuestionHandled = false; // the next activation was acted on already
    int m_tabPictures[5] = {};                // 1 or 2 per tab, as shown

    // Controls, named as the object names say.
    QTabWidget *stabEmailExt = nullptr;
    QRadioButton *optSearchType[3] = {};
    QListWidget *lstEngines = nullptr;
    QPushButton *cmdSelect = nullptr, *cmdClear = nullptr;
    QListView *lstURLList = nullptr;
    QPushButton *cmdAddURL = nullptr, *cmdDelURL = nullptr, *cmdImport = nullptr;
    QLabel *lblURLCount = nullptr;
    QLineEdit *txtURL = nullptr;
    QListWidget *lstKeyword = nullptr;
    QPushButton *cmdAddKey = nullptr, *cmdRemoveKey = nullptr, *cmdDelGroup = nullptr;
    QRadioButton *optSearch[2] = {};
    QComboBox *cmbSearchList = nullptr;
    QLineEdit *txtMailGrName = nullptr;
    QLabel *picKeyword = nullptr;
    QWidget *fraKeywords = nullptr;
    QComboBox *cmbStop = nullptr, *cmbSearched = nullptr, *cmbEmail = nullptr, *cmbPage = nullptr,
              *cmbType = nullptr;
    QGroupBox *fraProxy = nullptr;
    QLineEdit *txtProxy = nullptr, *txtPort = nullptr, *txtUserName = nullptr,
              *txtPassword = nullptr, *txtPath = nullptr;
    QCheckBox *chkDNS = nullptr, *chkKB = nullptr, *chkFavorites = nullptr, *chkEmail = nullptr;
    QPushButton *cmdAdv = nullptr, *cmdBrowse = nullptr, *cmdAddTax = nullptr, *cmdDelTax = nullptr;
    QListWidget *lstTaxonomy = nullptr;
    QListWidget *lstDomains = nullptr, *lstEmail = nullptr, *lstIncEmail = nullptr;
    QRadioButton *optExclude[2] = {};
    QPushButton *cmdAddDomain = nullptr, *cmdDelDomains = nullptr, *cmdAddEmail = nullptr,
                *cmdDelEmail = nullptr, *cmdAddEmail1 = nullptr, *cmdDelEmail1 = nullptr;
    QPushButton *cmdStart = nullptr, *cmdStop = nullptr, *cmdSaveEmail = nullptr;
    QListView *lstResult = nullptr, *lstDetails = nullptr, *lstMailList = nullptr;
    QLabel *lblHr = nullptr, *lblMin = nullptr, *lblSec = nullptr, *lblPages = nullptr,
           *lblLeads = nullptr, *lblKB = nullptr, *lblKBCount = nullptr, *lblInet = nullptr,
           *imgDisp = nullptr;
};

} // namespace corvane
