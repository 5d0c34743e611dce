// SPDX-License-Identifier: MIT
#include "ScriptedTest.h"

class TxtMonitor : public ScriptedTest
{
    Q_OBJECT

private:
    using Table = QHash<QString, QString>;

    /** The table of the last client reported. */
    static std::unique_ptr<Table> tableOf(BonjourTxtMonitor* monitor)
    {
        auto table = std::make_unique<Table>();
        connect(
            monitor, &BonjourTxtMonitor::clientUpdated,
            [into = table.get()](const ResolveData&, const MDnsVeskClient& client) { *into = client.txt; });
        return table;
    }

    static QString updated(const QString& entries)
    {
        return QStringLiteral(
                   "#1 clientUpdated(Kitchen on 3 [Kitchen._demo._tcp.local.], {host= name=Kitchen "
                   "port=0 addresses=[] txt=[%1]})")
            .arg(entries);
    }

    static QString entryLine()
    {
        return QStringLiteral("TRACE BonjourLister: Enter [void "
                              "BonjourTxtMonitor::bonjourTxtMonitorReplyCallback(DNSServiceRef, "
                              "DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*, uint16_t, "
                              "uint16_t, uint16_t, const void*, uint32_t)]: fullname: "
                              "Kitchen._demo._tcp.local. rrtype=");
    }

private Q_SLOTS:
    void startsAtOnce()
    {
        const auto started = monitor();
        QCOMPARE(
            record.of(~Record::Core),
            (QStringList{QStringLiteral("TRACE BonjourLister: Enter [BonjourTxtMonitor::BonjourTxtMonitor("
                                        "const ResolveData&, const MDnsVeskClient&)]: Creating "
                                        "BonjourTxtMonitor for serviceName: Kitchen._demo._tcp.local. on "
                                        "interface: ") +
                             label(3),
                         QStringLiteral("DNSServiceQueryRecord(#1, flags=0x400, if=3, "
                                        "name='Kitchen._demo._tcp.local.', type=16, class=1)"),
                         QStringLiteral("DNSServiceRefSockFD(#1)"), QStringLiteral("DNSServiceRefSockFD(#1)"),
                         QStringLiteral("connect notifier of #1 2activated(int) to BonjourTxtMonitor "
                                        "1on_socketNotifier_activated(int) type=0 by text")}));
        QVERIFY(!started->parent());
        QVERIFY(!timerOf(started.get()));
    }

    void theNameIsAskedForInUtf8()
    {
        const QString name = QStringLiteral(u"K\u00FCche\\032\u53F0._demo._tcp.local.");
        const BonjourTxtMonitor started(key(QStringLiteral("Kitchen"), 5, name), MDnsVeskClient());
        QCOMPARE(daemon.byId(1)->name, name.toUtf8());
        QCOMPARE(daemon.byId(1)->interfaceIndex, 5U);
    }

    void aRefusalIsLoggedAndSignalledFromTheConstructor()
    {
        daemon.failNext(Op::QueryRecord, kDNSServiceErr_BadParam);
        const auto refused = monitor(someInterface());
        QCOMPARE(
            record.of(Record::Call | Record::Log | Record::Signal).mid(2),
            (QStringList{QStringLiteral("ERROR BonjourLister: Error calling DNSServiceQueryRecord: -65540 "
                                        "for client: ") +
                             label(QStringLiteral("Kitchen"), someInterface()),
                         QStringLiteral("#1 txtMonitorFailed()")}));
        QVERIFY(refused->findChildren<QObject*>().isEmpty());
    }

    void itemsWithValueWithEmptyValueAndWithoutValue()
    {
        const auto started = monitor();
        const auto table = tableOf(started.get());
        txtArrives(txt({"a=1", "b=", "c"}));
        QCOMPARE(*table, (Table{{QStringLiteral("a"), QStringLiteral("1")},
                                {QStringLiteral("b"), QString()},
                                {QStringLiteral("c"), QString()}}));
        QVERIFY(table->value(QStringLiteral("b"), QStringLiteral("x")).isNull());
        QVERIFY(table->value(QStringLiteral("c"), QStringLiteral("x")).isNull());
    }

    void itemsAreAskedForUntilTheListEnds()
    {
        const auto started = monitor();
        record.clear();
        txtArrives(txt({"a=1", "b"}));
        QCOMPARE(record.of(Record::Pure),
                 (QStringList{QStringLiteral("TXTRecordGetItemAtIndex(6, 0, key buffer of 256)"),
                              QStringLiteral("TXTRecordGetItemAtIndex(6, 1, key buffer of 256)"),
                              QStringLiteral("TXTRecordGetItemAtIndex(6, 2, key buffer of 256)")}));
    }

