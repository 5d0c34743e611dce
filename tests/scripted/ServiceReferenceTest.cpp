// SPDX-License-Identifier: MIT
#include "ScriptedTest.h"

#include <QSocketNotifier>

class ServiceReference : public ScriptedTest
{
    Q_OBJECT

private:
    /** What the start call of an owner does. */
    static void open(BonjourServiceRef* reference)
    {
        QCOMPARE(DNSServiceBrowse(
                     &reference->sdRef, 0, 0, "_demo._tcp", nullptr,
                     [](DNSServiceRef, DNSServiceFlags, std::uint32_t, DNSServiceErrorType, const char*,
                        const char*, const char*, void*) {},
                     nullptr),
                 DNSServiceErrorType(kDNSServiceErr_NoError));
    }

    void openUnwatched(BonjourServiceRef* reference)
    {
        daemon.onStart = nullptr; // the owner is none of the library's
        open(reference);
    }

    /** An object that has started an operation of this kind. */
    static std::unique_ptr<QObject> make(Op::Kind kind)
    {
        switch (kind) {
        case Op::Browse:
            return lister();
        case Op::Resolve:
            return resolver();
        case Op::GetAddrInfo:
            return lookup();
        case Op::QueryRecord:
            return monitor();
        case Op::Register:
            break;
        }
        auto made = advertiser();
        made->start();
        return made;
    }

    static void everyKind()
    {
        QTest::addColumn<int>("kind");
        QTest::newRow("browse") << int(Op::Browse);
        QTest::newRow("resolve") << int(Op::Resolve);
        QTest::newRow("lookup") << int(Op::GetAddrInfo);
        QTest::newRow("monitor") << int(Op::QueryRecord);
        QTest::newRow("registration") << int(Op::Register);
    }

private Q_SLOTS:
    void isEmptyAtFirst()
    {
        const BonjourServiceRef reference;
        QVERIFY(!reference.parent());
        QVERIFY(!reference.sdRef);
        QVERIFY(!reference.notifier);
        QVERIFY(reference.children().isEmpty());
    }

    void membersStandInTheirOrder()
    {
        const BonjourServiceRef reference;
        QVERIFY(reinterpret_cast<const char*>(&reference.sdRef) <
                reinterpret_cast<const char*>(&reference.notifier));
    }

    void releasesANullHandleAndHasNoNotifierWhenTheStartFailed()
    {
        daemon.failNext(Op::GetAddrInfo, kDNSServiceErr_ServiceNotRunning);
        auto owner = lookup();
        record.clear();
        owner.reset();
        QCOMPARE(record.of(Record::Call | Record::Destroyed),
                 (QStringList{QStringLiteral("DNSServiceRefDeallocate(null)"),
                              QStringLiteral("~BonjourGetAddrInfo #1")}));
    }

    void releasesAHandleThatAFailedStartWrote()
    {
        daemon.failNext(Op::Resolve, kDNSServiceErr_Unknown, DnsSdDouble::Handle::Written);
        auto owner = resolver();
        QVERIFY(record.of(Record::Call).filter(QStringLiteral("DNSServiceRefSockFD")).isEmpty());
        owner.reset();
        QCOMPARE(daemon.live(), 0);
    }

    void releasesTheHandleThenTheNotifierWhileRepliesWait()
    {
        auto owner = lister();
        hold = true;
        browseAdd("Kitchen", 3);
        browseAdd("Cellar", 3);
        record.clear();
        owner.reset();
        QCoreApplication::processEvents();
        QCOMPARE(record.of(~0),
                 (QStringList{QStringLiteral("DNSServiceRefDeallocate(#1)"),
                              QStringLiteral("~notifier of #1"), QStringLiteral("~BonjourLister")}));
    }

    void aDescriptorOfMinus1LogsOneErrorAndMakesNoNotifier()
    {
        daemon.nextDescriptor(-1);
        BonjourServiceRef reference;
        openUnwatched(&reference);
        record.clear();
        reference.setNotifier(this, SLOT(deleteLater()));
        QCOMPARE(record.of(~0),
                 (QStringList{QStringLiteral("DNSServiceRefSockFD(#1)"),
                              QStringLiteral("ERROR BonjourLister: Error creating Bonjour connection: "
                                             "socket is -1")}));
        QVERIFY(!reference.notifier);
        QVERIFY(reference.children().isEmpty());
    }

    void otherNegativeDescriptorsAreTakenAsTheyAre()
    {
        daemon.nextDescriptor(-2);
        BonjourServiceRef reference;
        openUnwatched(&reference);
        reference.setNotifier(this, SLOT(deleteLater()));
        QVERIFY(reference.notifier);
        QCOMPARE(logs(), QStringList());
    }

    void setNotifierAsksTwiceThenWatchesForReading()
    {
        BonjourServiceRef reference;
        openUnwatched(&reference);
        record.clear();
        reference.setNotifier(this, SLOT(deleteLater()));
        QCOMPARE(
            record.of(~0),
            (QStringList{QStringLiteral("DNSServiceRefSockFD(#1)"), QStringLiteral("DNSServiceRefSockFD(#1)"),
                         QStringLiteral("connect notifier of #1 2activated(int) to ServiceReference "
                                        "1deleteLater() type=0 by text")}));
        QCOMPARE(reference.notifier->parent(), &reference);
        QCOMPARE(reference.notifier->type(), QSocketNotifier::Read);
        QCOMPARE(int(reference.notifier->socket()), daemon.byId(1)->descriptor);
        QVERIFY(reference.notifier->isEnabled());
    }

