#include "viewer/ViewerWindow.h"

#include "common/DataFolder.h"
#include "engine/ConnectionProbe.h"
#include "kb/Catalogues.h"
#include "kb/Deletion.h"
#include "kb/KnowledgeBaseCatalogue.h"
#include "kb/KnowledgeBaseLayout.h"
#include "kb/ScrambleLine.h"
#include "ui/DeleteConfirmDialog.h"
#include "ui/HelpWindow.h"
#include "ui/MessageDialog.h"
#include "ui/ToolWidgets.h"
#include "viewer/PageView.h"
#include "viewer/SearchPanel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace corvane {

namespace {

ViewerWindow *g_openViewer = nullptr;

// Refills a list without signalling and keeps its selection where it can: the index of the
// entry selected before, -1 when none was or it has gone.
template <typename Records, typename Entry>
int refillKeepingSelection(QComboBox *list, const Records &records, Entry entry)
{
    const bool hadSelection = list->currentIndex() >= 0;
    const QVariant current = list->currentData();
    const QSignalBlocker quiet(list);
    list->clear();
    for (const auto &record : records) {
        const auto [text, number] = entry(record);
        list->addItem(text, number);
    }
    const int kept = hadSelection ? list->findData(current) : -1;
    if (kept >= 0)
        list->setCurrentIndex(kept);
    return kept;
}

QString describe(const QString &message)
{
    // Library errors already carry their operation's arrow; the viewer adds its own label.
    const int arrow = message.indexOf(QLatin1String("->"));
    return arrow >= 0 ? message.mid(arrow + 2) : message;
}

} // namespace

ViewerWindow *ViewerWindow::openViewer()
{
    return g_openViewer;
}

QUrl ViewerWindow::placeholderPage()
{
    const QString located = DataFolder::locate(QStringLiteral("Images/kw.htm"));
    return located.startsWith(QLatin1Char(':')) ? QUrl(QStringLiteral("qrc") + located)
                                                : QUrl::fromLocalFile(located);
}

QString ViewerWindow::GetDateofCreation(const QString &filePath)
{
    const QFileInfo info(filePath);
    return info.exists() ? info.lastModified().toString(QStringLiteral("MM/dd/yyyy")) : QString();
}

