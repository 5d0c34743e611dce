// SPDX-License-Identifier: MIT
#include "TableLayout.h"

#include <QRegularExpression>
#include <QtTest>

class TableLayoutTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void columnWithRoomIsAsWideAsItsContents();
    void wideCharacterTakesTwoColumns();
    void widestColumnIsNarrowedFirst();
    void narrowedColumnKeepsItsLeastWidth();
    void lastColumnIsDroppedWhenLeastWidthsDoNotFit();
    void lineIsNeverWiderThanTheRoom_data();
    void lineIsNeverWiderThanTheRoom();
    void columnIsPlacedByCursorPosition();
};

namespace {

const QVector<Column> columns = {{"NAME", 6}, {"PORT", 4}, {"TXT", 3}};

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

} // namespace

void TableLayoutTest::columnWithRoomIsAsWideAsItsContents()
{
    QCOMPARE(columnWidths(columns, {{{"Kitchen", "80", "path=/"}}}, 80), QVector<int>({7, 4, 6}));
}

void TableLayoutTest::wideCharacterTakesTwoColumns()
{
    QCOMPARE(columnWidths(columns, {{{"日本語日本", "80", ""}}}, 80), QVector<int>({10, 4, 3}));
}

void TableLayoutTest::widestColumnIsNarrowedFirst()
{
    const QVector<Row> rows = {{{QString(20, 'n'), "80", QString(40, 't')}}};
    QCOMPARE(columnWidths(columns, rows, 2 + 20 + 2 + 4 + 2 + 25), QVector<int>({20, 4, 25}));
    QCOMPARE(columnWidths(columns, rows, 2 + 15 + 2 + 4 + 2 + 15), QVector<int>({15, 4, 15}));
}

void TableLayoutTest::narrowedColumnKeepsItsLeastWidth()
{
    const QVector<Row> rows = {{{QString(20, 'n'), "80", QString(40, 't')}}};
    QCOMPARE(columnWidths(columns, rows, 2 + 6 + 2 + 4 + 2 + 3), QVector<int>({6, 4, 3}));
}

void TableLayoutTest::lastColumnIsDroppedWhenLeastWidthsDoNotFit()
{
    const QVector<Row> rows = {{{QString(20, 'n'), "80", QString(40, 't')}}};
    QCOMPARE(columnWidths(columns, rows, 2 + 6 + 2 + 4 + 2 + 2), QVector<int>({10, 4, 0}));
    QCOMPARE(columnWidths(columns, rows, 2 + 6 + 2 + 4), QVector<int>({6, 4, 0}));
    QCOMPARE(columnWidths(columns, rows, 2 + 3), QVector<int>({3, 0, 0}));
    QCOMPARE(columnWidths(columns, rows, 1), QVector<int>({0, 0, 0}));
}

void TableLayoutTest::lineIsNeverWiderThanTheRoom_data()
{
    QTest::addColumn<int>("room");
    for (int room = 3; room < 60; ++room)
        QTest::addRow("%d columns", room) << room;
}

void TableLayoutTest::lineIsNeverWiderThanTheRoom()
{
    QFETCH(int, room);
    const Output output;
    const QVector<Row> rows = {{{QString(20, 'n'), "65535", QString(40, 't')}, Mark::New}, {{"a", "1", ""}}};
    const QStringList lines = tableLines(columns, rows, room, output);
    QCOMPARE(lines.size(), 3);
    for (const QString& line : lines)
        QVERIFY2(reach(line) <= room, qPrintable(line));
}

void TableLayoutTest::columnIsPlacedByCursorPosition()
{
    const Output output;
    const QStringList lines =
        tableLines(columns, {{{"日本", "80", "a=1"}, Mark::Changed}, {{"Kitchen", "8080", ""}}}, 80, output);
    QCOMPARE(lines, QStringList({"\x1b[3GNAME\x1b[12GPORT\x1b[18GTXT", "*\x1b[3G日本\x1b[12G80\x1b[18Ga=1",
                                 " \x1b[3GKitchen\x1b[12G8080\x1b[18G"}));
}

QTEST_GUILESS_MAIN(TableLayoutTest)
#include "TableLayoutTest.moc"
