#include "support/TestSupport.h"

#include "verify/DnsServer.h"
#include "verify/ElapsedClock.h"

#include <gtest/gtest.h>

using namespace corvane;

namespace {

TEST(SystemDnsServer, FirstNameserverLine)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("resolv.conf"));
    test::writeFile(path, "# nameserver 9.9.9.9\n"
                          "search example.test\n"
                          "options ndots:2\n"
                          "nameserver\t 10.1.2.3  # primary\n"
                          "nameserver 10.4.5.6\n");
    EXPECT_EQ(systemDnsServer(path), QStringLiteral("10.1.2.3"));
    test::writeFile(path, "search example.test\n");
    EXPECT_EQ(systemDnsServer(path), QString());
    EXPECT_EQ(systemDnsServer(dir.filePath(QStringLiteral("missing"))), QString());
}

TEST(DnsEndpointText, HostsPortsAndMistakes)
{
    const auto check = [](const char *text, const char *host, int port) {
        const std::optional<DnsEndpoint> endpoint = parseDnsEndpoint(QString::fromLatin1(text));
        ASSERT_TRUE(endpoint) << text;
        EXPECT_EQ(endpoint->host, QString::fromLatin1(host)) << text;
        EXPECT_EQ(endpoint->port, port) << text;
    };
    check("127.0.0.1", "127.0.0.1", 53);
    check(" 127.0.0.1:5353 ", "127.0.0.1", 5353);
    check("dns.example.test:53", "dns.example.test", 53);
    check("::1", "::1", 53);
    check("[::1]:5300", "::1", 5300);
    check("[fe80::1]", "fe80::1", 53);
    for (const char *bad : {"", "   ", "host:", ":53", "host:0", "host:65536", "host:5x", "[::1",
                            "[::1]x", "[::1]:", "[]:53"})
        EXPECT_FALSE(parseDnsEndpoint(QString::fromLatin1(bad))) << bad;
}

TEST(ElapsedClock, MinutesAndHoursRollOver)
{
    ElapsedClock clock;
    for (int i = 0; i < 59; ++i)
        clock.tick();
    EXPECT_EQ(clock.seconds(), 59);
    EXPECT_EQ(clock.minutes(), 0);
    clock.tick();
    EXPECT_EQ(clock.seconds(), 0);
    EXPECT_EQ(clock.minutes(), 1);
    EXPECT_EQ(clock.hours(), 0);
    for (int i = 60; i < 3600; ++i)
        clock.tick();
    EXPECT_EQ(clock.hours(), 1);
    EXPECT_EQ(clock.minutes(), 0);
    EXPECT_EQ(clock.seconds(), 0);
    for (int i = 0; i < 3661; ++i)
        clock.tick();
    EXPECT_EQ(clock.hours(), 2);
    EXPECT_EQ(clock.minutes(), 1);
    EXPECT_EQ(clock.seconds(), 1);
}

} // namespace
