// SPDX-License-Identifier: MIT
#include "Api.h"
#include "Lister.h"

#include <malloc.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <list>
#include <map>
#include <thread>
#include <utility>

namespace bench {

using namespace std::chrono_literals;

namespace {

/// Browses, resolves, looks up the address, drops resolver and lookup, then watches the TXT record.
class ApiLister
{
public:
    ApiLister(const std::string& library, unsigned instances)
        : m_api(library)
        , m_wanted(instances)
        , m_epoll(epoll_create1(EPOLL_CLOEXEC))
    {
    }
    ~ApiLister() { close(m_epoll); }

    /// To be called once.
    Outcome run(std::chrono::seconds limit)
    {
        const auto begin = std::chrono::steady_clock::now();
        if (m_api.browse(&m_browse.handle, 0, 0, ServiceType, nullptr, browsed, this) ==
            kDNSServiceErr_NoError)
            watch(m_browse);
        while (m_complete < m_wanted && std::chrono::steady_clock::now() - begin < limit)
            pump();
        const auto time = std::chrono::steady_clock::now() - begin;
        return {m_complete, time, Usage::now()};
    }

    void releaseAll()
    {
        drop(m_browse);
        for (auto& [name, instance] : m_instances) {
            drop(instance.resolve);
            drop(instance.addresses);
            drop(instance.text);
        }
        m_instances.clear();
    }

private:
    struct Operation
    {
        DNSServiceRef handle = nullptr;
    };
    struct Instance
    {
        ApiLister* lister;
        Operation resolve;
        Operation addresses;
        Operation text;
        std::string fullName;
        uint32_t interface = 0;
        bool hasText = false;
    };

    void watch(Operation& operation)
    {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.ptr = &operation;
        epoll_ctl(m_epoll, EPOLL_CTL_ADD, m_api.descriptor(operation.handle), &event);
    }

    void drop(Operation& operation)
    {
        if (!operation.handle)
            return;
        epoll_ctl(m_epoll, EPOLL_CTL_DEL, m_api.descriptor(operation.handle), nullptr);
        m_api.release(operation.handle);
        operation.handle = nullptr;
    }

    /// One event at a time: a callback may drop any operation.
    void pump()
    {
        epoll_event event;
        if (epoll_wait(m_epoll, &event, 1, 20) == 1)
            m_api.process(static_cast<Operation*>(event.data.ptr)->handle);
    }

    static void browsed(DNSServiceRef, DNSServiceFlags flags, uint32_t interface, DNSServiceErrorType,
                        const char* name, const char* type, const char* domain, void* context)
    {
        auto* lister = static_cast<ApiLister*>(context);
        if ((flags & kDNSServiceFlagsAdd) == 0 || lister->m_instances.count(name) > 0)
            return;
        Instance& instance = lister->m_instances[name];
        instance.lister = lister;
        instance.interface = interface;
        if (lister->m_api.resolve(&instance.resolve.handle, 0, interface, name, type, domain, resolved,
                                  &instance) == 0)
            lister->watch(instance.resolve);
    }

    static void resolved(DNSServiceRef, DNSServiceFlags, uint32_t interface, DNSServiceErrorType error,
                         const char* fullName, const char* host, uint16_t, uint16_t, const unsigned char*,
                         void* context)
    {
        auto* instance = static_cast<Instance*>(context);
        ApiLister& lister = *instance->lister;
        if (error != kDNSServiceErr_NoError || instance->addresses.handle || instance->text.handle)
            return;
        instance->fullName = fullName;
        if (!lister.m_api.addresses)
            lister.watchText(*instance);
        else if (lister.m_api.addresses(&instance->addresses.handle, 0, interface, 0, host, found,
                                        instance) == 0)
            lister.watch(instance->addresses);
    }

    static void found(DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType error, const char*,
                      const sockaddr*, uint32_t, void* context)
    {
        auto* instance = static_cast<Instance*>(context);
        if (error == kDNSServiceErr_NoError && !instance->text.handle)
            instance->lister->watchText(*instance);
    }

    void watchText(Instance& instance)
    {
        drop(instance.resolve);
        drop(instance.addresses);
        const DNSServiceFlags flags = m_api.addresses ? kDNSServiceFlagsForceMulticast : 0;
        if (m_api.query(&instance.text.handle, flags, instance.interface, instance.fullName.c_str(),
                        kDNSServiceType_TXT, kDNSServiceClass_IN, textFound,
                        &instance) == kDNSServiceErr_NoError)
            watch(instance.text);
    }

    static void textFound(DNSServiceRef, DNSServiceFlags flags, uint32_t, DNSServiceErrorType, const char*,
                          uint16_t, uint16_t, uint16_t, const void*, uint32_t, void* context)
    {
        auto* instance = static_cast<Instance*>(context);
        if ((flags & kDNSServiceFlagsAdd) == 0 || std::exchange(instance->hasText, true))
            return;
        ++instance->lister->m_complete;
    }

    Api m_api;
    unsigned m_wanted;
    unsigned m_complete = 0;
    int m_epoll;
    Operation m_browse;
    std::map<std::string, Instance> m_instances;
};

} // namespace

Outcome listByApi(const std::string& library, unsigned instances, std::chrono::seconds limit)
{
    return ApiLister(library, instances).run(limit);
}

std::vector<Stage> watchAndRelease(const std::string& library, unsigned instances, std::chrono::seconds limit)
{
    ApiLister lister(library, instances);
    std::vector<Stage> stages{{"before", Usage::now()}};
    const Outcome outcome = lister.run(limit);
    stages.push_back({std::to_string(outcome.complete) + " complete", outcome.usage});
    std::this_thread::sleep_for(2s);
    stages.push_back({"held for 2 s", Usage::now()});
    lister.releaseAll();
    for (const int seconds : {0, 1, 4}) {
        std::this_thread::sleep_for(std::chrono::seconds(seconds));
        stages.push_back({"and " + std::to_string(seconds) + " s after the release", Usage::now()});
    }
    malloc_trim(0); // what is freed already, malloc keeps for the next one that needs it
    stages.push_back({"after malloc_trim()", Usage::now()});
    return stages;
}

} // namespace bench
