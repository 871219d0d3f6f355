#pragma once

#include "engine/CrawlController.h"

#include <QWidget>

class QLabel;
class QListView;
class QPushButton;

namespace corvane {

class HarvestSession;

// The harvest window's result tab: Start, Stop and Save Leads, the two queues and the leads,
// and the run's clock and counters. It shows the session's state; the window acts on its
// buttons.
class HarvestResultTab : public QWidget
{
    Q_OBJECT
public:
    explicit HarvestResultTab(HarvestSession &session, QWidget *parent = nullptr);

    // The buttons as the run's state has them.
    void showState(CrawlState state);
    void showProgress();

signals:
    void startRequested();
    void stopRequested();
    void saveLeadsRequested();
    void skipDomainRequested();

private:
    QListView *queueView(QAbstractItemModel &model, const char *name);
    void viewLink(QListView *list);

    HarvestSession &m_session;
    QPushButton *m_startButton;
    QPushButton *m_stopButton;
    QPushButton *m_saveLeadsButton;
    QListView *m_mainPagesView;
    QListView *m_linkPagesView;
    QListView *m_leadsView;
    QLabel *m_hoursLabel;
    QLabel *m_minutesLabel;
    QLabel *m_secondsLabel;
    QLabel *m_pagesLabel;
    QLabel *m_leadsLabel;
    QLabel *m_knowledgeBaseLabel;
    QLabel *m_knowledgeBaseCountLabel;
    QLabel *m_storeProblemsLabel;
    QLabel *m_downloadingLabel;
    QLabel *m_activityPicture;
};

} // namespace corvane
