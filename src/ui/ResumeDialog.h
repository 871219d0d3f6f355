#pragma once

#include "ui/SkinnedWindow.h"

class QLabel;
class QPushButton;
class QUrl;

namespace corvane {

class ResumeController;

// "Resume Support": the question asked when the connection is lost mid-run. The dialog only
// shows the controller's state and reports the user's choice; the controller decides, and
// closes the dialog itself (signal dialogClosed) when the connection returns.
class ResumeDialog : public SkinnedDialog
{
    Q_OBJECT
public:
    // probe: the address the connection test reaches, shown beneath the question.
    ResumeDialog(ResumeController &controller, const QUrl &probe, QWidget *parent = nullptr);

    QLabel *titleLabel() const { return m_title; }
    QLabel *resumeLabel() const { return m_okHint; }
    QLabel *cancelLabel() const { return m_cancelHint; }
    QLabel *probeLabel() const { return m_probe; }
    QPushButton *resumeButton() const { return m_resume; }
    QPushButton *cancelButton() const { return m_cancel; }

protected:
    // The close button counts as Cancel: the run must not be left waiting unseen.
    void reject() override;

private:
    ResumeController &m_controller;
    QLabel *m_title;
    QLabel *m_okHint;
    QLabel *m_cancelHint;
    QLabel *m_probe;
    QPushButton *m_resume;
    QPushButton *m_cancel;
};

} // namespace corvane
