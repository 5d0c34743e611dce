// SPDX-License-Identifier: MIT
//
// The whole library on a network in memory: what a lister and an advertiser make of what the hosts do.
#include <MDnsAdvertiser.h>
#include <MDnsLister.h>
#include <MDnsTestNetwork.h>

#include <QtTest>

#include <memory>
#include <optional>

namespace {

const QString Type = QStringLiteral("_demo._tcp");

/// A lister, and what it has said.
struct Watch
{
    explicit Watch(const QString& type = Type, MDnsProtocolType protocol = MDnsProtocolType::IPv4)
        : lister(MDnsListerFactory::create(nullptr, type, protocol))
        , changes(lister.get(), &MDnsLister::clientChanged)
        , removals(lister.get(), &MDnsLister::clientRemoved)
    {
    }
    /// Those whose TXT record has been reported, sorted.
    QStringList names()
    {
        QStringList names;
        for (const QString& name : lister->getClients()) {
            if (changes.contains(QVariantList{name}))
                names.append(name);
        }
        names.sort();
        return names;
    }
    MDnsVeskClient client(const QString& name) { return lister->getClient(name); }
    QString txt(const QString& name, const QString& key) { return client(name).txt.value(key); }

    std::unique_ptr<MDnsLister> lister;
    QSignalSpy changes;
    QSignalSpy removals;
};

std::unique_ptr<MDnsAdvertiser> advertise(const QString& name, int port = 8080)
{
    return std::unique_ptr<MDnsAdvertiser>(MDnsAdvertiserFactory::create(nullptr, name, Type, port));
}

} // namespace

class LibraryOnMemoryTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_network.emplace(); }
    void cleanup() { m_network.reset(); }

    void serviceOfAnotherHostIsListedWithItsRecord();
    void addressOfTheWantedFamilyIsListed();
    void ownServiceIsListedAndItsHostReported();
    void editedTxtEntryArrives();
    void thirtyQuickEditsArriveToTheLast();
    void txtRecordOfAnotherHostIsFollowed();
    void portAndAddressAreThoseOfTheLastPublication();
    void withdrawnServiceIsRemoved();
    void servicesOfOtherTypesAreNotListed();
    void takenNameIsRenamedAndBothAreListed();
    void nameThatAnotherHostTakesLaterIsGivenUp();
    void nameOfAnotherAdvertiserIsRenamed();
    void twoListersSeeTheSame();
    void withoutNetworkOtherHostsAreGoneUntilItIsBack();
    void nameTakenWithoutNetworkIsGivenUpWhenItIsBack();
    void withoutResponderNothingChangesUntilItIsBack();
    void operationsStartedWithoutResponderBeginWithIt();
    void whatIsRefusedStaysEmpty();
    void testEditsInsideASlot();
    void twoHundredServicesAreListed();

private:
    void publishKitchen(const QByteArray& oven = "off")
    {
        m_network->publish({"Kitchen", Type, 8080, {{"oven", oven}}});
    }

    std::optional<MDnsTestNetwork> m_network;
};

void LibraryOnMemoryTest::serviceOfAnotherHostIsListedWithItsRecord()
{
    MDnsTestService kitchen{"Kitchen \xE2\x82\xAC.1", Type, 8080, {{"oven", "off"}, {"bare", {}}}};
    kitchen.hostName = "hostb.local.";
    kitchen.addresses = {QHostAddress("192.0.2.7")};
    m_network->publish(kitchen);
    Watch watch;
    QTRY_COMPARE(watch.names(), QStringList{kitchen.name});
    const MDnsVeskClient client = watch.client(kitchen.name);
    QCOMPARE(client.serviceName, kitchen.name);
    QCOMPARE(client.hostName, kitchen.hostName);
    QCOMPARE(client.port, 8080);
    QCOMPARE(client.addresses, QSet<QHostAddress>{QHostAddress("192.0.2.7")});
    const QHash<QString, QString> txt{{"oven", "off"}, {"bare", ""}};
    QCOMPARE(client.txt, txt);
    QCOMPARE(watch.lister->getClients().size(), 1);
}

