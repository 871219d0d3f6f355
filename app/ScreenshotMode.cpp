#include "ScreenshotMode.h"

#include "engine/ConnectionProbe.h"
#include "engine/CrawlController.h"
#include "engine/DemoWebServer.h"
#include "engine/HarvestJob.h"
#include "engine/ResumeController.h"
#include "ui/BookmarkImportDialog.h"
#include "ui/DeleteConfirmDialog.h"
#include "ui/HarvestWindow.h"
#include "ui/HelpWindow.h"
#include "ui/InputDialog.h"
#include "ui/KnowledgeBasePathDialog.h"
#include "ui/LeadsScanWindow.h"
#include "ui/LeadsVerifierWindow.h"
#include "ui/MailGroupDeleteDialog.h"
#include "ui/MessageDialog.h"
#include "ui/ResumeDialog.h"
#include "ui/VCardExportWindow.h"

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QEventLoop>
#include <QGuiApplication>
#include <QLineEdit>
#include <QPixmap>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QTabWidget>
#include <QTextStream>
#include <QTimer>
#include <QUrl>
#include <QWidget>

#include <memory>

#ifdef CORVANE_HAVE_WEBENGINE
#include <QWebEngineView>
#endif

namespace corvane::app {

namespace {

// Web pages load asynchronously: wait for every web view of the window to finish (up to a
// limit, a busy machine can be slow), then give the page a moment to paint.
constexpr int kLoadLimitMs = 30000;
constexpr int kSettleMs = 800;

void settle(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

// On a real display server the screen holds what the web view composited; elsewhere (the
// offscreen platform) the widget paints itself.
QPixmap picture(QWidget *window)
{
    if (QGuiApplication::platformName() == QLatin1String("xcb") && window->screen()) {
        const QRect frame = window->frameGeometry();
        return window->screen()->grabWindow(0, frame.x(), frame.y(), frame.width(), frame.height());
    }
    return window->grab();
}

// Connects before the event loop runs, so no page can finish unseen.
class LoadWaiter
{
public:
    explicit LoadWaiter(QWidget *window)
    {
#ifdef CORVANE_HAVE_WEBENGINE
        for (QWebEngineView *view : window->findChildren<QWebEngineView *>()) {
            ++m_pending;
            QObject::connect(view, &QWebEngineView::loadFinished, &m_loop, [this] {
                if (--m_pending == 0)
                    m_loop.quit();
            });
        }
#else
        Q_UNUSED(window);
#endif
    }

    void wait()
    {
        if (m_pending > 0) {
            QTimer::singleShot(kLoadLimitMs, &m_loop, &QEventLoop::quit);
            m_loop.exec();
        }
        settle(kSettleMs);
    }

private:
    QEventLoop m_loop;
    int m_pending = 0;
};

// The harvest window on one of its tabs; the settings tab with the proxy frame open.
std::unique_ptr<HarvestWindow> harvestWindow(int tab)
{
    auto window = std::make_unique<HarvestWindow>();
    window->findChild<QTabWidget *>(QStringLiteral("stabEmailExt"))->setCurrentIndex(tab);
    if (tab == 2)
        window->findChild<QPushButton *>(QStringLiteral("cmdAdv"))->click();
    return window;
}

// The harvest window on its result tab after a single-URL run of the demo web. Messages the
// run shows are the program's own modal dialogs; the end-of-run one is answered by itself.
std::unique_ptr<HarvestWindow> harvestAfterRun(DemoWebServer &web)
{
    if (!web.start())
        return harvestWindow(4);
    auto window = std::make_unique<HarvestWindow>();
    window->findChild<QLineEdit *>(QStringLiteral("txtProbe"))
        ->setText(web.url(QStringLiteral("/")));
    window->findChild<QComboBox *>(QStringLiteral("cmbProfile"))
        ->setCurrentText(crawlProfileName(CrawlProfile::Modern));
    window->findChild<QRadioButton *>(QStringLiteral("optSearchType2"))->click();
    window->findChild<QLineEdit *>(QStringLiteral("txtURL"))
        ->setText(web.url(QStringLiteral("/coastal/")));
    window->show();
    QEventLoop run;
    QObject::connect(&window->crawl(), &CrawlController::allPagesBack, &run, [&] {
        if (!window->crawl().isRunning())
            run.quit();
    });
    QTimer::singleShot(kLoadLimitMs, &run, &QEventLoop::quit);
    // The end-of-run message is a modal dialog: close it as soon as it shows.
    QTimer closer;
    QObject::connect(&closer, &QTimer::timeout, [] {
        if (auto *box = qobject_cast<QDialog *>(QApplication::activeModalWidget()))
            box->accept();
    });
    closer.start(100);
    window->findChild<QPushButton *>(QStringLiteral("cmdStart"))->click();
    run.exec();
    window->findChild<QTabWidget *>(QStringLiteral("stabEmailExt"))->setCurrentIndex(4);
    return window;
}

} // namespace

QStringList screenshotNames()
{
    return {QStringLiteral("start"),
            QStringLiteral("msgbox"),
            QStringLiteral("error"),
            QStringLiteral("inputbox"),
            QStringLiteral("inputbox-domain"),
            QStringLiteral("help"),
            QStringLiteral("delete"),
            QStringLiteral("delete-group"),
            QStringLiteral("path"),
            QStringLiteral("leads-scan"),
            QStringLiteral("verifier"),
            QStringLiteral("export"),
            QStringLiteral("harvest"),
            QStringLiteral("harvest-keywords"),
            QStringLiteral("harvest-settings"),
            QStringLiteral("harvest-filters"),
            QStringLiteral("harvest-result"),
            QStringLiteral("resume"),
            QStringLiteral("import")};
}

int takeScreenshot(const QString &name, const QString &outFile, QWidget *(*startWindow)())
{
    // Parts some windows work on; they outlive the window.
    DemoWebServer web;
    HarvestJob job;
    ConnectionProbe probe;
    ResumeController resume(probe, RealTimerSource::instance());
    const QStringList harvestTabs = {QStringLiteral("harvest"), QStringLiteral("harvest-keywords"),
                                     QStringLiteral("harvest-settings"),
                                     QStringLiteral("harvest-filters")};

    std::unique_ptr<QWidget> window;
    if (harvestTabs.contains(name)) {
        window = harvestWindow(int(harvestTabs.indexOf(name)));
    } else if (name == QLatin1String("harvest-result")) {
        window = harvestAfterRun(web);
    } else if (name == QLatin1String("resume")) {
        window = std::make_unique<ResumeDialog>(resume, ConnectionProbe::defaultAddress());
    } else if (name == QLatin1String("import")) {
        window = std::make_unique<BookmarkImportDialog>(job);
    } else if (name == QLatin1String("start")) {
        window.reset(startWindow());
    } else if (name == QLatin1String("msgbox")) {
        window = std::make_unique<MessageDialog>(
            QStringLiteral("Search completed. The lead limit has been reached."));
    } else if (name == QLatin1String("error")) {
        window = std::make_unique<MessageDialog>(
            errorReportText(QStringLiteral("cmdStart->"), QStringLiteral("Permission denied")));
    } else if (name == QLatin1String("inputbox")) {
        window = std::make_unique<InputDialog>(static_cast<qint16>(InputMode::AddURL),
                                               InputOperations());
    } else if (name == QLatin1String("inputbox-domain")) {
        window = std::make_unique<InputDialog>(static_cast<qint16>(InputMode::AddDomain),
                                               InputOperations());
    } else if (name == QLatin1String("help")) {
        window.reset(HelpWindow::showHelp(help::kMainPage, help::mainWindowAnchor(3)));
    } else if (name == QLatin1String("delete")) {
        window = std::make_unique<DeleteConfirmDialog>(
            QStringLiteral("Do you wish to permanently delete selected domains"));
    } else if (name == QLatin1String("delete-group")) {
        window = std::make_unique<MailGroupDeleteDialog>(0);
    } else if (name == QLatin1String("path")) {
        window = std::make_unique<KnowledgeBasePathDialog>();
    } else if (name == QLatin1String("leads-scan")) {
        window = std::make_unique<LeadsScanWindow>();
    } else if (name == QLatin1String("verifier")) {
        window = std::make_unique<LeadsVerifierWindow>();
    } else if (name == QLatin1String("export")) {
        window = std::make_unique<VCardExportWindow>();
    } else {
        QTextStream(stderr) << "corvane: unknown window " << name << " (one of "
                            << screenshotNames().join(QStringLiteral(", ")) << ")\n";
        return 2;
    }
    LoadWaiter loads(window.get());
    window->show();
    window->raise();
    window->activateWindow();
    loads.wait();
    const bool saved = picture(window.get()).save(outFile, "PNG");
    if (!saved)
        QTextStream(stderr) << "corvane: cannot write " << outFile << '\n';
    window.reset();
    return saved ? 0 : 1;
}

} // namespace corvane::app
