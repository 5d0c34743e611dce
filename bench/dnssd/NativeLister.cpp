// SPDX-License-Identifier: MIT
#include "Lister.h"
#include "Poll.h"

#include <avahi-client/lookup.h>
#include <avahi-common/domain.h>
#include <avahi-common/malloc.h>

#include <map>
#include <set>
#include <utility>
#include <vector>

namespace bench {

namespace {

class NativeLister
{
public:
    NativeLister(NativeMethod method, unsigned instances)
        : m_method(method)
        , m_wanted(instances)
    {
        m_clients.push_back(connect(m_poll));
    }

    Outcome run(std::chrono::seconds limit)
    {
        const auto begin = std::chrono::steady_clock::now();
        avahi_service_browser_new(m_clients.back().get(), AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, ServiceType,
                                  nullptr, AvahiLookupFlags(0), browsed, this);
        m_poll.runUntil(begin + limit, [this] { return m_complete >= m_wanted; });
        const auto time = std::chrono::steady_clock::now() - begin;
        return {m_complete, time, Usage::now()};
    }

private:
    struct Instance
    {
        NativeLister* lister;
        bool service = false;
        bool text = false;
        bool counted = false;
    };

    /// Makes an object on the last connection, or on a further one when that is full.
    template <typename Make>
    auto make(Make make)
    {
        auto object = make(m_clients.back().get());
        if (!object) {
            m_clients.push_back(connect(m_poll));
            object = make(m_clients.back().get());
        }
        return object;
    }

    static void browsed(AvahiServiceBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                        AvahiBrowserEvent event, const char* name, const char* type, const char* domain,
                        AvahiLookupResultFlags, void* self)
    {
        if (event == AVAHI_BROWSER_NEW)
            static_cast<NativeLister*>(self)->found(interface, protocol, name, type, domain);
    }

    void found(AvahiIfIndex interface, AvahiProtocol protocol, const char* name, const char* type,
               const char* domain)
    {
        const auto [entry, isNew] = m_instances.try_emplace(std::string(name), Instance{this});
        if (!isNew)
            return; // the same by the other protocol
        Instance* instance = &entry->second;
        if (m_method != NativeMethod::KeepRecords) {
            make([&](AvahiClient* client) {
                return avahi_service_resolver_new(client, interface, protocol, name, type, domain,
                                                  AVAHI_PROTO_UNSPEC, AvahiLookupFlags(0), resolved,
                                                  instance);
            });
            return;
        }
        char full[AVAHI_DOMAIN_NAME_MAX];
        avahi_service_name_join(full, sizeof full, name, type, domain);
        for (const uint16_t recordType : {33, 16})
            make([&](AvahiClient* client) {
                return avahi_record_browser_new(client, interface, protocol, full, 1, recordType,
                                                AvahiLookupFlags(0), record, instance);
            });
    }

    static void resolved(AvahiServiceResolver* resolver, AvahiIfIndex, AvahiProtocol,
                         AvahiResolverEvent event, const char*, const char*, const char*, const char*,
                         const AvahiAddress*, uint16_t, AvahiStringList*, AvahiLookupResultFlags, void* data)
    {
        auto* instance = static_cast<Instance*>(data);
        if (event != AVAHI_RESOLVER_FOUND)
            return;
        instance->lister->count(*instance);
        if (instance->lister->m_method == NativeMethod::ReleaseResolvers)
            avahi_service_resolver_free(resolver);
    }

    static void record(AvahiRecordBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                       AvahiBrowserEvent event, const char*, uint16_t, uint16_t type, const void* rdata,
                       size_t size, AvahiLookupResultFlags, void* data)
    {
        if (event != AVAHI_BROWSER_NEW)
            return;
        auto* instance = static_cast<Instance*>(data);
        if (type == 33) {
            instance->service = true;
            instance->lister->lookUpHost(interface, protocol,
                                         std::string(static_cast<const char*>(rdata), size));
        } else {
            instance->text = true;
        }
        if (instance->service && instance->text)
            instance->lister->count(*instance);
    }

    /// Once per host, identified by its name in wire format.
    void lookUpHost(AvahiIfIndex interface, AvahiProtocol protocol, const std::string& serviceData)
    {
        std::string host;
        for (std::size_t at = 6; at < serviceData.size() && serviceData[at] != 0; at += 1 + serviceData[at])
            host += serviceData.substr(at + 1, serviceData[at]) + '.';
        if (!m_hosts.insert(host).second)
            return;
        host.pop_back();
        const auto ignore = [](AvahiHostNameResolver*, AvahiIfIndex, AvahiProtocol, AvahiResolverEvent,
                               const char*, const AvahiAddress*, AvahiLookupResultFlags, void*) {};
        make([&](AvahiClient* client) {
            return avahi_host_name_resolver_new(client, interface, protocol, host.c_str(), AVAHI_PROTO_UNSPEC,
                                                AvahiLookupFlags(0), ignore, nullptr);
        });
    }

    void count(Instance& instance)
    {
        if (!std::exchange(instance.counted, true))
            ++m_complete;
    }

    NativeMethod m_method;
    unsigned m_wanted;
    unsigned m_complete = 0;
    Poll m_poll;
    std::vector<Client> m_clients;
    std::map<std::string, Instance> m_instances;
    std::set<std::string> m_hosts;
};

} // namespace

Outcome listNatively(NativeMethod method, unsigned instances, std::chrono::seconds limit)
{
    return NativeLister(method, instances).run(limit);
}

} // namespace bench
