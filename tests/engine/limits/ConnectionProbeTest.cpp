#include "engine/ConnectionProbe.h"

#include "common/AppSettings.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTcpServer>

using namespace corvane;

namespace {

QUrl loopbackAddress(quint16 port)
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(port));
}

// Runs one check and waits for its answer on the event loop.
std::optional<bool> checkOnce(ConnectionCheck &probe)
{
    QSignalSpy spy(&probe, &ConnectionCheck::checked);
    probe.check();
    if (spy.isEmpty() && !spy.wait(15000))
        return std::nullopt;
    return spy.takeFirst().at(0).toBool();
}

} // namespace

TEST(ConnectionProbe, FindsALoopbackServerThatIsUpAndMissesItWhenDown)
{
    QTcpServer server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
    const quint16 port = server.serverPort();
    ConnectionProbe probe(loopbackAddress(port));

    EXPECT_EQ(checkOnce(probe), std::optional<bool>(true));
    EXPECT_FALSE(probe.isChecking());

    server.close();
    EXPECT_EQ(checkOnce(probe), std::optional<bool>(false));

    // And back again: nothing of the failed check is left behind.
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost, port));
    EXPECT_EQ(checkOnce(probe), std::optional<bool>(true));
}

TEST(ConnectionProbe, RequestsDuringACheckShareItsAnswer)
{
    QTcpServer server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
    ConnectionProbe probe(loopbackAddress(server.serverPort()));
    QList<bool> answers;
    QSignalSpy spy(&probe, &ConnectionCheck::checked);
    probe.check([&](bool connected) { answers << connected; });
    probe.check([&](bool connected) { answers << connected; });
    ASSERT_TRUE(spy.wait(15000));
    EXPECT_EQ(spy.size(), 1);
    EXPECT_EQ(answers, (QList<bool>{true, true}));
}

TEST(ConnectionProbe, GivesUpAtItsTimeOutAndIgnoresALateConnection)
{
    QTcpServer server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
    VirtualTimerSource timers;
    ConnectionProbe probe(loopbackAddress(server.serverPort()), timers);
    probe.setTimeoutMs(2000);
    QSignalSpy spy(&probe, &ConnectionCheck::checked);
    probe.check();
    // The connection cannot complete before the event loop runs, so the deadline comes first.
    timers.advance(1999);
    EXPECT_TRUE(spy.isEmpty());
    timers.advance(1);
    ASSERT_EQ(spy.size(), 1);
    EXPECT_FALSE(spy.at(0).at(0).toBool());
    EXPECT_FALSE(probe.isChecking());
    QCoreApplication::processEvents();
    EXPECT_EQ(spy.size(), 1);
}

TEST(ConnectionProbe, AnAddressWithoutHostIsNotConnected)
{
    ConnectionProbe probe(QUrl(QStringLiteral("not a url")));
    EXPECT_EQ(checkOnce(probe), std::optional<bool>(false));
}

TEST(ConnectionProbe, TheSettingsMayNameAnotherAddress)
{
    test::TempDataFolder home;
    EXPECT_EQ(ConnectionProbe::configuredAddress(), ConnectionProbe::defaultAddress());
    EXPECT_FALSE(ConnectionProbe::defaultAddress().host().isEmpty());
    openSettings()->setValue(QStringLiteral("Connection/ProbeAddress"),
                             QStringLiteral(" 127.0.0.1:8081 "));
    EXPECT_EQ(ConnectionProbe::configuredAddress(), QUrl(QStringLiteral("http://127.0.0.1:8081")));
    openSettings()->setValue(QStringLiteral("Connection/ProbeAddress"), QStringLiteral("::::"));
    EXPECT_EQ(ConnectionProbe::configuredAddress(), ConnectionProbe::defaultAddress());
}
