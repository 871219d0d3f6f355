#pragma once

#include <QString>

#include <optional>

namespace corvane {

// The first DNS server configured on this machine, as address text; empty when none is
// configured. Reads the resolver configuration (the first "nameserver" line).
QString systemDnsServer(const QString &resolverConfig = QStringLiteral("/etc/resolv.conf"));

// A DNS server as typed by the user: "HOST", "HOST:PORT", "[IPv6]:PORT" or a bare IPv6
// address. The port defaults to 53.
struct DnsEndpoint
{
    QString host;
    quint16 port = 53;
};

std::optional<DnsEndpoint> parseDnsEndpoint(const QString &text);

} // namespace corvane
