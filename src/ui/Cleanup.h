#pragma once

#include <QStringList>

namespace corvane {

// What a harvest leaves behind and Corvane removes while it runs: the web view's cache and
// old files in Corvane's own temporary folder.
namespace cleanup {

// Empties the HTTP cache of the web views Corvane shows pages in (nothing to do when built
// without the web engine).
void DeleteInetTempFiles();

// Removes old files from Corvane's temporary folder; returns the "ClearAllPath-> " messages,
// which are in the program's log as well.
QStringList DeleteTempFiles();

// Called by the harvest's one-second timer with its run clock's minutes: at the clean-up
// minutes it purges the cache and the temporary folder. Problems are written to the program's
// log (ProgramLog), not shown, so a running harvest is never held up by a message box. Returns
// true when it ran.
bool onRunClockTick(int runMinutes);

} // namespace cleanup

} // namespace corvane
