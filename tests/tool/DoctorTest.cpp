// SPDX-License-Identifier: MIT
// The command doctor on a network of two hosts with two links; this program runs on hosta.
#include "ToolProcess.h"

#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QtTest>
#include <optional>

class DoctorTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void doctorFindsAllInOrder();
    void doctorNeedsNeitherBusNorDaemonForTheResponderInsideTheProcess();
    void doctorFindsThatAnUnknownBackendIsChosen();
    void doctorTakesADaemonWithoutHostAddressForHealthy();
    void doctorFindsThatPublishingIsForbidden_data();
    void doctorFindsThatPublishingIsForbidden();
    void doctorFindsThatBrowsingIsForbidden();
    void doctorLeavesNoServiceBehind();
    void doctorFindsAMissingOrStoppedDaemon();
    void doctorFindsAMissingBus();
    void doctorFindsASilentBus();
    void doctorFindsNoInterface();
    void doctorFindsAnInterfaceWithoutMulticast();
};

namespace {

/** What the doctor finds wrong, one line for each. */
QStringList complaints()
{
    QStringList lines;
    ToolProcess tool({"doctor"});
    if (tool.status() != 1)
        return {"no exit status 1"};
    const QStringList all = QString::fromUtf8(tool.readAllStandardOutput()).split('\n');
    for (const QString& line : all)
        if (line.startsWith("BAD"))
            lines.append(line.simplified());
    return lines;
}

/** Daemon and interfaces need a moment to recover from the test before. */
bool isInOrderAgain()
{
    QDeadlineTimer deadline(deadlineMs);
    while (ToolProcess({"doctor"}).status() != 0)
        if (deadline.hasExpired())
            return false;
    return true;
}

} // namespace

void DoctorTest::doctorFindsAllInOrder()
{
    ToolProcess tool({"--json", "doctor"});
    QStringList subjects;
    QCOMPARE(tool.status(), 0);
    while (tool.canReadLine()) {
        const QJsonObject check = QJsonDocument::fromJson(tool.readLine()).object();
        subjects.append(check["check"].toString());
        QVERIFY(check["ok"].toBool());
    }
    QCOMPARE(subjects, QStringList({"bus", "daemon", "interface", "interface", "library", "backend",
                                    "advertise", "browse"}));
}

void DoctorTest::doctorNeedsNeitherBusNorDaemonForTheResponderInsideTheProcess()
{
    runOnLab("lab-bus", {"hosta", "kill"});
    ToolProcess tool({"--backend", "process", "doctor"});
    const int status = tool.status();
    runOnLab("lab-bus", {"hosta", "start"});
    runOnLab("lab-daemon", {"hosta", "start"});
    const QString report = QString::fromUtf8(tool.readAllStandardOutput()).simplified();
    QVERIFY2(status == 0, qPrintable(report));
    QVERIFY2(report.contains("backend: a responder inside the process is used, as --backend"),
             qPrintable(report));
    QVERIFY2(report.contains("the service is heard back: port 9 of hosta.local at"), qPrintable(report));
    QVERIFY2(!report.contains("bus: ") && !report.contains("daemon: "), qPrintable(report));
}

void DoctorTest::doctorFindsThatAnUnknownBackendIsChosen()
{
    qputenv("VESK_DNSSD_BACKEND", "Process");
    const QStringList found = complaints();
    qunsetenv("VESK_DNSSD_BACKEND");
    QCOMPARE(found, QStringList("BAD backend: the Avahi daemon is used, since VESK_DNSSD_BACKEND is "
                                "\"Process\", which is no backend"));
}

void DoctorTest::doctorTakesADaemonWithoutHostAddressForHealthy()
{
    const OtherDaemon daemon("publish.publish-addresses=no");
    ToolProcess tool({"doctor"});
    QCOMPARE(tool.status(), 0);
    QVERIFY(tool.readAllStandardOutput().contains("port 9 of hosta.local, whose address is not published"));
}

void DoctorTest::doctorFindsThatPublishingIsForbidden_data()
{
    QTest::addColumn<QByteArray>("setting");
    QTest::addColumn<QByteArray>("denied");
    QTest::addColumn<QString>("advice");
    const QString daemonAdvice = "Set disable-publishing=no and disable-user-service-publishing=no";
    QTest::newRow("of programs") << QByteArray("publish.disable-user-service-publishing=yes") << QByteArray()
                                 << daemonAdvice;
    QTest::newRow("at all") << QByteArray("publish.disable-publishing=yes") << QByteArray() << daemonAdvice;
    QTest::newRow("by the bus") << QByteArray() << QByteArray("EntryGroupNew")
                                << "Let the message bus's policy";
}

