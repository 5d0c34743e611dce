// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_API_H
#define VESK_BENCH_API_H

#include <dlfcn.h>
#include <dns_sd.h>

#include <stdexcept>
#include <string>

namespace bench {

/// The calls of one implementation of the API. Those it lacks are null.
struct Api
{
    explicit Api(const std::string& file)
        : library(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL))
    {
        if (!library)
            throw std::runtime_error(dlerror());
        load(browse, "DNSServiceBrowse");
        load(resolve, "DNSServiceResolve");
        load(addresses, "DNSServiceGetAddrInfo");
        load(query, "DNSServiceQueryRecord");
        load(descriptor, "DNSServiceRefSockFD");
        load(process, "DNSServiceProcessResult");
        load(release, "DNSServiceRefDeallocate");
        load(publish, "DNSServiceRegister");
    }

    template <typename Function>
    void load(Function*& function, const char* name)
    {
        function = reinterpret_cast<Function*>(dlsym(library, name));
    }

    void* library;
    decltype(DNSServiceBrowse)* browse;
    decltype(DNSServiceResolve)* resolve;
    decltype(DNSServiceGetAddrInfo)* addresses;
    decltype(DNSServiceQueryRecord)* query;
    decltype(DNSServiceRefSockFD)* descriptor;
    decltype(DNSServiceProcessResult)* process;
    decltype(DNSServiceRefDeallocate)* release;
    decltype(DNSServiceRegister)* publish;
};

} // namespace bench

#endif
