// SPDX-License-Identifier: MIT
#include "ScriptedTest.h"

#include <QPointer>

/**
 * Objects that are deleted while they are at work: in each of their signals and callbacks, with further
 * replies waiting. The double stops the process on a handle used afterwards, sanitizers see the rest.
 */
class Deletion : public ScriptedTest
{
    Q_OBJECT

private:
    using Owner = std::unique_ptr<QObject>;

    static void drainingRows()
    {
        QTest::addColumn<bool>("draining");
        QTest::newRow("one reply per call") << false;
        QTest::newRow("all replies per call") << true;
    }

    void useDraining()
    {
        QFETCH(bool, draining);
        daemon.setDraining(draining);
    }

    /** What happens in every start call, after the record has begun to watch the caller. */
    void atStart(std::function<void(Op*)> then)
    {
        daemon.onStart = [first = daemon.onStart, then = std::move(then)](Op* operation) {
            first(operation);
            then(operation);
        };
    }

    static BonjourResolver* resolverOf(Op* operation)
    {
        return static_cast<BonjourResolver*>(operation->context);
    }
    static BonjourGetAddrInfo* lookupOf(Op* operation)
    {
        return static_cast<BonjourGetAddrInfo*>(operation->context);
    }
    static BonjourTxtMonitor* monitorOf(Op* operation)
    {
        return static_cast<BonjourTxtMonitor*>(operation->context);
    }

    /** The object in @p owner goes at this signal of @p sender. */
    template <typename Sender, typename Signal, typename Object>
    void deleteAt(Sender* sender, Signal signal, std::unique_ptr<Object>* owner)
    {
        connect(sender, signal, [this, owner] {
            owner->reset();
            note(QStringLiteral("deleted"));
        });
    }

