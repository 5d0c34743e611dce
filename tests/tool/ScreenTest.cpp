// SPDX-License-Identifier: MIT
// What the tool shows in a real terminal, beside captures kept in the folder captures; this program runs on
// hosta of two. With VESK_UPDATE_CAPTURES=1 the captures are written instead of compared.
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QtTest>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

constexpr int deadlineMs = 60000;
constexpr int skipped = 77;
const QString type = "_demo._tcp";

/** A terminal with a shell in it. */
class Terminal
{
public:
    Terminal(int columns, int rows, const QStringList& environment = {})
    {
        // The locale shows that the tool does without one; tmux itself needs none with -u.
        run({"-f", "/dev/null", "new-session", "-d", "-x", QString::number(columns), "-y",
             QString::number(rows), "exec env LC_ALL=C PS1='$ ' " + environment.join(' ') + " sh -i", ";",
             "set", "status", "off"});
        waitFor([this] { return screen().startsWith("$"); });
    }
    ~Terminal() { run({"kill-server"}); }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    void type(const QString& line)
    {
        run({"send-keys", "-l", "--", line});
        press("Enter");
    }
    void press(const QString& key) { run({"send-keys", key}); }
    void resize(int columns, int rows)
    {
        run({"resize-window", "-x", QString::number(columns), "-y", QString::number(rows)});
    }

    /** What is to be seen, without what differs from run to run. */
    QString screen()
    {
        QString text = run({"capture-pane", "-p"});
        text.replace(QRegularExpression("[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}"), "hh:mm:ss.mmm");
        text.replace(QRegularExpression("(?<= )[0-9]{2}s(?= )"), "#s ");
        text.replace(QRegularExpression("(?<= )[0-9]{1,2}s\\b"), "#s");
        text.replace(QRegularExpression("/\\S*/(?=libvesk_dnssd)"), "/.../");
        return text;
    }
    /** What is typed while the shell does not wait for it yet is echoed twice: count the prompts first. */
    int prompts() { return screen().count(QRegularExpression("^\\$", QRegularExpression::MultilineOption)); }
    QString colouredScreen() { return run({"capture-pane", "-e", "-p"}); }
    /** "1" for the page beside the usual one, "1" for a visible cursor, "1" for wrapped lines. */
    QString modes()
    {
        return run({"display-message", "-p", "#{alternate_on}#{cursor_flag}#{wrap_flag}"}).trimmed();
    }

    template <typename Condition>
    bool waitFor(Condition condition)
    {
        QDeadlineTimer deadline(deadlineMs);
        while (!condition()) {
            if (deadline.hasExpired())
                return false;
            QTest::qWait(50);
        }
        return true;
    }

private:
    QString run(const QStringList& arguments)
    {
        QProcess tmux;
        tmux.start("tmux", QStringList{"-u", "-L", m_name} + arguments);
        tmux.waitForFinished(deadlineMs);
        const QByteArray errors = tmux.readAllStandardError();
        if (!errors.isEmpty())
            qWarning() << "tmux" << arguments.first() << errors;
        return QString::fromUtf8(tmux.readAllStandardOutput());
    }

    // A server of its own for each: one that is just ending takes no new terminal.
    const QString m_name = QString("screen%1").arg(++s_count);
    static inline int s_count = 0;
};

/** A service that is advertised on hostb while this object lives. */
class Service : public QProcess
{
public:
    Service(const QString& name, int port, const QStringList& txt = {}, const QString& itsType = type)
    {
        start("lab-on",
              QStringList{"hostb", VESK_MDNS_TOOL, "advertise", name, itsType, QString::number(port)} + txt);
        while (!m_output.contains("\tvisible\t") && waitForReadyRead(deadlineMs))
            m_output += readAllStandardOutput();
    }
    ~Service() override
    {
        terminate();
        waitForFinished(deadlineMs);
    }

    void enter(const QByteArray& line)
    {
        write(line + '\n');
        waitForBytesWritten(deadlineMs);
    }

private:
    QByteArray m_output;
};

