// SPDX-License-Identifier: MIT
#include "ChangeTable.h"
#include "TableLayout.h"

#include <QtTest>

class TableTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void columnsAreAsWideAsTheirContents();
    void columnsCountWideCharactersTwice();
    void widestColumnIsNarrowedFirst();
    void columnsKeepTheirLeastWidth();
    void lastColumnsGoWhenNothingElseHelps();
    void noLineIsWiderThanTheRoom_data();
    void noLineIsWiderThanTheRoom();
    void linesPlaceColumnsByPosition();
    void newRowsAreMarkedForAMoment();
    void changeOfANewRowLeavesItNew();
    void changedRowsAreMarkedForAMoment();
    void changeOfAChangedRowLeavesItChanged();
    void goneRowsStayForAMoment();
    void returningRowIsNew();
    void removalOfAnUnknownRowIsIgnored();
    void rowsAreInOrderRegardlessOfCase();
    void agesAreRoundedDown_data();
    void agesAreRoundedDown();
};

namespace {

const QVector<Column> columns = {{"NAME", 6}, {"PORT", 4}, {"TXT", 3}};
constexpr qint64 moment = ChangeTable::markedMs;

// Columns of the terminal that a line takes: the farthest position it reaches.
int reach(const QString& line)
{
    static const QRegularExpression position("\x1b\\[([0-9]+)G([^\x1b]*)");
    int farthest = 0;
    auto matches = position.globalMatch(line);
    while (matches.hasNext()) {
        const auto match = matches.next();
        farthest = std::max(farthest, match.captured(1).toInt() - 1 + match.capturedLength(2));
    }
    return farthest;
}

ChangeTable tableOf(const QString& key, qint64 now)
{
    ChangeTable table({{"NAME", 6}, {"AGE", 3}, {"TXT", 3}}, 1);
    table.put(key, {key, "a=1"}, now);
    return table;
}

} // namespace

void TableTest::columnsAreAsWideAsTheirContents()
{
    QCOMPARE(columnWidths(columns, {{{"Kitchen", "80", "path=/"}}}, 80), QVector<int>({7, 4, 6}));
}

void TableTest::columnsCountWideCharactersTwice()
{
    QCOMPARE(columnWidths(columns, {{{"日本語日本", "80", ""}}}, 80), QVector<int>({10, 4, 3}));
}

void TableTest::widestColumnIsNarrowedFirst()
{
    const QVector<Row> rows = {{{QString(20, 'n'), "80", QString(40, 't')}}};
    QCOMPARE(columnWidths(columns, rows, 2 + 20 + 2 + 4 + 2 + 25), QVector<int>({20, 4, 25}));
    QCOMPARE(columnWidths(columns, rows, 2 + 15 + 2 + 4 + 2 + 15), QVector<int>({15, 4, 15}));
}

void TableTest::columnsKeepTheirLeastWidth()
{
    const QVector<Row> rows = {{{QString(20, 'n'), "80", QString(40, 't')}}};
    QCOMPARE(columnWidths(columns, rows, 2 + 6 + 2 + 4 + 2 + 3), QVector<int>({6, 4, 3}));
}

void TableTest::lastColumnsGoWhenNothingElseHelps()
{
    const QVector<Row> rows = {{{QString(20, 'n'), "80", QString(40, 't')}}};
    QCOMPARE(columnWidths(columns, rows, 2 + 6 + 2 + 4 + 2 + 2), QVector<int>({10, 4, 0}));
    QCOMPARE(columnWidths(columns, rows, 2 + 6 + 2 + 4), QVector<int>({6, 4, 0}));
    QCOMPARE(columnWidths(columns, rows, 2 + 3), QVector<int>({3, 0, 0}));
    QCOMPARE(columnWidths(columns, rows, 1), QVector<int>({0, 0, 0}));
}

