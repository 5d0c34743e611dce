// SPDX-License-Identifier: MIT
// The tool on a network of two hosts with two links; this program runs on hosta.
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <csignal>
#include <functional>
#include <memory>

namespace {

constexpr int deadlineMs = 60000;
const QString type = "_demo._tcp";

/** The tool, started on a host. Its JSON events are gathered; it ends with this object. */
class Tool : public QProcess
{
public:
    explicit Tool(const QStringList& arguments, const QString& host = "hosta")
    {
        start("lab-on", QStringList{host, VESK_MDNS_TOOL} + arguments);
    }

    ~Tool() override
    {
        kill();
        waitForFinished(deadlineMs);
    }

    /** Waits until an event satisfies @p isWanted; an empty one when that does not happen in time. Each
     * event is looked at once. */
    QJsonObject nextEvent(const std::function<bool(const QJsonObject&)>& isWanted)
    {
        QDeadlineTimer deadline(deadlineMs);
        while (!deadline.hasExpired()) {
            while (canReadLine()) {
                const QByteArray line = readLine();
                const QJsonObject object = QJsonDocument::fromJson(line).object();
                if (object.isEmpty())
                    qWarning() << "no JSON object:" << line;
                if (isWanted(object))
                    return object;
            }
            waitForReadyRead(100);
        }
        return {};
    }

    QJsonObject nextEvent(const QString& name, const QString& service = QString())
    {
        return nextEvent([&](const QJsonObject& object) {
            return object["event"] == name && (service.isNull() || object["name"] == service);
        });
    }

    /** Ends with an exit status in time; -1 when it does not. */
    int status()
    {
        const bool hasEnded = state() == NotRunning || waitForFinished(deadlineMs);
        return hasEnded && exitStatus() == NormalExit ? exitCode() : -1;
    }

    void enter(const QByteArray& text)
    {
        write(text);
        waitForBytesWritten(deadlineMs);
    }

    int statusAfter(int signal)
    {
        ::kill(pid_t(processId()), signal);
        return status();
    }

    /** Waits until there is a line with that text; all that was written so far. */
    QString outputWith(const QByteArray& text)
    {
        QByteArray output;
        QDeadlineTimer deadline(deadlineMs);
        while (!output.contains(text) || !output.endsWith('\n')) {
            if (deadline.hasExpired())
                break;
            waitForReadyRead(100);
            output += readAllStandardOutput();
        }
        return QString::fromUtf8(output);
    }

    QString errors()
    {
        waitForReadyRead(0);
        return QString::fromUtf8(readAllStandardError());
    }
};

std::unique_ptr<Tool> advertised(const QString& name, const QStringList& txt = {}, int port = 8080,
                                 const QString& host = "hostb")
{
    auto tool = std::make_unique<Tool>(
        QStringList{"--json", "advertise", name, type, QString::number(port)} + txt, host);
    return tool->nextEvent("visible").isEmpty() ? nullptr : std::move(tool);
}

QJsonObject resolved(const QString& name, const QStringList& options = {})
{
    Tool tool(options + QStringList{"--json", "--timeout", "60", "resolve", name, type});
    return tool.nextEvent("resolved");
}

/** The name of the service that the running test advertises: its own, since one that was just withdrawn lives
 * on in caches for a second. */
QString own()
{
    const QString tag = QTest::currentDataTag();
    return QTest::currentTestFunction() + (tag.isEmpty() ? QString() : ' ' + tag);
}

/** Old and new record are both known for a second after an edit. */
bool becomesTxt(const QString& name, const QJsonObject& txt)
{
    QDeadlineTimer deadline(deadlineMs);
    while (resolved(name)["txt"].toObject() != txt)
        if (deadline.hasExpired())
            return false;
    return true;
}

void command(const QString& program, const QStringList& arguments)
{
    QCOMPARE(QProcess::execute(program, arguments), 0);
}

} // namespace

class ToolLabTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void advertiseTellsHostAndName();
    void browseTellsWhatComesChangesAndGoes();
    void browseCountsInterfaces();
    void browseListsTypes();
    void browseEndsWhenItsReaderGoes();
    void browseEndsWhenItsReaderGoesBeforeItHasFoundAnything();
    void browseFindsNothingInTime();
    void browseFindsSomethingInTime();
    void stopSignalsEndOrderlyWithAGoodbye_data();
    void stopSignalsEndOrderlyWithAGoodbye();
    void resolveShowsOneService();
    void resolveKnowsNamesInAnyCase();
    void resolveLooksUpTheChosenFamily();
    void resolveFindsNothingInTime();
    void typedLinesEditTheTxtRecord();
    void wrongTypedLineSaysWhatToDo();
    void conflictIsShownAsAnotherName();
    void configurationForcesAnotherNameAndTxtIsKept();
    void namesArriveUnchanged_data();
    void namesArriveUnchanged();
    void nothingFromTheNetworkControlsTheTerminal();
    void verboseTellsTheLibrarysLog();
    void logConfigurationFileIsFollowed();
    void refusesWithoutABus_data();
    void refusesWithoutABus();
    void saysThatNobodyRegisters();
    void doctorFindsAllInOrder();
    void doctorFindsAStoppedDaemon();
    void doctorFindsNoBus();
    void doctorFindsASilentBus();
    void doctorFindsNoInterface();
    void doctorFindsAnInterfaceWithoutMulticast();
};

void ToolLabTest::advertiseTellsHostAndName()
{
    Tool tool({"--json", "advertise", own(), type, "8080"}, "hostb");
    QHash<QString, QJsonObject> events; // in either order
    QVERIFY(!tool.nextEvent([&events](const QJsonObject& event) {
                     events.insert(event["event"].toString(), event);
                     return events.contains("registered") && events.contains("visible");
                 })
                 .isEmpty());
    QCOMPARE(events["registered"]["host"].toString(), QString("hostb.local."));
    QCOMPARE(events["registered"]["port"].toInt(), 8080);
    QVERIFY(QDateTime::fromString(events["registered"]["time"].toString(), Qt::ISODateWithMs).isValid());
    QCOMPARE(events["visible"]["name"].toString(), own());
    QVERIFY(events["visible"]["previous"].isNull());
}

void ToolLabTest::browseTellsWhatComesChangesAndGoes()
{
    Tool browser({"--json", "browse", type});
    const auto kitchen = advertised(own(), {"path=/"});
    QVERIFY(kitchen);
    const QJsonObject added = browser.nextEvent("added", own());
    QCOMPARE(added["host"].toString(), QString("hostb.local."));
    QCOMPARE(added["type"].toString(), type);
    QCOMPARE(added["port"].toInt(), 8080);
    QCOMPARE(added["addresses"].toArray().size(), 1);
    QVERIFY(added["interface"].toString().startsWith("lan"));

    kitchen->enter("path=/new\n");
    QVERIFY(!browser
                 .nextEvent([](const QJsonObject& event) {
                     return event["event"] == "changed" && event["txt"].toObject()["path"] == "/new";
                 })
                 .isEmpty());
    QCOMPARE(kitchen->statusAfter(SIGINT), 0);
    QVERIFY(!browser.nextEvent("removed", own()).isEmpty());
}

void ToolLabTest::browseCountsInterfaces()
{
    const auto kitchen = advertised(own());
    QVERIFY(kitchen);
    Tool browser({"--json", "browse", type});
    QVERIFY(!browser.nextEvent([](const QJsonObject& event) { return event["interfaces"] == 2; }).isEmpty());
    command("lab-link", {"hosta", "2", "down"});
    const bool isCounted =
        !browser.nextEvent([](const QJsonObject& event) { return event["interfaces"] == 1; }).isEmpty();
    command("lab-link", {"hosta", "2", "up"});
    QVERIFY(isCounted);
}

