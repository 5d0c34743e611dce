// SPDX-License-Identifier: MIT
#include "ScriptedTest.h"

class AddressLookup : public ScriptedTest
{
    Q_OBJECT

private:
    /** The addresses reported, in order. */
    static std::unique_ptr<QList<QHostAddress>> addressesOf(BonjourGetAddrInfo* lookup)
    {
        auto addresses = std::make_unique<QList<QHostAddress>>();
        connect(lookup, &BonjourGetAddrInfo::resolved,
                [list = addresses.get()](const QHostAddress& address) { list->append(address); });
        return addresses;
    }

private Q_SLOTS:
    void startsAtOnce()
    {
        const auto started = lookup(MDnsProtocolType::IPv4);
        QCOMPARE(calls(), (QStringList{QStringLiteral("DNSServiceGetAddrInfo(#1, flags=0, if=3, protocol=1, "
                                                      "host='kitchen.local.')"),
                                       QStringLiteral("DNSServiceRefSockFD(#1)"),
                                       QStringLiteral("DNSServiceRefSockFD(#1)")}));
        QCOMPARE(logs(), QStringList{QStringLiteral(
                                         "TRACE BonjourLister: Enter [BonjourGetAddrInfo::BonjourGetAddrInfo("
                                         "uint32_t, const char*, MDnsProtocolType)]: Creating "
                                         "BonjourGetAddrInfo for hostname: kitchen.local. on interface: ") +
                                     label(3)});
        QCOMPARE(record.of(Record::Connection),
                 (QStringList{QStringLiteral("connect notifier of #1 2activated(int) to BonjourGetAddrInfo "
                                             "1on_socketNotifier_activated(int) type=0 by text"),
                              QStringLiteral("connect QTimer timeout() to BonjourGetAddrInfo type=0")}));
        QVERIFY(!started->parent());
        QVERIFY(timerOf(started.get())->isActive());
        QCOMPARE(timerOf(started.get())->interval(), 30000);
        QVERIFY(timerOf(started.get())->isSingleShot());
        QCOMPARE(signalsSeen(), QStringList());
    }

    void anIpv6AddressCarriesTheInterfaceIndexAsScope()
    {
        const auto started = lookup();
        const auto addresses = addressesOf(started.get());
        record.clear();
        addressArrives("fe80::1");
        QCOMPARE(addresses->size(), 1);
        QCOMPARE(addresses->first().scopeId(), QStringLiteral("3"));
        QCOMPARE(logs(), QStringList{QStringLiteral("TRACE BonjourLister: Address is: fe80::1%3 scopeId: 3 "
                                                    "interfaceIndex: ") +
                                     label(3)});
    }

    void aGlobalIpv6AddressCarriesItToo()
    {
        const auto started = lookup(anyProtocol, someInterface());
        const auto addresses = addressesOf(started.get());
        addressArrives("2001:db8::1", someInterface());
        QCOMPARE(addresses->first().scopeId(), QString::number(someInterface()));
    }

    void theScopeIsThatOfTheReply()
    {
        const auto started = lookup();
        const auto addresses = addressesOf(started.get());
        addressArrives(daemon.byId(1), "fe80::1", 4);
        QCOMPARE(addresses->first().scopeId(), QStringLiteral("4"));
    }

    void anIpv4AddressHasNoScope()
    {
        const auto started = lookup();
        const auto addresses = addressesOf(started.get());
        record.clear();
        addressArrives("192.168.1.5");
        QCOMPARE(addresses->first(), QHostAddress(QStringLiteral("192.168.1.5")));
        QCOMPARE(addresses->first().scopeId(), QString());
        QCOMPARE(logs(), QStringList{QStringLiteral("TRACE BonjourLister: Address is: 192.168.1.5 scopeId:  "
                                                    "interfaceIndex: ") +
                                     label(3)});
    }

    void everyReplyEmitsAndTheFirstEndsTheTimeoutForGood()
    {
        const auto started = lookup();
        addressArrives("192.168.1.5");
        QVERIFY(!timerOf(started.get())->isActive());
        addressArrives("2001:db8::1");
        QCOMPARE(signalsSeen(), (QStringList{QStringLiteral("#1 resolved(192.168.1.5)"),
                                             QStringLiteral("#1 resolved(2001:db8::1%3)")}));
        QVERIFY(!timerOf(started.get())->isActive());
    }

    void aReplyStopsTheTimerWhateverItIsAndWhicheverItIs_data()
    {
        QTest::addColumn<DNSServiceErrorType>("error");
        QTest::newRow("address") << DNSServiceErrorType(kDNSServiceErr_NoError);
        QTest::newRow("error") << DNSServiceErrorType(kDNSServiceErr_Unknown);
    }

    void aReplyStopsTheTimerWhateverItIsAndWhicheverItIs()
    {
        QFETCH(DNSServiceErrorType, error);
        const auto started = lookup();
        for (int reply = 0; reply < 3; ++reply) {
            timerOf(started.get())->start(); // by hand: nothing in the library does
            addressArrives(error ? nullptr : "192.168.1.5", 3, error);
            QVERIFY(!timerOf(started.get())->isActive());
        }
    }

    void flagsOfTheReplyDoNotMatter_data()
    {
        QTest::addColumn<DNSServiceFlags>("flags");
        QTest::newRow("none") << DNSServiceFlags(0);
        QTest::newRow("add") << add;
        QTest::newRow("more coming") << moreComing;
        QTest::newRow("add and more coming") << DNSServiceFlags(add | moreComing);
        QTest::newRow("all bits") << DNSServiceFlags(0xFFFFFFFF);
        QTest::newRow("all but add") << DNSServiceFlags(~add);
    }

