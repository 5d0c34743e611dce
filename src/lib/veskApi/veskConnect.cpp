// SPDX-License-Identifier: MIT
#include "veskConnect.h"

#include <QMetaType>
#include <cstdio>
#include <cstdlib>

void veskAssert(bool holds, const char* text, const char* file, int line)
{
    if (holds)
        return;
    std::fprintf(stderr, "%s:%d: Assertion failed: %s\n", file, line, text);
    std::abort();
}

bool verifyConnectionSignalParameters(const QObject* sender, const QMetaMethod& signal,
                                      const QObject* receiver, Qt::ConnectionType)
{
    if (!sender || !receiver || sender->thread() == receiver->thread())
        return true; // what is missing altogether is the business of the connection itself
    const QList<QByteArray> types = signal.parameterTypes();
    for (int at = 0; at < types.size(); ++at)
        // Asking for the type registers one that is declared but was never used before.
        if (!types.at(at).endsWith('*') && signal.parameterType(at) == QMetaType::UnknownType)
            return false;
    return true;
}

QMetaObject::Connection veskConnect(const QObject* sender, const char* signal, const QObject* receiver,
                                    const char* slot, Qt::ConnectionType type)
{
    return QObject::connect(sender, signal, receiver, slot, type);
}
