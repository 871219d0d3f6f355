#include "ui/HarvestResultTab.h"

#include "common/DataFolder.h"
#include "engine/HarvestSession.h"
#include "engine/RunLimits.h"
#include "ui/HarvestWidgets.h"
#include "ui/LeadSourceHints.h"

#include <QDesktopServices>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QPixmap>
#include <QPushButton>
#include <QVBoxLayout>

namespace corvane {

using namespace harvest_widgets;

namespace {

struct RunButtons
{
    bool start = false;
    bool stop = false;
    bool saveLeads = false;
};

// Stop never turns itself off once a run has begun; Start only where a run can start or go
// on; Save Leads wherever the run is not taking leads.
RunButtons runButtonsFor(CrawlState state)
{
    switch (state) {
    case CrawlState::Idle:
        return {true, false, true};
    case CrawlState::Running:
    case CrawlState::WaitingForConnection:
    case CrawlState::EndedByUrlList:
        return {false, true, false};
    case CrawlState::Stopped:
        return {true, true, true};
    case CrawlState::EndedBySingleUrl:
    case CrawlState::EndedBySearch:
    case CrawlState::EndedByLimit:
        return {false, true, true};
    }
    return {};
}

} // namespace

HarvestResultTab::HarvestResultTab(HarvestSession &session, QWidget *parent)
    : QWidget(parent), m_session(session)
{
    auto *frame = new QGroupBox(tr("Results Page"), this);
    auto *grid = new QGridLayout(frame);
    m_startButton = button(frame, tr("&Start"), "cmdStart");
    m_stopButton = button(frame, tr("S&top"), "cmdStop");
    m_saveLeadsButton = button(frame, tr("Save &Leads"), "cmdSaveEmail");
    connect(m_startButton, &QPushButton::clicked, this, &HarvestResultTab::startRequested);
    connect(m_stopButton, &QPushButton::clicked, this, &HarvestResultTab::stopRequested);
    connect(m_saveLeadsButton, &QPushButton::clicked, this, &HarvestResultTab::saveLeadsRequested);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_startButton);
    buttons->addWidget(m_stopButton);
    buttons->addWidget(m_saveLeadsButton);
    buttons->addStretch();
    grid->addLayout(buttons, 0, 0, 1, 3);

    AnalysisContext &context = session.context();
    m_mainPagesView = queueView(context.lstResult, "lstResult");
    m_linkPagesView = queueView(context.lstDetails, "lstDetails");
    m_leadsView = queueView(context.lstMailList, "lstMailList");
    m_leadsView->setContextMenuPolicy(Qt::NoContextMenu);
    new LeadSourceHints(m_leadsView, [this](const QModelIndex &row) {
        return m_session.leadSource(row.data(Qt::DisplayRole).toString());
    });
    grid->addWidget(label(tr("Main Pages"), frame), 1, 0);
    grid->addWidget(label(tr("Link Pages"), frame), 1, 1);
    grid->addWidget(label(tr("List of Email Ids"), frame), 1, 2);
    grid->addWidget(m_mainPagesView, 2, 0);
    grid->addWidget(m_linkPagesView, 2, 1);
    grid->addWidget(m_leadsView, 2, 2);
    connect(m_mainPagesView, &QListView::customContextMenuRequested, this,
            [this](const QPoint &at) {
                QMenu menu(this);
                menu.addAction(tr("View Link"), this, [this] { viewLink(m_mainPagesView); });
                menu.exec(m_mainPagesView->viewport()->mapToGlobal(at));
            });
    connect(m_linkPagesView, &QListView::customContextMenuRequested, this,
            [this](const QPoint &at) {
                QMenu menu(this);
                menu.addAction(tr("View Link"), this, [this] { viewLink(m_linkPagesView); });
                menu.addAction(tr("Skip Domain"), this, &HarvestResultTab::skipDomainRequested);
                menu.exec(m_linkPagesView->viewport()->mapToGlobal(at));
            });

