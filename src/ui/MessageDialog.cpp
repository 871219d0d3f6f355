#include "ui/MessageDialog.h"

#include "ui/DialogState.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace corvane {

namespace {

MessageHook &messageHook()
{
    static MessageHook hook;
    return hook;
}

} // namespace

DialogState &dialogState()
{
    static DialogState state;
    return state;
}

MessageDialog::MessageDialog(const QString &message, QWidget *parent)
    : SkinnedDialog(QStringLiteral("Images9"), QString(), parent)
{
    setObjectName(QStringLiteral("frmMsgBox"));
    setModal(true);
    m_label = new QLabel(message, this);
    m_label->setObjectName(QStringLiteral("lblMessage"));
    m_label->setWordWrap(true);
    m_label->setTextFormat(Qt::PlainText);
    m_label->setAlignment(Qt::AlignCenter);
    m_label->setMinimumWidth(360);
    m_label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_ok = new QPushButton(tr("&OK"), this);
    m_ok->setObjectName(QStringLiteral("cmdOK"));
    m_ok->setDefault(true);
    m_ok->setAutoDefault(true);
    m_ok->setMinimumWidth(90);
    connect(m_ok, &QPushButton::clicked, this, &QDialog::accept);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 16, 20, 14);
    layout->setSpacing(14);
    layout->addWidget(m_label, 1);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_ok);
    buttons->addStretch();
    layout->addLayout(buttons);
    m_ok->setFocus();
    adjustSize();
}

void showMessage(QWidget *parent, const QString &text)
{
    dialogState().message = text;
    if (messageHook()) {
        messageHook()(text);
        return;
    }
    MessageDialog box(text, parent);
    box.exec();
}

QString errorReportText(const QString &label, const QString &description)
{
    return label + description;
}

void showErrorReport(QWidget *parent, const QString &label, const QString &description)
{
    showMessage(parent, errorReportText(label, description));
}

void setMessageHook(MessageHook hook)
{
    messageHook() = std::move(hook);
}

MessageCapture::MessageCapture()
{
    setMessageHook([this](const QString &text) { m_messages.append(text); });
}

MessageCapture::~MessageCapture()
{
    setMessageHook({});
}

} // namespace corvane