void ToolLabTest::browseListsTypes()
{
    const auto kitchen = advertised(own());
    QVERIFY(kitchen);
    Tool browser({"--json", "browse"});
    const QJsonObject complete = browser.nextEvent([](const QJsonObject& event) {
        return event["type"] == type && event["interfaces"].toArray() == QJsonArray({"lan1", "lan2"});
    });
    QVERIFY(!complete.isEmpty());
}

void ToolLabTest::browseEndsWhenItsReaderGoes()
{
    const auto kitchen = advertised(own());
    const auto hall = advertised("Another", {}, 8081);
    QVERIFY(kitchen && hall);
    QProcess shell;
    shell.start("sh", {"-c", QString(VESK_MDNS_TOOL " browse %1 | head -n 1").arg(type)});
    QVERIFY(shell.waitForFinished(deadlineMs));
    QCOMPARE(shell.readAllStandardOutput().count('\n'), 1);
}

void ToolLabTest::browseEndsWhenItsReaderGoesBeforeItHasFoundAnything()
{
    QProcess shell;
    shell.start("sh", {"-c", VESK_MDNS_TOOL " browse _nothing._tcp | true"});
    QVERIFY(shell.waitForFinished(deadlineMs));
}

void ToolLabTest::browseFindsNothingInTime()
{
    Tool tool({"--timeout", "0.5", "browse", "_nothing._tcp"});
    QCOMPARE(tool.status(), 1);
    QVERIFY(tool.errors().contains("found no service of type _nothing._tcp"));
    QVERIFY(tool.readAllStandardOutput().isEmpty());
}

void ToolLabTest::browseFindsSomethingInTime()
{
    const auto kitchen = advertised(own());
    QVERIFY(kitchen);
    Tool tool({"--timeout", "10", "browse", type});
    QCOMPARE(tool.status(), 0);
    const QString lines = QString::fromUtf8(tool.readAllStandardOutput());
    QVERIFY2(lines.contains(QString("\tadded\t%1\thostb.local.\t").arg(own())), qPrintable(lines));
}

void ToolLabTest::stopSignalsEndOrderlyWithAGoodbye_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("Ctrl-C") << SIGINT;
    QTest::newRow("terminate") << SIGTERM;
    QTest::newRow("hang up") << SIGHUP;
    QTest::newRow("quit") << SIGQUIT;
}

void ToolLabTest::stopSignalsEndOrderlyWithAGoodbye()
{
    QFETCH(int, signal);
    Tool browser({"--json", "browse", type});
    const auto kitchen = advertised(own());
    QVERIFY(kitchen);
    QVERIFY(!browser.nextEvent("added", own()).isEmpty());
    QCOMPARE(kitchen->statusAfter(signal), 0);
    // Without a goodbye the records would live for more than an hour.
    QVERIFY(!browser.nextEvent("removed", own()).isEmpty());
    QCOMPARE(browser.statusAfter(signal), 0);
}

void ToolLabTest::resolveShowsOneService()
{
    const auto kitchen = advertised(own(), {"path=/", "note=a b"});
    QVERIFY(kitchen);
    QString text;
    QDeadlineTimer deadline(deadlineMs);
    while (!text.contains("path=/") &&
           !deadline.hasExpired()) { // the record without entries is known as well at first
        Tool tool({"--ipv4", "--timeout", "60", "resolve", own(), type});
        QCOMPARE(tool.status(), 0);
        text = QString::fromUtf8(tool.readAllStandardOutput());
    }
    QVERIFY2(text.contains("Name:      resolveShowsOneService\n"), qPrintable(text));
    for (const char* line : {"Host:      hostb.local.\n", "Address:   10.99.", "Port:      8080\n",
                             "Interface: lan", "TXT:       \"note=a b\" path=/\n"})
        QVERIFY2(text.contains(line), qPrintable(text));
}

