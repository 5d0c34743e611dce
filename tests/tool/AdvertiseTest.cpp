// SPDX-License-Identifier: MIT
// The command advertise on a network of two hosts with two links; this program runs on hosta.
#include "ToolProcess.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QHash>
#include <QtTest>

class AdvertiseTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void advertisedServiceIsReportedWithHostAndName();
    void advertisedNameArrivesUnchanged_data();
    void advertisedNameArrivesUnchanged();
    void typedLineEditsTheTxtRecord();
    void wrongTypedLineIsRefusedWithARemedy();
    void nameConflictIsReportedAsAnotherName();
    void configuredNameIsTakenAndTxtKept();
    void missingDaemonIsReportedAfterFiveSeconds();
    void refusedRegistrationEndsWithWordsAndAdvice();
    void registrationRefusedLaterEndsWithWordsAndAdvice();
};

namespace {

/** Old and new record are both known for a second after an edit. */
bool becomesTxt(const QString& name, const QJsonObject& txt)
{
    QDeadlineTimer deadline(deadlineMs);
    while (resolved(name)["txt"].toObject() != txt)
        if (deadline.hasExpired())
            return false;
    return true;
}

} // namespace

void AdvertiseTest::advertisedServiceIsReportedWithHostAndName()
{
    ToolProcess tool({"--json", "advertise", own(), serviceType, "8080"}, "hostb");
    QHash<QString, QJsonObject> events; // in either order
    QVERIFY(!tool.nextEvent([&events](const QJsonObject& event) {
                     events.insert(event["event"].toString(), event);
                     return events.contains("registered") && events.contains("visible");
                 })
                 .isEmpty());
    QCOMPARE(events["registered"]["host"].toString(), QString("hostb.local."));
    QCOMPARE(events["registered"]["port"].toInt(), 8080);
    QVERIFY(QDateTime::fromString(events["registered"]["time"].toString(), Qt::ISODateWithMs).isValid());
    QCOMPARE(events["visible"]["name"].toString(), own());
    QVERIFY(events["visible"]["previous"].isNull());
}

void AdvertiseTest::advertisedNameArrivesUnchanged_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("blanks") << "Kitchen  lamp";
    QTest::newRow("dots") << "a.b.";
    QTest::newRow("quotes") << "the \"big\" 'one'";
    QTest::newRow("umlauts") << "Küche";
    QTest::newRow("CJK") << "台所の照明";
    QTest::newRow("emoji") << "lamp 💡";
    QTest::newRow("63 bytes") << QString(21, QChar(0x53F0));
}

void AdvertiseTest::advertisedNameArrivesUnchanged()
{
    QFETCH(QString, name);
    const auto tool = advertised(name);
    QVERIFY(tool);
    QCOMPARE(resolved(name)["name"].toString(), name);
}

void AdvertiseTest::typedLineEditsTheTxtRecord()
{
    const auto kitchen = advertised(own(), {"path=/"});
    QVERIFY(kitchen);
    kitchen->enter("note=a = b\n  -PATH  \n");
    QCOMPARE(kitchen->nextEvent("txt")["txt"].toObject(), QJsonObject({{"path", "/"}, {"note", "a = b"}}));
    QCOMPARE(kitchen->nextEvent("txt")["txt"].toObject(), QJsonObject({{"note", "a = b"}}));
    kitchen->enter("last=1"); // ended by the end of the input
    kitchen->closeWriteChannel();
    QVERIFY(!kitchen->nextEvent("txt").isEmpty());
    const QJsonObject expected = {{"note", "a = b"}, {"last", "1"}};
    QVERIFY(becomesTxt(own(), expected));
    QCOMPARE(kitchen->state(), QProcess::Running);
}

