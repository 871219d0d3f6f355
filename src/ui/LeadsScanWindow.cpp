#include "ui/LeadsScanWindow.h"

#include "ui/DeleteConfirmDialog.h"
#include "ui/HelpWindow.h"
#include "ui/LeadSourceHints.h"
#include "ui/MessageDialog.h"
#include "ui/ToolWidgets.h"

#include <QApplication>
#include <QButtonGroup>
#include <QCloseEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace corvane {

LeadsScanWindow::LeadsScanWindow(QWidget *parent)
    : SkinnedWindow(QStringLiteral("Images3"), tr("Leads Scan"), parent),
      m_scan(AddressFilterList::bundled()), m_optFolder(new QRadioButton(tr("Scan F&older"), this)),
      m_optFile(new QRadioButton(tr("Scan F&ile"), this)), m_panels(new QStackedWidget(this)),
      m_fileTarget(new QLabel(this)), m_folderTarget(new QLabel(this)),
      m_types(new QListWidget(this)), m_newType(new QLineEdit(this)), m_emails(new QListView(this)),
      m_listCount(new QLabel(this)), m_scanCount(new QLabel(this)), m_leadSource(new QLabel(this)),
      m_scanProgress(new QLabel(this)),
      m_selectFile(namedButton(this, "cmdSelectFile", tr("Select &File..."))),
      m_scanFile(namedButton(this, "cmdScanFile", tr("&Scan File"))),
      m_selectFolder(namedButton(this, "cmdSelectFolder", tr("Select Fol&der..."))),
      m_scanFolder(namedButton(this, "cmdScanFolder", tr("&Scan Folder"))),
      m_stopFolder(namedButton(this, "cmdStopScanningFolder", tr("S&top Scanning"))),
      m_addType(namedButton(this, "cmdAddExt", tr("&Add"))),
      m_removeType(namedButton(this, "cmdRemoveExt", tr("&Remove"))),
      m_removeLeads(namedButton(this, "cmdremoveselectedemails", tr("Remove Selected &Leads"))),
      m_saveLeads(namedButton(this, "cmdsavelist", tr("Sa&ve Leads"))),
      m_help(namedButton(this, "cmdHelp", tr("&Help")))
{
    setObjectName(QStringLiteral("frmExtractor"));
    setAttribute(Qt::WA_DeleteOnClose);
    m_optFolder->setObjectName(QStringLiteral("optAction1"));
    m_optFile->setObjectName(QStringLiteral("optAction0"));
    m_fileTarget->setObjectName(QStringLiteral("lblscanfiletarget"));
    m_folderTarget->setObjectName(QStringLiteral("lblscanfoldertarget"));
    m_types->setObjectName(QStringLiteral("lstExt"));
    m_newType->setObjectName(QStringLiteral("txtext"));
    m_emails->setObjectName(QStringLiteral("lstEmails"));
    m_listCount->setObjectName(QStringLiteral("lbllistcount"));
    m_scanCount->setObjectName(QStringLiteral("lblscancount"));
    m_leadSource->setObjectName(QStringLiteral("lblLeadSource"));
    m_scanProgress->setObjectName(QStringLiteral("lblScanProgress"));
    for (QLabel *label : {m_leadSource, m_scanProgress}) {
        label->setTextFormat(Qt::PlainText);
        label->setMinimumWidth(1); // long paths must not widen the window
    }
    m_emails->setModel(&m_scan.leads());
    m_emails->setSelectionMode(QAbstractItemView::ExtendedSelection);
    new LeadSourceHints(m_emails, [this](const QModelIndex &row) -> std::optional<LeadSource> {
        const QString source = m_scan.leadSource(row.row());
        if (source.isEmpty())
            return std::nullopt;
        return LeadSource{source, {}};
    });
    m_stopFolder->setEnabled(false);

    m_chooseFile = [this] {
        return QFileDialog::getOpenFileName(
            this, tr("Select File"), {},
            tr("Text Files(*.txt,*.rtf) (*.txt *.rtf);;MS Office(*.doc,*.csv,*.xls) (*.doc *.csv "
               "*.xls);;Documents and web archives (*.docx *.xlsx *.pptx *.odt *.ods *.odp *.pdf "
               "*.warc *.gz);;All files (*)"));
    };
    m_chooseFolder = [this] {
        return QFileDialog::getExistingDirectory(this, tr("Select Folder"));
    };
    m_chooseSave = [this] { return askLeadSaveChoice(this); };

    buildLayout();
    showTypes();
    showCounts();
    m_scanCount->clear();

    connect(m_optFolder, &QRadioButton::toggled, this,
            [this](bool on) { m_panels->setCurrentIndex(on ? 1 : 0); });
    m_optFolder->setChecked(true);
    connect(m_types, &QListWidget::itemChanged, this, [this](QListWidgetItem *item) {
        m_scan.fileTypes().setChecked(m_types->row(item), item->checkState() == Qt::Checked);
    });
    connect(m_addType, &QPushButton::clicked, this, &LeadsScanWindow::addType);
    connect(m_newType, &QLineEdit::returnPressed, this, &LeadsScanWindow::addType);
    connect(m_removeType, &QPushButton::clicked, this, &LeadsScanWindow::removeTypes);
    connect(m_selectFile, &QPushButton::clicked, this, &LeadsScanWindow::selectFile);
    connect(m_selectFolder, &QPushButton::clicked, this, &LeadsScanWindow::selectFolder);
    connect(m_scanFile, &QPushButton::clicked, this, &LeadsScanWindow::scanFile);
    connect(m_scanFolder, &QPushButton::clicked, this, &LeadsScanWindow::scanFolder);
    connect(m_stopFolder, &QPushButton::clicked, &m_scan, &LeadsScan::stop);
    connect(m_removeLeads, &QPushButton::clicked, this, &LeadsScanWindow::removeSelectedLeads);
    connect(m_saveLeads, &QPushButton::clicked, this, &LeadsScanWindow::saveLeads);
    connect(m_help, &QPushButton::clicked, this,
            [this] { HelpWindow::showHelp(QStringLiteral("leadsscan.htm"), {}, this); });
    connect(m_emails->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &LeadsScanWindow::showLeadSource);
    connect(&m_scan, &LeadsScan::progress, this, &LeadsScanWindow::showProgress);
    connect(&m_scan, &LeadsScan::leadsAdded, this, &LeadsScanWindow::showCounts);
    connect(&m_scan, &LeadsScan::fileScanned, this, &LeadsScanWindow::showCounts);
    connect(&m_scan, &LeadsScan::finished, this, [this] {
        setScanning(false);
        showCounts();
        m_scanProgress->clear();
        QApplication::beep();
    });
    // A file or folder that cannot be read is reported and the walk goes on.
    connect(&m_scan, &LeadsScan::recordingProblem, this,
            [this](const QString &problem) { showMessage(this, problem); });
    connect(&m_scan, &LeadsScan::fileError, this, [this](const QString &path, const QString &why) {
        report(tr("Error: ") + path + QLatin1Char(' ') + why);
    });
    connect(
        &m_scan, &LeadsScan::folderError, this, [this](const QString &path, const QString &why) {
            report(errorReportText(LeadsScan::kFolderFailedLabel, path + QLatin1Char(' ') + why));
        });
    resize(760, 560);
}