ViewerWindow::ViewerWindow(QWidget *parent)
    : SkinnedWindow(QStringLiteral("Images1"), QString(), parent), m_mailList(new QComboBox(this)),
      m_keyword(new QComboBox(this)), m_num(new QLabel(QStringLiteral("0"), this)),
      m_of(new QLabel(tr("of"), this)), m_totalNum(new QLabel(QStringLiteral("0"), this)),
      m_data1(new QLabel(this)), m_data2(new QLabel(this)), m_data3(new QLabel(this)),
      m_createdOn(new QLabel(this)), m_page(new QLabel(tr("Loading Page...."), this)),
      m_web(new PageView(this)), m_search(new SearchPanel(this)), m_url(new QLineEdit(this)),
      m_browse(namedButton(this, QStringLiteral("cmdBrowse"), tr("&Go"))),
      m_back(namedButton(this, QStringLiteral("cmdBack"), tr("&Back"))),
      m_forward(namedButton(this, QStringLiteral("cmdForward"), tr("F&orward"))),
      m_stop(namedButton(this, QStringLiteral("cmdStop"), tr("&Stop"))),
      m_back1(namedButton(this, QStringLiteral("cmdBack1"), tr("Back"))),
      m_forward1(namedButton(this, QStringLiteral("cmdForward1"), tr("Forward"))),
      m_first(namedButton(this, QStringLiteral("cmdFirst"), tr("&First"))),
      m_previous(namedButton(this, QStringLiteral("cmdPrevious"), tr("&Previous"))),
      m_next(namedButton(this, QStringLiteral("cmdNext"), tr("&Next"))),
      m_last(namedButton(this, QStringLiteral("cmdLast"), tr("&Last"))),
      m_del(namedButton(this, QStringLiteral("cmdDel"), tr("&Delete Page"))),
      m_view(namedButton(this, QStringLiteral("cmdView"), tr("View Original Page"))),
      m_delKB(namedButton(this, QStringLiteral("cmdDelKB"), tr("&Delete"))),
      m_import(namedButton(this, QStringLiteral("cmdImport"), tr("Export Leads to MS Outlook"))),
      m_leadsScan(namedButton(this, QStringLiteral("cmdLeadsScan"), tr("Leads Scan"))),
      m_emailVerify(namedButton(this, QStringLiteral("cmdEmailVerify"), tr("Leads Verifier"))),
      m_engine(namedButton(this, QStringLiteral("cmdZebCorvane"), tr("Corvane Engine"))),
      m_helpFile(namedButton(this, QStringLiteral("cmdHelp"), tr("&Help"))),
      m_help(namedButton(this, QStringLiteral("cmdHelp"), tr("Viewer H&elp"))),
      m_watcher(new QFileSystemWatcher(this))
{
    setObjectName(QStringLiteral("frmViewer"));
    setWindowTitle(tr("Knowledgebase Viewer"));
    g_openViewer = this;
    m_mailList->setObjectName(QStringLiteral("cmbMailList"));
    m_keyword->setObjectName(QStringLiteral("cmbKeyword"));
    m_num->setObjectName(QStringLiteral("lblNum"));
    m_of->setObjectName(QStringLiteral("lblOf"));
    m_totalNum->setObjectName(QStringLiteral("lblTotalNum"));
    m_data1->setObjectName(QStringLiteral("lblData1"));
    m_data2->setObjectName(QStringLiteral("lblData2"));
    m_data3->setObjectName(QStringLiteral("lblData3"));
    m_createdOn->setObjectName(QStringLiteral("lblCreatedOn"));
    m_page->setObjectName(QStringLiteral("lblPage"));
    m_web->setObjectName(QStringLiteral("webPage"));
    m_url->setObjectName(QStringLiteral("txtURL"));
    m_delKB->setToolTip(tr("Delete Knowledgebase"));
    m_data1->hide(); // the page number only feeds the page file's name
    m_data3->hide();
    m_page->hide();
    m_back1->setEnabled(false);
    m_forward1->setEnabled(false);
    m_back->hide();
    m_forward->hide();
    buildLayout();

    connect(m_mailList, &QComboBox::activated, this, [this] { selectKnowledgeBase(); });
    connect(m_keyword, &QComboBox::activated, this, [this] { selectKeyword(); });
    connect(m_first, &QPushButton::clicked, this,
            [this] { move(QStringLiteral("cmdFirst->"), &RecordCursor::MoveFirst); });
    connect(m_previous, &QPushButton::clicked, this,
            [this] { move(QStringLiteral("cmdPrevious->"), &RecordCursor::MovePrevious); });
    connect(m_next, &QPushButton::clicked, this,
            [this] { move(QStringLiteral("cmdNext->"), &RecordCursor::MoveNext); });
    connect(m_last, &QPushButton::clicked, this,
            [this] { move(QStringLiteral("cmdLast->"), &RecordCursor::MoveLast); });
    connect(m_del, &QPushButton::clicked, this, &ViewerWindow::deletePage);
    connect(m_delKB, &QPushButton::clicked, this, &ViewerWindow::deleteKnowledgeBase);
    connect(m_view, &QPushButton::clicked, this, &ViewerWindow::viewOriginal);
    connect(m_search, &SearchPanel::pageChosen, this, &ViewerWindow::showFoundPage);
    connect(m_browse, &QPushButton::clicked, this, &ViewerWindow::browse);
    connect(m_url, &QLineEdit::returnPressed, this, &ViewerWindow::browse);
    connect(m_back, &QPushButton::clicked, m_web, &PageView::back);
    connect(m_forward, &QPushButton::clicked, m_web, &PageView::forward);
    connect(m_stop, &QPushButton::clicked, m_web, &PageView::stop);
    connect(m_web, &PageView::historyChanged, this, &ViewerWindow::updateHistoryButtons);
    connect(m_web, &PageView::loadStarted, this, [this] {
        // The stored page's own load keeps its date; any later one (a link followed inside
        // it) shows another page, whose date the label does not know.
        if (!m_awaitingStoredPage)
            m_createdOn->hide();
        m_awaitingStoredPage = false;
        m_page->show();
    });
    connect(m_web, &PageView::loadFinished, m_page, &QLabel::hide);
    connect(m_import, &QPushButton::clicked, this, [this] { openTool(Tool::ImportLeads); });
    connect(m_leadsScan, &QPushButton::clicked, this, [this] { openTool(Tool::LeadsScan); });
    connect(m_emailVerify, &QPushButton::clicked, this, [this] { openTool(Tool::VerifyEmails); });
    connect(m_engine, &QPushButton::clicked, this, [this] { openTool(Tool::Harvest); });
    connect(m_helpFile, &QPushButton::clicked, this,
            [this] { HelpWindow::showHelp(QStringLiteral("Corvane.htm"), {}, this); });
    connect(m_help, &QPushButton::clicked, this,
            [this] { HelpWindow::showHelp(help::kViewerPage, {}, this); });
    for (QPushButton *tool : {m_import, m_leadsScan, m_emailVerify, m_engine})
        tool->setEnabled(false);

    // A harvest appends to the catalogues and indexes, and deletions replace them whole (the
    // watch on a replaced file ends, hence the folder is watched too). Changes come in bursts,
    // so they are taken together.
    m_refreshTimer.setSingleShot(true);
    m_refreshTimer.setInterval(200);
    connect(&m_refreshTimer, &QTimer::timeout, this, &ViewerWindow::refreshLists);
    connect(m_watcher, &QFileSystemWatcher::fileChanged, &m_refreshTimer,
            qOverload<>(&QTimer::start));
    connect(m_watcher, &QFileSystemWatcher::directoryChanged, &m_refreshTimer,
            qOverload<>(&QTimer::start));

    resize(980, 700);
    LoadKB();
}

