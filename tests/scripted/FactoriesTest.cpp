// SPDX-License-Identifier: MIT
#include "ScriptedTest.h"

#include <CMValueItem.h>
#include <QPointer>

/** Hears of the registered name. */
class Receiver : public QObject
{
    Q_OBJECT

public:
    QStringList names;

public Q_SLOTS:
    void heard(const QString& name) { names.append(name); }
};

class Factories : public ScriptedTest
{
    Q_OBJECT

private:
    using Advertiser = std::unique_ptr<MDnsAdvertiser>;

    /** Changes the forced name as another part of the device would. */
    void configure(const QString& name)
    {
        CMValueItem item(CMPath::fromEncoded("systemmanager:/bonjourForceServiceName"));
        QCOMPARE(item.setValue(VeskValue(name)), QString());
    }

    static Advertiser create(QObject* receiver, const char* slot,
                             Qt::ConnectionType type = Qt::AutoConnection)
    {
        return Advertiser(MDnsAdvertiserFactory::create(
            nullptr, QStringLiteral("Kitchen"), QStringLiteral("_demo._tcp"), 8080, receiver, slot, type));
    }

    QStringList connectionsByText() const
    {
        return record.of(Record::Connection).filter(QStringLiteral("by text"));
    }

    void confirm()
    {
        registered("Kitchen");
        resolveReplies(0);
        addressArrives("10.0.0.1", 0);
    }

private Q_SLOTS:
    void withoutAReceiverNothingIsConnectedAndAdvertisingStarts()
    {
        const Advertiser advertiser = create(nullptr, SLOT(heard(QString)));
        QCOMPARE(connectionsByText(), QStringList());
        QCOMPARE(daemon.live(Op::Register), 1);
    }

    void withoutASlotNothingIsConnectedAndAdvertisingStarts()
    {
        Receiver receiver;
        const Advertiser advertiser = create(&receiver, nullptr);
        QCOMPARE(connectionsByText(), QStringList());
        QCOMPARE(daemon.live(Op::Register), 1);
    }

    void aReceiverIsConnectedByTextBeforeTheStart()
    {
        Receiver receiver;
        const Advertiser advertiser = create(&receiver, SLOT(heard(QString)), Qt::DirectConnection);
        const QStringList account = record.of(Record::Connection | Record::Call);
        const int connected = account.indexOf(QStringLiteral(
            "connect BonjourAdvertiser 2nameRegistered(QString) to Receiver 1heard(QString) type=1 by text"));
        QVERIFY(connected >= 0);
        QVERIFY(account.mid(connected).filter(QStringLiteral("DNSServiceRegister(#1")).size() == 1);
        confirm();
        QCOMPARE(receiver.names, QStringList{QStringLiteral("kitchen.local.")});
    }

    void theConnectionTypeIsPassedOn()
    {
        Receiver receiver;
        const Advertiser advertiser = create(&receiver, SLOT(heard(QString)), Qt::QueuedConnection);
        QCOMPARE(connectionsByText().size(), 1);
        QVERIFY(connectionsByText().first().contains(QLatin1String(" type=2 ")));
    }

    void theTypeIsLoweredAndTheNameKeepsItsCase()
    {
        const Advertiser advertiser(MDnsAdvertiserFactory::create(nullptr, QStringLiteral("Living Room"),
                                                                  QStringLiteral("_DEMO._TCP"), 8080));
        QCOMPARE(daemon.newest(Op::Register)->name, QByteArray("Living Room"));
        QCOMPARE(daemon.newest(Op::Register)->type, QByteArray("_demo._tcp"));
        const std::unique_ptr<MDnsLister> lister(
            MDnsListerFactory::create(nullptr, QStringLiteral("_DEMO._TCP"), MDnsProtocolType::IPv4));
        QCOMPARE(daemon.newest(Op::Browse)->type, QByteArray("_demo._tcp"));
    }

    void nameAndTypeAreTakenAsTheyAre()
    {
        const Advertiser advertiser(MDnsAdvertiserFactory::create(nullptr, QStringLiteral(" Room. "),
                                                                  QStringLiteral(" _demo._tcp "), 8080));
        QCOMPARE(daemon.newest(Op::Register)->name, QByteArray(" Room. "));
        QCOMPARE(daemon.newest(Op::Register)->type, QByteArray(" _demo._tcp "));
        const std::unique_ptr<MDnsLister> lister(
            MDnsListerFactory::create(nullptr, QStringLiteral(" _demo._tcp "), MDnsProtocolType::IPv4));
        QCOMPARE(daemon.newest(Op::Browse)->type, QByteArray(" _demo._tcp "));
    }

    void createInternalLeavesTheAdvertiserIdle()
    {
        const Advertiser advertiser(MDnsAdvertiserFactory::createInternal(
            nullptr, QStringLiteral("Kitchen"), QStringLiteral("_DEMO._tcp"), 8080));
        QCOMPARE(calls(), QStringList());
        advertiser->start();
        QCOMPARE(daemon.newest(Op::Register)->name, QByteArray("Kitchen"));
        QCOMPARE(daemon.newest(Op::Register)->type, QByteArray("_demo._tcp"));
        QCOMPARE(daemon.newest(Op::Register)->port, quint16(0x901F));
    }

