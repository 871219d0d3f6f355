#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

namespace corvane {

// Addresses written for people rather than robots, read back as addresses (the modern
// profile's lead extraction runs over the result):
//   - "at" or "dot" (letter case ignored), "@" or "." between square brackets, parentheses
//     or braces: "jane [at] example [dot] com", "jane(at)example.com", "jane{@}example.com";
//     up to three blanks inside the brackets and on either side of them go with them;
//   - numeric character references to "@", "." or any other address character ("&#64;",
//     "&#x40;", "&#46;", "&#106;") and the named ones "&commat;", "&period;", "&lowbar;";
//   - percent-encoding of "@" and address characters inside a "mailto:" link
//     ("mailto:%6A@example.com", "mailto:jane%40example.com").
// A bare " at " or " dot " is never read: ordinary prose is full of both.
//
// Returns the text with each such form replaced by the one character it stands for, or
// nothing when the text holds none (no copy is made then). Linear in the size of the text.
std::optional<QByteArray> readWrittenAddresses(QByteArrayView text);

} // namespace corvane
