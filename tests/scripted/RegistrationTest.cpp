// SPDX-License-Identifier: MIT
#include "ScriptedTest.h"

#include <QPointer>
#include <QSocketNotifier>
#include <numeric>

class Registration : public ScriptedTest
{
    Q_OBJECT

private:
    static QString registerCall(int number, const QString& name)
    {
        return QStringLiteral("DNSServiceRegister(#%1, flags=0, if=0, name='%2', type='_demo._tcp', "
                              "domain=null, host=null, port=1f 90, txt=0 null)")
            .arg(number)
            .arg(name);
    }

    void hostIsResolved(const char* host)
    {
        ResolveReply reply;
        reply.host = host;
        resolveReplies(0, reply);
        addressArrives("10.0.0.1", 0);
    }

private Q_SLOTS:
    void isIdleAtFirst()
    {
        const auto idle = advertiser();
        QCOMPARE(record.of(~0), QStringList());
        QVERIFY(idle->children().isEmpty());
    }

    void startRegistersThenWatchesThenMakesTheTxtRecord()
    {
        const auto started = advertiser();
        started->start();
        QCOMPARE(record.of(~0),
                 (QStringList{registerCall(1, QStringLiteral("Kitchen")),
                              QStringLiteral("DNSServiceRefSockFD(#1)"),
                              QStringLiteral("connect notifier of #1 activated(QSocketDescriptor,"
                                             "QSocketNotifier::Type) to BonjourAdvertiser type=0"),
                              QStringLiteral("TXTRecordCreate(0, null)"),
                              QStringLiteral("INFO BonjourAdvertiser: Started advertising: Kitchen type: "
                                             "_demo._tcp on port 8080")}));
        const auto notifiers = started->findChildren<QSocketNotifier*>(QString(), Qt::FindDirectChildrenOnly);
        QCOMPARE(notifiers.size(), 1);
        QCOMPARE(notifiers.first()->type(), QSocketNotifier::Read);
        QCOMPARE(int(notifiers.first()->socket()), daemon.byId(1)->descriptor);
    }

    void ports_data()
    {
        QTest::addColumn<int>("port");
        QTest::addColumn<QString>("bytes");
        QTest::newRow("8080") << 8080 << QStringLiteral("1f 90");
        QTest::newRow("0") << 0 << QStringLiteral("00 00");
        QTest::newRow("255") << 255 << QStringLiteral("00 ff");
        QTest::newRow("65535") << 65535 << QStringLiteral("ff ff");
    }

    void ports()
    {
        QFETCH(int, port);
        QFETCH(QString, bytes);
        const auto started = advertiser(QStringLiteral("Kitchen"), QStringLiteral("_demo._tcp"), port);
        started->start();
        QVERIFY(calls().first().contains(QStringLiteral("port=%1,").arg(bytes)));
        QVERIFY(logs().last().endsWith(QStringLiteral(" on port %1").arg(port)));
    }

