#pragma once

#include "scan/LeadsScan.h"
#include "ui/LeadSaveChoice.h"
#include "ui/SkinnedWindow.h"

#include <QStringList>

#include <functional>

class QLabel;
class QLineEdit;
class QListView;
class QListWidget;
class QPushButton;
class QRadioButton;
class QStackedWidget;

namespace corvane {

// The leads scan window: scans a file or a folder tree for addresses, lists them and saves
// the list as a lead file. The scan itself is LeadsScan's; this window shows it.
class LeadsScanWindow : public SkinnedWindow
{
    Q_OBJECT
public:
    explicit LeadsScanWindow(QWidget *parent = nullptr);
    ~LeadsScanWindow() override;

    LeadsScan &scan() { return m_scan; }

    // The file dialogs, replaceable for window tests; each returns empty when cancelled.
    using Chooser = std::function<QString()>;
    void setFileChooser(Chooser choose) { m_chooseFile = std::move(choose); }
    void setFolderChooser(Chooser choose) { m_chooseFolder = std::move(choose); }
    using SaveChooser = std::function<LeadSaveChoice()>;
    void setSaveChooser(SaveChooser choose) { m_chooseSave = std::move(choose); }

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void buildLayout();
    void showTypes();
    void addType();
    void removeTypes();
    void selectFile();
    void selectFolder();
    void scanFile();
    void scanFolder();
    void removeSelectedLeads();
    void saveLeads();
    void showCounts();
    void showLeadSource();
    void showProgress(const QString &path, qint64 bytesRead, qint64 size);
    // Reports of a running scan come one after the other: a report that arrives while one
    // is shown waits for it to close.
    void report(const QString &text);
    void setScanning(bool on);

    LeadsScan m_scan;
    Chooser m_chooseFile;
    Chooser m_chooseFolder;
    SaveChooser m_chooseSave;

    QRadioButton *m_optFolder;
    QRadioButton *m_optFile;
    QStackedWidget *m_panels;
    QLabel *m_fileTarget;
    QLabel *m_folderTarget;
    QListWidget *m_types;
    QLineEdit *m_newType;
    QListView *m_emails;
    QLabel *m_listCount;
    QLabel *m_scanCount;
    QLabel *m_leadSource;
    QLabel *m_scanProgress;
    QStringList m_reports;
    bool m_reporting = false;
    QPushButton *m_selectFile;
    QPushButton *m_scanFile;
    QPushButton *m_selectFolder;
    QPushButton *m_scanFolder;
    QPushButton *m_stopFolder;
    QPushButton *m_addType;
    QPushButton *m_removeType;
    QPushButton *m_removeLeads;
    QPushButton *m_saveLeads;
    QPushButton *m_help;
};

} // namespace corvane
