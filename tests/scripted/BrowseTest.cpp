// SPDX-License-Identifier: MIT
#include "ScriptedTest.h"

class Browse : public ScriptedTest
{
    Q_OBJECT

private:
    static QString replyTrace(const QString& rest)
    {
        return QStringLiteral("TRACE BonjourLister: Enter [void BonjourLister::bonjourBrowseReplyCallback("
                              "DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*, "
                              "const char*, const char*)]: ") +
               rest;
    }

    static QString on(std::uint32_t interfaceIndex)
    {
        return label(QStringLiteral("Kitchen"), interfaceIndex);
    }

private Q_SLOTS:
    void startsAtOnce()
    {
        QObject parent;
        BonjourLister started(&parent, QStringLiteral(u"_d\u00E9mo._tcp"), MDnsProtocolType::IPv4);
        QCOMPARE(
            record.of(~Record::Core),
            (QStringList{QStringLiteral(u"INFO BonjourLister: Enter [BonjourLister::BonjourLister(QObject*, "
                                        "const QString&, MDnsProtocolType)]: Creating Bonjour lister for "
                                        "service: _d\u00E9mo._tcp"),
                         QStringLiteral(u"DNSServiceBrowse(#1, flags=0, if=0, type='_d\u00E9mo._tcp', "
                                        "domain=null)"),
                         QStringLiteral("DNSServiceRefSockFD(#1)"), QStringLiteral("DNSServiceRefSockFD(#1)"),
                         QStringLiteral("connect notifier of #1 2activated(int) to BonjourLister "
                                        "1on_browseSocketNotifier_activated(int) type=0 by text")}));
        QCOMPARE(started.parent(), &parent);
        QVERIFY(started.children().isEmpty());
        QVERIFY(started.getClients().isEmpty());
    }

    void theTypeIsBrowsedAsItIs()
    {
        const BonjourLister started(nullptr, QStringLiteral(" _Demo._TCP "), anyProtocol);
        QCOMPARE(daemon.byId(1)->type, QByteArray(" _Demo._TCP "));
    }

    void aRefusedBrowseLeavesTheListerEmptyForGood()
    {
        daemon.failNext(Op::Browse, kDNSServiceErr_ServiceNotRunning);
        const auto refused = lister();
        QCOMPARE(logs(QStringLiteral("ERROR")),
                 QStringList{QStringLiteral("Error starting BonjourLister: -65563")});
        QCOMPARE(logs().size(), 2);
        QVERIFY(calls().last().startsWith(QLatin1String("DNSServiceBrowse(#1, ")));
        QCOMPARE(calls().size(), 1);
        QVERIFY(refused->getClients().isEmpty());
        QCOMPARE(record.of(Record::Signal | Record::Connection), QStringList());
        QCoreApplication::processEvents();
        QVERIFY(refused->getClients().isEmpty());
    }

    void aDescriptorOfMinus1IsLogged()
    {
        daemon.nextDescriptor(-1);
        const auto deaf = lister();
        QCOMPARE(logs(QStringLiteral("ERROR")),
                 QStringList{QStringLiteral("Error creating Bonjour connection: socket is -1")});
    }

    void aFoundInstanceIsResolvedWithTheRepliesTypeAndDomain()
    {
        const auto started = lister(MDnsProtocolType::IPv4);
        record.clear();
        browseReplies(add, "Kitchen", 3, kDNSServiceErr_NoError, "_other._tcp.", "example.com.");
        QCOMPARE(
            record.of(~(Record::Core | Record::Reply)).mid(1),
            (QStringList{
                replyTrace(QStringLiteral("flags=2 if=%1 error=0 serviceName=Kitchen "
                                          "regtype=_other._tcp. replyDomain=example.com.")
                               .arg(label(3))),
                QStringLiteral("INFO BonjourLister: Browse found: ") + on(3),
                QStringLiteral("TRACE BonjourLister: Enter [BonjourResolver::BonjourResolver(ResolveData, "
                               "const char*, const char*, MDnsProtocolType)]: Creating BonjourResolver "
                               "for: ") +
                    on(3),
                QStringLiteral("DNSServiceResolve(#2, flags=0, if=3, name='Kitchen', type='_other._tcp.', "
                               "domain='example.com.')"),
                QStringLiteral("DNSServiceRefSockFD(#2)"), QStringLiteral("DNSServiceRefSockFD(#2)"),
                QStringLiteral("connect notifier of #2 2activated(int) to BonjourResolver "
                               "1on_socketNotifier_activated(int) type=0 by text"),
                QStringLiteral("connect QTimer timeout() to BonjourResolver type=0"),
                QStringLiteral("connect BonjourResolver resolveSucceeded(ResolveData,MDnsVeskClient) to "
                               "BonjourLister type=0"),
                QStringLiteral("connect BonjourResolver resolveFailed(ResolveData) to BonjourLister "
                               "type=0")}));
        resolveReplies(3);
        QCOMPARE(daemon.newest(Op::GetAddrInfo)->protocol, 1U);
    }