    void thePathIsHandedOverWithItsTerminatingZero()
    {
        const Advertiser advertiser(MDnsAdvertiserFactory::createInternal(
            nullptr, QStringLiteral("Kitchen"), QStringLiteral("_demo._tcp"), 8080));
        QCOMPARE(record.of(Record::Core),
                 QStringList{QStringLiteral("CMPath::fromEncoded(39 bytes "
                                            "'systemmanager:/bonjourForceServiceName%00')")});
    }

    void theItemIsConnectedByMemberPointer()
    {
        const Advertiser advertiser(MDnsAdvertiserFactory::createInternal(
            nullptr, QStringLiteral("Kitchen"), QStringLiteral("_demo._tcp"), 8080));
        QCOMPARE(record.of(Record::Connection),
                 QStringList{QStringLiteral("connect CMValueItem changed(VeskValue,VeskValue) to "
                                            "BonjourAdvertiser type=0")});
        QCOMPARE(advertiser->findChildren<CMValueItem*>(QString(), Qt::FindDirectChildrenOnly).size(), 1);
    }

    void aConfiguredNameTakesEffectWhenItChanges()
    {
        const Advertiser advertiser(MDnsAdvertiserFactory::create(nullptr, QStringLiteral("Kitchen"),
                                                                  QStringLiteral("_demo._tcp"), 8080));
        configure(QStringLiteral("Cellar"));
        QCOMPARE(daemon.newest(Op::Register)->name, QByteArray("Cellar"));
        QCOMPARE(daemon.live(Op::Register), 1);
    }

    void theValueAtCreationIsNotApplied()
    {
        configure(QStringLiteral("Cellar"));
        const Advertiser advertiser(MDnsAdvertiserFactory::create(nullptr, QStringLiteral("Kitchen"),
                                                                  QStringLiteral("_demo._tcp"), 8080));
        QCOMPARE(daemon.newest(Op::Register)->name, QByteArray("Kitchen"));
    }

    void deletingTheAdvertiserEndsItsItem()
    {
        Advertiser advertiser(MDnsAdvertiserFactory::create(nullptr, QStringLiteral("Kitchen"),
                                                            QStringLiteral("_demo._tcp"), 8080));
        const QPointer<CMValueItem> item = advertiser->findChild<CMValueItem*>();
        QVERIFY(item);
        advertiser.reset();
        QVERIFY(!item);
        record.clear();
        configure(QStringLiteral("Cellar"));
        QCOMPARE(record.of(Record::Call | Record::Log | Record::Signal), QStringList());
    }

    void productsAreChildrenOfTheParent()
    {
        QObject parent;
        const QPointer<MDnsAdvertiser> advertiser = MDnsAdvertiserFactory::create(
            &parent, QStringLiteral("Kitchen"), QStringLiteral("_demo._tcp"), 8080);
        const QPointer<MDnsAdvertiser> connected =
            MDnsAdvertiserFactory::create(&parent, QStringLiteral("Cellar"), QStringLiteral("_demo._tcp"),
                                          8080, nullptr, nullptr, Qt::AutoConnection);
        const QPointer<MDnsAdvertiser> idle = MDnsAdvertiserFactory::createInternal(
            &parent, QStringLiteral("Attic"), QStringLiteral("_demo._tcp"), 8080);
        const QPointer<MDnsLister> lister =
            MDnsListerFactory::create(&parent, QStringLiteral("_demo._tcp"), MDnsProtocolType::IPv6);
        QCOMPARE(parent.children(),
                 (QObjectList{advertiser.data(), connected.data(), idle.data(), lister.data()}));
    }

    void aListerBrowsesFromTheStartAndPassesItsProtocolOn()
    {
        const std::unique_ptr<MDnsLister> lister(
            MDnsListerFactory::create(nullptr, QStringLiteral("_demo._tcp"), MDnsProtocolType::IPv6));
        QVERIFY(record.of(Record::Core).filter(QStringLiteral("CMPath")).isEmpty());
        browseAdd("Kitchen", 3);
        resolveReplies(3);
        QCOMPARE(daemon.newest(Op::GetAddrInfo)->protocol, DNSServiceProtocol(kDNSServiceProtocol_IPv6));
    }

    void theObjectIsReturnedWhenTheDaemonRefuses()
    {
        daemon.failNext(Op::Register, kDNSServiceErr_ServiceNotRunning);
        daemon.failNext(Op::Browse, kDNSServiceErr_ServiceNotRunning);
        const Advertiser advertiser(MDnsAdvertiserFactory::create(nullptr, QStringLiteral("Kitchen"),
                                                                  QStringLiteral("_demo._tcp"), 8080));
        const std::unique_ptr<MDnsLister> lister(
            MDnsListerFactory::create(nullptr, QStringLiteral("_demo._tcp"), MDnsProtocolType::IPv4));
        QVERIFY(advertiser);
        QVERIFY(lister);
        QCOMPARE(logs(QStringLiteral("ERROR")).size(), 3);
    }
};

static const TestClass<Factories> registeredClass("Factories");

#include "FactoriesTest.moc"