void AdvertiseTest::wrongTypedLineIsRefusedWithARemedy()
{
    const auto kitchen = advertised(own());
    QVERIFY(kitchen);
    kitchen->enter("nonsense\nright=1\n");
    QCOMPARE(kitchen->nextEvent("txt")["txt"].toObject(), QJsonObject({{"right", "1"}}));
    QCOMPARE(
        kitchen->errors(),
        QString("vesk-mdns: \"nonsense\" is no TXT entry; write KEY=VALUE, or -KEY to remove an entry\n"));
}

void AdvertiseTest::nameConflictIsReportedAsAnotherName()
{
    ToolProcess browser({"--json", "browse", serviceType});
    const auto first = advertised(own());
    QVERIFY(first);
    ToolProcess second({"--json", "advertise", own(), serviceType, "9090"}, "hosta");
    const QJsonObject renamed = browser.nextEvent("added", own() + " (2)");
    QVERIFY(!renamed.isEmpty());
    // The daemons decide which of the two has to give way.
    ToolProcess& loser = renamed["host"] == "hosta.local." ? second : *first;
    QVERIFY(!loser.nextEvent("visible", own() + " (2)").isEmpty());
}

void AdvertiseTest::configuredNameIsTakenAndTxtKept()
{
    const QString path = "systemmanager:/bonjourForceServiceName";
    const auto kitchen = advertised(own(), {"path=/"});
    QVERIFY(kitchen);
    QCOMPARE(ToolProcess({"config", "set", path, "Hall"}, "hostb").status(), 0);
    ToolProcess get({"config", "get", path}, "hostb");
    QCOMPARE(get.status(), 0);
    QCOMPARE(get.readAllStandardOutput(), QByteArray("Hall\n"));

    QCOMPARE(kitchen->nextEvent("forced")["name"].toString(), QString("Hall"));
    const QJsonObject visible = kitchen->nextEvent("visible", "Hall");
    QCOMPARE(visible["previous"].toString(), own());
    QVERIFY(becomesTxt("Hall", QJsonObject({{"path", "/"}})));

    QCOMPARE(ToolProcess({"config", "unset", path}, "hostb").status(), 0);
    QCOMPARE(kitchen->nextEvent("visible", own())["previous"].toString(), QString("Hall"));
    QCOMPARE(ToolProcess({"config", "get", path}, "hostb").status(), 1);
}

void AdvertiseTest::missingDaemonIsReportedAfterFiveSeconds()
{
    runOnLab("lab-daemon", {"hosta", "kill"});
    ToolProcess tool({"--timeout", "7", "advertise", "Kitchen", serviceType, "8080"});
    const int status = tool.status();
    runOnLab("lab-daemon", {"hosta", "start"});
    QCOMPARE(status, 1);
    QVERIFY(tool.errors().contains("not registered after 5 seconds"));
}

void AdvertiseTest::refusedRegistrationEndsWithWordsAndAdvice()
{
    const OtherDaemon daemon("publish.disable-user-service-publishing=yes");
    ToolProcess tool({"advertise", "Kitchen", serviceType, "8080"});
    QCOMPARE(tool.status(), 3);
    QCOMPARE(tool.errors(),
             QString("vesk-mdns: cannot advertise: the mDNS daemon or the message bus does not permit it "
                     "(error -65571); "
                     "let the bus's policy allow calls to org.freedesktop.Avahi and, to advertise, set "
                     "disable-publishing and disable-user-service-publishing to no in avahi-daemon.conf\n"));
}

void AdvertiseTest::registrationRefusedLaterEndsWithWordsAndAdvice()
{
    const auto kitchen = advertised(own(), {}, 8080, "hosta");
    QVERIFY(kitchen);
    const OtherDaemon daemon("publish.disable-user-service-publishing=yes");
    QCOMPARE(kitchen->status(), 3);
    QVERIFY(kitchen->errors().contains("vesk-mdns: cannot advertise: "));
}

QTEST_GUILESS_MAIN(AdvertiseTest)
#include "AdvertiseTest.moc"
