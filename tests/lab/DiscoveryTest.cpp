// SPDX-License-Identifier: MIT
// What a lister on one host sees of the services on another, from their appearance to their end.
#include "LabFixture.h"

#include <MDnsAdvertiser.h>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QtTest>

class DiscoveryTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_hostb.reset(); }

    void advertisedServiceIsListedWithItsRecord();
    void advertiserLearnsItsHostName();
    void editedTxtEntryArrives();
    void sixtyQuickEditsArriveInTheirOrderToTheLast();
    void removedTxtEntryKeepsItsLastValue();
    void configuredNameReplacesTheNameAndItsRemovalRestoresIt();
    void takenNameIsRenamedAndBothAreListed();
    void sameNamesInMergedNetworksEndAsTwo();
    void withdrawnServiceIsRemoved();
    void serviceOfKilledProcessIsRemoved();
    void serviceOfThisHostIsListedOnItsRealInterface();
    void returnsWithItsTxtAfterItsDaemonWasRestarted();
    void twoHundredServicesNeedNoMoreThanOne();

private:
    int ownConnections() const;

    std::unique_ptr<Peer> m_hostb;
};

void DiscoveryTest::init()
{
    QVERIFY2(qEnvironmentVariable("LAB_HOST") == "hosta", "run this test in a lab of two hosts");
    m_hostb = std::make_unique<Peer>("hostb");
}

void DiscoveryTest::advertisedServiceIsListedWithItsRecord()
{
    Watch watch;
    m_hostb->advertise("Kitchen", 8080);
    EVENTUALLY(watch.changes("Kitchen") > 0);
    const MDnsVeskClient client = watch.client("Kitchen");
    QCOMPARE(client.serviceName, QString("Kitchen"));
    QCOMPARE(client.hostName, QString("hostb.local."));
    QCOMPARE(client.port, 8080);
    QCOMPARE(client.addresses, QSet<QHostAddress>{QHostAddress("10.99.1.2")});
    const QHash<QString, QString> emptyRecord{{"", ""}};
    QCOMPARE(client.txt, emptyRecord);
    QCOMPARE(watch.count("Kitchen"), 1);
}

void DiscoveryTest::advertiserLearnsItsHostName()
{
    m_hostb->advertise("Named");
    EVENTUALLY(m_hostb->registeredHost("Named") == "hostb.local.");
}

void DiscoveryTest::editedTxtEntryArrives()
{
    Watch watch;
    m_hostb->advertise("Edited");
    m_hostb->set("Edited", "oven", "preheating");
    EVENTUALLY(watch.client("Edited").txt.value("oven") == "preheating");
    const int before = watch.changes("Edited");
    m_hostb->set("Edited", "oven", "ready");
    EVENTUALLY(watch.client("Edited").txt.value("oven") == "ready");
    QVERIFY(watch.changes("Edited") > before);
}

void DiscoveryTest::sixtyQuickEditsArriveInTheirOrderToTheLast()
{
    constexpr int Last = 60;
    Watch watch;
    m_hostb->advertise("Dimmer");
    m_hostb->count("Dimmer", "level", Last, 250);
    EVENTUALLY(watch.client("Dimmer").txt.value("level") == QString::number(Last));
    // By the time that this change is seen, all that has been replaced is gone.
    m_hostb->advertise("Bystander");
    m_hostb->count("Bystander", "level", 1, 4000);
    EVENTUALLY(watch.client("Bystander").txt.value("level") == "1");
    const QStringList values = watch.values("Dimmer", "level");
    QVERIFY2(values.size() > Last / 6, "too little has happened to tell");
    for (int i = 1; i < values.size(); ++i)
        QVERIFY2(values[i].toInt() > values[i - 1].toInt(), qPrintable(values.join(' ')));
}

