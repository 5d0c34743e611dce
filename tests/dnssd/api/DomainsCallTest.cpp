// SPDX-License-Identifier: MIT
#include "PlayedNetwork.h"
#include "StartErrors.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

using DomainsCall = PlayedNetwork;

} // namespace

TEST_F(DomainsCall, ReportsTheLinksDomain)
{
    for (const DNSServiceFlags kind : {kDNSServiceFlagsBrowseDomains, kDNSServiceFlagsRegistrationDomains}) {
        std::vector<std::pair<DNSServiceFlags, std::string>> seen;
        DNSServiceRef ref = nullptr;
        ASSERT_EQ(
            DNSServiceEnumerateDomains(
                &ref, kind, 0,
                [](DNSServiceRef, DNSServiceFlags flags, uint32_t, DNSServiceErrorType, const char* domain,
                   void* list) { static_cast<decltype(seen)*>(list)->emplace_back(flags, domain); },
                &seen),
            kDNSServiceErr_NoError);
        settle();
        EXPECT_EQ(DNSServiceProcessResult(ref), kDNSServiceErr_NoError);
        DNSServiceRefDeallocate(ref);
        ASSERT_EQ(seen.size(), 1U);
        EXPECT_EQ(seen[0].first, DNSServiceFlags(kDNSServiceFlagsAdd));
        EXPECT_EQ(seen[0].second, "local.");
    }
}

TEST_F(DomainsCall, RefusesNeitherAndBothKinds)
{
    DNSServiceRef ref = UnreadRef;
    const auto ignore = [](DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                           void*) {};
    EXPECT_EQ(DNSServiceEnumerateDomains(&ref, 0, 0, ignore, nullptr), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceEnumerateDomains(&ref,
                                         kDNSServiceFlagsBrowseDomains | kDNSServiceFlagsRegistrationDomains,
                                         0, ignore, nullptr),
              kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceEnumerateDomains(&ref, kDNSServiceFlagsBrowseDomains, 0, nullptr, nullptr),
              kDNSServiceErr_BadParam);
    EXPECT_EQ(ref, UnreadRef) << "the reference is left as it was";
}

TEST_F(DomainsCall, TakesInterfacesThatExistAndRefusesOthers)
{
    const auto ignore = [](DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                           void*) {};
    const auto error = [&](uint32_t interface) {
        DNSServiceRef ref = UnreadRef;
        const auto result =
            DNSServiceEnumerateDomains(&ref, kDNSServiceFlagsBrowseDomains, interface, ignore, nullptr);
        if (result != kDNSServiceErr_NoError)
            EXPECT_EQ(ref, nullptr);
        else
            DNSServiceRefDeallocate(ref);
        return result;
    };
    for (const uint32_t taken :
         {uint32_t(kDNSServiceInterfaceIndexAny), Loopback, uint32_t(kDNSServiceInterfaceIndexLocalOnly),
          uint32_t(kDNSServiceInterfaceIndexP2P)})
        EXPECT_EQ(error(taken), kDNSServiceErr_NoError) << taken;
    for (const uint32_t refused : {NoInterface, uint32_t(kDNSServiceInterfaceIndexUnicast)})
        EXPECT_EQ(error(refused), kDNSServiceErr_BadParam) << refused;
}
