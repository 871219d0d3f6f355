#include "ui/HarvestWindow.h"

#include "common/DataFolder.h"
#include "common/LeadFile.h"
#include "common/TimerSource.h"
#include "engine/ConnectionProbe.h"
#include "engine/CurlDownloader.h"
#include "engine/EngineList.h"
#include "engine/ResumeController.h"
#include "engine/RunLimits.h"
#include "kb/Deletion.h"
#include "ui/BookmarkImportDialog.h"
#include "ui/Cleanup.h"
#include "ui/DeleteConfirmDialog.h"
#include "ui/HelpWindow.h"
#include "ui/InputDialog.h"
#include "ui/KnowledgeBasePathDialog.h"
#include "ui/MailGroupDeleteDialog.h"
#include "ui/MessageDialog.h"
#include "ui/ResumeDialog.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QListWidget>
#include <QMenu>
#include <QPixmap>
#include <QPushButton>
#include <QRadioButton>
#include <QStyledItemDelegate>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

#include <utility>

namespace corvane {

namespace {

template <typename W>
W *named(W *widget, const char *name)
{
    widget->setObjectName(QLatin1String(name));
    return widget;
}

QPushButton *button(QWidget *parent, const QString &caption, const char *name)
{
    return named(new QPushButton(caption, parent), name);
}

QListWidget *multiList(QWidget *parent, const char *name)
{
    auto *list = named(new QListWidget(parent), name);
    list->setSelectionMode(QAbstractItemView::MultiSelection);
    return list;
}

QComboBox *combo(QWidget *parent, const char *name, const QStringList &choices, const QString &text,
                 bool editable)
{
    auto *box = named(new QComboBox(parent), name);
    box->setEditable(editable);
    box->addItems(choices);
    // Room for the longest limit a user types, not only for the longest choice.
    box->setMinimumContentsLength(8);
    if (editable)
        box->setEditText(text);
    else
        box->setCurrentIndex(qMax(0, choices.indexOf(text)));
    return box;
}

// Buttons stacked beside a list, at its top.
QVBoxLayout *buttonColumn(std::initializer_list<QPushButton *> buttons)
{
    auto *column = new QVBoxLayout;
    for (QPushButton *b : buttons)
        column->addWidget(b);
    column->addStretch();
    return column;
}

QLabel *label(const QString &text, QWidget *parent, const char *name = nullptr)
{
    auto *l = new QLabel(text, parent);
    if (name)
        l->setObjectName(QLatin1String(name));
    return l;
}

// An engine's entry keeps its address behind the name, where the crawl reads it back; the
// list shows the name only, however wide it is.
class EngineNameDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QString displayText(const QVariant &value, const QLocale &locale) const override
    {
        return EngineEntry::nameOfLine(QStyledItemDelegate::displayText(value, locale));
    }
};

const char *const kTabPictures[] = {"Search", "Keyword", "Settings", "filters", "Result"};
const char *const kHelpAnchors[] = {"#search", "#Setting", "#keyword", "#filter", "#result"};

} // namespace

HarvestWindow::HarvestWindow(QWidget *parent) : HarvestWindow(Options{}, parent) {}

HarvestWindow::HarvestWindow(const Options &options, QWidget *parent)
    : SkinnedWindow(QStringLiteral("Images2"), QString(), parent), m_options(options),
      m_downloader(std::make_unique<CurlDownloader>()),
      m_probe(std::make_unique<ConnectionProbe>(options.probeAddress.isEmpty()
                                                    ? ConnectionProbe::configuredAddress()
                                                    : options.probeAddress))
{
    setObjectName(QStringLiteral("frmMain"));
    setWindowTitle(tr("Corvane"));
    m_context.profile = options.profile;
    m_crawl = std::make_unique<CrawlController>(
        m_job, options.profile,
        CrawlController::Parts{m_downloader.get(), &RealTimerSource::instance(), &m_analysis,
                               &m_storePort, &m_searchList, m_probe.get()});

    stabEmailExt = named(new QTabWidget(this), "stabEmailExt");
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(stabEmailExt);
    buildSearchTab();
    buildKeywordTab();
    buildSettingsTab();
    buildFiltersTab();
    buildResultTab();

    for (int tab = 0; tab < stabEmailExt->count(); ++tab)
        stabEmailExt->tabBar()->setAccessibleTabName(tab, stabEmailExt->tabText(tab));
    stabEmailExt->tabBar()->setStyleSheet(
        QStringLiteral("QTabBar::tab { border: none; padding: 0px; margin: 0px 2px 0px 0px; }"));
    connect(stabEmailExt, &QTabWidget::currentChanged, this, [this](int tab) {
        setTabPicture(m_previousTab, 1);
        setTabPicture(tab, 2);
        m_previousTab = tab;
    });
    // The strip shows the current tab's highlighted picture only until the mouse moves over it.
    stabEmailExt->tabBar()->setMouseTracking(true);
    stabEmailExt->tabBar()->installEventFilter(this);

    connect(m_crawl.get(), &CrawlController::message, this,
            [this](const QString &text) { showMessage(this, text); });
    connect(m_crawl.get(), &CrawlController::stateChanged, this, [this] { refreshButtons(); });
    connect(m_crawl.get(), &CrawlController::progress, this, [this] { refreshProgress(); });
    connect(&m_crawl->monitor(), &RunMonitor::ticked, this, [this] { refreshProgress(); });
    connect(&m_crawl->monitor(), &RunMonitor::cleanupDue, this, [] {
        cleanup::DeleteInetTempFiles();
        cleanup::DeleteTempFiles();
    });
    connect(&m_crawl->monitor(), &RunMonitor::tickFailed, this,
            [this](const QString &text) { showMessage(this, text); });
    connect(&m_crawl->resume(), &ResumeController::dialogOpened, this,
            &HarvestWindow::openResumeDialog);
    // The question's going hands the window back at once; whether and when the window
    // system activates it again is not ours to rely on, and that activation is then this one.
    connect(&m_crawl->resume(), &ResumeController::dialogClosed, this, [this] {
        m_returnFromQuestionHandled = true;
        m_crawl->windowActivated();
    });

    resize(860, 640); // fits a 1366x768 screen; the lists take any height it is given
    Form_Load();
}

