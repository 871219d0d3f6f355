#include "common/PercentEncoding.h"

#include <QStringDecoder>

namespace corvane {

namespace {

enum class Escapes { All, BeyondAscii };

// The text with the escapes chosen read back as UTF-8. None when the bytes are no UTF-8 or,
// reading all of them, when a "%" starts no escape; the other escapes stay as they are.
std::optional<QString> percentDecoded(QByteArrayView text, Escapes which)
{
    QByteArray bytes;
    bytes.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const int high = text[i] == '%' && i + 2 < text.size() ? hexDigitValue(text[i + 1]) : -1;
        const int low = high >= 0 ? hexDigitValue(text[i + 2]) : -1;
        if (low >= 0 && (which == Escapes::All || high >= 8)) {
            bytes += char(high * 16 + low);
            i += 2;
            continue;
        }
        if (text[i] == '%' && which == Escapes::All)
            return std::nullopt;
        bytes += text[i];
    }
    QStringDecoder utf8(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    QString decoded = utf8(bytes);
    if (utf8.hasError())
        return std::nullopt;
    return decoded;
}

} // namespace

int hexDigitValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

std::optional<QString> strictlyPercentDecoded(QByteArrayView text)
{
    return percentDecoded(text, Escapes::All);
}

QString lettersUnescaped(QByteArrayView uri)
{
    return percentDecoded(uri, Escapes::BeyondAscii).value_or(QString::fromUtf8(uri));
}

} // namespace corvane
