// SPDX-License-Identifier: MIT
// Tests that part of the application on a network in memory: the real library, no daemon, no other machine.
#include "OvenList.h"

#include <MDnsAdvertiser.h>
#include <MDnsTestNetwork.h>
#include <QtTest>

class OvenListTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void hotOvensAreListed();
    void ovenThatCoolsDownIsNoLongerListed();
    void ovensComeBackWithTheNetwork();
    void ownOvenIsListedUnderTheNameThatIsLeft();
};

void OvenListTest::hotOvensAreListed()
{
    MDnsTestNetwork network; // before the first lister or advertiser
    network.publish({"Kitchen", "_oven._tcp", 8080, {{"state", "hot"}}});
    network.publish({"Bakery", "_oven._tcp", 8080, {{"state", "cold"}}});
    OvenList ovens;
    QTRY_COMPARE(ovens.hotOvens(), QStringList{"Kitchen"});
}

void OvenListTest::ovenThatCoolsDownIsNoLongerListed()
{
    MDnsTestNetwork network;
    MDnsTestService kitchen{"Kitchen", "_oven._tcp", 8080, {{"state", "hot"}}};
    network.publish(kitchen);
    OvenList ovens;
    QSignalSpy changes(&ovens, &OvenList::changed);
    QTRY_COMPARE(ovens.hotOvens(), QStringList{"Kitchen"});
    kitchen.txt["state"] = "cold";
    network.publish(kitchen); // the same service, changed
    QTRY_COMPARE(ovens.hotOvens(), QStringList());
    QCOMPARE(changes.size(), 2);
}

void OvenListTest::ovensComeBackWithTheNetwork()
{
    MDnsTestNetwork network;
    network.publish({"Kitchen", "_oven._tcp", 8080, {{"state", "hot"}}});
    OvenList ovens;
    QTRY_COMPARE(ovens.hotOvens(), QStringList{"Kitchen"});
    network.setConnected(false);
    QTRY_COMPARE(ovens.hotOvens(), QStringList());
    network.setConnected(true);
    QTRY_COMPARE(ovens.hotOvens(), QStringList{"Kitchen"});
}

void OvenListTest::ownOvenIsListedUnderTheNameThatIsLeft()
{
    MDnsTestNetwork network;
    network.takeName("Kitchen", "_oven._tcp"); // another host's oven that is still off
    OvenList ovens;
    QObject parent;
    MDnsAdvertiserFactory::create(&parent, "Kitchen", "_oven._tcp", 8080)->updateTxt("state", "hot");
    QTRY_COMPARE(ovens.hotOvens(), QStringList{"Kitchen (2)"});
}

QTEST_GUILESS_MAIN(OvenListTest)
#include "OvenListTest.moc"
