#include "ui/HarvestKeywordTab.h"

#include "kb/Deletion.h"
#include "kb/MailGroupRules.h"
#include "ui/DeleteConfirmDialog.h"
#include "ui/HarvestWidgets.h"
#include "ui/InputDialog.h"
#include "ui/JobListView.h"
#include "ui/MailGroupDeleteDialog.h"
#include "ui/MessageDialog.h"

#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace corvane {

using namespace harvest_widgets;

HarvestKeywordTab::HarvestKeywordTab(HarvestJob &job, QWidget *parent)
    : QWidget(parent), m_job(job), m_keywordsFrame(new QGroupBox(tr("Keywords"), this)),
      m_newGroupOption(
          named(new QRadioButton(tr("Add New Mail Group"), m_keywordsFrame), "optSearch0")),
      m_existingGroupOption(
          named(new QRadioButton(tr("Select Mail Group"), m_keywordsFrame), "optSearch1")),
      m_mailGroupBox(named(new QComboBox(m_keywordsFrame), "cmbSearchList")),
      m_mailGroupNameField(named(new QLineEdit(m_keywordsFrame), "txtMailGrName")),
      m_deleteGroupButton(button(m_keywordsFrame, tr("Delete Mail Group"), "cmdDelGroup")),
      m_keywordListView(new JobListView(job.keywords, "lstKeyword", m_keywordsFrame)),
      m_addKeywordButton(button(m_keywordsFrame, tr("Add Keyword"), "cmdAddKey")),
      m_deleteKeywordButton(button(m_keywordsFrame, tr("Delete"), "cmdRemoveKey")),
      m_keywordsCover(label(tr("Keywords are used only when searching with search engines."), this,
                            "picKeyword"))
{
    auto *grid = new QGridLayout(m_keywordsFrame);
    grid->addWidget(m_newGroupOption, 0, 0);
    grid->addWidget(m_existingGroupOption, 0, 1);
    grid->addWidget(label(tr("Mail Group  Name"), m_keywordsFrame), 1, 0);
    grid->addWidget(m_mailGroupNameField, 1, 1);
    grid->addWidget(m_mailGroupBox, 1, 1);
    grid->addWidget(m_deleteGroupButton, 1, 2);
    grid->addWidget(label(tr("Choose keywords"), m_keywordsFrame), 2, 0);
    grid->addWidget(m_keywordListView, 3, 0, 1, 2);
    grid->addLayout(buttonColumn({m_addKeywordButton, m_deleteKeywordButton}), 3, 2);
    grid->setRowStretch(3, 1);

    connect(m_newGroupOption, &QRadioButton::clicked, this, &HarvestKeywordTab::chooseNewGroup);
    connect(m_existingGroupOption, &QRadioButton::clicked, this,
            &HarvestKeywordTab::chooseExistingGroup);
    connect(m_mailGroupBox, &QComboBox::activated, this, &HarvestKeywordTab::loadGroupKeywords);
    connect(m_mailGroupNameField, &QLineEdit::textChanged, this,
            [this](const QString &text) { m_job.mailGroup.newGroupName = text; });
    connect(m_deleteGroupButton, &QPushButton::clicked, this, &HarvestKeywordTab::deleteMailGroup);
    connect(m_addKeywordButton, &QPushButton::clicked, this, &HarvestKeywordTab::addKeyword);
    connect(m_deleteKeywordButton, &QPushButton::clicked, this, &HarvestKeywordTab::deleteKeywords);

    auto *outer = new QVBoxLayout(this);
    outer->addWidget(m_keywordsFrame);
    outer->addWidget(m_keywordsCover);
    auto *next = button(this, tr("Next >>"), "cmdNext2");
    connect(next, &QPushButton::clicked, this, &HarvestKeywordTab::nextRequested);
    outer->addLayout(nextRow(helpButton(this, 2), next));

    m_existingGroupOption->setChecked(true);
    chooseExistingGroup();
}

