#include "verify/DnsMessage.h"

#include "common/Cp1252.h"

namespace corvane::modDNS {

namespace {

constexpr qsizetype kHeaderSize = 12;
// A name is at most 255 bytes on the wire, so no honest name needs more pointers than
// this; the limit ends pointer loops without remembering every position visited.
constexpr int kMaxPointerHops = 128;
constexpr int kMaxNameLength = 255;

quint16 be16(QByteArrayView bytes, qsizetype pos)
{
    return quint16((quint8(bytes[pos]) << 8) | quint8(bytes[pos + 1]));
}

void appendBe16(QByteArray &bytes, quint16 value)
{
    bytes.append(char(value >> 8));
    bytes.append(char(value & 0xFF));
}

bool fits(QByteArrayView bytes, qsizetype pos, qsizetype count)
{
    return pos >= 0 && count >= 0 && pos <= bytes.size() && count <= bytes.size() - pos;
}

} // namespace

QByteArray encodeLabels(const QString &domain)
{
    QByteArray encoded;
    for (const QString &piece : domain.split(QLatin1Char('.'))) {
        // Counted after encoding, so the count always matches the bytes that follow.
        const QByteArray bytes = toCp1252Lossy(piece);
        encoded.append(char(quint8(bytes.size())));
        encoded.append(bytes);
    }
    return encoded;
}

QByteArray buildMxQuery(const QString &domain)
{
    QByteArray message;
    appendBe16(message, kQueryId);
    appendBe16(message, 0x0100);
    appendBe16(message, 1);
    appendBe16(message, 0);
    appendBe16(message, 0);
    appendBe16(message, 0);
    message.append(encodeLabels(domain));
    message.append('\0');
    appendBe16(message, kTypeMx);
    appendBe16(message, kClassIn);
    return message;
}

std::optional<QString> readName(QByteArrayView message, qsizetype &pos)
{
    QByteArray name;
    qsizetype p = pos;
    qsizetype resumeAt = -1;
    int hops = 0;
    int wireLength = 1;
    bool firstLabel = true;
    for (;;) {
        if (!fits(message, p, 1))
            return std::nullopt;
        const quint8 length = quint8(message[p]);
        if (length == 0) {
            ++p;
            break;
        }
        if ((length & 0xC0) == 0xC0) {
            if (!fits(message, p, 2) || ++hops > kMaxPointerHops)
                return std::nullopt;
            if (resumeAt < 0)
                resumeAt = p + 2;
            p = ((length & 0x3F) << 8) | quint8(message[p + 1]);
            continue;
        }
        if ((length & 0xC0) != 0) // the extended and binary label types never caught on
            return std::nullopt;
        wireLength += 1 + length;
        if (wireLength > kMaxNameLength || !fits(message, p + 1, length))
            return std::nullopt;
        if (!firstLabel)
            name.append('.');
        firstLabel = false;
        name.append(message.sliced(p + 1, length).toByteArray());
        p += 1 + length;
    }
    pos = resumeAt >= 0 ? resumeAt : p;
    return fromCp1252(name);
}

MxAnswer readMxReply(QByteArrayView reply)
{
    MxAnswer answer;
    if (reply.size() < kHeaderSize)
        return answer;
    const quint16 questions = be16(reply, 4);
    const quint16 answers = be16(reply, 6);
    qsizetype pos = kHeaderSize;
    for (quint16 i = 0; i < questions; ++i) {
        if (!readName(reply, pos) || !fits(reply, pos, 4))
            return answer;
        pos += 4; // QTYPE, QCLASS
    }
    std::optional<quint16> bestPreference;
    for (quint16 i = 0; i < answers; ++i) {
        if (!readName(reply, pos) || !fits(reply, pos, 10))
            break;
        const quint16 type = be16(reply, pos);
        const quint16 dataLength = be16(reply, pos + 8);
        const qsizetype dataStart = pos + 10;
        if (type != kTypeMx || dataLength < 3 || !fits(reply, dataStart, dataLength))
            break;
        const quint16 preference = be16(reply, dataStart);
        qsizetype exchangerPos = dataStart + 2;
        const std::optional<QString> exchanger = readName(reply, exchangerPos);
        if (!exchanger || exchangerPos > dataStart + dataLength)
            break;
        if (!bestPreference || preference < *bestPreference) {
            bestPreference = preference;
            answer.best = exchanger->trimmed();
        }
        answer.records.append(MxRecord{*exchanger, preference});
        pos = dataStart + dataLength;
    }
    return answer;
}

std::optional<ReplyHeader> readReplyHeader(QByteArrayView reply)
{
    if (reply.size() < kHeaderSize)
        return std::nullopt;
    ReplyHeader header;
    header.id = be16(reply, 0);
    header.isResponse = (quint8(reply[2]) & 0x80) != 0;
    header.questionCount = be16(reply, 4);
    if (header.questionCount > 0) {
        qsizetype pos = kHeaderSize;
        header.questionName = readName(reply, pos);
    }
    return header;
}

bool replyMatches(QByteArrayView reply, const QString &domain)
{
    const std::optional<ReplyHeader> header = readReplyHeader(reply);
    if (!header || header->id != kQueryId || !header->isResponse)
        return false;
    if (header->questionCount == 0)
        return true;
    // Compare with what the server read from our query: an empty piece ends the name early.
    const QByteArray query = buildMxQuery(domain);
    qsizetype pos = kHeaderSize;
    const std::optional<QString> asked = readName(query, pos);
    return header->questionName && asked &&
           header->questionName->compare(*asked, Qt::CaseInsensitive) == 0;
}

} // namespace corvane::modDNS
