// SPDX-License-Identifier: MIT
#include "SocketProbe.h"

#include "FileDescriptor.h"

#include <linux/rtnetlink.h>
#include <sys/socket.h>

namespace vesk::dnssd {

/// All are open at the same time, so that there is room for as many.
bool hasSocketsForResponder()
{
    const FileDescriptor interfaces(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    const FileDescriptor ipv4(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const FileDescriptor ipv6(socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const FileDescriptor spare(dup(interfaces.get()));
    return interfaces.isValid() && spare.isValid() && (ipv4.isValid() || ipv6.isValid());
}

} // namespace vesk::dnssd
