// SPDX-License-Identifier: MIT
#include "AvahiEncoding.h"

#include "Ascii.h"
#include "TxtParser.h"

namespace vesk::dnssd {

namespace {

bool isPlain(char c)
{
    return (c >= '0' && c <= '9') || c == '-' || c == '_' || (asciiLower(c) >= 'a' && asciiLower(c) <= 'z');
}

} // namespace

std::string toAvahiText(const Labels& name)
{
    std::string text;
    for (const std::string& label : name) {
        for (const char c : label)
            text += isPlain(c) ? std::string(1, c) : decimalEscape(c);
        text += '.';
    }
    if (!text.empty())
        text.pop_back();
    return text;
}

AvahiIfIndex toAvahiInterface(uint32_t interface)
{
    return interface == 0 ? AVAHI_IF_UNSPEC : static_cast<AvahiIfIndex>(interface);
}

AvahiProtocol toAvahiProtocol(std::optional<Transport> transport)
{
    if (!transport)
        return AVAHI_PROTO_UNSPEC;
    return *transport == Transport::IPv4 ? AVAHI_PROTO_INET : AVAHI_PROTO_INET6;
}

AvahiTxt toAvahiTxt(const std::string& wire)
{
    AvahiTxt list(nullptr, avahi_string_list_free);
    TxtParser items(wire.data(), wire.size());
    while (const auto item = items.next()) {
        if (item->whole.empty())
            continue;
        const auto* bytes = reinterpret_cast<const uint8_t*>(item->whole.data());
        list.reset(avahi_string_list_add_arbitrary(list.release(), bytes, item->whole.size()));
    }
    return list;
}

/// The daemon sends its list, which it keeps back to front, and libavahi turns it round once more.
std::string fromAvahiTxt(const AvahiStringList* items)
{
    std::string wire;
    for (; items; items = items->next) {
        wire += static_cast<char>(items->size);
        wire.append(reinterpret_cast<const char*>(items->text), items->size);
    }
    return wire.empty() ? std::string(1, '\0') : wire;
}

std::string fromAvahiAddress(const AvahiAddress* address)
{
    if (!address)
        return {};
    const auto* bytes = reinterpret_cast<const char*>(address->data.data);
    return std::string(bytes, address->proto == AVAHI_PROTO_INET ? sizeof(AvahiIPv4Address)
                                                                 : sizeof(AvahiIPv6Address));
}

} // namespace vesk::dnssd
