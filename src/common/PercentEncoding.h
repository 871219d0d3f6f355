#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

namespace corvane {

// The value of a hexadecimal digit, either case; -1 for any other character.
int hexDigitValue(char c);

// Text whose %XX escapes are read back as the UTF-8 bytes they stand for. None when a "%"
// starts no escape or the bytes are no UTF-8: a lenient reading would make up characters the
// text never held.
std::optional<QString> strictlyPercentDecoded(QByteArrayView text);

// An address as pages write it, from a URI: the escaped UTF-8 of letters beyond ASCII is read
// back, while ASCII escapes (%20, %25, %2F) and a "%" that starts none stay, as decoding them
// could change what the address names. All of it stays when the escapes are no UTF-8.
QString lettersUnescaped(QByteArrayView uri);

} // namespace corvane
