// SPDX-License-Identifier: MIT
#include "OtherServiceArgument.h"

#include "NameArguments.h"
#include "ServiceType.h"
#include "TxtParser.h"
#include "Utf8.h"

#include <arpa/inet.h>

namespace vesk::dnssd {

namespace {

const Labels Domain{"local"};
constexpr char DefaultAddress[] = "192.0.2.1"; // for documentation, RFC 5737: it leads nowhere

std::optional<ServiceType> parseType(const char* text)
{
    auto type = text ? ServiceType::parse(text) : std::nullopt;
    return type && type->isPublishable() ? type : std::nullopt;
}

bool isInstanceName(const char* name)
{
    return name && *name && isUtf8(name) && std::string_view(name).size() <= MaxLabel;
}

std::optional<std::string> parseAddress(const char* text)
{
    char address[sizeof(in6_addr)];
    if (text && inet_pton(AF_INET, text, address) == 1)
        return std::string(address, sizeof(in_addr));
    if (text && inet_pton(AF_INET6, text, address) == 1)
        return std::string(address, sizeof(in6_addr));
    return std::nullopt;
}

std::optional<std::vector<std::string>> parseAddresses(const VeskDnssdMemoryService& argument)
{
    if (!argument.addresses)
        return std::vector{*parseAddress(DefaultAddress)};
    std::vector<std::string> addresses;
    for (uint32_t i = 0; i < argument.addressCount; ++i) {
        const auto address = parseAddress(argument.addresses[i]);
        if (!address)
            return std::nullopt;
        addresses.push_back(*address);
    }
    return addresses;
}

} // namespace

std::optional<Labels> parseInstance(const char* name, const char* type)
{
    const auto parsedType = parseType(type);
    if (!parsedType || !isInstanceName(name))
        return std::nullopt;
    Labels instance = Labels{name} + parsedType->type + Domain;
    return fitsWire(instance) ? std::optional(std::move(instance)) : std::nullopt;
}

DNSServiceErrorType parseOtherService(const VeskDnssdMemoryService& argument, OtherService& result)
{
    const auto addresses = parseAddresses(argument);
    const auto host = parseHost(argument.host);
    if (!parseInstance(argument.name, argument.type) || !addresses || !host)
        return kDNSServiceErr_BadParam;
    if (!isWellFormedTxt(argument.txtRecord, argument.txtLen))
        return kDNSServiceErr_Invalid;
    const ServiceType type = *parseType(argument.type);
    const Labels ownHost{argument.name, "local"};
    const Service service{argument.name,
                          type.type,
                          type.subtypes,
                          Domain,
                          host->empty() ? ownHost : *host,
                          argument.interfaceIndex,
                          ntohs(argument.port),
                          txtArgument(argument.txtLen, argument.txtRecord)};
    result = OtherService{service, *addresses};
    return kDNSServiceErr_NoError;
}

} // namespace vesk::dnssd