HarvestWindow::~HarvestWindow()
{
    m_crawl->Stop();
    m_downloader->cancelAll();
}

void HarvestWindow::buildSearchTab()
{
    auto *tab = new QWidget;
    auto *grid = new QGridLayout(tab);
    auto *frame = new QGroupBox(tr("Search Type"), tab);
    auto *types = new QHBoxLayout(frame);
    const QString captions[] = {tr("Select Search &Engines"), tr("Select &URL List"),
                                tr("From UR&L")};
    for (int i = 0; i < 3; ++i) {
        optSearchType[i] = new QRadioButton(captions[i], frame);
        optSearchType[i]->setObjectName(QStringLiteral("optSearchType%1").arg(i));
        types->addWidget(optSearchType[i]);
        connect(optSearchType[i], &QRadioButton::clicked, this,
                [this, i] { optSearchType_Click(i); });
    }
    optSearchType[0]->setChecked(true);
    grid->addWidget(frame, 0, 0, 1, 3);

    lstEngines = multiList(tab, "lstEngines");
    lstEngines->setItemDelegate(new EngineNameDelegate(lstEngines));
    cmdSelect = button(tab, tr("&Select All"), "cmdSelect");
    cmdClear = button(tab, tr("Clear All"), "cmdClear");
    grid->addWidget(lstEngines, 1, 0, 3, 2);
    grid->addWidget(cmdSelect, 1, 2);
    grid->addWidget(cmdClear, 2, 2);
    connect(cmdSelect, &QPushButton::clicked, lstEngines, &QListWidget::selectAll);
    connect(cmdClear, &QPushButton::clicked, lstEngines, &QListWidget::clearSelection);

    lstURLList = named(new QListView(tab), "lstURLList");
    lstURLList->setModel(&m_context.lstURLList);
    lstURLList->setSelectionMode(QAbstractItemView::MultiSelection);
    // The view's selection is the list's "selected" mark, which the crawl consumes.
    connect(lstURLList->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        for (qsizetype row = 0; row < m_context.lstURLList.count(); ++row)
            m_context.lstURLList.setSelected(
                row, lstURLList->selectionModel()->isRowSelected(int(row), {}));
    });
    cmdAddURL = button(tab, tr("Add URL"), "cmdAddURL");
    cmdDelURL = button(tab, tr("Delete URL"), "cmdDelURL");
    cmdImport = button(tab, tr("Import Bookmark"), "cmdImport");
    lblURLCount = label({}, tab, "lblURLCount");
    grid->addWidget(lstURLList, 4, 0, 4, 2);
    grid->addWidget(cmdAddURL, 4, 2);
    grid->addWidget(cmdDelURL, 5, 2);
    grid->addWidget(cmdImport, 6, 2);
    grid->addWidget(lblURLCount, 7, 2);
    connect(cmdAddURL, &QPushButton::clicked, this, [this] {
        InputOperations ops;
        ops.set(InputMode::AddURL, [this](const QString &text) {
            m_context.lstURLList.append(text, true);
            lstURLList->selectionModel()->select(
                m_context.lstURLList.index(int(m_context.lstURLList.count() - 1)),
                QItemSelectionModel::Select);
        });
        askInput(this, InputMode::AddURL, ops);
    });
    connect(cmdDelURL, &QPushButton::clicked, this, &HarvestWindow::deleteUrls);
    connect(cmdImport, &QPushButton::clicked, this, &HarvestWindow::cmdImport_Click);

    txtURL = named(new QLineEdit(tab), "txtURL");
    grid->addWidget(label(tr("URL:"), tab), 8, 0);
    grid->addWidget(txtURL, 8, 1, 1, 2);
    auto *next = button(tab, tr("Next >>"), "cmdNext1");
    connect(next, &QPushButton::clicked, this, &HarvestWindow::cmdNext1_Click);
    grid->addWidget(helpButton(0), 9, 0);
    grid->addWidget(next, 9, 2);
    stabEmailExt->addTab(tab, tr("Search"));
}

void HarvestWindow::buildKeywordTab()
{
    auto *tab = new QWidget;
    auto *outer = new QVBoxLayout(tab);
    fraKeywords = new QGroupBox(tr("Keywords"), tab);
    auto *grid = new QGridLayout(fraKeywords);
    optSearch[0] = named(new QRadioButton(tr("Add New Mail Group"), fraKeywords), "optSearch0");
    optSearch[1] = named(new QRadioButton(tr("Select Mail Group"), fraKeywords), "optSearch1");
    for (int i = 0; i < 2; ++i)
        connect(optSearch[i], &QRadioButton::clicked, this, [this, i] { optSearch_Click(i); });
    cmbSearchList = named(new QComboBox(fraKeywords), "cmbSearchList");
    connect(cmbSearchList, &QComboBox::activated, this, [this] { cmbSearchList_Click(); });
    txtMailGrName = named(new QLineEdit(fraKeywords), "txtMailGrName");
    cmdDelGroup = button(fraKeywords, tr("Delete Mail Group"), "cmdDelGroup");
    connect(cmdDelGroup, &QPushButton::clicked, this, &HarvestWindow::cmdDelGroup_Click);
    grid->addWidget(optSearch[0], 0, 0);
    grid->addWidget(optSearch[1], 0, 1);
    grid->addWidget(label(tr("Mail Group  Name"), fraKeywords), 1, 0);
    grid->addWidget(txtMailGrName, 1, 1);
    grid->addWidget(cmbSearchList, 1, 1);
    grid->addWidget(cmdDelGroup, 1, 2);
    grid->addWidget(label(tr("Choose keywords"), fraKeywords), 2, 0);
    lstKeyword = multiList(fraKeywords, "lstKeyword");
    cmdAddKey = button(fraKeywords, tr("Add Keyword"), "cmdAddKey");
    cmdRemoveKey = button(fraKeywords, tr("Delete"), "cmdRemoveKey");
    grid->addWidget(lstKeyword, 3, 0, 1, 2);
    grid->addLayout(buttonColumn({cmdAddKey, cmdRemoveKey}), 3, 2);
    grid->setRowStretch(3, 1);
    connect(cmdAddKey, &QPushButton::clicked, this, &HarvestWindow::cmdAddKey_Click);
    connect(cmdRemoveKey, &QPushButton::clicked, this, &HarvestWindow::deleteKeywords);
    outer->addWidget(fraKeywords);
    picKeyword =
        label(tr("Keywords are used only when searching with search engines."), tab, "picKeyword");
    outer->addWidget(picKeyword);
    auto *row = new QHBoxLayout;
    row->addWidget(helpButton(2));
    row->addStretch();
    auto *next = button(tab, tr("Next >>"), "cmdNext2");
    connect(next, &QPushButton::clicked, this, &HarvestWindow::cmdNext2_Click);
    row->addWidget(next);
    outer->addLayout(row);
    stabEmailExt->addTab(tab, tr("Keyword"));
}

