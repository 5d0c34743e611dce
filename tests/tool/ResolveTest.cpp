// SPDX-License-Identifier: MIT
// The command resolve on a network of two hosts with two links; this program runs on hosta.
#include "ToolProcess.h"

#include <QDeadlineTimer>
#include <QJsonArray>
#include <QtTest>

class ResolveTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void resolvedServiceIsShown();
    void nameInOtherCaseIsResolved();
    void chosenFamilyIsLookedUp();
    void resolveThatFindsNothingFails();
};

void ResolveTest::resolvedServiceIsShown()
{
    const auto kitchen = advertised(own(), {"path=/", "note=a b"});
    QVERIFY(kitchen);
    QString text;
    QDeadlineTimer deadline(deadlineMs);
    while (!text.contains("path=/") &&
           !deadline.hasExpired()) { // the record without entries is known as well at first
        ToolProcess tool({"--ipv4", "--timeout", "60", "resolve", own(), serviceType});
        QCOMPARE(tool.status(), 0);
        text = QString::fromUtf8(tool.readAllStandardOutput());
    }
    QVERIFY2(text.contains("Name:      resolvedServiceIsShown\n"), qPrintable(text));
    for (const char* line : {"Host:      hostb.local.\n", "Address:   10.99.", "Port:      8080\n",
                             "Interface: lan", "TXT:       \"note=a b\" path=/\n"})
        QVERIFY2(text.contains(line), qPrintable(text));
}

void ResolveTest::nameInOtherCaseIsResolved()
{
    const auto kitchen = advertised(own());
    QVERIFY(kitchen);
    QCOMPARE(resolved(own().toUpper())["name"].toString(), own());
}

void ResolveTest::chosenFamilyIsLookedUp()
{
    const auto kitchen = advertised(own());
    QVERIFY(kitchen);
    const QString ipv4 = resolved(own(), {"--ipv4"})["addresses"].toArray().first().toString();
    QVERIFY2(ipv4.startsWith("10.99."), qPrintable(ipv4));
    const QString ipv6 = resolved(own(), {"--ipv6"})["addresses"].toArray().first().toString();
    QVERIFY2(ipv6.startsWith("fe80::") && ipv6.contains("%lan"), qPrintable(ipv6));
}

void ResolveTest::resolveThatFindsNothingFails()
{
    ToolProcess tool({"--timeout", "0.5", "resolve", "Nobody", serviceType});
    QCOMPARE(tool.status(), 1);
    QVERIFY(tool.errors().contains("found no service \"Nobody\""));
}

QTEST_GUILESS_MAIN(ResolveTest)
#include "ResolveTest.moc"
