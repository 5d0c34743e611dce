// SPDX-License-Identifier: MIT
#include "PlayedNetwork.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

using AddressCall = PlayedNetwork;

} // namespace

TEST_F(AddressCall, GivesLinkLocalAddressesTheirInterfaceAsScope)
{
    Addresses addresses("HOSTB.Local", 0);
    const std::string linkLocal{"\xFE\x80\0\0\0\0\0\0\0\0\0\0\0\0\0\1", 16};
    const std::string routable{"\xFD\x99\0\0\0\0\0\0\0\0\0\0\0\0\0\2", 16};
    backend().come(address(kDNSServiceType_AAAA, linkLocal, Lan1));
    backend().come(address(kDNSServiceType_AAAA, linkLocal, Lan2));
    backend().come(address(kDNSServiceType_AAAA, routable, Lan2));
    backend().come(address(kDNSServiceType_A, std::string("\x0A\x63\x01\x02"), Lan1));
    settle(addresses);
    ASSERT_EQ(addresses.replies.size(), 4U);
    EXPECT_EQ(addresses.replies[0].address, "fe80::1%11");
    EXPECT_EQ(addresses.replies[1].address, "fe80::1%12");
    EXPECT_EQ(addresses.replies[2].address, "fd99::2");
    EXPECT_EQ(addresses.replies[3].address, "10.99.1.2");
    for (const auto& reply : addresses.replies) {
        EXPECT_EQ(reply.host, "hostb.local.");
        EXPECT_EQ(reply.port, 0);
        EXPECT_EQ(reply.flags & kDNSServiceFlagsAdd, DNSServiceFlags(kDNSServiceFlagsAdd));
        EXPECT_GT(reply.ttl, 0U);
    }
    backend().go(address(kDNSServiceType_AAAA, routable, Lan2));
    settle(addresses);
    ASSERT_EQ(addresses.replies.size(), 5U);
    EXPECT_EQ(addresses.replies[4].flags, 0U);
    EXPECT_EQ(addresses.replies[4].ttl, 0U);
}

TEST_F(AddressCall, ReportsTheFamilyAskedForAlone)
{
    Addresses only4("hostb.local", kDNSServiceProtocol_IPv4);
    Addresses only6("hostb.local", kDNSServiceProtocol_IPv6);
    backend().come(address(kDNSServiceType_A, "abcd"));
    backend().come(address(kDNSServiceType_AAAA, "abcdefghijklmnop"));
    settle(only4);
    settle(only6);
    ASSERT_EQ(only4.replies.size(), 1U);
    EXPECT_EQ(only4.replies[0].address, "97.98.99.100");
    ASSERT_EQ(only6.replies.size(), 1U);
    EXPECT_EQ(only6.replies[0].address, "6162:6364:6566:6768:696a:6b6c:6d6e:6f70");
}

TEST_F(AddressCall, IgnoresAddressesOfAnotherLength)
{
    Addresses addresses("hostb.local");
    for (const char* data : {"", "abc", "abcde"})
        backend().come(address(kDNSServiceType_A, data));
    for (const char* data : {"", "abcd", "abcdefghijklmno", "abcdefghijklmnopq"})
        backend().come(address(kDNSServiceType_AAAA, data));
    settle(addresses);
    EXPECT_TRUE(addresses.replies.empty());
}

TEST_F(AddressCall, ReportsOnceForEachFamilyThatItsTimeIsOver)
{
    using namespace std::chrono_literals;
    Addresses both("hostb.local", 0, 0, kDNSServiceFlagsTimeout);
    Addresses only6("hostb.local", kDNSServiceProtocol_IPv6, 0, kDNSServiceFlagsTimeout);
    advance(4999ms);
    settle(both);
    EXPECT_TRUE(both.replies.empty());
    advance(1ms);
    settle(both);
    settle(only6);
    ASSERT_EQ(both.replies.size(), 2U);
    EXPECT_EQ(both.replies[0].address, "0.0.0.0");
    EXPECT_EQ(both.replies[1].address, "::");
    for (const auto& reply : both.replies) {
        EXPECT_EQ(reply.error, kDNSServiceErr_Timeout);
        EXPECT_EQ(reply.interface, 0U);
    }
    ASSERT_EQ(only6.replies.size(), 1U);
    EXPECT_EQ(only6.replies[0].address, "::");
}
