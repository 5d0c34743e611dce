// SPDX-License-Identifier: MIT
// The command browse on a network of two hosts with two links; this program runs on hosta.
#include "ToolProcess.h"

#include <QJsonArray>
#include <QtTest>
#include <csignal>

class BrowseTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void serviceThatComesChangesAndGoesIsReported();
    void serviceOnTwoInterfacesIsCountedTwice();
    void typeIsListedWithItsInterfaces();
    void browseThatFindsNothingFails();
    void browseThatFindsAServiceSucceeds();
    void browseEndsWhenItsReaderGoes();
    void browseEndsWhenItsReaderGoesBeforeAnythingIsFound();
    void controlCharactersFromTheNetworkAreMadeVisible();
    void refusedBrowseEndsWithWordsAndAdvice_data();
    void refusedBrowseEndsWithWordsAndAdvice();
};

void BrowseTest::serviceThatComesChangesAndGoesIsReported()
{
    ToolProcess browser({"--json", "browse", serviceType});
    const auto kitchen = advertised(own(), {"path=/"});
    QVERIFY(kitchen);
    const QJsonObject added = browser.nextEvent("added", own());
    QCOMPARE(added["host"].toString(), QString("hostb.local."));
    QCOMPARE(added["type"].toString(), serviceType);
    QCOMPARE(added["port"].toInt(), 8080);
    QCOMPARE(added["addresses"].toArray().size(), 1);
    QVERIFY(added["interface"].toString().startsWith("lan"));

    kitchen->enter("path=/new\n");
    QVERIFY(!browser
                 .nextEvent([](const QJsonObject& event) {
                     return event["event"] == "changed" && event["txt"].toObject()["path"] == "/new";
                 })
                 .isEmpty());
    QCOMPARE(kitchen->statusAfter(SIGINT), 0);
    QVERIFY(!browser.nextEvent("removed", own()).isEmpty());
}

void BrowseTest::serviceOnTwoInterfacesIsCountedTwice()
{
    const auto kitchen = advertised(own());
    QVERIFY(kitchen);
    ToolProcess browser({"--json", "browse", serviceType});
    QVERIFY(!browser.nextEvent([](const QJsonObject& event) { return event["interfaces"] == 2; }).isEmpty());
    runOnLab("lab-link", {"hosta", "2", "down"});
    const bool isCounted =
        !browser.nextEvent([](const QJsonObject& event) { return event["interfaces"] == 1; }).isEmpty();
    runOnLab("lab-link", {"hosta", "2", "up"});
    QVERIFY(isCounted);
}

void BrowseTest::typeIsListedWithItsInterfaces()
{
    const auto kitchen = advertised(own());
    QVERIFY(kitchen);
    ToolProcess browser({"--json", "browse"});
    const QJsonObject complete = browser.nextEvent([](const QJsonObject& event) {
        return event["type"] == serviceType && event["interfaces"].toArray() == QJsonArray({"lan1", "lan2"});
    });
    QVERIFY(!complete.isEmpty());
}

void BrowseTest::browseThatFindsNothingFails()
{
    ToolProcess tool({"--timeout", "0.5", "browse", "_nothing._tcp"});
    QCOMPARE(tool.status(), 1);
    QVERIFY(tool.errors().contains("found no service of type _nothing._tcp"));
    QVERIFY(tool.readAllStandardOutput().isEmpty());
}

void BrowseTest::browseThatFindsAServiceSucceeds()
{
    const auto kitchen = advertised(own());
    QVERIFY(kitchen);
    ToolProcess tool({"--timeout", "10", "browse", serviceType});
    QCOMPARE(tool.status(), 0);
    const QString lines = QString::fromUtf8(tool.readAllStandardOutput());
    QVERIFY2(lines.contains(QString("\tadded\t%1\thostb.local.\t").arg(own())), qPrintable(lines));
}

void BrowseTest::browseEndsWhenItsReaderGoes()
{
    const auto kitchen = advertised(own());
    const auto hall = advertised("Another", {}, 8081);
    QVERIFY(kitchen && hall);
    QProcess shell;
    shell.start("sh", {"-c", QString(VESK_MDNS_TOOL " browse %1 | head -n 1").arg(serviceType)});
    QVERIFY(shell.waitForFinished(deadlineMs));
    QCOMPARE(shell.readAllStandardOutput().count('\n'), 1);
}

void BrowseTest::browseEndsWhenItsReaderGoesBeforeAnythingIsFound()
{
    QProcess shell;
    shell.start("sh", {"-c", VESK_MDNS_TOOL " browse _nothing._tcp | true"});
    QVERIFY(shell.waitForFinished(deadlineMs));
}

void BrowseTest::controlCharactersFromTheNetworkAreMadeVisible()
{
    const QString name = QString("evil \x1b[31m\a") + QChar(0x9B) + QChar(0x202E);
    const auto tool = advertised(name, {"k=\x1b]0;title\a"});
    QVERIFY(tool);
    QCOMPARE(resolved(name)["name"].toString(), name);
    for (const QStringList& options : {QStringList(), QStringList("--json")}) {
        ToolProcess browser(options + QStringList{"browse", serviceType});
        const QString text = browser.outputWith("evil ");
        QVERIFY(text.contains("evil "));
        for (const QChar obeyed : {QChar(0x1B), QChar(0x07), QChar(0x9B), QChar(0x202E)})
            QVERIFY2(!text.contains(obeyed), qPrintable(text));
    }
}

void BrowseTest::refusedBrowseEndsWithWordsAndAdvice_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("refused");
    QTest::newRow("browse") << QStringList{"browse", serviceType} << "browse";
    QTest::newRow("list of types") << QStringList{"browse"} << "list service types";
    QTest::newRow("resolve") << QStringList{"--timeout", "60", "resolve", "a", serviceType} << "browse";
}

void BrowseTest::refusedBrowseEndsWithWordsAndAdvice()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, refused);
    const DeniedCall bus("RecordBrowserNew");
    ToolProcess tool(arguments);
    QCOMPARE(tool.status(), 3);
    QCOMPARE(
        tool.errors(),
        QString("vesk-mdns: cannot %1: the mDNS daemon or the message bus does not permit it (error -65571); "
                "let the bus's policy allow calls to org.freedesktop.Avahi and, to advertise, set "
                "disable-publishing and disable-user-service-publishing to no in avahi-daemon.conf\n")
            .arg(refused));
}

QTEST_GUILESS_MAIN(BrowseTest)
#include "BrowseTest.moc"
