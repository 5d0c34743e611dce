// SPDX-License-Identifier: MIT
#include "RowWindow.h"
#include "TerminalKeys.h"

#include <QtTest>

class ScrollTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keysAreKnown_data();
    void keysAreKnown();
    void keysArriveInPieces();
    void keysArriveTogether();
    void otherKeysArePassedOver_data();
    void otherKeysArePassedOver();
    void rowsThatFitAreAllInSight();
    void linesAndPages();
    void endsAreKept();
    void windowFollowsTheRows();
};

namespace {

QVector<Key> keysOf(const QByteArray& bytes)
{
    return TerminalKeys().take(bytes);
}

RowWindow windowOf(int rows, int page, const QVector<Key>& keys)
{
    RowWindow window;
    window.fit(rows, page);
    for (const Key key : keys)
        window.move(key);
    return window;
}

} // namespace

void ScrollTest::keysAreKnown_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("key");
    const auto add = [](Key key, const QVector<const char*>& sequences) {
        for (const char* sequence : sequences)
            QTest::addRow("%s", QByteArray(sequence).toHex().constData()) << QByteArray(sequence) << int(key);
    };
    add(Key::Quit, {"q"});
    add(Key::Up, {"k", "\x1b[A", "\x1bOA"});
    add(Key::Down, {"j", "\x1b[B", "\x1bOB"});
    add(Key::PageUp, {"\x1b[5~"});
    add(Key::PageDown, {"\x1b[6~"});
    add(Key::Home, {"\x1b[H", "\x1bOH", "\x1b[1~", "\x1b[7~"});
    add(Key::End, {"\x1b[F", "\x1bOF", "\x1b[4~", "\x1b[8~"});
}

void ScrollTest::keysAreKnown()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, key);
    QVERIFY(keysOf(bytes) == QVector<Key>({Key(key)}));
}

void ScrollTest::keysArriveInPieces()
{
    TerminalKeys keys;
    QVERIFY(keys.take("\x1b").isEmpty());
    QVERIFY(keys.take("[").isEmpty());
    QVERIFY(keys.take("6").isEmpty());
    QVERIFY(keys.take("~") == QVector<Key>({Key::PageDown}));
}

void ScrollTest::keysArriveTogether()
{
    QVERIFY(keysOf("j\x1b[A\x1b[6~q") == QVector<Key>({Key::Down, Key::Up, Key::PageDown, Key::Quit}));
}

void ScrollTest::otherKeysArePassedOver_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("letters") << QByteArray("xyz");
    QTest::newRow("another character set") << QByteArray("ü台");
    QTest::newRow("Escape") << QByteArray("\x1b");
    QTest::newRow("Escape twice") << QByteArray("\x1b\x1b");
    QTest::newRow("Ctrl-Right") << QByteArray("\x1b[1;5C");
    QTest::newRow("Insert") << QByteArray("\x1b[2~");
    QTest::newRow("F1") << QByteArray("\x1bOP");
    QTest::newRow("a sequence cut short by another") << QByteArray("\x1b[1\x1b[2~");
}

void ScrollTest::otherKeysArePassedOver()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(keysOf(bytes).isEmpty());
    QVERIFY(keysOf(bytes + 'q') == QVector<Key>({Key::Quit}));
}

void ScrollTest::rowsThatFitAreAllInSight()
{
    const RowWindow window = windowOf(3, 3, {Key::Down, Key::End});
    QCOMPARE(window.above(), 0);
    QCOMPARE(window.below(), 0);
}

void ScrollTest::linesAndPages()
{
    QCOMPARE(windowOf(10, 3, {}).below(), 7);
    QCOMPARE(windowOf(10, 3, {Key::Down, Key::Down, Key::Up}).above(), 1);
    const RowWindow next = windowOf(10, 3, {Key::PageDown});
    QCOMPARE(next.above(), 3);
    QCOMPARE(next.below(), 4);
    QCOMPARE(windowOf(10, 3, {Key::PageDown, Key::PageDown, Key::PageUp}).above(), 3);
    QCOMPARE(windowOf(10, 3, {Key::End}).above(), 7);
    QCOMPARE(windowOf(10, 3, {Key::End, Key::Home}).above(), 0);
    QCOMPARE(windowOf(10, 3, {Key::Down, Key::Quit}).above(), 1);
}

void ScrollTest::endsAreKept()
{
    QCOMPARE(windowOf(10, 3, {Key::Up, Key::PageUp, Key::Down}).above(), 1);
    const RowWindow last = windowOf(10, 3, {Key::End, Key::Down, Key::PageDown, Key::Up});
    QCOMPARE(last.above(), 6);
    QCOMPARE(last.below(), 1);
}

void ScrollTest::windowFollowsTheRows()
{
    RowWindow window = windowOf(10, 3, {Key::End});
    window.fit(12, 3); // rows came
    QCOMPARE(window.above(), 7);
    QCOMPARE(window.below(), 2);
    window.fit(5, 3); // rows went
    QCOMPARE(window.above(), 2);
    window.fit(5, 8); // the window has grown
    QCOMPARE(window.above(), 0);
    QCOMPARE(window.below(), 0);
}

QTEST_GUILESS_MAIN(ScrollTest)
#include "scroll_test.moc"