void HarvestWindow::buildSettingsTab()
{
    auto *tab = new QWidget;
    auto *outer = new QGridLayout(tab);
    auto *limits = new QGroupBox(tr("Search Settings"), tab);
    auto *lg = new QGridLayout(limits);
    cmbStop = combo(limits, "cmbStop", HarvestJob::stopAfterChoices(), m_job.stopAfter, true);
    cmbSearched = combo(limits, "cmbSearched", HarvestJob::maxPagesChoices(), m_job.maxPages, true);
    cmbEmail = combo(limits, "cmbEmail", HarvestJob::maxLeadsChoices(), m_job.maxLeads, true);
    cmbPage = combo(limits, "cmbPage", HarvestJob::pageTimeoutChoices(), m_job.pageTimeout, false);
    lg->addWidget(label(tr("Stop Search After:"), limits), 0, 0);
    lg->addWidget(cmbStop, 0, 1);
    lg->addWidget(label(tr("Minutes"), limits), 0, 2);
    lg->addWidget(label(tr("Maximum Pages Search:"), limits), 1, 0);
    lg->addWidget(cmbSearched, 1, 1);
    lg->addWidget(label(tr("Maximum Leads Extraction"), limits), 2, 0);
    lg->addWidget(cmbEmail, 2, 1);
    lg->addWidget(label(tr("Page Timeout:"), limits), 3, 0);
    lg->addWidget(cmbPage, 3, 1);
    lg->addWidget(label(tr("Seconds"), limits), 3, 2);
    cmdAdv = button(limits, tr("Advanced >>"), "cmdAdv");
    connect(cmdAdv, &QPushButton::clicked, this, &HarvestWindow::cmdAdv_Click);
    lg->addWidget(cmdAdv, 4, 2);
    outer->addWidget(limits, 0, 0);

    fraProxy = named(new QGroupBox(tr("Proxy Settings"), tab), "fraProxy");
    auto *pg = new QGridLayout(fraProxy);
    cmbType = combo(fraProxy, "cmbType", HarvestJob::proxyTypeChoices(), m_job.proxyType, true);
    txtProxy = named(new QLineEdit(m_job.proxyHost, fraProxy), "txtProxy");
    txtPort = named(new QLineEdit(m_job.proxyPort, fraProxy), "txtPort");
    txtUserName = named(new QLineEdit(m_job.proxyUserName, fraProxy), "txtUserName");
    txtPassword = named(new QLineEdit(m_job.proxyPassword, fraProxy), "txtPassword");
    txtPassword->setEchoMode(QLineEdit::Password);
    chkDNS = named(new QCheckBox(tr("Use remote DNS"), fraProxy), "chkDNS");
    const std::pair<QString, QWidget *> rows[] = {{tr("Type"), cmbType},
                                                  {tr("Proxy:"), txtProxy},
                                                  {tr("Port:"), txtPort},
                                                  {tr("User Name:"), txtUserName},
                                                  {tr("Password:"), txtPassword}};
    int r = 0;
    for (const auto &[caption, field] : rows) {
        pg->addWidget(label(caption, fraProxy), r, 0);
        pg->addWidget(field, r++, 1);
    }
    pg->addWidget(chkDNS, r, 1);
    fraProxy->hide();
    outer->addWidget(fraProxy, 0, 1);

    auto *def = new QGroupBox(tr("Search Definition"), tab);
    auto *dg = new QGridLayout(def);
    chkKB = named(new QCheckBox(tr("Build Knowledge Base"), def), "chkKB");
    txtPath = named(new QLineEdit(def), "txtPath");
    cmdBrowse = button(def, tr("&Browse"), "cmdBrowse");
    chkFavorites = named(new QCheckBox(tr("Create Favorites"), def), "chkFavorites");
    chkEmail = named(new QCheckBox(tr("Exclude Email Extraction"), def), "chkEmail");
    lstTaxonomy = multiList(def, "lstTaxonomy");
    cmdAddTax = button(def, tr("Add Taxonomy"), "cmdAddTax");
    cmdDelTax = button(def, tr("Delete Taxonomy"), "cmdDelTax");
    dg->addWidget(chkKB, 0, 0);
    dg->addWidget(txtPath, 0, 1);
    dg->addWidget(cmdBrowse, 0, 2);
    dg->addWidget(chkFavorites, 1, 0);
    dg->addWidget(chkEmail, 1, 1);
    dg->addWidget(label(tr("Knowledge Taxonomy"), def), 2, 0);
    dg->addWidget(lstTaxonomy, 3, 0, 1, 2);
    dg->addLayout(buttonColumn({cmdAddTax, cmdDelTax}), 3, 2);
    dg->setRowStretch(3, 1); // the taxonomy list takes the height to spare
    outer->addWidget(def, 1, 0, 1, 2);
    connect(chkKB, &QCheckBox::clicked, this, &HarvestWindow::chkKB_Click);
    connect(chkEmail, &QCheckBox::clicked, this, &HarvestWindow::chkEmail_Click);
    connect(cmdBrowse, &QPushButton::clicked, this, &HarvestWindow::cmdBrowse_Click);
    connect(cmdAddTax, &QPushButton::clicked, this, &HarvestWindow::cmdAddTax_Click);
    connect(cmdDelTax, &QPushButton::clicked, this, [this] {
        deleteEntries(tr("Do you wish to permanently delete selected taxonomy"), lstTaxonomy, true);
        QList<CatalogueEntry> left;
        for (int i = 0; i < lstTaxonomy->count(); ++i)
            left.append(
                {lstTaxonomy->item(i)->data(Qt::UserRole).toInt(), lstTaxonomy->item(i)->text()});
        m_taxonomy.setEntries(left);
    });

    auto *row = new QHBoxLayout;
    row->addWidget(helpButton(1));
    row->addStretch();
    auto *next = button(tab, tr("Next >>"), "cmdNext3");
    connect(next, &QPushButton::clicked, this, &HarvestWindow::cmdNext3_Click);
    row->addWidget(next);
    outer->addLayout(row, 2, 0, 1, 2);
    stabEmailExt->addTab(tab, tr("Settings"));
}

