// SPDX-License-Identifier: MIT
#ifndef VESK_CONNECT_H
#define VESK_CONNECT_H

#include "VeskApiExport.h"

#include <QMetaMethod>
#include <QObject>

/**
 * Stops the process when @p holds is false, in release builds too: prints @p text with its place and aborts.
 * For errors of the program only, never for anything that came from outside.
 */
VESK_API_EXPORT void veskAssert(bool holds, const char* text, const char* file, int line);

/**
 * Whether a connection of @p signal between these two objects can deliver its arguments: always within one
 * thread; across threads only when every parameter type ends in "*" or is a registered meta-type. @p type
 * does not matter: an automatic connection is queued as soon as the threads differ.
 */
VESK_API_EXPORT bool verifyConnectionSignalParameters(const QObject* sender, const QMetaMethod& signal,
                                                      const QObject* receiver, Qt::ConnectionType type);

/**
 * Connects by signature texts, as Qt's SIGNAL() and SLOT() give them: @p signal with the digit 2 in front,
 * @p slot with the digit 1.
 *
 * @return the connection; not valid, after a warning of Qt's, when a text names nothing.
 */
VESK_API_EXPORT QMetaObject::Connection veskConnect(const QObject* sender, const char* signal,
                                                    const QObject* receiver, const char* slot,
                                                    Qt::ConnectionType type);

/**
 * Connects by member pointers and stops the process when that cannot work: see
 * verifyConnectionSignalParameters().
 */
template <typename Sender, typename Owner, typename... Arguments, typename Receiver, typename Slot>
QMetaObject::Connection veskConnect(const Sender* sender, void (Owner::*signal)(Arguments...),
                                    const Receiver* receiver, Slot slot,
                                    Qt::ConnectionType type = Qt::AutoConnection)
{
    veskAssert(verifyConnectionSignalParameters(sender, QMetaMethod::fromSignal(signal), receiver, type),
               "verifyConnectionSignalParameters(sender, signal, receiver, type)", __FILE__, __LINE__);
    QMetaObject::Connection connection = QObject::connect(sender, signal, receiver, slot, type);
    veskAssert(bool(connection), "connection", __FILE__, __LINE__);
    return connection;
}

#endif
