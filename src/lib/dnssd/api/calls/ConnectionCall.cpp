// SPDX-License-Identifier: MIT
#include "NoThrow.h"
#include "StartCall.h"

using namespace vesk::dnssd;

DNSServiceErrorType DNSServiceCreateConnection(DNSServiceRef* sdRef)
{
    return withoutExceptions([&]() -> DNSServiceErrorType {
        if (!sdRef)
            return kDNSServiceErr_BadParam;
        return StartCall(sdRef, 0).start([](auto replies, DNSServiceRef handle) {
            handle->kind = _DNSServiceRef_t::Kind::Connection;
            return std::make_shared<SilentOperation>(replies);
        });
    });
}
