#include "ui/DeleteConfirmDialog.h"

#include "ui/MessageDialog.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace corvane {

namespace {

DeleteConfirmDialog::AnswerHook &answerHook()
{
    static DeleteConfirmDialog::AnswerHook hook;
    return hook;
}

} // namespace

void DeleteConfirmDialog::setAnswerHook(AnswerHook hook)
{
    answerHook() = std::move(hook);
}

DeleteConfirmDialog::DeleteConfirmDialog(DeleteRequest request, QWidget *parent)
    : SkinnedDialog(QStringLiteral("Images9"), tr("Confirm"), parent),
      m_request(std::move(request)), m_question(new QLabel(m_request.question, this)),
      m_yes(new QPushButton(tr("&Yes"), this)), m_no(new QPushButton(tr("&No"), this))
{
    setObjectName(QStringLiteral("frmDel"));
    m_question->setObjectName(QStringLiteral("lblQuestion"));
    m_question->setWordWrap(true);
    m_yes->setObjectName(QStringLiteral("cmdYes"));
    m_no->setObjectName(QStringLiteral("cmdNo"));
    // A destructive question: Enter must not delete by accident, so No is the default.
    m_no->setDefault(true);
    m_no->setFocus();

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_question);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_yes);
    buttons->addWidget(m_no);
    layout->addLayout(buttons);
    setTabOrder(m_yes, m_no);

    connect(m_yes, &QPushButton::clicked, this, &DeleteConfirmDialog::confirm);
    connect(m_no, &QPushButton::clicked, this, &DeleteConfirmDialog::decline);
    // Escape and the frame's close button decline like No.
    connect(this, &QDialog::rejected, this, [this] { m_outcome = declineDelete(m_request); });
}

void DeleteConfirmDialog::confirm()
{
    auto done = confirmDelete(m_request);
    if (!done) {
        showMessage(this, done.message());
        reject();
        return;
    }
    m_outcome = std::move(*done);
    accept();
}

void DeleteConfirmDialog::decline()
{
    reject();
}

std::optional<DeleteOutcome> DeleteConfirmDialog::ask(const DeleteRequest &request, QWidget *parent)
{
    DeleteConfirmDialog dialog(request, parent);
    bool agreed = false;
    if (answerHook()) {
        agreed = answerHook()(dialog);
        if (agreed)
            dialog.confirm();
        else
            dialog.decline();
        agreed = dialog.result() == QDialog::Accepted;
    } else {
        agreed = dialog.exec() == QDialog::Accepted;
    }
    if (!agreed)
        return std::nullopt;
    return dialog.outcome();
}

} // namespace corvane
