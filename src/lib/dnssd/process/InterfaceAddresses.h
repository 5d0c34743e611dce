// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_INTERFACEADDRESSES_H
#define VESK_DNSSD_INTERFACEADDRESSES_H

#include "FileDescriptor.h"
#include "IoWatch.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// The addresses of this host's network interfaces, as the kernel tells them.
namespace vesk::dnssd {

struct InterfaceAddress
{
    uint32_t interface;
    std::string bytes; ///< 4 or 16, in network byte order
    bool isPreferred;  ///< valid beyond the link, and not deprecated
};

/// The addresses of interfaces that multicast DNS is spoken on. Nothing when the kernel does not tell.
std::optional<std::vector<InterfaceAddress>> readInterfaceAddresses();

/// Those that are published: of an interface and family the preferred ones, or all where there is none. Other
/// responders of this host that have its name, libavahi's, choose the same; they would take different ones
/// for another host's.
std::vector<InterfaceAddress> publishedAddresses(const std::vector<InterfaceAddress>& all);

/// Tells when an interface or an address has changed. Without a descriptor for it, it never does.
class InterfaceWatch
{
public:
    InterfaceWatch(EventLoop& loop, std::function<void()> changed);

private:
    void read();

    std::function<void()> m_changed;
    FileDescriptor m_socket;
    std::optional<IoWatch> m_watch; ///< after the descriptor, which it needs
};

} // namespace vesk::dnssd

#endif
