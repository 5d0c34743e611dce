// SPDX-License-Identifier: MIT
#include "ScriptedTest.h"

#include <QPointer>

class Resolver : public ScriptedTest
{
    Q_OBJECT

private:
    static QString replyTrace()
    {
        return QStringLiteral("TRACE BonjourLister: Enter [void BonjourResolver::bonjourResolveReplyCallback("
                              "DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*, "
                              "const char*, uint16_t, uint16_t, const unsigned char*)]: ");
    }

    static QString succeeded(const QString& addresses)
    {
        return QStringLiteral("#1 resolveSucceeded(Kitchen on 3 [Kitchen._demo._tcp.local.], "
                              "{host=kitchen.local. name=Kitchen port=8080 addresses=[%1] txt=[]})")
            .arg(addresses);
    }

    /** The client after a reply with this full name. */
    MDnsVeskClient clientOf(const std::optional<QByteArray>& fullName)
    {
        MDnsVeskClient client;
        ResolveReply reply;
        reply.fullName = fullName;
        const auto started = resolver();
        connect(started.get(), &BonjourResolver::resolveSucceeded,
                [&client](const ResolveData&, const MDnsVeskClient& resolved) { client = resolved; });
        resolveReplies(3, reply);
        addressArrives("10.0.0.1");
        return client;
    }

    QStringList lookups() const
    {
        return calls().filter(QRegularExpression(QStringLiteral("^DNSServiceGetAddrInfo")));
    }

private Q_SLOTS:
    void startsAtOnce()
    {
        const auto started = resolver();
        QCOMPARE(
            record.of(~Record::Core),
            (QStringList{QStringLiteral("TRACE BonjourLister: Enter [BonjourResolver::BonjourResolver("
                                        "ResolveData, const char*, const char*, MDnsProtocolType)]: "
                                        "Creating BonjourResolver for: ") +
                             label(QStringLiteral("Kitchen"), 3),
                         QStringLiteral("DNSServiceResolve(#1, flags=0, if=3, name='Kitchen', "
                                        "type='_demo._tcp.', domain='local.')"),
                         QStringLiteral("DNSServiceRefSockFD(#1)"), QStringLiteral("DNSServiceRefSockFD(#1)"),
                         QStringLiteral("connect notifier of #1 2activated(int) to BonjourResolver "
                                        "1on_socketNotifier_activated(int) type=0 by text"),
                         QStringLiteral("connect QTimer timeout() to BonjourResolver type=0")}));
        QVERIFY(!started->parent());
        QVERIFY(timerOf(started.get())->isActive());
        QCOMPARE(timerOf(started.get())->interval(), 30000);
        QVERIFY(timerOf(started.get())->isSingleShot());
    }

    void theRecordsBytesAreTheNameAskedFor()
    {
        ResolveData data = key(QStringLiteral("Kitchen"), 4);
        data.serviceNameUtf8 = "other bytes";
        const BonjourResolver started(data, "_demo._tcp.", "local.", anyProtocol);
        QCOMPARE(daemon.byId(1)->name, QByteArray("other bytes"));
    }

    void aRefusalIsLoggedAndSignalledFromTheConstructor()
    {
        daemon.failNext(Op::Resolve, kDNSServiceErr_BadParam);
        const auto refused = resolver();
        QCOMPARE(record.of(Record::Log | Record::Signal).mid(1),
                 (QStringList{QStringLiteral("ERROR BonjourLister: Error calling DNSServiceResolve: -65540"),
                              QStringLiteral("#1 resolveFailed(Kitchen on 3)")}));
        QVERIFY(!timerOf(refused.get())->isActive());
        QCOMPARE(record.of(Record::Connection), QStringList());
        QCOMPARE(timerOf(refused.get())->parent(), refused.get());
    }

