#pragma once

#include "kb/Deletion.h"
#include "ui/SkinnedWindow.h"

#include <functional>
#include <optional>

class QLabel;
class QPushButton;

namespace corvane {

// The general confirmation dialog: the caller's question with Yes and No, No the default.
// askToDelete carries out a deletion when the user agrees; confirm only asks.
class DeleteConfirmDialog : public SkinnedDialog
{
    Q_OBJECT
public:
    explicit DeleteConfirmDialog(const QString &question, QWidget *parent = nullptr);

    QLabel *questionLabel() const { return m_question; }
    QPushButton *yesButton() const { return m_yes; }
    QPushButton *noButton() const { return m_no; }

    // Shows the question modally; true when the user answered Yes.
    static bool confirm(const QString &question, QWidget *parent);
    // Asks, and on Yes carries out the deletion; steps that failed are shown in one message.
    // Nothing when the user declined.
    static std::optional<DeletionOutcome> askToDelete(const QString &question,
                                                      const Deletion &deletion, QWidget *parent);

    // Window tests answer the dialog without showing it: the hook returns true for Yes.
    using AnswerHook = std::function<bool(const DeleteConfirmDialog &)>;
    static void setAnswerHook(AnswerHook hook);

private:
    QLabel *m_question;
    QPushButton *m_yes;
    QPushButton *m_no;
};

} // namespace corvane