LeadsScanWindow::~LeadsScanWindow() = default;

void LeadsScanWindow::buildLayout()
{
    auto *layout = new QVBoxLayout(this);
    auto *options = new QHBoxLayout;
    options->addWidget(m_optFolder);
    options->addWidget(m_optFile);
    options->addStretch();
    layout->addLayout(options);

    auto *filePanel = new QWidget(m_panels);
    auto *fileRow = new QGridLayout(filePanel);
    fileRow->addWidget(m_selectFile, 0, 0);
    fileRow->addWidget(m_fileTarget, 0, 1);
    fileRow->addWidget(m_scanFile, 1, 0);
    fileRow->setColumnStretch(1, 1);
    auto *folderPanel = new QWidget(m_panels);
    auto *folderRow = new QGridLayout(folderPanel);
    folderRow->addWidget(m_selectFolder, 0, 0);
    folderRow->addWidget(m_folderTarget, 0, 1, 1, 2);
    folderRow->addWidget(m_scanFolder, 1, 0);
    folderRow->addWidget(m_stopFolder, 1, 1);
    folderRow->setColumnStretch(2, 1);
    m_panels->addWidget(filePanel);
    m_panels->addWidget(folderPanel);
    layout->addWidget(m_panels);

    auto *lists = new QHBoxLayout;
    auto *typesBox = new QGroupBox(tr("File Formats"), this);
    auto *types = new QGridLayout(typesBox);
    types->addWidget(m_types, 0, 0, 1, 2);
    types->addWidget(m_newType, 1, 0, 1, 2);
    types->addWidget(m_addType, 2, 0);
    types->addWidget(m_removeType, 2, 1);
    lists->addWidget(typesBox);
    auto *leads = new QVBoxLayout;
    leads->addWidget(m_emails, 1);
    leads->addWidget(m_leadSource);
    auto *counts = new QHBoxLayout;
    counts->addWidget(m_listCount);
    counts->addStretch();
    counts->addWidget(m_scanCount);
    leads->addLayout(counts);
    lists->addLayout(leads, 1);
    layout->addLayout(lists, 1);
    layout->addWidget(m_scanProgress);

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_removeLeads);
    buttons->addWidget(m_saveLeads);
    buttons->addStretch();
    buttons->addWidget(m_help);
    layout->addLayout(buttons);
}

