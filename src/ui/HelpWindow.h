#pragma once

#include "ui/SkinnedWindow.h"

#include <QUrl>

namespace corvane {

// The help pages' names and the anchors of the harvest window's help buttons, by the index
// of the button's tab (search, settings, keyword, filter, result).
namespace help {
inline const QString kMainPage = QStringLiteral("Corvane.htm");
inline const QString kViewerPage = QStringLiteral("KB.htm");
inline const QString kLeadsScanPage = QStringLiteral("leadsscan.htm");
inline const QString kVerifierPage = QStringLiteral("leadsverifier.htm");
inline const QString kOutlookPage = QStringLiteral("outlook.htm");
// "#search", "#Setting", "#keyword", "#filter", "#result"; empty for any other index.
QString mainWindowAnchor(int index);
} // namespace help

// Where a help page lives: the data folder's copy below HelpFiles if the user has one, else
// the bundled page. `anchor` may be given with or without its "#".
QUrl helpAddress(const QString &page, const QString &anchor = {});

// The help pages as files on disk (copied into the data folder's HelpFiles on first use), for
// opening the manual in the user's own browser. Returns the page's path, empty on failure.
QString helpPageOnDisk(const QString &page);

// Opens a help page in the user's web browser (the viewer's first help button opens the
// manual, help::kMainPage, this way). False when the page or a browser is missing.
bool openHelpInBrowser(const QString &page);

// The help window: one per process, not modal, showing a help page in a web view (or a text
// browser when Corvane is built without the web engine). It goes to the help address each
// time it is activated after a new address was set.
class HelpWindow : public SkinnedWindow
{
    Q_OBJECT
public:
    explicit HelpWindow(QWidget *parent = nullptr);
    ~HelpWindow() override;

    // Sets the help address and shows the window; returns the process's help window.
    static HelpWindow *showHelp(const QString &page, const QString &anchor = {},
                                QWidget *parent = nullptr);
    // The window if it is open.
    static HelpWindow *instance();

    void setHelpAddress(const QUrl &address);
    QUrl helpAddress() const { return m_address; }
    // What the page view shows now.
    QUrl shownAddress() const;
    QWidget *helpView() const { return m_view; }

signals:
    void pageShown(const QUrl &address, bool ok);

protected:
    bool event(QEvent *event) override;

private:
    void navigate();

    QWidget *m_view = nullptr;
    QUrl m_address;
    bool m_pending = false;
};

} // namespace corvane