void DiscoveryTest::removedTxtEntryKeepsItsLastValue()
{
    Watch watch;
    m_hostb->advertise("Merged");
    m_hostb->set("Merged", "gone", "last");
    EVENTUALLY(watch.client("Merged").txt.value("gone") == "last");
    m_hostb->remove("Merged", "gone");
    m_hostb->set("Merged", "later", "yes");
    EVENTUALLY(watch.client("Merged").txt.value("later") == "yes");
    QCOMPARE(watch.client("Merged").txt.value("gone"), QString("last"));

    // Only the records of clients that saw the entry keep it. The daemon forgets it after a moment.
    const auto newcomerSeesIt = [] {
        Watch late;
        return !QTest::qWaitFor([&late] { return late.client("Merged").txt.value("later") == "yes"; }) ||
               late.client("Merged").txt.contains("gone");
    };
    EVENTUALLY(!newcomerSeesIt());
}

void DiscoveryTest::configuredNameReplacesTheNameAndItsRemovalRestoresIt()
{
    QFile settings("/run/lab/hostb/config/systemmanager.json");
    Watch watch;
    m_hostb->advertise("Factory Name");
    m_hostb->set("Factory Name", "colour", "red");
    EVENTUALLY(watch.client("Factory Name").txt.value("colour") == "red");

    QVERIFY(settings.open(QIODevice::WriteOnly));
    settings.write("{\"bonjourForceServiceName\": \"Living Room._labtest._tcp.local.\"}");
    settings.close();
    EVENTUALLY(watch.removals("Factory Name") == 1 && watch.changes("Living Room") > 0);
    QVERIFY(!watch.lists("Factory Name"));
    QVERIFY(!watch.client("Living Room").txt.contains("colour")); // a new registration begins without

    QVERIFY(settings.remove());
    EVENTUALLY(watch.removals("Living Room") == 1 && watch.lists("Factory Name"));
}

/** The hosts of the service with that name and of the one that was renamed. */
static QSet<QString> hosts(const Watch& watch, const QString& name)
{
    return {watch.client(name).hostName, watch.client(name + " (2)").hostName};
}

void DiscoveryTest::takenNameIsRenamedAndBothAreListed()
{
    Watch watch;
    m_hostb->advertise("Speaker", 1000);
    EVENTUALLY(watch.changes("Speaker") > 0);
    // A daemon does not repeat what it has said within the last half second, not even to defend a new name;
    // the next registration takes longer than that.
    m_hostb->advertise("Later");
    EVENTUALLY(watch.changes("Later") > 0);
    const std::unique_ptr<MDnsAdvertiser> second(
        MDnsAdvertiserFactory::create(nullptr, "Speaker", "_labtest._tcp", 2000));
    // A busy daemon may defend its name too late. Then it is for the two to decide which one gives way.
    EVENTUALLY(hosts(watch, "Speaker") == (QSet<QString>{"hosta.local.", "hostb.local."}));
    for (const char* name : {"Speaker", "Speaker (2)"})
        QCOMPARE(watch.client(name).port, watch.client(name).hostName == "hostb.local." ? 1000 : 2000);
}

void DiscoveryTest::sameNamesInMergedNetworksEndAsTwo()
{
    QVERIFY(runLab("lab-link", {"hostb", "1", "detach"}));
    Watch watch;
    m_hostb->advertise("Twin", 1000);
    const std::unique_ptr<MDnsAdvertiser> ours(
        MDnsAdvertiserFactory::create(nullptr, "Twin", "_labtest._tcp", 2000));
    EVENTUALLY(m_hostb->registeredHost("Twin") == "hostb.local.");
    EVENTUALLY(watch.client("Twin").hostName == "hosta.local.");
    // A cable that is plugged in makes the daemon announce its services anew.
    QVERIFY(runLab("lab-link", {"hostb", "1", "down"}));
    QVERIFY(runLab("lab-link", {"hostb", "1", "attach"}));
    QVERIFY(runLab("lab-link", {"hostb", "1", "up"}));
    // No host says "I was first": one of them, or each, takes another name.
    const auto hosts = [&watch] {
        QSet<QString> found;
        const QStringList names = watch.clients();
        for (const QString& name : names)
            found << watch.client(name).hostName;
        return found;
    };
    EVENTUALLY(watch.lists("Twin (2)") && hosts() == (QSet<QString>{"hosta.local.", "hostb.local."}));
}

