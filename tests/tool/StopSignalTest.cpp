// SPDX-License-Identifier: MIT
// Signals that end the tool, on a network of two hosts with two links; this program runs on hosta.
#include "ToolProcess.h"

#include <QtTest>
#include <csignal>

class StopSignalTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void stopSignalEndsTheToolWithAGoodbye_data();
    void stopSignalEndsTheToolWithAGoodbye();
};

void StopSignalTest::stopSignalEndsTheToolWithAGoodbye_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("Ctrl-C") << SIGINT;
    QTest::newRow("terminate") << SIGTERM;
    QTest::newRow("hang up") << SIGHUP;
    QTest::newRow("quit") << SIGQUIT;
}

void StopSignalTest::stopSignalEndsTheToolWithAGoodbye()
{
    QFETCH(int, signal);
    ToolProcess browser({"--json", "browse", serviceType});
    const auto kitchen = advertised(own());
    QVERIFY(kitchen);
    QVERIFY(!browser.nextEvent("added", own()).isEmpty());
    QCOMPARE(kitchen->statusAfter(signal), 0);
    // Without a goodbye the records would live for more than an hour.
    QVERIFY(!browser.nextEvent("removed", own()).isEmpty());
    QCOMPARE(browser.statusAfter(signal), 0);
}

QTEST_GUILESS_MAIN(StopSignalTest)
#include "StopSignalTest.moc"
