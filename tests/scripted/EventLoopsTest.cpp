// SPDX-License-Identifier: MIT
#include "ScriptedTest.h"

#include <CMValueItem.h>
#include <QThread>
#include <functional>

/** Event loops that are not the application's own: nested in slots, and of other threads. */
class EventLoops : public ScriptedTest
{
    Q_OBJECT

private:
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

    /** Runs @p body in a thread with an event dispatcher of its own, while this thread waits. */
    static void inAnotherThread(const std::function<void()>& body)
    {
        const std::unique_ptr<QThread> thread(QThread::create(body));
        thread->start();
        QVERIFY(thread->wait(10000));
    }

    QStringList emissions() const
    {
        return signalsSeen().filter(QRegularExpression(QStringLiteral("^(client|name)")));
    }

    void hostIsResolved(const char* host)
    {
        ResolveReply reply;
        reply.host = host;
        resolveReplies(0, reply);
        addressArrives("10.0.0.1", 0);
    }

private Q_SLOTS:
    void aFurtherReportIsHandledInAChangedSlot_data() { drainingRows(); }
    void aFurtherReportIsHandledInAChangedSlot()
    {
        useDraining();
        const auto started = listerWithKitchen();
        int depth = 0;
        connect(started.get(), &MDnsLister::clientChanged, [&](const QString& name) {
            note(QStringLiteral("%1 in %2").arg(started->getClient(name).txt.size()).arg(depth));
            if (depth++ == 0)
                txtArrives(txt({"b=2"})); // runs the loop until it is delivered
            note(QStringLiteral("%1 out").arg(started->getClient(name).txt.size()));
        });
        txtArrives(txt({"a=1"}));
        QCOMPARE(record.of(Record::Note), (QStringList{QStringLiteral("1 in 0"), QStringLiteral("2 in 1"),
                                                       QStringLiteral("2 out"), QStringLiteral("2 out")}));
        // What the inner loop brought is not undone by the outer call.
        QCOMPARE(started->getClient(QStringLiteral("Kitchen")).txt.size(), 2);
    }

    void aRemovalInAChangedSlotStands()
    {
        const auto started = listerWithKitchen();
        connect(started.get(), &MDnsLister::clientChanged, [&] { browseRemove("Kitchen", 3); });
        txtArrives(txt({"a=1"}));
        QCOMPARE(emissions(), (QStringList{QStringLiteral("clientChanged(Kitchen)"),
                                           QStringLiteral("clientRemoved(Kitchen)")}));
        QCOMPARE(started->getClients(), QStringList());
        QCOMPARE(daemon.live(), 1);
    }

    void aResetInAChangedSlotStands()
    {
        const auto started = listerWithKitchen();
        connect(started.get(), &MDnsLister::clientChanged, [&] {
            if (daemon.live(Op::Resolve) == 0 && daemon.live(Op::QueryRecord) == 1)
                browseAdd("Kitchen", 3);
        });
        txtArrives(txt({"a=1"}));
        QCOMPARE(daemon.live(Op::Resolve), 1);
        QCOMPARE(daemon.live(Op::QueryRecord), 0);
        resolveReplies(3);
        addressArrives("10.0.0.1");
        QCOMPARE(started->getClients(), QStringList{QStringLiteral("Kitchen")});
        QCOMPARE(daemon.live(Op::QueryRecord), 1);
    }

    void aReturnInARemovedSlotStands_data() { drainingRows(); }
    void aReturnInARemovedSlotStands()
    {
        useDraining();
        const auto started = listerWithKitchen();
        connect(started.get(), &MDnsLister::clientRemoved, [&] {
            browseAdd("Kitchen", 3);
            resolveReplies(3);
            addressArrives("10.0.0.1");
        });
        browseRemove("Kitchen", 3);
        QCOMPARE(started->getClients(), QStringList{QStringLiteral("Kitchen")});
        QCOMPARE(daemon.live(Op::QueryRecord), 1);
        txtArrives(txt({"a=1"}));
        QCOMPARE(emissions().last(), QStringLiteral("clientChanged(Kitchen)"));
    }

    void removalsAreReportedInnermostLast()
    {
        const auto started = lister();
        for (const char* name : {"Kitchen", "Cellar"}) {
            browseAdd(name, 3);
            resolveRepliesFor(name, 3);
            addressArrives("10.0.0.1");
        }
        connect(started.get(), &MDnsLister::clientRemoved, [&](const QString& name) {
            note(started->getClients().join(QLatin1Char(',')));
            if (name == QLatin1String("Kitchen"))
                browseRemove("Cellar", 3);
        });
        browseRemove("Kitchen", 3);
        QCOMPARE(record.of(Record::Note), (QStringList{QStringLiteral("Cellar"), QString()}));
        QCOMPARE(emissions(), (QStringList{QStringLiteral("clientRemoved(Kitchen)"),
                                           QStringLiteral("clientRemoved(Cellar)")}));
    }

    void aListerGoesInALoopInsideItsOwnSlot_data() { drainingRows(); }
    void aListerGoesInALoopInsideItsOwnSlot()
    {
        useDraining();
        auto doomed = listerWithKitchen();
        int depth = 0;
        connect(doomed.get(), &MDnsLister::clientChanged, [&] {
            if (depth++ == 0)
                txtArrives(txt({"a=2"}));
            else
                doomed.reset();
            note(doomed ? QStringLiteral("alive") : QStringLiteral("gone"));
        });
        txtArrives(txt({"a=1"}));
        QCOMPARE(record.of(Record::Note), (QStringList{QStringLiteral("gone"), QStringLiteral("gone")}));
        QCOMPARE(emissions().size(), 2);
        QCOMPARE(daemon.live(), 0);
    }

