#pragma once

#include <QString>
#include <QStringList>

namespace corvane {

// The program's log: corvane.log in the data folder, for problems that must not interrupt
// the user (a harvest running, say) but should not vanish either. One line per entry, UTF-8,
// with the date and time in front. The file stays small: once it passes 1 MiB it becomes
// corvane.log.1 (replacing the one before) and a new log begins.
namespace ProgramLog {

QString path();

// Appends each line; nothing happens for an empty list. A log that cannot be written is
// given up silently: the log is the last place a problem can be reported.
void write(const QStringList &lines);

} // namespace ProgramLog
} // namespace corvane
