#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <optional>

namespace corvane {

// The MX question and answer as they travel over UDP: the routines of `modDNS`.
namespace modDNS {

// Every query carries the same ID; replies are told apart by socket and question instead.
inline constexpr quint16 kQueryId = 4575;
inline constexpr quint16 kTypeMx = 15;
inline constexpr quint16 kClassIn = 1;
inline constexpr quint16 kDefaultPort = 53;

// The domain as length-prefixed labels, one per "."-separated piece, without the closing 0.
// Pieces are taken as they are: an empty piece gives a zero-length label, a piece longer
// than 255 characters a wrapped count byte, as the server will see them.
QByteArray encodeLabels(const QString &domain);

// The whole query message for the domain's MX records (recursion desired).
QByteArray buildMxQuery(const QString &domain);

struct MxRecord
{
    QString exchanger;
    quint16 preference = 0;
};

struct MxAnswer
{
    // Lowest preference, the first of equals; empty when there is none.
    QString best;
    // Every exchanger in answer order, for the exchanger list.
    QList<MxRecord> records;

    bool hasExchanger() const { return !records.isEmpty(); }
};

// Walks the reply's answer section. The walk stops at the first answer that is not an MX
// record (a CNAME ahead of the MX records means no exchanger) or at the first malformed
// byte; whatever was read up to there stands. Never reads outside the reply.
MxAnswer readMxReply(QByteArrayView reply);

// The reply's header fields that matter for matching it to a query.
struct ReplyHeader
{
    quint16 id = 0;
    bool isResponse = false;
    quint16 questionCount = 0;
    // The first question's name, when there is one and it decodes.
    std::optional<QString> questionName;
};

std::optional<ReplyHeader> readReplyHeader(QByteArrayView reply);

// Decodes the (possibly compressed) name at pos. On success pos moves past the name as it
// is written at pos (a pointer counts two bytes). Nothing on truncation, pointer loops,
// reserved label types or names longer than DNS allows.
std::optional<QString> readName(QByteArrayView message, qsizetype &pos);

// True when the reply answers a query for domain: a response with our ID whose question is
// the domain (letter case aside), or one that carries no question at all.
bool replyMatches(QByteArrayView reply, const QString &domain);

} // namespace modDNS
} // namespace corvane