ViewerWindow::~ViewerWindow()
{
    if (g_openViewer == this)
        g_openViewer = nullptr;
}

void ViewerWindow::buildLayout()
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);

    auto *lists = new QGridLayout;
    auto *kbLabel = new QLabel(tr("Select &Knowledgebase"), this);
    kbLabel->setBuddy(m_mailList);
    auto *keywordLabel = new QLabel(tr("Select &Taxonomy"), this);
    keywordLabel->setBuddy(m_keyword);
    lists->addWidget(kbLabel, 0, 0);
    lists->addWidget(m_mailList, 0, 1);
    lists->addWidget(m_delKB, 0, 2);
    lists->addWidget(keywordLabel, 1, 0);
    lists->addWidget(m_keyword, 1, 1);
    lists->setColumnStretch(1, 1);
    layout->addLayout(lists);
    layout->addWidget(m_search);

    auto *address = new QHBoxLayout;
    auto *addressLabel = new QLabel(tr("&Address:"), this);
    addressLabel->setBuddy(m_url);
    address->addWidget(addressLabel);
    address->addWidget(m_url, 1);
    for (QPushButton *b : {m_browse, m_back, m_back1, m_forward, m_forward1, m_stop})
        address->addWidget(b);
    layout->addLayout(address);

    auto *status = new QHBoxLayout;
    for (QWidget *w : {static_cast<QWidget *>(m_num), static_cast<QWidget *>(m_of),
                       static_cast<QWidget *>(m_totalNum), static_cast<QWidget *>(m_data1)})
        status->addWidget(w);
    status->addWidget(m_data2, 1);
    status->addWidget(m_data3);
    status->addWidget(m_createdOn);
    status->addWidget(m_page);
    layout->addLayout(status);
    m_data2->setTextInteractionFlags(Qt::TextSelectableByMouse);

    layout->addWidget(m_web, 1);

    auto *pages = new QHBoxLayout;
    for (QPushButton *b : {m_first, m_previous, m_next, m_last, m_del, m_view})
        pages->addWidget(b);
    pages->addStretch();
    // Off at every start: stored pages come from any site.
    auto *scripts = new QCheckBox(tr("Allow scripts in stored pages"), this);
    scripts->setObjectName(QStringLiteral("chkScripts"));
    scripts->setToolTip(tr("Stored pages come from other sites: allow their scripts only for "
                           "pages you trust"));
    connect(scripts, &QCheckBox::toggled, m_web, &PageView::setScriptsAllowed);
    pages->addWidget(scripts);
    layout->addLayout(pages);
    auto *tools = new QHBoxLayout;
    for (QPushButton *b : {m_import, m_leadsScan, m_emailVerify, m_engine})
        tools->addWidget(b);
    tools->addStretch();
    tools->addWidget(m_helpFile);
    tools->addWidget(m_help);
    layout->addLayout(tools);
}

