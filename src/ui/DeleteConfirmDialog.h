#pragma once

#include "kb/Deletion.h"
#include "ui/SkinnedWindow.h"

class QLabel;
class QPushButton;

namespace corvane {

// The general confirmation dialog: shows the caller's question and, on Yes, carries out the
// request by its kind. No declines (which for kind 7 still clears the skip flag).
class DeleteConfirmDialog : public SkinnedDialog
{
    Q_OBJECT
public:
    explicit DeleteConfirmDialog(DeleteRequest request, QWidget *parent = nullptr);

    // What the last answer changed; problems lists the steps that were skipped.
    const DeleteOutcome &outcome() const { return m_outcome; }
    const DeleteRequest &request() const { return m_request; }

    QLabel *questionLabel() const { return m_question; }
    QPushButton *yesButton() const { return m_yes; }
    QPushButton *noButton() const { return m_no; }

    // Shows the dialog modally; returns the outcome when the user agreed.
    static std::optional<DeleteOutcome> ask(const DeleteRequest &request, QWidget *parent);

    // Window tests answer the dialog without showing it: the hook returns true for Yes.
    using AnswerHook = std::function<bool(const DeleteConfirmDialog &)>;
    static void setAnswerHook(AnswerHook hook);

private:
    void confirm();
    void decline();

    DeleteRequest m_request;
    DeleteOutcome m_outcome;
    QLabel *m_question;
    QPushButton *m_yes;
    QPushButton *m_no;
};

} // namespace corvane