void ToolLabTest::resolveKnowsNamesInAnyCase()
{
    const auto kitchen = advertised(own());
    QVERIFY(kitchen);
    QCOMPARE(resolved(own().toUpper())["name"].toString(), own());
}

void ToolLabTest::resolveLooksUpTheChosenFamily()
{
    const auto kitchen = advertised(own());
    QVERIFY(kitchen);
    const QString ipv4 = resolved(own(), {"--ipv4"})["addresses"].toArray().first().toString();
    QVERIFY2(ipv4.startsWith("10.99."), qPrintable(ipv4));
    const QString ipv6 = resolved(own(), {"--ipv6"})["addresses"].toArray().first().toString();
    QVERIFY2(ipv6.startsWith("fe80::") && ipv6.contains("%lan"), qPrintable(ipv6));
}

void ToolLabTest::resolveFindsNothingInTime()
{
    Tool tool({"--timeout", "0.5", "resolve", "Nobody", type});
    QCOMPARE(tool.status(), 1);
    QVERIFY(tool.errors().contains("found no service \"Nobody\""));
}

void ToolLabTest::typedLinesEditTheTxtRecord()
{
    const auto kitchen = advertised(own(), {"path=/"});
    QVERIFY(kitchen);
    kitchen->enter("note=a = b\n  -PATH  \n");
    QCOMPARE(kitchen->nextEvent("txt")["txt"].toObject(), QJsonObject({{"path", "/"}, {"note", "a = b"}}));
    QCOMPARE(kitchen->nextEvent("txt")["txt"].toObject(), QJsonObject({{"note", "a = b"}}));
    kitchen->enter("last=1"); // ended by the end of the input
    kitchen->closeWriteChannel();
    QVERIFY(!kitchen->nextEvent("txt").isEmpty());
    const QJsonObject expected = {{"note", "a = b"}, {"last", "1"}};
    QVERIFY(becomesTxt(own(), expected));
    QCOMPARE(kitchen->state(), QProcess::Running);
}

void ToolLabTest::wrongTypedLineSaysWhatToDo()
{
    const auto kitchen = advertised(own());
    QVERIFY(kitchen);
    kitchen->enter("nonsense\nright=1\n");
    QCOMPARE(kitchen->nextEvent("txt")["txt"].toObject(), QJsonObject({{"right", "1"}}));
    QCOMPARE(
        kitchen->errors(),
        QString("vesk-mdns: \"nonsense\" is no TXT entry; write KEY=VALUE, or -KEY to remove an entry\n"));
}

void ToolLabTest::conflictIsShownAsAnotherName()
{
    Tool browser({"--json", "browse", type});
    const auto first = advertised(own());
    QVERIFY(first);
    Tool second({"--json", "advertise", own(), type, "9090"}, "hosta");
    const QJsonObject renamed = browser.nextEvent("added", own() + " (2)");
    QVERIFY(!renamed.isEmpty());
    // Who has to give way is for the daemons to decide.
    Tool& loser = renamed["host"] == "hosta.local." ? second : *first;
    QVERIFY(!loser.nextEvent("visible", own() + " (2)").isEmpty());
}

void ToolLabTest::configurationForcesAnotherNameAndTxtIsKept()
{
    const QString path = "systemmanager:/bonjourForceServiceName";
    const auto kitchen = advertised(own(), {"path=/"});
    QVERIFY(kitchen);
    QCOMPARE(Tool({"config", "set", path, "Hall"}, "hostb").status(), 0);
    Tool get({"config", "get", path}, "hostb");
    QCOMPARE(get.status(), 0);
    QCOMPARE(get.readAllStandardOutput(), QByteArray("Hall\n"));

    QCOMPARE(kitchen->nextEvent("forced")["name"].toString(), QString("Hall"));
    const QJsonObject visible = kitchen->nextEvent("visible", "Hall");
    QCOMPARE(visible["previous"].toString(), own());
    QVERIFY(becomesTxt("Hall", QJsonObject({{"path", "/"}})));

    QCOMPARE(Tool({"config", "unset", path}, "hostb").status(), 0);
    QCOMPARE(kitchen->nextEvent("visible", own())["previous"].toString(), QString("Hall"));
    QCOMPARE(Tool({"config", "get", path}, "hostb").status(), 1);
}

