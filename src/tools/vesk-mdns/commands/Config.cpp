// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "EventFormat.h"
#include "ExitCode.h"
#include "PrintableText.h"
#include "Session.h"

#include <CMValueItem.h>
#include <QJsonValue>

namespace {

int show(Session* session, const VeskValue& value)
{
    const QString& path = session->commandLine.path;
    if (value == VeskValue()) {
        Output::complain(QString("%1 is not set; 'vesk-mdns config set %1 VALUE' sets it").arg(path));
        return ExitNothing;
    }
    if (session->commandLine.json)
        session->output.json(jsonEvent("value", {{"path", path}, {"value", value.json()}}));
    else
        session->output.line(session->output.isTerminal() ? printable(value.string_()) : value.string_());
    return ExitDone;
}

int store(CMValueItem* item, const VeskValue& value)
{
    const QString error = item->setValue(value);
    if (error.isEmpty())
        return ExitDone;
    Output::complain(error);
    return ExitRefused;
}

} // namespace

int config(Session* session)
{
    const CommandLine& commandLine = session->commandLine;
    session->complainOfErrors();
    const CMPath path = CMPath::fromEncoded(commandLine.path.toUtf8());
    if (!path.isValid()) {
        Output::complain(QString("\"%1\" is no configuration path; write it like systemmanager:/key")
                             .arg(commandLine.path));
        return ExitWrongArguments;
    }
    CMValueItem item(path);
    switch (commandLine.command) {
    case CommandLine::Command::ConfigSet:
        return store(&item, VeskValue(commandLine.value));
    case CommandLine::Command::ConfigUnset:
        return store(&item, VeskValue());
    default:
        return show(session, item.value());
    }
}