    void theSameInstanceTwiceResetsItsResolverOnce()
    {
        const auto started = lister();
        browseAdd("Kitchen", 3);
        QCOMPARE(logs(QStringLiteral("WARN")), QStringList());
        record.clear();
        browseAdd("Kitchen", 3);
        QCOMPARE(logs(QStringLiteral("WARN")),
                 QStringList{QStringLiteral("Resetting resolver of: ") + on(3)});
        QCOMPARE(daemon.live(Op::Resolve), 1);
        // Warned, dropped, told, started: in this order.
        const QStringList account = record.of(Record::Log | Record::Destroyed).mid(1, 4);
        QCOMPARE(account,
                 (QStringList{QStringLiteral("WARN BonjourLister: Resetting resolver of: ") + on(3),
                              QStringLiteral("~notifier of #2"), QStringLiteral("~BonjourResolver #2"),
                              QStringLiteral("INFO BonjourLister: Browse found: ") + on(3)}));
    }

    void aResolvedInstanceFoundAgainKeepsItsRecord()
    {
        const auto started = listerWithKitchen();
        browseAdd("Kitchen", 3);
        QCOMPARE(logs(QStringLiteral("WARN")),
                 QStringList{QStringLiteral("Resetting resolver of: ") + on(3)});
        QCOMPARE(started->getClients(), QStringList{QStringLiteral("Kitchen")});
        QCOMPARE(daemon.live(Op::Resolve), 1);
        QCOMPARE(daemon.live(Op::QueryRecord), 0);
        QCOMPARE(signalsSeen(), QStringList());
    }

    void anInstanceRemovedWhileItIsResolvedAgainDropsTheResolver()
    {
        const auto started = listerWithKitchen();
        browseAdd("Kitchen", 3);
        resolveReplies(3);
        addressArrives("10.0.0.1");
        browseAdd("Kitchen", 3); // drops the monitor
        resolveReplies(3);
        record.clear();
        browseRemove("Kitchen", 3);
        QCOMPARE(record.of(Record::Destroyed | Record::Signal | Record::Log).mid(1),
                 (QStringList{QStringLiteral("INFO BonjourLister: Browse remove: ") + on(3),
                              QStringLiteral("~notifier of #9"), QStringLiteral("~BonjourGetAddrInfo #9"),
                              QStringLiteral("~notifier of #8"), QStringLiteral("~BonjourResolver #8"),
                              QStringLiteral("clientRemoved(Kitchen)")}));
    }

    void resolverAndMonitorAreBothDroppedResolverFirst_data()
    {
        QTest::addColumn<DNSServiceFlags>("flags");
        QTest::newRow("found again") << add;
        QTest::newRow("removed") << DNSServiceFlags(0);
    }

    void resolverAndMonitorAreBothDroppedResolverFirst()
    {
        QFETCH(DNSServiceFlags, flags);
        // Found again while its monitor starts, an instance has both.
        const auto started = lister();
        daemon.onStart = [&, first = daemon.onStart](Op* operation) {
            first(operation);
            if (operation->kind == Op::QueryRecord)
                started->bonjourBrowseReplyCallback(nullptr, add, 3, 0, "Kitchen", "_demo._tcp.", "local.");
        };
        browseAdd("Kitchen", 3);
        resolveReplies(3);
        addressArrives("10.0.0.1");
        QCOMPARE(daemon.live(Op::Resolve), 1);
        QCOMPARE(daemon.live(Op::QueryRecord), 1);
        record.clear();
        browseReplies(flags, "Kitchen", 3);
        QCOMPARE(record.of(Record::Destroyed),
                 (QStringList{QStringLiteral("~notifier of #5"), QStringLiteral("~BonjourResolver #5"),
                              QStringLiteral("~notifier of #4"), QStringLiteral("~BonjourTxtMonitor #4")}));
        QCOMPARE(logs(QStringLiteral("WARN")).size(), flags & add ? 1 : 0);
    }

