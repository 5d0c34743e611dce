// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_FOLLOWER_H
#define VESK_TESTS_FOLLOWER_H

#include "dns_sd.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace vesk::dnssd::tests {

/**
 * An application that follows up whatever it is told of: it resolves an instance, looks up the address, and
 * then watches the TXT record, with a descriptor for each. It never tries anything again.
 */
class Follower
{
public:
    explicit Follower(const char* type, DNSServiceRef connection = nullptr)
        : m_connection(connection)
        , m_browse(connection)
    {
        EXPECT_EQ(DNSServiceBrowse(&m_browse, flags(), 0, type, nullptr, onBrowsed, this),
                  kDNSServiceErr_NoError);
    }
    ~Follower()
    {
        for (auto& instance : m_instances)
            instance.second.release();
        DNSServiceRefDeallocate(m_browse);
    }
    Follower(const Follower&) = delete;
    Follower& operator=(const Follower&) = delete;

    /// Hands over what there is, one reply of each handle at a time. False: there was nothing.
    bool process()
    {
        bool isAny = handOver(m_connection ? m_connection : m_browse);
        std::vector<std::string> names;
        for (const auto& instance : m_instances)
            names.push_back(instance.first);
        for (const std::string& name : names) {
            const auto place = m_instances.find(name);
            for (DNSServiceRef ref :
                 place == m_instances.end() ? std::vector<DNSServiceRef>() : place->second.refs())
                isAny = handOver(ref) || isAny;
        }
        return isAny;
    }

    /// Gives up the resolves that have had no answer, as after a while.
    void giveUp()
    {
        for (auto& [name, instance] : m_instances) {
            if (instance.resolve && !instance.address)
                instance.release();
        }
    }

    std::size_t told() const { return m_instances.size(); }
    bool isTold(const std::string& name) const { return m_instances.count(name) > 0; }
    /// Those whose TXT record is watched.
    std::set<std::string> listed() const
    {
        std::set<std::string> names;
        for (const auto& [name, instance] : m_instances) {
            if (instance.txt)
                names.insert(name);
        }
        return names;
    }
    std::size_t failedStarts() const { return m_failedStarts; }
    std::size_t removals() const { return m_removals; }

private:
    struct Followed
    {
        Follower* owner = nullptr;
        std::string name;
        DNSServiceRef resolve = nullptr;
        DNSServiceRef address = nullptr;
        DNSServiceRef txt = nullptr;

        std::vector<DNSServiceRef> refs() const { return {resolve, address, txt}; }
        void release()
        {
            for (DNSServiceRef* ref : {&resolve, &address, &txt})
                DNSServiceRefDeallocate(std::exchange(*ref, nullptr));
        }
    };

    DNSServiceFlags flags() const { return m_connection ? kDNSServiceFlagsShareConnection : 0; }

    bool handOver(DNSServiceRef ref) const
    {
        if (!ref || (m_connection && ref != m_connection))
            return false;
        pollfd readable{DNSServiceRefSockFD(ref), POLLIN, 0};
        return poll(&readable, 1, 0) == 1 && DNSServiceProcessResult(ref) == kDNSServiceErr_NoError;
    }

    template <typename Start>
    DNSServiceRef begin(Start start)
    {
        DNSServiceRef ref = m_connection;
        if (start(&ref) == kDNSServiceErr_NoError)
            return ref;
        ++m_failedStarts;
        return nullptr;
    }

    static void onBrowsed(DNSServiceRef, DNSServiceFlags flags, uint32_t interface, DNSServiceErrorType,
                          const char* name, const char* type, const char* domain, void* context)
    {
        auto& self = *static_cast<Follower*>(context);
        const auto known = self.m_instances.find(name);
        if (!(flags & kDNSServiceFlagsAdd)) {
            ASSERT_NE(known, self.m_instances.end()) << name << " was never told of";
            known->second.release();
            self.m_instances.erase(known);
            ++self.m_removals;
            return;
        }
        ASSERT_EQ(known, self.m_instances.end()) << name << " was told of twice";
        Followed& followed = self.m_instances[name];
        followed.owner = &self;
        followed.name = name;
        followed.resolve = self.begin([&](DNSServiceRef* ref) {
            return DNSServiceResolve(ref, self.flags(), interface, name, type, domain, onResolved, &followed);
        });
    }

    static void onResolved(DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                           const char* host, uint16_t, uint16_t, const unsigned char*, void* context)
    {
        auto& followed = *static_cast<Followed*>(context);
        if (followed.address)
            return;
        followed.address = followed.owner->begin([&](DNSServiceRef* ref) {
            return DNSServiceGetAddrInfo(ref, followed.owner->flags(), 0, kDNSServiceProtocol_IPv4, host,
                                         onAddress, context);
        });
    }

    static void onAddress(DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                          const sockaddr*, uint32_t, void* context)
    {
        auto& followed = *static_cast<Followed*>(context);
        followed.release();
        const std::string fullname = followed.name + "._demo._tcp.local.";
        followed.txt = followed.owner->begin([&](DNSServiceRef* ref) {
            return DNSServiceQueryRecord(
                ref, followed.owner->flags(), 0, fullname.c_str(), kDNSServiceType_TXT, kDNSServiceClass_IN,
                [](DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*, uint16_t,
                   uint16_t, uint16_t, const void*, uint32_t, void*) {},
                nullptr);
        });
    }

    DNSServiceRef m_connection;
    DNSServiceRef m_browse;
    std::map<std::string, Followed> m_instances;
    std::size_t m_failedStarts = 0;
    std::size_t m_removals = 0;
};

} // namespace vesk::dnssd::tests

#endif
