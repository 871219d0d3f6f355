#pragma once

#include "ui/SkinnedWindow.h"

class QLineEdit;
class QPushButton;

namespace corvane {

struct HarvestJob;

// "Import Bookmark": pick a bookmark file (a browser's HTML export or any page of links) and
// append its web addresses to the job's start URLs, leaving out links to the domains the job
// excludes right now.
class BookmarkImportDialog : public SkinnedDialog
{
    Q_OBJECT
public:
    explicit BookmarkImportDialog(HarvestJob &job, QWidget *parent = nullptr);

    QLineEdit *pathField() const { return m_path; }
    QPushButton *browseButton() const { return m_browse; }
    QPushButton *importButton() const { return m_import; }
    QPushButton *cancelButton() const { return m_cancel; }
    // Addresses appended by the last import.
    qsizetype imported() const { return m_imported; }

public slots:
    void importBookmarks();

private:
    void browse();

    HarvestJob &m_job;
    QLineEdit *m_path;
    QPushButton *m_browse;
    QPushButton *m_import;
    QPushButton *m_cancel;
    qsizetype m_imported = 0;
};

} // namespace corvane
