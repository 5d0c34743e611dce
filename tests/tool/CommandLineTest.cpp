// SPDX-License-Identifier: MIT
#include "CommandLine.h"

#include <QtTest>

class CommandLineTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void browseIsReadWithItsTypeInLowerCase();
    void browseWithoutTypeListsTypes();
    void advertiseIsReadWithItsTxtEntriesInOrder();
    void nameLikeAnOptionIsReadAfterTwoDashes();
    void configIsReadWithVerbPathAndValue();
    void familyOptionsChooseTheProtocol_data();
    void familyOptionsChooseTheProtocol();
    void backendIsReadAsItIsWritten();
    void timeoutInSecondsIsReadAsMilliseconds_data();
    void timeoutInSecondsIsReadAsMilliseconds();
    void validTypeIsAcceptedWithoutTrailingDot_data();
    void validTypeIsAcceptedWithoutTrailingDot();
    void wrongCommandLineIsRefusedWithARemedy_data();
    void wrongCommandLineIsRefusedWithARemedy();
    void errorTextStaysInOneLine();
    void txtValueKeepsItsEqualsSigns();
    void txtEntryIsMeasuredInBytes();
};

namespace {

CommandLine parsed(const QStringList& words)
{
    return parseCommandLine(QStringList("vesk-mdns") + words);
}

QString errorOf(const QStringList& words)
{
    try {
        parsed(words);
    } catch (const UsageError& error) {
        return QString::fromUtf8(error.what());
    }
    return QString();
}

} // namespace

void CommandLineTest::browseIsReadWithItsTypeInLowerCase()
{
    const CommandLine commandLine = parsed({"--json", "browse", "_Demo._TCP"});
    QVERIFY(commandLine.command == CommandLine::Command::Browse);
    QCOMPARE(commandLine.type, QString("_demo._tcp"));
    QVERIFY(commandLine.json);
    QVERIFY(!commandLine.timeoutMs);
}

void CommandLineTest::browseWithoutTypeListsTypes()
{
    QVERIFY(parsed({"browse"}).command == CommandLine::Command::BrowseTypes);
}

void CommandLineTest::advertiseIsReadWithItsTxtEntriesInOrder()
{
    const CommandLine commandLine = parsed({"advertise", "Küche", "_demo._udp", "65535", "path=/", "empty="});
    QVERIFY(commandLine.command == CommandLine::Command::Advertise);
    QCOMPARE(commandLine.name, QString("Küche"));
    QCOMPARE(commandLine.port, 65535);
    const QVector<QPair<QString, QString>> txt = {{"path", "/"}, {"empty", ""}};
    QCOMPARE(commandLine.txt, txt);
}

void CommandLineTest::nameLikeAnOptionIsReadAfterTwoDashes()
{
    QCOMPARE(parsed({"--", "resolve", "--json", "_demo._tcp"}).name, QString("--json"));
}

void CommandLineTest::configIsReadWithVerbPathAndValue()
{
    QVERIFY(parsed({"config", "get", "systemmanager:/a"}).command == CommandLine::Command::ConfigGet);
    const CommandLine set = parsed({"config", "set", "systemmanager:/a", ""});
    QVERIFY(set.command == CommandLine::Command::ConfigSet);
    QCOMPARE(set.path, QString("systemmanager:/a"));
    QCOMPARE(set.value, QString(""));
    QVERIFY(parsed({"config", "unset", "systemmanager:/a"}).command == CommandLine::Command::ConfigUnset);
}

void CommandLineTest::familyOptionsChooseTheProtocol_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<int>("protocol");
    QTest::newRow("none") << QStringList() << -1;
    QTest::newRow("IPv4") << QStringList("--ipv4") << int(MDnsProtocolType::IPv4);
    QTest::newRow("IPv6") << QStringList("-6") << int(MDnsProtocolType::IPv6);
    QTest::newRow("both") << QStringList({"-4", "-6"}) << -1;
}