void DiscoveryTest::withdrawnServiceIsRemoved()
{
    Watch watch;
    m_hostb->advertise("Leaving");
    EVENTUALLY(watch.changes("Leaving") > 0);
    m_hostb->withdraw("Leaving");
    EVENTUALLY(watch.removals("Leaving") == 1);
    QVERIFY(!watch.lists("Leaving"));
    QCOMPARE(watch.client("Leaving").serviceName, QString());
}

void DiscoveryTest::serviceOfKilledProcessIsRemoved()
{
    Watch watch;
    Peer doomed("hostb");
    doomed.advertise("Doomed");
    EVENTUALLY(watch.changes("Doomed") > 0);
    doomed.kill();
    EVENTUALLY(watch.removals("Doomed") == 1);
}

void DiscoveryTest::serviceOfThisHostIsListedOnItsRealInterface()
{
    Watch watch;
    const std::unique_ptr<MDnsAdvertiser> own(
        MDnsAdvertiserFactory::create(nullptr, "Own", "_labtest._tcp", 2000));
    EVENTUALLY(watch.changes("Own") > 0);
    QCOMPARE(watch.count("Own"), 1);
    QCOMPARE(watch.client("Own").addresses, QSet<QHostAddress>{QHostAddress("10.99.1.1")});
}

void DiscoveryTest::returnsWithItsTxtAfterItsDaemonWasRestarted()
{
    Watch watch;
    m_hostb->advertise("Phoenix");
    m_hostb->set("Phoenix", "life", "1");
    EVENTUALLY(watch.client("Phoenix").txt.value("life") == "1");
    QVERIFY(runLab("lab-daemon", {"hostb", "kill"}));
    m_hostb->set("Phoenix", "life", "2");
    QVERIFY(runLab("lab-daemon", {"hostb", "start"}));
    EVENTUALLY(watch.client("Phoenix").txt.value("life") == "2");

    QVERIFY(runLab("lab-daemon", {"hosta", "restart"}));
    m_hostb->set("Phoenix", "life", "3");
    EVENTUALLY(watch.client("Phoenix").txt.value("life") == "3");
    QCOMPARE(watch.count("Phoenix"), 1);
}

void DiscoveryTest::twoHundredServicesNeedNoMoreThanOne()
{
    const auto threads = [] {
        return QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
    };
    Watch watch;
    m_hostb->advertise("Service 1");
    EVENTUALLY(watch.changes("Service 1") > 0);
    const int connectionsWithOne = ownConnections();
    QVERIFY(connectionsWithOne >= 1);
    const int threadsWithOne = threads();
    QStringList names{"Service 1"};
    for (int i = 2; i <= 200; ++i) {
        names << QString("Service %1").arg(i);
        m_hostb->advertise(names.last(), 8000 + i);
    }
    QTRY_COMPARE_WITH_TIMEOUT(watch.clients().filter("Service ").size(), 200, 3 * deadlineMs);
    QStringList listed = watch.clients().filter("Service ");
    std::sort(listed.begin(), listed.end());
    std::sort(names.begin(), names.end());
    QCOMPARE(listed, names);
    for (int i = 2; i <= 200; ++i)
        QCOMPARE(watch.client(QString("Service %1").arg(i)).port, 8000 + i);
    QCOMPARE(threads(), threadsWithOne);
    QCOMPARE(ownConnections(), connectionsWithOne);
}

/** The bus's own count of this process's connections, but for the one that asks. */
int DiscoveryTest::ownConnections() const
{
    QDBusConnection bus = QDBusConnection::systemBus();
    const QStringList names = bus.interface()->registeredServiceNames();
    return std::count_if(names.begin(), names.end(), [&bus](const QString& name) {
        return name.startsWith(':') && name != bus.baseService() &&
               bus.interface()->servicePid(name) == uint(QCoreApplication::applicationPid());
    });
}

QTEST_GUILESS_MAIN(DiscoveryTest)
#include "DiscoveryTest.moc"