/** The screen equals the capture in time; or it is written there once it matches @p settled. */
void compareWithCapture(Terminal* terminal, const QString& name, const QString& settled)
{
    QFile file(QString(VESK_CAPTURES "/%1.txt").arg(name));
    if (qEnvironmentVariableIsSet("VESK_UPDATE_CAPTURES")) {
        const QRegularExpression wanted(settled, QRegularExpression::DotMatchesEverythingOption);
        QVERIFY2(terminal->waitFor([&] { return wanted.match(terminal->screen()).hasMatch(); }),
                 qPrintable(terminal->screen()));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(terminal->screen().toUtf8());
        return;
    }
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.fileName()));
    const QString expected = QString::fromUtf8(file.readAll());
    const bool isEqual = terminal->waitFor([&] { return terminal->screen() == expected; });
    if (!isEqual)
        std::fprintf(stderr, "--- expected: %s\n%s--- seen\n%s", qPrintable(name), qPrintable(expected),
                     qPrintable(terminal->screen()));
    QVERIFY(isEqual);
}

bool hasMarks(Terminal* terminal)
{
    return terminal->screen().contains(QRegularExpression("^[-+*] ", QRegularExpression::MultilineOption));
}

bool shows(Terminal* terminal, const QString& text)
{
    return terminal->waitFor([&] { return terminal->screen().contains(text); });
}

} // namespace

class ScreenTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void changedRowsAreMarkedInTheTable();
    void tableFollowsTheTerminalsSize();
    void typedKeyScrollsTheTable_data();
    void typedKeyScrollsTheTable();
    void endedTableStaysInSight_data();
    void endedTableStaysInSight();
    void suspendedTableGivesTheTerminalBack();
    void typesAreShownInATable();
    void noColorVariableSwitchesColoursOff_data();
    void noColorVariableSwitchesColoursOff();
    void dumbTerminalGetsLines();
    void typedLinesEditTheAdvertisedTxtRecord();
    void resolvedServiceIsShown();
    void doctorSaysWhatIsInOrder();
    void doctorSaysWhatToDo();
    void failedCommandPrintsOneLine();
    void helpTextFitsTheTerminal();
};

void ScreenTest::initTestCase()
{
    const QString directory = QFileInfo(VESK_MDNS_TOOL).absolutePath();
    qputenv("PATH", directory.toUtf8() + ':' + qgetenv("PATH"));
    qputenv("TMUX_TMPDIR", QDir::tempPath().toUtf8());
    qunsetenv("NO_COLOR");
    qunsetenv("TMUX");
}

void ScreenTest::changedRowsAreMarkedInTheTable()
{
    const Service kitchen("Küche 台所 🍳", 8080, {"path=/", "note=big table"});
    Service garage("Garage", 8081, {"door=shut"});
    auto hall = std::make_unique<Service>("Hall", 8082);
    Terminal terminal(80, 10);
    terminal.type("vesk-mdns browse " + type);
    QVERIFY(shows(&terminal, "_demo._tcp: 3"));
    QVERIFY(terminal.waitFor([&] { return !hasMarks(&terminal); }));

    garage.enter("door=open");
    hall.reset();
    const Service attic("\x1b[31mAttic", 8083);
    compareWithCapture(&terminal, "browse", "\\+ .*\\* Garage.*- Hall");
}

void ScreenTest::tableFollowsTheTerminalsSize()
{
    const Service kitchen("Küche 台所 🍳", 8080, {"path=/", "note=big table"});
    const Service garage("Garage", 8081, {"door=shut"});
    const Service hall("Hall", 8082);
    Terminal terminal(80, 10);
    terminal.type("vesk-mdns browse " + type);
    QVERIFY(shows(&terminal, "_demo._tcp: 3"));
    QVERIFY(terminal.waitFor([&] { return !hasMarks(&terminal); }));
    terminal.resize(50, 8);
    compareWithCapture(&terminal, "browse-narrow", "…");
    terminal.resize(24, 8);
    compareWithCapture(&terminal, "browse-very-narrow", "…");
    terminal.resize(80, 5);
    compareWithCapture(&terminal, "browse-low", "2 below");
    terminal.resize(100, 10);
    compareWithCapture(&terminal, "browse-wide", "Hall .*8082");
}