    void fullNames_data()
    {
        QTest::addColumn<QByteArray>("fullName");
        QTest::addColumn<QString>("name");
        const auto row = [](const char* name, const QByteArray& fullName, const QString& expected) {
            QTest::newRow(name) << fullName << expected;
        };
        row("plain", "Kitchen._demo._tcp.local.", QStringLiteral("Kitchen"));
        row("escaped space", "My\\032Printer._demo._tcp.local.", QStringLiteral("My Printer"));
        row("escaped dot", "Living\\.Room._demo._tcp.local.", QStringLiteral("Living.Room"));
        row("escaped backslash inside", "A\\\\B._demo._tcp.local.", QStringLiteral("A\\B"));
        row("one character", "x._demo._tcp.local.", QStringLiteral("x"));
        row("no dot at all", "Kitchen", QString());
        row("only escaped dots", "Living\\.Room\\.", QString());
        row("only a dot", ".", QString());
        row("empty", "", QString());
        row("ends in an escaped backslash: cut at the next dot", "End\\\\._demo._tcp.local.",
            QStringLiteral("End\\._demo"));
        row("ends in an escaped dot", "trail\\.._demo._tcp.local.", QStringLiteral("trail."));
        row("begins with a dot", "._demo._tcp.local.", QStringLiteral("._demo"));
        row("ends in a character outside the basic plane", "Kitchen \xF0\x9F\x8D\xB3._demo._tcp.local.",
            QStringLiteral(u"Kitchen \U0001F373"));
        row("one character outside the basic plane", "\xF0\x9F\x8D\xB3._demo._tcp.local.",
            QStringLiteral(u"\U0001F373"));
        row("an escaped dot behind a character outside the basic plane",
            "\xF0\x9F\x8D\xB3\\.x._demo._tcp.local.", QStringLiteral(u"\U0001F373.x"));
        row("ends in a newline", "Kitchen\n._demo._tcp.local.", QStringLiteral("Kitchen\n"));
        row("blanks around", " Kitchen ._demo._tcp.local.", QStringLiteral(" Kitchen "));
        row("capitals", "KITCHEN._DEMO._TCP.LOCAL.", QStringLiteral("KITCHEN"));
        row("bytes that are no UTF-8", "K\xFF._demo._tcp.local.", QStringLiteral(u"K\uFFFD"));
        row("UTF-8",
            "K\xC3\xBC"
            "che._demo._tcp.local.",
            QStringLiteral(u"K\u00FCche"));
    }

    void fullNames()
    {
        QFETCH(QByteArray, fullName);
        QFETCH(QString, name);
        QCOMPARE(clientOf(fullName).serviceName, name);
    }

    void aNullFullNameGivesEmptyNames()
    {
        ResolveReply reply;
        reply.fullName.reset();
        const auto started = resolver();
        resolveReplies(3, reply);
        addressArrives("10.0.0.1");
        QCOMPARE(signalsSeen().last(),
                 QStringLiteral("#1 resolveSucceeded(Kitchen on 3, {host=kitchen.local. name= port=8080 "
                                "addresses=[10.0.0.1] txt=[]})"));
        // The null pointer breaks off its line; the next one is whole.
        QVERIFY(logs()
                    .filter(QStringLiteral("bonjourResolveReplyCallback"))
                    .last()
                    .endsWith(QLatin1String(" error=0 fullname=")));
        QVERIFY(logs().last().endsWith(QLatin1String("address: 10.0.0.1")));
    }

    void aNullHostStartsALookupOfANullHost()
    {
        ResolveReply reply;
        reply.host.reset();
        const auto started = resolver();
        resolveReplies(3, reply);
        QCOMPARE(lookups(), QStringList{QStringLiteral(
                                "DNSServiceGetAddrInfo(#2, flags=0, if=3, protocol=0, host=null)")});
        addressArrives("10.0.0.1");
        QVERIFY(signalsSeen().last().contains(QLatin1String("{host= name=Kitchen")));
    }

    void hosts_data()
    {
        QTest::addColumn<QByteArray>("host");
        QTest::newRow("UTF-8") << QByteArray("k\xC3\xBC"
                                             "che.local.");
        QTest::newRow("capitals") << QByteArray("Kitchen-2.Local.");
        QTest::newRow("bytes that are no UTF-8") << QByteArray("k\xFF\xC3.local.");
        QTest::newRow("escapes") << QByteArray("my\\032kitchen\\.x.local.");
        QTest::newRow("blanks around") << QByteArray(" kitchen ");
        QTest::newRow("no dot at the end") << QByteArray("kitchen.local");
        QTest::newRow("empty") << QByteArray("");
    }

    void hosts()
    {
        QFETCH(QByteArray, host);
        ResolveReply reply;
        reply.host = host;
        const auto started = resolver();
        QString reported;
        connect(started.get(), &BonjourResolver::resolveSucceeded,
                [&](const ResolveData&, const MDnsVeskClient& client) { reported = client.hostName; });
        resolveReplies(3, reply);
        // The look-up gets the very bytes, the record their text.
        QCOMPARE(daemon.byId(2)->name, host);
        addressArrives("10.0.0.1");
        QCOMPARE(reported, QString::fromUtf8(host));
    }

