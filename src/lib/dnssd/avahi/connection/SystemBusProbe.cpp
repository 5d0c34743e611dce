// SPDX-License-Identifier: MIT
#include "SystemBusProbe.h"

#include "FileDescriptor.h"

#include <dbus/dbus.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <system_error>

namespace vesk::dnssd {

namespace {

constexpr const char* DefaultAddress = "unix:path=/run/dbus/system_bus_socket";

bool takesConnections(const char* path, bool isAbstract)
{
    sockaddr_un address;
    std::memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    const std::size_t length = std::strlen(path);
    const std::size_t offset = isAbstract ? 1 : 0;
    if (offset + length >= sizeof address.sun_path)
        return false;
    std::memcpy(address.sun_path + offset, path, length);

    const FileDescriptor descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!descriptor.isValid())
        throw std::system_error(errno, std::generic_category(), "socket");
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + offset + length);
    return connect(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), size) == 0 ||
           errno == EAGAIN; // it is there, and busy
}

bool isThere(DBusAddressEntry* entry)
{
    if (std::strcmp(dbus_address_entry_get_method(entry), "unix") != 0)
        return true; // cannot be told without waiting
    if (const char* path = dbus_address_entry_get_value(entry, "path"))
        return takesConnections(path, false);
    const char* name = dbus_address_entry_get_value(entry, "abstract");
    return name && takesConnections(name, true);
}

} // namespace

bool isSystemBusThere()
{
    const char* given = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    DBusAddressEntry** entries = nullptr;
    int count = 0;
    if (!dbus_parse_address(given && *given ? given : DefaultAddress, &entries, &count, nullptr))
        return false;
    const std::unique_ptr<DBusAddressEntry*, decltype(&dbus_address_entries_free)> owner(
        entries, dbus_address_entries_free);
    for (int i = 0; i < count; ++i) {
        if (isThere(entries[i]))
            return true;
    }
    return false;
}

} // namespace vesk::dnssd