void ToolLabTest::namesArriveUnchanged_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("blanks") << "Kitchen  lamp";
    QTest::newRow("dots") << "a.b.";
    QTest::newRow("quotes") << "the \"big\" 'one'";
    QTest::newRow("umlauts") << "Küche";
    QTest::newRow("CJK") << "台所の照明";
    QTest::newRow("emoji") << "lamp 💡";
    QTest::newRow("63 bytes") << QString(21, QChar(0x53F0));
}

void ToolLabTest::namesArriveUnchanged()
{
    QFETCH(QString, name);
    const auto tool = advertised(name);
    QVERIFY(tool);
    QCOMPARE(resolved(name)["name"].toString(), name);
}

void ToolLabTest::nothingFromTheNetworkControlsTheTerminal()
{
    const QString name = QString("evil \x1b[31m\a") + QChar(0x9B) + QChar(0x202E);
    const auto tool = advertised(name, {"k=\x1b]0;title\a"});
    QVERIFY(tool);
    QCOMPARE(resolved(name)["name"].toString(), name);
    for (const QStringList& options : {QStringList(), QStringList("--json")}) {
        Tool browser(options + QStringList{"browse", type});
        const QString text = browser.outputWith("evil ");
        QVERIFY(text.contains("evil "));
        for (const QChar obeyed : {QChar(0x1B), QChar(0x07), QChar(0x9B), QChar(0x202E)})
            QVERIFY2(!text.contains(obeyed), qPrintable(text));
    }
}

void ToolLabTest::verboseTellsTheLibrarysLog()
{
    Tool tool({"--verbose", "--timeout", "0.5", "browse", "_nothing._tcp"});
    QCOMPARE(tool.status(), 1);
    QVERIFY(tool.errors().contains("BonjourLister: "));
}

