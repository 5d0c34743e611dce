// SPDX-License-Identifier: MIT
#include "CommandLine.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QRegularExpression>
#include <cmath>

namespace {

constexpr int maxLabelBytes = 63;
constexpr int maxTxtEntryBytes = 254; // what every DNS-SD library takes
constexpr double maxTimeoutSeconds = 1e6;

struct Options
{
    QCommandLineOption ipv4{{"4", "ipv4"}, "Look up IPv4 addresses only."};
    QCommandLineOption ipv6{{"6", "ipv6"}, "Look up IPv6 addresses only."};
    QCommandLineOption json{"json", "Write one JSON object a line."};
    QCommandLineOption timeout{{"t", "timeout"}, "Stop after this time.", "SECONDS"};
    QCommandLineOption backend{"backend", "Use auto, daemon or process for multicast DNS.", "NAME"};
    QCommandLineOption verbose{"verbose", "Write the library's log to standard error too."};
    QCommandLineOption logConfig{"log-config", "Log as this log4cplus properties file says.", "FILE"};
    QCommandLineOption help{{"h", "help"}, "Show this help."};
    QCommandLineOption version{{"v", "version"}, "Show the version."};

    QList<QCommandLineOption> all() const
    {
        return {ipv4, ipv6, json, timeout, backend, verbose, logConfig, help, version};
    }
};

constexpr char synopses[] = R"(Usage: vesk-mdns [OPTION...] COMMAND

Commands:
  browse [TYPE]          list the services of a type, or the types in use
  resolve NAME TYPE      show where one service is found
  advertise NAME TYPE PORT [KEY=VALUE...]
                         advertise a service until stopped
  config get PATH        show a configuration item
  config set PATH VALUE  store a configuration item
  config unset PATH      remove a configuration item
  doctor                 say whether all that is needed is in order

Examples:
  vesk-mdns browse _http._tcp
  vesk-mdns advertise "Kitchen lamp" _demo._tcp 8080 path=/lamp
  vesk-mdns --json --timeout 5 resolve "Kitchen lamp" _demo._tcp
  vesk-mdns config set systemmanager:/bonjourForceServiceName "Hall lamp"

At a terminal browse shows a table: arrow keys, PgUp, PgDn, Home, End, j and k
scroll it, q ends it.
)";

[[noreturn]] void fail(const QString& text)
{
    throw UsageError(text);
}

/** A command's operands, taken one after the other. */
class Operands
{
public:
    Operands(const QString& synopsis, const QStringList& values)
        : m_synopsis(synopsis)
        , m_values(values)
    {
    }

    QString next(const QString& what)
    {
        if (m_values.isEmpty())
            fail(QString("%1 is missing; write: vesk-mdns %2").arg(what, m_synopsis));
        return m_values.takeFirst();
    }

    bool isEmpty() const { return m_values.isEmpty(); }

    void end() const
    {
        if (!m_values.isEmpty())
            fail(QString("\"%1\" is too much; write: vesk-mdns %2").arg(m_values.first(), m_synopsis));
    }

private:
    QString m_synopsis;
    QStringList m_values;
};

QString parseType(const QString& text)
{
    static const QRegularExpression form("^_[a-z0-9]([a-z0-9_-]*[a-z0-9])?\\._(tcp|udp)$",
                                         QRegularExpression::CaseInsensitiveOption);
    QString type = text.endsWith('.') ? text.chopped(1) : text;
    if (!form.match(type).hasMatch() || type.indexOf('.') > maxLabelBytes)
        fail(QString("\"%1\" is no service type; write it like _http._tcp or _demo._udp").arg(text));
    return type.toLower();
}

QString parseName(const QString& text)
{
    const int bytes = text.toUtf8().size();
    if (bytes == 0)
        fail("the service's name is empty; write one of 1 to 63 bytes");
    if (bytes > maxLabelBytes)
        fail(QString("the service's name has %1 bytes in UTF-8; use at most 63").arg(bytes));
    return text;
}

int parsePort(const QString& text)
{
    bool isNumber = false;
    const int port = text.toInt(&isNumber);
    if (!isNumber || port < 0 || port > 65535)
        fail(QString("\"%1\" is no port; write a number from 0 to 65535").arg(text));
    return port;
}

int parseTimeout(const QString& text)
{
    bool isNumber = false;
    const double seconds = text.toDouble(&isNumber);
    if (!isNumber || !(seconds >= 0.001) || seconds > maxTimeoutSeconds)
        fail(QString("\"%1\" is no time-out; write seconds above 0, like --timeout 5").arg(text));
    return int(std::lround(seconds * 1000));
}

QString parseBackend(const QString& text)
{
    if (!QStringList{"auto", "daemon", "process"}.contains(text))
        fail(QString("\"%1\" is no backend; write --backend auto, daemon or process").arg(text));
    return text;
}

QString parsePath(const QString& text)
{
    static const QRegularExpression form("^[a-z][a-z0-9+.-]*:/.+$",
                                         QRegularExpression::CaseInsensitiveOption);
    if (!form.match(text).hasMatch())
        fail(QString("\"%1\" is no configuration path; write it like systemmanager:/key").arg(text));
    return text;
}

void parseConfig(const QStringList& values, CommandLine* commandLine)
{
    Operands operands("config get|set|unset PATH [VALUE]", values);
    const QString verb = operands.next("get, set or unset");
    if (verb == "get")
        commandLine->command = CommandLine::Command::ConfigGet;
    else if (verb == "set")
        commandLine->command = CommandLine::Command::ConfigSet;
    else if (verb == "unset")
        commandLine->command = CommandLine::Command::ConfigUnset;
    else
        fail(QString("config cannot \"%1\"; write config get, config set or config unset").arg(verb));
    commandLine->path = parsePath(operands.next("PATH"));
    if (verb == "set") {
        if (operands.isEmpty())
            fail("the value is missing; write config set PATH VALUE, or config unset PATH to remove the "
                 "item");
        commandLine->value = operands.next("VALUE");
    }
    operands.end();
}