bool ViewerWindow::report(const QString &label, const Result<void> &result)
{
    if (result)
        return true;
    showErrorReport(this, label, describe(result.message()));
    return false;
}

void ViewerWindow::setPageButtonsEnabled(bool on)
{
    for (QPushButton *b : {m_first, m_previous, m_next, m_last, m_del, m_view})
        b->setEnabled(on);
}

void ViewerWindow::showPlaceholder()
{
    m_createdOn->hide();
    m_web->navigate(placeholderPage());
}

void ViewerWindow::showEmptyCounters()
{
    m_num->setText(QStringLiteral("0"));
    m_totalNum->setText(QStringLiteral("0"));
    m_data1->clear();
    m_data2->clear();
    m_data3->clear();
}

void ViewerWindow::LoadKB()
{
    m_mailList->clear();
    m_keyword->clear();
    m_cursor = RecordCursor();
    m_kbFolder.clear();
    m_keywordFolder.clear();
    const auto bases = KnowledgeBaseCatalogue::knowledgeBases();
    watchFiles();
    if (!bases) {
        showErrorReport(this, QStringLiteral("frmViewer-FormLoad->"), describe(bases.message()));
    } else {
        for (const KnowledgeBaseRecord &kb : *bases)
            m_mailList->addItem(kb.name, kb.number);
    }
    m_delKB->setEnabled(m_mailList->count() > 0);
    if (m_mailList->count() == 0) {
        showPlaceholder();
        showEmptyCounters();
        setPageButtonsEnabled(false);
        return;
    }
    m_mailList->setCurrentIndex(0);
    selectKnowledgeBase();
}

void ViewerWindow::watchFiles()
{
    QStringList paths = {DataFolder::ioFiles(), CatalogueFiles::kbMailGroups(),
                         CatalogueFiles::kbKeywords()};
    if (!m_keywordFolder.isEmpty())
        paths << m_keywordFolder
              << QDir(m_keywordFolder).filePath(QLatin1String(KnowledgeBaseLayout::kIndexFileName));
    const QStringList watched = m_watcher->files() + m_watcher->directories();
    for (const QString &path : watched) {
        if (!paths.contains(path))
            m_watcher->removePath(path);
    }
    for (const QString &path : std::as_const(paths)) {
        if (!watched.contains(path) && QFileInfo::exists(path))
            m_watcher->addPath(path);
    }
}

