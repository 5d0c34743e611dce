// SPDX-License-Identifier: MIT
#include "EventFormat.h"

#include "Output.h"

#include <QDateTime>

namespace {

constexpr int longestEvent = 10;

} // namespace

QJsonObject jsonEvent(const QString& event, QJsonObject fields)
{
    fields.insert("event", event);
    fields.insert("time", QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs));
    return fields;
}

QString eventLine(const Output& output, const QString& event, const QStringList& fields)
{
    const QString time = QTime::currentTime().toString("HH:mm:ss.zzz");
    if (output.isTerminal())
        return (QStringList{time, event.leftJustified(longestEvent)} + fields).join("  ");
    return (QStringList{time, event} + fields).join('\t');
}
