// SPDX-License-Identifier: MIT
// The command browse with few descriptors, on a network of two hosts; this program runs on hosta.
#include "ToolProcess.h"

#include <QProcess>
#include <QRegularExpression>
#include <QtTest>
#include <csignal>
#include <sys/resource.h>

class ListingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void softLimitIsRaisedSoThatAllServicesAreListed();
    void servicesBeyondTheHardLimitAreToldOfOnce();

private:
    QProcess m_peer;
};

/** For the tool, which inherits it; a lowered hard limit stays. */
static void limitDescriptors(rlim_t soft, rlim_t hard)
{
    const rlimit limits = {soft, hard};
    QVERIFY(setrlimit(RLIMIT_NOFILE, &limits) == 0);
}

void ListingTest::initTestCase()
{
    runOnLab("lab-daemon", {"hostb", "kill"});
    m_peer.setProcessChannelMode(QProcess::ForwardedChannels);
    m_peer.start("lab-on", {"hostb", CRAFTED_PEER, "10.99.1.2", "many=60"});
    QVERIFY(m_peer.waitForStarted());
}

void ListingTest::cleanupTestCase()
{
    m_peer.terminate();
    m_peer.waitForFinished(deadlineMs);
}

void ListingTest::softLimitIsRaisedSoThatAllServicesAreListed()
{
    limitDescriptors(64, 256);
    ToolProcess tool({"--json", "browse", serviceType});
    for (int i = 0; i < 60; ++i)
        QVERIFY(!tool.nextEvent("added").isEmpty());
}

void ListingTest::servicesBeyondTheHardLimitAreToldOfOnce()
{
    limitDescriptors(64, 64);
    ToolProcess tool({"--json", "browse", serviceType});
    QString errors;
    QVERIFY(QTest::qWaitFor([&] { return (errors += tool.errors()).contains('\n'); }, deadlineMs));
    QVERIFY2(QRegularExpression("^vesk-mdns: listing (3[5-9]|[45][0-9]) of 60: descriptor limit 64\n$")
                 .match(errors)
                 .hasMatch(),
             qPrintable(errors));
    QCOMPARE(tool.statusAfter(SIGINT), 0);
    QCOMPARE(tool.errors(), QString());
}

QTEST_GUILESS_MAIN(ListingTest)
#include "ListingTest.moc"
