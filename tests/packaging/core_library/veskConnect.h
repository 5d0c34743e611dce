// SPDX-License-Identifier: MIT
#pragma once
#include <QObject>

QMetaObject::Connection veskConnect(const QObject* sender, const char* signal, const QObject* receiver,
                                    const char* slot, Qt::ConnectionType type);

template <typename Sender, typename Signal, typename Receiver, typename Slot>
QMetaObject::Connection veskConnect(const Sender* sender, Signal signal, const Receiver* receiver, Slot slot,
                                    Qt::ConnectionType type = Qt::AutoConnection)
{
    return QObject::connect(sender, signal, receiver, slot, type);
}
