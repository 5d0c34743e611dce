// SPDX-License-Identifier: MIT
#include "CoreRecord.h"

#include "AvahiEncoding.h"
#include "SrvData.h"
#include "dns_sd.h"

#include <gtest/gtest.h>

using namespace vesk::dnssd;
using namespace std::string_literals;

namespace {

constexpr uint32_t Ttl = 75;

} // namespace

TEST(CoreKey, IsMadeOfValidNamesAlone)
{
    EXPECT_TRUE(makeKey("kitchen.local", kDNSServiceClass_IN, kDNSServiceType_A));
    EXPECT_FALSE(makeKey("kitchen..local", kDNSServiceClass_IN, kDNSServiceType_A));
    EXPECT_FALSE(makeKey(std::string(64, 'a'), kDNSServiceClass_IN, kDNSServiceType_A));
    EXPECT_FALSE(makeKey("kitchen\\", kDNSServiceClass_IN, kDNSServiceType_A));
}

/// Whatever a name holds, it is a key or none: what libavahi-core does not expect ends the process.
TEST(CoreKey, IsMadeOfEveryByteOrNotAtAll)
{
    for (int byte = 0; byte <= 255; ++byte) {
        for (const std::size_t length : {1, 63}) {
            const Labels name{std::string(length, static_cast<char>(byte)), "_demo", "_tcp", "local"};
            const CoreKey key = makeKey(toAvahiText(name), kDNSServiceClass_IN, kDNSServiceType_SRV);
            if (key) {
                EXPECT_EQ(parseName(key->name), name) << byte;
            }
        }
    }
    EXPECT_TRUE(makeKey(toAvahiText({"\xC3\xA4", "local"}), kDNSServiceClass_IN, kDNSServiceType_A));
}

TEST(CoreRecord, KeepsItsDataAndTtl)
{
    const std::string srv = SrvData{8080, {"hosta", "local"}}.toWire();
    for (const auto& [type, data] :
         {std::pair(kDNSServiceType_A, "\12\0\0\1"s), std::pair(kDNSServiceType_TXT, "\3a=1\4bare"s),
          std::pair(kDNSServiceType_SRV, srv), std::pair(kDNSServiceType_PTR, toWire({"hosta", "local"})),
          std::pair(kDNSServiceType_AAAA, std::string(16, '\1')), std::pair(kDNSServiceType_NULL, "any"s)}) {
        const CoreRecord record = makeRecord("kitchen.local", static_cast<uint16_t>(type), Ttl, data);
        ASSERT_TRUE(record) << type;
        EXPECT_EQ(record->ttl, Ttl);
        EXPECT_EQ(dataOf(*record), data) << type;
    }
}

TEST(CoreRecord, IsNotMadeOfDataThatIsNoneOfItsType)
{
    EXPECT_FALSE(makeRecord("kitchen.local", kDNSServiceType_A, Ttl, "123"));
    EXPECT_FALSE(makeRecord("kitchen.local", kDNSServiceType_SRV, Ttl, ""));
    EXPECT_FALSE(makeRecord("kitchen.local", kDNSServiceType_PTR, Ttl, "\5host"));
}
