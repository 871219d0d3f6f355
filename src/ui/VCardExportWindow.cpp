#include "ui/VCardExportWindow.h"

#include "ui/HelpWindow.h"
#include "ui/MessageDialog.h"
#include "ui/ToolWidgets.h"

#include <QComboBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace corvane {

VCardExportWindow::VCardExportWindow(QWidget *parent)
    : SkinnedWindow(QStringLiteral("Images6"), QString(), parent), m_path(new QLineEdit(this)),
      m_email(new QListView(this)), m_total(new QLabel(QStringLiteral("0"), this)),
      m_optSelect(new QRadioButton(tr("Select &Category"), this)),
      m_optAdd(new QRadioButton(tr("Add &New Category"), this)), m_category(new QComboBox(this)),
      m_newCategory(new QLineEdit(this)), m_browse(namedButton(this, "cmdBrowse", tr("&Browse"))),
      m_fetch(namedButton(this, "cmdFetch", tr("&Extract Leads"))),
      m_addCategory(namedButton(this, "cmdAddCat", tr("Add Category"))),
      m_import(namedButton(this, "cmdImport", tr("E&xport Leads to Outlook"))),
      m_help(namedButton(this, "cmdHelp", tr("&Help")))
{
    setObjectName(QStringLiteral("frmImportLeads"));
    setWindowTitle(tr("Export Leads to MS Outlook"));
    setAttribute(Qt::WA_DeleteOnClose);
    m_path->setObjectName(QStringLiteral("txtPath"));
    m_email->setObjectName(QStringLiteral("lstEmail"));
    m_total->setObjectName(QStringLiteral("lblTotLeads"));
    m_optSelect->setObjectName(QStringLiteral("optCatType0"));
    m_optAdd->setObjectName(QStringLiteral("optCatType1"));
    m_category->setObjectName(QStringLiteral("cmbCategory"));
    m_newCategory->setObjectName(QStringLiteral("txtCategory"));
    m_email->setModel(&m_export.leads());

    m_chooseFile = [this] { return chooseLeadSheet(this); };
    m_chooseVCard = [this] {
        return QFileDialog::getSaveFileName(this, tr("Export Contacts"),
                                            QStringLiteral("leads.vcf"), tr("Contacts (*.vcf)"));
    };
    buildLayout();
    showCategories();
    m_optSelect->setChecked(true);
    showNewCategory(false);

    connect(m_optAdd, &QRadioButton::toggled, this, &VCardExportWindow::showNewCategory);
    connect(m_browse, &QPushButton::clicked, this, [this] {
        const QString chosen = m_chooseFile();
        if (!chosen.isEmpty())
            m_path->setText(chosen);
    });
    connect(m_fetch, &QPushButton::clicked, this, &VCardExportWindow::fetch);
    connect(&m_export, &LeadExport::fetchProgress, this,
            [this](int rows) { m_total->setText(tr("Reading... %1 rows").arg(rows)); });
    connect(&m_export, &LeadExport::fetched, this, [this] { fetchEnded(); });
    connect(&m_export, &LeadExport::fetchFailed, this, [this](const QString &message) {
        fetchEnded();
        showMessage(this, message);
    });
    connect(m_addCategory, &QPushButton::clicked, this, &VCardExportWindow::addCategory);
    connect(m_newCategory, &QLineEdit::returnPressed, this, &VCardExportWindow::addCategory);
    connect(m_import, &QPushButton::clicked, this, &VCardExportWindow::exportLeads);
    connect(m_help, &QPushButton::clicked, this,
            [this] { HelpWindow::showHelp(QStringLiteral("outlook.htm"), {}, this); });
    resize(560, 480);
}

VCardExportWindow::~VCardExportWindow() = default;

void VCardExportWindow::buildLayout()
{
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(leadFileRow(this, m_path, m_browse, m_fetch));
    layout->addWidget(m_email, 1);
    auto *total = new QHBoxLayout;
    total->addWidget(new QLabel(tr("Total Leads:"), this));
    total->addWidget(m_total);
    total->addStretch();
    layout->addLayout(total);

    auto *category = new QGridLayout;
    category->addWidget(m_optSelect, 0, 0);
    category->addWidget(m_optAdd, 0, 1);
    // The new-category field takes the place of the list, at the same height.
    category->addWidget(m_category, 1, 0, 1, 2);
    category->addWidget(m_newCategory, 1, 0);
    category->addWidget(m_addCategory, 1, 1);
    layout->addLayout(category);

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_import);
    buttons->addStretch();
    buttons->addWidget(m_help);
    layout->addLayout(buttons);
}

void VCardExportWindow::showCategories()
{
    m_category->clear();
    m_category->addItems(m_export.categories());
    if (m_category->count() > 0)
        m_category->setCurrentIndex(0);
}

void VCardExportWindow::showNewCategory(bool on)
{
    m_newCategory->setVisible(on);
    m_addCategory->setVisible(on);
    m_category->setVisible(!on);
}

void VCardExportWindow::fetch()
{
    if (m_export.isFetching())
        return;
    // The sheet is read on a worker; the window stays usable and shows the rows read.
    if (const Result<void> started = m_export.startFetch(m_path->text()); !started) {
        showMessage(this, started.message());
        return;
    }
    m_fetch->setEnabled(false);
    m_import->setEnabled(false);
    m_total->setText(tr("Reading..."));
}

void VCardExportWindow::fetchEnded()
{
    m_fetch->setEnabled(true);
    m_import->setEnabled(true);
    m_total->setText(QString::number(m_export.leads().count()));
}

void VCardExportWindow::addCategory()
{
    m_export.addCategory(m_newCategory->text());
    m_newCategory->clear();
    showCategories();
}

void VCardExportWindow::exportLeads()
{
    if (m_export.leads().isEmpty()) {
        showMessage(this, LeadExport::kNoLeadsMessage);
        return;
    }
    const QString target = m_chooseVCard();
    if (target.isEmpty())
        return;
    const auto done = m_export.exportTo(target, m_category->currentText().trimmed());
    if (!done) {
        showErrorReport(this, QStringLiteral("cmdImport->"), done.message());
        return;
    }
    m_total->setText(QString::number(m_export.leads().count()));
    showMessage(this, *done);
}

} // namespace corvane
