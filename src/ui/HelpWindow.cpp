#include "ui/HelpWindow.h"

#include "common/DataFolder.h"
#include "ui/DialogState.h"

#include <QDesktopServices>
#include <QDir>
#include <QDirIterator>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QVBoxLayout>

#ifdef CORVANE_HAVE_WEBENGINE
#include <QWebEngineView>
#else
#include <QTextBrowser>
#endif

namespace corvane {

namespace help {

QString mainWindowAnchor(int index)
{
    static const QStringList anchors = {QStringLiteral("#search"), QStringLiteral("#Setting"),
                                        QStringLiteral("#keyword"), QStringLiteral("#filter"),
                                        QStringLiteral("#result")};
    return index >= 0 && index < anchors.size() ? anchors.at(index) : QString();
}

} // namespace help

QUrl helpAddress(const QString &page, const QString &anchor)
{
    const QString located = DataFolder::locate(QStringLiteral("HelpFiles/") + page);
    QUrl url;
    if (located.startsWith(QLatin1Char(':')))
        url = QUrl(QStringLiteral("qrc") + located);
    else if (!located.isEmpty())
        url = QUrl::fromLocalFile(located);
    else
        url = QUrl::fromLocalFile(DataFolder::helpFiles() + QLatin1Char('/') + page);
    QString fragment = anchor;
    if (fragment.startsWith(QLatin1Char('#')))
        fragment.remove(0, 1);
    if (!fragment.isEmpty())
        url.setFragment(fragment);
    return url;
}

QString helpPageOnDisk(const QString &page)
{
    const QString folder = DataFolder::helpFiles();
    // Pages and their pictures travel together, so copy every bundled file the data folder
    // lacks; files the user already has are left as they are.
    QDirIterator it(DataFolder::bundled(QStringLiteral("HelpFiles")), QDir::Files,
                    QDirIterator::Subdirectories);
    const QString bundledRoot = DataFolder::bundled(QStringLiteral("HelpFiles/"));
    while (it.hasNext()) {
        const QString source = it.next();
        const QString target = folder + QLatin1Char('/') + source.mid(bundledRoot.size());
        if (QFileInfo::exists(target))
            continue;
        QDir().mkpath(QFileInfo(target).absolutePath());
        if (QFile::copy(source, target))
            QFile::setPermissions(target, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                              QFileDevice::ReadGroup | QFileDevice::ReadOther);
    }
    const QString path = folder + QLatin1Char('/') + page;
    return QFileInfo(path).isFile() ? path : QString();
}

bool openHelpInBrowser(const QString &page)
{
    const QString path = helpPageOnDisk(page);
    return !path.isEmpty() && QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

namespace {

QPointer<HelpWindow> &helpWindow()
{
    static QPointer<HelpWindow> window;
    return window;
}

} // namespace

HelpWindow::HelpWindow(QWidget *parent)
    : SkinnedWindow(QStringLiteral("Images7"), QString(), parent)
{
    setObjectName(QStringLiteral("frmHelp"));
    setAttribute(Qt::WA_DeleteOnClose);
#ifdef CORVANE_HAVE_WEBENGINE
    auto *view = new QWebEngineView(this);
    connect(view, &QWebEngineView::loadFinished, this,
            [this, view](bool ok) { emit pageShown(view->url(), ok); });
#else
    auto *view = new QTextBrowser(this);
    view->setOpenExternalLinks(true);
    connect(view, &QTextBrowser::sourceChanged, this,
            [this, view](const QUrl &url) { emit pageShown(url, !view->document()->isEmpty()); });
#endif
    view->setObjectName(QStringLiteral("webHelp"));
    m_view = view;
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(view);
    resize(760, 560);
}

HelpWindow::~HelpWindow() = default;

HelpWindow *HelpWindow::instance()
{
    return helpWindow();
}

HelpWindow *HelpWindow::showHelp(const QString &page, const QString &anchor, QWidget *parent)
{
    const QUrl address = corvane::helpAddress(page, anchor);
    dialogState().helpAddress = address.toString();
    if (!helpWindow())
        helpWindow() = new HelpWindow(parent);
    HelpWindow *window = helpWindow();
    window->setHelpAddress(address);
    window->showNormal();
    window->raise();
    window->activateWindow();
    // Activation is up to the window system; make sure the page shows even without it.
    window->navigate();
    return window;
}

void HelpWindow::setHelpAddress(const QUrl &address)
{
    m_address = address;
    m_pending = true;
}

QUrl HelpWindow::shownAddress() const
{
#ifdef CORVANE_HAVE_WEBENGINE
    return static_cast<QWebEngineView *>(m_view)->url();
#else
    return static_cast<QTextBrowser *>(m_view)->source();
#endif
}

void HelpWindow::navigate()
{
    if (!m_pending)
        return;
    m_pending = false;
#ifdef CORVANE_HAVE_WEBENGINE
    static_cast<QWebEngineView *>(m_view)->setUrl(m_address);
#else
    static_cast<QTextBrowser *>(m_view)->setSource(m_address);
#endif
}

bool HelpWindow::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate)
        navigate();
    return SkinnedWindow::event(event);
}

} // namespace corvane