    void oneNameOnTwoInterfacesIsTwoInstances()
    {
        const auto started = lister();
        for (const std::uint32_t index : {2U, 3U}) {
            browseAdd("Kitchen", index);
            QCOMPARE(daemon.live(Op::Resolve), 1);
            resolveReplies(index);
            addressArrives("10.0.0.1", index);
        }
        QCOMPARE(started->getClients(), (QStringList{QStringLiteral("Kitchen"), QStringLiteral("Kitchen")}));
        QCOMPARE(daemon.live(Op::QueryRecord), 2);
        browseRemove("Kitchen", 2);
        QCOMPARE(signalsSeen().last(), QStringLiteral("clientRemoved(Kitchen)"));
        QCOMPARE(started->getClients(), QStringList{QStringLiteral("Kitchen")});
        QCOMPARE(daemon.live(Op::QueryRecord), 1);
        txtArrives(txt({"a=1"}), 3);
        QCOMPARE(signalsSeen().last(), QStringLiteral("clientChanged(Kitchen)"));
    }

    void oneNameOnTwoInterfacesIsResolvedTwiceAtATime()
    {
        const auto started = lister();
        browseAdd("Kitchen", 2);
        browseAdd("Kitchen", 3);
        QCOMPARE(daemon.live(Op::Resolve), 2);
        QCOMPARE(logs(QStringLiteral("WARN")), QStringList());
        browseRemove("Kitchen", 2);
        QCOMPARE(daemon.live(Op::Resolve), 1);
        QCOMPARE(daemon.newest(Op::Resolve)->interfaceIndex, 3U);
    }

    void anInstanceRemovedBeforeItWasResolvedIsReportedAsEmpty()
    {
        const auto started = lister();
        browseAdd("Kitchen", 3);
        record.clear();
        browseRemove("Kitchen", 3);
        QCOMPARE(record.of(Record::Log | Record::Destroyed | Record::Signal),
                 (QStringList{replyTrace(QStringLiteral("flags=%1 if=%2 error=0 serviceName=Kitchen "
                                                        "regtype=_demo._tcp. replyDomain=local.")
                                             .arg(unasked)
                                             .arg(label(3))),
                              QStringLiteral("INFO BonjourLister: Browse remove: ") + on(3),
                              QStringLiteral("~notifier of #2"), QStringLiteral("~BonjourResolver #2"),
                              QStringLiteral("clientRemoved()")}));
    }

    void anUnknownInstanceRemovedIsReportedAsEmpty()
    {
        const auto started = listerWithKitchen();
        browseRemove("Nobody", 3);
        browseRemove("Kitchen", 4);
        QCOMPARE(signalsSeen(),
                 (QStringList{QStringLiteral("clientRemoved()"), QStringLiteral("clientRemoved()")}));
        QCOMPARE(started->getClients(), QStringList{QStringLiteral("Kitchen")});
    }

    void onlyTheAddFlagDecides_data()
    {
        QTest::addColumn<DNSServiceFlags>("flags");
        QTest::addColumn<bool>("found");
        QTest::newRow("add") << add << true;
        QTest::newRow("add and more coming") << DNSServiceFlags(add | moreComing) << true;
        QTest::newRow("all bits") << DNSServiceFlags(0xFFFFFFFF) << true;
        QTest::newRow("none") << DNSServiceFlags(0) << false;
        QTest::newRow("more coming") << moreComing << false;
        QTest::newRow("all but add") << DNSServiceFlags(~add) << false;
    }

    void onlyTheAddFlagDecides()
    {
        QFETCH(DNSServiceFlags, flags);
        QFETCH(bool, found);
        const auto started = lister();
        record.clear();
        browseReplies(flags, "Kitchen", 3);
        QCOMPARE(daemon.live(Op::Resolve), found ? 1 : 0);
        QCOMPARE(signalsSeen(), found ? QStringList() : QStringList{QStringLiteral("clientRemoved()")});
        QVERIFY(logs().first().contains(QStringLiteral("]: flags=%1 if=").arg(flags)));
    }

    void anErrorReplyChangesNothing_data()
    {
        QTest::addColumn<DNSServiceFlags>("flags");
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("add") << add << QByteArray("Kitchen");
        QTest::newRow("remove") << DNSServiceFlags(0) << QByteArray("Kitchen");
        QTest::newRow("null pointers") << add << QByteArray();
    }