    void values_data()
    {
        QTest::addColumn<QByteArray>("item");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("value");
        const auto row = [](const char* name, const QByteArray& item, const QString& key,
                            const QString& value) { QTest::newRow(name) << item << key << value; };
        row("a value ends at its first zero byte", QByteArray("v=ab\0cd", 7), QStringLiteral("v"),
            QStringLiteral("ab"));
        row("a value of one zero byte is empty", QByteArray("v=\0", 3), QStringLiteral("v"), QString());
        row("an equals sign inside the value stays", "a=b=c", QStringLiteral("a"), QStringLiteral("b=c"));
        row("the value is UTF-8", "k=\xC3\xBC\xE5\x8F\xB0", QStringLiteral("k"),
            QStringLiteral(u"\u00FC\u53F0"));
        row("the key is UTF-8", "\xC3\xBC=1", QStringLiteral(u"\u00FC"), QStringLiteral("1"));
        row("nothing is trimmed", " k = v ", QStringLiteral(" k "), QStringLiteral(" v "));
        row("an empty key is stored as such", "=v", QString(), QStringLiteral("v"));
        row("an empty item is an empty key", "", QString(), QString());
        row("the longest item", "k=" + QByteArray(253, 'x'), QStringLiteral("k"),
            QString(253, QLatin1Char('x')));
        row("the longest key", QByteArray(255, 'x'), QString(255, QLatin1Char('x')), QString());
        row("a key ends at its first zero byte", QByteArray("k\0y=v", 5), QStringLiteral("k"),
            QStringLiteral("v"));
    }

    void values()
    {
        QFETCH(QByteArray, item);
        QFETCH(QString, name);
        QFETCH(QString, value);
        const auto started = monitor();
        const auto table = tableOf(started.get());
        txtArrives(txt({item}));
        QCOMPARE(*table, (Table{{name, value}}));
    }

    void keysAreNotFolded()
    {
        const auto started = monitor();
        txtArrives(txt({"Path=1"}));
        txtArrives(txt({"path=2"}));
        QCOMPARE(signalsSeen().last(), updated(QStringLiteral("Path=1 path=2")));
    }

    void aLaterItemOfTheSameKeyReplaces()
    {
        const auto started = monitor();
        txtArrives(txt({"a=1", "a=2"}));
        QCOMPARE(signalsSeen().last(), updated(QStringLiteral("a=2")));
    }

    void aKeyThatWentKeepsItsValue()
    {
        const auto started = monitor();
        txtArrives(txt({"a=1", "b=2"}));
        txtArrives(txt({"a=3"}));
        QCOMPARE(signalsSeen(),
                 (QStringList{updated(QStringLiteral("a=1 b=2")), updated(QStringLiteral("a=3 b=2"))}));
    }

    void theSameRecordAgainStillEmits()
    {
        const auto started = monitor();
        txtArrives(txt({"a=1"}));
        txtArrives(txt({"a=1"}));
        QCOMPARE(signalsSeen(),
                 (QStringList{updated(QStringLiteral("a=1")), updated(QStringLiteral("a=1"))}));
    }

    void aRecordWithoutItemsStillEmits()
    {
        const auto started = monitor();
        txtArrives(txt({"a=1"}));
        txtArrives(QByteArray(""));
        txtArrives(QByteArray());
        QCOMPARE(signalsSeen().mid(1),
                 (QStringList{updated(QStringLiteral("a=1")), updated(QStringLiteral("a=1"))}));
    }

    void anEmptyRecordOfTheWireIsAnEmptyKeyThatStays()
    {
        // On the wire a record is never empty: one empty item stands for none (RFC 6763, section 6.1).
        const auto started = monitor();
        const auto table = tableOf(started.get());
        txtArrives(QByteArray("\0", 1));
        QCOMPARE(*table, (Table{{QString(), QString()}}));
        txtArrives(txt({"a=1"}));
        QCOMPARE(*table, (Table{{QString(), QString()}, {QStringLiteral("a"), QStringLiteral("1")}}));
        QCOMPARE(signalsSeen().size(), 2);
    }

    void flagsBesidesAddDoNotMatter_data()
    {
        QTest::addColumn<DNSServiceFlags>("flags");
        QTest::newRow("add") << add;
        QTest::newRow("add and more coming") << DNSServiceFlags(add | moreComing);
        QTest::newRow("all bits") << DNSServiceFlags(0xFFFFFFFF);
    }

    void flagsBesidesAddDoNotMatter()
    {
        QFETCH(DNSServiceFlags, flags);
        const auto started = monitor();
        TxtReply reply;
        reply.flags = flags;
        txtArrives(txt({"a=1"}), 3, reply);
        QCOMPARE(signalsSeen(), QStringList{updated(QStringLiteral("a=1"))});
        reply.error = kDNSServiceErr_Unknown;
        txtArrives(txt({"a=2"}), 3, reply);
        QCOMPARE(signalsSeen().last(), QStringLiteral("#1 txtMonitorFailed()"));
    }