void parseCommand(const QString& command, const QStringList& values, CommandLine* commandLine)
{
    if (command == "browse") {
        Operands operands("browse [TYPE]", values);
        commandLine->command =
            operands.isEmpty() ? CommandLine::Command::BrowseTypes : CommandLine::Command::Browse;
        if (!operands.isEmpty())
            commandLine->type = parseType(operands.next("TYPE"));
        operands.end();
    } else if (command == "resolve") {
        Operands operands("resolve NAME TYPE", values);
        commandLine->command = CommandLine::Command::Resolve;
        commandLine->name = parseName(operands.next("NAME"));
        commandLine->type = parseType(operands.next("TYPE"));
        operands.end();
    } else if (command == "advertise") {
        Operands operands("advertise NAME TYPE PORT [KEY=VALUE...]", values);
        commandLine->command = CommandLine::Command::Advertise;
        commandLine->name = parseName(operands.next("NAME"));
        commandLine->type = parseType(operands.next("TYPE"));
        commandLine->port = parsePort(operands.next("PORT"));
        while (!operands.isEmpty())
            commandLine->txt.append(parseTxtEntry(operands.next("KEY=VALUE")));
    } else if (command == "config") {
        parseConfig(values, commandLine);
    } else if (command == "doctor") {
        commandLine->command = CommandLine::Command::Doctor;
        Operands("doctor", values).end();
    } else {
        fail(QString("there is no command \"%1\"; use browse, resolve, advertise, config or doctor")
                 .arg(command));
    }
}

void parseOptions(const QCommandLineParser& parser, const Options& options, CommandLine* commandLine)
{
    using Command = CommandLine::Command;
    const Command command = commandLine->command;
    const bool takesFamily = command == Command::Browse || command == Command::Resolve;
    const bool takesTime = takesFamily || command == Command::BrowseTypes || command == Command::Advertise;
    const bool ipv4 = parser.isSet(options.ipv4);
    const bool ipv6 = parser.isSet(options.ipv6);
    if ((ipv4 || ipv6) && !takesFamily)
        fail(QString("--%1 has no meaning here; use it with browse TYPE or resolve")
                 .arg(ipv4 ? "ipv4" : "ipv6"));
    if (parser.isSet(options.timeout) && !takesTime)
        fail("--timeout has no meaning here; use it with browse, resolve or advertise");
    if (ipv4 != ipv6)
        commandLine->protocol = ipv4 ? MDnsProtocolType::IPv4 : MDnsProtocolType::IPv6;
    if (parser.isSet(options.timeout))
        commandLine->timeoutMs = parseTimeout(parser.value(options.timeout));
    if (parser.isSet(options.backend))
        commandLine->backend = parseBackend(parser.value(options.backend));
    commandLine->json = parser.isSet(options.json);
    commandLine->verbose = parser.isSet(options.verbose);
    commandLine->logConfig = parser.value(options.logConfig);
    if (parser.isSet(options.logConfig) && !QFileInfo(commandLine->logConfig).isReadable())
        fail(QString("the file \"%1\" cannot be read; name a log4cplus properties file")
                 .arg(commandLine->logConfig));
}

} // namespace

QPair<QString, QString> parseTxtEntry(const QString& text)
{
    const int equals = text.indexOf('=');
    if (equals < 0)
        fail(QString("\"%1\" is no TXT entry; write KEY=VALUE").arg(text));
    const QString key = text.left(equals);
    static const QRegularExpression keyForm("^[\\x20-\\x7e]+$");
    if (!keyForm.match(key).hasMatch())
        fail(QString("\"%1\" is no TXT key; use 1 or more printable ASCII characters").arg(key));
    const int bytes = text.toUtf8().size();
    if (bytes > maxTxtEntryBytes)
        fail(QString("the TXT entry \"%1\" has %2 bytes in UTF-8; use at most 254").arg(key).arg(bytes));
    return {key, text.mid(equals + 1)};
}

CommandLine parseCommandLine(const QStringList& words)
{
    QCommandLineParser parser;
    const Options options;
    parser.addOptions(options.all());
    if (!parser.parse(words))
        fail(parser.errorText().section('.', 0, 0) + "; 'vesk-mdns --help' lists the options");

    CommandLine commandLine;
    if (parser.isSet(options.help))
        return commandLine;
    if (parser.isSet(options.version)) {
        commandLine.command = CommandLine::Command::Version;
        return commandLine;
    }
    const QStringList operands = parser.positionalArguments();
    if (operands.isEmpty())
        fail("a command is missing; use browse, resolve, advertise, config or doctor, or --help");
    parseCommand(operands.first(), operands.mid(1), &commandLine);
    parseOptions(parser, options, &commandLine);
    return commandLine;
}

QString helpText()
{
    QString text = QString::fromLatin1(synopses) + "\nOptions:\n";
    const QList<QCommandLineOption> options = Options().all();
    for (const QCommandLineOption& option : options) {
        QStringList names;
        const QStringList optionNames = option.names();
        for (const QString& name : optionNames)
            names.append((name.size() == 1 ? "-" : "--") + name);
        const QString value = option.valueName().isEmpty() ? QString() : ' ' + option.valueName();
        text += "  " + (names.join(", ") + value).leftJustified(23) + option.description() + '\n';
    }
    return text + "\nExit status: 0 done, 1 nothing found or amiss, 2 wrong arguments, 3 refused.\n";
}
