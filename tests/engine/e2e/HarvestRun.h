#pragma once

#include "support/TestSupport.h"

#include <QMap>
#include <QStringList>

namespace corvane::test {

// One run of `corvane-cli harvest`, its lead file read back.
struct CliRun
{
    int exitCode = -1;
    QString out;
    QString err;
    QStringList leads; // sorted

    // Only leads go to standard output (here none: they go to the lead file); the end-of-run
    // message goes to standard error with the progress.
    bool endedWith(const QString &message) const
    {
        return out.isEmpty() && err.contains(message + QLatin1Char('\n'));
    }
};

// Whether this process's event loop runs while the command does (for servers of the test).
enum class ServeEvents { No, Yes };

// Runs the harvest command in the data folder home with args, leads written to
// home/leads.csv.
CliRun harvest(const TempDataFolder &home, QStringList args, ServeEvents serve = ServeEvents::No);

// The page files stored under each taxonomy term of the only knowledge base below root
// (the data folder's "KnowledgeBases" when empty).
QMap<QString, int> storedPages(const TempDataFolder &home, const QString &root = {});

} // namespace corvane::test