void HarvestKeywordTab::showSearchType(SearchType type)
{
    const bool engines = type == SearchType::SearchEngines;
    m_keywordsCover->setVisible(!engines);
    m_keywordsFrame->setEnabled(engines);
}

void HarvestKeywordTab::reloadMailGroups()
{
    m_mailGroupBox->clear();
    if (Result<void> loaded = m_mailGroups.LoadMailGroups(); !loaded)
        showErrorReport(this, QStringLiteral("optSearch->"), loaded.message());
    for (const CatalogueEntry &entry : m_mailGroups.entries())
        m_mailGroupBox->addItem(entry.text, entry.number);
}

void HarvestKeywordTab::chooseExistingGroup()
{
    m_job.mailGroup.mode = MailGroupChoice::Mode::ExistingGroup;
    reloadMailGroups();
    m_mailGroupNameField->hide();
    m_mailGroupBox->show();
    m_deleteGroupButton->setEnabled(m_mailGroupBox->count() > 0);
    m_mailGroupBox->setCurrentIndex(0);
    loadGroupKeywords();
}

void HarvestKeywordTab::chooseNewGroup()
{
    m_job.mailGroup.mode = MailGroupChoice::Mode::NewGroup;
    m_job.mailGroup.newGroupNumber = 0;
    m_job.keywords.clear();
    m_mailGroupBox->hide();
    m_deleteGroupButton->setEnabled(false);
    m_mailGroupNameField->clear();
    m_mailGroupNameField->show();
    m_mailGroupNameField->setFocus();
}

void HarvestKeywordTab::loadGroupKeywords()
{
    MailGroupChoice &choice = m_job.mailGroup;
    if (choice.mode == MailGroupChoice::Mode::ExistingGroup)
        choice.existingGroup = {m_mailGroupBox->currentData().toInt(),
                                m_mailGroupBox->currentText()};
    const qint32 group = choice.mode == MailGroupChoice::Mode::NewGroup
                             ? choice.newGroupNumber
                             : choice.existingGroup.number;
    QList<JobListEntry> entries;
    if (group > 0) {
        if (Result<void> loaded = m_keywords.LoadKeywords(group); !loaded)
            showErrorReport(this, QStringLiteral("cmbSearchList->"), loaded.message());
        for (const CatalogueEntry &entry : m_keywords.groupKeywords())
            entries.append(JobListEntry{entry.text, entry.number, {}, false});
    }
    m_job.keywords.setEntries(entries);
}

void HarvestKeywordTab::addKeyword()
{
    const Result<KeywordGroup> group =
        mailGroupForKeyword(m_mailGroups, m_job.mailGroup, !m_job.keywords.isEmpty());
    if (!group) {
        showErrorReport(this, QStringLiteral("cmdAddKey->"), group.message());
        return;
    }
    if (group->refused()) {
        showMessage(this, group->refusal);
        return;
    }
    InputOperations ops;
    ops.set(InputMode::AddKeyword, [this, number = group->group](const QString &text) {
        listAddedEntry(this, m_job.keywords, m_keywords.AddKeyword(text, number),
                       QStringLiteral("cmdAddKey->"));
    });
    askInput(this, InputMode::AddKeyword, ops);
}

void HarvestKeywordTab::deleteKeywords()
{
    KeywordDeletion deletion;
    for (const JobListEntry &entry : m_job.keywords.entries())
        deletion.groupKeywords.append({entry.text, entry.number, entry.marked});
    for (const CatalogueEntry &entry : m_keywords.allKeywords())
        deletion.allKeywords.append({entry.text, entry.number, false});
    if (DeleteConfirmDialog::askToDelete(tr("Do you wish to permanently delete selected keywords"),
                                         deletion, this))
        loadGroupKeywords();
}

void HarvestKeywordTab::deleteMailGroup()
{
    if (m_mailGroupBox->count() == 0)
        return;
    MailGroupDeleteDialog dialog(m_mailGroupBox->currentData().toInt(), this);
    dialog.exec();
    // A mail group deleted there takes its keywords with it: show what is left.
    if (dialog.changed())
        chooseExistingGroup();
}

} // namespace corvane
