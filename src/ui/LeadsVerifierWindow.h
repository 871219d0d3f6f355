#pragma once

#include "ui/SkinnedWindow.h"
#include "verify/LeadVerifier.h"

#include <functional>

class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace corvane {

// "Leads Verifier": fetches leads from a lead file and keeps those whose domain has a mail
// exchanger. The run is LeadVerifier's; the window shows its lists, counts and clock.
class LeadsVerifierWindow : public SkinnedWindow
{
    Q_OBJECT
public:
    explicit LeadsVerifierWindow(QWidget *parent = nullptr,
                                 TimerSource &timers = RealTimerSource::instance());
    ~LeadsVerifierWindow() override;

    LeadVerifier &verifier() { return m_verifier; }
    // The file-open dialog, replaceable for window tests; empty when cancelled.
    void setFileChooser(std::function<QString()> choose) { m_chooseFile = std::move(choose); }

private:
    void buildLayout();
    void fetch();
    void fetchEnded();
    void verify();
    void showClock(int hours, int minutes, int seconds);

    LeadVerifier m_verifier;
    std::function<QString()> m_chooseFile;

    QLineEdit *m_path;
    QLineEdit *m_dns;
    QListWidget *m_email;
    QListWidget *m_valid;
    QListWidget *m_exchangers;
    QLabel *m_total;
    QLabel *m_validCount;
    QLabel *m_hr;
    QLabel *m_min;
    QLabel *m_sec;
    QLabel *m_status;
    QPushButton *m_browse;
    QPushButton *m_fetch;
    QPushButton *m_verify;
    QPushButton *m_stop;
    QPushButton *m_help;
};

} // namespace corvane
