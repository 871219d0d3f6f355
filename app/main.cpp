// corvane: the desktop program. Opens on the knowledge-base viewer.
//
//   corvane [--home DIR] [--screenshot NAME OUTFILE]

#include "ScreenshotMode.h"
#include "StartWindow.h"

#include "common/DataFolder.h"
#include "ui/HarvestWindow.h"
#include "ui/LeadsScanWindow.h"
#include "ui/LeadsVerifierWindow.h"
#include "ui/VCardExportWindow.h"
#include "viewer/PageView.h"
#include "viewer/ViewerWindow.h"

#include <QApplication>
#include <QTextStream>
#include <QWidget>

using namespace corvane;

namespace {

int usage(const QString &problem)
{
    QTextStream(stderr) << "corvane: " << problem << '\n'
                        << "usage: corvane [--home DIR] [--screenshot NAME OUTFILE]\n";
    return 2;
}

QWidget *createViewer()
{
    auto *viewer = new ViewerWindow;
    viewer->setWindowFactory(ViewerWindow::Tool::ImportLeads,
                             [](QWidget *) { return new VCardExportWindow; });
    viewer->setWindowFactory(ViewerWindow::Tool::LeadsScan,
                             [](QWidget *) { return new LeadsScanWindow; });
    viewer->setWindowFactory(ViewerWindow::Tool::VerifyEmails,
                             [](QWidget *) { return new LeadsVerifierWindow; });
    viewer->setWindowFactory(ViewerWindow::Tool::Harvest, [](QWidget *) {
        auto *harvest = new HarvestWindow;
        harvest->setAttribute(Qt::WA_DeleteOnClose);
        return harvest;
    });
    return viewer;
}

} // namespace

int main(int argc, char *argv[])
{
    // The web views of the viewer and help window share one GL context set-up.
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    PageView::restrictEngine();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Corvane"));
    QApplication::setOrganizationName(QStringLiteral("Corvane"));
    QApplication::setDesktopFileName(QStringLiteral("corvane"));

    QString screenshotName;
    QString screenshotFile;
    QStringList args = app.arguments().mid(1);
    while (!args.isEmpty()) {
        const QString option = args.takeFirst();
        if (option == QLatin1String("--home")) {
            if (args.isEmpty())
                return usage(QStringLiteral("--home needs a folder"));
            DataFolder::setRoot(args.takeFirst());
        } else if (option.startsWith(QLatin1String("--home="))) {
            DataFolder::setRoot(option.mid(7));
        } else if (option == QLatin1String("--screenshot")) {
            if (args.size() < 2)
                return usage(QStringLiteral("--screenshot needs a window name and a file"));
            screenshotName = args.takeFirst();
            screenshotFile = args.takeFirst();
        } else if (option == QLatin1String("--help")) {
            QTextStream(stdout) << "usage: corvane [--home DIR] [--screenshot NAME OUTFILE]\n\n"
                                   "  --home DIR                 data folder (default: "
                                   "$CORVANE_HOME, else the platform's app-data folder)\n"
                                   "  --screenshot NAME OUTFILE  save a picture of a window as "
                                   "PNG and quit; NAME is one of "
                                << app::screenshotNames().join(QStringLiteral(", ")) << '\n';
            return 0;
        } else {
            return usage(QStringLiteral("unknown option %1").arg(option));
        }
    }

    if (!screenshotName.isEmpty())
        return app::takeScreenshot(screenshotName, screenshotFile, &createViewer);

    QWidget *start = createViewer();
    start->setAttribute(Qt::WA_DeleteOnClose);
    start->show();
    return app.exec();
}
