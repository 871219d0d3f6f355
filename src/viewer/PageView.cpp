#include "viewer/PageView.h"

#include <QVBoxLayout>

#ifdef CORVANE_HAVE_WEBENGINE
#include <QWebEngineHistory>
#include <QWebEnginePage>
#include <QWebEngineView>
#else
#include <QTextBrowser>
#endif

namespace corvane {

#ifdef CORVANE_HAVE_WEBENGINE
namespace {

// Saved pages come from arbitrary sites: their script errors mean nothing to the user, and a
// pop-up must not escape the viewer, so it is loaded in place.
class QuietPage : public QWebEnginePage
{
public:
    using QWebEnginePage::QWebEnginePage;

protected:
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString &, int,
                                  const QString &) override
    {
    }
    QWebEnginePage *createWindow(WebWindowType) override { return this; }
};

} // namespace
#endif

PageView::PageView(QWidget *parent) : QWidget(parent)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
#ifdef CORVANE_HAVE_WEBENGINE
    auto *view = new QWebEngineView(this);
    view->setPage(new QuietPage(view));
    connect(view, &QWebEngineView::loadStarted, this, &PageView::loadStarted);
    connect(view, &QWebEngineView::loadFinished, this, [this] {
        emit loadFinished();
        emit historyChanged();
    });
    connect(view, &QWebEngineView::urlChanged, this, &PageView::historyChanged);
#else
    auto *view = new QTextBrowser(this);
    view->setOpenExternalLinks(false);
    view->setOpenLinks(true);
    connect(view, &QTextBrowser::sourceChanged, this, [this] {
        emit loadFinished();
        emit historyChanged();
    });
#endif
    view->setObjectName(QStringLiteral("webPageView"));
    m_view = view;
    layout->addWidget(view);
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

} // namespace corvane