    void anErrorReplyChangesNothing()
    {
        QFETCH(DNSServiceFlags, flags);
        QFETCH(QByteArray, name);
        const auto started = listerWithKitchen();
        browseAdd("Cellar", 3);
        record.clear();
        const char* const text = name.isNull() ? nullptr : name.constData();
        browseReplies(flags, text, 3, kDNSServiceErr_Unknown, text, text);
        QCOMPARE(logs().size(), 2);
        QCOMPARE(logs().last(),
                 QStringLiteral("ERROR BonjourLister: Error in bonjourBrowseReplyCallback: -65537"));
        QCOMPARE(record.of(Record::Signal | Record::Destroyed), QStringList());
        QCOMPARE(daemon.live(), 3);
        QCOMPARE(started->getClients(), QStringList{QStringLiteral("Kitchen")});
    }

    void aReplyWithNullPointersIsHandledAllTheSame()
    {
        const auto started = lister();
        record.clear();
        browseReplies(add, nullptr, 3, kDNSServiceErr_NoError, nullptr, nullptr);
        QVERIFY(logs().first().endsWith(QStringLiteral(" error=0 serviceName=")));
        QCOMPARE(logs().at(1), QStringLiteral("INFO BonjourLister: Browse found:  on ") + label(3));
        QCOMPARE(calls().at(1),
                 QStringLiteral("DNSServiceResolve(#2, flags=0, if=3, name='', type=null, domain=null)"));
    }

    void namesAreReadAsUtf8()
    {
        const auto started = lister();
        browseAdd("K\xC3\xBC"
                  "che \xF0\x9F\x8D\xB3",
                  3);
        QCOMPARE(daemon.newest(Op::Resolve)->name, QByteArray("K\xC3\xBC"
                                                              "che \xF0\x9F\x8D\xB3"));
    }

    void bytesThatAreNoUtf8AreAskedForAsTheTextTheyBecame()
    {
        const auto started = lister();
        browseAdd("K\xFF\xC3", 3);
        QCOMPARE(daemon.newest(Op::Resolve)->name, QByteArray("K\xEF\xBF\xBD\xEF\xBF\xBD"));
        // Other bytes of the same text are the same instance.
        browseAdd("K\xFE\xC3", 3);
        QCOMPARE(logs(QStringLiteral("WARN")).size(), 1);
        QCOMPARE(daemon.live(Op::Resolve), 1);
    }

    void namesAreTakenAsTheyAre_data()
    {
        QTest::addColumn<QByteArray>("name");
        for (const char* name :
             {" Kitchen ", "KITCHEN", "Kitchen\n", "A\\032B", "Dr. Who", "", "Kitchen._demo._tcp"})
            QTest::newRow(name) << QByteArray(name);
    }

    void namesAreTakenAsTheyAre()
    {
        QFETCH(QByteArray, name);
        const auto started = lister();
        browseAdd(name.constData(), 3);
        QCOMPARE(daemon.newest(Op::Resolve)->name, name);
        // Another spelling is another instance.
        browseRemove((name + "x").constData(), 3);
        browseRemove("kitchen", 3);
        QCOMPARE(daemon.live(Op::Resolve), 1);
        browseRemove(name.constData(), 3);
        QCOMPARE(daemon.live(Op::Resolve), 0);
    }

    void anotherTypeOrDomainIsTheSameInstance()
    {
        const auto started = listerWithKitchen();
        browseReplies(0, "Kitchen", 3, kDNSServiceErr_NoError, "_Other._TCP", "example.com.");
        QCOMPARE(signalsSeen(), QStringList{QStringLiteral("clientRemoved(Kitchen)")});
        QCOMPARE(daemon.live(), 1);
    }

    void aRecordAloneIsNoReasonToWarn()
    {
        const auto started = listerWithKitchen();
        browseAdd("Kitchen", 3); // drops the monitor
        ResolveReply reply;
        reply.error = kDNSServiceErr_Unknown;
        resolveReplies(3, reply); // drops the resolver
        QCOMPARE(started->getClients(), QStringList{QStringLiteral("Kitchen")});
        QCOMPARE(daemon.live(), 1);
        record.clear();
        browseAdd("Kitchen", 3);
        QCOMPARE(logs(QStringLiteral("WARN")), QStringList());
        QCOMPARE(daemon.live(Op::Resolve), 1);
    }

    void aRecordAloneIsRemovedByItsName()
    {
        const auto started = listerWithKitchen();
        browseAdd("Kitchen", 3);
        ResolveReply reply;
        reply.error = kDNSServiceErr_Unknown;
        resolveReplies(3, reply);
        browseRemove("Kitchen", 3);
        QCOMPARE(signalsSeen().last(), QStringLiteral("clientRemoved(Kitchen)"));
        QVERIFY(started->getClients().isEmpty());
    }

