// SPDX-License-Identifier: MIT
// Commands while nothing listens where the message bus should; this program runs on hosta of a lab.
#include "ToolProcess.h"

#include <QProcessEnvironment>
#include <QtTest>

class MissingBusTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void commandWithoutABusIsRefused_data();
    void commandWithoutABusIsRefused();
    void responderInsideTheProcessNeedsNoBus();
};

void MissingBusTest::commandWithoutABusIsRefused_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("refused");
    QTest::newRow("browse") << QStringList{"browse", serviceType} << "browse";
    QTest::newRow("list of types") << QStringList{"browse"} << "list service types";
    QTest::newRow("resolve") << QStringList{"resolve", "a", serviceType} << "browse";
    QTest::newRow("advertise") << QStringList{"advertise", "a", serviceType, "1"} << "browse";
}

void MissingBusTest::commandWithoutABusIsRefused()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, refused);
    QProcess tool;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere");
    tool.setProcessEnvironment(environment);
    tool.start(VESK_MDNS_TOOL, arguments);
    QVERIFY(tool.waitForFinished(deadlineMs));
    QCOMPARE(tool.exitCode(), 3);
    QCOMPARE(QString::fromUtf8(tool.readAllStandardError()),
             QString("vesk-mdns: cannot %1: the mDNS daemon or the message bus is not running; "
                     "'vesk-mdns doctor' says what to do\n")
                 .arg(refused));
}

void MissingBusTest::responderInsideTheProcessNeedsNoBus()
{
    runOnLab("lab-bus", {"hosta", "kill"});
    ToolProcess advertiser({"--json", "--backend", "process", "advertise", "Kitchen", serviceType, "8080"});
    QCOMPARE(advertiser.nextEvent("registered")["host"].toString(), QString("hosta.local."));
    ToolProcess types({"--json", "--backend", "process", "browse"});
    QCOMPARE(types.nextEvent("added")["type"].toString(), serviceType);
    ToolProcess resolver({"--json", "--backend", "process", "resolve", "Kitchen", serviceType});
    QCOMPARE(resolver.nextEvent("resolved")["port"].toInt(), 8080);
}

QTEST_GUILESS_MAIN(MissingBusTest)
#include "MissingBusTest.moc"
