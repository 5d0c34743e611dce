// SPDX-License-Identifier: MIT
#ifndef SYSTEM_BUS_H
#define SYSTEM_BUS_H

class QDBusConnection;

/** Whether connections are taken where the system's message bus should listen. Never waits. */
bool isSystemBusListening();

/** This program's connection to the system's message bus, made at the first call, which waits a few seconds
 * at most; not connected when the bus cannot be reached or does not answer. */
QDBusConnection systemBus();

/** The bus took the connection and has said nothing since; a thread still waits for it. */
bool isSystemBusHung();

#endif
