// SPDX-License-Identifier: MIT
#include "AddressOperation.h"
#include "Arguments.h"
#include "BrowseOperation.h"
#include "Engine.h"
#include "Interfaces.h"
#include "RecordOperation.h"
#include "Registration.h"
#include "ResolveOperation.h"
#include "Scope.h"
#include "TxtItems.h"

#include <arpa/inet.h>

#include <cstring>
#include <new>
#include <system_error>

using namespace vesk::dnssd;

struct _DNSServiceRef_t
{
    std::shared_ptr<Mailbox> mailbox;
    std::shared_ptr<Operation> operation;
};

namespace {

/// Makes a handle for the operation that `make(mailbox, handle)` gives, and starts it.
template <typename Make>
DNSServiceErrorType begin(DNSServiceRef* sdRef, Make make)
try {
    Engine& engine = Engine::instance();
    if (!engine.hasBackend())
        return kDNSServiceErr_ServiceNotRunning;
    auto handle = std::make_unique<_DNSServiceRef_t>();
    handle->mailbox = std::make_shared<Mailbox>();
    if (handle->mailbox->descriptor() < 0)
        return kDNSServiceErr_NoMemory;
    handle->operation = make(handle->mailbox, handle.get());
    engine.start(handle->operation);
    *sdRef = handle.release();
    return kDNSServiceErr_NoError;
} catch (const std::bad_alloc&) {
    return kDNSServiceErr_NoMemory;
} catch (const std::system_error&) { // no thread or no descriptor for the engine
    return kDNSServiceErr_NoMemory;
}

DNSServiceErrorType beginSilent(DNSServiceRef* sdRef)
{
    return begin(sdRef,
                 [](auto mailbox, DNSServiceRef) { return std::make_shared<SilentOperation>(mailbox); });
}

/// What every start call checks once its strings are known not to be null.
DNSServiceErrorType prepare(DNSServiceRef* sdRef, DNSServiceFlags flags)
{
    if (flags & kDNSServiceFlagsShareConnection)
        return kDNSServiceErr_Unsupported;
    *sdRef = nullptr;
    return kDNSServiceErr_NoError;
}

/// A host's addresses and single records are asked for on every interface when the one given does not exist.
uint32_t existingInterface(const Scope& scope)
{
    return interfaceExists(scope.interface) ? scope.interface : 0;
}

std::optional<Labels> parseAskable(const char* text)
{
    auto name = parseName(text);
    return name && isAskable(*name) ? name : std::nullopt;
}

/// A host without a domain is one of the link's.
std::optional<Labels> parseHost(const char* text)
{
    if (!text || !*text)
        return Labels();
    auto host = parseAskable(text);
    if (host && host->size() == 1)
        host->push_back("local");
    return host;
}

std::string wireTxt(uint16_t size, const void* data)
{
    // RFC 6763 section 6.1: a TXT record holds at least one string.
    return size == 0 || !data ? std::string(1, '\0') : std::string(static_cast<const char*>(data), size);
}

} // namespace

int DNSServiceRefSockFD(DNSServiceRef sdRef)
{
    return sdRef ? sdRef->mailbox->descriptor() : -1;
}

DNSServiceErrorType DNSServiceProcessResult(DNSServiceRef sdRef)
{
    if (!sdRef)
        return kDNSServiceErr_BadParam;
    // The callback may release the handle.
    const std::shared_ptr<Mailbox> mailbox = sdRef->mailbox;
    const auto delivery = mailbox->take();
    if (!delivery)
        return kDNSServiceErr_BadReference;
    delivery->reply(delivery->moreComing);
    return kDNSServiceErr_NoError;
}

void DNSServiceRefDeallocate(DNSServiceRef sdRef)
{
    if (!sdRef)
        return;
    sdRef->mailbox->close();
    Engine::instance().perform([operation = std::move(sdRef->operation)]() mutable { operation.reset(); });
    delete sdRef;
}

DNSServiceErrorType DNSServiceGetProperty(const char* property, void* result, uint32_t* size)
{
    if (!property || !result || !size)
        return kDNSServiceErr_BadParam;
    if (std::strcmp(property, kDNSServiceProperty_DaemonVersion) != 0)
        return kDNSServiceErr_Unsupported;
    const uint32_t version = _DNS_SD_H;
    if (*size < sizeof version)
        return kDNSServiceErr_BadParam;
    if (!Engine::instance().hasBackend())
        return kDNSServiceErr_ServiceNotRunning;
    std::memcpy(result, &version, sizeof version);
    *size = sizeof version;
    return kDNSServiceErr_NoError;
}

