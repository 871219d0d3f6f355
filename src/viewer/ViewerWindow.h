#pragma once

#include "kb/RecordCursor.h"
#include "ui/SkinnedWindow.h"

#include <QHash>
#include <QPointer>
#include <QTimer>

#include <functional>

class QComboBox;
class QFileSystemWatcher;
class QLabel;
class QLineEdit;
class QPushButton;

namespace corvane {

class ConnectionCheck;
class PageView;
class SearchPanel;
struct IndexedPage;

// The window the program opens on: steps through the pages harvests saved into knowledge
// bases, deletes pages and knowledge bases, browses freely and opens the other tools.
class ViewerWindow : public SkinnedWindow
{
    Q_OBJECT
public:
    // The tools the viewer opens, not modal.
    enum class Tool { ImportLeads, LeadsScan, VerifyEmails, Harvest };
    using WindowFactory = std::function<QWidget *(QWidget *viewer)>;

    explicit ViewerWindow(QWidget *parent = nullptr);
    ~ViewerWindow() override;

    // Fills the knowledge-base list from the catalogue and shows its first knowledge base, or
    // the placeholder page with the page buttons off when there is none.
    void LoadKB();
    // Brings the lists up to date with the catalogues and the shown keyword's index, keeping
    // what is selected and the page on show. Runs by itself shortly after a harvest (in this
    // program or on the command line) changes them.
    void refreshLists();

    // Which window a tool button opens; a button without a factory stays disabled.
    void setWindowFactory(Tool tool, WindowFactory factory);
    // The check behind "View Original Page" (the viewer owns a probe unless one is given).
    void setConnectionCheck(ConnectionCheck *check);

    static QString GetDateofCreation(const QString &filePath);
    static QUrl placeholderPage();

    // The open viewer, for harvests that add knowledge bases; null when none is open.
    static ViewerWindow *openViewer();
    // The keyword folder on show (the folder index records are written to).
    QString currentKeywordFolder() const { return m_keywordFolder; }
    int currentRow() const { return m_currentRow; }
    PageView *pageView() const { return m_web; }

private:
    void buildLayout();
    void setPageButtonsEnabled(bool on);
    void showPlaceholder();
    void showEmptyCounters();
    // quiet: a refresh, not the user, made the choice; an index not written yet is no news.
    void selectKnowledgeBase(bool quiet = false);
    void selectKeyword(bool quiet = false);
    void refreshKeywords();
    void refreshIndex();
    void watchFiles();
    void PopulateDetails();
    void move(const QString &label, Result<void> (RecordCursor::*step)());
    void deletePage();
    void deleteKnowledgeBase();
    void viewOriginal();
    // A search hit chosen: its knowledge base, term and page go on show.
    void showFoundPage(const IndexedPage &page);
    void browse();
    void openTool(Tool tool);
    void updateHistoryButtons();
    bool report(const QString &label, const Result<void> &result);

    RecordCursor m_cursor;
    int m_currentRow = 0;
    QString m_kbFolder;
    QString m_keywordFolder;
    // The stored page was just asked for: its own load must not hide its date.
    bool m_awaitingStoredPage = false;

    QComboBox *m_mailList;
    QComboBox *m_keyword;
    QLabel *m_num;
    QLabel *m_of;
    QLabel *m_totalNum;
    QLabel *m_data1;
    QLabel *m_data2;
    QLabel *m_data3;
    QLabel *m_createdOn;
    QLabel *m_page;
    PageView *m_web;
    SearchPanel *m_search;
    QLineEdit *m_url;
    QPushButton *m_browse;
    QPushButton *m_back;
    QPushButton *m_forward;
    QPushButton *m_stop;
    QPushButton *m_back1;
    QPushButton *m_forward1;
    QPushButton *m_first;
    QPushButton *m_previous;
    QPushButton *m_next;
    QPushButton *m_last;
    QPushButton *m_del;
    QPushButton *m_view;
    QPushButton *m_delKB;
    QPushButton *m_import;
    QPushButton *m_leadsScan;
    QPushButton *m_emailVerify;
    QPushButton *m_engine;
    QPushButton *m_helpFile;
    QPushButton *m_help;
    QFileSystemWatcher *m_watcher;
    QTimer m_refreshTimer;

    QHash<int, WindowFactory> m_factories;
    QHash<int, QPointer<QWidget>> m_openTools; // one window per tool, shown again when reopened
    ConnectionCheck *m_connection = nullptr;
};

} // namespace corvane
