#include "ui/ResumeDialog.h"

#include "engine/ResumeController.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace corvane {

namespace {
QLabel *wrappedLabel(const QString &text, const char *name, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setObjectName(QLatin1String(name));
    label->setWordWrap(true);
    return label;
}
} // namespace

ResumeDialog::ResumeDialog(ResumeController &controller, const QUrl &probe, QWidget *parent)
    : SkinnedDialog(QStringLiteral("Images9"), ResumeTexts::Caption, parent),
      m_controller(controller), m_title(wrappedLabel(ResumeTexts::Title, "lblTitle", this)),
      m_okHint(wrappedLabel(ResumeTexts::ResumeHint, "lblOK", this)),
      m_cancelHint(wrappedLabel(ResumeTexts::CancelHint, "lblCancel", this)),
      m_probe(wrappedLabel(ResumeTexts::probeLine(probe) +
                               tr(" Another address can be given as \"Connection Probe\" on the "
                                  "Settings tab."),
                           "lblProbe", this)),
      m_resume(new QPushButton(ResumeTexts::ResumeButton, this)),
      m_cancel(new QPushButton(ResumeTexts::CancelButton, this))
{
    setObjectName(QStringLiteral("frmMessage"));
    setWindowTitle(ResumeTexts::Caption);
    m_resume->setObjectName(QStringLiteral("cmdResume"));
    m_cancel->setObjectName(QStringLiteral("cmdCancel"));
    m_resume->setDefault(true);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_title);
    layout->addWidget(m_okHint);
    layout->addWidget(m_cancelHint);
    layout->addWidget(m_probe);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_resume);
    buttons->addWidget(m_cancel);
    layout->addLayout(buttons);

    connect(m_resume, &QPushButton::clicked, this, [this] { m_controller.chooseResumeMode(); });
    connect(m_cancel, &QPushButton::clicked, this, [this] { m_controller.cancel(); });
    connect(&m_controller, &ResumeController::dialogClosed, this, [this] { QDialog::accept(); });
}

void ResumeDialog::reject()
{
    if (m_controller.isAsking())
        m_controller.cancel();
    QDialog::reject();
}

} // namespace corvane
