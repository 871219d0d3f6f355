#include "ui/HarvestWindow.h"

#include "common/DataFolder.h"
#include "common/LeadFile.h"
#include "engine/ResumeController.h"
#include "engine/RunLimits.h"
#include "ui/Cleanup.h"
#include "ui/HarvestFiltersTab.h"
#include "ui/HarvestKeywordTab.h"
#include "ui/HarvestResultTab.h"
#include "ui/HarvestSearchTab.h"
#include "ui/HarvestSettingsTab.h"
#include "ui/MessageDialog.h"
#include "ui/ResumeDialog.h"

#include <QCloseEvent>
#include <QFileDialog>
#include <QPixmap>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

namespace corvane {

namespace {
const char *const kTabPictures[] = {"Search", "Keyword", "Settings", "filters", "Result"};
}

HarvestWindow::HarvestWindow(QWidget *parent)
    : SkinnedWindow(QStringLiteral("Images2"), QString(), parent), m_tabs(new QTabWidget(this))
{
    setObjectName(QStringLiteral("frmMain"));
    setWindowTitle(tr("Corvane"));
    restoreSavedChoices(m_job);
    if (const auto error = m_session.loadEngines())
        showErrorReport(this, QStringLiteral("MainFormLoad->"), *error);

    m_tabs->setObjectName(QStringLiteral("stabEmailExt"));
    m_searchTab = new HarvestSearchTab(m_job);
    m_keywordTab = new HarvestKeywordTab(m_job);
    m_settingsTab = new HarvestSettingsTab(m_job);
    m_filtersTab = new HarvestFiltersTab(m_job);
    m_resultTab = new HarvestResultTab(m_session);
    m_tabs->addTab(m_searchTab, tr("Search"));
    m_tabs->addTab(m_keywordTab, tr("Keyword"));
    m_tabs->addTab(m_settingsTab, tr("Settings"));
    m_tabs->addTab(m_filtersTab, tr("Filters"));
    m_tabs->addTab(m_resultTab, tr("Result"));
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs);

    connect(m_searchTab, &HarvestSearchTab::searchTypeChanged, this,
            &HarvestWindow::showSearchType);
    connect(m_searchTab, &HarvestSearchTab::nextRequested, this, &HarvestWindow::goFromSearchTab);
    connect(m_keywordTab, &HarvestKeywordTab::nextRequested, this,
            &HarvestWindow::goFromKeywordTab);
    connect(m_settingsTab, &HarvestSettingsTab::nextRequested, this,
            &HarvestWindow::goFromSettingsTab);
    connect(m_filtersTab, &HarvestFiltersTab::nextRequested, this,
            &HarvestWindow::goFromFiltersTab);
    connect(m_resultTab, &HarvestResultTab::startRequested, this, &HarvestWindow::startRun);
    connect(m_resultTab, &HarvestResultTab::stopRequested, this, &HarvestWindow::stopRun);
    connect(m_resultTab, &HarvestResultTab::saveLeadsRequested, this, &HarvestWindow::saveLeads);
    connect(m_resultTab, &HarvestResultTab::skipDomainRequested, this,
            &HarvestWindow::skipDomainOfSelectedLink);
    showSearchType(m_job.searchType);

    for (int tab = 0; tab < m_tabs->count(); ++tab)
        m_tabs->tabBar()->setAccessibleTabName(tab, m_tabs->tabText(tab));
    m_tabs->tabBar()->setStyleSheet(
        QStringLiteral("QTabBar::tab { border: none; padding: 0px; margin: 0px 2px 0px 0px; }"));
    connect(m_tabs, &QTabWidget::currentChanged, this, [this](int tab) {
        setTabPicture(m_previousTab, 1);
        setTabPicture(tab, 2);
        m_previousTab = tab;
    });
    // The strip shows the current tab's highlighted picture only until the mouse moves over it.
    m_tabs->tabBar()->setMouseTracking(true);
    m_tabs->tabBar()->installEventFilter(this);
    for (int tab = 0; tab < 5; ++tab)
        setTabPicture(tab, tab == 0 ? 2 : 1);

    CrawlController &crawl = m_session.crawl();
    connect(&crawl, &CrawlController::message, this,
            [this](const QString &text) { showMessage(this, text); });
    connect(&crawl, &CrawlController::storeProblem, this, &HarvestWindow::showStoreProblem);
    // The run goes on without its record; the user hears of it once per run.
    connect(&m_session, &HarvestSession::recordingProblem, this,
            [this](const QString &problem) { showMessage(this, problem); });
    connect(&crawl, &CrawlController::stateChanged, m_resultTab, &HarvestResultTab::showState);
    connect(&crawl, &CrawlController::progress, m_resultTab, &HarvestResultTab::showProgress);
    connect(&crawl.monitor(), &RunMonitor::ticked, m_resultTab, &HarvestResultTab::showProgress);
    connect(&crawl.monitor(), &RunMonitor::cleanupDue, this, [] {
        cleanup::DeleteInetTempFiles();
        cleanup::DeleteTempFiles();
    });
    connect(&crawl.monitor(), &RunMonitor::tickFailed, this,
            [this](const QString &text) { showMessage(this, text); });
    connect(&crawl.resume(), &ResumeController::dialogOpened, this,
            &HarvestWindow::openResumeDialog);
    m_resultTab->showState(crawl.state());

