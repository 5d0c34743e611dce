// SPDX-License-Identifier: MIT
#include "LiveTable.h"

#include "ControllingTerminal.h"
#include "Output.h"
#include "UnixSignals.h"

#include <QSignalSpy>
#include <QtTest>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <sys/time.h>
#include <unistd.h>

class LiveTableTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void typedQuitKeyIsReported();
    void keyAfterAnEmptyReadIsRead();
    void keyAfterAnInterruptedReadIsRead();
    void keyOfABackgroundJobIsLeftWithoutSpinning();
    void keyOfABackgroundJobIsReadBackInTheForeground();

private:
    std::unique_ptr<UnixSignals> signalsOfSystem;
    std::unique_ptr<ControllingTerminal> terminal;
    std::unique_ptr<ActivationSpy> activations;
    std::unique_ptr<Output> output;
    std::unique_ptr<LiveTable> table;
    std::unique_ptr<QSignalSpy> quit;
};

namespace {

/** Interrupts what the process waits for, again and again. */
class Interruptions
{
public:
    Interruptions()
    {
        struct sigaction action = {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, nullptr); // without SA_RESTART
        setInterval(10000);
    }
    ~Interruptions() { setInterval(0); }
    Interruptions(const Interruptions&) = delete;
    Interruptions& operator=(const Interruptions&) = delete;

private:
    static void setInterval(suseconds_t us)
    {
        const itimerval interval = {{0, us}, {0, us}};
        setitimer(ITIMER_REAL, &interval, nullptr);
    }
};

/** The table is drawn on the descriptor of standard output: it leads nowhere from now on, and the test
 * reports where it led before. */
void separateReportFromTable()
{
    stdout = fdopen(dup(STDOUT_FILENO), "w");
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
}

} // namespace

void LiveTableTest::initTestCase()
{
    signalsOfSystem = std::make_unique<UnixSignals>();
}

void LiveTableTest::init()
{
    terminal = std::make_unique<ControllingTerminal>();
    activations = std::make_unique<ActivationSpy>();
    output = std::make_unique<Output>();
    table = std::make_unique<LiveTable>("Title", QVector<Column>{{"NAME", 4}, {"AGE", 3}}, 1, output.get(),
                                        signalsOfSystem.get());
    quit = std::make_unique<QSignalSpy>(table.get(), &LiveTable::quitRequested);
}

void LiveTableTest::cleanup()
{
    quit.reset();
    table.reset();
    output.reset();
    activations.reset();
    terminal.reset();
}

void LiveTableTest::typedQuitKeyIsReported()
{
    terminal->type("q");
    QTRY_COMPARE(quit->count(), 1);
}

void LiveTableTest::keyAfterAnEmptyReadIsRead()
{
    bool isTaken = false;
    activations->beforeNext = [this, &isTaken] {
        terminal->takeTyped(/* blocks */ false);
        isTaken = true;
    };
    terminal->type("q");
    QTRY_VERIFY(isTaken);
    terminal->type("q");
    QTRY_COMPARE(quit->count(), 1);
}

void LiveTableTest::keyAfterAnInterruptedReadIsRead()
{
    bool isTaken = false;
    const Interruptions interruptions;
    activations->beforeNext = [this, &isTaken] {
        terminal->takeTyped(/* blocks */ true); // until it is interrupted
        isTaken = true;
    };
    terminal->type("q");
    QTRY_VERIFY(isTaken);
    terminal->type("q");
    QTRY_COMPARE(quit->count(), 1);
}

void LiveTableTest::keyOfABackgroundJobIsLeftWithoutSpinning()
{
    terminal->putIntoBackground();
    terminal->type("q");
    QTRY_VERIFY(activations->count > 0);
    QVERIFY(!spins(activations.get()));
    QCOMPARE(quit->count(), 0);
}

void LiveTableTest::keyOfABackgroundJobIsReadBackInTheForeground()
{
    terminal->putIntoBackground();
    terminal->type("q");
    QTRY_VERIFY(activations->count > 0);
    QCOMPARE(quit->count(), 0);
    terminal->putIntoForeground();
    QTRY_COMPARE(quit->count(), 1);
}

int main(int argc, char** argv)
{
    separateReportFromTable();
    return runInOwnSession([&] {
        QCoreApplication application(argc, argv);
        LiveTableTest test;
        return QTest::qExec(&test, argc, argv);
    });
}

#include "LiveTableTest.moc"
