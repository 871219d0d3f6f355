#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

namespace corvane {

// Every line of a .qdx file is stored as its scrambled image: each Windows-1252 code c
// becomes 248 - c. The routine is its own inverse, so the same call scrambles and
// unscrambles. Codes 249 to 255 have no image and fail with "Invalid procedure call or
// argument", as do characters Windows-1252 cannot hold.
Result<QByteArray> ScrambleLine(QByteArrayView line);
Result<QString> ScrambleLine(QStringView line);

// One record as stored on disk (without its CR LF): the text encoded and scrambled.
// Fails like ScrambleLine, and also for text that would split into two lines on reading.
Result<QByteArray> encodeRecord(QStringView recordText);

// The record text of a stored line. Bytes that have no plain image (249 to 255 can only
// come from a damaged file) make the whole line unreadable.
Result<QString> decodeRecord(QByteArrayView storedLine);

// Whether text typed by the user can go into a .qdx record and come back unchanged:
// every character must have a Windows-1252 code, and codes 235 and 238 (which scramble
// to CR and LF) and 249 to 255 (which have no scrambled image) are refused.
// what names the value for the message, e.g. "Taxonomy term".
Result<void> checkStorableText(QStringView text, const QString &what);

} // namespace corvane
