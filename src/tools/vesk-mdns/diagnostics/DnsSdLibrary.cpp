// SPDX-License-Identifier: MIT
#include "DnsSdLibrary.h"

#include "SystemBus.h"

#include <dlfcn.h>
#include <dns_sd.h>

bool isLibraryOverAvahi()
{
    return VESK_DNSSD_OVER_AVAHI;
}

bool isBusMissing()
{
    return isLibraryOverAvahi() && !isSystemBusListening();
}

QString libraryFile()
{
    Dl_info info = {};
    dladdr(reinterpret_cast<const void*>(&DNSServiceBrowse), &info);
    return QString::fromLocal8Bit(info.dli_fname);
}
