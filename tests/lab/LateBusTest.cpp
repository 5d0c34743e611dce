// SPDX-License-Identifier: MIT
// A lister and an advertiser that are made before the message bus and the daemon of their host have started.
#include "LabFixture.h"

#include <MDnsAdvertiser.h>
#include <QtTest>

class LateBusTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void listerAndAdvertiserBeginWhenTheBusAndTheDaemonCome();
};

void LateBusTest::initTestCase()
{
    QVERIFY2(qEnvironmentVariable("LAB_HOST") == "hosta", "run this test in a lab of two hosts");
}

void LateBusTest::listerAndAdvertiserBeginWhenTheBusAndTheDaemonCome()
{
    QVERIFY(runLab("lab-bus", {"hosta", "kill"}));
    Watch watch;
    const std::unique_ptr<MDnsAdvertiser> own(
        MDnsAdvertiserFactory::create(nullptr, "Own", "_labtest._tcp", 2000));
    QSignalSpy registered(own.get(), &MDnsAdvertiser::nameRegistered);
    own->updateTxt("oven", "warm");
    Peer hostb("hostb");
    hostb.advertise("Kitchen");
    EVENTUALLY(hostb.registeredHost("Kitchen") == "hostb.local.");
    QCOMPARE(watch.clients(), QStringList());

    QVERIFY(runLab("lab-bus", {"hosta", "start"}));
    QVERIFY(runLab("lab-daemon", {"hosta", "start"}));
    EVENTUALLY(watch.lists("Kitchen"));
    EVENTUALLY(watch.client("Own").txt.value("oven") == "warm");
    EVENTUALLY(registered.count() == 1);
}

QTEST_GUILESS_MAIN(LateBusTest)
#include "LateBusTest.moc"
