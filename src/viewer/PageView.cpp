#include "viewer/PageView.h"

#include <QVBoxLayout>

#include <functional>

#ifdef CORVANE_HAVE_WEBENGINE
#include <QWebEngineFileSystemAccessRequest>
#include <QWebEngineHistory>
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineRegisterProtocolHandlerRequest>
#include <QWebEngineSettings>
#include <QWebEngineUrlRequestInterceptor>
#include <QWebEngineView>
#else
#include <QFileInfo>
#include <QTextBrowser>
#endif

namespace corvane {

namespace {

using Refusal = std::function<void(const QUrl &)>;

// A page on disk or bundled with the program: a stored page or the placeholder.
bool isLocalPage(const QUrl &url)
{
    return url.isLocalFile() || url.scheme() == QLatin1String("qrc");
}

#ifdef CORVANE_HAVE_WEBENGINE

// Sees the view's requests before they are made. The web engine's own settings already keep
// local pages from the network and from other files; this is the second lock, and the one
// that also stops a stored page's WebSocket connections.
class RequestGuard : public QWebEngineUrlRequestInterceptor
{
public:
    RequestGuard(Refusal refused, QObject *parent)
        : QWebEngineUrlRequestInterceptor(parent), m_refused(std::move(refused))
    {
    }

    void interceptRequest(QWebEngineUrlRequestInfo &info) override
    {
        if (mayLoad(info))
            return;
        info.block(true);
        m_refused(info.requestUrl());
    }

private:
    static bool mayLoad(const QWebEngineUrlRequestInfo &info)
    {
        const QUrl url = info.requestUrl();
        if (info.resourceType() == QWebEngineUrlRequestInfo::ResourceTypeMainFrame) {
            // Only the viewer opens a local page: no page and no server's redirect leads to one.
            if (isLocalPage(url))
                return info.initiator().isEmpty() &&
                       info.navigationType() != QWebEngineUrlRequestInfo::NavigationTypeRedirect;
            // The web when the viewer asked for it or a web page goes on, never for a local page.
            return !isLocalPage(info.initiator());
        }
        // What a page pulls in: nothing local ever, the web only for a page from the web.
        return !isLocalPage(url) && !isLocalPage(info.firstPartyUrl());
    }

    Refusal m_refused;
};

// Decides where a page may go and whether it runs scripts. A local page's links, forms,
// refreshes and frames lead nowhere; the viewer's own navigation (a page it shows, an address
// typed, back, forward, reload) always goes. Script errors mean nothing to the user, and a
// pop-up must not escape the viewer, so it is loaded in place. Permissions a page asks for
// are refused without asking.
class GuardedPage : public QWebEnginePage
{
public:
    GuardedPage(QWebEngineProfile *profile, const PageView *view, Refusal refused, QObject *parent)
        : QWebEnginePage(profile, parent), m_view(view), m_refused(std::move(refused))
    {
        connect(this, &QWebEnginePage::featurePermissionRequested, this,
                [this](const QUrl &origin, Feature feature) {
                    setFeaturePermission(origin, feature, PermissionDeniedByUser);
                });
        connect(this, &QWebEnginePage::fileSystemAccessRequested, this,
                [](QWebEngineFileSystemAccessRequest request) { request.reject(); });
        connect(this, &QWebEnginePage::registerProtocolHandlerRequested, this,
                [](QWebEngineRegisterProtocolHandlerRequest request) { request.reject(); });
    }

protected:
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString &, int,
                                  const QString &) override
    {
    }
    QWebEnginePage *createWindow(WebWindowType) override { return this; }

    // A stored page's dialogs would only stand in the way (one after another, they would
    // hold the program), and leaving the page is never refused.
    void javaScriptAlert(const QUrl &origin, const QString &text) override
    {
        if (!isLocalPage(url()))
            QWebEnginePage::javaScriptAlert(origin, text);
    }
    bool javaScriptConfirm(const QUrl &origin, const QString &text) override
    {
        return isLocalPage(url()) || QWebEnginePage::javaScriptConfirm(origin, text);
    }
    bool javaScriptPrompt(const QUrl &origin, const QString &text, const QString &value,
                          QString *result) override
    {
        return !isLocalPage(url()) && QWebEnginePage::javaScriptPrompt(origin, text, value, result);
    }

