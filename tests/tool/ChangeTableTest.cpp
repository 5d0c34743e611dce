// SPDX-License-Identifier: MIT
#include "ChangeTable.h"

#include <QtTest>

class ChangeTableTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newRowIsMarkedForAMoment();
    void changedNewRowStaysMarkedAsNew();
    void changedRowIsMarkedForAMoment();
    void rowChangedAgainStaysMarkedAsChanged();
    void removedRowStaysForAMoment();
    void returningRowIsMarkedAsNew();
    void removalOfAnUnknownRowIsIgnored();
    void rowsAreSortedRegardlessOfCase();
    void ageIsRoundedDown_data();
    void ageIsRoundedDown();
};

namespace {

constexpr qint64 moment = ChangeTable::markedMs;

ChangeTable tableOf(const QString& key, qint64 now)
{
    ChangeTable table({{"NAME", 6}, {"AGE", 3}, {"TXT", 3}}, 1);
    table.put(key, {key, "a=1"}, now);
    return table;
}

} // namespace

void ChangeTableTest::newRowIsMarkedForAMoment()
{
    const ChangeTable table = tableOf("a", 1000);
    QVERIFY(table.rows(1000 + moment - 1).value(0).mark == Mark::New);
    QVERIFY(table.rows(1000 + moment).value(0).mark == Mark::None);
    QCOMPARE(table.rows(8000).value(0).cells, QStringList({"a", "7s", "a=1"}));
}

void ChangeTableTest::changedNewRowStaysMarkedAsNew()
{
    ChangeTable table = tableOf("a", 0);
    table.put("a", {"a", "a=2"}, 100);
    QVERIFY(table.rows(200).value(0).mark == Mark::New);
    QCOMPARE(table.rows(200).value(0).cells.last(), QString("a=2"));
}

void ChangeTableTest::changedRowIsMarkedForAMoment()
{
    ChangeTable table = tableOf("a", 0);
    table.put("a", {"a", "a=2"}, moment);
    QVERIFY(table.rows(moment).value(0).mark == Mark::Changed);
    QVERIFY(table.rows(2 * moment).value(0).mark == Mark::None);
}

void ChangeTableTest::rowChangedAgainStaysMarkedAsChanged()
{
    ChangeTable table = tableOf("a", 0);
    table.put("a", {"a", "a=2"}, moment);
    table.put("a", {"a", "a=3"}, moment + 1);
    QVERIFY(table.rows(moment + 1).value(0).mark == Mark::Changed);
}

void ChangeTableTest::removedRowStaysForAMoment()
{
    ChangeTable table = tableOf("a", 0);
    table.remove("a", 100);
    QCOMPARE(table.count(), 0);
    QVERIFY(table.rows(99 + moment).value(0).mark == Mark::Gone);
    QVERIFY(table.rows(100 + moment).isEmpty());
}

void ChangeTableTest::returningRowIsMarkedAsNew()
{
    ChangeTable table = tableOf("a", 0);
    table.remove("a", 100);
    table.put("a", {"a", "a=1"}, 200);
    QCOMPARE(table.rows(200).size(), 1);
    QVERIFY(table.rows(200).value(0).mark == Mark::New);
    QCOMPARE(table.rows(1200).value(0).cells.value(1), QString("1s"));
}

void ChangeTableTest::removalOfAnUnknownRowIsIgnored()
{
    ChangeTable table = tableOf("a", 0);
    table.remove("b", 100);
    QCOMPARE(table.count(), 1);
}

void ChangeTableTest::rowsAreSortedRegardlessOfCase()
{
    ChangeTable table = tableOf("b", 0);
    table.put("C", {"C", ""}, 0);
    table.put("A", {"A", ""}, 0);
    table.put("a", {"a", ""}, 0);
    QStringList names;
    const QVector<Row> rows = table.rows(0);
    for (const Row& row : rows)
        names.append(row.cells.first());
    QCOMPARE(names, QStringList({"A", "a", "b", "C"}));
}

void ChangeTableTest::ageIsRoundedDown_data()
{
    QTest::addColumn<qint64>("seconds");
    QTest::addColumn<QString>("text");
    QTest::newRow("now") << qint64(0) << "0s";
    QTest::newRow("below a minute") << qint64(59) << "59s";
    QTest::newRow("a minute") << qint64(60) << "1m";
    QTest::newRow("below an hour") << qint64(3599) << "59m";
    QTest::newRow("an hour") << qint64(3600) << "1h";
    QTest::newRow("below a day") << qint64(86399) << "23h";
    QTest::newRow("days") << qint64(3 * 86400) << "3d";
}

void ChangeTableTest::ageIsRoundedDown()
{
    QFETCH(qint64, seconds);
    QFETCH(QString, text);
    QCOMPARE(ageText(seconds * 1000 + 999), text);
}

QTEST_GUILESS_MAIN(ChangeTableTest)
#include "ChangeTableTest.moc"
