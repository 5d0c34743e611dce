// SPDX-License-Identifier: MIT
#include "Engine.h"
#include "MemoryBackend.h"
#include "NoThrow.h"
#include "OtherServiceArgument.h"
#include "ProcessEngine.h"

#include <future>

using namespace vesk::dnssd;

namespace {

constexpr auto LongestWait = std::chrono::seconds(10);

/// Has `change(backend)` run on the I/O thread and waits for it, and for what it has posted: the state of the
/// backend and the replies to queries follow a round later.
template <typename Change>
DNSServiceErrorType changeMemory(Change change)
{
    return withoutExceptions([&]() -> DNSServiceErrorType {
        if (chosenBackend() != BackendKind::Memory)
            return kDNSServiceErr_BadState;
        const auto engine = processEngine();
        auto& backend = dynamic_cast<MemoryBackend&>(engine->backend());
        const auto result = std::make_shared<std::promise<DNSServiceErrorType>>();
        auto future = result->get_future();
        EventLoop& loop = engine->loop();
        loop.post([&loop, &backend, change, result] {
            const auto error = withoutExceptions([&] { return change(backend); });
            loop.post([result, error] { result->set_value(error); });
        });
        return future.wait_for(LongestWait) == std::future_status::ready ? future.get()
                                                                         : kDNSServiceErr_Timeout;
    });
}

} // namespace

DNSServiceErrorType VeskDnssdMemoryPublish(const VeskDnssdMemoryService* service)
{
    return withoutExceptions([&]() -> DNSServiceErrorType {
        OtherService other;
        const auto error = service ? parseOtherService(*service, other) : kDNSServiceErr_BadParam;
        if (error)
            return error;
        return changeMemory([other](MemoryBackend& backend) {
            backend.otherHosts().publish(other);
            return kDNSServiceErr_NoError;
        });
    });
}

DNSServiceErrorType VeskDnssdMemoryWithdraw(const char* name, const char* type, uint32_t interfaceIndex)
{
    return withoutExceptions([&]() -> DNSServiceErrorType {
        const auto instance = parseInstance(name, type);
        if (!instance)
            return kDNSServiceErr_BadParam;
        return changeMemory([instance = *instance, interfaceIndex](MemoryBackend& backend) {
            const bool wasThere = backend.otherHosts().withdraw(instance, interfaceIndex);
            return wasThere ? kDNSServiceErr_NoError : kDNSServiceErr_NoSuchName;
        });
    });
}

DNSServiceErrorType VeskDnssdMemorySetConnected(int isConnected)
{
    return changeMemory([isConnected](MemoryBackend& backend) {
        backend.network().setConnected(isConnected != 0);
        return kDNSServiceErr_NoError;
    });
}

DNSServiceErrorType VeskDnssdMemorySetResponding(int isResponding)
{
    return changeMemory([isResponding](MemoryBackend& backend) {
        backend.setResponderThere(isResponding != 0);
        return kDNSServiceErr_NoError;
    });
}

DNSServiceErrorType VeskDnssdMemorySetRefusing(int isRefusing)
{
    return changeMemory([isRefusing](MemoryBackend& backend) {
        backend.setRefusing(isRefusing != 0);
        return kDNSServiceErr_NoError;
    });
}

DNSServiceErrorType VeskDnssdMemoryReset(void)
{
    return changeMemory([](MemoryBackend& backend) {
        backend.otherHosts().withdrawAll();
        backend.network().setConnected(true);
        backend.setResponderThere(true);
        backend.setRefusing(false);
        return kDNSServiceErr_NoError;
    });
}
