#include "ui/Cleanup.h"

#include "engine/RunLimits.h"
#include "engine/TempCleaner.h"

#include <QLoggingCategory>

#ifdef CORVANE_HAVE_WEBENGINE
#include <QWebEngineProfile>
#endif

namespace corvane::cleanup {

namespace {
Q_LOGGING_CATEGORY(lcCleanup, "corvane.cleanup")
}

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
    for (const QString &message : DeleteTempFiles())
        qCWarning(lcCleanup).noquote() << message;
    return true;
}

} // namespace corvane::cleanup
