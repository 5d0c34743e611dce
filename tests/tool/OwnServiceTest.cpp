// SPDX-License-Identifier: MIT
#include "OwnService.h"

#include <MDnsLister.h>
#include <QtTest>

class OwnServiceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void serviceOfThisHostIsOwnUnderItsNameOrOneMadeOfIt_data();
    void serviceOfThisHostIsOwnUnderItsNameOrOneMadeOfIt();
    void serviceAtAnotherPortIsNotOwn();
    void serviceOfAnotherHostIsNotOwn();
};

namespace {

MDnsVeskClient service(const QString& name, int port, const QString& address)
{
    MDnsVeskClient client;
    client.serviceName = name;
    client.port = port;
    client.addresses = {QHostAddress(address)};
    return client;
}

} // namespace

void OwnServiceTest::serviceOfThisHostIsOwnUnderItsNameOrOneMadeOfIt_data()
{
    QTest::addColumn<QString>("wanted");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isOwn");
    QTest::newRow("the same") << "Kitchen"
                              << "Kitchen" << true;
    QTest::newRow("numbered") << "Kitchen"
                              << "Kitchen (2)" << true;
    QTest::newRow("numbered by a daemon") << "Kitchen"
                                          << "Kitchen #12" << true;
    QTest::newRow("numbered again") << "Kitchen (2)"
                                    << "Kitchen (3)" << true;
    QTest::newRow("cut") << QString(63, 'k') << QString(59, 'k') + " (2)" << true;
    QTest::newRow("another") << "Kitchen"
                             << "Hall" << false;
    QTest::newRow("longer") << "Kitchen"
                            << "Kitchen lamp" << false;
}

void OwnServiceTest::serviceOfThisHostIsOwnUnderItsNameOrOneMadeOfIt()
{
    QFETCH(QString, wanted);
    QFETCH(QString, name);
    QFETCH(bool, isOwn);
    QCOMPARE(isOwnService(service(name, 8080, "127.0.0.1"), wanted, 8080), isOwn);
}

void OwnServiceTest::serviceAtAnotherPortIsNotOwn()
{
    QVERIFY(!isOwnService(service("Kitchen", 8081, "127.0.0.1"), "Kitchen", 8080));
}

void OwnServiceTest::serviceOfAnotherHostIsNotOwn()
{
    QVERIFY(!isOwnService(service("Kitchen", 8080, "240.0.0.7"), "Kitchen", 8080));
}

QTEST_GUILESS_MAIN(OwnServiceTest)
#include "OwnServiceTest.moc"
