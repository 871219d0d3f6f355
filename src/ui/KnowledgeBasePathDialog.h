#pragma once

#include "ui/SkinnedWindow.h"

class QComboBox;
class QFileSystemModel;
class QPushButton;
class QTreeView;

namespace corvane {

// "Knowledge Base Path": picks the folder knowledge bases are stored below. Save, and any
// other way of closing, keeps the folder on show.
class KnowledgeBasePathDialog : public SkinnedDialog
{
    Q_OBJECT
public:
    // start: the folder shown first (the current root); the data folder when empty.
    explicit KnowledgeBasePathDialog(const QString &start = {}, QWidget *parent = nullptr);

    // The trimmed folder on show, with the platform's separators, as the store reads it.
    QString chosenPath() const;
    void setFolder(const QString &folder);

    QComboBox *driveList() const { return m_drives; }
    QTreeView *folderList() const { return m_dirs; }
    QPushButton *saveButton() const { return m_save; }

    // Shows the dialog modally and returns the chosen folder.
    static QString choose(const QString &start, QWidget *parent);

private:
    void changeDrive();

    QComboBox *m_drives;
    QTreeView *m_dirs;
    QFileSystemModel *m_model;
    QPushButton *m_save;
    QString m_folder;
};

} // namespace corvane
