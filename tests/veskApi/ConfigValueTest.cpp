// SPDX-License-Identifier: MIT
#include "ApiTest.h"

#include <QJsonArray>
#include <QJsonObject>

class ConfigValue : public ApiTest
{
    Q_OBJECT

private Q_SLOTS:
    void text_data()
    {
        QTest::addColumn<VeskValue>("value");
        QTest::addColumn<QString>("expected");
        const auto json = [](const QJsonValue& value) { return VeskValue(value); };
        QTest::newRow("unset") << VeskValue() << QString();
        QTest::newRow("null") << json(QJsonValue::Null) << QString();
        QTest::newRow("empty") << VeskValue(QString()) << QString();
        QTest::newRow("text") << VeskValue(QStringLiteral("K\u00fcche \"1\""))
                              << QStringLiteral("K\u00fcche \"1\"");
        QTest::newRow("true") << json(true) << QStringLiteral("true");
        QTest::newRow("false") << json(false) << QStringLiteral("false");
        QTest::newRow("zero") << json(0) << QStringLiteral("0");
        QTest::newRow("negative") << json(-7) << QStringLiteral("-7");
        QTest::newRow("fraction") << json(0.1) << QStringLiteral("0.1");
        QTest::newRow("round number") << json(1000000) << QStringLiteral("1000000");
        QTest::newRow("round number as a fraction") << json(1000000.0) << QStringLiteral("1000000");
        QTest::newRow("large") << json(qint64(9007199254740991)) << QStringLiteral("9007199254740991");
        QTest::newRow("list") << json(QJsonArray{1, QStringLiteral("a")}) << QStringLiteral("[1,\"a\"]");
        QTest::newRow("empty list") << json(QJsonArray()) << QStringLiteral("[]");
        QTest::newRow("object") << json(QJsonObject{{QStringLiteral("k"), true}})
                                << QStringLiteral("{\"k\":true}");
    }

    void text()
    {
        QFETCH(VeskValue, value);
        QTEST(value.string_(), "expected");
    }

    void kindAndContentMakeEquality()
    {
        QVERIFY(VeskValue() == VeskValue());
        QVERIFY(VeskValue() == VeskValue(QJsonValue(QJsonValue::Undefined)));
        QVERIFY(VeskValue() != VeskValue(QString()));
        QVERIFY(VeskValue(QStringLiteral("1")) != VeskValue(QJsonValue(1)));
        QVERIFY(VeskValue(QStringLiteral("a")) == VeskValue(QStringLiteral("a")));
        QVERIFY(VeskValue(QStringLiteral("a")) != VeskValue(QStringLiteral("A")));
    }

    void isAMetaTypeByItsName()
    {
        QCOMPARE(QByteArray(QMetaType::typeName(qMetaTypeId<VeskValue>())), QByteArray("VeskValue"));
        const QVariant variant = QVariant::fromValue(VeskValue(QStringLiteral("a")));
        QCOMPARE(variant.value<VeskValue>().string_(), QStringLiteral("a"));
    }
};

static const TestClass<ConfigValue> registeredClass("ConfigValue");

#include "ConfigValueTest.moc"
