// SPDX-License-Identifier: MIT
#include "DnsSdError.h"

#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QtTest>

class DnsSdErrorTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyNumberOfTheHeaderHasWords();
    void manualHasTheSameWords();
    void unknownNumberIsToldAsItIs();
    void logLineReportsItsErrorNumber_data();
    void logLineReportsItsErrorNumber();
};

namespace {

QString contents(const char* path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", path);
    return QString::fromUtf8(file.readAll());
}

/** The error numbers that the header defines, and their names. */
QMap<int, QString> numbers()
{
    static const QRegularExpression definition("(kDNSServiceErr_[A-Za-z]+) = (-?[0-9]+)");
    QMap<int, QString> found;
    auto matches = definition.globalMatch(contents(VESK_DNS_SD_HEADER));
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        found.insert(match.captured(2).toInt(), match.captured(1));
    }
    return found;
}

} // namespace

void DnsSdErrorTest::everyNumberOfTheHeaderHasWords()
{
    const QMap<int, QString> all = numbers();
    QCOMPARE(all.firstKey(), -65572);
    QCOMPARE(all.lastKey(), 0);
    QMap<QString, QString> meanings;
    for (auto number = all.begin(); number != all.end(); ++number) {
        const ErrorWords words = errorWords(number.key());
        QVERIFY2(words.meaning != errorWords(1).meaning, qPrintable(number.value() + " has no words"));
        QVERIFY2(!words.advice.isEmpty(), qPrintable(number.value() + " has no advice"));
        QVERIFY2(!meanings.contains(words.meaning),
                 qPrintable(number.value() + " has the words of " + meanings.value(words.meaning)));
        meanings.insert(words.meaning, number.value());
    }
}

void DnsSdErrorTest::manualHasTheSameWords()
{
    const QString manual = contents(VESK_ERRORS_MANUAL);
    const QMap<int, QString> all = numbers();
    for (auto number = all.begin(); number != all.end(); ++number) {
        const ErrorWords words = errorWords(number.key());
        const QString row =
            QString("\n| %1 | `%2` | %3 | %4 |\n")
                .arg(QString::number(number.key()), number.value(), words.meaning, words.advice);
        QVERIFY2(manual.contains(row), qPrintable("no such row:" + row));
    }
}

void DnsSdErrorTest::unknownNumberIsToldAsItIs()
{
    QCOMPARE(errorLine(-1),
             QString("the DNS-SD library failed with a number that is not known here (error -1); "
                     "look into the manual of that library"));
}

void DnsSdErrorTest::logLineReportsItsErrorNumber_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("error");
    QTest::newRow("start of a browse") << "Error starting BonjourLister: -65540" << -65540;
    QTest::newRow("start of a look-up")
        << "Error calling DNSGetAddrInfo: -65539 for hostname: hosta.local." << -65539;
    QTest::newRow("start of a registration") << "The DNSServiceErrorType was: -65540" << -65540;
    QTest::newRow("TXT edit") << "Error while updating txt, error code is:-65549" << -65549;
    QTest::newRow("refused registration") << "Failed to register service: Kitchen, error: -65571" << -65571;
    QTest::newRow("name with another number")
        << "Failed to register service: -65540, error: -65571" << -65571;
    QTest::newRow("peer's name with another number")
        << "Error in bonjourResolveReplyCallback: -65563 for a: -65540" << -65563;
    QTest::newRow("no number") << "Error creating Bonjour connection: socket is -1" << 0;
    QTest::newRow("number in a name") << "Browse found: -65540 on lan1,11" << 0;
}

void DnsSdErrorTest::logLineReportsItsErrorNumber()
{
    QFETCH(QString, line);
    QTEST(int(reportedError(line)), "error");
}

QTEST_GUILESS_MAIN(DnsSdErrorTest)
#include "DnsSdErrorTest.moc"
