// SPDX-License-Identifier: MIT
// Hosts that meet on two networks.
#include "LabFixture.h"

#include <QtTest>

class LinksTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void serviceIsListedOncePerInterface();
    void lostInterfaceTakesItsRecordAndBringsItBack();
    void goodbyeRemovesBothRecords();

private:
    std::unique_ptr<Peer> m_hostb;
};

void LinksTest::initTestCase()
{
    QVERIFY2(qEnvironmentVariable("LAB_HOST") == "hosta" && qEnvironmentVariable("LAB_LINKS") == "2",
             "run this test in a lab of two hosts with two links");
    m_hostb = std::make_unique<Peer>("hostb");
    m_hostb->advertise("Kitchen");
}

void LinksTest::serviceIsListedOncePerInterface()
{
    Watch watch;
    EVENTUALLY(watch.count("Kitchen") == 2 && watch.changes("Kitchen") >= 2);
    QCOMPARE(watch.clients(), (QStringList{"Kitchen", "Kitchen"}));
    const QSet<QHostAddress> addresses = watch.client("Kitchen").addresses;
    QVERIFY(addresses == QSet<QHostAddress>{QHostAddress("10.99.1.2")} ||
            addresses == QSet<QHostAddress>{QHostAddress("10.99.2.2")});
}

void LinksTest::lostInterfaceTakesItsRecordAndBringsItBack()
{
    Watch watch;
    EVENTUALLY(watch.count("Kitchen") == 2);
    QVERIFY(runLab("lab-link", {"hosta", "1", "down"}));
    EVENTUALLY(watch.removals("Kitchen") == 1);
    QCOMPARE(watch.count("Kitchen"), 1);
    QCOMPARE(watch.client("Kitchen").addresses, QSet<QHostAddress>{QHostAddress("10.99.2.2")});

    QVERIFY(runLab("lab-link", {"hosta", "1", "up"}));
    EVENTUALLY(watch.count("Kitchen") == 2);
    QVERIFY(runLab("lab-link", {"hosta", "2", "down"}));
    EVENTUALLY(watch.count("Kitchen") == 1);
    QCOMPARE(watch.client("Kitchen").addresses, QSet<QHostAddress>{QHostAddress("10.99.1.2")});
    QVERIFY(runLab("lab-link", {"hosta", "2", "up"}));
    EVENTUALLY(watch.count("Kitchen") == 2);
}

void LinksTest::goodbyeRemovesBothRecords()
{
    Watch watch;
    EVENTUALLY(watch.count("Kitchen") == 2);
    m_hostb->withdraw("Kitchen");
    EVENTUALLY(watch.removals("Kitchen") == 2);
    QVERIFY(!watch.lists("Kitchen"));
}

QTEST_GUILESS_MAIN(LinksTest)
#include "LinksTest.moc"
