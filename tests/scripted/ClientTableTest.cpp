// SPDX-License-Identifier: MIT
#include "ScriptedTest.h"

class ClientTable : public ScriptedTest
{
    Q_OBJECT

private:
    void resolved(const char* name, std::uint32_t interfaceIndex)
    {
        browseAdd(name, interfaceIndex);
        resolveRepliesFor(name, interfaceIndex);
        addressArrives("10.0.0.1", interfaceIndex);
    }

private Q_SLOTS:
    void oneInstanceTakesTheWholeRoad()
    {
        const auto started = lister();
        browseAdd("Kitchen", 3);
        resolveReplies(3);
        addressArrives("192.168.1.5");
        txtArrives(txt({"a=1"}));
        QCOMPARE(signalsSeen().filter(QStringLiteral("clientChanged")),
                 QStringList{QStringLiteral("clientChanged(Kitchen)")});
        QCOMPARE(
            text(started->getClient(QStringLiteral("Kitchen"))),
            QStringLiteral("{host=kitchen.local. name=Kitchen port=8080 addresses=[192.168.1.5] txt=[a=1]}"));
    }

    void aResolvedClientIsListedBeforeAnyoneIsTold()
    {
        const auto started = lister();
        browseAdd("Kitchen", 3);
        resolveReplies(3);
        QVERIFY(started->getClients().isEmpty());
        addressArrives("192.168.1.5");
        QCOMPARE(started->getClients(), QStringList{QStringLiteral("Kitchen")});
        QCOMPARE(signalsSeen().filter(QStringLiteral("client")), QStringList());
    }

    void aSuccessStoresDropsTheResolverAndWatches()
    {
        const auto started = lister();
        browseAdd("Kitchen", 3);
        resolveReplies(3);
        record.clear();
        addressArrives("192.168.1.5");
        const QString on = label(QStringLiteral("Kitchen"), 3);
        QCOMPARE(record.of(Record::Signal | Record::Log | Record::Destroyed | Record::Connection).mid(3),
                 (QStringList{
                     QStringLiteral("#2 resolveSucceeded(Kitchen on 3 [Kitchen._demo._tcp.local.], "
                                    "{host=kitchen.local. name=Kitchen port=8080 addresses=[192.168.1.5] "
                                    "txt=[]})"),
                     QStringLiteral("INFO BonjourLister: Enter [void BonjourLister::on_resolveSucceeded("
                                    "const ResolveData&, const MDnsVeskClient&)]: Resolve succeeded: ") +
                         on,
                     QStringLiteral("~notifier of #3"), QStringLiteral("~BonjourGetAddrInfo #3"),
                     QStringLiteral("~notifier of #2"), QStringLiteral("~BonjourResolver #2"),
                     QStringLiteral("TRACE BonjourLister: Enter [BonjourTxtMonitor::BonjourTxtMonitor(const "
                                    "ResolveData&, const MDnsVeskClient&)]: Creating BonjourTxtMonitor for "
                                    "serviceName: Kitchen._demo._tcp.local. on interface: ") +
                         label(3),
                     // The monitor's own signal is connected without the core library.
                     QStringLiteral("connect notifier of #4 2activated(int) to BonjourTxtMonitor "
                                    "1on_socketNotifier_activated(int) type=0 by text")}));
        QCOMPARE(daemon.live(Op::Resolve), 0);
        QCOMPARE(daemon.live(Op::GetAddrInfo), 0);
    }

    void theRecordIsStoredBeforeTheResolverGoes()
    {
        const auto started = lister();
        browseAdd("Kitchen", 3);
        resolveReplies(3);
        connect(static_cast<BonjourResolver*>(daemon.newest(Op::Resolve)->context), &QObject::destroyed,
                [&] { note(started->getClients().join(QLatin1Char(','))); });
        addressArrives("10.0.0.1");
        QCOMPARE(record.of(Record::Note), QStringList{QStringLiteral("Kitchen")});
    }

