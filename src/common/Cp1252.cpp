#include "common/Cp1252.h"

#include <array>

namespace corvane {

namespace {

// 0x80..0x9F; the rest of the code page equals Latin-1.
constexpr std::array<char16_t, 32> kHigh = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

} // namespace

QChar cp1252ToChar(unsigned char byte)
{
    if (byte >= 0x80 && byte <= 0x9F)
        return QChar(kHigh[byte - 0x80]);
    return QChar(char16_t(byte));
}

QString fromCp1252(QByteArrayView bytes)
{
    if (bytes.isEmpty())
        return QString(0, Qt::Uninitialized); // empty, not null, whatever the view was
    // Whole pages come through here: widening as Latin-1 is vectorised, and only the 32
    // bytes 0x80..0x9F, rare in most pages, then need their own characters.
    QString text = QString::fromLatin1(bytes);
    const auto *in = reinterpret_cast<const unsigned char *>(bytes.data());
    QChar *out = nullptr;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        if ((in[i] & 0xE0) != 0x80)
            continue;
        if (!out)
            out = text.data();
        out[i] = QChar(kHigh[in[i] - 0x80]);
    }
    return text;
}

std::optional<unsigned char> charToCp1252(QChar ch)
{
    const char16_t u = ch.unicode();
    if (u < 0x80 || (u >= 0xA0 && u <= 0xFF))
        return static_cast<unsigned char>(u);
    for (unsigned i = 0; i < kHigh.size(); ++i) {
        if (kHigh[i] == u)
            return static_cast<unsigned char>(0x80 + i);
    }
    return std::nullopt;
}

std::optional<QByteArray> toCp1252(QStringView text)
{
    QByteArray bytes(text.size(), Qt::Uninitialized);
    for (qsizetype i = 0; i < text.size(); ++i) {
        const auto byte = charToCp1252(text[i]);
        if (!byte)
            return std::nullopt;
        bytes[i] = static_cast<char>(*byte);
    }
    return bytes;
}

QByteArray toCp1252Lossy(QStringView text)
{
    QByteArray bytes(text.size(), Qt::Uninitialized);
    for (qsizetype i = 0; i < text.size(); ++i)
        bytes[i] = static_cast<char>(charToCp1252(text[i]).value_or('?'));
    return bytes;
}

} // namespace corvane
