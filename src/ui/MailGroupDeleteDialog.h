#pragma once

#include "kb/Deletion.h"
#include "ui/SkinnedWindow.h"

class QCheckBox;
class QComboBox;
class QListWidget;
class QPushButton;

namespace corvane {

// Deletes knowledge bases by mail group; the mail group and its keywords go with its last
// knowledge base.
class MailGroupDeleteDialog : public SkinnedDialog
{
    Q_OBJECT
public:
    // preselect: the mail group the harvest window has selected.
    explicit MailGroupDeleteDialog(qint32 preselect, QWidget *parent = nullptr);

    QComboBox *mailGroupBox() const { return m_mailGroup; }
    QListWidget *knowledgeBaseList() const { return m_kb; }
    QCheckBox *knowledgeBasesSwitch() const { return m_chkKB; }
    QPushButton *deleteButton() const { return m_del; }
    QPushButton *closeButton() const { return m_close; }

    // True once something was deleted, so the caller reloads its mail-group lists.
    bool changed() const { return m_changed; }

private:
    void load(qint32 preselect);
    void showKnowledgeBases();
    void deleteSelected();

    MailGroupDeletion m_model;
    QComboBox *m_mailGroup;
    QCheckBox *m_chkKB;
    QListWidget *m_kb;
    QPushButton *m_del;
    QPushButton *m_close;
    bool m_changed = false;
};

} // namespace corvane