void HarvestWindow::buildFiltersTab()
{
    auto *tab = new QWidget;
    auto *grid = new QGridLayout(tab);
    lstDomains = multiList(tab, "lstDomains");
    cmdAddDomain = button(tab, tr("Add Domain"), "cmdAddDomain");
    cmdDelDomains = button(tab, tr("Delete Domain"), "cmdDelDomains");
    grid->addWidget(label(tr("List of excluded domains"), tab), 0, 0);
    grid->addWidget(lstDomains, 1, 0);
    grid->addLayout(buttonColumn({cmdAddDomain, cmdDelDomains}), 1, 1);

    optExclude[0] =
        named(new QRadioButton(tr("List of excluded Email Id types"), tab), "optExclude0");
    optExclude[1] =
        named(new QRadioButton(tr("List of Email Id types to include"), tab), "optExclude1");
    for (int i = 0; i < 2; ++i)
        connect(optExclude[i], &QRadioButton::clicked, this, [this, i] { optExclude_Click(i); });
    lstEmail = multiList(tab, "lstEmail");
    cmdAddEmail = button(tab, tr("Add Email Id Type"), "cmdAddEmail");
    cmdDelEmail = button(tab, tr("Delete Email Id Type"), "cmdDelEmail");
    lstIncEmail = multiList(tab, "lstIncEmail");
    cmdAddEmail1 = button(tab, tr("Add Email Id Type"), "cmdAddEmail1");
    cmdDelEmail1 = button(tab, tr("Delete Email Id Type"), "cmdDelEmail1");
    grid->addWidget(optExclude[0], 2, 0);
    grid->addWidget(lstEmail, 3, 0);
    grid->addLayout(buttonColumn({cmdAddEmail, cmdDelEmail}), 3, 1);
    grid->addWidget(optExclude[1], 4, 0);
    grid->addWidget(lstIncEmail, 5, 0);
    grid->addLayout(buttonColumn({cmdAddEmail1, cmdDelEmail1}), 5, 1);
    for (int listRow : {1, 3, 5}) // the three lists share the height
        grid->setRowStretch(listRow, 1);

    struct Editor
    {
        QPushButton *add, *del;
        QListWidget *list;
        InputMode mode;
        QString question;
    };
    const Editor editors[] = {
        {cmdAddDomain, cmdDelDomains, lstDomains, InputMode::AddDomain,
         tr("Do you wish to permanently delete selected domains")},
        {cmdAddEmail, cmdDelEmail, lstEmail, InputMode::AddExcludeEmailType,
         tr("Do you wish to permanently delete selected exclude Email-ID types")},
        {cmdAddEmail1, cmdDelEmail1, lstIncEmail, InputMode::AddIncludeEmailType,
         tr("Do you wish to permanently delete selected include Email-ID types")},
    };
    for (const Editor &e : editors) {
        connect(e.add, &QPushButton::clicked, this, [this, e] {
            InputOperations ops;
            ops.set(e.mode, [this, e](const QString &text) { addEntry(e.list, text); });
            askInput(this, e.mode, ops);
        });
        connect(e.del, &QPushButton::clicked, this,
                [this, e] { deleteEntries(e.question, e.list, false); });
    }

    auto *row = new QHBoxLayout;
    row->addWidget(helpButton(3));
    row->addStretch();
    auto *next = button(tab, tr("Next >>"), "cmdNext4");
    connect(next, &QPushButton::clicked, this, &HarvestWindow::cmdNext4_Click);
    row->addWidget(next);
    grid->addLayout(row, 9, 0, 1, 2);
    stabEmailExt->addTab(tab, tr("Filters"));
}

