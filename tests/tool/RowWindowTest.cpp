// SPDX-License-Identifier: MIT
#include "RowWindow.h"

#include <QtTest>

class RowWindowTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rowsThatFitAreAllShown();
    void keyMovesTheWindowByALineOrAPage();
    void moveBeyondAnEndStopsThere();
    void changedRowsOrPageKeepTheWindowInside();
};

namespace {

RowWindow windowOf(int rows, int page, const QVector<Key>& keys)
{
    RowWindow window;
    window.fit(rows, page);
    for (const Key key : keys)
        window.move(key);
    return window;
}

} // namespace

void RowWindowTest::rowsThatFitAreAllShown()
{
    const RowWindow window = windowOf(3, 3, {Key::Down, Key::End});
    QCOMPARE(window.above(), 0);
    QCOMPARE(window.below(), 0);
}

void RowWindowTest::keyMovesTheWindowByALineOrAPage()
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

void RowWindowTest::moveBeyondAnEndStopsThere()
{
    QCOMPARE(windowOf(10, 3, {Key::Up, Key::PageUp, Key::Down}).above(), 1);
    const RowWindow last = windowOf(10, 3, {Key::End, Key::Down, Key::PageDown, Key::Up});
    QCOMPARE(last.above(), 6);
    QCOMPARE(last.below(), 1);
}

void RowWindowTest::changedRowsOrPageKeepTheWindowInside()
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

QTEST_GUILESS_MAIN(RowWindowTest)
#include "RowWindowTest.moc"