    void owners_data()
    {
        QTest::addColumn<QString>("connection");
        const auto row = [](const char* owner, const char* slot) {
            QTest::newRow(owner) << QStringLiteral("connect notifier of #1 2activated(int) to %1 1%2(int) "
                                                   "type=0 by text")
                                        .arg(QLatin1String(owner), QLatin1String(slot));
        };
        row("BonjourGetAddrInfo", "on_socketNotifier_activated");
        row("BonjourResolver", "on_socketNotifier_activated");
        row("BonjourTxtMonitor", "on_socketNotifier_activated");
        row("BonjourLister", "on_browseSocketNotifier_activated");
    }

    void owners()
    {
        QFETCH(QString, connection);
        const QByteArray tag = QTest::currentDataTag();
        std::unique_ptr<QObject> owner;
        if (tag == "BonjourGetAddrInfo")
            owner = lookup();
        else if (tag == "BonjourResolver")
            owner = resolver();
        else if (tag == "BonjourTxtMonitor")
            owner = monitor();
        else
            owner = lister();
        QCOMPARE(record.of(Record::Connection).first(), connection);
    }

    void oneActivationFetchesOneReplyOnTheOwnersSlot()
    {
        const auto owner = lister();
        hold = true;
        daemon.setDraining(false);
        browseAdd("Kitchen", 3);
        browseAdd("Cellar", 3);
        record.clear();
        QVERIFY(QMetaObject::invokeMethod(owner.get(), "on_browseSocketNotifier_activated", Q_ARG(int, -5)));
        QCOMPARE(record.of(Record::Call | Record::Reply).mid(0, 2),
                 (QStringList{QStringLiteral("DNSServiceProcessResult(#1)"), QStringLiteral("#1 replies")}));
        QCOMPARE(record.of(Record::Reply).size(), 1);
        deliver();
        QCOMPARE(record.of(Record::Reply).size(), 2);
    }

    void aBrokenConnectionIsPumpedOnWithoutAWord_data() { everyKind(); }

    void aBrokenConnectionIsPumpedOnWithoutAWord()
    {
        QFETCH(int, kind);
        const std::unique_ptr<QObject> owner = make(Op::Kind(kind));
        record.clear();
        daemon.breakConnection(daemon.byId(1));
        for (int round = 0; round < 50 && calls().size() < 3; ++round)
            QCoreApplication::processEvents();
        QVERIFY(calls().size() >= 3);
        for (const QString& call : calls())
            QCOMPARE(call, QStringLiteral("DNSServiceProcessResult(#1)"));
        QCOMPARE(record.of(Record::Log | Record::Signal), QStringList());
    }

    void anErrorReplyLeavesTheOwnerListening_data() { everyKind(); }

    void anErrorReplyLeavesTheOwnerListening()
    {
        QFETCH(int, kind);
        const std::unique_ptr<QObject> owner = make(Op::Kind(kind));
        for (const DNSServiceErrorType error : {kDNSServiceErr_Unknown, kDNSServiceErr_NoError}) {
            if (kind == Op::Browse)
                browseReplies(add, "Kitchen", 3, error);
            else if (kind == Op::Resolve) {
                ResolveReply reply;
                reply.error = error;
                resolveReplies(3, reply);
            } else if (kind == Op::GetAddrInfo)
                addressArrives(error ? nullptr : "10.0.0.1", 3, error);
            else if (kind == Op::QueryRecord) {
                TxtReply reply;
                reply.error = error;
                txtArrives(txt({"a=1"}), 3, reply);
            } else
                registered("Kitchen", error);
        }
        // Both replies were fetched, and the second one did its work.
        QCOMPARE(record.of(Record::Reply),
                 (QStringList{QStringLiteral("#1 replies"), QStringLiteral("#1 replies")}));
        if (kind == Op::GetAddrInfo)
            QCOMPARE(signalsSeen().last(), QStringLiteral("#1 resolved(10.0.0.1)"));
        else if (kind == Op::QueryRecord)
            QVERIFY(signalsSeen().last().startsWith(QLatin1String("#1 clientUpdated(")));
        else
            QCOMPARE(daemon.live(), 2);
    }

    void aDescriptorNumberIsUsedAgainWithoutConfusion()
    {
        auto first = lister();
        const int number = daemon.byId(1)->descriptor;
        browseAdd("Kitchen", 3);
        first.reset();
        const auto second = lister();
        // The kernel gives the lowest free number.
        QCOMPARE(daemon.newest(Op::Browse)->descriptor, number);
        record.clear();
        browseAdd("Cellar", 4);
        QCOMPARE(record.of(Record::Reply), QStringList{QStringLiteral("#3 replies")});
    }
};

static const TestClass<ServiceReference> registeredClass("ServiceReference");

#include "ServiceReferenceTest.moc"