void ScreenTest::typedKeyScrollsTheTable_data()
{
    QTest::addColumn<QStringList>("keys");
    QTest::addColumn<QString>("firstRow");
    QTest::addColumn<QString>("hidden");
    QTest::newRow("Down") << QStringList{"Down", "Down", "Up"} << "Garage"
                          << "1 above, 2 below";
    QTest::newRow("letters") << QStringList{"j", "j", "k"} << "Garage"
                             << "1 above, 2 below";
    QTest::newRow("pages") << QStringList{"PgDn", "PgDn", "PgUp"} << "Garage"
                           << "1 above, 2 below";
    QTest::newRow("End") << QStringList{"End"} << "Kitchen"
                         << "3 above, 0 below";
    QTest::newRow("Home") << QStringList{"End", "Home"} << "Attic"
                          << "0 above, 3 below";
}

void ScreenTest::typedKeyScrollsTheTable()
{
    QFETCH(QStringList, keys);
    QFETCH(QString, firstRow);
    QFETCH(QString, hidden);
    const Service attic("Attic", 8080);
    const Service garage("Garage", 8081);
    const Service hall("Hall", 8082);
    const Service kitchen("Kitchen", 8083);
    const Service porch("Porch", 8084);
    Terminal terminal(80, 6);
    terminal.type("vesk-mdns browse " + type);
    QVERIFY(shows(&terminal, "_demo._tcp: 5"));
    QVERIFY(shows(&terminal, "0 above, 3 below"));
    for (const QString& key : qAsConst(keys))
        terminal.press(key);
    QVERIFY2(shows(&terminal, hidden), qPrintable(terminal.screen()));
    QVERIFY2(terminal.screen().contains(QRegularExpression("TXT\n. " + firstRow + ' ')),
             qPrintable(terminal.screen()));
    if (hidden == "1 above, 2 below") {
        QVERIFY(terminal.waitFor([&] { return !hasMarks(&terminal); }));
        compareWithCapture(&terminal, "browse-scrolled", hidden);
    }
}

void ScreenTest::endedTableStaysInSight_data()
{
    QTest::addColumn<QString>("key");
    QTest::newRow("Ctrl-C") << "C-c";
    QTest::newRow("q") << "q";
}

void ScreenTest::endedTableStaysInSight()
{
    QFETCH(QString, key);
    const Service kitchen("Bad 浴室 🛁", 8080, {"path=/"});
    Terminal terminal(80, 10);
    terminal.type("vesk-mdns browse " + type);
    QVERIFY(shows(&terminal, "_demo._tcp: 1"));
    QCOMPARE(terminal.modes(), QString("100"));
    QVERIFY(terminal.waitFor([&] { return !hasMarks(&terminal); }));
    terminal.press(key);
    QVERIFY(terminal.waitFor([&] { return terminal.modes() == "011" && terminal.prompts() == 2; }));
    terminal.type("echo status $?");
    compareWithCapture(&terminal, "browse-end", "status 0");
}

void ScreenTest::suspendedTableGivesTheTerminalBack()
{
    Terminal terminal(80, 10);
    terminal.type("vesk-mdns browse " + type);
    QVERIFY(shows(&terminal, "_demo._tcp: 0"));
    terminal.press("C-z");
    QVERIFY(terminal.waitFor([&] { return terminal.modes() == "011" && terminal.prompts() == 2; }));
    terminal.type("echo here $((1 + 1))"); // echoed again
    QVERIFY(shows(&terminal, "$ echo here $((1 + 1))\nhere 2"));
    terminal.type("fg");
    QVERIFY(shows(&terminal, "_demo._tcp: 0"));
    QCOMPARE(terminal.modes(), QString("100"));
}

void ScreenTest::typesAreShownInATable()
{
    const Service kitchen("Kitchen", 8080);
    Terminal terminal(60, 6);
    terminal.type("vesk-mdns browse");
    QVERIFY(shows(&terminal, type));
    compareWithCapture(&terminal, "types", "  _demo");
}

void ScreenTest::noColorVariableSwitchesColoursOff_data()
{
    QTest::addColumn<QString>("variable");
    QTest::addColumn<bool>("isColoured");
    QTest::newRow("not set") << "OTHER=1" << true;
    QTest::newRow("empty") << "NO_COLOR=" << true;
    QTest::newRow("set") << "NO_COLOR=1" << false;
}