void LibraryOnMemoryTest::addressOfTheWantedFamilyIsListed()
{
    MDnsTestService kitchen{"Kitchen", Type, 8080};
    kitchen.addresses = {QHostAddress("192.0.2.7"), QHostAddress("fe80::7%eth0")};
    m_network->publish(kitchen);
    Watch watch(Type, MDnsProtocolType::IPv6);
    QTRY_COMPARE(watch.names(), QStringList{"Kitchen"});
    const QSet<QHostAddress> addresses = watch.client("Kitchen").addresses;
    QCOMPARE(addresses.size(), 1);
    QCOMPARE(addresses.begin()->scopeId(), QString("1"));
    QHostAddress address = *addresses.begin();
    address.setScopeId({});
    QCOMPARE(address, QHostAddress("fe80::7"));
}

void LibraryOnMemoryTest::ownServiceIsListedAndItsHostReported()
{
    Watch watch;
    const std::unique_ptr<MDnsAdvertiser> advertiser(
        MDnsAdvertiserFactory::createInternal(nullptr, "Hall", Type, 81));
    QSignalSpy hosts(advertiser.get(), &MDnsAdvertiser::nameRegistered);
    advertiser->start();
    QTRY_COMPARE(watch.names(), QStringList{"Hall"});
    QCOMPARE(watch.client("Hall").port, 81);
    QCOMPARE(watch.client("Hall").addresses, QSet<QHostAddress>{QHostAddress(QHostAddress::LocalHost)});
    QTRY_COMPARE(hosts.size(), 1);
    QCOMPARE(hosts[0][0].toString(), QString("testhost.local."));
    QCOMPARE(watch.client("Hall").hostName, QString("testhost.local."));
}

void LibraryOnMemoryTest::editedTxtEntryArrives()
{
    Watch watch;
    const auto advertiser = advertise("Hall");
    QTRY_COMPARE(watch.names(), QStringList{"Hall"});
    advertiser->updateTxt("door", "open");
    QTRY_COMPARE(watch.txt("Hall", "door"), QString("open"));
    advertiser->updateTxt("door", "shut");
    QTRY_COMPARE(watch.txt("Hall", "door"), QString("shut"));
}

void LibraryOnMemoryTest::thirtyQuickEditsArriveToTheLast()
{
    Watch watch;
    const auto advertiser = advertise("Hall");
    for (int i = 1; i <= 30; ++i)
        advertiser->updateTxt("edit", QString::number(i));
    QTRY_COMPARE(watch.txt("Hall", "edit"), QString("30"));
}

void LibraryOnMemoryTest::txtRecordOfAnotherHostIsFollowed()
{
    publishKitchen("off");
    Watch watch;
    QTRY_COMPARE(watch.txt("Kitchen", "oven"), QString("off"));
    for (const QByteArray oven : {"hot", "off", "hot"}) {
        publishKitchen(oven);
        QTRY_COMPARE(watch.txt("Kitchen", "oven"), QString(oven));
    }
    QCOMPARE(watch.changes.size(), 4);
    QCOMPARE(watch.removals.size(), 0);
}

/// The lister keeps what it has resolved as long as the instance is there.
void LibraryOnMemoryTest::portAndAddressAreThoseOfTheLastPublication()
{
    MDnsTestService kitchen{"Kitchen", Type, 8080};
    kitchen.addresses = {QHostAddress("192.0.2.7")};
    m_network->publish(kitchen);
    Watch watch;
    QTRY_COMPARE(watch.names(), QStringList{"Kitchen"});
    kitchen.port = 8081;
    kitchen.addresses = {QHostAddress("192.0.2.8")};
    m_network->withdraw(kitchen);
    QTRY_COMPARE(watch.removals.size(), 1);
    m_network->publish(kitchen);
    QTRY_COMPARE(watch.client("Kitchen").port, 8081);
    QCOMPARE(watch.client("Kitchen").addresses, QSet<QHostAddress>{QHostAddress("192.0.2.8")});
}

