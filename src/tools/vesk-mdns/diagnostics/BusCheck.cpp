// SPDX-License-Identifier: MIT
#include "Checks.h"
#include "SystemBus.h"

#include <QDBusConnection>
#include <QDBusError>

QVector<Check> checkBus()
{
    if (isSystemBusHung())
        return {
            {"bus", false, "the system's message bus does not answer", "Restart the machine's dbus service"}};
    const QDBusConnection bus = systemBus();
    if (!bus.isConnected())
        return {{"bus", false, "the system's message bus cannot be reached: " + bus.lastError().message(),
                 "Start it: systemctl start dbus; or set DBUS_SYSTEM_BUS_ADDRESS to where it listens"}};
    return {{"bus", true, "the system's message bus answers", QString()}};
}
