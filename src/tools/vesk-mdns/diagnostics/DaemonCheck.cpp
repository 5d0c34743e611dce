// SPDX-License-Identifier: MIT
#include "AvahiDaemon.h"
#include "Checks.h"
#include "SystemBus.h"

#include <QDBusConnection>
#include <QDBusError>

namespace {

constexpr char daemonStart[] = "Install avahi-daemon and start it: systemctl start avahi-daemon";
constexpr char daemonRestart[] = "Restart it: systemctl restart avahi-daemon";

Check failedDaemon(const QDBusMessage& error)
{
    // A name without owner is an error without a number of its own.
    if (QDBusError(error).type() == QDBusError::ServiceUnknown ||
        error.errorName().endsWith("NameHasNoOwner"))
        return {"daemon", false, "the mDNS daemon is not running", daemonStart};
    switch (QDBusError(error).type()) {
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
        return {"daemon", false, "the mDNS daemon does not answer", daemonRestart};
    default:
        return {"daemon", false, "the mDNS daemon cannot be asked: " + error.errorMessage(),
                "Let the bus's policy allow org.freedesktop.Avahi"};
    }
}

} // namespace

QVector<Check> checkDaemon()
{
    if (!systemBus().isConnected())
        return {{"daemon", false, "the mDNS daemon cannot be asked without the bus", QString()}};
    const QDBusMessage state = callDaemon("GetState");
    if (state.type() == QDBusMessage::ErrorMessage)
        return {failedDaemon(state)};
    switch (state.arguments().value(0).toInt()) {
    case 2:
        return {{"daemon", true,
                 QString("%1 runs; this host is %2")
                     .arg(daemonText("GetVersionString"), daemonText("GetHostNameFqdn")),
                 QString()}};
    case 1:
        return {
            {"daemon", false, "the mDNS daemon is still claiming the host name", "Try again in a moment"}};
    case 3:
        return {{"daemon", false, "another host has this host's name",
                 "Give one of them another name in /etc/hostname or avahi-daemon.conf"}};
    default:
        return {{"daemon", false, "the mDNS daemon has failed", daemonRestart}};
    }
}