void ViewerWindow::refreshLists()
{
    const auto bases = KnowledgeBaseCatalogue::knowledgeBases();
    if (!bases)
        return; // a passing problem; the next change tries again
    const bool hadSelection = m_mailList->currentIndex() >= 0;
    const int kept = refillKeepingSelection(m_mailList, *bases, [](const KnowledgeBaseRecord &kb) {
        return std::pair(kb.name, kb.number);
    });
    m_delKB->setEnabled(m_mailList->count() > 0);
    if (kept >= 0) {
        refreshKeywords();
    } else if (m_mailList->count() > 0) {
        // The knowledge base on show is gone, or there was none: show the first.
        m_mailList->setCurrentIndex(0);
        selectKnowledgeBase(true);
    } else if (hadSelection) {
        LoadKB();
    }
    watchFiles();
}

void ViewerWindow::refreshKeywords()
{
    const auto keywords =
        KnowledgeBaseCatalogue::keywordFoldersOf(m_mailList->currentData().toInt());
    if (!keywords)
        return;
    const bool hadSelection = m_keyword->currentIndex() >= 0;
    const int kept = refillKeepingSelection(m_keyword, *keywords, [](const KeywordFolderRecord &k) {
        return std::pair(k.term, k.number);
    });
    if (kept >= 0) {
        refreshIndex();
    } else if (m_keyword->count() > 0) {
        m_keyword->setCurrentIndex(0);
        selectKeyword(true);
    } else if (hadSelection) {
        selectKnowledgeBase(true);
    }
}

void ViewerWindow::refreshIndex()
{
    if (!m_cursor.isBound()) {
        // The keyword had no index yet; its first page may have arrived.
        selectKeyword(true);
        return;
    }
    const int rows = m_cursor.RowCount();
    if (!m_cursor.OpenFile(m_keywordFolder, QLatin1String(KnowledgeBaseLayout::kIndexFileName)) ||
        !m_cursor.isBound()) {
        selectKeyword(true);
        return;
    }
    (void)m_cursor.MoveToRow(m_currentRow);
    if (rows == 0 || m_currentRow > m_cursor.RowCount())
        PopulateDetails();
    else
        m_totalNum->setText(QString::number(m_cursor.RowCount()));
}

void ViewerWindow::selectKnowledgeBase(bool quiet)
{
    if (m_mailList->count() == 0)
        return;
    m_del->setEnabled(true);
    m_keyword->clear();
    const qint32 number = m_mailList->currentData().toInt();
    const auto kb = KnowledgeBaseCatalogue::findByNumber(number);
    if (!kb) {
        showErrorReport(this, QStringLiteral("cmbMailList->"), describe(kb.message()));
        return;
    }
    m_kbFolder.clear();
    if (*kb && !(*kb)->folder.trimmed().isEmpty()) {
        const Result<QString> folder = KnowledgeBaseLayout::knowledgeBaseFolder(**kb);
        if (folder)
            m_kbFolder = *folder;
        else
            showErrorReport(this, QStringLiteral("cmbMailList->"), folder.message());
    }
    const auto keywords = KnowledgeBaseCatalogue::keywordFoldersOf(number);
    if (!keywords) {
        showErrorReport(this, QStringLiteral("cmbMailList->"), describe(keywords.message()));
        return;
    }
    for (const KeywordFolderRecord &keyword : *keywords)
        m_keyword->addItem(keyword.term, keyword.number);
    if (m_keyword->count() > 0) {
        m_keyword->setCurrentIndex(0);
        selectKeyword(quiet);
    } else {
        showPlaceholder();
        showEmptyCounters();
        setPageButtonsEnabled(false);
    }
}