    void flagsOfTheReplyDoNotMatter_data()
    {
        QTest::addColumn<DNSServiceFlags>("flags");
        QTest::newRow("none") << DNSServiceFlags(0);
        QTest::newRow("add") << add;
        QTest::newRow("more coming") << moreComing;
        QTest::newRow("all bits") << DNSServiceFlags(0xFFFFFFFF);
    }

    void flagsOfTheReplyDoNotMatter()
    {
        QFETCH(DNSServiceFlags, flags);
        ResolveReply reply;
        reply.flags = flags;
        const auto started = resolver();
        resolveReplies(3, reply);
        QVERIFY(!timerOf(started.get())->isActive());
        addressArrives("10.0.0.1");
        QCOMPARE(signalsSeen().last(), succeeded(QStringLiteral("10.0.0.1")));
        reply.error = kDNSServiceErr_Unknown;
        resolveReplies(3, reply);
        QVERIFY(signalsSeen().last().startsWith(QLatin1String("#1 resolveFailed(")));
    }

    void queuedRepliesAreAllHandled()
    {
        const auto started = resolver();
        hold = true;
        resolveReplies(3);
        resolveReplies(3);
        deliver();
        QCOMPARE(lookups().size(), 2);
        addressArrives("10.0.0.1");
        addressArrives("10.0.0.2");
        deliver();
        QCOMPARE(signalsSeen().last(), succeeded(QStringLiteral("10.0.0.1 10.0.0.2")));
    }

    void anErrorReplyKeepsTheLookupThatRuns()
    {
        const auto started = resolver();
        resolveReplies(3);
        ResolveReply reply;
        reply.error = kDNSServiceErr_Unknown;
        reply.fullName = "Other._demo._tcp.local.";
        reply.host = "other.local.";
        reply.port = 1;
        resolveReplies(daemon.byId(1), 3, reply);
        QCOMPARE(daemon.live(Op::GetAddrInfo), 1);
        addressArrives("10.0.0.1");
        QCOMPARE(signalsSeen().last(), succeeded(QStringLiteral("10.0.0.1")));
    }

    void aTimeoutKeepsTheOperationTheLookupAndTheTimer()
    {
        const auto started = resolver();
        resolveReplies(3);
        runOut(static_cast<BonjourGetAddrInfo*>(daemon.byId(2)->context));
        QCOMPARE(daemon.live(), 2);
        QVERIFY(timerOf(started.get()));
        addressArrives("10.0.0.1");
        QCOMPARE(signalsSeen().last(), succeeded(QStringLiteral("10.0.0.1")));
    }

    void aReplyIsTracedThenLooksUpItsHostOnItsInterface()
    {
        const auto started = resolver("Kitchen", 3, MDnsProtocolType::IPv6);
        record.clear();
        resolveReplies(daemon.byId(1), 5);
        QCOMPARE(
            record.of(Record::Log | Record::Call | Record::Connection | Record::Signal).mid(1),
            (QStringList{
                replyTrace() + QStringLiteral("if=%1 error=0 fullname=Kitchen._demo._tcp.local. "
                                              "hosttarget=kitchen.local. port=8080")
                                   .arg(label(5)),
                QStringLiteral("TRACE BonjourLister: Enter [BonjourGetAddrInfo::BonjourGetAddrInfo("
                               "uint32_t, const char*, MDnsProtocolType)]: Creating BonjourGetAddrInfo "
                               "for hostname: kitchen.local. on interface: ") +
                    label(5),
                QStringLiteral("DNSServiceGetAddrInfo(#2, flags=0, if=5, protocol=2, "
                               "host='kitchen.local.')"),
                QStringLiteral("DNSServiceRefSockFD(#2)"), QStringLiteral("DNSServiceRefSockFD(#2)"),
                QStringLiteral("connect notifier of #2 2activated(int) to BonjourGetAddrInfo "
                               "1on_socketNotifier_activated(int) type=0 by text"),
                QStringLiteral("connect QTimer timeout() to BonjourGetAddrInfo type=0"),
                QStringLiteral("connect BonjourGetAddrInfo resolved(QHostAddress) to BonjourResolver "
                               "type=0"),
                QStringLiteral("connect BonjourGetAddrInfo resolveFailed() to BonjourResolver type=0")}));
        QVERIFY(!timerOf(started.get())->isActive());
        // The instance stays the one that was browsed.
        addressArrives("fe80::1", 5);
        QVERIFY(signalsSeen().last().startsWith(QLatin1String("#1 resolveSucceeded(Kitchen on 3 [")));
    }

