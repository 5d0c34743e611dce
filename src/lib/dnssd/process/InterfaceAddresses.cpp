// SPDX-License-Identifier: MIT
#include "InterfaceAddresses.h"

#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <set>

namespace vesk::dnssd {

namespace {

constexpr std::size_t LongestMessage = 65536;

/// A request for all links or all addresses.
struct DumpRequest
{
    nlmsghdr header;
    rtgenmsg family;
};

bool send(int socket, uint16_t type)
{
    DumpRequest request{};
    request.header.nlmsg_len = NLMSG_LENGTH(sizeof request.family);
    request.header.nlmsg_type = type;
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request.family.rtgen_family = AF_UNSPEC;
    return ::send(socket, &request, request.header.nlmsg_len, 0) >= 0;
}

/// Calls `each(header)` for all that the kernel answers. False: it does not.
template <typename Each>
bool dump(uint16_t type, Each each)
{
    const FileDescriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    if (!socket.isValid() || !send(socket.get(), type))
        return false;
    std::vector<char> buffer(LongestMessage);
    for (;;) {
        const auto size = recv(socket.get(), buffer.data(), buffer.size(), 0);
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            return false;
        auto rest = static_cast<unsigned>(size);
        for (auto* message = reinterpret_cast<nlmsghdr*>(buffer.data()); NLMSG_OK(message, rest);
             message = NLMSG_NEXT(message, rest)) {
            if (message->nlmsg_type == NLMSG_DONE || message->nlmsg_type == NLMSG_ERROR)
                return message->nlmsg_type == NLMSG_DONE;
            each(*message);
        }
    }
}

/// Of loopback, which has no multicast, too: services that are for this host alone are published there.
bool speaksMulticastDns(unsigned flags)
{
    return (flags & IFF_UP) && (flags & (IFF_MULTICAST | IFF_LOOPBACK)) && !(flags & IFF_POINTOPOINT);
}

std::optional<std::set<uint32_t>> readInterfaces()
{
    std::set<uint32_t> interfaces;
    const bool isTold = dump(RTM_GETLINK, [&](nlmsghdr& message) {
        const auto* link = static_cast<const ifinfomsg*>(NLMSG_DATA(&message));
        if (message.nlmsg_type == RTM_NEWLINK && speaksMulticastDns(link->ifi_flags))
            interfaces.insert(static_cast<uint32_t>(link->ifi_index));
    });
    return isTold ? std::optional(std::move(interfaces)) : std::nullopt;
}

/// The host's own end of the link, where the two ends are told apart; "" for neither IPv4 nor IPv6.
std::string addressOf(nlmsghdr& message, const ifaddrmsg& header)
{
    const std::size_t size = header.ifa_family == AF_INET ? 4 : header.ifa_family == AF_INET6 ? 16 : 0;
    std::string address;
    auto rest = IFA_PAYLOAD(&message);
    for (auto* attribute = IFA_RTA(&header); RTA_OK(attribute, rest); attribute = RTA_NEXT(attribute, rest)) {
        const bool isLocal = attribute->rta_type == IFA_LOCAL;
        if (RTA_PAYLOAD(attribute) == size &&
            (isLocal || (attribute->rta_type == IFA_ADDRESS && address.empty())))
            address.assign(static_cast<const char*>(RTA_DATA(attribute)), size);
    }
    return address;
}

/// What libavahi goes by, too.
bool isPreferred(const ifaddrmsg& header)
{
    const bool isGlobal = header.ifa_scope == RT_SCOPE_UNIVERSE || header.ifa_scope == RT_SCOPE_SITE;
    return isGlobal && !(header.ifa_flags & IFA_F_DEPRECATED);
}

bool areOfOneLink(const InterfaceAddress& one, const InterfaceAddress& other)
{
    return one.interface == other.interface && one.bytes.size() == other.bytes.size();
}

} // namespace

std::optional<std::vector<InterfaceAddress>> readInterfaceAddresses()
{
    const auto interfaces = readInterfaces();
    std::vector<InterfaceAddress> addresses;
    const bool isTold =
        interfaces && dump(RTM_GETADDR, [&](nlmsghdr& message) {
            const auto* header = static_cast<const ifaddrmsg*>(NLMSG_DATA(&message));
            if (message.nlmsg_type != RTM_NEWADDR || interfaces->count(header->ifa_index) == 0)
                return;
            std::string bytes = addressOf(message, *header);
            if (!bytes.empty())
                addresses.push_back({header->ifa_index, std::move(bytes), isPreferred(*header)});
        });
    return isTold ? std::optional(std::move(addresses)) : std::nullopt;
}

std::vector<InterfaceAddress> publishedAddresses(const std::vector<InterfaceAddress>& all)
{
    std::vector<InterfaceAddress> published;
    std::copy_if(all.begin(), all.end(), std::back_inserter(published), [&](const InterfaceAddress& address) {
        return address.isPreferred ||
               std::none_of(all.begin(), all.end(), [&](const InterfaceAddress& other) {
                   return other.isPreferred && areOfOneLink(address, other);
               });
    });
    return published;
}

InterfaceWatch::InterfaceWatch(EventLoop& loop, std::function<void()> changed)
    : m_changed(std::move(changed))
    , m_socket(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE))
{
    sockaddr_nl groups{};
    groups.nl_family = AF_NETLINK;
    groups.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;
    if (m_socket.isValid() &&
        bind(m_socket.get(), reinterpret_cast<const sockaddr*>(&groups), sizeof groups) == 0)
        m_watch.emplace(loop, m_socket.get(), EPOLLIN, [this](uint32_t) { read(); });
}

/// What the messages say does not matter, and some may have been lost: all is read anew.
void InterfaceWatch::read()
{
    std::array<char, 8192> message;
    while (recv(m_socket.get(), message.data(), message.size(), 0) > 0 || errno == ENOBUFS ||
           errno == EINTR) {
    }
    m_changed();
}

} // namespace vesk::dnssd