void HarvestWindow::buildResultTab()
{
    auto *tab = new QWidget;
    auto *frame = new QGroupBox(tr("Results Page"), tab);
    auto *grid = new QGridLayout(frame);
    cmdStart = button(frame, tr("&Start"), "cmdStart");
    cmdStop = button(frame, tr("S&top"), "cmdStop");
    cmdSaveEmail = button(frame, tr("Save &Leads"), "cmdSaveEmail");
    connect(cmdStart, &QPushButton::clicked, this, &HarvestWindow::cmdStart_Click);
    connect(cmdStop, &QPushButton::clicked, this, &HarvestWindow::cmdStop_Click);
    connect(cmdSaveEmail, &QPushButton::clicked, this, &HarvestWindow::cmdSaveEmail_Click);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(cmdStart);
    buttons->addWidget(cmdStop);
    buttons->addWidget(cmdSaveEmail);
    buttons->addStretch();
    grid->addLayout(buttons, 0, 0, 1, 3);

    const auto queueView = [&](TextListModel &model, const char *name) {
        auto *view = named(new QListView(frame), name);
        view->setModel(&model);
        view->setUniformItemSizes(true); // the queues grow to many thousand entries
        view->setContextMenuPolicy(Qt::CustomContextMenu);
        return view;
    };
    lstResult = queueView(m_context.lstResult, "lstResult");
    lstDetails = queueView(m_context.lstDetails, "lstDetails");
    lstMailList = queueView(m_context.lstMailList, "lstMailList");
    lstMailList->setContextMenuPolicy(Qt::NoContextMenu);
    grid->addWidget(label(tr("Main Pages"), frame), 1, 0);
    grid->addWidget(label(tr("Link Pages"), frame), 1, 1);
    grid->addWidget(label(tr("List of Email Ids"), frame), 1, 2);
    grid->addWidget(lstResult, 2, 0);
    grid->addWidget(lstDetails, 2, 1);
    grid->addWidget(lstMailList, 2, 2);
    connect(lstResult, &QListView::customContextMenuRequested, this, [this](const QPoint &at) {
        QMenu menu(this);
        menu.addAction(tr("View Link"), this, [this] { viewLink(lstResult); });
        menu.exec(lstResult->viewport()->mapToGlobal(at));
    });
    connect(lstDetails, &QListView::customContextMenuRequested, this, [this](const QPoint &at) {
        QMenu menu(this);
        menu.addAction(tr("View Link"), this, [this] { viewLink(lstDetails); });
        menu.addAction(tr("Skip Domain"), this, &HarvestWindow::skipDomainOfSelectedLink);
        menu.exec(lstDetails->viewport()->mapToGlobal(at));
    });

    auto *progress = new QHBoxLayout;
    progress->addWidget(label(tr("Total Time Taken"), frame));
    lblHr = label(QStringLiteral("0"), frame, "lblHr");
    lblMin = label(QStringLiteral("0"), frame, "lblMin");
    lblSec = label(QStringLiteral("0"), frame, "lblSec");
    progress->addWidget(lblHr);
    progress->addWidget(label(QStringLiteral(":"), frame));
    progress->addWidget(lblMin);
    progress->addWidget(label(QStringLiteral(":"), frame));
    progress->addWidget(lblSec);
    progress->addWidget(label(tr("Pages:"), frame));
    lblPages = label(QStringLiteral("0"), frame, "lblPages");
    progress->addWidget(lblPages);
    progress->addWidget(label(tr("Leads:"), frame));
    lblLeads = label(QStringLiteral("0"), frame, "lblLeads");
    progress->addWidget(lblLeads);
    lblKB = label(tr("Knowledge Base Pages:"), frame, "lblKB");
    lblKBCount = label(QStringLiteral("0"), frame, "lblKBCount");
    progress->addWidget(lblKB);
    progress->addWidget(lblKBCount);
    lblInet = label(tr("Downloading..."), frame, "lblInet");
    imgDisp = label({}, frame, "imgDisp");
    progress->addWidget(lblInet);
    progress->addStretch();
    progress->addWidget(imgDisp);
    grid->addLayout(progress, 3, 0, 1, 3);
    // The counters change with every page. A label of fixed size asks for no new layout, so
    // only the label repaints, not every widget of the tab around it.
    const int counterWidth =
        lblPages->fontMetrics().horizontalAdvance(QStringLiteral("0000000000"));
    for (QLabel *counter : {lblPages, lblLeads, lblKBCount})
        counter->setFixedSize(counterWidth, counter->sizeHint().height());

    auto *outer = new QVBoxLayout(tab);
    outer->addWidget(frame);
    auto *row = new QHBoxLayout;
    row->addWidget(helpButton(4));
    row->addStretch();
    outer->addLayout(row);
    stabEmailExt->addTab(tab, tr("Result"));
}

QWidget *HarvestWindow::helpButton(int index)
{
    auto *help = new QPushButton(tr("&Help"));
    help->setObjectName(QStringLiteral("cmdHelp%1").arg(index));
    connect(help, &QPushButton::clicked, this, [this, index] {
        HelpWindow::showHelp(QStringLiteral("Corvane.htm"), QLatin1String(kHelpAnchors[index]),
                             this);
    });
    return help;
}

bool HarvestWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == stabEmailExt->tabBar() && event->type() == QEvent::MouseMove)
        setTabPicture(stabEmailExt->currentIndex(), 1);
    return SkinnedWindow::eventFilter(watched, event);
}