    void ports_data()
    {
        QTest::addColumn<int>("port");
        QTest::newRow("0") << 0;
        QTest::newRow("1") << 1;
        QTest::newRow("256") << 256;
        QTest::newRow("32768") << 32768;
        QTest::newRow("65535") << 65535;
    }

    void ports()
    {
        QFETCH(int, port);
        ResolveReply reply;
        reply.port = std::uint16_t(port);
        const auto started = resolver();
        resolveReplies(3, reply);
        QVERIFY(logs()
                    .filter(QStringLiteral("hosttarget"))
                    .last()
                    .endsWith(QStringLiteral(" port=%1").arg(port)));
        addressArrives("10.0.0.1");
        QVERIFY(signalsSeen().last().contains(QStringLiteral(" port=%1 ").arg(port)));
    }

    void anErrorReplyStopsTheTimerAndFails()
    {
        const auto started = resolver();
        record.clear();
        ResolveReply reply;
        reply.error = kDNSServiceErr_NoSuchRecord;
        resolveReplies(3, reply);
        QCOMPARE(record.of(Record::Log | Record::Signal).mid(1),
                 (QStringList{QStringLiteral("ERROR BonjourLister: Error in bonjourResolveReplyCallback: "
                                             "-65554 for ") +
                                  label(QStringLiteral("Kitchen"), 3),
                              QStringLiteral("#1 resolveFailed(Kitchen on 3)")}));
        QVERIFY(!timerOf(started.get())->isActive());
        QCOMPARE(lookups(), QStringList());
        resolveReplies(3);
        addressArrives("10.0.0.1");
        QCOMPARE(signalsSeen().last(), succeeded(QStringLiteral("10.0.0.1")));
    }

    void anErrorReplyWithNullPointersFailsToo()
    {
        const auto started = resolver();
        ResolveReply reply;
        reply.error = kDNSServiceErr_Unknown;
        reply.fullName.reset();
        reply.host.reset();
        reply.txt = QByteArray();
        resolveReplies(3, reply);
        QCOMPARE(signalsSeen(), QStringList{QStringLiteral("#1 resolveFailed(Kitchen on 3)")});
    }

    void eachAddressEmitsTheGrowingRecord()
    {
        const auto started = resolver();
        resolveReplies(3);
        record.clear();
        addressArrives("10.0.0.1");
        addressArrives("fe80::1");
        QCOMPARE(signalsSeen().filter(QStringLiteral("Succeeded")),
                 (QStringList{succeeded(QStringLiteral("10.0.0.1")),
                              succeeded(QStringLiteral("10.0.0.1 fe80::1%3"))}));
        QCOMPARE(logs().filter(QStringLiteral("on_addressResolved")),
                 (QStringList{QStringLiteral("TRACE BonjourLister: Enter [void "
                                             "BonjourResolver::on_addressResolved(const QHostAddress&)]: "
                                             "address: 10.0.0.1"),
                              QStringLiteral("TRACE BonjourLister: Enter [void "
                                             "BonjourResolver::on_addressResolved(const QHostAddress&)]: "
                                             "address: fe80::1%3")}));
    }

    void theSameAddressTwiceEmitsTwiceWithOneAddress()
    {
        const auto started = resolver();
        resolveReplies(3);
        addressArrives("10.0.0.1");
        addressArrives("10.0.0.1");
        QCOMPARE(signalsSeen().filter(QStringLiteral("Succeeded")),
                 (QStringList{succeeded(QStringLiteral("10.0.0.1")), succeeded(QStringLiteral("10.0.0.1"))}));
    }

    void aSecondReplyReplacesTheLookupAndKeepsTheAddresses()
    {
        const auto started = resolver();
        resolveReplies(3);
        addressArrives("10.0.0.1");
        record.clear();
        ResolveReply reply;
        reply.fullName = "Kitchen\\ 2._demo._tcp.local.";
        reply.host = "other.local.";
        reply.port = 99;
        resolveReplies(daemon.byId(1), 3, reply);
        // The new one is there before the old one goes.
        QCOMPARE(
            record.of(Record::Call | Record::Destroyed).mid(1),
            (QStringList{QStringLiteral("DNSServiceGetAddrInfo(#3, flags=0, if=3, protocol=0, "
                                        "host='other.local.')"),
                         QStringLiteral("DNSServiceRefSockFD(#3)"), QStringLiteral("DNSServiceRefSockFD(#3)"),
                         QStringLiteral("DNSServiceRefDeallocate(#2)"), QStringLiteral("~notifier of #2"),
                         QStringLiteral("~BonjourGetAddrInfo #2")}));
        addressArrives("10.0.0.2");
        QCOMPARE(signalsSeen().last(),
                 QStringLiteral("#1 resolveSucceeded(Kitchen on 3 [Kitchen\\ 2._demo._tcp.local.], "
                                "{host=other.local. name=Kitchen 2 port=99 addresses=[10.0.0.1 10.0.0.2] "
                                "txt=[]})"));
    }

