// SPDX-License-Identifier: MIT
#include "PrintableText.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

class PrintableTextTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void controlCharacterIsMadeVisible_data();
    void controlCharacterIsMadeVisible();
    void readableTextStaysAsItIs_data();
    void readableTextStaysAsItIs();
    void controlCharacterInJsonIsEscapedWithoutChangingTheValue();
};

void PrintableTextTest::controlCharacterIsMadeVisible_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    QTest::newRow("escape sequence") << QString("\x1b[31mred") << "\\x1B[31mred";
    QTest::newRow("bell") << QString("a\a") << "a\\x07";
    QTest::newRow("new line and tab") << QString("a\nb\tc") << "a\\x0Ab\\x09c";
    QTest::newRow("zero") << QString(QChar(0)) << "\\x00";
    QTest::newRow("delete") << QString(QChar(0x7F)) << "\\x7F";
    QTest::newRow("8-bit control sequence") << QString(QChar(0x9B)) + "31m"
                                            << "\\x9B31m";
    QTest::newRow("line separator") << QString(QChar(0x2028)) << "\\u{2028}";
    QTest::newRow("right-to-left override") << QString(QChar(0x202E)) << "\\u{202E}";
    QTest::newRow("right-to-left isolate") << QString(QChar(0x2067)) << "\\u{2067}";
    QTest::newRow("right-to-left mark") << QString(QChar(0x200F)) << "\\u{200F}";
    QTest::newRow("byte order mark") << QString(QChar(0xFEFF)) << "\\u{FEFF}";
}

void PrintableTextTest::controlCharacterIsMadeVisible()
{
    QFETCH(QString, text);
    QFETCH(QString, shown);
    QCOMPARE(printable(text), shown);
}

void PrintableTextTest::readableTextStaysAsItIs_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << "Kitchen (2)";
    QTest::newRow("backslash") << "a\\x1B";
    QTest::newRow("umlaut") << "Küche";
    QTest::newRow("CJK") << "日本語";
    QTest::newRow("Hebrew") << "מטבח";
    QTest::newRow("emoji joined of several") << "👩‍🍳";
}

void PrintableTextTest::readableTextStaysAsItIs()
{
    QFETCH(QString, text);
    QCOMPARE(printable(text), text);
}

void PrintableTextTest::controlCharacterInJsonIsEscapedWithoutChangingTheValue()
{
    const QString name = QString("a\"\\\x1b[0m\n") + QChar(0x7F) + QChar(0x9B) + QChar(0x202E) + "日😀";
    const QJsonObject object = {{"name", name}};
    const QByteArray json = printableJson(QJsonDocument(object).toJson(QJsonDocument::Compact));
    QCOMPARE(QJsonDocument::fromJson(json).object(), object);
    QCOMPARE(json, QByteArray("{\"name\":\"a\\\"\\\\\\u001b[0m\\n\\u007f\\u009b\\u202e日😀\"}"));
}

QTEST_GUILESS_MAIN(PrintableTextTest)
#include "PrintableTextTest.moc"