void HarvestWindow::setTabPicture(int tab, int picture)
{
    if (tab < 0 || tab >= 5 || m_tabPictures[tab] == picture)
        return;
    m_tabPictures[tab] = picture;
    const QPixmap face(DataFolder::locate(
        QStringLiteral("Images/%1%2.gif").arg(QLatin1String(kTabPictures[tab])).arg(picture)));
    QTabBar *bar = stabEmailExt->tabBar();
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

void HarvestWindow::Form_Load()
{
    if (const auto error = GetSearchEngineList(m_provider, m_job.engines))
        showErrorReport(this, QStringLiteral("MainFormLoad->"), *error);
    for (const EngineChoice &engine : m_job.engines) {
        auto *item = new QListWidgetItem(engine.text, lstEngines);
        item->setData(Qt::UserRole, engine.number);
    }
    loadTaxonomy();
    for (int tab = 0; tab < 5; ++tab)
        setTabPicture(tab, tab == 0 ? 2 : 1);
    optSearchType_Click(0);
    chkKB->setChecked(false);
    txtPath->setEnabled(false);
    cmdBrowse->setEnabled(false);
    lstTaxonomy->setEnabled(false);
    cmdAddTax->setEnabled(false);
    cmdDelTax->setEnabled(false);
    optExclude[0]->setChecked(true);
    optExclude_Click(0);
    lblURLCount->hide();
    optSearch[1]->setChecked(true);
    optSearch_Click(1);
    refreshProgress();
    refreshButtons();
}

void HarvestWindow::loadTaxonomy()
{
    lstTaxonomy->clear();
    if (Result<void> loaded = m_taxonomy.LoadTaxonomy(); !loaded)
        showErrorReport(this, QStringLiteral("MainFormLoad->"), loaded.message());
    for (const CatalogueEntry &entry : m_taxonomy.entries()) {
        auto *item = new QListWidgetItem(entry.text, lstTaxonomy);
        item->setData(Qt::UserRole, entry.number);
    }
}

void HarvestWindow::optSearchType_Click(int index)
{
    const bool engines = index == 0, list = index == 1, single = index == 2;
    lstEngines->setEnabled(engines);
    cmdSelect->setEnabled(engines);
    cmdClear->setEnabled(engines);
    lstURLList->setEnabled(list);
    cmdAddURL->setEnabled(list);
    cmdDelURL->setEnabled(list);
    cmdImport->setEnabled(list);
    txtURL->setEnabled(single);
    if (single) {
        txtURL->setText(QStringLiteral("http://"));
        txtURL->setFocus();
    }
    picKeyword->setVisible(!engines);
    fraKeywords->setEnabled(engines);
    chkFavorites->setEnabled(engines);
    const bool taxonomy = engines && chkKB->isChecked();
    lstTaxonomy->setEnabled(taxonomy);
    cmdAddTax->setEnabled(taxonomy);
    cmdDelTax->setEnabled(taxonomy);
    m_context.searchEngineSelected = engines;
}

void HarvestWindow::optExclude_Click(int index)
{
    const bool exclude = index == 0;
    lstEmail->setEnabled(exclude);
    cmdAddEmail->setEnabled(exclude);
    cmdDelEmail->setEnabled(exclude);
    lstIncEmail->setEnabled(!exclude);
    cmdAddEmail1->setEnabled(!exclude);
    cmdDelEmail1->setEnabled(!exclude);
}

void HarvestWindow::reloadMailGroups()
{
    cmbSearchList->clear();
    if (Result<void> loaded = m_mailGroups.LoadMailGroups(); !loaded)
        showErrorReport(this, QStringLiteral("optSearch->"), loaded.message());
    for (const CatalogueEntry &entry : m_mailGroups.entries())
        cmbSearchList->addItem(entry.text, entry.number);
}

void HarvestWindow::optSearch_Click(int index)
{
    if (index == 1) {
        reloadMailGroups();
        txtMailGrName->hide();
        cmbSearchList->show();
        cmdDelGroup->setEnabled(cmbSearchList->count() > 0);
        if (cmbSearchList->count() > 0) {
            cmbSearchList->setCurrentIndex(0);
            loadGroupKeywords();
        }
    } else {
        lstKeyword->clear();
        cmbSearchList->hide();
        cmdDelGroup->setEnabled(false);
        txtMailGrName->clear();
        txtMailGrName->show();
        txtMailGrName->setFocus();
    }
}

void HarvestWindow::loadGroupKeywords()
{
    lstKeyword->clear();
    const qint32 group = cmbSearchList->currentData().toInt();
    if (Result<void> loaded = m_keywords.LoadKeywords(group); !loaded) {
        showErrorReport(this, QStringLiteral("cmbSearchList->"), loaded.message());
        return;
    }
    for (const CatalogueEntry &entry : m_keywords.groupKeywords()) {
        auto *item = new QListWidgetItem(entry.text, lstKeyword);
        item->setData(Qt::UserRole, entry.number);
    }
}

void HarvestWindow::cmbSearchList_Click()
{
    loadGroupKeywords();
}

void HarvestWindow::cmdAddKey_Click()
{
    qint32 group = cmbSearchList->currentData().toInt();
    if (optSearch[0]->isChecked()) {
        if (lstKeyword->count() == 0) {
            const QString name = txtMailGrName->text().trimmed();
            if (name.isEmpty()) {
                showMessage(this, QStringLiteral("Please enter Mail Group name"));
                return;
            }
            reloadMailGroups();
            if (cmbSearchList->findText(name, Qt::MatchFixedString | Qt::MatchCaseSensitive) >= 0) {
                showMessage(this, QStringLiteral("Mail Group already exist"));
                return;
            }
            if (Result<CatalogueEntry> added = m_mailGroups.AddMailGroup(name); !added) {
                showErrorReport(this, QStringLiteral("cmdAddKey->"), added.message());
                return;
            }
        }
        group = qint32(m_mailGroups.lastAddedNumber());
    }
    InputOperations ops;
    ops.set(InputMode::AddKeyword, [this, group](const QString &text) {
        Result<std::optional<CatalogueEntry>> added = m_keywords.AddKeyword(text, group);
        if (!added) {
            showErrorReport(this, QStringLiteral("cmdAddKey->"), added.message());
            return;
        }
        if (*added) {
            auto *item = new QListWidgetItem((*added)->text, lstKeyword);
            item->setData(Qt::UserRole, (*added)->number);
            item->setSelected(true);
        }
    });
    askInput(this, InputMode::AddKeyword, ops);
}

void HarvestWindow::cmdAddTax_Click()
{
    InputOperations ops;
    ops.set(InputMode::AddTaxonomy, [this](const QString &text) {
        Result<std::optional<CatalogueEntry>> added = m_taxonomy.AddTaxonomy(text);
        if (!added) {
            showErrorReport(this, QStringLiteral("cmdAddTax->"), added.message());
            return;
        }
        if (*added) {
            auto *item = new QListWidgetItem((*added)->text, lstTaxonomy);
            item->setData(Qt::UserRole, (*added)->number);
            item->setSelected(true);
        }
    });
    askInput(this, InputMode::AddTaxonomy, ops);
}

void HarvestWindow::chkKB_Click()
{
    const bool on = chkKB->isChecked();
    if (on) {
        InputOperations ops;
        ops.set(InputMode::AddKnowledgebase, [this](const QString &text) {
            m_kbName = text.trimmed();
            reloadMailGroups();
            if (cmbSearchList->findText(m_kbName, Qt::MatchFixedString | Qt::MatchCaseSensitive) <
                0) {
                if (Result<CatalogueEntry> added = m_mailGroups.AddMailGroup(m_kbName); !added)
                    showErrorReport(this, QStringLiteral("chkKB->"), added.message());
            }
        });
        if (!askInput(this, InputMode::AddKnowledgebase, ops)) {
            // Without a name there is no knowledge base to build.
            chkKB->setChecked(false);
            return;
        }
        if (txtPath->text().trimmed().isEmpty())
            txtPath->setText(QDir::toNativeSeparators(DataFolder::root()));
    }
    txtPath->setEnabled(on);
    cmdBrowse->setEnabled(on);
    lstTaxonomy->setEnabled(on);
    cmdAddTax->setEnabled(on);
    if (!on)
        cmdDelTax->setEnabled(false);
    else
        cmdDelTax->setEnabled(true);
}

void HarvestWindow::chkEmail_Click()
{
    // Skipping extraction is asked for; unskipping is not.
    if (chkEmail->isChecked())
        chkEmail->setChecked(DeleteConfirmDialog::confirm(
            tr("Do you really wish to skip Email-ID extraction?"), this));
}

void HarvestWindow::cmdBrowse_Click()
{
    const QString folder = KnowledgeBasePathDialog::choose(txtPath->text(), this);
    if (!folder.isEmpty())
        txtPath->setText(QDir::toNativeSeparators(folder));
}

void HarvestWindow::cmdDelGroup_Click()
{
    if (cmbSearchList->count() == 0)
        return;
    MailGroupDeleteDialog dialog(cmbSearchList->currentData().toInt(), this);
    dialog.exec();
    // A mail group deleted there takes its keywords with it: show what is left.
    if (dialog.changed())
        optSearch_Click(1);
}

void HarvestWindow::addEntry(QListWidget *list, const QString &text)
{
    const QString entry = text.trimmed();
    if (entry.isEmpty())
        return;
    auto *item = new QListWidgetItem(entry, list);
    item->setData(Qt::UserRole, list->count());
    item->setSelected(true);
}

namespace {

QList<DeleteListItem> listItems(const QListWidget *list)
{
    QList<DeleteListItem> items;
    for (int i = 0; i < list->count(); ++i)
        items.append({list->item(i)->text(), list->item(i)->data(Qt::UserRole).toInt(),
                      list->item(i)->isSelected()});
    return items;
}

} // namespace

void HarvestWindow::deleteEntries(const QString &question, QListWidget *list, bool taxonomy)
{
    const QList<DeleteListItem> items = listItems(list);
    const Deletion deletion =
        taxonomy ? Deletion(TaxonomyDeletion{items}) : Deletion(ListEntriesDeletion{items});
    const std::optional<DeletionOutcome> outcome =
        DeleteConfirmDialog::askToDelete(question, deletion, this);
    if (!outcome)
        return;
    list->clear();
    for (const DeleteListItem &left : outcome->list) {
        auto *item = new QListWidgetItem(left.text, list);
        item->setData(Qt::UserRole, left.data);
    }
}

void HarvestWindow::deleteUrls()
{
    ListEntriesDeletion deletion;
    for (qsizetype row = 0; row < m_context.lstURLList.count(); ++row)
        deletion.list.append(
            {m_context.lstURLList.at(row), qint32(row), m_context.lstURLList.isSelected(row)});
    const std::optional<DeletionOutcome> outcome = DeleteConfirmDialog::askToDelete(
        tr("Do you wish to permanently delete selected URLs"), deletion, this);
    if (!outcome)
        return;
    m_context.lstURLList.clear();
    for (const DeleteListItem &left : outcome->list)
        m_context.lstURLList.append(left.text);
}

void HarvestWindow::deleteKeywords()
{
    KeywordDeletion deletion;
    deletion.groupKeywords = listItems(lstKeyword);
    for (const CatalogueEntry &entry : m_keywords.allKeywords())
        deletion.allKeywords.append({entry.text, entry.number, false});
    if (DeleteConfirmDialog::askToDelete(tr("Do you wish to permanently delete selected keywords"),
                                         deletion, this))
        loadGroupKeywords();
}

void HarvestWindow::syncJob()
{
    HarvestJob &job = m_job;
    for (int i = 0; i < 3; ++i)
        if (optSearchType[i]->isChecked())
            job.searchType = SearchType(i);
    // The crawl consumes the selected engines and start URLs as it goes; a stopped run
    // resumes with what it has left, so only a fresh run reads them from the lists.
    const CrawlState state = m_crawl->state();
    if (state != CrawlState::Running && state != CrawlState::Stopped &&
        state != CrawlState::WaitingForConnection) {
        job.engines.clear();
        for (int i = 0; i < lstEngines->count(); ++i)
            job.engines.append({lstEngines->item(i)->text(),
                                lstEngines->item(i)->data(Qt::UserRole).toInt(),
                                lstEngines->item(i)->isSelected()});
        job.urlList.clear();
        for (qsizetype row = 0; row < m_context.lstURLList.count(); ++row)
            job.urlList.append(
                {m_context.lstURLList.at(row), m_context.lstURLList.isSelected(row)});
    }
    job.url = txtURL->text();
    job.keywords.clear();
    for (int i = 0; i < lstKeyword->count(); ++i)
        job.keywords.append({lstKeyword->item(i)->text(), lstKeyword->item(i)->isSelected()});
    job.buildKnowledgeBase = chkKB->isChecked();
    job.knowledgeBaseRoot = txtPath->text();
    job.createFavorites = chkFavorites->isChecked();
    job.taxonomy.clear();
    for (int i = 0; i < lstTaxonomy->count(); ++i)
        job.taxonomy.append({lstTaxonomy->item(i)->text(), lstTaxonomy->item(i)->isSelected()});
    job.excludeEmailExtraction = chkEmail->isChecked();
    job.pageTimeout = cmbPage->currentText();
    job.maxPages = cmbSearched->currentText();
    job.maxLeads = cmbEmail->currentText();
    job.stopAfter = cmbStop->currentText();
    job.proxyType = cmbType->currentText();
    job.proxyHost = txtProxy->text();
    job.proxyPort = txtPort->text();
    job.proxyUserName = txtUserName->text();
    job.proxyPassword = txtPassword->text();
    job.remoteDns = chkDNS->isChecked();
    const auto texts = [](QListWidget *list) {
        QStringList out;
        for (int i = 0; i < list->count(); ++i)
            out << list->item(i)->text();
        return out;
    };
    job.excludedDomains = texts(lstDomains);
    job.excludedEmailTypes = texts(lstEmail);
    job.includedEmailTypes = texts(lstIncEmail);
}

const HarvestJob &HarvestWindow::job()
{
    syncJob();
    return m_job;
}

void HarvestWindow::showCheck(const JobCheck &check)
{
    if (check.passed())
        stabEmailExt->setCurrentIndex(int(check.tab));
    else
        showMessage(this, check.message);
}

void HarvestWindow::cmdNext1_Click()
{
    showCheck(checkNext1(job()));
}
void HarvestWindow::cmdNext2_Click()
{
    showCheck(checkNext2(job()));
}
void HarvestWindow::cmdNext3_Click()
{
    showCheck(checkNext3(job()));
}
void HarvestWindow::cmdNext4_Click()
{
    showCheck(checkNext4(job()));
}

void HarvestWindow::cmdAdv_Click()
{
    m_proxyOpened = true;
    fraProxy->show();
}

void HarvestWindow::cmdStart_Click()
{
    const JobCheck check = validateStart(job());
    if (!check.passed()) {
        showMessage(this, check.message);
        return;
    }
    const CapturedJobValues &captured = *check.captured;
    if (m_job.buildKnowledgeBase && !QDir().mkpath(m_job.knowledgeBaseRoot.trimmed())) {
        showErrorReport(this, QStringLiteral("cmdStart->"),
                        tr("cannot create the folder %1").arg(m_job.knowledgeBaseRoot.trimmed()));
        return;
    }

    m_context.searchEngineSelected = m_job.searchType == SearchType::SearchEngines;
    m_context.filters.excludedDomains = m_job.excludedDomains;
    if (optExclude[1]->isChecked()) {
        m_context.filters.typeMode = EmailTypeMode::Include;
        m_context.filters.includedTypes = m_job.includedEmailTypes;
    } else {
        m_context.filters.typeMode = EmailTypeMode::Exclude;
        m_context.filters.excludedTypes = m_job.excludedEmailTypes;
    }
    m_context.filters.leadLimit = captured.maxLeads;

    PageStoreSettings store;
    store.root = m_job.knowledgeBaseRoot.trimmed();
    store.buildKnowledgeBase = m_job.buildKnowledgeBase;
    store.createFavorites = m_job.createFavorites;
    store.baseName = m_kbName.isEmpty() ? QStringLiteral("Harvest") : m_kbName;
    store.selectedTerms = m_job.selectedTaxonomy();
    store.favoritesFolder = favoritesFolder();
    m_store.setSettings(store);

    // The proxy's factory values are an example, not a choice: they take effect only once
    // the user has looked at them through "Advanced >>".
    const ProxySettings proxy =
        m_proxyOpened ? ProxySettings::fromJob(captured.proxyType, captured.proxyHost,
                                               captured.proxyPort, captured.proxyUserName,
                                               captured.proxyPassword, captured.remoteDns)
                      : ProxySettings{};
    m_downloader->setProxy(proxy);
    m_appliedProxyType = m_proxyOpened ? captured.proxyType : QStringLiteral("No Proxy");

    m_crawl->Start();
    refreshButtons();
}

void HarvestWindow::cmdStop_Click()
{
    m_crawl->Stop();
    refreshButtons();
}

QStringList HarvestWindow::leads() const
{
    return m_context.lstMailList.texts();
}

void HarvestWindow::cmdSaveEmail_Click()
{
    const QString path =
        m_leadFileChooser
            ? m_leadFileChooser(this)
            : QFileDialog::getSaveFileName(this, tr("Save Leads"), {}, tr("Lead files (*.csv)"));
    if (path.isEmpty())
        return;
    if (Result<void> written = LeadFile::write(path, leads()); !written)
        showErrorReport(this, QStringLiteral("cmdSaveEmail->"), written.message());
}

void HarvestWindow::cmdImport_Click()
{
    if (m_importRunner) {
        m_importRunner(m_context);
    } else {
        BookmarkImportDialog dialog(m_context, this);
        dialog.exec();
    }
    lblURLCount->setText(tr("%1 URLs.").arg(m_context.lstURLList.count()));
    lblURLCount->show();
    lstURLList->selectAll();
}

void HarvestWindow::viewLink(QListView *list)
{
    const QModelIndex current = list->currentIndex();
    if (current.isValid())
        QDesktopServices::openUrl(QUrl(current.data().toString()));
}

void HarvestWindow::skipDomainOfSelectedLink()
{
    m_crawl->SkipDomain();
    refreshProgress();
}

void HarvestWindow::refreshProgress()
{
    const RunMonitor &monitor = m_crawl->monitor();
    lblHr->setText(QString::number(monitor.clock().hours));
    lblMin->setText(QString::number(monitor.clock().minutes));
    lblSec->setText(QString::number(monitor.clock().seconds));
    lblPages->setText(QString::number(m_crawl->pageCounter()));
    lblLeads->setText(QString::number(m_analysis.leadCount()));
    lblKB->setVisible(monitor.knowledgeBaseCountVisible());
    lblKBCount->setVisible(monitor.knowledgeBaseCountVisible());
    lblKBCount->setText(QString::number(m_store.pageCounter()));
    const QPixmap picture(
        DataFolder::locate(QStringLiteral("Images/Img%1.gif").arg(monitor.activityImage())));
    if (imgDisp->pixmap().cacheKey() != picture.cacheKey()) // the same picture needs no layout
        imgDisp->setPixmap(picture);
    lblInet->setVisible(m_crawl->downloadingLabelVisible());
}

void HarvestWindow::refreshButtons()
{
    cmdStart->setEnabled(m_crawl->startEnabled());
    cmdStop->setEnabled(m_crawl->stopEnabled());
    cmdSaveEmail->setEnabled(m_crawl->saveLeadsEnabled());
    refreshProgress();
}

void HarvestWindow::openResumeDialog()
{
    m_crawl->monitor().showConnectionLost();
    refreshProgress();
    if (m_resumeDialog)
        return;
    m_resumeDialog = new ResumeDialog(m_crawl->resume(), this);
    m_resumeDialog->setAttribute(Qt::WA_DeleteOnClose);
    m_resumeDialog->open();
}

void HarvestWindow::changeEvent(QEvent *event)
{
    // Coming back to the window after the connection question re-arms the run's timers.
    if (event->type() == QEvent::ActivationChange && isActiveWindow()) {
        if (!std::exchange(m_returnFromQuestionHandled, false))
            m_crawl->windowActivated();
    }
    SkinnedWindow::changeEvent(event);
}

void HarvestWindow::closeEvent(QCloseEvent *event)
{
    m_crawl->Stop();
    m_downloader->cancelAll();
    event->accept();
}

} // namespace corvane
