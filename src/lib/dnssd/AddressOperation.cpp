// SPDX-License-Identifier: MIT
#include "AddressOperation.h"

#include "RecordOperation.h"

#include <netinet/in.h>

#include <cstring>

namespace vesk::dnssd {

namespace {

union SocketAddress {
    sockaddr any;
    sockaddr_in ipv4;
    sockaddr_in6 ipv6;
};

std::optional<SocketAddress> readAddress(const Record& record)
{
    SocketAddress address;
    std::memset(&address, 0, sizeof address);
    if (record.type == kDNSServiceType_A && record.data.size() == sizeof(in_addr)) {
        address.ipv4.sin_family = AF_INET;
        std::memcpy(&address.ipv4.sin_addr, record.data.data(), sizeof(in_addr));
        return address;
    }
    if (record.type == kDNSServiceType_AAAA && record.data.size() == sizeof(in6_addr)) {
        address.ipv6.sin6_family = AF_INET6;
        std::memcpy(&address.ipv6.sin6_addr, record.data.data(), sizeof(in6_addr));
        if (IN6_IS_ADDR_LINKLOCAL(&address.ipv6.sin6_addr))
            address.ipv6.sin6_scope_id = record.interface;
        return address;
    }
    return std::nullopt;
}

} // namespace

AddressOperation::AddressOperation(std::shared_ptr<Mailbox> mailbox, Labels host, uint32_t interface,
                                   DNSServiceProtocol protocol, Callback<DNSServiceGetAddrInfoReply> callback)
    : Operation(std::move(mailbox))
    , m_host(std::move(host))
    , m_interface(interface)
    , m_protocol(protocol)
    , m_callback(callback)
{
}

void AddressOperation::start(const Rooms& rooms)
{
    const auto ask = [&](uint16_t type) {
        return rooms.questions.ask({m_host, type, kDNSServiceClass_IN, m_interface, {}}, *this);
    };
    if (m_protocol & kDNSServiceProtocol_IPv4)
        m_ipv4Seat = ask(kDNSServiceType_A);
    if (m_protocol & kDNSServiceProtocol_IPv6)
        m_ipv6Seat = ask(kDNSServiceType_AAAA);
}

void AddressOperation::answered(const Record& record, bool present, bool cached)
{
    const auto address = readAddress(record);
    if (!address)
        return;
    reply([callback = m_callback, fields = RecordReply::of(record, present, cached),
           interface = record.interface, host = toText(record.name),
           address = *address](DNSServiceFlags moreComing) {
        callback.function(callback.handle, fields.flags | moreComing, interface, kDNSServiceErr_NoError,
                          host.c_str(), &address.any, fields.ttl, callback.context);
    });
}

void AddressOperation::refused()
{
    reply([callback = m_callback](DNSServiceFlags moreComing) {
        callback.function(callback.handle, moreComing, 0, kDNSServiceErr_Refused, "", nullptr, 0,
                          callback.context);
    });
}

} // namespace vesk::dnssd
