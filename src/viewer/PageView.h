#pragma once

#include <QList>
#include <QUrl>
#include <QWidget>

namespace corvane {

// The viewer's embedded browser: the web engine when it is built in, else a plain rich-text
// browser. Stored pages come from any site, so a local page (a stored page or the
// placeholder) is shown cut off from the network and from every other file, with its
// scripts off unless the user allows them; the network opens only for an address the viewer
// itself asks for (the original page, a typed address) and what the user does from there.
// Script errors are swallowed and pages that ask for a new window open inside this one, so
// browsing never leaves the viewer.
class PageView : public QWidget
{
    Q_OBJECT
public:
    // How many refused requests the view remembers (the newest ones).
    static constexpr int kBlockedKept = 200;

    explicit PageView(QWidget *parent = nullptr);
    ~PageView() override;

    // Real-time (WebRTC) and WebTransport connections pass by the view's request checks, so
    // the web engine is started without their UDP traffic. The engine reads its switches once,
    // as the first page is made: call this before the application object exists.
    static void restrictEngine();

    void navigate(const QUrl &url);
    void back();
    void forward();
    void stop();

    // The address last asked for (the shown page may still be loading).
    QUrl requestedUrl() const { return m_requested; }
    bool canGoBack() const;
    bool canGoForward() const;

    // Whether scripts of local pages run; off until the user turns them on. A local page on
    // show is reloaded under the new choice. Pages from the web always run their scripts.
    bool scriptsAllowed() const { return m_scriptsAllowed; }
    void setScriptsAllowed(bool on);

    // What the view refused to load or go to, oldest first (at most kBlockedKept).
    QList<QUrl> blockedRequests() const { return m_blocked; }

signals:
    void loadStarted();
    void loadFinished();
    void historyChanged();

private:
    void recordBlocked(const QUrl &url);

    QWidget *m_view = nullptr;
    QObject *m_profile = nullptr; // the web engine's profile, owned here, outlives the page
    QUrl m_requested;
    bool m_scriptsAllowed = false;
    QList<QUrl> m_blocked;
};

} // namespace corvane
