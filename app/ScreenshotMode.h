#pragma once

#include <QString>
#include <QStringList>

class QWidget;

namespace corvane::app {

// The windows `corvane --screenshot NAME OUTFILE` can picture (scripts/screenshots).
QStringList screenshotNames();

// Builds the named window, shows it, waits until its content has loaded, saves a PNG and
// returns the exit code (0 done, 1 could not save, 2 unknown name).
int takeScreenshot(const QString &name, const QString &outFile, QWidget *(*startWindow)());

} // namespace corvane::app