void CommandLineTest::familyOptionsChooseTheProtocol()
{
    QFETCH(QStringList, options);
    QFETCH(int, protocol);
    QCOMPARE(int(parsed(options + QStringList{"browse", "_demo._tcp"}).protocol), protocol);
}

void CommandLineTest::backendIsReadAsItIsWritten()
{
    QCOMPARE(parsed({"--backend", "process", "doctor"}).backend, QString("process"));
    QCOMPARE(parsed({"doctor"}).backend, QString());
}

void CommandLineTest::timeoutInSecondsIsReadAsMilliseconds_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("ms");
    QTest::newRow("whole") << "5" << 5000;
    QTest::newRow("fraction") << "0.25" << 250;
    QTest::newRow("shortest") << "0.001" << 1;
    QTest::newRow("longest") << "1000000" << 1000000000;
}

void CommandLineTest::timeoutInSecondsIsReadAsMilliseconds()
{
    QFETCH(QString, text);
    QFETCH(int, ms);
    QCOMPARE(parsed({"--timeout", text, "browse"}).timeoutMs.value_or(-1), ms);
}

void CommandLineTest::validTypeIsAcceptedWithoutTrailingDot_data()
{
    QTest::addColumn<QString>("given");
    QTest::addColumn<QString>("type");
    QTest::newRow("plain") << "_http._tcp"
                           << "_http._tcp";
    QTest::newRow("trailing dot") << "_http._tcp."
                                  << "_http._tcp";
    QTest::newRow("digits and hyphen") << "_a-1._udp"
                                       << "_a-1._udp";
    QTest::newRow("one letter") << "_x._tcp"
                                << "_x._tcp";
    QTest::newRow("longer than registered ones") << "_abcdefghijklmnopqrst._tcp"
                                                 << "_abcdefghijklmnopqrst._tcp";
}

void CommandLineTest::validTypeIsAcceptedWithoutTrailingDot()
{
    QFETCH(QString, given);
    QFETCH(QString, type);
    QCOMPARE(parsed({"browse", given}).type, type);
}