    void longNamesAndTypesAreCutAtACharacter_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("cut");
        const auto row = [](const char* name, const QString& text, const QString& cut) {
            QTest::newRow(name) << text << cut;
        };
        const QString two = QStringLiteral(u"\u00FC");
        const QString three = QStringLiteral(u"\u53F0");
        const QString four = QStringLiteral(u"\U0001F373");
        const QString x = QStringLiteral("x");
        row("62 bytes", x.repeated(62), x.repeated(62));
        row("63 bytes", x.repeated(63), x.repeated(63));
        row("64 bytes", x.repeated(64), x.repeated(63));
        row("200 bytes", x.repeated(200), x.repeated(63));
        row("2-byte characters to 62", two.repeated(31), two.repeated(31));
        row("2-byte characters to 64", two.repeated(32), two.repeated(31));
        row("2-byte characters to 63", x + two.repeated(31), x + two.repeated(31));
        row("3-byte characters to 63", three.repeated(21), three.repeated(21));
        row("3-byte characters to 66", three.repeated(22), three.repeated(21));
        row("3-byte characters to 64", x + three.repeated(21), x + three.repeated(20));
        row("3-byte characters to 65", two + three.repeated(21), two + three.repeated(20));
        row("4-byte characters to 60", four.repeated(15), four.repeated(15));
        row("4-byte characters to 64", four.repeated(16), four.repeated(15));
        row("4-byte characters to 63", x.repeated(3) + four.repeated(15), x.repeated(3) + four.repeated(15));
        row("4-byte characters to 65", x + four.repeated(16), x + four.repeated(15));
    }

    void longNamesAndTypesAreCutAtACharacter()
    {
        QFETCH(QString, text);
        QFETCH(QString, cut);
        const auto started = advertiser(text, text);
        started->start();
        QCOMPARE(daemon.byId(1)->name, cut.toUtf8());
        QCOMPARE(daemon.byId(1)->type, cut.toUtf8());
        QVERIFY(daemon.byId(1)->name.size() <= 63);
    }

    void startTwiceRegistersOnceAndIsSilent()
    {
        const auto started = advertiser();
        started->start();
        record.clear();
        started->start();
        QCOMPARE(record.of(~0), QStringList());
    }

    void stopWhileIdleTouchesNothing()
    {
        const auto idle = advertiser();
        idle->stop();
        QCOMPARE(record.of(~0), QStringList());
    }

    void stopTakesItsStepsInOrder()
    {
        const auto started = advertiser();
        started->start();
        record.clear();
        started->stop();
        QCOMPARE(record.of(~0),
                 (QStringList{QStringLiteral("INFO BonjourAdvertiser: Stopping advertising: Kitchen type: "
                                             "_demo._tcp"),
                              QStringLiteral("~notifier of #1"), QStringLiteral("TXTRecordDeallocate()"),
                              QStringLiteral("DNSServiceRefDeallocate(#1)")}));
        record.clear();
        started->stop();
        QCOMPARE(record.of(~0), QStringList());
    }

    void destructionStops()
    {
        auto started = advertiser();
        started->start();
        record.clear();
        started.reset();
        QCOMPARE(record.of(~0),
                 (QStringList{QStringLiteral("INFO BonjourAdvertiser: Stopping advertising: Kitchen type: "
                                             "_demo._tcp"),
                              QStringLiteral("~notifier of #1"), QStringLiteral("TXTRecordDeallocate()"),
                              QStringLiteral("DNSServiceRefDeallocate(#1)"),
                              QStringLiteral("~BonjourAdvertiser")}));
    }

    void destructionStopsBeforeTheSelfResolverGoes()
    {
        auto started = advertiser();
        started->start();
        registered("Kitchen");
        record.clear();
        started.reset();
        QCOMPARE(
            record.of(Record::Destroyed | Record::Call),
            (QStringList{QStringLiteral("~notifier of #1"), QStringLiteral("TXTRecordDeallocate()"),
                         QStringLiteral("DNSServiceRefDeallocate(#1)"),
                         QStringLiteral("DNSServiceRefDeallocate(#2)"), QStringLiteral("~notifier of #2"),
                         QStringLiteral("~BonjourResolver #2"), QStringLiteral("~BonjourAdvertiser")}));
    }

    void aRefusedStartIsLoggedAndMayBeTriedAgain_data()
    {
        QTest::addColumn<int>("error");
        QTest::addColumn<int>("handle");
        QTest::newRow("untouched") << int(kDNSServiceErr_ServiceNotRunning)
                                   << int(DnsSdDouble::Handle::Untouched);
        QTest::newRow("nulled") << int(kDNSServiceErr_BadParam) << int(DnsSdDouble::Handle::Null);
        QTest::newRow("written") << int(kDNSServiceErr_Unknown) << int(DnsSdDouble::Handle::Written);
        QTest::newRow("positive code") << 5 << int(DnsSdDouble::Handle::Untouched);
    }

    void aRefusedStartIsLoggedAndMayBeTriedAgain()
    {
        QFETCH(int, error);
        QFETCH(int, handle);
        daemon.failNext(Op::Register, error, DnsSdDouble::Handle(handle));
        const auto refused = advertiser();
        refused->start();
        QCOMPARE(logs(),
                 (QStringList{
                     QStringLiteral("ERROR BonjourAdvertiser: An error occured during creation of the "
                                    "advertiser: Kitchen type: _demo._tcp"),
                     QStringLiteral("ERROR BonjourAdvertiser: The DNSServiceErrorType was: %1").arg(error)}));
        QCOMPARE(daemon.live(), 0);
        QVERIFY(refused->children().isEmpty());
        // Only a handle that was written has to be released.
        const QStringList released = DnsSdDouble::Handle(handle) == DnsSdDouble::Handle::Written
                                         ? QStringList{QStringLiteral("DNSServiceRefDeallocate(#1)")}
                                         : QStringList();
        QCOMPARE(calls().mid(1), released);
        record.clear();
        refused->stop();
        QCOMPARE(record.of(~0), QStringList());
        refused->start();
        QCOMPARE(calls().first(), registerCall(2, QStringLiteral("Kitchen")));
        QCOMPARE(daemon.live(), 1);
    }

    void aDescriptorOfMinus1IsNotTestedFor()
    {
        Guards::expectWarning(QStringLiteral("QSocketNotifier: Invalid socket specified"));
        daemon.nextDescriptor(-1);
        const auto started = advertiser();
        started->start();
        QCOMPARE(logs(QStringLiteral("INFO")).size(), 1);
    }

    void theHostIsRememberedBeforeItIsTold()
    {
        const auto started = advertiser();
        started->start();
        registered("Kitchen");
        MDnsVeskClient same;
        same.hostName = QStringLiteral("kitchen.local.");
        int heard = 0;
        connect(started.get(), &MDnsAdvertiser::nameRegistered, [&] {
            if (++heard == 1)
                started->on_resolved({}, same);
        });
        hostIsResolved("kitchen.local.");
        QCOMPARE(heard, 1);
    }

    void aConfirmedRegistrationResolvesItself()
    {
        const auto started = advertiser();
        started->start();
        record.clear();
        registered("Kitchen");
        QCOMPARE(
            record.of(Record::Call | Record::Connection).mid(1),
            (QStringList{QStringLiteral("DNSServiceResolve(#2, flags=0, if=0, name='Kitchen', "
                                        "type='_Demo._TCP.', domain='Local.')"),
                         QStringLiteral("DNSServiceRefSockFD(#2)"), QStringLiteral("DNSServiceRefSockFD(#2)"),
                         QStringLiteral("connect notifier of #2 2activated(int) to BonjourResolver "
                                        "1on_socketNotifier_activated(int) type=0 by text"),
                         QStringLiteral("connect QTimer timeout() to BonjourResolver type=0"),
                         QStringLiteral("connect BonjourResolver resolveSucceeded(ResolveData,"
                                        "MDnsVeskClient) to BonjourAdvertiser type=0")}));
        resolveReplies(0);
        QCOMPARE(daemon.newest(Op::GetAddrInfo)->protocol, 0U);
    }

    void theFirstAddressReportsTheHostAndEndsTheResolver()
    {
        const auto started = advertiser();
        started->start();
        registered("Kitchen");
        resolveReplies(0);
        record.clear();
        addressArrives("10.0.0.1", 0);
        QCOMPARE(record.of(Record::Signal | Record::Destroyed).mid(1),
                 (QStringList{QStringLiteral("#2 resolveSucceeded(Kitchen on 0 [Kitchen._demo._tcp.local.], "
                                             "{host=kitchen.local. name=Kitchen port=8080 "
                                             "addresses=[10.0.0.1] txt=[]})"),
                              QStringLiteral("nameRegistered(kitchen.local.)"),
                              QStringLiteral("~notifier of #3"), QStringLiteral("~BonjourGetAddrInfo #3"),
                              QStringLiteral("~notifier of #2"), QStringLiteral("~BonjourResolver #2")}));
        QCOMPARE(daemon.live(), 1);
    }

    void aRenameResolvesTheNewNameAndTheHostIsReportedOnlyWhenItChanges()
    {
        const auto started = advertiser();
        started->start();
        registered("Kitchen (2)");
        QCOMPARE(daemon.newest(Op::Resolve)->name, QByteArray("Kitchen (2)"));
        hostIsResolved("kitchen.local.");
        registered("Kitchen (3)");
        QCOMPARE(daemon.newest(Op::Resolve)->name, QByteArray("Kitchen (3)"));
        hostIsResolved("kitchen.local.");
        registered("Kitchen (3)");
        hostIsResolved("kitchen-2.local.");
        QCOMPARE(signalsSeen().filter(QStringLiteral("nameRegistered")),
                 (QStringList{QStringLiteral("nameRegistered(kitchen.local.)"),
                              QStringLiteral("nameRegistered(kitchen-2.local.)")}));
        QCOMPARE(daemon.live(), 1);
    }

    void aRestartDoesNotReportTheSameHostAgain()
    {
        const auto started = advertiser();
        started->start();
        registered("Kitchen");
        hostIsResolved("kitchen.local.");
        started->stop();
        started->start();
        registered("Kitchen");
        hostIsResolved("kitchen.local.");
        QCOMPARE(signalsSeen().filter(QStringLiteral("nameRegistered")).size(), 1);
    }

    void anEmptyHostIsNoNewsAtFirst()
    {
        const auto started = advertiser();
        started->start();
        registered("Kitchen");
        ResolveReply reply;
        reply.host.reset();
        resolveReplies(0, reply);
        addressArrives("10.0.0.1", 0);
        QCOMPARE(signalsSeen().filter(QStringLiteral("nameRegistered")), QStringList());
        QCOMPARE(daemon.live(), 1);
    }

    void aSecondReplyReplacesTheRunningResolver()
    {
        const auto started = advertiser();
        started->start();
        registered("Kitchen");
        record.clear();
        registered("Kitchen");
        // The new one has started before the old one goes.
        QCOMPARE(
            record.of(Record::Call | Record::Destroyed).mid(1),
            (QStringList{QStringLiteral("DNSServiceResolve(#3, flags=0, if=0, name='Kitchen', "
                                        "type='_Demo._TCP.', domain='Local.')"),
                         QStringLiteral("DNSServiceRefSockFD(#3)"), QStringLiteral("DNSServiceRefSockFD(#3)"),
                         QStringLiteral("DNSServiceRefDeallocate(#2)"), QStringLiteral("~notifier of #2"),
                         QStringLiteral("~BonjourResolver #2")}));
        QCOMPARE(daemon.live(Op::Resolve), 1);
        hostIsResolved("kitchen.local.");
        QCOMPARE(signalsSeen().last(), QStringLiteral("nameRegistered(kitchen.local.)"));
    }

    void flagsOfTheReplyDoNotMatter_data()
    {
        QTest::addColumn<DNSServiceFlags>("flags");
        QTest::newRow("none") << DNSServiceFlags(0);
        QTest::newRow("add") << add;
        QTest::newRow("more coming") << moreComing;
        QTest::newRow("all bits") << DNSServiceFlags(0xFFFFFFFF);
        QTest::newRow("all but add") << DNSServiceFlags(~add);
    }

    void flagsOfTheReplyDoNotMatter()
    {
        QFETCH(DNSServiceFlags, flags);
        const auto started = advertiser();
        started->start();
        registered("Kitchen", kDNSServiceErr_NoError, flags);
        QCOMPARE(daemon.live(Op::Resolve), 1);
        registered("Kitchen", kDNSServiceErr_Unknown, flags);
        QCOMPARE(logs(QStringLiteral("DEBUG")).size(), 1);
        QCOMPARE(daemon.live(Op::Resolve), 1);
    }

    void theRegisteredNameIsReadAsUtf8_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("UTF-8") << QByteArray("K\xC3\xBC"
                                             "che \xF0\x9F\x8D\xB3");
        QTest::newRow("capitals and blanks") << QByteArray(" KITCHEN (2) ");
        QTest::newRow("bytes that are no UTF-8") << QByteArray("K\xFF\xC3");
        QTest::newRow("escapes are none") << QByteArray("A\\.B\\032");
        QTest::newRow("longer than a label") << QByteArray(100, 'x');
    }

    void theRegisteredNameIsReadAsUtf8()
    {
        QFETCH(QByteArray, name);
        const auto started = advertiser();
        started->start();
        registered(name.constData());
        // What is asked for are the bytes of the text, not those of the reply.
        QCOMPARE(daemon.newest(Op::Resolve)->name, QString::fromUtf8(name).toUtf8());
        runOut(static_cast<BonjourResolver*>(daemon.newest(Op::Resolve)->context));
        QCOMPARE(signalsSeen().last(),
                 QStringLiteral("#2 resolveFailed(%1 on 0)").arg(QString::fromUtf8(name)));
    }

    void aNullNameIsResolvedAsAnEmptyOne()
    {
        const auto started = advertiser();
        started->start();
        registered(nullptr);
        QCOMPARE(daemon.newest(Op::Resolve)->name, QByteArray(""));
    }

    void aRejectedRegistrationIsLoggedOnly()
    {
        const auto started = advertiser();
        started->start();
        record.clear();
        registered(nullptr, kDNSServiceErr_NameConflict);
        QCOMPARE(record.of(~(Record::Call | Record::Reply)),
                 QStringList{QStringLiteral("DEBUG BonjourAdvertiser: Failed to register service: Kitchen, "
                                            "error: -65548")});
        QCOMPARE(daemon.live(), 1);
        QCOMPARE(started->children().size(), 1);
        record.clear();
        started->start();
        QCOMPARE(record.of(~0), QStringList());
        // What the daemon makes of it later is still heard.
        registered("Kitchen (2)");
        hostIsResolved("kitchen.local.");
        QCOMPARE(signalsSeen().last(), QStringLiteral("nameRegistered(kitchen.local.)"));
    }

    void aLateRejectionKeepsTheSelfResolverThatRuns()
    {
        const auto started = advertiser();
        started->start();
        registered("Kitchen");
        registered(nullptr, kDNSServiceErr_NameConflict);
        QCOMPARE(daemon.live(Op::Resolve), 1);
        hostIsResolved("kitchen.local.");
        QCOMPARE(signalsSeen().last(), QStringLiteral("nameRegistered(kitchen.local.)"));
    }

    void aRejectionNamesWhatWasAskedFor()
    {
        const auto started = advertiser();
        started->start();
        registered("Kitchen (2)", kDNSServiceErr_NameConflict);
        QCOMPARE(logs(QStringLiteral("DEBUG")),
                 QStringList{QStringLiteral("Failed to register service: Kitchen, error: -65548")});
    }

    void aHostInAnotherCaseIsAnotherHost()
    {
        const auto started = advertiser();
        started->start();
        for (const char* host : {"kitchen.local.", "Kitchen.local.", "kitchen.local"}) {
            registered("Kitchen");
            hostIsResolved(host);
        }
        QCOMPARE(signalsSeen().filter(QStringLiteral("nameRegistered")),
                 (QStringList{QStringLiteral("nameRegistered(kitchen.local.)"),
                              QStringLiteral("nameRegistered(Kitchen.local.)"),
                              QStringLiteral("nameRegistered(kitchen.local)")}));
    }

    void aFailedSelfResolveIsSilentAndStays()
    {
        const auto started = advertiser();
        started->start();
        registered("Kitchen");
        runOut(static_cast<BonjourResolver*>(daemon.byId(2)->context));
        QCOMPARE(daemon.live(Op::Resolve), 1);
        QCOMPARE(signalsSeen(), QStringList{QStringLiteral("#2 resolveFailed(Kitchen on 0)")});
        hostIsResolved("kitchen.local.");
        QCOMPARE(signalsSeen().filter(QStringLiteral("nameRegistered")).size(), 1);
    }

    void aSelfResolveThatIsRefusedIsSilent()
    {
        const auto started = advertiser();
        started->start();
        daemon.failNext(Op::Resolve, kDNSServiceErr_BadParam);
        registered("Kitchen");
        QCOMPARE(daemon.live(), 1);
    }

    void stopLeavesTheSelfResolverRunning()
    {
        const auto started = advertiser();
        started->start();
        registered("Kitchen");
        started->stop();
        QCOMPARE(daemon.live(Op::Resolve), 1);
        hostIsResolved("kitchen.local.");
        QCOMPARE(signalsSeen().filter(QStringLiteral("nameRegistered")).size(), 1);
    }
};

static const TestClass<Registration> registeredClass("Registration");

#include "RegistrationTest.moc"
