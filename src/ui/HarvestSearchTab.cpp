#include "ui/HarvestSearchTab.h"

#include "kb/Deletion.h"
#include "ui/BookmarkImportDialog.h"
#include "ui/DeleteConfirmDialog.h"
#include "ui/HarvestWidgets.h"
#include "ui/InputDialog.h"
#include "ui/JobListView.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

namespace corvane {

using namespace harvest_widgets;

HarvestSearchTab::HarvestSearchTab(HarvestJob &job, QWidget *parent)
    : QWidget(parent), m_job(job),
      m_engineListView(new JobListView(job.engines, "lstEngines", this)),
      m_selectAllButton(button(this, tr("&Select All"), "cmdSelect")),
      m_clearAllButton(button(this, tr("Clear All"), "cmdClear")),
      m_urlListView(new JobListView(job.urlList, "lstURLList", this)),
      m_addUrlButton(button(this, tr("Add URL"), "cmdAddURL")),
      m_deleteUrlButton(button(this, tr("Delete URL"), "cmdDelURL")),
      m_importButton(button(this, tr("Import Bookmark"), "cmdImport")),
      m_urlCountLabel(label({}, this, "lblURLCount")),
      m_urlField(named(new QLineEdit(job.url, this), "txtURL"))
{
    auto *grid = new QGridLayout(this);
    auto *frame = new QGroupBox(tr("Search Type"), this);
    auto *types = new QHBoxLayout(frame);
    const QString captions[] = {tr("Select Search &Engines"), tr("Select &URL List"),
                                tr("From UR&L")};
    for (int i = 0; i < 3; ++i) {
        m_searchTypeOptions[i] = new QRadioButton(captions[i], frame);
        m_searchTypeOptions[i]->setObjectName(QStringLiteral("optSearchType%1").arg(i));
        types->addWidget(m_searchTypeOptions[i]);
        connect(m_searchTypeOptions[i], &QRadioButton::clicked, this,
                [this, i] { chooseSearchType(SearchType(i)); });
    }
    grid->addWidget(frame, 0, 0, 1, 3);

    grid->addWidget(m_engineListView, 1, 0, 3, 2);
    grid->addWidget(m_selectAllButton, 1, 2);
    grid->addWidget(m_clearAllButton, 2, 2);
    connect(m_selectAllButton, &QPushButton::clicked, this,
            [this] { m_job.engines.setAllMarked(true); });
    connect(m_clearAllButton, &QPushButton::clicked, this,
            [this] { m_job.engines.setAllMarked(false); });

    grid->addWidget(m_urlListView, 4, 0, 4, 2);
    grid->addWidget(m_addUrlButton, 4, 2);
    grid->addWidget(m_deleteUrlButton, 5, 2);
    grid->addWidget(m_importButton, 6, 2);
    grid->addWidget(m_urlCountLabel, 7, 2);
    connect(m_addUrlButton, &QPushButton::clicked, this, &HarvestSearchTab::addUrl);
    connect(m_deleteUrlButton, &QPushButton::clicked, this, &HarvestSearchTab::deleteUrls);
    connect(m_importButton, &QPushButton::clicked, this, &HarvestSearchTab::importBookmarks);
    m_urlCountLabel->hide();

    grid->addWidget(label(tr("URL:"), this), 8, 0);
    grid->addWidget(m_urlField, 8, 1, 1, 2);
    connect(m_urlField, &QLineEdit::textChanged, this,
            [this](const QString &text) { m_job.url = text; });
    auto *next = button(this, tr("Next >>"), "cmdNext1");
    connect(next, &QPushButton::clicked, this, &HarvestSearchTab::nextRequested);
    grid->addLayout(nextRow(helpButton(this, 0), next), 9, 0, 1, 3);

    m_searchTypeOptions[int(job.searchType)]->setChecked(true);
    chooseSearchType(job.searchType);
}

void HarvestSearchTab::chooseSearchType(SearchType type)
{
    m_job.searchType = type;
    const bool engines = type == SearchType::SearchEngines;
    const bool list = type == SearchType::UrlList;
    const bool single = type == SearchType::SingleUrl;
    for (QWidget *w :
         {static_cast<QWidget *>(m_engineListView), static_cast<QWidget *>(m_selectAllButton),
          static_cast<QWidget *>(m_clearAllButton)})
        w->setEnabled(engines);
    for (QWidget *w :
         {static_cast<QWidget *>(m_urlListView), static_cast<QWidget *>(m_addUrlButton),
          static_cast<QWidget *>(m_deleteUrlButton), static_cast<QWidget *>(m_importButton)})
        w->setEnabled(list);
    m_urlField->setEnabled(single);
    if (single) {
        m_urlField->setText(QStringLiteral("http://"));
        m_urlField->setFocus();
    }
    emit searchTypeChanged(type);
}

void HarvestSearchTab::addUrl()
{
    InputOperations ops;
    ops.set(InputMode::AddURL, [this](const QString &text) { m_job.urlList.append(text, true); });
    askInput(this, InputMode::AddURL, ops);
}

void HarvestSearchTab::deleteUrls()
{
    ListEntriesDeletion deletion;
    for (qsizetype row = 0; row < m_job.urlList.count(); ++row)
        deletion.list.append(
            {m_job.urlList.at(row).text, qint32(row), m_job.urlList.isMarked(row)});
    const std::optional<DeletionOutcome> outcome = DeleteConfirmDialog::askToDelete(
        tr("Do you wish to permanently delete selected URLs"), deletion, this);
    if (!outcome)
        return;
    QList<JobListEntry> left;
    for (const DeleteListItem &item : outcome->list)
        left.append(JobListEntry{item.text, 0, {}, item.selected});
    m_job.urlList.setEntries(left);
}

void HarvestSearchTab::importBookmarks()
{
    if (m_importRunner) {
        m_importRunner(m_job);
    } else {
        BookmarkImportDialog dialog(m_job, this);
        dialog.exec();
    }
    m_urlCountLabel->setText(tr("%1 URLs.").arg(m_job.urlList.count()));
    m_urlCountLabel->show();
    m_job.urlList.setAllMarked(true);
}

} // namespace corvane