    void anErrorReplyLeavesTheBrowseRunning()
    {
        const auto started = lister();
        browseReplies(add, "Kitchen", 3, kDNSServiceErr_Unknown);
        QCOMPARE(daemon.live(), 1);
        browseAdd("Kitchen", 3);
        QCOMPARE(daemon.live(Op::Resolve), 1);
        QCOMPARE(calls().filter(QStringLiteral("DNSServiceBrowse")).size(), 1);
    }

    void queuedRepliesAreHandledOneByOne()
    {
        const auto started = lister();
        hold = true;
        browseAdd("Kitchen", 3);
        browseRemove("Kitchen", 3);
        browseAdd("Kitchen", 3);
        browseAdd("Cellar", 3);
        deliver();
        QCOMPARE(daemon.live(Op::Resolve), 2);
        QCOMPARE(signalsSeen(), QStringList{QStringLiteral("clientRemoved()")});
        QCOMPARE(logs(QStringLiteral("INFO")).filter(QStringLiteral("Browse found")).size(), 3);
    }

    void aFailedResolveIsDroppedAndNothingElse()
    {
        const auto started = lister();
        browseAdd("Kitchen", 3);
        record.clear();
        runOut(static_cast<BonjourResolver*>(daemon.byId(2)->context));
        QCOMPARE(
            record.of(~(Record::Core | Record::Call)),
            (QStringList{QStringLiteral("INFO BonjourLister: Enter [void BonjourResolver::on_timeout()]: "
                                        "Resolving timed out"),
                         QStringLiteral("#2 resolveFailed(Kitchen on 3)"),
                         QStringLiteral("INFO BonjourLister: Enter [void BonjourLister::on_resolveFailed("
                                        "const ResolveData&)]: Resolve failed, remove resolver: ") +
                             on(3),
                         QStringLiteral("~notifier of #2"), QStringLiteral("~BonjourResolver #2")}));
        browseAdd("Kitchen", 3);
        QCOMPARE(logs(QStringLiteral("WARN")), QStringList());
        QCOMPARE(daemon.live(Op::Resolve), 1);
    }

    void aFailedResolveKeepsTheRecordOfAnEarlierOne()
    {
        const auto started = listerWithKitchen();
        QVERIFY(QMetaObject::invokeMethod(
            started.get(), "on_resolveFailed",
            QArgument<ResolveData>("ResolveData", key(QStringLiteral("Kitchen"), 3))));
        QCOMPARE(started->getClients(), QStringList{QStringLiteral("Kitchen")});
        QCOMPARE(daemon.live(Op::QueryRecord), 1);
    }

    void aFailedResolveAfterAResetKeepsTheRecord()
    {
        const auto started = listerWithKitchen();
        browseAdd("Kitchen", 3);
        ResolveReply reply;
        reply.error = kDNSServiceErr_Unknown;
        resolveReplies(3, reply);
        QCOMPARE(started->getClients(), QStringList{QStringLiteral("Kitchen")});
        QCOMPARE(daemon.live(Op::Resolve), 0);
    }

    void aRefusedResolverStaysUntilItsInstanceIsRemoved()
    {
        const auto started = lister();
        daemon.failNext(Op::Resolve, kDNSServiceErr_BadParam);
        browseAdd("Kitchen", 3);
        QCOMPARE(signalsSeen(), QStringList{QStringLiteral("#2 resolveFailed(Kitchen on 3)")});
        browseAdd("Kitchen", 3);
        QCOMPARE(logs(QStringLiteral("WARN")).size(), 1);
        QCOMPARE(daemon.live(Op::Resolve), 1);
    }

    void destructionTakesMonitorsThenResolversThenTheBrowse()
    {
        auto started = listerWithKitchen();
        browseAdd("Cellar", 4);
        record.clear();
        started.reset();
        QCOMPARE(
            record.of(~0),
            (QStringList{QStringLiteral("DNSServiceRefDeallocate(#4)"), QStringLiteral("~notifier of #4"),
                         QStringLiteral("~BonjourTxtMonitor #4"),
                         QStringLiteral("DNSServiceRefDeallocate(#5)"), QStringLiteral("~notifier of #5"),
                         QStringLiteral("~BonjourResolver #5"), QStringLiteral("DNSServiceRefDeallocate(#1)"),
                         QStringLiteral("~notifier of #1"), QStringLiteral("~BonjourLister")}));
    }
};

static const TestClass<Browse> registeredClass("Browse");

#include "BrowseTest.moc"
