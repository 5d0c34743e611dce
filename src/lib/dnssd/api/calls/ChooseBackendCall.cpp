// SPDX-License-Identifier: MIT
#include "NoThrow.h"
#include "ProcessEngine.h"

#include "vesk_dnssd.h"

using namespace vesk::dnssd;

static_assert(int(BackendKind::Auto) == kVeskDnssdBackend_Auto &&
              int(BackendKind::Daemon) == kVeskDnssdBackend_Daemon &&
              int(BackendKind::Process) == kVeskDnssdBackend_Process &&
              int(BackendKind::Memory) == kVeskDnssdBackend_Memory);

DNSServiceErrorType VeskDnssdChooseBackend(VeskDnssdBackend backend)
{
    return withoutExceptions([&]() -> DNSServiceErrorType {
        if (backend > kVeskDnssdBackend_Memory)
            return kDNSServiceErr_BadParam;
        const auto kind = static_cast<BackendKind>(backend);
        if (!backendFactory(kind))
            return kDNSServiceErr_Unsupported;
        return chooseBackend(kind) ? kDNSServiceErr_NoError : kDNSServiceErr_BadState;
    });
}
