// SPDX-License-Identifier: MIT
#include "Text.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>
#include <clocale>

class TextTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void showsWhatTerminalsWouldObey_data();
    void showsWhatTerminalsWouldObey();
    void leavesReadableTextAlone_data();
    void leavesReadableTextAlone();
    void knowsWidths_data();
    void knowsWidths();
    void knowsWidthsInEveryLocale();
    void cutsToWidth_data();
    void cutsToWidth();
    void escapesControlsInJsonWithoutChangingIt();
};

void TextTest::showsWhatTerminalsWouldObey_data()
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

void TextTest::showsWhatTerminalsWouldObey()
{
    QFETCH(QString, text);
    QFETCH(QString, shown);
    QCOMPARE(printable(text), shown);
}

void TextTest::leavesReadableTextAlone_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << "Kitchen (2)";
    QTest::newRow("backslash") << "a\\x1B";
    QTest::newRow("umlaut") << "Küche";
    QTest::newRow("CJK") << "日本語";
    QTest::newRow("Hebrew") << "מטבח";
    QTest::newRow("emoji joined of several") << "👩‍🍳";
}

void TextTest::leavesReadableTextAlone()
{
    QFETCH(QString, text);
    QCOMPARE(printable(text), text);
}

void TextTest::knowsWidths_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("width");
    QTest::newRow("empty") << "" << 0;
    QTest::newRow("plain") << "Kitchen" << 7;
    QTest::newRow("umlaut") << "Küche" << 5;
    QTest::newRow("umlaut of two characters") << QString("Ku\u0308che") << 5;
    QTest::newRow("CJK") << "日本" << 4;
    QTest::newRow("Korean") << "한국어" << 6;
    QTest::newRow("full-width letter") << "Ａ" << 2;
    QTest::newRow("emoji") << "😀" << 2;
    QTest::newRow("mixed") << "a日😀" << 5;
}

void TextTest::knowsWidths()
{
    QFETCH(QString, text);
    QFETCH(int, width);
    QCOMPARE(displayWidth(text), width);
}

void TextTest::knowsWidthsInEveryLocale()
{
    const QByteArray before = std::setlocale(LC_CTYPE, nullptr);
    QVERIFY(std::setlocale(LC_CTYPE, "C"));
    const int width = displayWidth("日本");
    std::setlocale(LC_CTYPE, before.constData());
    QCOMPARE(width, 4);
}

void TextTest::cutsToWidth_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("width");
    QTest::addColumn<QString>("cut");
    QTest::newRow("fits") << "Kitchen" << 7 << "Kitchen";
    QTest::newRow("one too many") << "Kitchen" << 6 << "Kitch…";
    QTest::newRow("wide ones fit exactly") << "日本語" << 6 << "日本語";
    QTest::newRow("wide ones cut evenly") << "日本語" << 5 << "日本…";
    QTest::newRow("no half of a wide one") << "日本語" << 4 << "日…";
    QTest::newRow("accent stays with its base")
        << QString("e\u0301e\u0301e\u0301") << 2 << QString("e\u0301…");
    QTest::newRow("emoji is not halved") << "😀😀" << 3 << "😀…";
    QTest::newRow("one column") << "ab" << 1 << "…";
    QTest::newRow("none") << "ab" << 0 << "";
}

void TextTest::cutsToWidth()
{
    QFETCH(QString, text);
    QFETCH(int, width);
    QFETCH(QString, cut);
    QCOMPARE(cutToWidth(text, width), cut);
    QVERIFY(displayWidth(cutToWidth(text, width)) <= width);
}

void TextTest::escapesControlsInJsonWithoutChangingIt()
{
    const QString name = QString("a\"\\\x1b[0m\n") + QChar(0x7F) + QChar(0x9B) + QChar(0x202E) + "日😀";
    const QJsonObject object = {{"name", name}};
    const QByteArray json = printableJson(QJsonDocument(object).toJson(QJsonDocument::Compact));
    QCOMPARE(QJsonDocument::fromJson(json).object(), object);
    QCOMPARE(json, QByteArray("{\"name\":\"a\\\"\\\\\\u001b[0m\\n\\u007f\\u009b\\u202e日😀\"}"));
}

QTEST_GUILESS_MAIN(TextTest)
#include "text_test.moc"