void LibraryOnMemoryTest::withdrawnServiceIsRemoved()
{
    publishKitchen();
    auto advertiser = advertise("Hall");
    Watch watch;
    const QStringList both{"Hall", "Kitchen"};
    QTRY_COMPARE(watch.names(), both);
    m_network->withdraw("Kitchen", Type);
    QTRY_COMPARE(watch.removals.size(), 1);
    QCOMPARE(watch.removals[0][0].toString(), QString("Kitchen"));
    advertiser.reset();
    QTRY_COMPARE(watch.removals.size(), 2);
    QVERIFY(watch.lister->getClients().isEmpty());
}

void LibraryOnMemoryTest::servicesOfOtherTypesAreNotListed()
{
    m_network->publish({"Cellar", "_other._tcp", 8080});
    publishKitchen();
    Watch watch;
    Watch others("_other._tcp");
    QTRY_COMPARE(watch.names(), QStringList{"Kitchen"});
    QTRY_COMPARE(others.names(), QStringList{"Cellar"});
    QCOMPARE(watch.lister->getClients().size(), 1);
}

void LibraryOnMemoryTest::takenNameIsRenamedAndBothAreListed()
{
    publishKitchen();
    const auto advertiser = advertise("Kitchen", 81);
    Watch watch;
    const QStringList both{"Kitchen", "Kitchen (2)"};
    QTRY_COMPARE(watch.names(), both);
    QCOMPARE(watch.client("Kitchen").port, 8080);
    QCOMPARE(watch.client("Kitchen (2)").port, 81);
}

void LibraryOnMemoryTest::nameThatAnotherHostTakesLaterIsGivenUp()
{
    Watch watch;
    const auto advertiser = advertise("Kitchen");
    advertiser->updateTxt("oven", "hot");
    QTRY_COMPARE(watch.txt("Kitchen", "oven"), QString("hot"));
    m_network->takeName("Kitchen", Type);
    QTRY_COMPARE(watch.names(), QStringList{"Kitchen (2)"});
    QTRY_COMPARE(watch.txt("Kitchen (2)", "oven"), QString("hot"));
    QCOMPARE(watch.removals.size(), 1);
    m_network->withdraw("Kitchen", Type);
    const auto next = advertise("Kitchen");
    const QStringList both{"Kitchen", "Kitchen (2)"};
    QTRY_COMPARE(watch.names(), both);
}

void LibraryOnMemoryTest::nameOfAnotherAdvertiserIsRenamed()
{
    const auto first = advertise("Hall", 81);
    const auto second = advertise("Hall", 82);
    Watch watch;
    const QStringList both{"Hall", "Hall (2)"};
    QTRY_COMPARE(watch.names(), both);
    QCOMPARE(watch.client("Hall").port, 81);
    QCOMPARE(watch.client("Hall (2)").port, 82);
}

void LibraryOnMemoryTest::twoListersSeeTheSame()
{
    publishKitchen();
    Watch first;
    QTRY_COMPARE(first.names(), QStringList{"Kitchen"});
    Watch second;
    QTRY_COMPARE(second.names(), QStringList{"Kitchen"});
    publishKitchen("hot");
    QTRY_COMPARE(first.txt("Kitchen", "oven"), QString("hot"));
    QTRY_COMPARE(second.txt("Kitchen", "oven"), QString("hot"));
    first.lister.reset();
    m_network->withdraw("Kitchen", Type);
    QTRY_COMPARE(second.removals.size(), 1);
}

