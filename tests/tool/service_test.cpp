// SPDX-License-Identifier: MIT
#include "ServiceText.h"
#include "ServiceWatch.h"

#include <QJsonArray>
#include <QtTest>

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

class ServiceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void newServiceIsAdded();
    void reportOfTheSameIsNoChange();
    void differenceIsAChange_data();
    void differenceIsAChange();
    void secondInterfaceIsAChange();
    void lossOfOneInterfaceIsAChange();
    void lossOfTheLastInterfaceIsARemoval();
    void removalOfAnUnresolvedServiceIsSilent();

    void linkLocalAddressesNameTheirInterface();
    void otherAddressesGoWithoutInterface();
    void interfaceIsKnownByTheScope();
    void interfaceIsKnownByTheSubnet();
    void interfaceOfAForeignSubnetIsUnknown();
    void furtherInterfacesAreCounted();
    void txtIsInOrderAndQuoted();
    void emptyTxtRecordSaysNothing();
    void jsonHasTheDocumentedFields();
    void cellsArePrintable();

private:
    MDnsVeskClient kitchen() const;

    std::unique_ptr<FakeLister> lister;
    std::unique_ptr<ServiceWatch> watch;
    QVector<Change> changes;
    SeenService last;
};

void ServiceTest::init()
{
    lister = std::make_unique<FakeLister>();
    watch = std::make_unique<ServiceWatch>(lister.get());
    changes.clear();
    connect(watch.get(), &ServiceWatch::happened, this, [this](Change change, const SeenService& service) {
        changes.append(change);
        last = service;
    });
}

MDnsVeskClient ServiceTest::kitchen() const
{
    MDnsVeskClient client;
    client.hostName = "kitchen.local.";
    client.serviceName = "Kitchen";
    client.port = 8080;
    client.addresses = {QHostAddress("240.0.0.7")}; // reserved: no local subnet holds it
    client.txt = {{"path", "/"}};
    return client;
}

void ServiceTest::newServiceIsAdded()
{
    lister->report(kitchen());
    QCOMPARE(changes, QVector<Change>({Change::Added}));
    QCOMPARE(last.client.hostName, QString("kitchen.local."));
    QCOMPARE(last.interfaces, 1);
}

void ServiceTest::reportOfTheSameIsNoChange()
{
    lister->report(kitchen());
    Q_EMIT lister->clientChanged("Kitchen");
    QCOMPARE(changes.size(), 1);
}

void ServiceTest::differenceIsAChange_data()
{
    QTest::addColumn<QString>("what");
    for (const char* what : {"host", "port", "txt", "address", "scope"})
        QTest::newRow(what) << what;
}

void ServiceTest::differenceIsAChange()
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

void ServiceTest::secondInterfaceIsAChange()
{
    lister->report(kitchen());
    lister->report(kitchen());
    QCOMPARE(changes, QVector<Change>({Change::Added, Change::Changed}));
    QCOMPARE(last.interfaces, 2);
}

void ServiceTest::lossOfOneInterfaceIsAChange()
{
    lister->report(kitchen());
    lister->report(kitchen());
    lister->clients.removeFirst();
    Q_EMIT lister->clientRemoved("Kitchen");
    QCOMPARE(changes.last(), Change::Changed);
    QCOMPARE(last.interfaces, 1);
}

void ServiceTest::lossOfTheLastInterfaceIsARemoval()
{
    lister->report(kitchen());
    lister->clients.clear();
    Q_EMIT lister->clientRemoved("Kitchen");
    QCOMPARE(changes, QVector<Change>({Change::Added, Change::Removed}));
    QCOMPARE(last.client.port, 8080);
    QVERIFY(watch->services().isEmpty());
}

void ServiceTest::removalOfAnUnresolvedServiceIsSilent()
{
    Q_EMIT lister->clientRemoved(QString());
    QVERIFY(changes.isEmpty());
}

void ServiceTest::linkLocalAddressesNameTheirInterface()
{
    MDnsVeskClient client;
    client.addresses = {QHostAddress("fe80::1%1")};
    QCOMPARE(addressTexts(client), QStringList("fe80::1%lo"));
}

void ServiceTest::otherAddressesGoWithoutInterface()
{
    MDnsVeskClient client;
    client.addresses = {QHostAddress("fd99::2%1"), QHostAddress("240.0.0.7")};
    QCOMPARE(addressTexts(client), QStringList({"240.0.0.7", "fd99::2"}));
}

void ServiceTest::interfaceIsKnownByTheScope()
{
    MDnsVeskClient client;
    client.addresses = {QHostAddress("fd99::2%1")};
    QCOMPARE(interfaceText(client), QString("lo"));
}

void ServiceTest::interfaceIsKnownByTheSubnet()
{
    MDnsVeskClient client;
    client.addresses = {QHostAddress("127.0.0.9")};
    QCOMPARE(interfaceText(client), QString("lo"));
}

void ServiceTest::interfaceOfAForeignSubnetIsUnknown()
{
    QCOMPARE(interfaceText(kitchen()), QString());
    QCOMPARE(interfaceColumn({kitchen(), 1}), QString("?"));
}

void ServiceTest::furtherInterfacesAreCounted()
{
    MDnsVeskClient client;
    client.addresses = {QHostAddress("127.0.0.9")};
    QCOMPARE(interfaceColumn({client, 3}), QString("lo +2"));
}

void ServiceTest::txtIsInOrderAndQuoted()
{
    QCOMPARE(txtText({{"path", "/"}, {"note", "a \"b\""}, {"empty", ""}}),
             QString("empty= \"note=a \\\"b\\\"\" path=/"));
}

void ServiceTest::emptyTxtRecordSaysNothing()
{
    QCOMPARE(txtText({{"", ""}}), QString());
}

void ServiceTest::jsonHasTheDocumentedFields()
{
    const QJsonObject expected = {{"type", "_demo._tcp"},
                                  {"name", "Kitchen"},
                                  {"host", "kitchen.local."},
                                  {"addresses", QJsonArray{"240.0.0.7"}},
                                  {"port", 8080},
                                  {"interface", QJsonValue()},
                                  {"interfaces", 1},
                                  {"txt", QJsonObject{{"path", "/"}}}};
    QCOMPARE(serviceFields("_demo._tcp", {kitchen(), 1}), expected);
}

void ServiceTest::cellsArePrintable()
{
    MDnsVeskClient client = kitchen();
    client.serviceName = "\x1b[31m";
    client.hostName = "a\tb.local.";
    client.txt = {{"k", "\n"}};
    QCOMPARE(serviceCells({client, 1}),
             QStringList({"\\x1B[31m", "a\\x09b.local.", "240.0.0.7", "8080", "?", "k=\\x0A"}));
}

QTEST_GUILESS_MAIN(ServiceTest)
#include "service_test.moc"
