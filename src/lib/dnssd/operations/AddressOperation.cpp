// SPDX-License-Identifier: MIT
#include "AddressOperation.h"

#include "ErrorNumber.h"
#include "OperationTimeout.h"
#include "RecordReply.h"

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

AddressOperation::AddressOperation(std::shared_ptr<ReplyQueue> replies, Labels host, uint32_t interface,
                                   DNSServiceProtocol protocol, bool timesOut,
                                   Callback<DNSServiceGetAddrInfoReply> callback)
    : Operation(std::move(replies))
    , m_host(std::move(host))
    , m_interface(interface)
    , m_protocol(protocol)
    , m_timesOut(timesOut)
    , m_callback(callback)
{
}

void AddressOperation::start(const OperationContext& context)
{
    if (m_timesOut) { // first: a query may fail at once
        m_timeout.emplace(context.loop, [this] {
            if (m_protocol & kDNSServiceProtocol_IPv4)
                reportTimeout(AF_INET);
            if (m_protocol & kDNSServiceProtocol_IPv6)
                reportTimeout(AF_INET6);
        });
        m_timeout->start(OperationTime);
    }
    const auto subscribe = [&](uint16_t type) {
        return context.queries.subscribe({m_host, type, kDNSServiceClass_IN, m_interface, {}}, *this);
    };
    if (m_protocol & kDNSServiceProtocol_IPv4)
        m_ipv4 = subscribe(kDNSServiceType_A);
    if (m_protocol & kDNSServiceProtocol_IPv6)
        m_ipv6 = subscribe(kDNSServiceType_AAAA);
}

void AddressOperation::reportTimeout(int family)
{
    SocketAddress address;
    std::memset(&address, 0, sizeof address);
    address.any.sa_family = static_cast<sa_family_t>(family);
    reply({Reply::Kind::Lasting,
           {},
           [callback = m_callback, host = toText(m_host), address](DNSServiceFlags moreComing) {
               callback.function(callback.handle, kDNSServiceFlagsAdd | moreComing, 0, kDNSServiceErr_Timeout,
                                 host.c_str(), &address.any, TimeoutTtl, callback.context);
           }});
}

void AddressOperation::onRecord(const RecordEvent& event)
{
    const auto address = readAddress(event.record);
    if (!address || m_hasFailed)
        return;
    RecordReply fields(event);
    reply({fields.kind, std::move(fields.subject),
           [callback = m_callback, flags = fields.flags, ttl = fields.ttl, interface = event.record.interface,
            host = toText(event.record.name), address = *address](DNSServiceFlags moreComing) {
               callback.function(callback.handle, flags | moreComing, interface, kDNSServiceErr_NoError,
                                 host.c_str(), &address.any, ttl, callback.context);
           }});
}

/// Of the two queries the first that fails speaks for both.
void AddressOperation::onQueryFailed(BackendError error)
{
    if (!m_hasFailed)
        fail(errorNumber(error));
}

void AddressOperation::fail(DNSServiceErrorType error)
{
    m_hasFailed = true;
    m_timeout.reset();
    reply({Reply::Kind::Lasting, {}, [callback = m_callback, error](DNSServiceFlags moreComing) {
               callback.function(callback.handle, moreComing, 0, error, "", nullptr, 0, callback.context);
           }});
}

} // namespace vesk::dnssd
