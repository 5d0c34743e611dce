// SPDX-License-Identifier: MIT
#include "Handles.h"

#include <arpa/inet.h>
#include <poll.h>

#include <tuple>

namespace vesk::dnssd::tests {

namespace {

std::string text(const char* string)
{
    return string ? string : "(null)";
}

std::string bytes(const void* data, uint16_t size)
{
    return data ? std::string(static_cast<const char*>(data), size) : std::string();
}

template <typename Operation>
Operation& of(void* context)
{
    return *static_cast<Operation*>(context);
}

std::string addressText(const sockaddr* address)
{
    char buffer[INET6_ADDRSTRLEN] = "";
    if (address && address->sa_family == AF_INET) {
        inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(address)->sin_addr, buffer, sizeof buffer);
    } else if (address && address->sa_family == AF_INET6) {
        const auto* ipv6 = reinterpret_cast<const sockaddr_in6*>(address);
        inet_ntop(AF_INET6, &ipv6->sin6_addr, buffer, sizeof buffer);
        if (ipv6->sin6_scope_id != 0)
            return std::string(buffer) + '%' + std::to_string(ipv6->sin6_scope_id);
    }
    return buffer;
}

uint16_t addressPort(const sockaddr* address)
{
    if (!address)
        return 0;
    return address->sa_family == AF_INET ? reinterpret_cast<const sockaddr_in*>(address)->sin_port
                                         : reinterpret_cast<const sockaddr_in6*>(address)->sin6_port;
}

} // namespace

Handle::~Handle()
{
    release();
}

void Handle::release()
{
    DNSServiceRefDeallocate(m_ref);
    m_ref = nullptr;
}

bool Handle::isReadable() const
{
    pollfd descriptor{DNSServiceRefSockFD(m_ref), POLLIN, 0};
    return m_ref && poll(&descriptor, 1, 0) == 1;
}

void Handle::process()
{
    while (isReadable())
        DNSServiceProcessResult(m_ref);
}

bool waitUntil(const std::vector<Handle*>& handles, const std::function<bool()>& condition,
               std::chrono::milliseconds time)
{
    const auto deadline = std::chrono::steady_clock::now() + time;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::vector<pollfd> descriptors;
        for (const Handle* handle : handles)
            descriptors.push_back({DNSServiceRefSockFD(handle->ref()), POLLIN, 0});
        poll(descriptors.data(), descriptors.size(), 20);
        for (Handle* handle : handles)
            handle->process();
    }
    return true;
}

bool Instance::operator<(const Instance& other) const
{
    return std::tie(name, type, domain, interface) <
           std::tie(other.name, other.type, other.domain, other.interface);
}

bool Instance::operator==(const Instance& other) const
{
    return !(*this < other) && !(other < *this);
}

Browse::Browse(const char* type, uint32_t interface, const char* domain, DNSServiceFlags flags)
{
    started(DNSServiceBrowse(
        &m_ref, flags, interface, type, domain,
        [](DNSServiceRef, DNSServiceFlags replyFlags, uint32_t index, DNSServiceErrorType error,
           const char* name, const char* regtype, const char* replyDomain, void* self) {
            of<Browse>(self).events.push_back(
                {replyFlags, error, {text(name), text(regtype), text(replyDomain), index}});
        },
        this));
}

std::multiset<Instance> Browse::present() const
{
    std::multiset<Instance> instances;
    for (const Event& event : events) {
        if (event.isAdd()) {
            instances.insert(event.instance);
        } else {
            const auto found = instances.find(event.instance);
            if (found != instances.end())
                instances.erase(found);
        }
    }
    return instances;
}

bool Browse::has(const std::string& name) const
{
    return count(name, true) > count(name, false);
}

std::size_t Browse::count(const std::string& name, bool added) const
{
    std::size_t result = 0;
    for (const Event& event : events)
        result += event.instance.name == name && event.isAdd() == added ? 1 : 0;
    return result;
}

Resolve::Resolve(const char* name, const char* type, const char* domain, uint32_t interface)
{
    started(DNSServiceResolve(
        &m_ref, 0, interface, name, type, domain,
        [](DNSServiceRef, DNSServiceFlags flags, uint32_t index, DNSServiceErrorType error,
           const char* fullname, const char* host, uint16_t port, uint16_t txtLen,
           const unsigned char* txtRecord, void* self) {
            of<Resolve>(self).replies.push_back(
                {flags, index, error, text(fullname), text(host), ntohs(port), bytes(txtRecord, txtLen)});
        },
        this));
}

Addresses::Addresses(const char* host, DNSServiceProtocol protocol, uint32_t interface,
                     DNSServiceFlags startFlags)
{
    started(DNSServiceGetAddrInfo(
        &m_ref, startFlags, interface, protocol, host,
        [](DNSServiceRef, DNSServiceFlags flags, uint32_t index, DNSServiceErrorType error,
           const char* hostname, const sockaddr* address, uint32_t ttl, void* self) {
            of<Addresses>(self).replies.push_back(
                {flags, index, error, text(hostname), addressText(address), addressPort(address), ttl});
        },
        this));
}

RecordQuery::RecordQuery(const char* fullname, uint16_t type, DNSServiceFlags flags, uint32_t interface,
                         uint16_t recordClass)
{
    started(DNSServiceQueryRecord(
        &m_ref, flags, interface, fullname, type, recordClass,
        [](DNSServiceRef, DNSServiceFlags replyFlags, uint32_t index, DNSServiceErrorType error,
           const char* name, uint16_t rrtype, uint16_t, uint16_t size, const void* data, uint32_t ttl,
           void* self) {
            of<RecordQuery>(self).replies.push_back(
                {replyFlags, index, error, text(name), rrtype, bytes(data, size), ttl});
        },
        this));
}

std::multiset<std::string> RecordQuery::present(uint32_t interface) const
{
    std::multiset<std::string> records;
    for (const Reply& reply : replies) {
        if (reply.interface != interface)
            continue;
        if (reply.flags & kDNSServiceFlagsAdd) {
            records.insert(reply.data);
        } else {
            const auto found = records.find(reply.data);
            if (found != records.end())
                records.erase(found);
        }
    }
    return records;
}

Registration::Registration(const char* name, const char* type, uint16_t port, const std::string& txt,
                           DNSServiceFlags flags, const char* domain, const char* host, uint32_t interface)
{
    started(DNSServiceRegister(
        &m_ref, flags, interface, name, type, domain, host, htons(port), static_cast<uint16_t>(txt.size()),
        txt.empty() ? nullptr : txt.data(),
        [](DNSServiceRef, DNSServiceFlags replyFlags, DNSServiceErrorType error, const char* newName,
           const char* regtype, const char* replyDomain, void* self) {
            of<Registration>(self).replies.push_back(
                {replyFlags, error, text(newName), text(regtype), text(replyDomain)});
        },
        this));
}

DNSServiceErrorType Registration::update(const std::string& txt) const
{
    return DNSServiceUpdateRecord(ref(), nullptr, 0, static_cast<uint16_t>(txt.size()), txt.data(), 0);
}

} // namespace vesk::dnssd::tests
