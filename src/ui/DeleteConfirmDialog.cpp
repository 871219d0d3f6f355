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

DeleteConfirmDialog::DeleteConfirmDialog(const QString &question, QWidget *parent)
    : SkinnedDialog(QStringLiteral("Images9"), tr("Confirm"), parent),
      m_question(new QLabel(question, this)), m_yes(new QPushButton(tr("&Yes"), this)),
      m_no(new QPushButton(tr("&No"), this))
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

    // Escape and the frame's close button decline like No.
    connect(m_yes, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_no, &QPushButton::clicked, this, &QDialog::reject);
}

bool DeleteConfirmDialog::confirm(const QString &question, QWidget *parent)
{
    DeleteConfirmDialog dialog(question, parent);
    if (answerHook())
        return answerHook()(dialog);
    return dialog.exec() == QDialog::Accepted;
}

std::optional<DeletionOutcome>
DeleteConfirmDialog::askToDelete(const QString &question, const Deletion &deletion, QWidget *parent)
{
    if (!confirm(question, parent))
        return std::nullopt;
    DeletionOutcome outcome = carryOut(deletion);
    if (!outcome.problems.isEmpty())
        showMessage(parent, outcome.problems.join(QLatin1Char('\n')));
    return outcome;
}

} // namespace corvane
