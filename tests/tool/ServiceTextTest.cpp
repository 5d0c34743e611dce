// SPDX-License-Identifier: MIT
#include "ServiceText.h"

#include "Kitchen.h"

#include <QJsonArray>
#include <QtTest>

class ServiceTextTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void linkLocalAddressIsWrittenWithItsInterface();
    void otherAddressIsWrittenWithoutInterface();
    void interfaceIsTakenFromTheScope();
    void interfaceIsTakenFromTheSubnet();
    void interfaceOfAForeignSubnetIsAQuestionMark();
    void furtherInterfacesAreWrittenAsACount();
    void txtEntriesAreSortedAndQuoted();
    void emptyTxtRecordIsWrittenAsNothing();
    void serviceIsWrittenAsTheDocumentedJsonFields();
    void controlCharactersAreMadeVisibleInCells();
};

void ServiceTextTest::linkLocalAddressIsWrittenWithItsInterface()
{
    MDnsVeskClient client;
    client.addresses = {QHostAddress("fe80::1%1")};
    QCOMPARE(addressTexts(client), QStringList("fe80::1%lo"));
}

void ServiceTextTest::otherAddressIsWrittenWithoutInterface()
{
    MDnsVeskClient client;
    client.addresses = {QHostAddress("fd99::2%1"), QHostAddress("240.0.0.7")};
    QCOMPARE(addressTexts(client), QStringList({"240.0.0.7", "fd99::2"}));
}

void ServiceTextTest::interfaceIsTakenFromTheScope()
{
    MDnsVeskClient client;
    client.addresses = {QHostAddress("fd99::2%1")};
    QCOMPARE(interfaceText(client), QString("lo"));
}

void ServiceTextTest::interfaceIsTakenFromTheSubnet()
{
    MDnsVeskClient client;
    client.addresses = {QHostAddress("127.0.0.9")};
    QCOMPARE(interfaceText(client), QString("lo"));
}

void ServiceTextTest::interfaceOfAForeignSubnetIsAQuestionMark()
{
    QCOMPARE(interfaceText(kitchen()), QString());
    QCOMPARE(interfaceColumn({kitchen(), 1}), QString("?"));
}

void ServiceTextTest::furtherInterfacesAreWrittenAsACount()
{
    MDnsVeskClient client;
    client.addresses = {QHostAddress("127.0.0.9")};
    QCOMPARE(interfaceColumn({client, 3}), QString("lo +2"));
}

void ServiceTextTest::txtEntriesAreSortedAndQuoted()
{
    QCOMPARE(txtText({{"path", "/"}, {"note", "a \"b\""}, {"empty", ""}}),
             QString("empty= \"note=a \\\"b\\\"\" path=/"));
}

void ServiceTextTest::emptyTxtRecordIsWrittenAsNothing()
{
    QCOMPARE(txtText({{"", ""}}), QString());
}

void ServiceTextTest::serviceIsWrittenAsTheDocumentedJsonFields()
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

void ServiceTextTest::controlCharactersAreMadeVisibleInCells()
{
    MDnsVeskClient client = kitchen();
    client.serviceName = "\x1b[31m";
    client.hostName = "a\tb.local.";
    client.txt = {{"k", "\n"}};
    QCOMPARE(serviceCells({client, 1}),
             QStringList({"\\x1B[31m", "a\\x09b.local.", "240.0.0.7", "8080", "?", "k=\\x0A"}));
}

QTEST_GUILESS_MAIN(ServiceTextTest)
#include "ServiceTextTest.moc"