    void aSecondReplyDropsWhatTheOldLookupHadNotDelivered()
    {
        const auto started = resolver();
        resolveReplies(3);
        hold = true;
        addressArrives(daemon.byId(2), "10.0.0.1", 3);
        resolveReplies(daemon.byId(1), 3);
        started->on_socketNotifier_activated(0); // the resolver's own reply comes first
        record.clear();
        deliver();
        QCOMPARE(record.of(~0), QStringList());
        QCOMPARE(daemon.live(Op::GetAddrInfo), 1);
        hold = false;
        addressArrives("10.0.0.2");
        QCOMPARE(signalsSeen().last(), succeeded(QStringLiteral("10.0.0.2")));
    }

    void theTimeoutFailsAndALateReplyStillSucceeds()
    {
        const auto started = resolver();
        record.clear();
        runOut(started.get());
        QCOMPARE(
            record.of(~Record::Core),
            (QStringList{QStringLiteral("INFO BonjourLister: Enter [void BonjourResolver::on_timeout()]: "
                                        "Resolving timed out"),
                         QStringLiteral("#1 resolveFailed(Kitchen on 3)")}));
        resolveReplies(3);
        addressArrives("10.0.0.1");
        QCOMPARE(signalsSeen().last(), succeeded(QStringLiteral("10.0.0.1")));
    }

    void aFailedLookupEndsLikeATimeout()
    {
        const auto started = resolver();
        resolveReplies(3);
        record.clear();
        addressArrives(nullptr, 3, kDNSServiceErr_NoSuchName);
        QCOMPARE(
            record.of(Record::Log | Record::Signal).mid(1),
            (QStringList{QStringLiteral("#2 resolveFailed()"),
                         QStringLiteral("INFO BonjourLister: Enter [void BonjourResolver::on_timeout()]: "
                                        "Resolving timed out"),
                         QStringLiteral("#1 resolveFailed(Kitchen on 3 [Kitchen._demo._tcp.local.])")}));
        QCOMPARE(daemon.live(Op::GetAddrInfo), 1);
    }

    void aLookupThatTimesOutFailsTheResolver()
    {
        const auto started = resolver();
        resolveReplies(3);
        record.clear();
        runOut(static_cast<BonjourGetAddrInfo*>(daemon.byId(2)->context));
        QCOMPARE(signalsSeen(),
                 (QStringList{QStringLiteral("#2 resolveFailed()"),
                              QStringLiteral("#1 resolveFailed(Kitchen on 3 [Kitchen._demo._tcp.local.])")}));
    }

    void aLookupThatIsRefusedLeavesTheResolverWaiting()
    {
        const auto started = resolver();
        daemon.failNext(Op::GetAddrInfo, kDNSServiceErr_BadParam);
        resolveReplies(3);
        QCOMPARE(signalsSeen(), QStringList{QStringLiteral("#2 resolveFailed()")});
        QVERIFY(!timerOf(started.get())->isActive());
        resolveReplies(3);
        addressArrives("10.0.0.1");
        QCOMPARE(signalsSeen().last(), succeeded(QStringLiteral("10.0.0.1")));
    }

    void destructionEndsTheLookupFirstAndSaysNothing()
    {
        auto started = resolver();
        resolveReplies(3);
        const QPointer<QTimer> timer = timerOf(started.get());
        record.clear();
        started.reset();
        QCOMPARE(record.of(~0),
                 (QStringList{QStringLiteral("DNSServiceRefDeallocate(#2)"),
                              QStringLiteral("~notifier of #2"), QStringLiteral("~BonjourGetAddrInfo #2"),
                              QStringLiteral("DNSServiceRefDeallocate(#1)"),
                              QStringLiteral("~notifier of #1"), QStringLiteral("~BonjourResolver #1")}));
        QVERIFY(!timer);
    }
};

static const TestClass<Resolver> registeredClass("Resolver");

#include "ResolverTest.moc"