    void everyUpdateEmits()
    {
        const auto started = listerWithKitchen();
        txtArrives(txt({"a=1"}));
        txtArrives(txt({"a=1"}));
        QCOMPARE(signalsSeen().filter(QStringLiteral("clientChanged")),
                 (QStringList{QStringLiteral("clientChanged(Kitchen)"),
                              QStringLiteral("clientChanged(Kitchen)")}));
    }

    void oneNameOnTwoInterfacesIsListedTwice()
    {
        const auto started = lister();
        resolved("Speaker", 2);
        resolved("Speaker", 3);
        QCOMPARE(started->getClients(), (QStringList{QStringLiteral("Speaker"), QStringLiteral("Speaker")}));
        QCOMPARE(started->getClient(QStringLiteral("Speaker")).hostName, QStringLiteral("speaker.local."));
        browseRemove("Speaker", 2);
        QCOMPARE(started->getClients(), QStringList{QStringLiteral("Speaker")});
    }

    void queriesGoByTheTablesOrder()
    {
        // A table like the lister's own: same keys, inserted in the same order.
        QHash<ResolveData, MDnsVeskClient> table;
        const auto started = lister();
        for (std::uint32_t index = 1; index <= 12; ++index) {
            MDnsVeskClient client;
            client.serviceName = index % 3 ? QStringLiteral("Speaker") : QStringLiteral("Radio");
            client.port = int(index);
            started->on_clientUpdated(key(QStringLiteral("Speaker"), index), client);
            table.insert(key(QStringLiteral("Speaker"), index), client);
        }
        QStringList names;
        QHash<QString, int> firstPorts;
        for (const MDnsVeskClient& client : qAsConst(table)) {
            names.append(client.serviceName);
            if (!firstPorts.contains(client.serviceName))
                firstPorts.insert(client.serviceName, client.port);
        }
        QCOMPARE(started->getClients(), names);
        for (auto first = firstPorts.cbegin(); first != firstPorts.cend(); ++first)
            QCOMPARE(started->getClient(first.key()).port, first.value());
    }

    void clientsWithoutANameAreListedAndFoundToo()
    {
        const auto started = lister();
        MDnsVeskClient client;
        client.port = 5;
        started->on_clientUpdated(key(QStringLiteral("Kitchen"), 3), client);
        QCOMPARE(started->getClients(), QStringList{QString()});
        QCOMPARE(started->getClient(QString()).port, 5);
    }

    void aClientIsACopy()
    {
        const auto started = listerWithKitchen();
        MDnsVeskClient copy = started->getClient(QStringLiteral("Kitchen"));
        copy.txt.insert(QStringLiteral("a"), QStringLiteral("1"));
        copy.port = 1;
        QCOMPARE(started->getClient(QStringLiteral("Kitchen")).port, 8080);
        QVERIFY(started->getClient(QStringLiteral("Kitchen")).txt.isEmpty());
    }

    void aNewResolveBringsItsWholeRecord()
    {
        const auto started = listerWithKitchen();
        txtArrives(txt({"a=1"}));
        browseAdd("Kitchen", 3);
        ResolveReply reply;
        reply.host = "other.local.";
        reply.port = 99;
        resolveReplies(3, reply);
        addressArrives("10.0.0.9");
        QCOMPARE(text(started->getClient(QStringLiteral("Kitchen"))),
                 QStringLiteral("{host=other.local. name=Kitchen port=99 addresses=[10.0.0.9] txt=[]}"));
    }

    void namesAreComparedExactly()
    {
        const auto started = lister();
        resolved("Speaker", 3);
        QCOMPARE(text(started->getClient(QStringLiteral("speaker"))), text(MDnsVeskClient()));
        QCOMPARE(text(started->getClient(QStringLiteral("Speake"))), text(MDnsVeskClient()));
        QCOMPARE(text(started->getClient(QString())), text(MDnsVeskClient()));
        QCOMPARE(started->getClient(QStringLiteral("Speaker")).port, 8080);
    }

