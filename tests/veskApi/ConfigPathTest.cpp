// SPDX-License-Identifier: MIT
#include "ApiTest.h"

class ConfigPath : public ApiTest
{
    Q_OBJECT

private Q_SLOTS:
    void aDefaultPathNamesNothing()
    {
        const CMPath path;
        QVERIFY(!path.isValid());
        QCOMPARE(path.text(), QString());
    }

    void valid_data()
    {
        QTest::addColumn<QByteArray>("encoded");
        QTest::addColumn<QString>("scheme");
        QTest::addColumn<QString>("key");
        const QString scheme = QStringLiteral("systemmanager");
        QTest::newRow("plain") << QByteArray("systemmanager:/name") << scheme << QStringLiteral("name");
        QTest::newRow("with its terminating zero")
            << QByteArray("systemmanager:/name", 20) << scheme << QStringLiteral("name");
        QTest::newRow("ends at the first zero")
            << QByteArray("systemmanager:/name\0s", 21) << scheme << QStringLiteral("name");
        QTest::newRow("scheme in capitals")
            << QByteArray("SystemManager:/Name") << scheme << QStringLiteral("Name");
        QTest::newRow("scheme with all its characters")
            << QByteArray("a1+-.b:/x") << QStringLiteral("a1+-.b") << QStringLiteral("x");
        QTest::newRow("inner slashes")
            << QByteArray("systemmanager:/a//b/") << scheme << QStringLiteral("a//b/");
        QTest::newRow("escapes") << QByteArray("systemmanager:/a%20b%2Fc%C3%A9") << scheme
                                 << QStringLiteral("a b/c\u00e9");
        QTest::newRow("escaped question mark and number sign")
            << QByteArray("systemmanager:/a%3Fb%23c") << scheme << QStringLiteral("a?b#c");
        QTest::newRow("dots are no directories")
            << QByteArray("systemmanager:/../x") << scheme << QStringLiteral("../x");
    }

    void valid()
    {
        QFETCH(QByteArray, encoded);
        QFETCH(QString, scheme);
        QFETCH(QString, key);
        const CMPath path = CMPath::fromEncoded(encoded);
        QVERIFY(path.isValid());
        QCOMPARE(path.scheme(), scheme);
        QCOMPARE(path.key(), key);
        QCOMPARE(path.text(), scheme + QStringLiteral(":/") + key);
    }

    void invalid_data()
    {
        QTest::addColumn<QByteArray>("encoded");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("only a zero") << QByteArray("\0", 1);
        QTest::newRow("no scheme") << QByteArray("/name");
        QTest::newRow("empty scheme") << QByteArray(":/name");
        QTest::newRow("scheme only") << QByteArray("systemmanager:");
        QTest::newRow("no key") << QByteArray("systemmanager:/");
        QTest::newRow("no slash") << QByteArray("systemmanager:name");
        QTest::newRow("host") << QByteArray("systemmanager://host/name");
        QTest::newRow("query") << QByteArray("systemmanager:/name?x");
        QTest::newRow("fragment") << QByteArray("systemmanager:/name#x");
        QTest::newRow("scheme with a slash") << QByteArray("../evil:/name");
        QTest::newRow("scheme that starts with a dot") << QByteArray(".evil:/name");
        QTest::newRow("space") << QByteArray("systemmanager:/a b");
        QTest::newRow("lone percent sign") << QByteArray("systemmanager:/a%");
    }

    void invalid()
    {
        QFETCH(QByteArray, encoded);
        const CMPath path = CMPath::fromEncoded(encoded);
        QVERIFY2(!path.isValid(), qPrintable(path.text()));
        QCOMPARE(path.text(), QString());
        QCOMPARE(path.scheme(), QString());
    }
};

static const TestClass<ConfigPath> registeredClass("ConfigPath");

#include "ConfigPathTest.moc"