    bool acceptNavigationRequest(const QUrl &url, NavigationType type, bool isMainFrame) override
    {
        const bool viewerAsked =
            isMainFrame && (type == NavigationTypeTyped || type == NavigationTypeBackForward ||
                            type == NavigationTypeReload);
        if (!viewerAsked && !pageMayGo(url, isMainFrame)) {
            m_refused(url);
            return false;
        }
        // Set before the document arrives, so a page never runs under the previous page's rule.
        if (isMainFrame)
            settings()->setAttribute(QWebEngineSettings::JavascriptEnabled,
                                     !isLocalPage(url) || m_view->scriptsAllowed());
        return true;
    }

private:
    bool pageMayGo(const QUrl &target, bool isMainFrame) const
    {
        const QUrl shown = url();
        if (isMainFrame &&
            target.adjusted(QUrl::RemoveFragment) == shown.adjusted(QUrl::RemoveFragment))
            return true; // an anchor within the page
        if (isLocalPage(target))
            return false;
        if (isLocalPage(shown))
            return !isMainFrame && target.scheme() == QLatin1String("about");
        return true;
    }

    const PageView *m_view;
    Refusal m_refused;
};

// The shared defaults of every page of the view: no way from a page to local files, the
// clipboard, new windows, plug-ins or the screen, and no request the user did not cause.
// Scripts start off; each page gets its own setting as it is navigated to.
void lockDown(QWebEngineSettings *settings)
{
    using S = QWebEngineSettings;
    for (S::WebAttribute off :
         {S::JavascriptEnabled, S::LocalContentCanAccessFileUrls,
          S::LocalContentCanAccessRemoteUrls, S::JavascriptCanOpenWindows,
          S::JavascriptCanAccessClipboard, S::JavascriptCanPaste, S::PluginsEnabled,
          S::HyperlinkAuditingEnabled, S::DnsPrefetchEnabled, S::AutoLoadIconsForPage,
          S::TouchIconsEnabled, S::ScreenCaptureEnabled, S::AllowRunningInsecureContent,
          S::AllowGeolocationOnInsecureOrigins, S::AllowWindowActivationFromJavaScript,
          S::FullScreenSupportEnabled, S::NavigateOnDropEnabled})
        settings->setAttribute(off, false);
    settings->setAttribute(S::WebRTCPublicInterfacesOnly, true);
}

#else

// The file a local address names, empty for any other address.
QString localPath(const QUrl &url)
{
    if (url.isLocalFile())
        return url.toLocalFile();
    if (url.scheme() == QLatin1String("qrc"))
        return QLatin1Char(':') + url.path();
    return {};
}

// Whether `target` is a file below the folder of the local page `page`.
bool withinFolderOf(const QUrl &page, const QUrl &target)
{
    const QString pagePath = localPath(page);
    const QString targetPath = localPath(target);
    if (pagePath.isEmpty() || targetPath.isEmpty() || page.scheme() != target.scheme())
        return false;
    const QString folder = QFileInfo(pagePath).canonicalPath();
    const QString file = QFileInfo(targetPath).canonicalFilePath();
    return !folder.isEmpty() && file.startsWith(folder + QLatin1Char('/'));
}

// Without the web engine: a text browser that reads only local files in the folder of the
// page on show and follows links only within that folder. It has no network access of its
// own; the refusal keeps it that way.
class FolderBrowser : public QTextBrowser
{
public:
    FolderBrowser(Refusal refused, QWidget *parent)
        : QTextBrowser(parent), m_refused(std::move(refused))
    {
        setOpenExternalLinks(false);
        setOpenLinks(false);
        connect(this, &QTextBrowser::anchorClicked, this, [this](const QUrl &link) {
            const QUrl target = m_page.resolved(link);
            if (withinFolderOf(m_page, target))
                setSource(target);
            else
                m_refused(target);
        });
    }

protected:
    void doSetSource(const QUrl &name, QTextDocument::ResourceType type) override
    {
        m_page = name;
        QTextBrowser::doSetSource(name, type);
    }

    QVariant loadResource(int type, const QUrl &name) override
    {
        const QUrl target = m_page.resolved(name);
        if (target.adjusted(QUrl::RemoveFragment) == m_page.adjusted(QUrl::RemoveFragment)
                ? isLocalPage(target)
                : withinFolderOf(m_page, target))
            return QTextBrowser::loadResource(type, target);
        m_refused(target);
        return {};
    }

private:
    QUrl m_page; // the document on show, whichever way it came
    Refusal m_refused;
};

#endif

} // namespace

