#pragma once

#include "common/Result.h"

#include <QByteArrayView>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>

namespace corvane {

// A name that goes into a catalogue record (keyword, taxonomy term, mail-group name,
// knowledge-base name) must come back from it unchanged: checkStorableText's characters, and
// no "@", which separates the fields of every catalogue. what names the value in the message.
Result<void> checkRecordText(QStringView text, const QString &what);

// Taxonomy terms, knowledge-base names and mail-group names become folder names on disk;
// they must stay inside their parent folder and be valid on both Windows and Linux.
// Refuses "." and "..", "/", "\", ":" and the other characters Windows forbids (*?"<>|),
// control characters, reserved device names (CON, PRN, AUX, NUL, COM1-9, LPT1-9, with or
// without an extension), a trailing dot or space, more than 200 characters or more than 255
// bytes in the file system's encoding, and anything checkRecordText refuses.
Result<void> checkFolderName(QStringView name, const QString &what);

// Every name a harvest that stores pages will put on disk, checked before the run starts so
// that no page is lost to a name the disk or the catalogues refuse: the knowledge-base root
// (it is recorded in the catalogue), the knowledge-base name with the date and time the store
// adds, and each taxonomy term. The message says which name is at fault and why.
Result<void> checkKnowledgeBaseNames(const QString &root, const QString &baseName,
                                     const QStringList &terms);

// The "-mm-dd-yy-HHMM" the store adds to a knowledge-base name.
inline constexpr qsizetype kKnowledgeBaseSuffixLength = 14;

// A file name made from an untrusted site name: forbidden and control characters become
// "_", leading dots and trailing dots and spaces go, reserved device names get a "_" in
// front, and the result is at most 200 characters and leaves room for suffixBytes more
// bytes within the 255 a file name may take; never empty ("site").
QString safeFileName(QStringView name, qsizetype suffixBytes = 0);

// The site of an address for its shortcut. An "https://" address gives its host part (the
// text up to the next "/"). Any other follows the classic rule: the text before the first "/"
// at position 8 or later (or the whole address), without its first seven characters, so
// "http://host/path" gives "host".
QString siteOfAddress(const QString &address);

// The page title between <TITLE> and </TITLE> (letter case ignored); nothing when either
// tag is missing. Pages arrive as bytes in whatever encoding the site used: a page that is
// UTF-8 throughout is read as UTF-8, any other as Windows-1252.
std::optional<QString> pageTitle(const QByteArray &html);

// part of page as text by that rule: UTF-8 (a byte-order mark at its start dropped) when the
// whole page is UTF-8, else Windows-1252.
QString decodePageBytes(QByteArrayView page, QByteArrayView part);

} // namespace corvane