    resize(860, 640); // fits a 1366x768 screen; the lists take any height it is given
}

HarvestWindow::~HarvestWindow()
{
    m_session.crawl().Stop();
    m_session.downloader().cancelAll();
    // The tabs and the question show the job and the session: they go before them.
    delete m_resumeDialog;
    m_tabs->tabBar()->removeEventFilter(this);
    delete m_tabs;
}

void HarvestWindow::setImportRunner(std::function<void(HarvestJob &job)> runner)
{
    m_searchTab->setImportRunner(std::move(runner));
}

void HarvestWindow::showSearchType(SearchType type)
{
    m_keywordTab->showSearchType(type);
    m_settingsTab->showSearchType(type);
}

bool HarvestWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_tabs->tabBar() && event->type() == QEvent::MouseMove)
        setTabPicture(m_tabs->currentIndex(), 1);
    return SkinnedWindow::eventFilter(watched, event);
}

void HarvestWindow::setTabPicture(int tab, int picture)
{
    if (tab < 0 || tab >= 5 || m_tabPictures[tab] == picture)
        return;
    m_tabPictures[tab] = picture;
    const QPixmap face(DataFolder::locate(
        QStringLiteral("Images/%1%2.gif").arg(QLatin1String(kTabPictures[tab])).arg(picture)));
    QTabBar *bar = m_tabs->tabBar();
    if (face.isNull()) { // without its pictures the strip still names its tabs
        bar->setTabIcon(tab, {});
        bar->setTabText(tab, bar->accessibleTabName(tab));
        return;
    }
    // The pictures are the whole faces of the tabs, names included.
    bar->setIconSize(face.deviceIndependentSize().toSize());
    bar->setTabIcon(tab, QIcon(face));
    bar->setTabText(tab, {});
}

void HarvestWindow::showCheck(const JobCheck &check)
{
    if (check.passed())
        m_tabs->setCurrentIndex(int(check.tab));
    else
        showMessage(this, check.message);
}

void HarvestWindow::goFromSearchTab()
{
    showCheck(checkSearchTab(m_job));
}

void HarvestWindow::goFromKeywordTab()
{
    showCheck(checkKeywordTab(m_job));
}

void HarvestWindow::goFromSettingsTab()
{
    showCheck(checkSettingsTab(m_job));
}

void HarvestWindow::goFromFiltersTab()
{
    showCheck(checkFiltersTab(m_job));
}

void HarvestWindow::startRun()
{
    std::variant<RunDescription, RunRefusal> built = buildRun(m_job);
    if (const RunRefusal *refused = std::get_if<RunRefusal>(&built)) {
        showMessage(this, refused->message);
        return;
    }
    saveChoices(m_job);
    m_storeProblemsAtStart = m_session.crawl().storeProblemCount();
    if (Result<void> started = m_session.start(std::get<RunDescription>(built)); !started)
        showErrorReport(this, QStringLiteral("cmdStart->"), started.message());
}

void HarvestWindow::stopRun()
{
    m_session.crawl().Stop();
}

void HarvestWindow::showStoreProblem(const QString &problem)
{
    // One dialog per run; the result tab counts the rest.
    if (m_session.crawl().storeProblemCount() == m_storeProblemsAtStart + 1)
        showMessage(this, problem);
    m_resultTab->showProgress();
}

QStringList HarvestWindow::leads() const
{
    return m_session.context().lstMailList.texts();
}

void HarvestWindow::saveLeads()
{
    const LeadSaveChoice choice =
        m_leadFileChooser ? m_leadFileChooser(this) : askLeadSaveChoice(this);
    if (choice.path.isEmpty())
        return;
    QString problem;
    if (choice.withSources) {
        if (const Result<qint64> saved = m_session.saveLeadsCsv(choice.path); !saved)
            problem = saved.message();
    } else if (const Result<void> written = LeadFile::write(choice.path, leads()); !written) {
        problem = written.message();
    }
    if (!problem.isEmpty())
        showErrorReport(this, QStringLiteral("cmdSaveEmail->"), problem);
}

void HarvestWindow::skipDomainOfSelectedLink()
{
    m_session.crawl().SkipDomain();
    m_resultTab->showProgress();
}

void HarvestWindow::openResumeDialog()
{
    m_session.crawl().monitor().showConnectionLost();
    m_resultTab->showProgress();
    if (m_resumeDialog)
        return;
    m_resumeDialog =
        new ResumeDialog(m_session.crawl().resume(), m_session.probe().address(), this);
    m_resumeDialog->setAttribute(Qt::WA_DeleteOnClose);
    m_resumeDialog->open();
}

void HarvestWindow::closeEvent(QCloseEvent *event)
{
    m_session.crawl().Stop();
    m_session.downloader().cancelAll();
    event->accept();
}

} // namespace corvane
