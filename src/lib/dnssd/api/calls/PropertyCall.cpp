// SPDX-License-Identifier: MIT
#include "Engine.h"
#include "NoThrow.h"
#include "ProcessEngine.h"

#include "vesk_dnssd.h"

#include <cstring>

using namespace vesk::dnssd;

namespace {

template <typename Value>
DNSServiceErrorType giveProperty(const Value& value, void* result, uint32_t* size)
{
    if (*size < sizeof value)
        return kDNSServiceErr_BadParam;
    std::memcpy(result, &value, sizeof value);
    *size = sizeof value;
    return kDNSServiceErr_NoError;
}

VeskDnssdListing currentListing()
{
    const auto listing = processEngine()->admission()->listing();
    return {listing.listed, listing.known, listing.silent, DescriptorBudget::limit()};
}

static_assert(int(Backend::State::Absent) == kVeskDnssdBackendState_Absent &&
              int(Backend::State::Answering) == kVeskDnssdBackendState_Answering &&
              int(Backend::State::Running) == kVeskDnssdBackendState_Running);

VeskDnssdBackendInfo currentBackend()
{
    const auto engine = processEngineIfAny();
    const auto state = engine ? engine->backendState() : Backend::State::Absent;
    const auto chosen = static_cast<VeskDnssdBackend>(chosenBackend());
    const VeskDnssdBackend daemon = kVeskDnssdBackend_Daemon;
    const auto inUse = chosen == kVeskDnssdBackend_Auto ? daemon : chosen;
    return {chosen, inUse, static_cast<VeskDnssdBackendState>(state)};
}

} // namespace

DNSServiceErrorType DNSServiceGetProperty(const char* property, void* result, uint32_t* size)
{
    return withoutExceptions([&]() -> DNSServiceErrorType {
        if (!property || !result || !size)
            return kDNSServiceErr_BadParam;
        if (std::strcmp(property, kVeskDnssdProperty_Listing) == 0)
            return giveProperty(currentListing(), result, size);
        if (std::strcmp(property, kVeskDnssdProperty_Backend) == 0)
            return giveProperty(currentBackend(), result, size);
        if (std::strcmp(property, kDNSServiceProperty_DaemonVersion) != 0)
            return kDNSServiceErr_Unsupported;
        const uint32_t version = _DNS_SD_H;
        if (*size < sizeof version)
            return kDNSServiceErr_BadParam;
        if (!processEngine()->isBackendReachable())
            return kDNSServiceErr_ServiceNotRunning;
        return giveProperty(version, result, size);
    });
}
