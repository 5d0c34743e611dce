// SPDX-License-Identifier: MIT
#include "AvahiEncoding.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace vesk::dnssd;
using namespace std::string_literals;

TEST(AvahiText, OfANameIsReadBack)
{
    for (const std::string& label :
         {"Kitchen"s, "Dr. Who\\x"s, ".lead"s, "trail."s, "endbs\\"s, "d123\\123"s, "q\"uo'te;()@$,&<>"s,
          "  lead"s, "a\tb"s, "nul\0x"s, "del\x7F"s, "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x8D\xB5"s, "\xFF\xFE"s})
        EXPECT_EQ(parseName(toAvahiText({label, "x"})), (Labels{label, "x"})) << label;
}

TEST(AvahiText, HoldsEveryByteInPrintableAscii)
{
    for (int byte = 0; byte <= 255; ++byte) {
        const Labels name{std::string(63, static_cast<char>(byte)), "_demo", "_tcp", "local"};
        const std::string text = toAvahiText(name);
        EXPECT_EQ(parseName(text), name) << byte;
        EXPECT_TRUE(std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 0x7F; }))
            << byte;
    }
}

namespace {

/// The daemon hands the list over the other way round.
std::string handedOver(const std::string& wire)
{
    AvahiTxt list = toAvahiTxt(wire);
    list.reset(avahi_string_list_reverse(list.release()));
    return fromAvahiTxt(list.get());
}

} // namespace

TEST(AvahiText, OfATxtRecordIsReadBackWithoutEmptyItems)
{
    EXPECT_EQ(handedOver("\3a=1\4bare\2c="), "\3a=1\4bare\2c=");
    EXPECT_EQ(handedOver("\3a=1\0\1b"s), "\3a=1\1b");
    EXPECT_EQ(handedOver(std::string(1, '\0')), std::string(1, '\0'));
    EXPECT_EQ(fromAvahiTxt(nullptr), std::string(1, '\0'));
}

TEST(AvahiText, HasNumbersForAnyInterfaceAndTransport)
{
    EXPECT_EQ(toAvahiInterface(0), AVAHI_IF_UNSPEC);
    EXPECT_EQ(toAvahiInterface(3), 3);
    EXPECT_EQ(toAvahiProtocol(std::nullopt), AVAHI_PROTO_UNSPEC);
    EXPECT_EQ(toAvahiProtocol(Transport::IPv4), AVAHI_PROTO_INET);
    EXPECT_EQ(toAvahiProtocol(Transport::IPv6), AVAHI_PROTO_INET6);
}
