// SPDX-License-Identifier: MIT
#include "SystemBus.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QList>
#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <future>
#include <memory>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int answerMs = 3000;
constexpr char connectionName[] = "doctor";
constexpr char usualAddresses[] = "unix:path=/run/dbus/system_bus_socket";

/** The value of @p key in an address such as "unix:path=/run/dbus/system_bus_socket"; empty when absent. */
QByteArray addressValue(const QByteArray& address, const QByteArray& key)
{
    const QList<QByteArray> entries = address.mid(address.indexOf(':') + 1).split(',');
    for (const QByteArray& entry : entries)
        if (entry.startsWith(key + '='))
            return QByteArray::fromPercentEncoding(entry.mid(key.size() + 1));
    return QByteArray();
}

/** Whether the Unix socket of that name, abstract when it begins with a zero byte, takes connections. */
bool takesConnections(const QByteArray& name)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (name.isEmpty() || std::size_t(name.size()) >= sizeof address.sun_path)
        return false;
    std::memcpy(address.sun_path, name.constData(), std::size_t(name.size()));
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0)
        return true; // cannot be told
    const auto size = socklen_t(offsetof(sockaddr_un, sun_path) + std::size_t(name.size()));
    const bool isConnected = connect(descriptor, reinterpret_cast<const sockaddr*>(&address), size) == 0;
    const bool isBusy = !isConnected && errno == EAGAIN;
    close(descriptor);
    return isConnected || isBusy;
}

bool isListening(const QByteArray& address)
{
    if (!address.startsWith("unix:"))
        return address.contains(':'); // of another transport it cannot be told without waiting
    const QByteArray abstractName = addressValue(address, "abstract");
    return takesConnections(abstractName.isEmpty() ? addressValue(address, "path") : '\0' + abstractName);
}

/** Connects to the system bus once. QtDBus has no time-out for that, so it is done beside the caller. */
const std::shared_future<void>& busConnection()
{
    static const std::shared_future<void> connected = [] {
        auto promise = std::make_shared<std::promise<void>>();
        std::shared_future<void> future = promise->get_future();
        std::thread([promise] {
            QDBusConnection::connectToBus(QDBusConnection::SystemBus, connectionName);
            promise->set_value();
        }).detach();
        future.wait_for(std::chrono::milliseconds(answerMs));
        return future;
    }();
    return connected;
}

} // namespace

bool isSystemBusListening()
{
    const QByteArray given = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    const QList<QByteArray> addresses = (given.isEmpty() ? QByteArray(usualAddresses) : given).split(';');
    return std::any_of(addresses.begin(), addresses.end(), &isListening);
}

QDBusConnection systemBus()
{
    return isSystemBusHung() ? QDBusConnection(QString()) : QDBusConnection(connectionName);
}

bool isSystemBusHung()
{
    return busConnection().wait_for(std::chrono::seconds(0)) != std::future_status::ready;
}
