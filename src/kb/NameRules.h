#pragma once

#include "common/Result.h"

#include <QString>
#include <QStringList>
#include <QStringView>

namespace corvane {

// Taxonomy terms, knowledge-base names and mail-group names become folder names on disk;
// they must stay inside their parent folder and be valid on both Windows and Linux.
// Refuses "." and "..", "/", "\", ":" and the other characters Windows forbids (*?"<>|),
// control characters, reserved device names (CON, PRN, AUX, NUL, COM1-9, LPT1-9, with or
// without an extension), a trailing dot or space, more than 200 characters, and anything
// checkStorableText refuses. what names the value in the message.
Result<void> checkFolderName(QStringView name, const QString &what);

// Every name a harvest that stores pages will put on disk, checked before the run starts so
// that no page is lost to a name the disk refuses: the knowledge-base name (with the date and
// time the store adds) and each taxonomy term below the root. The message says
// which name is at fault and why.
Result<void> checkKnowledgeBaseNames(const QString &root, const QString &baseName,
                                     const QStringList &terms);

// A file name made from an untrusted site name: forbidden and control characters become
// "_", leading dots and trailing dots and spaces go, reserved device names get a "_" in front, and
// the result is at most 200 characters; never empty ("site").
QString safeFileName(QStringView name);

// The site of an address for its shortcut: the text before the first "/" at position 8 or
// later (or the whole address), without its first seven characters, so "http://host/path"
// gives "host". Addresses not starting with "http://" follow the same rule.
QString siteOfAddress(const QString &address);

// The page title between <TITLE> and </TITLE> (letter case ignored); nothing when either
// tag is missing. Pages arrive as bytes in whatever encoding the site used: a page that is
// UTF-8 throughout is read as UTF-8, any other as Windows-1252.
std::optional<QString> pageTitle(const QByteArray &html);

} // namespace corvane
