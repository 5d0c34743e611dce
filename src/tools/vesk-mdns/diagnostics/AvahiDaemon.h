// SPDX-License-Identifier: MIT
#ifndef AVAHI_DAEMON_H
#define AVAHI_DAEMON_H

#include <QDBusMessage>
#include <QString>

/** Calls a method of the Avahi daemon and waits for the reply, a few seconds at most. */
QDBusMessage callDaemon(const QString& method);

/** The text that a method of the Avahi daemon returns; empty when it cannot be had. */
QString daemonText(const QString& method);

#endif
