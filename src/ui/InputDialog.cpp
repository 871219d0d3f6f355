#include "ui/InputDialog.h"

#include "ui/DialogState.h"
#include "ui/MessageDialog.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace corvane {

namespace {

InputHook &inputHook()
{
    static InputHook hook;
    return hook;
}

// The accepted text becomes the shared input text before the mode's operation runs, so an
// operation that reads the shared value sees the new text.
void acceptText(qint16 mode, const InputOperations &operations, const QString &text)
{
    dialogState().inputText = text;
    dialogState().inputMode = mode;
    operations.run(mode, text);
}

} // namespace

InputDialog::InputDialog(qint16 mode, InputOperations operations, QWidget *parent)
    : SkinnedDialog(QStringLiteral("Images9"), QString(), parent), m_mode(mode),
      m_operations(std::move(operations))
{
    setObjectName(QStringLiteral("frmInputBox"));
    setModal(true);
    const auto text = inputModeText(mode);

    m_prompt = new QLabel(text ? text->prompt : QString(), this);
    m_prompt->setObjectName(QStringLiteral("lblPrompt"));
    m_prompt->setWordWrap(true);
    m_input = new QLineEdit(text ? text->initialText : QString(), this);
    m_input->setObjectName(QStringLiteral("txtInput"));
    m_input->setMinimumWidth(340);
    m_prompt->setBuddy(m_input);
    m_ok = new QPushButton(tr("&OK"), this);
    m_ok->setObjectName(QStringLiteral("cmdOK"));
    // Enter anywhere but on Cancel means OK; the field needs no handler of its own.
    m_ok->setDefault(true);
    m_cancel = new QPushButton(tr("&Cancel"), this);
    m_cancel->setObjectName(QStringLiteral("cmdCancel"));
    for (QPushButton *button : {m_ok, m_cancel})
        button->setMinimumWidth(90);

    connect(m_ok, &QPushButton::clicked, this, &InputDialog::acceptInput);
    connect(m_cancel, &QPushButton::clicked, this, &InputDialog::cancelInput);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 14, 20, 14);
    layout->setSpacing(10);
    layout->addWidget(m_prompt);
    layout->addWidget(m_input);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_ok);
    buttons->addWidget(m_cancel);
    layout->addLayout(buttons);
    setTabOrder(m_input, m_ok);
    setTabOrder(m_ok, m_cancel);
    m_input->setFocus();
    m_input->end(false);
    adjustSize();
}

void InputDialog::acceptInput()
{
    const QString text = m_input->text();
    const InputVerdict verdict = checkInput(m_mode, text);
    if (!verdict.accepted) {
        showMessage(this, verdict.message);
        if (verdict.resetTo)
            m_input->setText(*verdict.resetTo);
        m_input->setFocus();
        return;
    }
    m_inputText = text;
    acceptText(m_mode, m_operations, text);
    accept();
}

// The field opens with the cursor after its starting text ("http://" for addresses), so
// typing continues it instead of replacing it.
void InputDialog::showEvent(QShowEvent *event)
{
    SkinnedDialog::showEvent(event);
    // QDialog gives the field its focus (selecting all of it) after this event; undo that
    // once it is done.
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_input->deselect();
            m_input->end(false);
        },
        Qt::QueuedConnection);
}

void InputDialog::cancelInput()
{
    reject();
}

std::optional<QString> askInput(QWidget *parent, InputMode mode, const InputOperations &operations,
                                std::optional<QPoint> position)
{
    const auto code = static_cast<qint16>(mode);
    dialogState().inputMode = code;
    if (inputHook()) {
        const std::optional<QString> typed = inputHook()(mode);
        if (!typed)
            return std::nullopt;
        const InputVerdict verdict = checkInput(code, *typed);
        if (!verdict.accepted) {
            showMessage(parent, verdict.message);
            return std::nullopt;
        }
        acceptText(code, operations, *typed);
        return typed;
    }
    InputDialog box(code, operations, parent);
    if (!position)
        position = dialogState().position;
    if (position)
        box.move(*position);
    if (box.exec() != QDialog::Accepted)
        return std::nullopt;
    return box.inputText();
}

void setInputHook(InputHook hook)
{
    inputHook() = std::move(hook);
}

} // namespace corvane
