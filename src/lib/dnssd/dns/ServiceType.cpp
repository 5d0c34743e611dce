// SPDX-License-Identifier: MIT
#include "ServiceType.h"

#include "Ascii.h"

#include <algorithm>

namespace vesk::dnssd {

namespace {

const Labels TypesInUse{"_services", "_dns-sd", "_udp"};

bool isTransport(std::string_view label)
{
    return equalIgnoringCase(label, "_tcp") || equalIgnoringCase(label, "_udp");
}

bool isPublishableLabel(std::string_view label)
{
    const auto isPlain = [](char c) {
        return (c >= '0' && c <= '9') || (asciiLower(c) >= 'a' && asciiLower(c) <= 'z') || c == '-' ||
               c == '_';
    };
    return label.size() > 1 && label[0] == '_' && label[1] != '-' &&
           std::all_of(label.begin(), label.end(), isPlain);
}

} // namespace

std::optional<ServiceType> ServiceType::parse(std::string_view text)
{
    const std::size_t comma = text.find(',');
    const auto type = parseName(text.substr(0, comma));
    if (!type || !isText(*type))
        return std::nullopt;
    const bool isMeta = canonical(*type) == canonical(TypesInUse);
    if (!isMeta && (type->size() != 2 || type->front().front() != '_' || !isTransport(type->back())))
        return std::nullopt;

    ServiceType result{*type, {}};
    for (std::size_t at = comma; at != std::string_view::npos;) {
        const std::size_t next = text.find(',', at + 1);
        const auto subtype =
            parseName(text.substr(at + 1, next == std::string_view::npos ? next : next - at - 1));
        if (!subtype || subtype->size() != 1 || !isText(*subtype))
            return std::nullopt;
        result.subtypes.push_back(subtype->front());
        at = next;
    }
    return result;
}

bool ServiceType::isPublishable() const
{
    return type.size() == 2 && std::all_of(type.begin(), type.end(), isPublishableLabel);
}

Labels ServiceType::browseName(const Labels& domain) const
{
    const Labels inDomain = type + domain;
    return subtypes.empty() ? inDomain : Labels{subtypes.front(), "_sub"} + inDomain;
}

} // namespace vesk::dnssd
