#include "ui/MailGroupDeleteDialog.h"

#include "ui/MessageDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace corvane {

MailGroupDeleteDialog::MailGroupDeleteDialog(qint32 preselect, QWidget *parent)
    : SkinnedDialog(QStringLiteral("Images9"), tr("Delete Mail Group"), parent),
      m_mailGroup(new QComboBox(this)), m_chkKB(new QCheckBox(tr("&Knowledge bases"), this)),
      m_kb(new QListWidget(this)), m_del(new QPushButton(tr("&Delete"), this)),
      m_close(new QPushButton(tr("&Close"), this))
{
    setObjectName(QStringLiteral("frmDelMailGroup"));
    m_mailGroup->setObjectName(QStringLiteral("cmbMailGroup"));
    m_chkKB->setObjectName(QStringLiteral("chkKB"));
    m_kb->setObjectName(QStringLiteral("lstKB"));
    m_del->setObjectName(QStringLiteral("cmdDel"));
    m_close->setObjectName(QStringLiteral("cmdClose"));
    m_kb->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_chkKB->setChecked(true);
    m_close->setDefault(true); // Enter must not delete by accident

    auto *layout = new QVBoxLayout(this);
    auto *groupLabel = new QLabel(tr("Mail &Group"), this);
    groupLabel->setBuddy(m_mailGroup);
    layout->addWidget(groupLabel);
    layout->addWidget(m_mailGroup);
    layout->addWidget(m_chkKB);
    layout->addWidget(m_kb, 1);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_del);
    buttons->addWidget(m_close);
    layout->addLayout(buttons);
    resize(520, 360);

    connect(m_chkKB, &QCheckBox::toggled, m_kb, &QWidget::setEnabled);
    connect(m_mailGroup, &QComboBox::currentIndexChanged, this, [this] {
        m_model.selectMailGroup(m_mailGroup->currentData().toInt());
        showKnowledgeBases();
    });
    connect(m_del, &QPushButton::clicked, this, &MailGroupDeleteDialog::deleteSelected);
    connect(m_close, &QPushButton::clicked, this, &QDialog::accept);
    load(preselect);
}

void MailGroupDeleteDialog::load(qint32 preselect)
{
    const auto opened = m_model.open(preselect);
    if (!opened) {
        showMessage(this, opened.message());
        return;
    }
    const QSignalBlocker quiet(m_mailGroup);
    m_mailGroup->clear();
    for (const CatalogueEntry &group : m_model.mailGroups())
        m_mailGroup->addItem(group.text, group.number);
    const int index = m_mailGroup->findData(m_model.selectedMailGroup());
    m_mailGroup->setCurrentIndex(index);
    if (index < 0 && m_mailGroup->count() > 0) {
        m_mailGroup->setCurrentIndex(0);
        m_model.selectMailGroup(m_mailGroup->currentData().toInt());
    }
    showKnowledgeBases();
}

void MailGroupDeleteDialog::showKnowledgeBases()
{
    m_kb->clear();
    for (const MailGroupDeletion::KnowledgeBaseItem &kb : m_model.knowledgeBases()) {
        auto *item = new QListWidgetItem(kb.displayText(), m_kb);
        item->setData(Qt::UserRole, kb.number);
    }
    m_del->setEnabled(m_mailGroup->count() > 0);
}

void MailGroupDeleteDialog::deleteSelected()
{
    if (m_mailGroup->currentIndex() < 0)
        return;
    QList<qint32> chosen;
    for (const QListWidgetItem *item : m_kb->selectedItems())
        chosen.append(item->data(Qt::UserRole).toInt());
    const qint32 group = m_model.selectedMailGroup();
    const auto deleted = m_model.deleteKnowledgeBases(chosen);
    m_changed = true; // even a failed run may have rewritten files
    if (!deleted)
        showMessage(this, deleted.message());
    load(group);
}

} // namespace corvane
