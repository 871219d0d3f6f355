#include "verify/DnsServer.h"

#include <QFile>
#include <QRegularExpression>

namespace corvane {

QString systemDnsServer(const QString &resolverConfig)
{
    QFile file(resolverConfig);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    static const QRegularExpression whitespace(QStringLiteral("\\s+"));
    while (!file.atEnd()) {
        const QString line = QString::fromLatin1(file.readLine()).trimmed();
        if (line.startsWith(QLatin1Char('#')) || line.startsWith(QLatin1Char(';')))
            continue;
        const QStringList words = line.split(whitespace, Qt::SkipEmptyParts);
        if (words.size() >= 2 && words[0] == QLatin1String("nameserver"))
            return words[1];
    }
    return {};
}

std::optional<DnsEndpoint> parseDnsEndpoint(const QString &text)
{
    const QString trimmed = text.trimmed();
    DnsEndpoint endpoint;
    QString portText;
    if (trimmed.startsWith(QLatin1Char('['))) {
        const qsizetype close = trimmed.indexOf(QLatin1Char(']'));
        if (close < 0)
            return std::nullopt;
        endpoint.host = trimmed.mid(1, close - 1);
        const QString rest = trimmed.mid(close + 1);
        if (!rest.isEmpty()) {
            if (!rest.startsWith(QLatin1Char(':')))
                return std::nullopt;
            portText = rest.mid(1);
            if (portText.isEmpty())
                return std::nullopt;
        }
    } else if (trimmed.count(QLatin1Char(':')) == 1) {
        const qsizetype colon = trimmed.indexOf(QLatin1Char(':'));
        endpoint.host = trimmed.left(colon);
        portText = trimmed.mid(colon + 1);
        if (portText.isEmpty())
            return std::nullopt;
    } else {
        endpoint.host = trimmed; // a name, an IPv4 address or a bare IPv6 address
    }
    if (endpoint.host.isEmpty())
        return std::nullopt;
    if (!portText.isEmpty()) {
        bool ok = false;
        const uint port = portText.toUInt(&ok);
        if (!ok || port == 0 || port > 65535)
            return std::nullopt;
        endpoint.port = quint16(port);
    }
    return endpoint;
}

} // namespace corvane
