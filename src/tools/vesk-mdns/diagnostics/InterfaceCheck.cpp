// SPDX-License-Identifier: MIT
#include "Checks.h"

#include <QNetworkInterface>

namespace {

bool isUsable(const QNetworkInterface& interface)
{
    constexpr auto needed =
        QNetworkInterface::IsUp | QNetworkInterface::IsRunning | QNetworkInterface::CanMulticast;
    return (interface.flags() & needed) == needed && !interface.addressEntries().isEmpty();
}

Check checkInterface(const QNetworkInterface& interface)
{
    const QNetworkInterface::InterfaceFlags flags = interface.flags();
    const QString name = interface.name();
    if (!(flags & QNetworkInterface::IsUp))
        return {"interface", true, name + " is down, so it is not used", QString()};
    if (!(flags & QNetworkInterface::IsRunning))
        return {"interface", true, name + " is not connected, so it is not used", QString()};
    if (interface.addressEntries().isEmpty())
        return {"interface", true, name + " has no address, so it is not used", QString()};
    if (!(flags & QNetworkInterface::CanMulticast)) {
        const bool isTunnel = flags & QNetworkInterface::IsPointToPoint;
        return {"interface", isTunnel, name + " does no multicast, so it is not used",
                isTunnel ? QString() : QString("Switch it on: ip link set %1 multicast on").arg(name)};
    }
    QStringList addresses;
    const QList<QNetworkAddressEntry> entries = interface.addressEntries();
    for (const QNetworkAddressEntry& entry : entries)
        addresses.append(entry.ip().toString().section('%', 0, 0));
    return {"interface", true, name + " is up and does multicast: " + addresses.join(' '), QString()};
}

} // namespace

QVector<Check> checkInterfaces()
{
    QVector<Check> checks;
    bool isAnyUsable = false;
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface& interface : interfaces) {
        if (interface.flags() & QNetworkInterface::IsLoopBack)
            continue;
        checks.append(checkInterface(interface));
        isAnyUsable = isAnyUsable || isUsable(interface);
    }
    if (!isAnyUsable)
        checks.append({"interface", false, "no interface reaches other hosts",
                       "Connect one and give it an address: 'ip address' shows them"});
    return checks;
}
