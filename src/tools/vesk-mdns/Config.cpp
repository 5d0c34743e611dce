// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "ExitCode.h"
#include "Session.h"
#include "Text.h"

#include <CMValueItem.h>
#include <QJsonValue>

namespace {

int show(Session* session, const VeskValue& value)
{
    const QString& path = session->arguments.path;
    if (value == VeskValue()) {
        Output::complain(QString("%1 is not set; 'vesk-mdns config set %1 VALUE' sets it").arg(path));
        return ExitNothing;
    }
    if (session->arguments.json)
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
    const Arguments& arguments = session->arguments;
    session->complainOfErrors();
    const CMPath path = CMPath::fromEncoded(arguments.path.toUtf8());
    if (!path.isValid()) {
        Output::complain(
            QString("\"%1\" is no configuration path; write it like systemmanager:/key").arg(arguments.path));
        return ExitWrongArguments;
    }
    CMValueItem item(path);
    switch (arguments.command) {
    case Arguments::Command::ConfigSet:
        return store(&item, VeskValue(arguments.value));
    case Arguments::Command::ConfigUnset:
        return store(&item, VeskValue());
    default:
        return show(session, item.value());
    }
}
