#pragma once

#include <QPoint>
#include <QString>

#include <optional>

namespace corvane {

// The values the program's small dialogs share with the windows that open them: what the
// message box showed last, what the input box returned, the confirmation request, where the
// next dialog should appear and which help page to show. One set per process.
struct DialogState
{
    QString message;                // last text shown by MessageDialog
    QString inputText;              // last text accepted by InputDialog
    qint16 inputMode = 0;           // mode of the last input box
    qint16 requestKind = 0;         // confirmation request kind (DeleteConfirmDialog)
    QString question;               // confirmation question text (DeleteConfirmDialog)
    std::optional<QPoint> position; // screen position for the next input box
    QString helpAddress;            // page (and anchor) HelpWindow shows next
};

DialogState &dialogState();

} // namespace corvane
