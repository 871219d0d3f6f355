#include "ui/LeadsVerifierWindow.h"

#include "common/DataFolder.h"
#include "ui/HelpWindow.h"
#include "ui/MessageDialog.h"
#include "ui/ToolWidgets.h"

#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace corvane {

LeadsVerifierWindow::LeadsVerifierWindow(QWidget *parent, TimerSource &timers)
    : SkinnedWindow(QStringLiteral("Images8"), QString(), parent), m_verifier(timers),
      m_path(new QLineEdit(this)), m_dns(new QLineEdit(this)), m_email(new QListWidget(this)),
      m_valid(new QListWidget(this)), m_exchangers(new QListWidget(this)),
      m_total(new QLabel(QStringLiteral("0"), this)),
      m_validCount(new QLabel(QStringLiteral("0"), this)),
      m_hr(new QLabel(QStringLiteral("0"), this)), m_min(new QLabel(QStringLiteral("0"), this)),
      m_sec(new QLabel(QStringLiteral("0"), this)), m_status(new QLabel(this)),
      m_browse(namedButton(this, "cmdBrowse", tr("&Browse"))),
      m_fetch(namedButton(this, "cmdFetch", tr("&Fetch"))),
      m_verify(namedButton(this, "cmdVerify", tr("&Verify"))),
      m_stop(namedButton(this, "cmdStop", tr("&Stop"))),
      m_help(namedButton(this, "cmdHelp", tr("&Help")))
{
    setObjectName(QStringLiteral("frmVerifyEmails"));
    setWindowTitle(tr("Leads Verifier"));
    setAttribute(Qt::WA_DeleteOnClose);
    m_path->setObjectName(QStringLiteral("txtPath"));
    m_dns->setObjectName(QStringLiteral("txtDNS"));
    m_email->setObjectName(QStringLiteral("lstEmail"));
    m_valid->setObjectName(QStringLiteral("lstValid"));
    m_exchangers->setObjectName(QStringLiteral("lstDNS"));
    m_total->setObjectName(QStringLiteral("lblTotLeads"));
    m_validCount->setObjectName(QStringLiteral("lblVLeads"));
    m_hr->setObjectName(QStringLiteral("lblHr"));
    m_min->setObjectName(QStringLiteral("lblMin"));
    m_sec->setObjectName(QStringLiteral("lblSec"));
    m_status->setObjectName(QStringLiteral("lblStatus"));
    m_status->hide();
    m_stop->setEnabled(false);
    m_dns->setText(m_verifier.dnsServer());
    QDir().mkpath(DataFolder::verified());
    QDir().mkpath(DataFolder::unverified());

    m_chooseFile = [this] { return chooseLeadSheet(this); };
    buildLayout();

    connect(m_browse, &QPushButton::clicked, this, [this] {
        const QString chosen = m_chooseFile();
        if (!chosen.isEmpty())
            m_path->setText(chosen);
    });
    connect(m_fetch, &QPushButton::clicked, this, &LeadsVerifierWindow::fetch);
    connect(m_verify, &QPushButton::clicked, this, &LeadsVerifierWindow::verify);
    connect(m_stop, &QPushButton::clicked, &m_verifier, &LeadVerifier::stop);
    connect(m_dns, &QLineEdit::textEdited, &m_verifier, &LeadVerifier::setDnsServer);
    connect(m_help, &QPushButton::clicked, this,
            [this] { HelpWindow::showHelp(QStringLiteral("leadsverifier.htm"), {}, this); });
    connect(&m_verifier, &LeadVerifier::pendingCountChanged, this, [this](int count) {
        // Addresses only ever leave from the head, so dropping the first rows keeps the
        // list in step at constant cost per address.
        if (count > m_email->count()) {
            m_email->clear();
            m_email->addItems(m_verifier.pending());
        }
        while (m_email->count() > count)
            delete m_email->takeItem(0);
    });
    connect(&m_verifier, &LeadVerifier::leadChecked, this, [this](const QString &address, bool ok) {
        if (ok)
            m_valid->addItem(address);
    });
    connect(&m_verifier, &LeadVerifier::validCountChanged, this,
            [this](int count) { m_validCount->setText(QString::number(count)); });
    connect(&m_verifier, &LeadVerifier::exchangersChanged, this,
            [this](const QStringList &exchangers) {
                m_exchangers->clear();
                m_exchangers->addItems(exchangers);
            });
    connect(&m_verifier, &LeadVerifier::clockChanged, this, &LeadsVerifierWindow::showClock);
    connect(&m_verifier, &LeadVerifier::runningChanged, this, [this](bool running) {
        m_stop->setEnabled(running);
        m_verify->setEnabled(!running);
        m_fetch->setEnabled(!running && !m_verifier.isFetching());
    });
    connect(&m_verifier, &LeadVerifier::fetchProgress, this,
            [this](int rows) { m_total->setText(tr("Reading... %1 rows").arg(rows)); });
    connect(&m_verifier, &LeadVerifier::fetched, this, [this] { fetchEnded(); });
    connect(&m_verifier, &LeadVerifier::fetchFailed, this, [this](const QString &message) {
        fetchEnded();
        showMessage(this, message);
    });
    connect(&m_verifier, &LeadVerifier::completed, this, [this](const QString &message) {
        m_status->setText(message);
        m_status->show();
    });
    connect(&m_verifier, &LeadVerifier::problem, this,
            [this](const QString &message) { showMessage(this, message); });
    resize(720, 520);
}

