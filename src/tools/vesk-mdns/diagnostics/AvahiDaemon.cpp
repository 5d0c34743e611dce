// SPDX-License-Identifier: MIT
#include "AvahiDaemon.h"

#include "SystemBus.h"

#include <QDBusConnection>

namespace {

constexpr int answerMs = 3000;

} // namespace

QDBusMessage callDaemon(const QString& method)
{
    QDBusMessage call =
        QDBusMessage::createMethodCall("org.freedesktop.Avahi", "/", "org.freedesktop.Avahi.Server", method);
    call.setAutoStartService(false);
    return systemBus().call(call, QDBus::Block, answerMs);
}

QString daemonText(const QString& method)
{
    const QDBusMessage reply = callDaemon(method);
    return reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(0).toString() : QString();
}
