// DNS replies as a hostile or broken server may send them.

#include "FuzzTarget.h"

#include "verify/DnsMessage.h"

using namespace corvane;

// Reads the reply every way the verifier does. The best exchanger is the first of the lowest
// preference, names stay within the length DNS allows, and no record is made of fewer bytes
// than a record takes.
CORVANE_FUZZ_TARGET(mx_reply)
{
    const modDNS::MxAnswer answer = modDNS::readMxReply(input);
    (void)modDNS::readReplyHeader(input);
    (void)modDNS::replyMatches(input, QStringLiteral("example.com"));
    if (answer.records.isEmpty()) {
        CORVANE_EXPECT(answer.best.isEmpty());
        return;
    }
    qsizetype bestIndex = 0;
    for (qsizetype i = 0; i < answer.records.size(); ++i) {
        CORVANE_EXPECT(answer.records[i].exchanger.size() <= 255);
        if (answer.records[i].preference < answer.records[bestIndex].preference)
            bestIndex = i;
    }
    // Every record needs at least 11 bytes of the reply, past a 12-byte header.
    CORVANE_EXPECT(answer.records.size() <= (input.size() - 12) / 11);
    CORVANE_EXPECT(answer.best == answer.records[bestIndex].exchanger.trimmed());
}
