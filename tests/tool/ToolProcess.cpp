// SPDX-License-Identifier: MIT
#include "ToolProcess.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QJsonDocument>
#include <QtTest>
#include <csignal>

ToolProcess::ToolProcess(const QStringList& arguments, const QString& host)
{
    start("lab-on", QStringList{host, VESK_MDNS_TOOL} + arguments);
}

ToolProcess::~ToolProcess()
{
    kill();
    waitForFinished(deadlineMs);
}

QJsonObject ToolProcess::nextEvent(const std::function<bool(const QJsonObject&)>& isWanted)
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

QJsonObject ToolProcess::nextEvent(const QString& name, const QString& service)
{
    return nextEvent([&](const QJsonObject& object) {
        return object["event"] == name && (service.isNull() || object["name"] == service);
    });
}

int ToolProcess::status()
{
    const bool hasEnded = state() == NotRunning || waitForFinished(deadlineMs);
    return hasEnded && exitStatus() == NormalExit ? exitCode() : -1;
}

int ToolProcess::statusAfter(int signal)
{
    ::kill(pid_t(processId()), signal);
    return status();
}

void ToolProcess::enter(const QByteArray& text)
{
    write(text);
    waitForBytesWritten(deadlineMs);
}

QString ToolProcess::outputWith(const QByteArray& text)
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

QString ToolProcess::errors()
{
    waitForReadyRead(0);
    return QString::fromUtf8(readAllStandardError());
}

std::unique_ptr<ToolProcess> advertised(const QString& name, const QStringList& txt, int port,
                                        const QString& host)
{
    auto tool = std::make_unique<ToolProcess>(
        QStringList{"--json", "advertise", name, serviceType, QString::number(port)} + txt, host);
    return tool->nextEvent("visible").isEmpty() ? nullptr : std::move(tool);
}

QJsonObject resolved(const QString& name, const QStringList& options)
{
    ToolProcess tool(options + QStringList{"--json", "--timeout", "60", "resolve", name, serviceType});
    return tool.nextEvent("resolved");
}

QString own()
{
    const QString tag = QTest::currentDataTag();
    return QTest::currentTestFunction() + (tag.isEmpty() ? QString() : ' ' + tag);
}

void runOnLab(const QString& program, const QStringList& arguments)
{
    QCOMPARE(QProcess::execute(program, arguments), 0);
}

OtherDaemon::OtherDaemon(const QByteArray& line)
{
    qputenv("LAB_AVAHI", line);
    runOnLab("lab-daemon", {"hosta", "restart"});
}

OtherDaemon::~OtherDaemon()
{
    qputenv("LAB_AVAHI", m_before);
    runOnLab("lab-daemon", {"hosta", "restart"});
}

namespace {

/** Has the bus of hosta read what @p change makes of its configuration. @return what that was before */
QByteArray configureBus(const std::function<QByteArray(QByteArray)>& change)
{
    QFile file(qEnvironmentVariable("LAB_DIR") + "/bus.conf");
    if (!file.open(QIODevice::ReadWrite))
        qFatal("cannot open %s", qPrintable(file.fileName()));
    const QByteArray before = file.readAll();
    file.resize(0);
    file.write(change(before));
    file.close();
    runOnLab("dbus-send", {"--system", "--print-reply", "--dest=org.freedesktop.DBus", "/",
                           "org.freedesktop.DBus.ReloadConfig"});
    return before;
}

} // namespace

DeniedCall::DeniedCall(const QByteArray& method)
    : m_before(configureBus([&method](QByteArray configuration) {
        return configuration.replace("</busconfig>",
                                     "<policy context=\"mandatory\">"
                                     "<deny send_interface=\"org.freedesktop.Avahi.Server\" send_member=\"" +
                                         method + "\"/></policy></busconfig>");
    }))
{
}

DeniedCall::~DeniedCall()
{
    configureBus([this](const QByteArray&) { return m_before; });
}
