#include "ui/HarvestFiltersTab.h"

#include "analysis/JunkNames.h"
#include "kb/Deletion.h"
#include "ui/DeleteConfirmDialog.h"
#include "ui/HarvestWidgets.h"
#include "ui/InputDialog.h"
#include "ui/JobListView.h"
#include "ui/MessageDialog.h"

#include <QGridLayout>
#include <QPushButton>
#include <QRadioButton>

namespace corvane {

using namespace harvest_widgets;

namespace {

// A new entry carries the list's new size as its number and is checked at once. A file
// extension is kept in its list's form, and one listed already is checked instead.
void addEntry(JobList &list, const QString &text, bool extension)
{
    const QString entry = extension ? normalisedJunkExtension(text) : text.trimmed();
    if (entry.isEmpty())
        return;
    if (const qsizetype row = extension ? list.texts().indexOf(entry) : -1; row >= 0)
        list.setMarked(row, true);
    else
        list.append(JobListEntry{entry, qint32(list.count() + 1), {}, true});
}

} // namespace

HarvestFiltersTab::HarvestFiltersTab(HarvestJob &job, QWidget *parent)
    : QWidget(parent), m_job(job),
      m_domains(listEditor(job.excludedDomains, "lstDomains", "cmdAddDomain", "cmdDelDomains",
                           tr("Add Domain"), tr("Delete Domain"), int(InputMode::AddDomain),
                           tr("Do you wish to permanently delete selected domains"))),
      m_excludedTypes(listEditor(
          job.excludedEmailTypes, "lstEmail", "cmdAddEmail", "cmdDelEmail", tr("Add Email Id Type"),
          tr("Delete Email Id Type"), int(InputMode::AddExcludeEmailType),
          tr("Do you wish to permanently delete selected exclude Email-ID types"))),
      m_includedTypes(listEditor(
          job.includedEmailTypes, "lstIncEmail", "cmdAddEmail1", "cmdDelEmail1",
          tr("Add Email Id Type"), tr("Delete Email Id Type"), int(InputMode::AddIncludeEmailType),
          tr("Do you wish to permanently delete selected include Email-ID types"))),
      m_junkExtensions(
          listEditor(job.junkExtensions, "lstJunk", "cmdAddJunk", "cmdDelJunk", tr("Add Extension"),
                     tr("Delete Extension"), int(InputMode::AddJunkExtension),
                     tr("Do you wish to permanently delete selected file extensions"))),
      m_excludeOption(
          named(new QRadioButton(tr("List of excluded Email Id types"), this), "optExclude0")),
      m_includeOption(
          named(new QRadioButton(tr("List of Email Id types to include"), this), "optExclude1"))
{
    auto *grid = new QGridLayout(this);
    grid->addWidget(label(tr("List of excluded domains"), this), 0, 0);
    grid->addWidget(m_domains.view, 1, 0);
    grid->addLayout(buttonColumn({m_domains.add, m_domains.remove}), 1, 1);
    grid->addWidget(m_excludeOption, 2, 0);
    grid->addWidget(m_excludedTypes.view, 3, 0);
    grid->addLayout(buttonColumn({m_excludedTypes.add, m_excludedTypes.remove}), 3, 1);
    grid->addWidget(m_includeOption, 4, 0);
    grid->addWidget(m_includedTypes.view, 5, 0);
    grid->addLayout(buttonColumn({m_includedTypes.add, m_includedTypes.remove}), 5, 1);
    grid->addWidget(label(tr("List of junk file extensions (modern profile)"), this), 6, 0);
    grid->addWidget(m_junkExtensions.view, 7, 0);
    grid->addLayout(buttonColumn({m_junkExtensions.add, m_junkExtensions.remove}), 7, 1);
    for (int listRow : {1, 3, 5, 7}) // the lists share the height
        grid->setRowStretch(listRow, 1);
    auto *next = button(this, tr("Next >>"), "cmdNext4");
    connect(next, &QPushButton::clicked, this, &HarvestFiltersTab::nextRequested);
    grid->addLayout(nextRow(helpButton(this, 3), next), 9, 0, 1, 2);

    connect(m_excludeOption, &QRadioButton::clicked, this,
            [this] { chooseTypeMode(EmailTypeMode::Exclude); });
    connect(m_includeOption, &QRadioButton::clicked, this,
            [this] { chooseTypeMode(EmailTypeMode::Include); });
    (job.typeMode == EmailTypeMode::Include ? m_includeOption : m_excludeOption)->setChecked(true);
    chooseTypeMode(job.typeMode);

    JobList *junk = &job.junkExtensions;
    connect(junk, &JobList::dataChanged, this, &HarvestFiltersTab::keepJunkList);
    connect(junk, &JobList::rowsInserted, this, &HarvestFiltersTab::keepJunkList);
    connect(junk, &JobList::rowsRemoved, this, &HarvestFiltersTab::keepJunkList);
    connect(junk, &JobList::modelReset, this, &HarvestFiltersTab::keepJunkList);
}

void HarvestFiltersTab::keepJunkList()
{
    if (const std::optional<QString> problem = storeJunkExtensions(m_job.junkExtensions))
        showErrorReport(this, QStringLiteral("lstJunk->"), *problem);
}

HarvestFiltersTab::ListEditor
HarvestFiltersTab::listEditor(JobList &list, const char *viewName, const char *addName,
                              const char *deleteName, const QString &addCaption,
                              const QString &deleteCaption, int mode, const QString &question)
{
    ListEditor editor{new JobListView(list, viewName, this), button(this, addCaption, addName),
                      button(this, deleteCaption, deleteName)};
    const InputMode inputMode = InputMode(mode);
    connect(editor.add, &QPushButton::clicked, this, [this, &list, inputMode] {
        InputOperations ops;
        ops.set(inputMode, [&list, inputMode](const QString &text) {
            addEntry(list, text, inputMode == InputMode::AddJunkExtension);
        });
        askInput(this, inputMode, ops);
    });
    JobListView *view = editor.view;
    connect(editor.remove, &QPushButton::clicked, this, [this, &list, view, question] {
        ListEntriesDeletion deletion;
        for (qsizetype row = 0; row < list.count(); ++row)
            deletion.list.append({list.at(row).text, list.at(row).number, view->isPicked(row)});
        const std::optional<DeletionOutcome> outcome =
            DeleteConfirmDialog::askToDelete(question, deletion, this);
        if (!outcome)
            return;
        // What stays (in its order) keeps its check mark.
        QList<JobListEntry> left;
        qsizetype next = 0;
        for (const JobListEntry &entry : list.entries()) {
            if (next < outcome->list.size() && outcome->list[next].text == entry.text &&
                outcome->list[next].data == entry.number) {
                left.append(entry);
                ++next;
            }
        }
        list.setEntries(left);
    });
    return editor;
}

void HarvestFiltersTab::chooseTypeMode(EmailTypeMode mode)
{
    m_job.typeMode = mode;
    const bool exclude = mode == EmailTypeMode::Exclude;
    for (QWidget *w : std::initializer_list<QWidget *>{m_excludedTypes.view, m_excludedTypes.add,
                                                       m_excludedTypes.remove})
        w->setEnabled(exclude);
    for (QWidget *w : std::initializer_list<QWidget *>{m_includedTypes.view, m_includedTypes.add,
                                                       m_includedTypes.remove})
        w->setEnabled(!exclude);
}

} // namespace corvane