void DoctorTest::doctorFindsThatPublishingIsForbidden()
{
    QFETCH(QByteArray, setting);
    QFETCH(QByteArray, denied);
    QFETCH(QString, advice);
    const OtherDaemon daemon(setting);
    std::optional<DeniedCall> bus;
    if (!denied.isEmpty())
        bus.emplace(denied);
    ToolProcess doctor({"doctor"});
    QCOMPARE(doctor.status(), 1);
    const QString report = QString::fromUtf8(doctor.readAllStandardOutput()).simplified();
    QCOMPARE(report.count("BAD"), 1);
    QVERIFY2(report.contains(
                 "BAD advertise: no service can be registered: the mDNS daemon or the message bus does "
                 "not permit it (error -65571) " +
                 advice),
             qPrintable(report));
}

void DoctorTest::doctorFindsThatBrowsingIsForbidden()
{
    QVERIFY(isInOrderAgain());
    const DeniedCall bus("RecordBrowserNew");
    QCOMPARE(
        complaints(),
        QStringList("BAD browse: the service is not heard back: the mDNS daemon or the message bus does not "
                    "permit it (error -65571)"));
}

void DoctorTest::doctorLeavesNoServiceBehind()
{
    QVERIFY(isInOrderAgain());
    ToolProcess browser({"--json", "browse", "_vesk-doctor._tcp"}, "hostb");
    QCOMPARE(ToolProcess({"doctor"}).status(), 0);
    const QString name = browser.nextEvent("added")["name"].toString();
    QVERIFY2(name.startsWith("vesk-mdns doctor "), qPrintable(name));
    QVERIFY(!browser.nextEvent("removed", name).isEmpty());
}

void DoctorTest::doctorFindsAMissingOrStoppedDaemon()
{
    runOnLab("lab-daemon", {"hosta", "kill"});
    const QStringList killed = complaints();
    runOnLab("lab-daemon", {"hosta", "start"});
    runOnLab("lab-daemon", {"hosta", "stop"});
    const QStringList stopped = complaints();
    runOnLab("lab-daemon", {"hosta", "cont"});
    QCOMPARE(killed.first(), QString("BAD daemon: the mDNS daemon is not running"));
    QCOMPARE(stopped.first(), QString("BAD daemon: the mDNS daemon does not answer"));
    QCOMPARE(stopped.last(),
             QString("BAD advertise: no service can be registered: no answer within seconds"));
}

void DoctorTest::doctorFindsAMissingBus()
{
    runOnLab("lab-bus", {"hosta", "kill"});
    const QStringList found = complaints();
    runOnLab("lab-bus", {"hosta", "start"});
    runOnLab("lab-daemon", {"hosta", "start"});
    QVERIFY2(found.first().startsWith("BAD bus: the system's message bus cannot be reached"),
             qPrintable(found.first()));
    QCOMPARE(found.last(),
             QString("BAD advertise: no service can be registered: the mDNS daemon or the message bus is not "
                     "running"));
}

void DoctorTest::doctorFindsASilentBus()
{
    runOnLab("lab-bus", {"hosta", "stop"});
    const QStringList found = complaints();
    runOnLab("lab-bus", {"hosta", "cont"});
    QCOMPARE(found.first(), QString("BAD bus: the system's message bus does not answer"));
}

void DoctorTest::doctorFindsNoInterface()
{
    runOnLab("lab-link", {"hosta", "1", "down"});
    runOnLab("lab-link", {"hosta", "2", "down"});
    const QStringList found = complaints();
    runOnLab("lab-link", {"hosta", "1", "up"});
    runOnLab("lab-link", {"hosta", "2", "up"});
    QVERIFY(found.contains("BAD interface: no interface reaches other hosts"));
}

void DoctorTest::doctorFindsAnInterfaceWithoutMulticast()
{
    QVERIFY(isInOrderAgain());
    runOnLab("ip", {"link", "set", "lan2", "multicast", "off"});
    const QStringList found = complaints();
    runOnLab("ip", {"link", "set", "lan2", "multicast", "on"});
    QCOMPARE(found, QStringList("BAD interface: lan2 does no multicast, so it is not used"));
}

QTEST_GUILESS_MAIN(DoctorTest)
#include "DoctorTest.moc"