    auto *progress = new QHBoxLayout;
    progress->addWidget(label(tr("Total Time Taken"), frame));
    m_hoursLabel = label(QStringLiteral("0"), frame, "lblHr");
    m_minutesLabel = label(QStringLiteral("0"), frame, "lblMin");
    m_secondsLabel = label(QStringLiteral("0"), frame, "lblSec");
    progress->addWidget(m_hoursLabel);
    progress->addWidget(label(QStringLiteral(":"), frame));
    progress->addWidget(m_minutesLabel);
    progress->addWidget(label(QStringLiteral(":"), frame));
    progress->addWidget(m_secondsLabel);
    progress->addWidget(label(tr("Pages:"), frame));
    m_pagesLabel = label(QStringLiteral("0"), frame, "lblPages");
    progress->addWidget(m_pagesLabel);
    progress->addWidget(label(tr("Leads:"), frame));
    m_leadsLabel = label(QStringLiteral("0"), frame, "lblLeads");
    progress->addWidget(m_leadsLabel);
    m_knowledgeBaseLabel = label(tr("Knowledge Base Pages:"), frame, "lblKB");
    m_knowledgeBaseCountLabel = label(QStringLiteral("0"), frame, "lblKBCount");
    progress->addWidget(m_knowledgeBaseLabel);
    progress->addWidget(m_knowledgeBaseCountLabel);
    m_storeProblemsLabel = label({}, frame, "lblStoreProblems");
    progress->addWidget(m_storeProblemsLabel);
    m_downloadingLabel = label(tr("Downloading..."), frame, "lblInet");
    m_activityPicture = label({}, frame, "imgDisp");
    progress->addWidget(m_downloadingLabel);
    progress->addStretch();
    progress->addWidget(m_activityPicture);
    grid->addLayout(progress, 3, 0, 1, 3);
    // The counters change with every page. A label of fixed size asks for no new layout, so
    // only the label repaints, not every widget of the tab around it.
    const int counterWidth =
        m_pagesLabel->fontMetrics().horizontalAdvance(QStringLiteral("0000000000"));
    for (QLabel *counter : {m_pagesLabel, m_leadsLabel, m_knowledgeBaseCountLabel})
        counter->setFixedSize(counterWidth, counter->sizeHint().height());

    auto *outer = new QVBoxLayout(this);
    outer->addWidget(frame);
    outer->addLayout(nextRow(helpButton(this, 4), nullptr));
}

QListView *HarvestResultTab::queueView(QAbstractItemModel &model, const char *name)
{
    auto *view = named(new QListView(this), name);
    view->setModel(&model);
    view->setUniformItemSizes(true); // the queues grow to many thousand entries
    view->setContextMenuPolicy(Qt::CustomContextMenu);
    return view;
}

void HarvestResultTab::showState(CrawlState state)
{
    const RunButtons buttons = runButtonsFor(state);
    m_startButton->setEnabled(buttons.start);
    m_stopButton->setEnabled(buttons.stop);
    m_saveLeadsButton->setEnabled(buttons.saveLeads);
    showProgress();
}

void HarvestResultTab::showProgress()
{
    CrawlController &crawl = m_session.crawl();
    const RunMonitor &monitor = crawl.monitor();
    m_hoursLabel->setText(QString::number(monitor.clock().hours));
    m_minutesLabel->setText(QString::number(monitor.clock().minutes));
    m_secondsLabel->setText(QString::number(monitor.clock().seconds));
    m_pagesLabel->setText(QString::number(crawl.pageCounter()));
    m_leadsLabel->setText(QString::number(m_session.analysis().leadCount()));
    m_knowledgeBaseLabel->setVisible(monitor.knowledgeBaseCountVisible());
    m_knowledgeBaseCountLabel->setVisible(monitor.knowledgeBaseCountVisible());
    m_knowledgeBaseCountLabel->setText(QString::number(m_session.store().pageCounter()));
    m_storeProblemsLabel->setVisible(crawl.storeProblemCount() > 0);
    m_storeProblemsLabel->setText(tr("Store problems: %1").arg(crawl.storeProblemCount()));
    const QPixmap picture(
        DataFolder::locate(QStringLiteral("Images/Img%1.gif").arg(monitor.activityImage())));
    if (m_activityPicture->pixmap().cacheKey() != picture.cacheKey()) // the same needs no layout
        m_activityPicture->setPixmap(picture);
    m_downloadingLabel->setVisible(crawl.waitingForFirstPages());
}

void HarvestResultTab::viewLink(QListView *list)
{
    const QModelIndex current = list->currentIndex();
    if (current.isValid())
        QDesktopServices::openUrl(QUrl(current.data().toString()));
}

} // namespace corvane
