// SPDX-License-Identifier: MIT
#include "ServiceWatch.h"

#include "Kitchen.h"

#include <QtTest>
#include <memory>

/** A lister whose table the test fills, with one record for each interface. */
class FakeLister : public MDnsLister
{
public:
    QStringList getClients() override
    {
        QStringList names;
        for (const MDnsVeskClient& client : qAsConst(clients))
            names.append(client.serviceName);
        return names;
    }

    MDnsVeskClient getClient(const QString& name) override
    {
        for (const MDnsVeskClient& client : qAsConst(clients))
            if (client.serviceName == name)
                return client;
        return {};
    }

    void report(const MDnsVeskClient& client)
    {
        clients.append(client);
        Q_EMIT clientChanged(client.serviceName);
    }

    QVector<MDnsVeskClient> clients;
};

class ServiceWatchTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void newServiceIsReportedAsAdded();
    void repeatedRecordIsNotReported();
    void differentRecordIsReportedAsChanged_data();
    void differentRecordIsReportedAsChanged();
    void secondInterfaceIsReportedAsChanged();
    void lossOfOneInterfaceIsReportedAsChanged();
    void lossOfTheLastInterfaceIsReportedAsRemoved();
    void removalOfAnUnresolvedServiceIsNotReported();

private:
    std::unique_ptr<FakeLister> lister;
    std::unique_ptr<ServiceWatch> watch;
    QVector<Change> changes;
    SeenService last;
};

void ServiceWatchTest::init()
{
    lister = std::make_unique<FakeLister>();
    watch = std::make_unique<ServiceWatch>(lister.get());
    changes.clear();
    connect(watch.get(), &ServiceWatch::happened, this, [this](Change change, const SeenService& service) {
        changes.append(change);
        last = service;
    });
}

void ServiceWatchTest::newServiceIsReportedAsAdded()
{
    lister->report(kitchen());
    QCOMPARE(changes, QVector<Change>({Change::Added}));
    QCOMPARE(last.client.hostName, QString("kitchen.local."));
    QCOMPARE(last.interfaces, 1);
}

void ServiceWatchTest::repeatedRecordIsNotReported()
{
    lister->report(kitchen());
    Q_EMIT lister->clientChanged("Kitchen");
    QCOMPARE(changes.size(), 1);
}

void ServiceWatchTest::differentRecordIsReportedAsChanged_data()
{
    QTest::addColumn<QString>("what");
    for (const char* what : {"host", "port", "txt", "address", "scope"})
        QTest::newRow(what) << what;
}

void ServiceWatchTest::differentRecordIsReportedAsChanged()
{
    QFETCH(QString, what);
    MDnsVeskClient before = kitchen();
    if (what == "scope")
        before.addresses = {QHostAddress("fe80::1%1")};
    lister->report(before);
    MDnsVeskClient& client = lister->clients[0];
    if (what == "host")
        client.hostName = "hall.local.";
    else if (what == "port")
        client.port = 1;
    else if (what == "txt")
        client.txt["path"] = "/new";
    else if (what == "address")
        client.addresses = {QHostAddress("240.0.0.8")};
    else
        client.addresses = {QHostAddress("fe80::1%2")};
    Q_EMIT lister->clientChanged("Kitchen");
    QCOMPARE(changes, QVector<Change>({Change::Added, Change::Changed}));
}

void ServiceWatchTest::secondInterfaceIsReportedAsChanged()
{
    lister->report(kitchen());
    lister->report(kitchen());
    QCOMPARE(changes, QVector<Change>({Change::Added, Change::Changed}));
    QCOMPARE(last.interfaces, 2);
}

void ServiceWatchTest::lossOfOneInterfaceIsReportedAsChanged()
{
    lister->report(kitchen());
    lister->report(kitchen());
    lister->clients.removeFirst();
    Q_EMIT lister->clientRemoved("Kitchen");
    QCOMPARE(changes.last(), Change::Changed);
    QCOMPARE(last.interfaces, 1);
}

void ServiceWatchTest::lossOfTheLastInterfaceIsReportedAsRemoved()
{
    lister->report(kitchen());
    lister->clients.clear();
    Q_EMIT lister->clientRemoved("Kitchen");
    QCOMPARE(changes, QVector<Change>({Change::Added, Change::Removed}));
    QCOMPARE(last.client.port, 8080);
    QVERIFY(watch->services().isEmpty());
}

void ServiceWatchTest::removalOfAnUnresolvedServiceIsNotReported()
{
    Q_EMIT lister->clientRemoved(QString());
    QVERIFY(changes.isEmpty());
}

QTEST_GUILESS_MAIN(ServiceWatchTest)
#include "ServiceWatchTest.moc"
