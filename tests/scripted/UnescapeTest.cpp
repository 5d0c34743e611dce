// SPDX-License-Identifier: MIT
#include "ScriptedTest.h"

class Unescape : public ScriptedTest
{
    Q_OBJECT

private Q_SLOTS:
    void table_data()
    {
        QTest::addColumn<QString>("escaped");
        QTest::addColumn<QString>("plain");
        const auto row = [](const char* name, const QString& escaped, const QString& plain) {
            QTest::newRow(name) << escaped << plain;
        };
        const QChar nul(u'\0');
        row("a space", QStringLiteral("My\\032Printer"), QStringLiteral("My Printer"));
        row("an escaped dot", QStringLiteral("Living\\.Room"), QStringLiteral("Living.Room"));
        row("an escaped backslash", QStringLiteral("A\\\\B"), QStringLiteral("A\\B"));
        row("four backslashes give two", QStringLiteral("x\\\\\\\\y"), QStringLiteral("x\\\\y"));
        row("three backslashes give one", QStringLiteral("x\\\\\\y"), QStringLiteral("x\\y"));
        row("a produced backslash takes part in the next match", QStringLiteral("\\092065"),
            QStringLiteral("A"));
        row("a produced digit completes an escape before it", QStringLiteral("\\04\\053"),
            QStringLiteral("-"));
        row("two produced backslashes are a pair", QStringLiteral("\\092\\092"), QStringLiteral("\\"));
        row("an escaped backslash before digits is a numeric escape", QStringLiteral("a\\\\123"),
            QStringLiteral("a{"));
        row("a fourth digit stays", QStringLiteral("\\2345"), QStringLiteral(u"\u00EA5"));
        row("two digits are none", QStringLiteral("ab\\12"), QStringLiteral("ab12"));
        row("999 is a code unit", QStringLiteral("\\999"), QStringLiteral(u"\u03E7"));
        row("256 is a code unit", QStringLiteral("\\256"), QStringLiteral(u"\u0100"));
        row("zero is a character", QStringLiteral("\\000x"), nul + QStringLiteral("x"));
        row("zero inside", QStringLiteral("a\\000b"), QStringLiteral("a") + nul + QStringLiteral("b"));
        row("empty", QString(), QString());
        row("nothing to do", QStringLiteral("Kitchen 2 (b)"), QStringLiteral("Kitchen 2 (b)"));
        row("one digit at the end", QStringLiteral("a\\1"), QStringLiteral("a1"));
        row("two digits and a letter", QStringLiteral("\\12x"), QStringLiteral("12x"));
        row("what would be UTF-8 stays two characters", QStringLiteral(u"\u00C3\u00A9"),
            QStringLiteral(u"\u00C3\u00A9"));
        row("each escape is one character of its own", QStringLiteral("\\195\\169"),
            QStringLiteral(u"\u00C3\u00A9"));
        row("digits of another script become zero", QStringLiteral(u"a\\\u0661\u0662\u0663b"),
            QStringLiteral("a") + nul + QStringLiteral("b"));
        row("mixed digits become zero", QStringLiteral(u"\\1\u06622"), QString(nul));
        row("a lone backslash at the end goes", QStringLiteral("a\\"), QStringLiteral("a"));
        row("a pair at the end stays as one", QStringLiteral("a\\\\"), QStringLiteral("a\\"));
        row("only a backslash", QStringLiteral("\\"), QString());
        row("a stray backslash goes", QStringLiteral("a\\bc"), QStringLiteral("abc"));
        row("other characters pass", QStringLiteral(u"K\u00FCche \u53F0\u6240 \U0001F373"),
            QStringLiteral(u"K\u00FCche \u53F0\u6240 \U0001F373"));
        row("digits without a backslash", QStringLiteral("032"), QStringLiteral("032"));
        row("several", QStringLiteral("Dr\\.\\032Who\\\\x"), QStringLiteral("Dr. Who\\x"));
        // Scanned from the left: the first two of three are the pair, the third escapes the dot.
        row("a pair then an escaped dot", QStringLiteral("a\\\\\\.b"), QStringLiteral("a\\.b"));
        row("a produced dot is plain", QStringLiteral("a\\046b"), QStringLiteral("a.b"));
        row("63 escapes", QStringLiteral("\\255").repeated(63), QString(63, QChar(0xFF)));
    }

    void table()
    {
        QFETCH(QString, escaped);
        QFETCH(QString, plain);
        const auto any = resolver();
        const BonjourResolver& constant = *any;
        const QString copy = escaped;
        const QString result = constant.unescape(escaped);
        QCOMPARE(result, plain);
        QCOMPARE(result.size(), plain.size());
        QCOMPARE(escaped, copy);
    }

    void everyByteValue()
    {
        const auto any = resolver();
        for (int value = 0; value < 1000; ++value) {
            if (value == '\\')
                continue; // a backslash of its own is dropped afterwards
            const QString escaped = QStringLiteral("<\\%1>").arg(value, 3, 10, QLatin1Char('0'));
            QCOMPARE(any->unescape(escaped),
                     QLatin1Char('<') + QString(QChar(ushort(value))) + QLatin1Char('>'));
        }
        QCOMPARE(any->unescape(QStringLiteral("<\\092>")), QStringLiteral("<>"));
    }
};

static const TestClass<Unescape> registeredClass("Unescape");

#include "UnescapeTest.moc"
