// SPDX-License-Identifier: MIT
#include "NoThrow.h"
#include "ServiceType.h"

#include <cstring>

using namespace vesk::dnssd;

DNSServiceErrorType DNSServiceConstructFullName(char* const fullName, const char* const service,
                                                const char* const regtype, const char* const domain)
{
    return withoutExceptions([&]() -> DNSServiceErrorType {
        const auto type = ServiceType::parse(regtype ? regtype : "");
        const auto domainLabels = parseName(domain ? domain : "");
        const std::size_t length = service ? std::strlen(service) : 0;
        if (!fullName || !type || !domainLabels || domainLabels->empty() || length > MaxLabel)
            return kDNSServiceErr_BadParam;
        const Labels name = (length > 0 ? Labels{service} : Labels()) + type->type + *domainLabels;
        if (!fitsWire(name))
            return kDNSServiceErr_BadParam;
        const std::string text = toText(name);
        std::memcpy(fullName, text.c_str(), text.size() + 1);
        return kDNSServiceErr_NoError;
    });
}
