// SPDX-License-Identifier: MIT
#include "InputLines.h"

#include "ControllingTerminal.h"

#include <QSignalSpy>
#include <QtTest>
#include <memory>

class InputLinesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void typedLineIsReadWithoutBlanksAround();
    void typedLineInPiecesIsReadWhenComplete();
    void lastLineWithoutItsEndIsReadAtTheEndOfTheInput();
    void overlongLineIsDropped();
    void inputOfABackgroundJobIsLeftWithoutSpinning();
    void inputOfABackgroundJobIsReadBackInTheForeground();
    void inputOfAnotherSessionIsLeftWithoutSpinning();
    void lineAfterAnEmptyReadIsRead();
    void inputThatHangsUpEndsWithoutSpinning();

private:
    QStringList lines() const;

    std::unique_ptr<ControllingTerminal> terminal;
    std::unique_ptr<ActivationSpy> activations;
    std::unique_ptr<InputLines> input;
    std::unique_ptr<QSignalSpy> entered;
};

void InputLinesTest::init()
{
    terminal = std::make_unique<ControllingTerminal>();
    activations = std::make_unique<ActivationSpy>();
    input = std::make_unique<InputLines>();
    entered = std::make_unique<QSignalSpy>(input.get(), &InputLines::entered);
}

void InputLinesTest::cleanup()
{
    entered.reset();
    input.reset();
    activations.reset();
    terminal.reset();
}

QStringList InputLinesTest::lines() const
{
    QStringList lines;
    for (const QVariantList& emission : qAsConst(*entered))
        lines.append(emission.first().toString());
    return lines;
}

void InputLinesTest::typedLineIsReadWithoutBlanksAround()
{
    terminal->type("  a=1 \n\n \nb=2\n");
    QTRY_COMPARE(lines(), QStringList({"a=1", "b=2"}));
}

void InputLinesTest::typedLineInPiecesIsReadWhenComplete()
{
    terminal->type("a=\x04"); // hands over what was typed so far
    QTRY_COMPARE(activations->count, 1);
    QVERIFY(lines().isEmpty());
    terminal->type("1\n");
    QTRY_COMPARE(lines(), QStringList("a=1"));
}

void InputLinesTest::lastLineWithoutItsEndIsReadAtTheEndOfTheInput()
{
    terminal->type("a=1\x04\x04");
    QTRY_COMPARE(lines(), QStringList("a=1"));
}

void InputLinesTest::overlongLineIsDropped()
{
    for (int i = 0; i < 17; ++i) {
        const int before = activations->count;
        terminal->type(QByteArray(4000, 'x') + '\x04');
        QTRY_VERIFY(activations->count > before);
    }
    terminal->type("\na=1\n");
    QTRY_COMPARE(lines().value(lines().size() - 1), QString("a=1"));
    for (const QString& line : lines())
        QVERIFY(line.size() < 17 * 4000);
}

void InputLinesTest::inputOfABackgroundJobIsLeftWithoutSpinning()
{
    terminal->putIntoBackground();
    terminal->type("a=1\n");
    QTRY_VERIFY(activations->count > 0);
    QVERIFY(!spins(activations.get()));
    QVERIFY(lines().isEmpty());
}

void InputLinesTest::inputOfABackgroundJobIsReadBackInTheForeground()
{
    terminal->putIntoBackground();
    terminal->type("a=1\n");
    QTRY_VERIFY(activations->count > 0);
    QVERIFY(lines().isEmpty());
    terminal->putIntoForeground();
    QTRY_COMPARE(lines(), QStringList("a=1"));
}

void InputLinesTest::inputOfAnotherSessionIsLeftWithoutSpinning()
{
    terminal->release();
    terminal->type("a=1\n");
    QTRY_VERIFY(activations->count > 0);
    QVERIFY(!spins(activations.get()));
    QVERIFY(lines().isEmpty());
}

void InputLinesTest::lineAfterAnEmptyReadIsRead()
{
    bool isTaken = false;
    activations->beforeNext = [this, &isTaken] {
        terminal->takeTyped(/* blocks */ false);
        isTaken = true;
    };
    terminal->type("a=1\n");
    QTRY_VERIFY(isTaken);
    terminal->type("b=2\n");
    QTRY_COMPARE(lines(), QStringList("b=2"));
}

void InputLinesTest::inputThatHangsUpEndsWithoutSpinning()
{
    terminal->hangUp();
    QTRY_VERIFY(activations->count > 0);
    QVERIFY(!spins(activations.get()));
}

int main(int argc, char** argv)
{
    return runInOwnSession([&] {
        QCoreApplication application(argc, argv);
        InputLinesTest test;
        return QTest::qExec(&test, argc, argv);
    });
}

#include "InputLinesTest.moc"
