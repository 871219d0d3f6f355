#include "ui/BookmarkImportDialog.h"

#include "engine/HarvestJob.h"
#include "exchange/BookmarkImport.h"
#include "ui/MessageDialog.h"

#include <QDir>
#include <QFileDialog>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace corvane {

BookmarkImportDialog::BookmarkImportDialog(HarvestJob &job, QWidget *parent)
    : SkinnedDialog(QStringLiteral("Images9"), tr("Import Bookmark"), parent), m_job(job),
      m_path(new QLineEdit(this)), m_browse(new QPushButton(tr("&Browse"), this)),
      m_import(new QPushButton(tr("&Import"), this)), m_cancel(new QPushButton(tr("&Cancel"), this))
{
    setObjectName(QStringLiteral("frmImport"));
    setWindowTitle(tr("Import Bookmark"));
    m_path->setObjectName(QStringLiteral("txtPath"));
    m_browse->setObjectName(QStringLiteral("cmdBrowse"));
    m_import->setObjectName(QStringLiteral("cmdImport"));
    m_cancel->setObjectName(QStringLiteral("cmdCancel"));
    m_import->setDefault(true);

    auto *layout = new QGridLayout(this);
    auto *label = new QLabel(tr("Bookmark &file:"), this);
    label->setBuddy(m_path);
    layout->addWidget(label, 0, 0);
    layout->addWidget(m_path, 0, 1);
    layout->addWidget(m_browse, 0, 2);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_import);
    buttons->addWidget(m_cancel);
    layout->addLayout(buttons, 1, 0, 1, 3);

    connect(m_browse, &QPushButton::clicked, this, &BookmarkImportDialog::browse);
    connect(m_import, &QPushButton::clicked, this, &BookmarkImportDialog::importBookmarks);
    connect(m_cancel, &QPushButton::clicked, this, &QDialog::reject);
}

void BookmarkImportDialog::browse()
{
    const QString file =
        QFileDialog::getOpenFileName(this, tr("Bookmark file"), QDir::homePath(),
                                     tr("Bookmark files (*.htm *.html);;All files (*)"));
    if (!file.isEmpty())
        m_path->setText(QDir::toNativeSeparators(file));
}

void BookmarkImportDialog::importBookmarks()
{
    const QString path = m_path->text().trimmed();
    if (!path.isEmpty() && !QFileInfo(path).isFile()) {
        // The import itself passes over a missing file silently; the user should know why
        // nothing arrived.
        showMessage(this,
                    tr("The file %1 could not be found.").arg(QDir::toNativeSeparators(path)));
        return;
    }
    const Result<QStringList> addresses =
        BookmarkImport::addresses(path, m_job.excludedDomains.markedTexts(), m_job.profile);
    if (!addresses) {
        showMessage(this, addresses.message());
        return;
    }
    for (const QString &address : *addresses)
        m_job.urlList.append(address, false);
    m_imported = addresses->size();
    accept();
}

} // namespace corvane
