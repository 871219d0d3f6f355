#pragma once

#include "ui/SkinnedWindow.h"

#include <QStringList>

#include <functional>

class QLabel;
class QPushButton;

namespace corvane {

// The program's own message box: a message and an OK button, modal, in the dialogs' skin.
// Enter and Escape both close it.
class MessageDialog : public SkinnedDialog
{
    Q_OBJECT
public:
    explicit MessageDialog(const QString &message, QWidget *parent = nullptr);

    QLabel *messageLabel() const { return m_label; }
    QPushButton *okButton() const { return m_ok; }

private:
    QLabel *m_label;
    QPushButton *m_ok;
};

// Every user message goes through here: shows MessageDialog modally and returns once it is closed.
void showMessage(QWidget *parent, const QString &text);

// The error-report convention: the operation's label (which carries its arrow, e.g.
// "cmdStart->") followed by the error's description.
QString errorReportText(const QString &label, const QString &description);
void showErrorReport(QWidget *parent, const QString &label, const QString &description);

// Window tests replace the modal box with a hook that receives the text; an empty hook
// restores the dialog.
using MessageHook = std::function<void(const QString &)>;
void setMessageHook(MessageHook hook);

// Collects every message shown while it lives (for tests of windows that show messages).
class MessageCapture
{
public:
    MessageCapture();
    ~MessageCapture();
    MessageCapture(const MessageCapture &) = delete;
    MessageCapture &operator=(const MessageCapture &) = delete;

    const QStringList &messages() const { return m_messages; }

private:
    QStringList m_messages;
};

} // namespace corvane
