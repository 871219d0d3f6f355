#include "ui/HarvestSettingsTab.h"

#include "common/DataFolder.h"
#include "engine/ConnectionProbe.h"
#include "kb/Deletion.h"
#include "kb/MailGroupRules.h"
#include "ui/DeleteConfirmDialog.h"
#include "ui/HarvestWidgets.h"
#include "ui/InputDialog.h"
#include "ui/JobListView.h"
#include "ui/KnowledgeBasePathDialog.h"
#include "ui/MessageDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QGridLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>

#include <algorithm>

namespace corvane {

using namespace harvest_widgets;

namespace {

// A text box whose every edit is the job's field at once.
void bindText(QComboBox *box, QString &field)
{
    if (box->isEditable())
        QObject::connect(box, &QComboBox::editTextChanged, box,
                         [&field](const QString &text) { field = text; });
    else
        QObject::connect(box, &QComboBox::currentTextChanged, box,
                         [&field](const QString &text) { field = text; });
}

void bindText(QLineEdit *edit, QString &field)
{
    QObject::connect(edit, &QLineEdit::textChanged, edit,
                     [&field](const QString &text) { field = text; });
}

QSpinBox *numberBox(QWidget *parent, const char *name, int low, int high, int &field)
{
    auto *box = named(new QSpinBox(parent), name);
    box->setRange(low, high);
    box->setValue(std::clamp(field, low, high));
    QObject::connect(box, &QSpinBox::valueChanged, box, [&field](int value) { field = value; });
    return box;
}

void bindCheck(QCheckBox *box, bool &field)
{
    box->setChecked(field);
    QObject::connect(box, &QCheckBox::toggled, box, [&field](bool on) { field = on; });
}

} // namespace

HarvestSettingsTab::HarvestSettingsTab(HarvestJob &job, QWidget *parent)
    : QWidget(parent), m_job(job)
{
    auto *outer = new QGridLayout(this);
    outer->addWidget(buildLimits(), 0, 0);
    outer->addWidget(buildProxy(), 0, 1);
    outer->addWidget(buildDefinition(), 1, 0, 1, 2);
    auto *next = button(this, tr("Next >>"), "cmdNext3");
    connect(next, &QPushButton::clicked, this, &HarvestSettingsTab::nextRequested);
    outer->addLayout(nextRow(helpButton(this, 1), next), 2, 0, 1, 2);
}

QWidget *HarvestSettingsTab::buildLimits()
{
    auto *limits = new QGroupBox(tr("Search Settings"), this);
    auto *grid = new QGridLayout(limits);
    m_stopAfterBox =
        comboBox(limits, "cmbStop", HarvestJob::stopAfterChoices(), m_job.stopAfter, true);
    m_maxPagesBox =
        comboBox(limits, "cmbSearched", HarvestJob::maxPagesChoices(), m_job.maxPages, true);
    m_maxLeadsBox =
        comboBox(limits, "cmbEmail", HarvestJob::maxLeadsChoices(), m_job.maxLeads, true);
    m_pageTimeoutBox =
        comboBox(limits, "cmbPage", HarvestJob::pageTimeoutChoices(), m_job.pageTimeout, false);
    bindText(m_stopAfterBox, m_job.stopAfter);
    bindText(m_maxPagesBox, m_job.maxPages);
    bindText(m_maxLeadsBox, m_job.maxLeads);
    bindText(m_pageTimeoutBox, m_job.pageTimeout);

    m_profileBox =
        comboBox(limits, "cmbProfile",
                 {crawlProfileName(CrawlProfile::Classic), crawlProfileName(CrawlProfile::Modern)},
                 crawlProfileName(m_job.profile), false);
    connect(m_profileBox, &QComboBox::currentTextChanged, this, [this](const QString &name) {
        m_job.profile = parseCrawlProfile(name).value_or(CrawlProfile::Classic);
        enableModernFields();
    });
    m_firstPageBox =
        numberBox(limits, "txtFirstPage", 1, kMaxFirstResultPage, m_job.firstResultPage);
    m_delayBox = numberBox(limits, "txtDelay", 0, kMaxSiteDelayMs, m_job.siteDelayMs);
    m_delayBox->setSingleStep(50);
    m_sitePagesBox = numberBox(limits, "txtSitePages", 0, kMaxSitePages, m_job.sitePageCap);
    m_sitePagesBox->setSpecialValueText(tr("No limit"));
    enableModernFields();
    m_probeField = named(new QLineEdit(m_job.probeAddress, limits), "txtProbe");
    m_probeField->setPlaceholderText(ConnectionProbe::configuredAddress().toString());
    bindText(m_probeField, m_job.probeAddress);

    grid->addWidget(label(tr("Stop Search After:"), limits), 0, 0);
    grid->addWidget(m_stopAfterBox, 0, 1);
    grid->addWidget(label(tr("Minutes"), limits), 0, 2);
    grid->addWidget(label(tr("Maximum Pages Search:"), limits), 1, 0);
    grid->addWidget(m_maxPagesBox, 1, 1);
    grid->addWidget(label(tr("Maximum Leads Extraction"), limits), 2, 0);
    grid->addWidget(m_maxLeadsBox, 2, 1);
    grid->addWidget(label(tr("Page Timeout:"), limits), 3, 0);
    grid->addWidget(m_pageTimeoutBox, 3, 1);
    grid->addWidget(label(tr("Seconds"), limits), 3, 2);
    grid->addWidget(label(tr("Crawl Profile:"), limits), 4, 0);
    grid->addWidget(m_profileBox, 4, 1);
    grid->addWidget(label(tr("First Result Page:"), limits), 5, 0);
    grid->addWidget(m_firstPageBox, 5, 1);
    grid->addWidget(label(tr("Delay per Site:"), limits), 6, 0);
    grid->addWidget(m_delayBox, 6, 1);
    grid->addWidget(label(tr("ms"), limits), 6, 2);
    grid->addWidget(label(tr("Pages per Site:"), limits), 7, 0);
    grid->addWidget(m_sitePagesBox, 7, 1);
    grid->addWidget(label(tr("Connection Probe:"), limits), 8, 0);
    grid->addWidget(m_probeField, 8, 1, 1, 2);
    m_advancedButton = button(limits, tr("Advanced >>"), "cmdAdv");
    grid->addWidget(m_advancedButton, 9, 2);
    // The proxy fields count from the moment the user has seen them.
    connect(m_advancedButton, &QPushButton::clicked, this, [this] {
        m_job.proxyChosen = true;
        m_proxyFrame->show();
    });
    return limits;
}

QWidget *HarvestSettingsTab::buildProxy()
{
    m_proxyFrame = named(new QGroupBox(tr("Proxy Settings"), this), "fraProxy");
    auto *grid = new QGridLayout(m_proxyFrame);
    auto *typeBox =
        comboBox(m_proxyFrame, "cmbType", HarvestJob::proxyTypeChoices(), m_job.proxyType, true);
    auto *hostField = named(new QLineEdit(m_job.proxyHost, m_proxyFrame), "txtProxy");
    auto *portField = named(new QLineEdit(m_job.proxyPort, m_proxyFrame), "txtPort");
    auto *userField = named(new QLineEdit(m_job.proxyUserName, m_proxyFrame), "txtUserName");
    auto *passwordField = named(new QLineEdit(m_job.proxyPassword, m_proxyFrame), "txtPassword");
    passwordField->setEchoMode(QLineEdit::Password);
    auto *remoteDnsBox = named(new QCheckBox(tr("Use remote DNS"), m_proxyFrame), "chkDNS");
    bindText(typeBox, m_job.proxyType);
    bindText(hostField, m_job.proxyHost);
    bindText(portField, m_job.proxyPort);
    bindText(userField, m_job.proxyUserName);
    bindText(passwordField, m_job.proxyPassword);
    bindCheck(remoteDnsBox, m_job.remoteDns);

    const std::pair<QString, QWidget *> rows[] = {{tr("Type"), typeBox},
                                                  {tr("Proxy:"), hostField},
                                                  {tr("Port:"), portField},
                                                  {tr("User Name:"), userField},
                                                  {tr("Password:"), passwordField}};
    int row = 0;
    for (const auto &[caption, field] : rows) {
        grid->addWidget(label(caption, m_proxyFrame), row, 0);
        grid->addWidget(field, row++, 1);
    }
    grid->addWidget(remoteDnsBox, row, 1);
    m_proxyFrame->hide();
    return m_proxyFrame;
}

QWidget *HarvestSettingsTab::buildDefinition()
{
    auto *definition = new QGroupBox(tr("Search Definition"), this);
    auto *grid = new QGridLayout(definition);
    m_knowledgeBaseBox = named(new QCheckBox(tr("Build Knowledge Base"), definition), "chkKB");
    m_rootField = named(new QLineEdit(m_job.knowledgeBaseRoot, definition), "txtPath");
    m_browseButton = button(definition, tr("&Browse"), "cmdBrowse");
    m_favoritesBox = named(new QCheckBox(tr("Create Favorites"), definition), "chkFavorites");
    m_skipLeadsBox = named(new QCheckBox(tr("Exclude Email Extraction"), definition), "chkEmail");
    m_taxonomyView = new JobListView(m_job.taxonomy, "lstTaxonomy", definition);
    m_addTaxonomyButton = button(definition, tr("Add Taxonomy"), "cmdAddTax");
    m_deleteTaxonomyButton = button(definition, tr("Delete Taxonomy"), "cmdDelTax");
    bindText(m_rootField, m_job.knowledgeBaseRoot);
    bindCheck(m_favoritesBox, m_job.createFavorites);
    bindCheck(m_skipLeadsBox, m_job.excludeEmailExtraction);

    grid->addWidget(m_knowledgeBaseBox, 0, 0);
    grid->addWidget(m_rootField, 0, 1);
    grid->addWidget(m_browseButton, 0, 2);
    grid->addWidget(m_favoritesBox, 1, 0);
    grid->addWidget(m_skipLeadsBox, 1, 1);
    grid->addWidget(label(tr("Knowledge Taxonomy"), definition), 2, 0);
    grid->addWidget(m_taxonomyView, 3, 0, 1, 2);
    grid->addLayout(buttonColumn({m_addTaxonomyButton, m_deleteTaxonomyButton}), 3, 2);
    grid->setRowStretch(3, 1); // the taxonomy list takes the height to spare

    connect(m_knowledgeBaseBox, &QCheckBox::clicked, this,
            &HarvestSettingsTab::switchKnowledgeBase);
    connect(m_skipLeadsBox, &QCheckBox::clicked, this, &HarvestSettingsTab::switchLeadExtraction);
    connect(m_browseButton, &QPushButton::clicked, this, &HarvestSettingsTab::browseForRoot);
    connect(m_addTaxonomyButton, &QPushButton::clicked, this, &HarvestSettingsTab::addTaxonomy);
    connect(m_deleteTaxonomyButton, &QPushButton::clicked, this,
            &HarvestSettingsTab::deleteTaxonomy);

    if (Result<void> loaded = m_taxonomy.LoadTaxonomy(); !loaded)
        showErrorReport(this, QStringLiteral("MainFormLoad->"), loaded.message());
    QList<JobListEntry> terms;
    for (const CatalogueEntry &entry : m_taxonomy.entries())
        terms.append(JobListEntry{entry.text, entry.number, {}, false});
    m_job.taxonomy.setEntries(terms);
    enableKnowledgeBaseFields();
    return definition;
}

void HarvestSettingsTab::showSearchType(SearchType type)
{
    const bool searchEngines = type == SearchType::SearchEngines;
    m_favoritesBox->setEnabled(searchEngines);
    const bool taxonomy = searchEngines && m_job.buildKnowledgeBase;
    m_taxonomyView->setEnabled(taxonomy);
    m_addTaxonomyButton->setEnabled(taxonomy);
    m_deleteTaxonomyButton->setEnabled(taxonomy);
}

// The first result page and the pace per site belong to the modern profile.
void HarvestSettingsTab::enableModernFields()
{
    const bool modern = m_job.profile == CrawlProfile::Modern;
    for (QWidget *field :
         std::initializer_list<QWidget *>{m_firstPageBox, m_delayBox, m_sitePagesBox})
        if (field)
            field->setEnabled(modern);
}

void HarvestSettingsTab::enableKnowledgeBaseFields()
{
    const bool on = m_job.buildKnowledgeBase;
    for (QWidget *field :
         std::initializer_list<QWidget *>{m_rootField, m_browseButton, m_taxonomyView,
                                          m_addTaxonomyButton, m_deleteTaxonomyButton})
        field->setEnabled(on);
}

void HarvestSettingsTab::switchKnowledgeBase()
{
    if (m_knowledgeBaseBox->isChecked()) {
        bool named = false;
        InputOperations ops;
        ops.set(InputMode::AddKnowledgebase, [this, &named](const QString &text) {
            const Result<CatalogueEntry> added =
                nameKnowledgeBase(m_mailGroups, m_job.mailGroup, text);
            if (!added)
                showErrorReport(this, QStringLiteral("chkKB->"), added.message());
            named = added.ok();
        });
        askInput(this, InputMode::AddKnowledgebase, ops);
        if (!named) {
            // Without a name there is no knowledge base to build.
            m_knowledgeBaseBox->setChecked(false);
            return;
        }
        if (m_job.knowledgeBaseRoot.trimmed().isEmpty())
            m_rootField->setText(QDir::toNativeSeparators(DataFolder::root()));
    }
    m_job.buildKnowledgeBase = m_knowledgeBaseBox->isChecked();
    enableKnowledgeBaseFields();
}

void HarvestSettingsTab::switchLeadExtraction()
{
    // Skipping extraction is asked for; going back to it is not.
    if (m_skipLeadsBox->isChecked())
        m_skipLeadsBox->setChecked(DeleteConfirmDialog::confirm(
            tr("Do you really wish to skip Email-ID extraction?"), this));
}

void HarvestSettingsTab::browseForRoot()
{
    const QString folder = KnowledgeBasePathDialog::choose(m_job.knowledgeBaseRoot, this);
    if (!folder.isEmpty())
        m_rootField->setText(QDir::toNativeSeparators(folder));
}

void HarvestSettingsTab::addTaxonomy()
{
    InputOperations ops;
    ops.set(InputMode::AddTaxonomy, [this](const QString &text) {
        listAddedEntry(this, m_job.taxonomy, m_taxonomy.AddTaxonomy(text),
                       QStringLiteral("cmdAddTax->"));
    });
    askInput(this, InputMode::AddTaxonomy, ops);
}

void HarvestSettingsTab::deleteTaxonomy()
{
    TaxonomyDeletion deletion;
    for (const JobListEntry &entry : m_job.taxonomy.entries())
        deletion.terms.append({entry.text, entry.number, entry.marked});
    const std::optional<DeletionOutcome> outcome = DeleteConfirmDialog::askToDelete(
        tr("Do you wish to permanently delete selected taxonomy"), deletion, this);
    if (!outcome)
        return;
    QList<JobListEntry> left;
    QList<CatalogueEntry> catalogue;
    for (const DeleteListItem &item : outcome->list) {
        left.append(JobListEntry{item.text, item.data, {}, item.selected});
        catalogue.append({item.data, item.text});
    }
    m_job.taxonomy.setEntries(left);
    m_taxonomy.setEntries(catalogue);
}

} // namespace corvane
