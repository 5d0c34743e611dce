// SPDX-License-Identifier: MIT
#include "InterfaceAddresses.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace vesk::dnssd;

namespace {

constexpr uint32_t Lan1 = 11;
constexpr uint32_t Lan2 = 12;

/// An address that is told apart by its last byte.
InterfaceAddress address(uint32_t interface, std::size_t bytes, char last, bool isPreferred)
{
    return {interface, std::string(bytes - 1, '\1') + last, isPreferred};
}
InterfaceAddress ipv4(uint32_t interface, char last, bool isPreferred = true)
{
    return address(interface, 4, last, isPreferred);
}
InterfaceAddress ipv6(uint32_t interface, char last, bool isPreferred = true)
{
    return address(interface, 16, last, isPreferred);
}

std::string lastBytes(const std::vector<InterfaceAddress>& addresses)
{
    std::string last;
    for (const InterfaceAddress& one : addresses)
        last += one.bytes.back();
    return last;
}

} // namespace

TEST(PublishedAddresses, AreThePreferredOnesOfEachInterfaceAndFamily)
{
    EXPECT_EQ(lastBytes(publishedAddresses({ipv4(Lan1, 'a'), ipv4(Lan1, 'b', false), ipv4(Lan1, 'c')})),
              "ac");
}

TEST(PublishedAddresses, AreAllWhereNoneIsPreferred)
{
    EXPECT_EQ(lastBytes(publishedAddresses({ipv6(Lan1, 'a', false), ipv6(Lan1, 'b', false)})), "ab");
}

TEST(PublishedAddresses, OfOneInterfaceOrFamilyDoNotDependOnAnother)
{
    EXPECT_EQ(
        lastBytes(publishedAddresses({ipv4(Lan1, 'a'), ipv6(Lan1, 'b', false), ipv4(Lan2, 'c', false)})),
        "abc");
}

TEST(InterfaceAddresses, ToldByTheKernelAreThoseOfLoopback)
{
    const auto addresses = readInterfaceAddresses();
    ASSERT_TRUE(addresses);
    const std::string localhost{127, 0, 0, 1};
    const auto known = std::find_if(addresses->begin(), addresses->end(),
                                    [&](const auto& one) { return one.bytes == localhost; });
    ASSERT_NE(known, addresses->end()) << "is loopback up?";
    EXPECT_FALSE(known->isPreferred) << "it is of no use beyond this host";
}