void CommandLineTest::wrongCommandLineIsRefusedWithARemedy_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("wrong");
    QTest::addColumn<QString>("remedy");
    const auto row = [](const char* name, const QStringList& words, const char* wrong, const char* remedy) {
        QTest::newRow(name) << words << wrong << remedy;
    };
    row("nothing", {}, "a command is missing", "use browse");
    row("unknown command", {"list"}, "there is no command \"list\"", "use browse");
    row("unknown option", {"--bogus", "browse"}, "'bogus'", "vesk-mdns --help");
    row("option without value", {"browse", "--timeout"}, "timeout", "vesk-mdns --help");
    row("no type", {"browse", "http"}, "\"http\" is no service type", "_http._tcp");
    row("third protocol", {"browse", "_http._sctp"}, "is no service type", "_http._tcp");
    row("type with domain", {"browse", "_http._tcp.local"}, "is no service type", "_http._tcp");
    row("empty type", {"browse", ""}, "\"\" is no service type", "_http._tcp");
    row("hyphen at the end", {"browse", "_a-._tcp"}, "is no service type", "_http._tcp");
    row("type of 64 bytes", {"browse", "_" + QString(63, 'a') + "._tcp"}, "is no service type", "_http._tcp");
    row("one word too many", {"browse", "_a._tcp", "b"}, "\"b\" is too much", "vesk-mdns browse [TYPE]");
    row("resolve without type", {"resolve", "a"}, "TYPE is missing", "vesk-mdns resolve NAME TYPE");
    row("empty name", {"resolve", "", "_a._tcp"}, "name is empty", "1 to 63 bytes");
    row("name of 64 bytes", {"advertise", QString(32, QChar(0xE9)), "_a._tcp", "1"}, "64 bytes",
        "at most 63");
    row("no port", {"advertise", "a", "_a._tcp"}, "PORT is missing", "vesk-mdns advertise NAME");
    row("port of text", {"advertise", "a", "_a._tcp", "http"}, "\"http\" is no port", "0 to 65535");
    row("port too high", {"advertise", "a", "_a._tcp", "65536"}, "\"65536\" is no port", "0 to 65535");
    row("negative port", {"--", "advertise", "a", "_a._tcp", "-1"}, "\"-1\" is no port", "0 to 65535");
    row("TXT without =", {"advertise", "a", "_a._tcp", "1", "key"}, "\"key\" is no TXT entry", "KEY=VALUE");
    row("TXT without key", {"advertise", "a", "_a._tcp", "1", "=v"}, "\"\" is no TXT key", "ASCII");
    row("TXT key not ASCII", {"advertise", "a", "_a._tcp", "1", "é=v"}, "is no TXT key", "ASCII");
    row("config alone", {"config"}, "is missing", "config get|set|unset");
    row("config verb", {"config", "read", "a:/b"}, "\"read\"", "config get");
    row("config without path", {"config", "get"}, "PATH is missing", "config get|set|unset PATH");
    row("config path", {"config", "get", "name"}, "\"name\" is no configuration path", "systemmanager:/key");
    row("config set without value", {"config", "set", "a:/b"}, "value is missing", "config unset PATH");
    row("config get with value", {"config", "get", "a:/b", "c"}, "\"c\" is too much", "config get");
    row("doctor with operand", {"doctor", "me"}, "\"me\" is too much", "vesk-mdns doctor");
    row("time-out of text", {"-t", "soon", "browse"}, "\"soon\" is no time-out", "--timeout 5");
    row("time-out of zero", {"-t", "0", "browse"}, "\"0\" is no time-out", "--timeout 5");
    row("negative time-out", {"-t", "-1", "browse"}, "\"-1\" is no time-out", "--timeout 5");
    row("time-out not finite", {"-t", "nan", "browse"}, "is no time-out", "--timeout 5");
    row("time-out endless", {"-t", "inf", "browse"}, "is no time-out", "--timeout 5");
    row("useless time-out", {"-t", "1", "doctor"}, "--timeout has no meaning", "browse");
    row("unknown backend", {"--backend", "Process", "browse"}, "\"Process\" is no backend",
        "auto, daemon or process");
    row("useless family", {"--ipv6", "browse"}, "--ipv6 has no meaning", "browse TYPE");
    row("log file missing", {"--log-config", "/nowhere", "browse"}, "\"/nowhere\" cannot be read",
        "log4cplus");
}

void CommandLineTest::wrongCommandLineIsRefusedWithARemedy()
{
    QFETCH(QStringList, words);
    QFETCH(QString, wrong);
    QFETCH(QString, remedy);
    const QString error = errorOf(words);
    QVERIFY2(error.contains(wrong), qPrintable(error));
    QVERIFY2(error.contains(remedy), qPrintable(error));
}

void CommandLineTest::errorTextStaysInOneLine()
{
    const QString error = errorOf({"advertise", "a", "_a._tcp", "1\n2"});
    QVERIFY(error.contains("is no port"));
    QVERIFY(!errorOf({"--bogus"}).contains('\n'));
}

void CommandLineTest::txtValueKeepsItsEqualsSigns()
{
    QCOMPARE(parseTxtEntry("k=a=b=").second, QString("a=b="));
}

void CommandLineTest::txtEntryIsMeasuredInBytes()
{
    QCOMPARE(parseTxtEntry("k=" + QString(126, QChar(0xE9))).second.size(), 126);
    QVERIFY_EXCEPTION_THROWN(parseTxtEntry("k=" + QString(126, QChar(0xE9)) + "a"), UsageError);
}

QTEST_GUILESS_MAIN(CommandLineTest)
#include "CommandLineTest.moc"
