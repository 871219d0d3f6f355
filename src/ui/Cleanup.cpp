#include "ui/Cleanup.h"

#include "engine/RunLimits.h"
#include "engine/TempCleaner.h"

#ifdef CORVANE_HAVE_WEBENGINE
#include <QWebEngineProfile>
#endif

namespace corvane::cleanup {

void DeleteInetTempFiles()
{
#ifdef CORVANE_HAVE_WEBENGINE
    QWebEngineProfile::defaultProfile()->clearHttpCache();
#endif
}

QStringList DeleteTempFiles()
{
    return TempCleaner().DeleteTempFiles();
}

bool onRunClockTick(int runMinutes)
{
    if (!isCleanupMinute(runMinutes))
        return false;
    DeleteInetTempFiles();
    (void)DeleteTempFiles(); // problems go to the program's log, never to a dialog
    return true;
}

} // namespace corvane::cleanup
