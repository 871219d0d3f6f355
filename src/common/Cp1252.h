#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

#include <optional>

namespace corvane {

// Windows-1252, the fixed single-byte code page of the program's data files.
// Bytes 0x81, 0x8D, 0x8F, 0x90 and 0x9D are unassigned; they decode to the C1 control
// of the same number so that any byte string survives a decode/encode round trip.

QString fromCp1252(QByteArrayView bytes);
QChar cp1252ToChar(unsigned char byte);

// The byte for ch, or nothing when Windows-1252 has no place for it.
std::optional<unsigned char> charToCp1252(QChar ch);

// Encodes text; nothing when any character has no Windows-1252 byte.
std::optional<QByteArray> toCp1252(QStringView text);

// Encodes text, replacing what Windows-1252 lacks with '?'.
QByteArray toCp1252Lossy(QStringView text);

} // namespace corvane