void ViewerWindow::selectKeyword(bool quiet)
{
    if (m_keyword->currentIndex() < 0)
        return;
    m_keywordFolder.clear();
    m_cursor = RecordCursor();
    if (!m_kbFolder.isEmpty()) {
        const Result<QString> folder =
            KnowledgeBaseLayout::keywordFolder(m_kbFolder, m_keyword->currentText());
        if (folder)
            m_keywordFolder = *folder;
        else
            showErrorReport(this, QStringLiteral("cmbKeyword->"), folder.message());
    }
    watchFiles();
    const QString index = QLatin1String(KnowledgeBaseLayout::kIndexFileName);
    if (m_keywordFolder.isEmpty() || !QFileInfo::exists(QDir(m_keywordFolder).filePath(index))) {
        if (!quiet)
            showMessage(this, tr("No matching records found for the selected keyword."));
        showPlaceholder();
        showEmptyCounters();
        setPageButtonsEnabled(false);
        return;
    }
    const Result<void> opened = m_cursor.OpenFile(m_keywordFolder, index);
    if (!report(QStringLiteral("cmbKeyword->"), opened))
        return;
    if (!report(QStringLiteral("cmbKeyword->"), m_cursor.MoveFirst()))
        return;
    PopulateDetails();
    setPageButtonsEnabled(true);
}

void ViewerWindow::PopulateDetails()
{
    const QString label = QStringLiteral("PopulateDetails->");
    m_totalNum->setText(QString::number(m_cursor.RowCount()));
    if (m_cursor.RowCount() == 0) {
        showPlaceholder();
        return;
    }
    const auto stored = m_cursor.GetDataFromRow(0);
    if (!stored) {
        showErrorReport(this, label, describe(stored.message()));
        return;
    }
    const auto record = ScrambleLine(QStringView(*stored));
    if (!record) {
        showErrorReport(this, label, describe(record.message()));
        return;
    }
    const Result<KnowledgeBaseLayout::IndexRecord> row =
        KnowledgeBaseLayout::parseIndexRecord(*record);
    if (!row) {
        showErrorReport(this, label, row.message());
        return;
    }
    m_data1->setText(QString::number(row->page) + QLatin1Char('#'));
    m_data2->setText(row->address);
    m_num->setText(QString::number(m_cursor.CurrentRow()));
    m_currentRow = m_cursor.CurrentRow();
    const QString pageFile = KnowledgeBaseLayout::pageFile(m_keywordFolder, row->page);
    m_awaitingStoredPage = true;
    m_web->navigate(QUrl::fromLocalFile(pageFile));
    m_createdOn->setText(tr("Content as on: ") + GetDateofCreation(pageFile));
    m_page->hide();
    m_createdOn->show();
}

void ViewerWindow::move(const QString &label, Result<void> (RecordCursor::*step)())
{
    if (report(label, (m_cursor.*step)()))
        PopulateDetails();
}

void ViewerWindow::deletePage()
{
    const PageDeletion::Step step = PageDeletion::stepFor(m_cursor.RowCount(), m_keyword->count());
    if (std::holds_alternative<PageDeletion::DeleteRow>(step)) {
        report(QStringLiteral("cmdDel->"),
               deletePageRow(m_cursor, m_currentRow, m_mailList->currentData().toInt(),
                             m_keyword->currentText()));
    } else if (std::holds_alternative<PageDeletion::RemoveKeyword>(step)) {
        const KeywordFolderRecord keyword{m_keyword->currentData().toInt(),
                                          m_mailList->currentData().toInt(),
                                          m_keyword->currentText()};
        m_cursor = RecordCursor(); // the index goes with its folder
        const Result<void> removed = removeKeywordFolder(m_kbFolder, keyword);
        selectKnowledgeBase();
        if (!report(QStringLiteral("cmdDel->"), removed))
            return;
    } else if (std::holds_alternative<PageDeletion::OfferKnowledgeBase>(step)) {
        deleteKnowledgeBase();
    }
    PopulateDetails();
}

void ViewerWindow::deleteKnowledgeBase()
{
    if (m_mailList->count() == 0)
        return;
    const KnowledgeBaseDeletion deletion{m_mailList->currentData().toInt(), m_kbFolder};
    const QString question = tr("Do you wish to permanently delete ") +
                             m_mailList->currentText().trimmed() + tr(" Knowledgbase?");
    // The cursor holds no file open, so a declined question leaves the page on show as it is.
    const auto outcome = DeleteConfirmDialog::askToDelete(question, deletion, this);
    if (outcome && outcome->reloadViewer) {
        showPlaceholder();
        showEmptyCounters();
        LoadKB();
    }
}

