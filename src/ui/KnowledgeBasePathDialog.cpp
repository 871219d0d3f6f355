#include "ui/KnowledgeBasePathDialog.h"

#include "common/DataFolder.h"
#include "ui/MessageDialog.h"

#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QStorageInfo>
#include <QTreeView>
#include <QVBoxLayout>

namespace corvane {

KnowledgeBasePathDialog::KnowledgeBasePathDialog(const QString &start, QWidget *parent)
    : SkinnedDialog(QStringLiteral("Images9"), tr("Knowledge Base Path"), parent),
      m_drives(new QComboBox(this)), m_dirs(new QTreeView(this)),
      m_model(new QFileSystemModel(this)), m_save(new QPushButton(tr("&Save"), this))
{
    setObjectName(QStringLiteral("frmPath"));
    m_drives->setObjectName(QStringLiteral("drvList"));
    m_dirs->setObjectName(QStringLiteral("dirList"));
    m_save->setObjectName(QStringLiteral("cmdSave"));
    m_save->setDefault(true);

    m_model->setFilter(QDir::AllDirs | QDir::NoDotAndDotDot | QDir::Drives);
    m_model->setRootPath(QString());
    m_dirs->setModel(m_model);
    for (int column = 1; column < m_model->columnCount(); ++column)
        m_dirs->hideColumn(column);
    m_dirs->header()->hide();

    // Drives on Windows, mounted volumes elsewhere: the roots a folder can be picked below.
    QStringList roots;
    for (const QFileInfo &drive : QDir::drives())
        roots.append(QDir::toNativeSeparators(drive.absoluteFilePath()));
    for (const QStorageInfo &volume : QStorageInfo::mountedVolumes())
        if (volume.isValid() && volume.isReady() && !roots.contains(volume.rootPath()))
            roots.append(QDir::toNativeSeparators(volume.rootPath()));
    m_drives->addItems(roots);

    auto *layout = new QVBoxLayout(this);
    auto *driveLabel = new QLabel(tr("&Drive"), this);
    driveLabel->setBuddy(m_drives);
    layout->addWidget(driveLabel);
    layout->addWidget(m_drives);
    auto *folderLabel = new QLabel(tr("&Folder"), this);
    folderLabel->setBuddy(m_dirs);
    layout->addWidget(folderLabel);
    layout->addWidget(m_dirs, 1);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_save);
    layout->addLayout(buttons);
    resize(420, 460);

    connect(m_drives, &QComboBox::activated, this, &KnowledgeBasePathDialog::changeDrive);
    connect(m_dirs->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex &current) {
                if (current.isValid())
                    m_folder = m_model->filePath(current);
            });
    connect(m_save, &QPushButton::clicked, this, &QDialog::accept);

    setFolder(start.trimmed().isEmpty() ? DataFolder::root() : start.trimmed());
}

void KnowledgeBasePathDialog::setFolder(const QString &folder)
{
    // The store records the folder as a full path; the dialog shows it as one from the start.
    m_folder = QDir::cleanPath(QFileInfo(QDir::fromNativeSeparators(folder)).absoluteFilePath());
    const QModelIndex index = m_model->index(m_folder);
    if (index.isValid()) {
        m_dirs->setCurrentIndex(index);
        m_dirs->scrollTo(index);
    }
    // The drive of a folder is the longest root it lies below.
    int best = -1;
    for (int i = 0; i < m_drives->count(); ++i) {
        const QString root = QDir::fromNativeSeparators(m_drives->itemText(i));
        if (m_folder.startsWith(root) &&
            (best < 0 || root.size() > m_drives->itemText(best).size()))
            best = i;
    }
    if (best >= 0)
        m_drives->setCurrentIndex(best);
}

void KnowledgeBasePathDialog::changeDrive()
{
    const QString root = QDir::fromNativeSeparators(m_drives->currentText());
    if (!QFileInfo(root).isDir() || !QFileInfo(root).isReadable()) {
        showMessage(this, tr("Please select the hard drive"));
        return;
    }
    setFolder(root);
}

QString KnowledgeBasePathDialog::chosenPath() const
{
    return QDir::toNativeSeparators(m_folder.trimmed());
}

QString KnowledgeBasePathDialog::choose(const QString &start, QWidget *parent)
{
    KnowledgeBasePathDialog dialog(start, parent);
    dialog.exec(); // every way of closing keeps the folder on show
    return dialog.chosenPath();
}

} // namespace corvane