PageView::PageView(QWidget *parent) : QWidget(parent)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    const Refusal refused = [this](const QUrl &url) { recordBlocked(url); };
#ifdef CORVANE_HAVE_WEBENGINE
    // Its own off-the-record profile: nothing a page leaves behind (cookies, storage, cache)
    // outlives the view, and the help window's pages keep the engine's defaults.
    auto *profile = new QWebEngineProfile(this);
    profile->setUrlRequestInterceptor(new RequestGuard(refused, profile));
    lockDown(profile->settings());
    m_profile = profile;
    auto *view = new QWebEngineView(this);
    view->setPage(new GuardedPage(profile, this, refused, view));
    connect(view, &QWebEngineView::loadStarted, this, &PageView::loadStarted);
    connect(view, &QWebEngineView::loadFinished, this, [this] {
        emit loadFinished();
        emit historyChanged();
    });
    connect(view, &QWebEngineView::urlChanged, this, &PageView::historyChanged);
#else
    auto *view = new FolderBrowser(refused, this);
    connect(view, &QTextBrowser::sourceChanged, this, [this] {
        emit loadFinished();
        emit historyChanged();
    });
#endif
    view->setObjectName(QStringLiteral("webPageView"));
    m_view = view;
    layout->addWidget(view);
}

PageView::~PageView()
{
    // The web engine wants a page gone before its profile.
    delete m_view;
    delete m_profile;
}

void PageView::restrictEngine()
{
#ifdef CORVANE_HAVE_WEBENGINE
    // Switches the user already gives the engine are kept; a second list of disabled
    // features would replace the first, so ours joins it.
    const QByteArray features = "--disable-blink-features=";
    QByteArray flags = qgetenv("QTWEBENGINE_CHROMIUM_FLAGS");
    if (!flags.contains("WebTransport")) {
        if (flags.contains(features))
            flags.replace(features, features + "WebTransport,");
        else
            flags += ' ' + features + "WebTransport";
    }
    // WebRTC without UDP: no STUN probes and no direct media (its relays over TCP remain).
    if (!flags.contains("--force-webrtc-ip-handling-policy"))
        flags += " --force-webrtc-ip-handling-policy=disable_non_proxied_udp";
    qputenv("QTWEBENGINE_CHROMIUM_FLAGS", flags.trimmed());
#endif
}

void PageView::navigate(const QUrl &url)
{
    m_requested = url;
#ifdef CORVANE_HAVE_WEBENGINE
    static_cast<QWebEngineView *>(m_view)->setUrl(url);
#else
    emit loadStarted();
    static_cast<QTextBrowser *>(m_view)->setSource(url);
#endif
}

void PageView::back()
{
#ifdef CORVANE_HAVE_WEBENGINE
    static_cast<QWebEngineView *>(m_view)->back();
#else
    static_cast<QTextBrowser *>(m_view)->backward();
#endif
}

void PageView::forward()
{
#ifdef CORVANE_HAVE_WEBENGINE
    static_cast<QWebEngineView *>(m_view)->forward();
#else
    static_cast<QTextBrowser *>(m_view)->forward();
#endif
}

void PageView::stop()
{
#ifdef CORVANE_HAVE_WEBENGINE
    static_cast<QWebEngineView *>(m_view)->stop();
#endif
}

bool PageView::canGoBack() const
{
#ifdef CORVANE_HAVE_WEBENGINE
    return static_cast<QWebEngineView *>(m_view)->history()->canGoBack();
#else
    return static_cast<QTextBrowser *>(m_view)->isBackwardAvailable();
#endif
}

bool PageView::canGoForward() const
{
#ifdef CORVANE_HAVE_WEBENGINE
    return static_cast<QWebEngineView *>(m_view)->history()->canGoForward();
#else
    return static_cast<QTextBrowser *>(m_view)->isForwardAvailable();
#endif
}

void PageView::setScriptsAllowed(bool on)
{
    if (m_scriptsAllowed == on)
        return;
    m_scriptsAllowed = on;
#ifdef CORVANE_HAVE_WEBENGINE
    // The reload passes the navigation check, which applies the new choice.
    auto *view = static_cast<QWebEngineView *>(m_view);
    if (isLocalPage(view->url()))
        view->reload();
#endif
}

void PageView::recordBlocked(const QUrl &url)
{
    if (m_blocked.size() >= kBlockedKept)
        m_blocked.removeFirst();
    m_blocked.append(url);
}

} // namespace corvane