void LibraryOnMemoryTest::withoutNetworkOtherHostsAreGoneUntilItIsBack()
{
    publishKitchen();
    const auto advertiser = advertise("Hall");
    Watch watch;
    const QStringList both{"Hall", "Kitchen"};
    QTRY_COMPARE(watch.names(), both);
    m_network->setConnected(false);
    QTRY_COMPARE(watch.names(), QStringList{"Hall"});
    publishKitchen("hot");
    m_network->setConnected(true);
    QTRY_COMPARE(watch.names(), both);
    QTRY_COMPARE(watch.txt("Kitchen", "oven"), QString("hot"));
    QCOMPARE(watch.removals.size(), 1);
}

void LibraryOnMemoryTest::nameTakenWithoutNetworkIsGivenUpWhenItIsBack()
{
    m_network->setConnected(false);
    m_network->takeName("Kitchen", Type);
    Watch watch;
    const auto advertiser = advertise("Kitchen");
    QTRY_COMPARE(watch.names(), QStringList{"Kitchen"});
    m_network->setConnected(true);
    QTRY_COMPARE(watch.names(), QStringList{"Kitchen (2)"});
}

void LibraryOnMemoryTest::withoutResponderNothingChangesUntilItIsBack()
{
    publishKitchen();
    m_network->publish({"Cellar", Type, 8080});
    const auto advertiser = advertise("Hall");
    advertiser->updateTxt("door", "open");
    Watch watch;
    const QStringList all{"Cellar", "Hall", "Kitchen"};
    QTRY_COMPARE(watch.names(), all);
    QTRY_COMPARE(watch.txt("Hall", "door"), QString("open"));

    m_network->setResponding(false);
    m_network->withdraw("Cellar", Type);
    publishKitchen("hot");
    m_network->publish({"Attic", Type, 8080});
    advertiser->updateTxt("door", "shut");
    Watch late;
    QCOMPARE(watch.names(), all);
    m_network->setResponding(true);

    const QStringList left{"Attic", "Hall", "Kitchen"};
    QTRY_COMPARE(watch.names(), left);
    QTRY_COMPARE(late.names(), left);
    QTRY_COMPARE(watch.txt("Kitchen", "oven"), QString("hot"));
    QTRY_COMPARE(watch.txt("Hall", "door"), QString("shut"));
    QCOMPARE(watch.removals.size(), 1);
    QCOMPARE(watch.removals[0][0].toString(), QString("Cellar"));
}

void LibraryOnMemoryTest::operationsStartedWithoutResponderBeginWithIt()
{
    m_network->setResponding(false);
    publishKitchen();
    const auto advertiser = advertise("Hall");
    Watch watch;
    m_network->setResponding(true);
    const QStringList both{"Hall", "Kitchen"};
    QTRY_COMPARE(watch.names(), both);
}

void LibraryOnMemoryTest::whatIsRefusedStaysEmpty()
{
    publishKitchen();
    Watch before;
    QTRY_COMPARE(before.names(), QStringList{"Kitchen"});
    m_network->setRefusing(true);
    Watch refused("_other._tcp");
    m_network->publish({"Cellar", "_other._tcp", 8080});
    publishKitchen("hot");
    QTRY_COMPARE(before.txt("Kitchen", "oven"), QString("hot"));
    m_network->setRefusing(false);
    Watch after("_other._tcp");
    QTRY_COMPARE(after.names(), QStringList{"Cellar"});
    QVERIFY(refused.names().isEmpty());
}

void LibraryOnMemoryTest::testEditsInsideASlot()
{
    Watch watch;
    connect(watch.lister.get(), &MDnsLister::clientChanged, this, [&](const QString& name) {
        if (name == "Kitchen")
            m_network->publish({"Hall", Type, 8080});
    });
    publishKitchen();
    const QStringList both{"Hall", "Kitchen"};
    QTRY_COMPARE(watch.names(), both);
}

void LibraryOnMemoryTest::twoHundredServicesAreListed()
{
    Watch watch;
    for (int i = 0; i < 200; ++i)
        m_network->publish({QString::number(i), Type, 8080});
    QTRY_COMPARE(watch.names().size(), 200);
}

QTEST_GUILESS_MAIN(LibraryOnMemoryTest)
#include "LibraryOnMemoryTest.moc"