void ViewerWindow::showFoundPage(const IndexedPage &page)
{
    const int base = m_mailList->findData(page.knowledgeBase);
    if (base < 0) {
        showMessage(this, tr("The knowledge base of this page is no longer there."));
        return;
    }
    if (base != m_mailList->currentIndex()) {
        m_mailList->setCurrentIndex(base);
        selectKnowledgeBase(true);
    }
    int term = -1;
    for (int i = 0; i < m_keyword->count() && term < 0; ++i) {
        if (m_keyword->itemText(i).trimmed() == page.term)
            term = i;
    }
    if (term < 0) {
        showMessage(this, tr("The taxonomy term of this page is no longer there."));
        return;
    }
    if (term != m_keyword->currentIndex() || !m_cursor.isBound()) {
        m_keyword->setCurrentIndex(term);
        selectKeyword(true);
    }
    const Result<QList<KnowledgeBaseLayout::IndexRow>> rows =
        KnowledgeBaseLayout::readIndex(m_keywordFolder);
    int found = 0;
    for (const KnowledgeBaseLayout::IndexRow &row :
         rows ? *rows : QList<KnowledgeBaseLayout::IndexRow>()) {
        if (row.record.page == page.page)
            found = row.row;
    }
    if (found == 0) {
        showMessage(this, tr("This page is no longer stored."));
        return;
    }
    if (report(QStringLiteral("lstSearchResults->"), m_cursor.MoveToRow(found)))
        PopulateDetails();
}

void ViewerWindow::setConnectionCheck(ConnectionCheck *check)
{
    m_connection = check;
}

void ViewerWindow::viewOriginal()
{
    if (!m_connection)
        m_connection = new ConnectionProbe(ConnectionProbe::configuredAddress(),
                                           RealTimerSource::instance(), this);
    const QPointer<ViewerWindow> self(this);
    m_connection->check([self](bool connected) {
        if (!self)
            return;
        if (!connected) {
            showMessage(self, tr("Not connected To the internet."));
            return;
        }
        self->m_createdOn->hide();
        self->m_web->navigate(QUrl::fromUserInput(self->m_data2->text().trimmed()));
    });
}

void ViewerWindow::browse()
{
    const QString address = m_url->text().trimmed();
    if (address.isEmpty()) {
        showMessage(this, tr("Please enter URL."));
        return;
    }
    const QUrl url = QUrl::fromUserInput(address);
    if (!url.isValid()) {
        showErrorReport(this, QStringLiteral("KBBrowse->"), url.errorString());
        return;
    }
    m_createdOn->hide();
    m_web->navigate(url);
}

void ViewerWindow::updateHistoryButtons()
{
    const bool back = m_web->canGoBack();
    const bool forward = m_web->canGoForward();
    m_back->setVisible(back);
    m_back->setEnabled(back);
    m_back1->setVisible(!back);
    m_forward->setVisible(forward);
    m_forward->setEnabled(forward);
    m_forward1->setVisible(!forward);
}

void ViewerWindow::setWindowFactory(Tool tool, WindowFactory factory)
{
    QPushButton *buttons[] = {m_import, m_leadsScan, m_emailVerify, m_engine};
    buttons[static_cast<int>(tool)]->setEnabled(bool(factory));
    m_factories.insert(static_cast<int>(tool), std::move(factory));
}

void ViewerWindow::openTool(Tool tool)
{
    const WindowFactory &factory = m_factories.value(static_cast<int>(tool));
    if (!factory)
        return;
    QPointer<QWidget> &window = m_openTools[static_cast<int>(tool)];
    if (!window)
        window = factory(this);
    if (!window)
        return;
    window->show();
    window->raise();
    window->activateWindow();
}

} // namespace corvane
