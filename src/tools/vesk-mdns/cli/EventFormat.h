// SPDX-License-Identifier: MIT
#ifndef EVENT_FORMAT_H
#define EVENT_FORMAT_H

#include <QJsonObject>
#include <QString>
#include <QStringList>

class Output;

/** A JSON event: its name, the time in UTC, and @p fields. */
QJsonObject jsonEvent(const QString& event, QJsonObject fields);

/** A line that begins with the local time and @p event; its fields are parted by tabs for programs, by blanks
 * at a terminal. */
QString eventLine(const Output& output, const QString& event, const QStringList& fields);

#endif