LeadsVerifierWindow::~LeadsVerifierWindow()
{
    m_verifier.stop();
}

void LeadsVerifierWindow::buildLayout()
{
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(leadFileRow(this, m_path, m_browse, m_fetch));
    auto *dns = new QHBoxLayout;
    auto *dnsLabel = new QLabel(tr("&DNS Server:"), this);
    dnsLabel->setBuddy(m_dns);
    dns->addWidget(dnsLabel);
    dns->addWidget(m_dns, 1);
    layout->addLayout(dns);

    auto *lists = new QGridLayout;
    lists->addWidget(new QLabel(tr("Leads"), this), 0, 0);
    lists->addWidget(new QLabel(tr("Valid Leads"), this), 0, 1);
    lists->addWidget(new QLabel(tr("Mail Exchangers"), this), 0, 2);
    lists->addWidget(m_email, 1, 0);
    lists->addWidget(m_valid, 1, 1);
    lists->addWidget(m_exchangers, 1, 2);
    layout->addLayout(lists, 1);

    auto *counts = new QHBoxLayout;
    counts->addWidget(new QLabel(tr("Total Leads:"), this));
    counts->addWidget(m_total);
    counts->addSpacing(16);
    counts->addWidget(new QLabel(tr("Valid Leads:"), this));
    counts->addWidget(m_validCount);
    counts->addSpacing(16);
    counts->addWidget(new QLabel(tr("Time Taken:"), this));
    for (QLabel *part : {m_hr, m_min, m_sec})
        counts->addWidget(part);
    counts->addStretch();
    layout->addLayout(counts);
    layout->addWidget(m_status);

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_verify);
    buttons->addWidget(m_stop);
    buttons->addStretch();
    buttons->addWidget(m_help);
    layout->addLayout(buttons);
}

void LeadsVerifierWindow::fetch()
{
    const QString path = m_path->text().trimmed();
    if (path.isEmpty() || m_verifier.isFetching())
        return;
    // The sheet is read on a worker; the window stays usable and shows the rows read.
    m_fetch->setEnabled(false);
    m_total->setText(tr("Reading..."));
    m_verifier.startFetch(path);
}

void LeadsVerifierWindow::fetchEnded()
{
    m_fetch->setEnabled(!m_verifier.isRunning());
    m_total->setText(QString::number(m_verifier.pendingCount()));
}

void LeadsVerifierWindow::verify()
{
    m_verifier.setDnsServer(m_dns->text().trimmed());
    m_status->hide();
    const Result<void> started = m_verifier.verify();
    if (!started)
        showMessage(this, started.message());
}

void LeadsVerifierWindow::showClock(int hours, int minutes, int seconds)
{
    m_hr->setText(QString::number(hours));
    m_min->setText(QString::number(minutes));
    m_sec->setText(QString::number(seconds));
}

} // namespace corvane
