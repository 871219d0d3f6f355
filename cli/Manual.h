#pragma once

#include <QString>

namespace corvane::cli {

// The program's own texts, made from the registered commands and their option tables, so
// that --help, the manual page and the shell completion never disagree with the parsers.

// What `corvane-cli --help` prints: the global options, the commands, the conventions.
QString programHelp();

// The manual page corvane-cli(1), in roff.
QString manualPage(const QString &version);

// A bash completion script for corvane-cli: commands, subcommands, every option, and the
// choices of options that take one of a few words.
QString bashCompletion();

} // namespace corvane::cli