DNSServiceErrorType DNSServiceEnumerateDomains(DNSServiceRef* sdRef, DNSServiceFlags flags,
                                               uint32_t interfaceIndex, DNSServiceDomainEnumReply callBack,
                                               void* context)
{
    if (!sdRef)
        return kDNSServiceErr_BadParam;
    if (const auto error = prepare(sdRef, flags))
        return error;
    const DNSServiceFlags kinds = kDNSServiceFlagsBrowseDomains | kDNSServiceFlagsRegistrationDomains;
    if (!callBack || ((flags & kinds) != kDNSServiceFlagsBrowseDomains &&
                      (flags & kinds) != kDNSServiceFlagsRegistrationDomains))
        return kDNSServiceErr_BadParam;
    if (interfaceIndex == kDNSServiceInterfaceIndexUnicast)
        return kDNSServiceErr_BadParam;
    return begin(sdRef, [&](auto mailbox, DNSServiceRef handle) {
        mailbox->put([callback = Callback<DNSServiceDomainEnumReply>{callBack, handle, context}](
                         DNSServiceFlags moreComing) {
            callback.function(callback.handle, kDNSServiceFlagsAdd | kDNSServiceFlagsDefault | moreComing,
                              kDNSServiceInterfaceIndexAny, kDNSServiceErr_NoError, "local.",
                              callback.context);
        });
        return std::make_shared<SilentOperation>(mailbox);
    });
}

DNSServiceErrorType DNSServiceRegister(DNSServiceRef* sdRef, DNSServiceFlags flags, uint32_t interfaceIndex,
                                       const char* name, const char* regtype, const char* domain,
                                       const char* host, uint16_t port, uint16_t txtLen,
                                       const void* txtRecord, DNSServiceRegisterReply callBack, void* context)
{
    if (!sdRef || !regtype)
        return kDNSServiceErr_BadParam;
    if (const auto error = prepare(sdRef, flags))
        return error;
    const auto type = ServiceType::parse(regtype);
    const auto domainLabels = parseDomain(domain);
    const auto hostLabels = parseHost(host);
    if (!type || !type->isPublishable() || !domainLabels || !hostLabels || (name && !isUtf8(name)) ||
        interfaceIndex == kDNSServiceInterfaceIndexUnicast)
        return kDNSServiceErr_BadParam;
    if (!isWellFormedTxt(txtRecord, txtLen))
        return kDNSServiceErr_Invalid;

    const Scope scope = Scope::of(interfaceIndex);
    Service service{std::string(cutUtf8(name ? name : "", MaxLabel)),
                    type->type,
                    type->subtypes,
                    *domainLabels,
                    *hostLabels,
                    scope.interface,
                    ntohs(port),
                    wireTxt(txtLen, txtRecord)};
    if (!fitsWire(Labels{service.name} + service.type + service.domain))
        return kDNSServiceErr_BadParam;
    const auto onConflict = flags & kDNSServiceFlagsNoAutoRename ? Registration::OnConflict::Report
                                                                 : Registration::OnConflict::Rename;
    return begin(sdRef, [&](auto mailbox, DNSServiceRef handle) {
        return std::make_shared<Registration>(mailbox, std::move(service), onConflict,
                                              Callback<DNSServiceRegisterReply>{callBack, handle, context});
    });
}

DNSServiceErrorType DNSServiceUpdateRecord(DNSServiceRef sdRef, DNSRecordRef recordRef, DNSServiceFlags,
                                           uint16_t rdlen, const void* rdata, uint32_t)
{
    if (!sdRef)
        return kDNSServiceErr_BadParam;
    const auto registration = std::dynamic_pointer_cast<Registration>(sdRef->operation);
    if (!registration || recordRef)
        return kDNSServiceErr_BadReference;
    if (!isWellFormedTxt(rdata, rdlen))
        return kDNSServiceErr_Invalid;
    Engine::instance().perform([registration, txt = wireTxt(rdlen, rdata)] { registration->update(txt); });
    return kDNSServiceErr_NoError;
}

