// SPDX-License-Identifier: MIT
#include "ReceiveGuard.h"

#include "DnsMessage.h"
#include "dns_sd.h"

#include <sys/socket.h>

#include <array>

namespace vesk::dnssd {

namespace {

/// The longest that multicast DNS has (RFC 6762 section 17); libavahi-core reads no more of one, either.
constexpr std::size_t LongestMessage = 9000;

/// Others tell of network interfaces.
bool isForMessages(int descriptor)
{
    int family = 0;
    socklen_t size = sizeof family;
    return getsockopt(descriptor, SOL_SOCKET, SO_DOMAIN, &family, &size) == 0 &&
           (family == AF_INET || family == AF_INET6);
}

} // namespace

bool admitMessage(int descriptor)
{
    if (!isForMessages(descriptor))
        return true;
    std::array<char, LongestMessage> bytes;
    const auto size = recv(descriptor, bytes.data(), bytes.size(), MSG_PEEK | MSG_DONTWAIT);
    if (size < 0 || !holdsRecordOf(kDNSServiceType_CNAME, {bytes.data(), static_cast<std::size_t>(size)}))
        return true;
    recv(descriptor, bytes.data(), 0, MSG_DONTWAIT);
    return false;
}

} // namespace vesk::dnssd
