// SPDX-License-Identifier: MIT
#include "DnsSdLibrary.h"

#include "SystemBus.h"

#include <dlfcn.h>
#include <dns_sd.h>
#include <optional>

#if __has_include(<vesk_dnssd.h>)
#include <vesk_dnssd.h>
#endif

#ifdef kVeskDnssdProperty_Backend

static std::optional<VeskDnssdBackendInfo> backendInfo()
{
    VeskDnssdBackendInfo info = {};
    std::uint32_t size = sizeof info;
    if (DNSServiceGetProperty(kVeskDnssdProperty_Backend, &info, &size) != kDNSServiceErr_NoError)
        return std::nullopt;
    return info;
}

Backend backendInUse()
{
    switch (backendInfo().value_or(VeskDnssdBackendInfo{}).inUse) {
    case kVeskDnssdBackend_Daemon:
        return Backend::Daemon;
    case kVeskDnssdBackend_Process:
        return Backend::Process;
    case kVeskDnssdBackend_Memory:
        return Backend::Memory;
    default:
        return Backend::Unknown;
    }
}

bool isBackendByDefault()
{
    return backendInfo().value_or(VeskDnssdBackendInfo{}).chosen == kVeskDnssdBackend_Auto;
}

#else

Backend backendInUse()
{
    return Backend::Unknown;
}

bool isBackendByDefault()
{
    return true;
}

#endif

bool chooseBackend(const QString& name)
{
    qputenv("VESK_DNSSD_BACKEND", name.toLatin1());
    return backendInUse() != Backend::Unknown;
}

bool isBusMissing()
{
    return backendInUse() == Backend::Daemon && !isSystemBusListening();
}

QString libraryFile()
{
    Dl_info info = {};
    dladdr(reinterpret_cast<const void*>(&DNSServiceBrowse), &info);
    return QString::fromLocal8Bit(info.dli_fname);
}
