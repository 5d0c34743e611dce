// SPDX-License-Identifier: MIT
// Names and TXT entries, as one host advertises them and the other lists them.
#include "LabFixture.h"

#include <QProcess>
#include <QtTest>

class WireTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void nameArrivesUnchanged_data();
    void nameArrivesUnchanged();
    void oddNameArrivesAsItIsCutAndUnescaped_data();
    void oddNameArrivesAsItIsCutAndUnescaped();
    void txtValueArrives_data();
    void txtValueArrives();
    void largestTxtItemOfAnotherProgramArrives();

private:
    struct Value
    {
        const char* title;
        QString sent;
        QString received; // null: no entry at all
    };

    std::unique_ptr<Peer> m_hostb;
    std::unique_ptr<Watch> m_watch;
    QProcess m_other;
    QVector<Value> m_values;
};

namespace {

struct Name
{
    const char* title;
    QString sent;
    QString listed;
};

const QVector<Name>& plainNames()
{
    static const auto same = [](const char* title, const QString& name) { return Name{title, name, name}; };
    static const QVector<Name> names{
        same("spaces", "Living Room Speaker"),
        same("space at both ends", " edged "),
        same("dots", "Dr. Who v1.2.3"),
        same("dots at both ends", ".hidden."),
        same("backslash", "back\\slash"),
        same("two backslashes", "two\\\\slashes"),
        same("backslash before a dot", "a\\.b"),
        same("backslash and two digits", "a\\12"),
        same("quotes", "the \"best\" 'one' `ever`"),
        same("signs", "a/b,c;d:e=f%g&h<i>j|k~l!m?n*o#p$q@r^s(t)[u]{v}"),
        same("digits", "123"),
        same("digits after a dot", "x.065"),
        same("looks like a type", "_http._tcp"),
        same("tab", "tab\there"),
        same("umlauts", QStringLiteral("Küche Größe Äöß")),
        same("combining accent", QStringLiteral("Cafe\u0301")),
        same("CJK", QStringLiteral("居間のスピーカー 客厅")),
        same("right to left", QStringLiteral("غرفة المعيشة")),
        same("emoji", QStringLiteral("🎵 Kitchen 👩‍🍳")),
        same("63 bytes, one each", QString(63, 'n')),
        same("63 bytes, two each", QStringLiteral("x") + QStringLiteral("ü").repeated(31)),
        same("63 bytes, three each", QStringLiteral("語").repeated(21)),
        same("63 bytes, four each", QStringLiteral("xyz") + QStringLiteral("🎵").repeated(15)),
        same("63 bytes to escape", QString(".").repeated(62) + 'x'),
    };
    return names;
}

// A cut and an unescaping that applications rely on, although they change these names.
const QVector<Name>& oddNames()
{
    static const QVector<Name> names{
        {"backslash at the end", "ends\\", "ends\\._labtest"},
        {"backslash and three digits", "a\\123", "a{"},
        {"64 bytes are cut to 63", QString(64, 'm'), QString(63, 'm')},
        {"cut before a character that does not fit", QString(62, 'k') + QStringLiteral("ü"),
         QString(62, 'k')},
    };
    return names;
}

} // namespace

void WireTest::initTestCase()
{
    QVERIFY2(qEnvironmentVariable("LAB_HOST") == "hosta", "run this test in a lab of two hosts");
    // With the one-letter key and "=", 252 bytes of value make the largest item that is sent.
    m_values = {
        {"plain", "warm", "warm"},
        {"equals sign", "a=b==c=", "a=b==c="},
        {"empty", "", ""},
        {"space", " a b ", " a b "},
        {"umlauts", QStringLiteral("180 °C Küche"), QStringLiteral("180 °C Küche")},
        {"CJK", QStringLiteral("居間"), QStringLiteral("居間")},
        {"emoji", QStringLiteral("👩‍🍳"), QStringLiteral("👩‍🍳")},
        {"254 bytes of UTF-8 in all", QStringLiteral("語").repeated(84), QStringLiteral("語").repeated(84)},
        {"254 bytes in all", QString(252, 'v'), QString(252, 'v')},
        {"255 bytes in all", QString(253, 'v'), QString()},
        {"value of 255 bytes", QString(255, 'v'), QString()},
        {"value of 256 bytes counts as none", QString(256, 'v'), ""},
        {"value of 300 bytes counts as 44", QString(300, 'v'), QString(44, 'v')},
    };
    m_hostb = std::make_unique<Peer>("hostb");
    m_watch = std::make_unique<Watch>();
    for (const Name& name : plainNames() + oddNames())
        m_hostb->advertise(name.sent);
    for (const Value& value : m_values) {
        m_hostb->advertise(value.title);
        m_hostb->set(value.title, "k", value.sent);
        m_hostb->set(value.title, "last", "yes");
    }
    m_other.start("lab-on", {"hostb", "avahi-publish", "-s", "Another", "_labtest._tcp", "80",
                             "k=" + QString(253, 'o'), QString(255, 'b')});
}

void WireTest::nameArrivesUnchanged_data()
{
    QTest::addColumn<QString>("name");
    for (const Name& name : plainNames())
        QTest::newRow(name.title) << name.sent;
}

void WireTest::nameArrivesUnchanged()
{
    QFETCH(QString, name);
    EVENTUALLY(m_watch->changes(name) > 0);
    QCOMPARE(m_watch->count(name), 1);
    QCOMPARE(m_watch->client(name).serviceName, name);
}

void WireTest::oddNameArrivesAsItIsCutAndUnescaped_data()
{
    QTest::addColumn<QString>("listed");
    for (const Name& name : oddNames())
        QTest::newRow(name.title) << name.listed;
}

void WireTest::oddNameArrivesAsItIsCutAndUnescaped()
{
    QFETCH(QString, listed);
    EVENTUALLY(m_watch->changes(listed) > 0);
    QCOMPARE(m_watch->count(listed), 1);
}

void WireTest::txtValueArrives_data()
{
    QTest::addColumn<QString>("received");
    for (const Value& value : m_values)
        QTest::newRow(value.title) << value.received;
}

void WireTest::txtValueArrives()
{
    QFETCH(QString, received);
    const QString name = QTest::currentDataTag();
    EVENTUALLY(m_watch->client(name).txt.value("last") == "yes");
    const QHash<QString, QString> txt = m_watch->client(name).txt;
    QCOMPARE(txt.contains("k"), !received.isNull());
    QCOMPARE(txt.value("k"), received);
}

void WireTest::largestTxtItemOfAnotherProgramArrives()
{
    EVENTUALLY(m_watch->changes("Another") > 0);
    const QHash<QString, QString> expected{{"k", QString(253, 'o')}, {QString(255, 'b'), ""}};
    QCOMPARE(m_watch->client("Another").txt, expected);
    m_other.kill();
    m_other.waitForFinished();
}

QTEST_GUILESS_MAIN(WireTest)
#include "WireTest.moc"