DNSServiceErrorType DNSServiceBrowse(DNSServiceRef* sdRef, DNSServiceFlags flags, uint32_t interfaceIndex,
                                     const char* regtype, const char* domain, DNSServiceBrowseReply callBack,
                                     void* context)
{
    if (!sdRef || !regtype)
        return kDNSServiceErr_BadParam;
    if (const auto error = prepare(sdRef, flags))
        return error;
    const auto type = ServiceType::parse(regtype);
    const auto domainLabels = parseDomain(domain);
    if (!callBack || !type || !domainLabels || interfaceIndex == kDNSServiceInterfaceIndexUnicast)
        return kDNSServiceErr_BadParam;
    const Labels instances = type->browseName(*domainLabels);
    if (!fitsWire(instances))
        return kDNSServiceErr_BadParam;
    const Scope scope = Scope::of(interfaceIndex);
    if (scope.kind == Scope::Nowhere)
        return beginSilent(sdRef);
    return begin(sdRef, [&](auto mailbox, DNSServiceRef handle) {
        return std::make_shared<BrowseOperation>(mailbox, instances, scope,
                                                 Callback<DNSServiceBrowseReply>{callBack, handle, context});
    });
}

DNSServiceErrorType DNSServiceResolve(DNSServiceRef* sdRef, DNSServiceFlags flags, uint32_t interfaceIndex,
                                      const char* name, const char* regtype, const char* domain,
                                      DNSServiceResolveReply callBack, void* context)
{
    if (!sdRef || !name || !regtype || !domain)
        return kDNSServiceErr_BadParam;
    if (const auto error = prepare(sdRef, flags))
        return error;
    const auto type = ServiceType::parse(regtype);
    const auto domainLabels = *domain ? parseDomain(domain) : std::nullopt;
    if (!callBack || !type || !domainLabels || std::strlen(name) > MaxLabel || !isUtf8(name) ||
        interfaceIndex == kDNSServiceInterfaceIndexUnicast)
        return kDNSServiceErr_BadParam;
    const Labels instance = Labels{name} + type->type + *domainLabels;
    if (!fitsWire(instance))
        return kDNSServiceErr_BadParam;
    const Scope scope = Scope::of(interfaceIndex);
    if (!*name || scope.kind == Scope::Nowhere)
        return beginSilent(sdRef);
    return begin(sdRef, [&](auto mailbox, DNSServiceRef handle) {
        return std::make_shared<ResolveOperation>(
            mailbox, instance, scope, Callback<DNSServiceResolveReply>{callBack, handle, context});
    });
}

DNSServiceErrorType DNSServiceGetAddrInfo(DNSServiceRef* sdRef, DNSServiceFlags flags,
                                          uint32_t interfaceIndex, DNSServiceProtocol protocol,
                                          const char* hostname, DNSServiceGetAddrInfoReply callBack,
                                          void* context)
{
    if (!sdRef || !hostname)
        return kDNSServiceErr_BadParam;
    if (const auto error = prepare(sdRef, flags))
        return error;
    const DNSServiceProtocol both = kDNSServiceProtocol_IPv4 | kDNSServiceProtocol_IPv6;
    const auto host = parseAskable(hostname);
    if (!callBack || !host || (protocol & ~both) || interfaceIndex == kDNSServiceInterfaceIndexUnicast)
        return kDNSServiceErr_BadParam;
    const Scope scope = Scope::of(interfaceIndex);
    if (host->empty() || scope.kind != Scope::Links)
        return beginSilent(sdRef);
    return begin(sdRef, [&](auto mailbox, DNSServiceRef handle) {
        return std::make_shared<AddressOperation>(
            mailbox, *host, existingInterface(scope), protocol == 0 ? both : protocol,
            Callback<DNSServiceGetAddrInfoReply>{callBack, handle, context});
    });
}

DNSServiceErrorType DNSServiceQueryRecord(DNSServiceRef* sdRef, DNSServiceFlags flags,
                                          uint32_t interfaceIndex, const char* fullname, uint16_t rrtype,
                                          uint16_t rrclass, DNSServiceQueryRecordReply callBack,
                                          void* context)
{
    if (!sdRef)
        return kDNSServiceErr_BadParam;
    if (const auto error = prepare(sdRef, flags))
        return error;
    const auto name = parseAskable(fullname ? fullname : "");
    if (!callBack || !name || interfaceIndex == kDNSServiceInterfaceIndexUnicast)
        return kDNSServiceErr_BadParam;
    const Scope scope = Scope::of(interfaceIndex);
    if (name->empty() || rrclass != kDNSServiceClass_IN || scope.kind != Scope::Links)
        return beginSilent(sdRef);
    return begin(sdRef, [&](auto mailbox, DNSServiceRef handle) {
        return std::make_shared<RecordOperation>(
            mailbox, Query{*name, rrtype, rrclass, existingInterface(scope), {}},
            Callback<DNSServiceQueryRecordReply>{callBack, handle, context});
    });
}

DNSServiceErrorType DNSServiceConstructFullName(char* const fullName, const char* const service,
                                                const char* const regtype, const char* const domain)
{
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
}