    void anEmptyTableAnswersWithTheEmptyRecord()
    {
        const auto started = lister();
        QCOMPARE(started->getClients(), QStringList());
        QCOMPARE(text(started->getClient(QStringLiteral("Kitchen"))), text(MDnsVeskClient()));
    }

    void queriesLogNothing()
    {
        const auto started = listerWithKitchen();
        started->getClients();
        started->getClient(QStringLiteral("Kitchen"));
        started->getClient(QStringLiteral("Nobody"));
        QCOMPARE(record.of(~0), QStringList());
    }

    void theUnescapedNameIsTheClients()
    {
        const auto started = lister();
        ResolveReply reply;
        reply.fullName = "Living\\032Room._demo._tcp.local.";
        browseAdd("Living Room", 3);
        resolveReplies(3, reply);
        addressArrives("10.0.0.1");
        txtArrives(QByteArray(""));
        QCOMPARE(started->getClients(), QStringList{QStringLiteral("Living Room")});
        QCOMPARE(signalsSeen().last(), QStringLiteral("clientChanged(Living Room)"));
        QCOMPARE(daemon.newest(Op::QueryRecord)->name, QByteArray("Living\\032Room._demo._tcp.local."));
        browseRemove("Living Room", 3);
        QCOMPARE(signalsSeen().last(), QStringLiteral("clientRemoved(Living Room)"));
    }

    void anUpdateIsLoggedWithEveryAddress()
    {
        const auto started = listerWithKitchen();
        MDnsVeskClient client;
        client.serviceName = QStringLiteral("Kitchen");
        // So many that the set's order is hardly ever a sorted one.
        for (int last = 1; last <= 9; ++last)
            client.addresses.insert(QHostAddress(QStringLiteral("10.0.%1.%2").arg(last * 7 % 11).arg(last)));
        QHostAddress scoped(QStringLiteral("fe80::1"));
        scoped.setScopeId(QStringLiteral("3"));
        client.addresses.insert(scoped);
        QString addresses;
        for (const QHostAddress& address : client.addresses)
            addresses += address.toString() + QLatin1Char(' ');
        record.clear();
        started->on_clientUpdated(key(QStringLiteral("Kitchen"), 3), client);
        QCOMPARE(record.of(~0), (QStringList{QStringLiteral("INFO BonjourLister: Client updated: %1 %2")
                                                 .arg(label(QStringLiteral("Kitchen"), 3), addresses),
                                             QStringLiteral("clientChanged(Kitchen)")}));
        QVERIFY(addresses.endsWith(QLatin1Char(' ')));
        QVERIFY(addresses.contains(QLatin1String("fe80::1%3 ")));
    }

    void anUpdateWithoutAddressesEndsInASpace()
    {
        const auto started = lister();
        record.clear();
        started->on_clientUpdated(key(QStringLiteral("Kitchen"), 7777777), MDnsVeskClient());
        QCOMPARE(logs(),
                 QStringList{QStringLiteral("INFO BonjourLister: Client updated: Kitchen on ,7777777 ")});
    }

    void anUpdateReplacesTheWholeRecordWhateverIsExpected()
    {
        const auto started = lister();
        MDnsVeskClient client;
        client.serviceName = QStringLiteral("Unknown");
        client.port = 5;
        started->on_clientUpdated(key(QStringLiteral("Other"), 9), client);
        QCOMPARE(started->getClients(), QStringList{QStringLiteral("Unknown")});
        client.serviceName = QStringLiteral("Renamed");
        client.port = 6;
        started->on_clientUpdated(key(QStringLiteral("Other"), 9), client);
        QCOMPARE(started->getClients(), QStringList{QStringLiteral("Renamed")});
        QCOMPARE(started->getClient(QStringLiteral("Renamed")).port, 6);
        QCOMPARE(signalsSeen(), (QStringList{QStringLiteral("clientChanged(Unknown)"),
                                             QStringLiteral("clientChanged(Renamed)")}));
    }

