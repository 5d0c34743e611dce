// SPDX-License-Identifier: MIT
#include "ScriptedTest.h"

#include <sstream>
#include <textStreams.h>

namespace {

template <typename T, typename = void>
struct HasEquality : std::false_type
{
};
template <typename T>
struct HasEquality<T, std::void_t<decltype(std::declval<T>() == std::declval<T>())>> : std::true_type
{
};

} // namespace

class Records : public ScriptedTest
{
    Q_OBJECT

private Q_SLOTS:
    void sameNameOnTwoInterfacesIsTwoKeys()
    {
        QVERIFY(!(key(QStringLiteral("Kitchen"), 2) == key(QStringLiteral("Kitchen"), 3)));
        QHash<ResolveData, int> table;
        table.insert(key(QStringLiteral("Kitchen"), 2), 2);
        table.insert(key(QStringLiteral("Kitchen"), 3), 3);
        QCOMPARE(table.size(), 2);
        QCOMPARE(table.value(key(QStringLiteral("Kitchen"), 2)), 2);
    }

    void fullNameAndBytesTakeNoPartInTheKey()
    {
        const ResolveData browsed = key(QStringLiteral("Kitchen"), 3);
        ResolveData resolved = key(QStringLiteral("Kitchen"), 3, QStringLiteral("Kitchen._demo._tcp.local."));
        resolved.serviceNameUtf8 = "other";
        QVERIFY(browsed == resolved);
        QCOMPARE(qHash(browsed, 77), qHash(resolved, 77));
        QHash<ResolveData, int> table;
        table.insert(browsed, 1);
        table.insert(resolved, 2);
        QCOMPARE(table.size(), 1);
        QCOMPARE(table.keys().first().fullName, QString());
    }

    void namesDifferByCase()
    {
        QVERIFY(!(key(QStringLiteral("Kitchen"), 3) == key(QStringLiteral("kitchen"), 3)));
    }

    void nameAndInterfaceAreNotGluedTogether()
    {
        const ResolveData a1on2 = key(QStringLiteral("A1"), 2);
        const ResolveData aOn12 = key(QStringLiteral("A"), 12);
        QVERIFY(!(a1on2 == aOn12));
        QHash<ResolveData, int> table;
        table.insert(a1on2, 1);
        table.insert(aOn12, 2);
        QCOMPARE(table.size(), 2);
    }

    void hashOfInterface0WithSeed0IsTheNamesOwn()
    {
        QCOMPARE(qHash(key(QStringLiteral("Kitchen"), 0), 0), qHash(QStringLiteral("Kitchen"), 0));
        QCOMPARE(qHash(key(QStringLiteral("Kitchen"), 0)), qHash(QStringLiteral("Kitchen"), 0));
    }

    void interfaceAndSeedAreMixedInByXor()
    {
        const uint name = qHash(QStringLiteral("Kitchen"), 0);
        QCOMPARE(qHash(key(QStringLiteral("Kitchen"), 3), 0), name ^ 3U);
        QCOMPARE(qHash(key(QStringLiteral("Kitchen"), 3), 0x1234U), name ^ 3U ^ 0x1234U);
        QCOMPARE(qHash(key(QStringLiteral("Kitchen"), 0xFFFFFFFFU), 0x1234U), name ^ 0xFFFFFFFFU ^ 0x1234U);
    }

    void printsNameAndInterface()
    {
        const std::uint32_t index = someInterface();
        QVERIFY2(index, "This host has no network interface, not even loopback.");
        QCOMPARE(printed(key(QStringLiteral("Kitchen"), index)), label(QStringLiteral("Kitchen"), index));
        QVERIFY(!printed(key(QStringLiteral("Kitchen"), index)).contains(QLatin1String(" on ,")));
    }

    void printsAnEmptyNameForAnInterfaceThatDoesNotExist()
    {
        QCOMPARE(printed(key(QStringLiteral("Kitchen"), 7777777)), QStringLiteral("Kitchen on ,7777777"));
        QCOMPARE(printed(key(QStringLiteral("Kitchen"), 0)), QStringLiteral("Kitchen on ,0"));
        QCOMPARE(printed(key(QStringLiteral("Kitchen"), 0xFFFFFFFFU)),
                 QStringLiteral("Kitchen on ,4294967295"));
    }