    void whatTheReplyEchoesDoesNotMatter()
    {
        const auto started = monitor();
        TxtReply reply;
        reply.fullName = "KITCHEN._Demo._TCP.Local.";
        txtArrives(daemon.byId(1), txt({"a=1"}), 9, reply); // another interface, too
        QCOMPARE(signalsSeen(), QStringList{updated(QStringLiteral("a=1"))});
    }

    void queuedReplies()
    {
        const auto started = monitor();
        hold = true;
        txtArrives(txt({"a=1"}));
        txtArrives(txt({"b=2"}));
        deliver();
        QCOMPARE(signalsSeen(),
                 (QStringList{updated(QStringLiteral("a=1")), updated(QStringLiteral("a=1 b=2"))}));
    }

    void aFailureKeepsWhatWasRead_data()
    {
        QTest::addColumn<int>("error");
        QTest::addColumn<int>("rrtype");
        QTest::newRow("error") << int(kDNSServiceErr_Unknown) << 16;
        QTest::newRow("another type") << 0 << 1;
    }

    void aFailureKeepsWhatWasRead()
    {
        QFETCH(int, error);
        QFETCH(int, rrtype);
        const auto started = monitor();
        txtArrives(txt({"a=1"}));
        TxtReply reply;
        reply.error = error;
        reply.rrtype = std::uint16_t(rrtype);
        txtArrives(txt({"a=2", "b=2"}), 3, reply);
        txtArrives(txt({"c=3"}));
        QCOMPARE(signalsSeen().last(), updated(QStringLiteral("a=1 c=3")));
    }

    void entriesOfTheClientHandedOverStay()
    {
        MDnsVeskClient client;
        client.txt.insert(QStringLiteral("old"), QStringLiteral("1"));
        client.port = 99;
        const BonjourTxtMonitor started(key(QStringLiteral("Kitchen"), 3), client);
        txtArrives(txt({"new=2"}));
        QCOMPARE(signalsSeen(),
                 QStringList{QStringLiteral("#1 clientUpdated(Kitchen on 3, {host= name= port=99 "
                                            "addresses=[] txt=[new=2 old=1]})")});
    }

    void withoutTheAddFlagThereIsOnlyATraceLine_data()
    {
        QTest::addColumn<DNSServiceFlags>("flags");
        QTest::addColumn<DNSServiceErrorType>("error");
        QTest::newRow("removal") << DNSServiceFlags(0) << DNSServiceErrorType(0);
        QTest::newRow("removal, more coming") << moreComing << DNSServiceErrorType(0);
        QTest::newRow("error") << DNSServiceFlags(0) << DNSServiceErrorType(kDNSServiceErr_Unknown);
        QTest::newRow("every other flag")
            << DNSServiceFlags(~add) << DNSServiceErrorType(kDNSServiceErr_Unknown);
    }

    void withoutTheAddFlagThereIsOnlyATraceLine()
    {
        QFETCH(DNSServiceFlags, flags);
        QFETCH(DNSServiceErrorType, error);
        const auto started = monitor();
        record.clear();
        TxtReply reply;
        reply.flags = flags;
        reply.error = error;
        txtArrives(txt({"a=1"}), 3, reply);
        QCOMPARE(record.of(~(Record::Call | Record::Reply)),
                 QStringList{QStringLiteral("TRACE BonjourLister: TXT RMV event received, ignoring.")});
    }

    void anErrorWithTheAddFlagFails()
    {
        const auto started = monitor();
        record.clear();
        TxtReply reply;
        reply.error = kDNSServiceErr_NoSuchRecord;
        reply.fullName.reset();
        reply.rrtype = 1;
        txtArrives(QByteArray(), 3, reply);
        QCOMPARE(
            record.of(Record::Log | Record::Signal).mid(1),
            (QStringList{QStringLiteral("ERROR BonjourLister: bonjourTxtMonitorReplyCallback failed with "
                                        "error: -65554"),
                         QStringLiteral("#1 txtMonitorFailed()")}));
        txtArrives(txt({"a=1"}));
        QCOMPARE(signalsSeen().last(), updated(QStringLiteral("a=1")));
    }

    void aRecordOfAnotherKindFails_data()
    {
        QTest::addColumn<int>("rrtype");
        QTest::addColumn<int>("rrclass");
        QTest::newRow("type") << 33 << 1;
        QTest::newRow("class") << 16 << 3;
        QTest::newRow("both") << 1 << 255;
    }

