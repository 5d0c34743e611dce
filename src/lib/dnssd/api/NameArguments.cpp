// SPDX-License-Identifier: MIT
#include "NameArguments.h"

namespace vesk::dnssd {

std::optional<Labels> parseQueryName(const char* text)
{
    auto name = parseName(text);
    return name && isText(*name) ? name : std::nullopt;
}

std::optional<Labels> parseDomain(const char* text)
{
    return text && *text ? parseQueryName(text) : Labels{"local"};
}

std::optional<Labels> parseHost(const char* text)
{
    if (!text || !*text)
        return Labels();
    auto host = parseQueryName(text);
    if (host && host->size() == 1)
        host->push_back("local");
    return host;
}

std::string txtArgument(uint16_t size, const void* data)
{
    return size == 0 || !data ? std::string(1, '\0') : std::string(static_cast<const char*>(data), size);
}

} // namespace vesk::dnssd
