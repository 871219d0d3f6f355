#pragma once

#include "ui/InputModes.h"
#include "ui/SkinnedWindow.h"

#include <QPoint>

#include <optional>

class QLabel;
class QLineEdit;
class QPushButton;

namespace corvane {

// The program's input box: one prompt, one text field, OK and Cancel. OK checks the text as
// the mode asks, keeps the dialog open with a message when it is refused, and otherwise
// stores the text, runs the mode's operation and closes. Enter in the field is OK.
class InputDialog : public SkinnedDialog
{
    Q_OBJECT
public:
    InputDialog(qint16 mode, InputOperations operations, QWidget *parent = nullptr);

    qint16 mode() const { return m_mode; }
    QString inputText() const { return m_inputText; }
    QLineEdit *inputField() const { return m_input; }
    QPushButton *okButton() const { return m_ok; }
    QPushButton *cancelButton() const { return m_cancel; }

public slots:
    void acceptInput();
    void cancelInput();

protected:
    void showEvent(QShowEvent *event) override;

private:
    qint16 m_mode;
    InputOperations m_operations;
    QString m_inputText;
    QLabel *m_prompt;
    QLineEdit *m_input;
    QPushButton *m_ok;
    QPushButton *m_cancel;
};

// Opens the input box modally in the given mode, at `position` (screen coordinates) if given,
// else at dialogState().position. Returns the accepted text, nothing on Cancel.
std::optional<QString> askInput(QWidget *parent, InputMode mode, const InputOperations &operations,
                                std::optional<QPoint> position = std::nullopt);

// Window tests replace the dialog by a hook that "types" the text for a mode (nothing =
// Cancel). The typed text goes through the same checks; a refused text shows its message
// and then counts as Cancel.
using InputHook = std::function<std::optional<QString>(InputMode mode)>;
void setInputHook(InputHook hook);

} // namespace corvane
