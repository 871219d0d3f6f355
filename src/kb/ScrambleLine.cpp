#include "kb/ScrambleLine.h"

#include "common/Cp1252.h"

namespace corvane {

namespace {

constexpr int kMirror = 248;

Error invalidArgument()
{
    return fail(QStringLiteral("Invalid procedure call or argument"));
}

} // namespace

Result<QByteArray> ScrambleLine(QByteArrayView line)
{
    QByteArray out(line.size(), Qt::Uninitialized);
    for (qsizetype i = 0; i < line.size(); ++i) {
        const auto code = static_cast<unsigned char>(line[i]);
        if (code > kMirror)
            return invalidArgument();
        out[i] = static_cast<char>(kMirror - code);
    }
    return out;
}

Result<QString> ScrambleLine(QStringView line)
{
    const std::optional<QByteArray> bytes = toCp1252(line);
    if (!bytes)
        return invalidArgument();
    Result<QByteArray> scrambled = ScrambleLine(QByteArrayView(*bytes));
    if (!scrambled)
        return scrambled.error();
    return fromCp1252(*scrambled);
}

Result<QByteArray> encodeRecord(QStringView recordText)
{
    const std::optional<QByteArray> bytes = toCp1252(recordText);
    if (!bytes)
        return invalidArgument();
    Result<QByteArray> scrambled = ScrambleLine(QByteArrayView(*bytes));
    if (scrambled && (scrambled->contains('\r') || scrambled->contains('\n')))
        return invalidArgument();
    return scrambled;
}

Result<QString> decodeRecord(QByteArrayView storedLine)
{
    Result<QByteArray> plain = ScrambleLine(storedLine);
    if (!plain)
        return plain.error();
    return fromCp1252(*plain);
}

Result<void> checkStorableText(QStringView text, const QString &what)
{
    for (const QChar ch : text) {
        const std::optional<unsigned char> code = charToCp1252(ch);
        const bool storable = code && *code >= 0x20 && *code <= kMirror &&
                              *code != kMirror - '\r' && *code != kMirror - '\n';
        if (storable)
            continue;
        const QString shown = ch.isPrint() ? QStringLiteral("\"%1\" ").arg(ch) : QString();
        return fail(QStringLiteral("%1 cannot contain the character %2(U+%3); please leave it out")
                        .arg(what, shown)
                        .arg(ch.unicode(), 4, 16, QLatin1Char('0')));
    }
    return {};
}

} // namespace corvane