    void flagsOfTheReplyDoNotMatter()
    {
        QFETCH(DNSServiceFlags, flags);
        const auto started = lookup();
        addressArrives("192.168.1.5", 3, kDNSServiceErr_NoError, flags);
        addressArrives(nullptr, 3, kDNSServiceErr_Unknown, flags);
        QCOMPARE(signalsSeen(), (QStringList{QStringLiteral("#1 resolved(192.168.1.5)"),
                                             QStringLiteral("#1 resolveFailed()")}));
    }

    void aScopeThatTheAddressBringsIsReplaced_data()
    {
        QTest::addColumn<QByteArray>("address");
        for (const char* address : {"fe80::1%0", "fe80::1%3", "fe80::1%7", "2001:db8::1%7", "::1%7"})
            QTest::newRow(address) << QByteArray(address);
    }

    void aScopeThatTheAddressBringsIsReplaced()
    {
        QFETCH(QByteArray, address);
        const auto started = lookup();
        const auto addresses = addressesOf(started.get());
        addressArrives(address.constData());
        QCOMPARE(addresses->size(), 1);
        QCOMPARE(addresses->first().scopeId(), QStringLiteral("3"));
    }

    void anIpv4AddressInIpv6FormIsAnIpv6Address()
    {
        const auto started = lookup();
        const auto addresses = addressesOf(started.get());
        addressArrives("::ffff:192.168.1.5");
        QCOMPARE(addresses->first().protocol(), QAbstractSocket::IPv6Protocol);
        QCOMPARE(addresses->first().scopeId(), QStringLiteral("3"));
    }

    void aReplyAboutAHostInAnotherCaseCounts()
    {
        const auto started = lookup();
        QCOMPARE(daemon.byId(1)->name, QByteArray("kitchen.local.")); // and is echoed in capitals
        addressArrives("192.168.1.5");
        QCOMPARE(signalsSeen().size(), 1);
    }

    void anErrorAfterASuccessStillEmitsTheFailure()
    {
        const auto started = lookup();
        addressArrives("192.168.1.5");
        record.clear();
        addressArrives(nullptr, 3, kDNSServiceErr_NoSuchRecord);
        QCOMPARE(record.of(Record::Log | Record::Signal),
                 (QStringList{QStringLiteral("ERROR BonjourLister: bonjourGetAddrInfoReplyCallback failed "
                                             "with error: -65554"),
                              QStringLiteral("#1 resolveFailed()")}));
    }

    void anErrorStopsTheTimerToo()
    {
        const auto started = lookup();
        addressArrives(nullptr, 3, kDNSServiceErr_Unknown);
        QVERIFY(!timerOf(started.get())->isActive());
        QCOMPARE(signalsSeen(), QStringList{QStringLiteral("#1 resolveFailed()")});
    }

    void aReplyAfterTheTimeoutStillEmits()
    {
        const auto started = lookup();
        record.clear();
        runOut(started.get());
        QCOMPARE(record.of(Record::Log | Record::Signal),
                 (QStringList{QStringLiteral("INFO BonjourLister: Enter [void BonjourGetAddrInfo::on_timeout("
                                             ")]: Resolving timed out"),
                              QStringLiteral("#1 resolveFailed()")}));
        QVERIFY(!timerOf(started.get())->isActive());
        QCOMPARE(daemon.live(), 1);
        addressArrives("192.168.1.5");
        QCOMPARE(signalsSeen().last(), QStringLiteral("#1 resolved(192.168.1.5)"));
    }

    void aWithdrawnAddressIsReportedLikeANewOne()
    {
        const auto started = lookup();
        addressArrives("192.168.1.5", 3, kDNSServiceErr_NoError, 0);
        QCOMPARE(signalsSeen(), QStringList{QStringLiteral("#1 resolved(192.168.1.5)")});
    }

    void aRefusalIsSignalledFromTheConstructor()
    {
        daemon.failNext(Op::GetAddrInfo, kDNSServiceErr_BadParam);
        const auto refused = lookup();
        QCOMPARE(record.of(Record::Call | Record::Log | Record::Signal).mid(1),
                 (QStringList{QStringLiteral("DNSServiceGetAddrInfo(#1, flags=0, if=3, protocol=0, "
                                             "host='kitchen.local.') = -65540"),
                              QStringLiteral("ERROR BonjourLister: Error calling DNSGetAddrInfo: -65540 for "
                                             "hostname: kitchen.local."),
                              QStringLiteral("#1 resolveFailed()")}));
        QVERIFY(!timerOf(refused.get())->isActive());
        QCOMPARE(record.of(Record::Connection), QStringList());
    }

    void aDescriptorOfMinus1LeavesTheTimeoutToReport()
    {
        daemon.nextDescriptor(-1);
        const auto started = lookup();
        QCOMPARE(logs(QStringLiteral("ERROR")),
                 QStringList{QStringLiteral("Error creating Bonjour connection: socket is -1")});
        runOut(started.get());
        QCOMPARE(signalsSeen(), QStringList{QStringLiteral("#1 resolveFailed()")});
    }

    void anAddressReplyWithoutAnAddressIsAnEmptyAddress()
    {
        const auto started = lookup();
        addressArrives(nullptr);
        QCOMPARE(signalsSeen(), QStringList{QStringLiteral("#1 resolved()")});
    }

    void destructionReleasesAndSaysNothing()
    {
        auto started = lookup();
        record.clear();
        started.reset();
        QCOMPARE(record.of(~0),
                 (QStringList{QStringLiteral("DNSServiceRefDeallocate(#1)"),
                              QStringLiteral("~notifier of #1"), QStringLiteral("~BonjourGetAddrInfo #1")}));
    }
};

static const TestClass<AddressLookup> registeredClass("AddressLookup");

#include "AddressLookupTest.moc"
