// SPDX-License-Identifier: MIT
// Addresses, as the network has them: LAB_FAMILIES and LAB_ULA say which families and kinds there are.
#include "LabFixture.h"

#include <QtTest>

class FamiliesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void ipv4ListerGetsTheIpv4Address();
    void ipv6ListerGetsTheIpv6AddressWithItsScope();
    void listerOfBothGetsWhatThereIs();

private:
    bool has(char family) const { return qEnvironmentVariable("LAB_FAMILIES").contains(family); }
    bool isExpected(const QHostAddress& address) const;

    const QHostAddress m_ipv4{QStringLiteral("10.99.1.2")};
    QHostAddress m_ipv6{QStringLiteral("fe80::99:ff:fe00:201")};
    std::unique_ptr<Peer> m_hostb;
};

void FamiliesTest::initTestCase()
{
    QVERIFY2(qEnvironmentVariable("LAB_HOST") == "hosta", "run this test in a lab of two hosts");
    // Where there is a routable address, the daemon publishes no link-local one.
    if (qEnvironmentVariableIntValue("LAB_ULA"))
        m_ipv6 = QHostAddress("fd99:1::2");
    m_hostb = std::make_unique<Peer>("hostb");
    m_hostb->advertise("Kitchen");
    EVENTUALLY(m_hostb->registeredHost("Kitchen") == "hostb.local.");
}

/** QHostAddress counts addresses as equal whatever their scopes, so these are compared by themselves. */
bool FamiliesTest::isExpected(const QHostAddress& address) const
{
    if (address.protocol() == QAbstractSocket::IPv4Protocol)
        return has('4') && address == m_ipv4 && address.scopeId().isEmpty();
    return has('6') && address == m_ipv6 && address.scopeId() == "11";
}

void FamiliesTest::ipv4ListerGetsTheIpv4Address()
{
    if (!has('4'))
        QSKIP("no IPv4 in this network", ); // a variadic macro wants at least one argument
    Watch watch(MDnsProtocolType::IPv4);
    EVENTUALLY(watch.lists("Kitchen"));
    const QSet<QHostAddress> addresses = watch.client("Kitchen").addresses;
    QCOMPARE(addresses, QSet<QHostAddress>{m_ipv4});
    QVERIFY(isExpected(*addresses.begin()));
}

void FamiliesTest::ipv6ListerGetsTheIpv6AddressWithItsScope()
{
    if (!has('6'))
        QSKIP("no IPv6 in this network", ); // a variadic macro wants at least one argument
    Watch watch(MDnsProtocolType::IPv6);
    EVENTUALLY(watch.lists("Kitchen"));
    const QSet<QHostAddress> addresses = watch.client("Kitchen").addresses;
    QCOMPARE(addresses, QSet<QHostAddress>{m_ipv6});
    QCOMPARE(addresses.begin()->scopeId(), QString("11"));
}

void FamiliesTest::listerOfBothGetsWhatThereIs()
{
    Watch watch(static_cast<MDnsProtocolType>(-1));
    EVENTUALLY(watch.lists("Kitchen"));
    const QSet<QHostAddress> addresses = watch.client("Kitchen").addresses;
    QCOMPARE(addresses.size(), 1); // the first that arrives
    QVERIFY2(isExpected(*addresses.begin()), qPrintable(addresses.begin()->toString()));
}

QTEST_GUILESS_MAIN(FamiliesTest)
#include "FamiliesTest.moc"
