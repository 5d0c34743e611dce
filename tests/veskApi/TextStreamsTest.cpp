// SPDX-License-Identifier: MIT
#include "ApiTest.h"

#include <dbglog.h>
#include <sstream>
#include <textStreams.h>

class TextStreams : public ApiTest
{
    Q_OBJECT

private:
    template <typename T>
    static QByteArray streamed(const T& text)
    {
        std::ostringstream out;
        out << "<" << text << ">";
        return QByteArray::fromStdString(out.str());
    }

private Q_SLOTS:
    void textIsWrittenAsUtf8_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("null") << QString() << QByteArray("<>");
        QTest::newRow("ASCII") << QStringLiteral("Kitchen") << QByteArray("<Kitchen>");
        QTest::newRow("two bytes") << QStringLiteral("\u00fc") << QByteArray("<\xc3\xbc>");
        QTest::newRow("three bytes") << QStringLiteral("\u53a8") << QByteArray("<\xe5\x8e\xa8>");
        QTest::newRow("four bytes") << QString::fromUtf8("\xf0\x9f\x98\x80")
                                    << QByteArray("<\xf0\x9f\x98\x80>");
        QTest::newRow("zero inside") << QString(QStringLiteral("a") + QChar(0) + QStringLiteral("b"))
                                     << QByteArray("<a\0b>", 5);
    }

    void textIsWrittenAsUtf8()
    {
        QFETCH(QString, text);
        QTEST(streamed(text), "expected");
        QTEST(streamed(text.toUtf8()), "expected");
    }

    void bytesAreWrittenAsTheyAre()
    {
        QCOMPARE(streamed(QByteArray("\xff\x00\xfe", 3)), QByteArray("<\xff\x00\xfe>", 5));
        QCOMPARE(streamed(QByteArray()), QByteArray("<>"));
    }

    void theStreamIsReturned()
    {
        std::ostringstream out;
        QCOMPARE(&(out << QString()), static_cast<std::ostream*>(&out));
        QCOMPARE(&(out << QByteArray()), static_cast<std::ostream*>(&out));
    }

    void leftCutsBetweenCharacters_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("n");
        QTest::addColumn<QByteArray>("expected");
        const auto row = [](const char* name, const QByteArray& bytes, int n, const QByteArray& expected) {
            QTest::newRow(name) << bytes << n << expected;
        };
        row("empty", "", 5, "");
        row("empty to none", "", 0, "");
        row("shorter", "abc", 4, "abc");
        row("as long", "abc", 3, "abc");
        row("longer", "abc", 2, "ab");
        row("to none", "abc", 0, "");
        row("below none", "abc", -1, "");
        row("below none of nothing", "", -1, "");
        row("2 bytes, whole",
            "a\xc3\xbc"
            "b",
            3, "a\xc3\xbc");
        row("2 bytes, cut",
            "a\xc3\xbc"
            "b",
            2, "a");
        row("3 bytes, whole",
            "\xe5\x8e\xa8"
            "b",
            3, "\xe5\x8e\xa8");
        row("3 bytes, cut after 2",
            "\xe5\x8e\xa8"
            "b",
            2, "");
        row("3 bytes, cut after 1",
            "\xe5\x8e\xa8"
            "b",
            1, "");
        row("4 bytes, whole",
            "\xf0\x9f\x98\x80"
            "b",
            4, "\xf0\x9f\x98\x80");
        row("4 bytes, cut after 3",
            "\xf0\x9f\x98\x80"
            "b",
            3, "");
        row("4 bytes, cut after 2",
            "\xf0\x9f\x98\x80"
            "b",
            2, "");
        row("4 bytes, cut after 1", "a\xf0\x9f\x98\x80", 2, "a");
        row("as long, ends in half a character", "a\xc3", 2, "a\xc3");
        row("nothing but continuation bytes", "\x80\x80\x80", 2, "");
        const QByteArray stray(10, '\x80');
        row("stray continuation bytes behind ASCII", "a" + stray, 5, "a");
        row("stray continuation bytes behind 2 bytes", "\xc3\xbc" + stray, 5, "\xc3\xbc");
        row("stray continuation bytes behind 3 bytes", "\xe5\x8e\xa8" + stray, 5, "\xe5\x8e\xa8");
        row("stray continuation bytes behind 4 bytes", "\xf0\x9f\x98\x80" + stray, 5, "\xf0\x9f\x98\x80");
        row("stray continuation bytes cut off whole", "\xf0\x9f\x98\x80" + stray, 3, "");
        row("stray continuation bytes behind a byte that starts nothing", "a\xff" + stray, 5, "a");
        row("stray continuation bytes behind an overlong start", "a\xc1" + stray, 5, "a");
        row("stray continuation bytes behind more of them, between valid ones", "ab" + stray + "c", 4, "ab");
        row("a byte that starts nothing at the cut", "a\xff\xff", 2, "a\xff");
        row("a start without its continuation at the cut", "a\xc3\xc3\xbc", 2, "a\xc3");
        row("zero inside", QByteArray("a\0b", 3), 2, QByteArray("a\0", 2));
    }

    void leftCutsBetweenCharacters()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, n);
        QTEST(QByteArray_leftUtf8(bytes, n), "expected");
    }

    void leftOfMixedTextIsAlwaysItsLongestWholeBeginning()
    {
        const QString text = QString::fromUtf8("a\xc3\xbc\xe5\x8e\xa8\xf0\x9f\x98\x80z\xc3\xbc");
        const QByteArray bytes = text.toUtf8();
        for (int n = 0; n <= bytes.size() + 1; ++n) {
            const QByteArray left = QByteArray_leftUtf8(bytes, n);
            QVERIFY(bytes.startsWith(left));
            QVERIFY(left.size() <= n && left.size() > qMin(n, bytes.size()) - 4);
            QCOMPARE(QString::fromUtf8(left).toUtf8(), left);
        }
    }

    void anEntryLineNamesTheFunctionByItsSignature()
    {
        QCOMPARE(dbglog_scopedFunction("void f(int)", "BonjourLister"), std::string("void f(int)"));
        QCOMPARE(dbglog_scopedFunction("", ""), std::string());
    }
};

static const TestClass<TextStreams> registeredClass("TextStreams");

#include "TextStreamsTest.moc"