void LeadsScanWindow::showTypes()
{
    const QSignalBlocker quiet(m_types);
    m_types->clear();
    for (const FileTypeList::Entry &entry : m_scan.fileTypes().entries()) {
        auto *item = new QListWidgetItem(entry.type, m_types);
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(entry.checked ? Qt::Checked : Qt::Unchecked);
    }
}

void LeadsScanWindow::showCounts()
{
    m_listCount->setText(m_scan.leadCountText());
    m_scanCount->setText(m_scan.filesScannedText());
}

void LeadsScanWindow::showLeadSource()
{
    const QModelIndex current = m_emails->currentIndex();
    m_leadSource->setText(
        current.isValid() ? tr("Found in: %1").arg(m_scan.leadSource(current.row())) : QString());
}

void LeadsScanWindow::showProgress(const QString &path, qint64 bytesRead, qint64 size)
{
    const QString name = QFileInfo(path).fileName();
    m_scanProgress->setText(
        size > 0
            ? tr("Reading %1 (%2 %)").arg(name).arg(std::min<qint64>(100, bytesRead * 100 / size))
            : tr("Reading %1").arg(name));
}

void LeadsScanWindow::report(const QString &text)
{
    m_reports << text;
    if (m_reporting)
        return;
    m_reporting = true;
    while (!m_reports.isEmpty())
        showMessage(this, m_reports.takeFirst());
    m_reporting = false;
}

void LeadsScanWindow::addType()
{
    const FileTypeList::AddOutcome outcome = m_scan.fileTypes().add(m_newType->text());
    if (outcome.message)
        showMessage(this, *outcome.message);
    m_newType->setText(outcome.fieldText);
    showTypes();
}

void LeadsScanWindow::removeTypes()
{
    if (const auto message = m_scan.fileTypes().removeChecked())
        showMessage(this, *message);
    showTypes();
}

void LeadsScanWindow::selectFile()
{
    const QString chosen = m_chooseFile();
    if (chosen.isEmpty())
        return;
    if (!QFileInfo::exists(chosen)) {
        showMessage(this, LeadsScan::kFileMissingMessage);
        return;
    }
    m_scanCount->clear();
    m_fileTarget->setText(chosen);
}

void LeadsScanWindow::selectFolder()
{
    m_folderTarget->setText(m_chooseFolder());
    m_scanCount->clear();
}

void LeadsScanWindow::setScanning(bool on)
{
    m_stopFolder->setEnabled(on);
    for (QPushButton *b : {m_scanFile, m_scanFolder, m_selectFile, m_selectFolder, m_saveLeads,
                           m_removeLeads, m_removeType})
        b->setEnabled(!on);
}

void LeadsScanWindow::scanFile()
{
    const Result<void> started = m_scan.startFileScan(m_fileTarget->text().trimmed());
    if (!started) {
        showMessage(this, started.message());
        return;
    }
    setScanning(true);
}

void LeadsScanWindow::scanFolder()
{
    const Result<void> started = m_scan.startFolderScan(m_folderTarget->text());
    if (!started) {
        showMessage(this, started.message());
        return;
    }
    setScanning(true);
}

void LeadsScanWindow::removeSelectedLeads()
{
    TextListModel &leads = m_scan.leads();
    for (qsizetype row = 0; row < leads.count(); ++row)
        leads.setSelected(row, m_emails->selectionModel()->isRowSelected(int(row)));
    m_scan.removeSelectedLeads();
    showCounts();
    showLeadSource();
}

void LeadsScanWindow::saveLeads()
{
    if (m_scan.leads().isEmpty()) {
        showMessage(this, LeadsScan::kNoLeadsMessage);
        return;
    }
    const LeadSaveChoice chosen = m_chooseSave();
    if (chosen.path.isEmpty())
        return;
    if (chosen.withSources) {
        if (const Result<qint64> saved = m_scan.saveLeadsCsv(chosen.path); !saved)
            showErrorReport(this, LeadsScan::kSaveFailedLabel, saved.message());
        return;
    }
    const auto saved = m_scan.saveLeads(chosen.path, [&](const QString &question) {
        return DeleteConfirmDialog::confirm(question, this);
    });
    if (!saved)
        showErrorReport(this, LeadsScan::kSaveFailedLabel, saved.message());
}

void LeadsScanWindow::closeEvent(QCloseEvent *event)
{
    m_scan.stop();
    m_scan.saveFileTypes();
    event->accept();
}

} // namespace corvane