    void aRecordOfAnotherKindFails()
    {
        QFETCH(int, rrtype);
        QFETCH(int, rrclass);
        const auto started = monitor();
        record.clear();
        TxtReply reply;
        reply.rrtype = std::uint16_t(rrtype);
        reply.rrclass = std::uint16_t(rrclass);
        txtArrives(txt({"a=1"}), 3, reply);
        QCOMPARE(record.of(Record::Log | Record::Signal),
                 (QStringList{entryLine() + QString::number(rrtype),
                              QStringLiteral("ERROR BonjourLister: bonjourTxtMonitorReplyCallback has the "
                                             "wrong class and/or type: %1, %2")
                                  .arg(rrclass)
                                  .arg(rrtype),
                              QStringLiteral("#1 txtMonitorFailed()")}));
        LogCapture::setLevel(log4cplus::OFF_LOG_LEVEL);
        record.clear();
        txtArrives(txt({"a=1"}), 3, reply);
        QCOMPARE(record.of(Record::Log | Record::Signal),
                 QStringList{QStringLiteral("#1 txtMonitorFailed()")});
    }

    void anUpdateIsTracedWithAllEntries()
    {
        const auto started = monitor();
        record.clear();
        txtArrives(txt({"a=1"}));
        QCOMPARE(record.of(Record::Log | Record::Signal),
                 (QStringList{entryLine() + QStringLiteral("16"),
                              QStringLiteral("TRACE BonjourLister: Device: Kitchen._demo._tcp.local. updated "
                                             "TXT=QHash((a, 1))"),
                              updated(QStringLiteral("a=1"))}));
    }

    void entriesAreTracedInTheOrderOfTheTable()
    {
        const auto started = monitor();
        const auto table = tableOf(started.get());
        txtArrives(txt({"a=1", "b", "c=3", "d=4"}));
        QString entries;
        for (auto entry = table->cbegin(); entry != table->cend(); ++entry)
            entries += QStringLiteral("(%1, %2)").arg(entry.key(), entry.value());
        QVERIFY2(logs().last().endsWith(QStringLiteral(" updated TXT=QHash(%1)").arg(entries)),
                 qPrintable(logs().last()));
    }

    void anEmptyTableIsTracedAsSuch()
    {
        const auto started = monitor();
        txtArrives(QByteArray(""));
        QVERIFY(logs().last().endsWith(QLatin1String(" updated TXT=QHash()")));
    }

    void malformedRecordsAreReadUpToTheirFault_data()
    {
        QTest::addColumn<QByteArray>("rdata");
        QTest::addColumn<QString>("entries");
        QTest::newRow("the last item is cut short")
            << txt({"a=1", "b=2"}).chopped(1) << QStringLiteral("a=1");
        QTest::newRow("a length and nothing after it") << QByteArray("\xFF", 1) << QString();
        QTest::newRow("a length one too large") << QByteArray("\4a=1", 4) << QString();
        QTest::newRow("zero-length items between") << QByteArray("\0\3a=1\0", 6) << QStringLiteral("= a=1");
        // Valgrind takes its time for each item; as many are walked below.
        const int items = qEnvironmentVariableIntValue("SCRIPTED_FEW_ROUNDS") ? 1000 : 65535;
        QTest::newRow("as many zero-length items as there may be")
            << QByteArray(items, '\0') << QStringLiteral("=");
        QTest::newRow("65535 bytes of the longest items")
            << QByteArray("\xFF" + QByteArray(255, 'k')).repeated(256).left(65535)
            << QString(255, QLatin1Char('k')) + QLatin1Char('=');
    }

    void malformedRecordsAreReadUpToTheirFault()
    {
        QFETCH(QByteArray, rdata);
        QFETCH(QString, entries);
        const auto started = monitor();
        txtArrives(rdata);
        QCOMPARE(signalsSeen(), QStringList{updated(entries)});
    }

    void onlyInvalidEndsTheListAndTheLastIndexDoes()
    {
        const auto started = monitor();
        daemon.failItems(kDNSServiceErr_NoMemory);
        record.clear();
        txtArrives(txt({"a=1"}));
        QCOMPARE(record.of(Record::Pure).size(), 65536);
        QCOMPARE(record.of(Record::Pure).last(),
                 QStringLiteral("TXTRecordGetItemAtIndex(4, 65535, key buffer of 256)"));
        QCOMPARE(signalsSeen(), QStringList{updated(QStringLiteral("="))});
    }

    void destructionReleasesAndSaysNothing()
    {
        auto started = monitor();
        record.clear();
        started.reset();
        QCOMPARE(record.of(~0),
                 (QStringList{QStringLiteral("DNSServiceRefDeallocate(#1)"),
                              QStringLiteral("~notifier of #1"), QStringLiteral("~BonjourTxtMonitor #1")}));
    }
};

static const TestClass<TxtMonitor> registeredClass("TxtMonitor");

#include "TxtMonitorTest.moc"
