#pragma once

#include "verify/DnsMessage.h"

#include <QByteArrayView>

namespace corvane::fuzz {

// Reads one reply every way the verifier does and checks what must hold for any input:
// the best exchanger is the first of the lowest preference, and names stay within the
// length DNS allows. Returns false on a broken rule.
inline bool checkMxReply(QByteArrayView reply)
{
    const modDNS::MxAnswer answer = modDNS::readMxReply(reply);
    (void)modDNS::readReplyHeader(reply);
    (void)modDNS::replyMatches(reply, QStringLiteral("example.com"));
    if (answer.records.isEmpty())
        return answer.best.isEmpty();
    qsizetype bestIndex = 0;
    for (qsizetype i = 0; i < answer.records.size(); ++i) {
        if (answer.records[i].exchanger.size() > 255)
            return false;
        if (answer.records[i].preference < answer.records[bestIndex].preference)
            bestIndex = i;
    }
    // Every record needs at least 11 bytes of the reply, past a 12-byte header.
    if (answer.records.size() > (reply.size() - 12) / 11)
        return false;
    return answer.best == answer.records[bestIndex].exchanger.trimmed();
}

} // namespace corvane::fuzz