    /** It was deleted, and nothing was reported or logged after that. */
    void verifyDeletedOnce(const QObject* object)
    {
        QVERIFY(!object);
        QCOMPARE(record.of(Record::Note), QStringList{QStringLiteral("deleted")});
        const QStringList account = record.of(Record::Note | Record::Signal | Record::Log | Record::Reply);
        QCOMPARE(account.last(), QStringLiteral("deleted"));
        QCOMPARE(daemon.live(), 0);
    }

private Q_SLOTS:
    void anOwnerGoesInItsOwnCallback_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<bool>("draining");
        const auto row = [](const char* name, Op::Kind kind) {
            for (const bool draining : {false, true})
                QTest::newRow(QByteArray(name) + (draining ? ", draining" : "")) << int(kind) << draining;
        };
        row("lister", Op::Browse);
        row("resolver", Op::Resolve);
        row("lookup", Op::GetAddrInfo);
        row("monitor", Op::QueryRecord);
        row("advertiser", Op::Register);
    }

    void anOwnerGoesInItsOwnCallback()
    {
        QFETCH(int, kind);
        useDraining();
        Owner owner;
        if (kind == Op::Browse)
            owner = lister();
        else if (kind == Op::Resolve)
            owner = resolver();
        else if (kind == Op::GetAddrInfo)
            owner = lookup();
        else if (kind == Op::QueryRecord)
            owner = monitor();
        else {
            auto made = advertiser();
            made->start();
            owner = std::move(made);
        }
        Op* const operation = daemon.byId(1);
        bool further = false;
        daemon.queue(operation, [&] { owner.reset(); });
        daemon.queue(operation, [&] { further = true; });
        deliver();
        QCoreApplication::processEvents();
        QVERIFY(!owner);
        QVERIFY(!further);
        QCOMPARE(daemon.live(), 0);
    }

    void lookupInResolved_data() { drainingRows(); }
    void lookupInResolved()
    {
        useDraining();
        auto doomed = lookup();
        deleteAt(doomed.get(), &BonjourGetAddrInfo::resolved, &doomed);
        hold = true;
        addressArrives("10.0.0.1");
        addressArrives("10.0.0.2");
        deliver();
        verifyDeletedOnce(doomed.get());
    }

    void lookupInFailure_data()
    {
        QTest::addColumn<bool>("timeout");
        QTest::newRow("error") << false;
        QTest::newRow("timeout") << true;
    }
    void lookupInFailure()
    {
        QFETCH(bool, timeout);
        auto doomed = lookup();
        deleteAt(doomed.get(), &BonjourGetAddrInfo::resolveFailed, &doomed);
        hold = true;
        if (timeout) {
            addressArrives("10.0.0.1");
            runOut(doomed.get());
        } else {
            addressArrives(nullptr, 3, kDNSServiceErr_Unknown);
            addressArrives("10.0.0.1");
        }
        deliver();
        verifyDeletedOnce(doomed.get());
    }

    void resolverInSuccess_data() { drainingRows(); }
    void resolverInSuccess()
    {
        useDraining();
        auto doomed = resolver();
        deleteAt(doomed.get(), &BonjourResolver::resolveSucceeded, &doomed);
        resolveReplies(3);
        hold = true;
        addressArrives("10.0.0.1");
        addressArrives("10.0.0.2");
        deliver();
        verifyDeletedOnce(doomed.get());
    }

    void resolverInFailure_data()
    {
        QTest::addColumn<QString>("cause");
        for (const char* cause : {"error", "timeout", "lookup error", "lookup timeout"})
            QTest::newRow(cause) << QString::fromLatin1(cause);
    }
    void resolverInFailure()
    {
        QFETCH(QString, cause);
        auto doomed = resolver();
        deleteAt(doomed.get(), &BonjourResolver::resolveFailed, &doomed);
        if (cause.startsWith(QLatin1String("lookup")))
            resolveReplies(3);
        hold = true;
        if (cause == QLatin1String("error")) {
            ResolveReply reply;
            reply.error = kDNSServiceErr_Unknown;
            resolveReplies(3, reply);
            resolveReplies(3);
        } else if (cause == QLatin1String("timeout")) {
            resolveReplies(3);
            runOut(doomed.get());
        } else if (cause == QLatin1String("lookup error")) {
            addressArrives(nullptr, 3, kDNSServiceErr_Unknown);
            addressArrives("10.0.0.1");
        } else {
            addressArrives("10.0.0.1");
            runOut(static_cast<BonjourGetAddrInfo*>(daemon.newest(Op::GetAddrInfo)->context));
        }
        deliver();
        verifyDeletedOnce(doomed.get());
    }

    void monitorInUpdate_data() { drainingRows(); }
    void monitorInUpdate()
    {
        useDraining();
        auto doomed = monitor();
        deleteAt(doomed.get(), &BonjourTxtMonitor::clientUpdated, &doomed);
        hold = true;
        txtArrives(txt({"a=1"}));
        txtArrives(txt({"a=2"}));
        deliver();
        verifyDeletedOnce(doomed.get());
    }

    void monitorInFailure_data()
    {
        QTest::addColumn<int>("error");
        QTest::addColumn<int>("rrtype");
        QTest::newRow("error") << int(kDNSServiceErr_Unknown) << 16;
        QTest::newRow("wrong type") << 0 << 33;
    }
    void monitorInFailure()
    {
        QFETCH(int, error);
        QFETCH(int, rrtype);
        auto doomed = monitor();
        deleteAt(doomed.get(), &BonjourTxtMonitor::txtMonitorFailed, &doomed);
        TxtReply reply;
        reply.error = error;
        reply.rrtype = std::uint16_t(rrtype);
        hold = true;
        txtArrives(txt({"a=1"}), 3, reply);
        txtArrives(txt({"a=2"}));
        deliver();
        verifyDeletedOnce(doomed.get());
    }

    void listerInClientChanged_data() { drainingRows(); }
    void listerInClientChanged()
    {
        useDraining();
        auto doomed = listerWithKitchen();
        browseAdd("Cellar", 4);
        deleteAt(doomed.get(), &MDnsLister::clientChanged, &doomed);
        hold = true;
        txtArrives(txt({"a=1"}));
        txtArrives(txt({"a=2"}));
        deliver();
        verifyDeletedOnce(doomed.get());
    }

    void listerInClientRemoved_data() { drainingRows(); }
    void listerInClientRemoved()
    {
        useDraining();
        auto doomed = listerWithKitchen();
        deleteAt(doomed.get(), &MDnsLister::clientRemoved, &doomed);
        hold = true;
        browseRemove("Kitchen", 3);
        browseAdd("Cellar", 3);
        deliver();
        verifyDeletedOnce(doomed.get());
    }

    void listerInASignalOfItsParts_data()
    {
        QTest::addColumn<QString>("signal");
        for (const char* name : {"resolveSucceeded", "resolveFailed", "resolved", "lookup resolveFailed",
                                 "clientUpdated", "txtMonitorFailed"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }
    void listerInASignalOfItsParts()
    {
        QFETCH(QString, signal);
        std::unique_ptr<BonjourLister> doomed;
        // From the start call on, and so before the lister's own slots.
        atStart([&](Op* operation) {
            if (operation->kind == Op::Resolve && signal == QLatin1String("resolveSucceeded"))
                deleteAt(resolverOf(operation), &BonjourResolver::resolveSucceeded, &doomed);
            else if (operation->kind == Op::Resolve && signal == QLatin1String("resolveFailed"))
                deleteAt(resolverOf(operation), &BonjourResolver::resolveFailed, &doomed);
            else if (operation->kind == Op::GetAddrInfo && signal == QLatin1String("resolved"))
                deleteAt(lookupOf(operation), &BonjourGetAddrInfo::resolved, &doomed);
            else if (operation->kind == Op::GetAddrInfo && signal == QLatin1String("lookup resolveFailed"))
                deleteAt(lookupOf(operation), &BonjourGetAddrInfo::resolveFailed, &doomed);
            else if (operation->kind == Op::QueryRecord && signal == QLatin1String("clientUpdated"))
                deleteAt(monitorOf(operation), &BonjourTxtMonitor::clientUpdated, &doomed);
            else if (operation->kind == Op::QueryRecord && signal == QLatin1String("txtMonitorFailed"))
                deleteAt(monitorOf(operation), &BonjourTxtMonitor::txtMonitorFailed, &doomed);
        });
        doomed = lister();
        browseAdd("Kitchen", 3);
        ResolveReply resolveReply;
        resolveReply.error = signal == QLatin1String("resolveFailed") ? kDNSServiceErr_Unknown : 0;
        resolveReplies(3, resolveReply);
        if (doomed)
            addressArrives("10.0.0.1", 3,
                           signal == QLatin1String("lookup resolveFailed") ? kDNSServiceErr_Unknown : 0);
        if (doomed) {
            TxtReply txtReply;
            txtReply.rrtype = signal == QLatin1String("clientUpdated") ? 16 : 1;
            txtArrives(txt({"a=1"}), 3, txtReply);
        }
        verifyDeletedOnce(doomed.get());
    }

    void advertiserInNameRegistered_data() { drainingRows(); }
    void advertiserInNameRegistered()
    {
        useDraining();
        auto doomed = advertiser();
        doomed->start();
        deleteAt(doomed.get(), &MDnsAdvertiser::nameRegistered, &doomed);
        registered("Kitchen");
        resolveReplies(0);
        hold = true;
        addressArrives("10.0.0.1", 0);
        addressArrives("10.0.0.2", 0);
        deliver();
        QVERIFY(!doomed);
        QCOMPARE(daemon.live(), 0);
    }

    void advertiserInASignalOfItsResolver()
    {
        std::unique_ptr<BonjourAdvertiser> doomed;
        atStart([&](Op* operation) {
            if (operation->kind == Op::Resolve)
                deleteAt(resolverOf(operation), &BonjourResolver::resolveSucceeded, &doomed);
        });
        doomed = advertiser();
        doomed->start();
        registered("Kitchen");
        resolveReplies(0);
        addressArrives("10.0.0.1", 0);
        QVERIFY(!doomed);
        QCOMPARE(daemon.live(), 0);
        QCOMPARE(signalsSeen().filter(QStringLiteral("nameRegistered")), QStringList());
    }

    void advertiserIsRestartedInNameRegistered()
    {
        const auto started = advertiser();
        started->start();
        connect(started.get(), &MDnsAdvertiser::nameRegistered,
                [&] { started->forceInstanceName(QStringLiteral("Other")); });
        registered("Kitchen");
        resolveReplies(0);
        addressArrives("10.0.0.1", 0);
        QCOMPARE(daemon.newest(Op::Register)->name, QByteArray("Other"));
        QCOMPARE(daemon.live(), 1);
    }

    void aListerGoesWithResolvesInFlight()
    {
        auto doomed = lister();
        browseAdd("Kitchen", 3);
        browseAdd("Cellar", 3);
        browseAdd("Attic", 3);
        resolveReplies(3);
        hold = true;
        resolveReplies(daemon.byId(2), 3);
        resolveReplies(daemon.byId(3), 3);
        addressArrives("10.0.0.1");
        record.clear();
        doomed.reset();
        QCoreApplication::processEvents();
        QCOMPARE(record.of(Record::Reply | Record::Signal | Record::Log), QStringList());
        QCOMPARE(daemon.live(), 0);
    }

    void slotsMayAskAndMakeAnother()
    {
        const auto started = listerWithKitchen();
        std::unique_ptr<BonjourLister> another;
        const auto ask = [&](const QString& name) {
            started->getClients();
            started->getClient(name);
            another = lister();
        };
        connect(started.get(), &MDnsLister::clientChanged, ask);
        connect(started.get(), &MDnsLister::clientRemoved, ask);
        txtArrives(txt({"a=1"}));
        QCOMPARE(daemon.live(Op::Browse), 2);
        another.reset();
        browseRemove("Kitchen", 3);
        QCOMPARE(daemon.live(Op::Browse), 2);
        QVERIFY(started->getClients().isEmpty());
    }

    void anotherInstanceIsFoundDuringASuccess()
    {
        std::unique_ptr<BonjourLister> started;
        atStart([&](Op* operation) {
            if (operation->kind == Op::Resolve && operation->id == 2)
                connect(resolverOf(operation), &BonjourResolver::resolveSucceeded, [&] {
                    for (const char* name : {"Cellar", "Attic", "Garage", "Garden"})
                        started->bonjourBrowseReplyCallback(nullptr, add, 5, 0, name, "_demo._tcp.",
                                                            "local.");
                });
        });
        started = lister();
        browseAdd("Kitchen", 3);
        resolveReplies(3);
        addressArrives("10.0.0.1");
        QCOMPARE(started->getClients(), QStringList{QStringLiteral("Kitchen")});
        QCOMPARE(daemon.live(Op::Resolve), 4);
    }
};

static const TestClass<Deletion> registeredClass("Deletion");

#include "DeletionTest.moc"
