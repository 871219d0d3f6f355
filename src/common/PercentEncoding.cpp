#include "common/PercentEncoding.h"

#include <QStringDecoder>

namespace corvane {

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
    QByteArray bytes;
    bytes.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            bytes += text[i];
            continue;
        }
        const int high = i + 2 < text.size() ? hexDigitValue(text[i + 1]) : -1;
        const int low = high >= 0 ? hexDigitValue(text[i + 2]) : -1;
        if (low < 0)
            return std::nullopt;
        bytes += char(high * 16 + low);
        i += 2;
    }
    QStringDecoder utf8(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    QString decoded = utf8(bytes);
    if (utf8.hasError())
        return std::nullopt;
    return decoded;
}

} // namespace corvane