void ScreenTest::noColorVariableSwitchesColoursOff()
{
    QFETCH(QString, variable);
    QFETCH(bool, isColoured);
    const Service kitchen("Kitchen", 8080);
    Terminal terminal(80, 10, {variable});
    terminal.type("vesk-mdns browse " + type);
    QVERIFY(shows(&terminal, "Kitchen"));
    QCOMPARE(terminal.colouredScreen().contains("\x1b["), isColoured);
}

void ScreenTest::dumbTerminalGetsLines()
{
    // Lines stay, so a service of the test before must not come and go between them.
    const Service cellar("Cellar", 8080, {}, "_dumb._tcp");
    Terminal terminal(100, 6, {"TERM=dumb"});
    terminal.type("vesk-mdns --timeout 10 browse _dumb._tcp");
    compareWithCapture(&terminal, "browse-dumb", "added.*Cellar.*\n\\$\n");
}

void ScreenTest::typedLinesEditTheAdvertisedTxtRecord()
{
    Terminal terminal(80, 14);
    terminal.type("vesk-mdns advertise 'Küche 台所 🍳' " + type + " 8080 path=/");
    QVERIFY(shows(&terminal, "visible"));
    QVERIFY(shows(&terminal, "registered"));
    terminal.type("note=big table");
    QVERIFY(shows(&terminal, "txt         \"note=big table\" path=/\n"));
    terminal.type("-path");
    QVERIFY(shows(&terminal, "txt         \"note=big table\"\n"));
    terminal.type("nonsense");
    QVERIFY(shows(&terminal, "\"nonsense\" is no TXT entry"));
    terminal.press("C-c");
    compareWithCapture(&terminal, "advertise", "\\^C\\$\n");
}

void ScreenTest::resolvedServiceIsShown()
{
    const Service kitchen("Flur 廊下 💡", 8080, {"path=/"});
    Terminal terminal(80, 10);
    // A record without the entry is known, too, until a second after the service's start.
    QVERIFY(terminal.waitFor([&] {
        terminal.type("clear; vesk-mdns resolve 'Flur 廊下 💡' " + type);
        return shows(&terminal, "TXT:") && terminal.screen().contains("path=/");
    }));
    compareWithCapture(&terminal, "resolve", "TXT: .*\\$\n");
}

void ScreenTest::doctorSaysWhatIsInOrder()
{
    Terminal terminal(200, 10); // wide enough for the library's path in any build
    terminal.type("vesk-mdns doctor");
    compareWithCapture(&terminal, "doctor", "library.*\\$\n");
}

void ScreenTest::doctorSaysWhatToDo()
{
    Terminal terminal(200, 12);
    QCOMPARE(QProcess::execute("lab-daemon", {"hosta", "kill"}), 0);
    terminal.type("vesk-mdns doctor");
    compareWithCapture(&terminal, "doctor-without-daemon", "library.*\\$\n");
    QCOMPARE(QProcess::execute("lab-daemon", {"hosta", "start"}), 0);
}

void ScreenTest::failedCommandPrintsOneLine()
{
    Terminal terminal(100, 28);
    for (const char* line :
         {"vesk-mdns", "vesk-mdns list", "vesk-mdns --colour browse", "vesk-mdns browse http",
          "vesk-mdns advertise Kitchen _demo._tcp", "vesk-mdns --timeout 0.2 resolve Nobody _demo._tcp"}) {
        for (const char* typed : {line, "echo $?"}) {
            const int prompts = terminal.prompts();
            terminal.type(typed);
            QVERIFY(terminal.waitFor([&] { return terminal.prompts() > prompts; }));
        }
    }
    compareWithCapture(&terminal, "errors", "Nobody\" of");
}

void ScreenTest::helpTextFitsTheTerminal()
{
    Terminal terminal(80, 37);
    terminal.type("vesk-mdns --help");
    compareWithCapture(&terminal, "help", "refused.*\\$\n");
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (QStandardPaths::findExecutable("tmux").isEmpty()) {
        std::fputs("tmux is missing; './run setup' installs it.\n", stderr);
        return qEnvironmentVariable("CI") == "true" ? EXIT_FAILURE : skipped;
    }
    ScreenTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "ScreenTest.moc"