    void printsUtf8AndNeitherBytesNorFullName()
    {
        ResolveData data =
            key(QStringLiteral(u"K\u00FCche \u53F0\u6240 \U0001F373"), 7777777, QStringLiteral("full"));
        data.serviceNameUtf8 = "bytes";
        QCOMPARE(printed(data), data.serviceName + QStringLiteral(" on ,7777777"));
    }

    void printingReturnsItsStream()
    {
        std::ostringstream out;
        QCOMPARE(&(out << key(QStringLiteral("Kitchen"), 0)), static_cast<std::ostream*>(&out));
    }

    void aClientRecordIsEmptyAtFirst()
    {
        const MDnsVeskClient client;
        QCOMPARE(client.hostName, QString());
        QCOMPARE(client.serviceName, QString());
        QCOMPARE(client.port, 0);
        QVERIFY(client.addresses.isEmpty());
        QVERIFY(client.txt.isEmpty());
        QCOMPARE(ResolveData().interfaceIndex, 0U);
    }

    void clientRecordsAreCopiedByValue()
    {
        static_assert(HasEquality<ResolveData>::value);
        static_assert(!HasEquality<MDnsVeskClient>::value);
        MDnsVeskClient client;
        client.txt.insert(QStringLiteral("a"), QStringLiteral("1"));
        MDnsVeskClient copy = client;
        copy.txt.insert(QStringLiteral("a"), QStringLiteral("2"));
        copy.port = 5;
        QCOMPARE(client.txt.value(QStringLiteral("a")), QStringLiteral("1"));
        QCOMPARE(client.port, 0);
    }

    void fieldsAreOfTheStatedTypesAndOrder()
    {
        static_assert(std::is_same_v<decltype(ResolveData::interfaceIndex), std::uint32_t>);
        static_assert(std::is_same_v<decltype(MDnsVeskClient::port), std::int32_t>);
        static_assert(std::is_same_v<std::underlying_type_t<MDnsProtocolType>, std::int32_t>);
        const ResolveData data{QStringLiteral("a"), "b", QStringLiteral("c"), 4};
        QCOMPARE(data.serviceName + data.serviceNameUtf8 + data.fullName, QStringLiteral("abc"));
        const MDnsVeskClient client{QStringLiteral("h"),
                                    QStringLiteral("n"),
                                    5,
                                    {QHostAddress(QStringLiteral("10.0.0.1"))},
                                    {{QStringLiteral("k"), QStringLiteral("v")}}};
        QCOMPARE(text(client), QStringLiteral("{host=h name=n port=5 addresses=[10.0.0.1] txt=[k=v]}"));
    }

    void recordsAreNoMetaTypes()
    {
        const auto browsing = listerWithKitchen();
        txtArrives(txt({"a=1"}));
        QCOMPARE(QMetaType::type("ResolveData"), int(QMetaType::UnknownType));
        QCOMPARE(QMetaType::type("MDnsVeskClient"), int(QMetaType::UnknownType));
    }

    void protocolIsMappedWhereALookupStarts_data()
    {
        QTest::addColumn<int>("value");
        QTest::addColumn<DNSServiceProtocol>("protocol");
        QTest::newRow("IPv4") << int(MDnsProtocolType::IPv4) << DNSServiceProtocol(1);
        QTest::newRow("IPv6") << int(MDnsProtocolType::IPv6) << DNSServiceProtocol(2);
        QTest::newRow("2") << 2 << DNSServiceProtocol(0);
        QTest::newRow("3") << 3 << DNSServiceProtocol(0);
        QTest::newRow("-1") << -1 << DNSServiceProtocol(0);
        QTest::newRow("largest") << std::numeric_limits<int>::max() << DNSServiceProtocol(0);
        QTest::newRow("smallest") << std::numeric_limits<int>::min() << DNSServiceProtocol(0);
    }

    void protocolIsMappedWhereALookupStarts()
    {
        QFETCH(int, value);
        QFETCH(DNSServiceProtocol, protocol);
        const auto started = lookup(static_cast<MDnsProtocolType>(value));
        QCOMPARE(daemon.newest(Op::GetAddrInfo)->protocol, protocol);
    }

    void enumerationValues()
    {
        QCOMPARE(int(MDnsProtocolType::IPv4), 0);
        QCOMPARE(int(MDnsProtocolType::IPv6), 1);
    }

private:
    static QString printed(const ResolveData& data)
    {
        std::ostringstream out;
        out << data;
        return QString::fromStdString(out.str());
    }
};

static const TestClass<Records> registeredClass("Records");

#include "RecordsTest.moc"
