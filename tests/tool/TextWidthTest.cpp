// SPDX-License-Identifier: MIT
#include "TextWidth.h"

#include <QtTest>
#include <clocale>

class TextWidthTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void widthCountsTerminalColumns_data();
    void widthCountsTerminalColumns();
    void widthIsTheSameInTheCLocale();
    void longTextIsCutToTheWidth_data();
    void longTextIsCutToTheWidth();
};

void TextWidthTest::widthCountsTerminalColumns_data()
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

void TextWidthTest::widthCountsTerminalColumns()
{
    QFETCH(QString, text);
    QFETCH(int, width);
    QCOMPARE(displayWidth(text), width);
}

void TextWidthTest::widthIsTheSameInTheCLocale()
{
    const QByteArray before = std::setlocale(LC_CTYPE, nullptr);
    QVERIFY(std::setlocale(LC_CTYPE, "C"));
    const int width = displayWidth("日本");
    std::setlocale(LC_CTYPE, before.constData());
    QCOMPARE(width, 4);
}

void TextWidthTest::longTextIsCutToTheWidth_data()
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

void TextWidthTest::longTextIsCutToTheWidth()
{
    QFETCH(QString, text);
    QFETCH(int, width);
    QFETCH(QString, cut);
    QCOMPARE(cutToWidth(text, width), cut);
    QVERIFY(displayWidth(cutToWidth(text, width)) <= width);
}

QTEST_GUILESS_MAIN(TextWidthTest)
#include "TextWidthTest.moc"