void TableTest::noLineIsWiderThanTheRoom_data()
{
    QTest::addColumn<int>("room");
    for (int room = 3; room < 60; ++room)
        QTest::addRow("%d columns", room) << room;
}

void TableTest::noLineIsWiderThanTheRoom()
{
    QFETCH(int, room);
    const Output output;
    const QVector<Row> rows = {{{QString(20, 'n'), "65535", QString(40, 't')}, Mark::New}, {{"a", "1", ""}}};
    const QStringList lines = tableLines(columns, rows, room, output);
    QCOMPARE(lines.size(), 3);
    for (const QString& line : lines)
        QVERIFY2(reach(line) <= room, qPrintable(line));
}

void TableTest::linesPlaceColumnsByPosition()
{
    const Output output;
    const QStringList lines =
        tableLines(columns, {{{"日本", "80", "a=1"}, Mark::Changed}, {{"Kitchen", "8080", ""}}}, 80, output);
    QCOMPARE(lines, QStringList({"\x1b[3GNAME\x1b[12GPORT\x1b[18GTXT", "*\x1b[3G日本\x1b[12G80\x1b[18Ga=1",
                                 " \x1b[3GKitchen\x1b[12G8080\x1b[18G"}));
}

void TableTest::newRowsAreMarkedForAMoment()
{
    const ChangeTable table = tableOf("a", 1000);
    QVERIFY(table.rows(1000 + moment - 1).value(0).mark == Mark::New);
    QVERIFY(table.rows(1000 + moment).value(0).mark == Mark::None);
    QCOMPARE(table.rows(8000).value(0).cells, QStringList({"a", "7s", "a=1"}));
}

void TableTest::changeOfANewRowLeavesItNew()
{
    ChangeTable table = tableOf("a", 0);
    table.put("a", {"a", "a=2"}, 100);
    QVERIFY(table.rows(200).value(0).mark == Mark::New);
    QCOMPARE(table.rows(200).value(0).cells.last(), QString("a=2"));
}

void TableTest::changedRowsAreMarkedForAMoment()
{
    ChangeTable table = tableOf("a", 0);
    table.put("a", {"a", "a=2"}, moment);
    QVERIFY(table.rows(moment).value(0).mark == Mark::Changed);
    QVERIFY(table.rows(2 * moment).value(0).mark == Mark::None);
}

void TableTest::changeOfAChangedRowLeavesItChanged()
{
    ChangeTable table = tableOf("a", 0);
    table.put("a", {"a", "a=2"}, moment);
    table.put("a", {"a", "a=3"}, moment + 1);
    QVERIFY(table.rows(moment + 1).value(0).mark == Mark::Changed);
}

void TableTest::goneRowsStayForAMoment()
{
    ChangeTable table = tableOf("a", 0);
    table.remove("a", 100);
    QCOMPARE(table.count(), 0);
    QVERIFY(table.rows(99 + moment).value(0).mark == Mark::Gone);
    QVERIFY(table.rows(100 + moment).isEmpty());
}

void TableTest::returningRowIsNew()
{
    ChangeTable table = tableOf("a", 0);
    table.remove("a", 100);
    table.put("a", {"a", "a=1"}, 200);
    QCOMPARE(table.rows(200).size(), 1);
    QVERIFY(table.rows(200).value(0).mark == Mark::New);
    QCOMPARE(table.rows(1200).value(0).cells.value(1), QString("1s"));
}

void TableTest::removalOfAnUnknownRowIsIgnored()
{
    ChangeTable table = tableOf("a", 0);
    table.remove("b", 100);
    QCOMPARE(table.count(), 1);
}

void TableTest::rowsAreInOrderRegardlessOfCase()
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

void TableTest::agesAreRoundedDown_data()
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

void TableTest::agesAreRoundedDown()
{
    QFETCH(qint64, seconds);
    QFETCH(QString, text);
    QCOMPARE(ageText(seconds * 1000 + 999), text);
}

QTEST_GUILESS_MAIN(TableTest)
#include "table_test.moc"