void ToolLabTest::logConfigurationFileIsFollowed()
{
    QTemporaryDir directory;
    const QString log = directory.filePath("log");
    QFile file(directory.filePath("properties"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("log4cplus.rootLogger=INFO, F\nlog4cplus.appender.F=log4cplus::FileAppender\n"
               "log4cplus.appender.F.File=" +
               log.toUtf8() + "\n");
    file.close();
    Tool tool({"--log-config", file.fileName(), "--timeout", "0.5", "browse", "_nothing._tcp"});
    QCOMPARE(tool.status(), 1);
    QVERIFY(!tool.errors().contains("BonjourLister"));
    QFile written(log);
    QVERIFY(written.open(QIODevice::ReadOnly));
    QVERIFY(written.readAll().contains("_nothing._tcp"));
}

void ToolLabTest::refusesWithoutABus_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("browse") << QStringList{"browse", type};
    QTest::newRow("list of types") << QStringList{"browse"};
    QTest::newRow("resolve") << QStringList{"resolve", "a", type};
    QTest::newRow("advertise") << QStringList{"advertise", "a", type, "1"};
}

void ToolLabTest::refusesWithoutABus()
{
    QFETCH(QStringList, arguments);
    QProcess tool;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere");
    tool.setProcessEnvironment(environment);
    tool.start(VESK_MDNS_TOOL, arguments);
    QVERIFY(tool.waitForFinished(deadlineMs));
    QCOMPARE(tool.exitCode(), 3);
    const QString errors = QString::fromUtf8(tool.readAllStandardError());
    QCOMPARE(errors.count('\n'), 1);
    QVERIFY2(errors.contains("not running") && errors.contains("vesk-mdns doctor"), qPrintable(errors));
}

void ToolLabTest::saysThatNobodyRegisters()
{
    command("lab-daemon", {"hosta", "kill"});
    Tool tool({"--timeout", "7", "advertise", "Kitchen", type, "8080"});
    const int status = tool.status();
    command("lab-daemon", {"hosta", "start"});
    QCOMPARE(status, 1);
    QVERIFY(tool.errors().contains("not registered after 5 seconds"));
}

void ToolLabTest::doctorFindsAllInOrder()
{
    Tool tool({"--json", "doctor"});
    QStringList subjects;
    QCOMPARE(tool.status(), 0);
    while (tool.canReadLine()) {
        const QJsonObject check = QJsonDocument::fromJson(tool.readLine()).object();
        subjects.append(check["check"].toString());
        QVERIFY(check["ok"].toBool());
    }
    QCOMPARE(subjects, QStringList({"bus", "daemon", "interface", "interface", "library", "library"}));
}

namespace {

/** What the doctor finds wrong, one line for each. */
QStringList complaints()
{
    QStringList lines;
    Tool tool({"doctor"});
    if (tool.status() != 1)
        return {"no exit status 1"};
    const QStringList all = QString::fromUtf8(tool.readAllStandardOutput()).split('\n');
    for (const QString& line : all)
        if (line.startsWith("BAD"))
            lines.append(line.simplified());
    return lines;
}

/** Daemon and interfaces need a moment to recover from the test before. */
bool isInOrderAgain()
{
    QDeadlineTimer deadline(deadlineMs);
    while (Tool({"doctor"}).status() != 0)
        if (deadline.hasExpired())
            return false;
    return true;
}

} // namespace

void ToolLabTest::doctorFindsAStoppedDaemon()
{
    command("lab-daemon", {"hosta", "kill"});
    const QStringList killed = complaints();
    command("lab-daemon", {"hosta", "start"});
    command("lab-daemon", {"hosta", "stop"});
    const QStringList stopped = complaints();
    command("lab-daemon", {"hosta", "cont"});
    QCOMPARE(killed.first(), QString("BAD daemon: the mDNS daemon is not running"));
    QCOMPARE(stopped.first(), QString("BAD daemon: the mDNS daemon does not answer"));
}

void ToolLabTest::doctorFindsNoBus()
{
    command("lab-bus", {"hosta", "kill"});
    const QStringList found = complaints();
    command("lab-bus", {"hosta", "start"});
    command("lab-daemon", {"hosta", "start"});
    QVERIFY2(found.first().startsWith("BAD bus: the system's message bus cannot be reached"),
             qPrintable(found.first()));
    QVERIFY2(found.last().contains("not running"), qPrintable(found.last()));
}

void ToolLabTest::doctorFindsASilentBus()
{
    command("lab-bus", {"hosta", "stop"});
    const QStringList found = complaints();
    command("lab-bus", {"hosta", "cont"});
    QCOMPARE(found.first(), QString("BAD bus: the system's message bus does not answer"));
}

void ToolLabTest::doctorFindsNoInterface()
{
    command("lab-link", {"hosta", "1", "down"});
    command("lab-link", {"hosta", "2", "down"});
    const QStringList found = complaints();
    command("lab-link", {"hosta", "1", "up"});
    command("lab-link", {"hosta", "2", "up"});
    QVERIFY(found.contains("BAD interface: no interface reaches other hosts"));
}

void ToolLabTest::doctorFindsAnInterfaceWithoutMulticast()
{
    QVERIFY(isInOrderAgain());
    command("ip", {"link", "set", "lan2", "multicast", "off"});
    const QStringList found = complaints();
    command("ip", {"link", "set", "lan2", "multicast", "on"});
    QCOMPARE(found, QStringList("BAD interface: lan2 does no multicast, so it is not used"));
}

QTEST_GUILESS_MAIN(ToolLabTest)
#include "lab_test.moc"