    void aSecondSuccessReplacesTheMonitor()
    {
        const auto started = listerWithKitchen();
        MDnsVeskClient client;
        client.serviceName = QStringLiteral("Kitchen");
        client.port = 7;
        started->on_resolveSucceeded(
            key(QStringLiteral("Kitchen"), 3, QStringLiteral("Kitchen._demo._tcp.local.")), client);
        // The new one has started before the old one goes.
        QCOMPARE(
            record.of(Record::Call | Record::Destroyed),
            (QStringList{QStringLiteral("DNSServiceQueryRecord(#5, flags=0x400, if=3, "
                                        "name='Kitchen._demo._tcp.local.', type=16, class=1)"),
                         QStringLiteral("DNSServiceRefSockFD(#5)"), QStringLiteral("DNSServiceRefSockFD(#5)"),
                         QStringLiteral("DNSServiceRefDeallocate(#4)"), QStringLiteral("~notifier of #4"),
                         QStringLiteral("~BonjourTxtMonitor #4")}));
        QCOMPARE(daemon.live(Op::QueryRecord), 1);
        QCOMPARE(started->getClient(QStringLiteral("Kitchen")).port, 7);
        txtArrives(txt({"a=1"}));
        QCOMPARE(signalsSeen().filter(QStringLiteral("clientUpdated")).size(), 1);
        QVERIFY(signalsSeen().first().startsWith(QLatin1String("#5 ")));
        QCOMPARE(signalsSeen().filter(QStringLiteral("clientChanged")).size(), 1);
    }

    void theNewRecordIsVisibleInTheSlot()
    {
        const auto started = listerWithKitchen();
        connect(started.get(), &MDnsLister::clientChanged,
                [&](const QString& name) { note(text(started->getClient(name))); });
        connect(started.get(), &MDnsLister::clientRemoved,
                [&](const QString&) { note(started->getClients().join(QLatin1Char(','))); });
        txtArrives(txt({"a=1"}));
        browseRemove("Kitchen", 3);
        QCOMPARE(
            record.of(Record::Note),
            (QStringList{QStringLiteral("{host=kitchen.local. name=Kitchen port=8080 addresses=[192.168.1.5] "
                                        "txt=[a=1]}"),
                         QString()}));
    }

    void aFailedMonitorKeepsItsLastRecord()
    {
        const auto started = listerWithKitchen();
        txtArrives(txt({"a=1"}));
        record.clear();
        TxtReply reply;
        reply.error = kDNSServiceErr_Unknown;
        txtArrives(QByteArray(), 3, reply);
        QCOMPARE(signalsSeen(), QStringList{QStringLiteral("#4 txtMonitorFailed()")});
        QCOMPARE(started->getClient(QStringLiteral("Kitchen")).txt.size(), 1);
        QCOMPARE(daemon.live(Op::QueryRecord), 1);
    }

    void aRefusedMonitorKeepsTheClientSilently()
    {
        const auto started = lister();
        browseAdd("Kitchen", 3);
        resolveReplies(3);
        daemon.failNext(Op::QueryRecord, kDNSServiceErr_BadParam);
        addressArrives("10.0.0.1");
        QCOMPARE(started->getClients(), QStringList{QStringLiteral("Kitchen")});
        QCOMPARE(daemon.live(Op::QueryRecord), 0);
        browseAdd("Kitchen", 3);
        QCOMPARE(logs(QStringLiteral("WARN")).size(), 1);
    }

    void theListerEndsTheLookupAtTheFirstAddress()
    {
        const auto started = lister();
        browseAdd("Kitchen", 3);
        resolveReplies(3);
        hold = true;
        addressArrives("10.0.0.1");
        addressArrives("10.0.0.2");
        deliver();
        QCOMPARE(started->getClient(QStringLiteral("Kitchen")).addresses.size(), 1);
        QCOMPARE(record.of(Record::Reply).size(), 3);
    }

    void listersDieWithoutAWordAboutTheirClients()
    {
        auto started = listerWithKitchen();
        started.reset();
        QCOMPARE(record.of(Record::Signal | Record::Log), QStringList());
    }
};

static const TestClass<ClientTable> registeredClass("ClientTable");

#include "ClientTableTest.moc"
