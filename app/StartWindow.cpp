#include "StartWindow.h"

#include "common/DataFolder.h"
#include "ui/HelpWindow.h"
#include "ui/SkinnedWindow.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

#ifdef CORVANE_HAVE_WEBENGINE
#include <QWebEngineView>
#else
#include <QTextBrowser>
#endif

namespace corvane::app {

namespace {

QUrl placeholderPage()
{
    const QString located = DataFolder::locate(QStringLiteral("Images/kw.htm"));
    return located.startsWith(QLatin1Char(':')) ? QUrl(QStringLiteral("qrc") + located)
                                                : QUrl::fromLocalFile(located);
}

} // namespace

QWidget *createStartWindow()
{
    auto *window = new SkinnedWindow(QStringLiteral("Images1"));
    window->setObjectName(QStringLiteral("frmViewer"));
#ifdef CORVANE_HAVE_WEBENGINE
    auto *page = new QWebEngineView(window);
    page->setUrl(placeholderPage());
#else
    auto *page = new QTextBrowser(window);
    page->setSource(placeholderPage());
#endif
    page->setObjectName(QStringLiteral("webPage"));

    auto *help = new QPushButton(QObject::tr("&Help"), window);
    help->setObjectName(QStringLiteral("cmdHelp"));
    QObject::connect(help, &QPushButton::clicked, window,
                     [window] { HelpWindow::showHelp(help::kViewerPage, {}, window); });

    auto *layout = new QVBoxLayout(window);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->addWidget(page, 1);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(help);
    layout->addLayout(buttons);
    window->resize(900, 640);
    return window;
}

} // namespace corvane::app