    void anAdvertiserGoesInALoopInsideItsOwnSlot()
    {
        auto doomed = advertiser();
        doomed->start();
        int depth = 0;
        connect(doomed.get(), &MDnsAdvertiser::nameRegistered, [&] {
            if (depth++ > 0) {
                doomed.reset();
                return;
            }
            registered("Kitchen (2)");
            hostIsResolved("other.local.");
        });
        registered("Kitchen");
        hostIsResolved("kitchen.local.");
        QVERIFY(!doomed);
        QCOMPARE(emissions().size(), 2);
        QCOMPARE(daemon.live(), 0);
    }

    void aSelfResolverStartedInARegisteredSlotIsReleasedByTheOuterCall()
    {
        const auto started = advertiser();
        started->start();
        connect(started.get(), &MDnsAdvertiser::nameRegistered, [&] {
            registered("Kitchen (2)");
            note(QString::number(daemon.live(Op::Resolve)));
        });
        registered("Kitchen");
        hostIsResolved("kitchen.local.");
        // The second one had replaced the first, and went with the end of the first one's report.
        QCOMPARE(daemon.live(), 1);
        QCOMPARE(record.of(Record::Note), QStringList{QStringLiteral("1")});
        QCOMPARE(emissions(), QStringList{QStringLiteral("nameRegistered(kitchen.local.)")});
        // The next reply starts over.
        registered("Kitchen (2)");
        hostIsResolved("kitchen.local.");
        QCOMPARE(emissions().size(), 1);
        QCOMPARE(daemon.live(), 1);
    }

    void aWholeResolveInARegisteredSlotIsReported()
    {
        const auto started = advertiser();
        started->start();
        int heard = 0;
        connect(started.get(), &MDnsAdvertiser::nameRegistered, [&] {
            if (heard++ > 0)
                return;
            registered("Kitchen (2)");
            hostIsResolved("other.local.");
        });
        registered("Kitchen");
        hostIsResolved("kitchen.local.");
        QCOMPARE(emissions(), (QStringList{QStringLiteral("nameRegistered(kitchen.local.)"),
                                           QStringLiteral("nameRegistered(other.local.)")}));
        // The last one told is the one remembered.
        registered("Kitchen (2)");
        hostIsResolved("other.local.");
        QCOMPARE(emissions().size(), 2);
    }

    void aListerWorksInAThreadOfItsOwn()
    {
        const QThread* heardIn = nullptr;
        const QThread* own = nullptr;
        inAnotherThread([&] {
            own = QThread::currentThread();
            const auto started = lister();
            connect(
                started.get(), &MDnsLister::clientChanged, started.get(),
                [&] { heardIn = QThread::currentThread(); }, Qt::DirectConnection);
            browseAdd("Kitchen", 3);
            resolveReplies(3);
            addressArrives("192.168.1.5");
            txtArrives(txt({"a=1"}));
            for (QObject* const child : started->findChildren<QObject*>())
                QCOMPARE(child->thread(), own);
            QCOMPARE(started->getClients(), QStringList{QStringLiteral("Kitchen")});
            browseAdd("Cellar", 3);
            runOut(static_cast<BonjourResolver*>(daemon.newest(Op::Resolve)->context));
            browseRemove("Kitchen", 3);
        });
        QVERIFY(own && own != QThread::currentThread());
        QCOMPARE(heardIn, own);
        QCOMPARE(emissions(), (QStringList{QStringLiteral("clientChanged(Kitchen)"),
                                           QStringLiteral("clientRemoved(Kitchen)")}));
        QCOMPARE(daemon.live(), 0);
    }

    void anAdvertiserWorksInAThreadOfItsOwn()
    {
        inAnotherThread([&] {
            const std::unique_ptr<MDnsAdvertiser> started(MDnsAdvertiserFactory::create(
                nullptr, QStringLiteral("Kitchen"), QStringLiteral("_demo._tcp"), 8080));
            registered("Kitchen");
            hostIsResolved("kitchen.local.");
            started->updateTxt(QStringLiteral("k"), QStringLiteral("v"));
            CMValueItem item(CMPath::fromEncoded("systemmanager:/bonjourForceServiceName"));
            QCOMPARE(item.setValue(VeskValue(QStringLiteral("Cellar"))), QString());
            QCOMPARE(daemon.newest(Op::Register)->name, QByteArray("Cellar"));
            registered("Cellar");
            hostIsResolved("cellar.local.");
        });
        QCOMPARE(emissions(), (QStringList{QStringLiteral("nameRegistered(kitchen.local.)"),
                                           QStringLiteral("nameRegistered(cellar.local.)")}));
        QCOMPARE(daemon.live(), 0);
    }

    void signalsReachAReceiverInAnotherThreadByItsQueue()
    {
        QObject receiver;
        QStringList heard;
        inAnotherThread([&] {
            const auto started = lister();
            connect(started.get(), &MDnsLister::clientChanged, &receiver,
                    [&](const QString& name) { heard.append(name); });
            browseAdd("Kitchen", 3);
            resolveReplies(3);
            addressArrives("192.168.1.5");
            txtArrives(txt({"a=1"}));
            QCOMPARE(heard, QStringList());
        });
        QCoreApplication::sendPostedEvents(&receiver);
        QCOMPARE(heard, QStringList{QStringLiteral("Kitchen")});
    }
};

static const TestClass<EventLoops> registeredClass("EventLoops");

#include "EventLoopsTest.moc"
