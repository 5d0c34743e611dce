// SPDX-License-Identifier: MIT
#include "PlayedNetwork.h"
#include "StartErrors.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

using namespace std::chrono_literals;
using QueryCall = PlayedNetwork;

/// NSEC data that says that a name has TXT and SRV records alone, as one packet has it: the name is
/// compressed.
const std::string OnlyTxtAndSrv("\xC0\x0C\0\5\0\0\x80\0\x40", 9);

Record nsecOf(const std::string& name, uint32_t interface = Lan1)
{
    return {Labels{name} + DemoType, kDNSServiceType_NSEC, kDNSServiceClass_IN, interface, OnlyTxtAndSrv};
}

} // namespace

TEST_F(QueryCall, ReportsRecordsThatComeAndGoWithTheirData)
{
    RecordQuery query("Kitchen._demo._tcp.local.", kDNSServiceType_TXT);
    const std::string large(65535, '\0');
    backend().come(txtOf("Kitchen", large));
    backend().go(txtOf("Kitchen", large));
    settle(query);
    ASSERT_EQ(query.replies.size(), 2U);
    EXPECT_EQ(query.replies[0].flags, 3U);
    EXPECT_EQ(query.replies[0].data, large);
    EXPECT_GT(query.replies[0].ttl, 0U);
    EXPECT_EQ(query.replies[1].flags, 0U);
    EXPECT_EQ(query.replies[1].data, large);
    EXPECT_EQ(query.replies[1].ttl, 0U);
}

TEST_F(QueryCall, TakesAnInterfaceThatDoesNotExistForAny)
{
    RecordQuery query("Kitchen._demo._tcp.local", 16, 0, NoInterface);
    Addresses addresses("hostb.local", 0, NoInterface);
    backend().come(txtOf("Kitchen", "\3a=1"));
    backend().come(address(kDNSServiceType_A, "abcd"));
    settle(query);
    settle(addresses);
    EXPECT_EQ(query.replies.size(), 1U);
    EXPECT_EQ(addresses.replies.size(), 1U);
}

TEST_F(QueryCall, StaysSilentAboutThisHostAlone)
{
    RecordQuery query("Kitchen._demo._tcp.local", 16, 0, kDNSServiceInterfaceIndexLocalOnly);
    Addresses addresses("hostb.local", 0, kDNSServiceInterfaceIndexLocalOnly);
    backend().come(txtOf("Kitchen", "\3a=1", Loopback));
    backend().come(address(kDNSServiceType_A, "abcd", Loopback));
    settle(query);
    settle(addresses);
    EXPECT_TRUE(query.replies.empty());
    EXPECT_TRUE(addresses.replies.empty());
}

TEST_F(QueryCall, TakesEveryWayToWriteAName)
{
    const std::string name = "Big R\xC3\xB6"
                             "om";
    backend().come(txtOf(name, "\3a=1"));
    for (const char* text :
         {"Big R\xC3\xB6"
          "om._demo._tcp.local",
          "Big R\xC3\xB6"
          "om._demo._tcp.local.",
          "Big\\032R\xC3\xB6"
          "om._demo._tcp.local.",
          "Big\\032R\\195\\182om._demo._tcp.local", "BIG r\\195\\182OM._DEMO._tcp.LOCAL."}) {
        RecordQuery query(text, kDNSServiceType_TXT);
        settle(query);
        ASSERT_EQ(query.replies.size(), 1U) << text;
        EXPECT_EQ(query.replies[0].fullname, "Big\\032R\xC3\xB6"
                                             "om._demo._tcp.local.");
    }
}

TEST_F(QueryCall, ReportsOnceAfterFiveSecondsThatItsTimeIsOver)
{
    RecordQuery query("Kitchen._demo._tcp.local", kDNSServiceType_TXT, kDNSServiceFlagsTimeout);
    backend().come(txtOf("Kitchen", "\3a=1"));
    settle(query);
    ASSERT_EQ(query.replies.size(), 1U);
    advance(4999ms);
    settle(query);
    EXPECT_EQ(query.replies.size(), 1U);
    advance(1ms);
    settle(query);
    ASSERT_EQ(query.replies.size(), 2U) << "also when the record has been found";
    EXPECT_EQ(query.replies[1].flags, DNSServiceFlags(kDNSServiceFlagsAdd));
    EXPECT_EQ(query.replies[1].error, kDNSServiceErr_Timeout);
    EXPECT_EQ(query.replies[1].interface, 0U);
    EXPECT_EQ(query.replies[1].data, "");
    EXPECT_EQ(query.replies[1].ttl, 60U);
    advance(60s);
    settle(query);
    EXPECT_EQ(query.replies.size(), 2U);
}

TEST_F(QueryCall, ReportsNoTimeoutWithoutTheFlag)
{
    RecordQuery query("Kitchen._demo._tcp.local", kDNSServiceType_TXT);
    advance(60s);
    settle(query);
    EXPECT_TRUE(query.replies.empty());
}

TEST_F(QueryCall, ReportsRecordsOfEveryTypeForAny)
{
    RecordQuery query("Kitchen._demo._tcp.local", kDNSServiceType_ANY);
    backend().come(txtOf("Kitchen", "\3a=1"));
    backend().come(service("Kitchen", {"hostb", "local"}, 80));
    settle(query);
    ASSERT_EQ(query.replies.size(), 2U);
    EXPECT_EQ(query.replies[0].type, uint16_t(kDNSServiceType_TXT));
    EXPECT_EQ(query.replies[1].type, uint16_t(kDNSServiceType_SRV));
    for (const auto& reply : query.replies)
        EXPECT_EQ(reply.error, kDNSServiceErr_NoError);
}

TEST_F(QueryCall, ReportsOneRefusalForAny)
{
    backend().failStarts(BackendError::Refused);
    RecordQuery query("Kitchen._demo._tcp.local", kDNSServiceType_ANY);
    settle(query);
    ASSERT_EQ(query.replies.size(), 1U);
    EXPECT_EQ(query.replies[0].error, kDNSServiceErr_Refused);
}

TEST_F(QueryCall, ReportsAbsenceOnEachInterfaceWhereAHostDeniesTheType)
{
    RecordQuery query("Kitchen._demo._tcp.local", kDNSServiceType_HINFO, kDNSServiceFlagsReturnIntermediates);
    backend().come(nsecOf("Kitchen", Lan1));
    backend().come(nsecOf("Kitchen", Lan2));
    settle(query);
    ASSERT_EQ(query.replies.size(), 2U);
    for (const auto& reply : query.replies) {
        EXPECT_EQ(reply.error, kDNSServiceErr_NoSuchRecord);
        EXPECT_EQ(reply.type, uint16_t(kDNSServiceType_HINFO));
        EXPECT_EQ(reply.data, "");
        EXPECT_EQ(reply.ttl, 1U);
    }
    EXPECT_EQ(query.replies[0].interface, Lan1);
    EXPECT_EQ(query.replies[1].interface, Lan2);
}

TEST_F(QueryCall, ReportsNoAbsenceOfATypeThatTheNameHas)
{
    RecordQuery query("Kitchen._demo._tcp.local", kDNSServiceType_TXT, kDNSServiceFlagsReturnIntermediates);
    backend().come(nsecOf("Kitchen"));
    settle(query);
    EXPECT_TRUE(query.replies.empty());
}

TEST_F(QueryCall, ReportsNoAbsenceWithoutTheFlag)
{
    RecordQuery query("Kitchen._demo._tcp.local", kDNSServiceType_HINFO);
    backend().come(nsecOf("Kitchen"));
    settle(query);
    EXPECT_TRUE(query.replies.empty());
}

TEST_F(QueryCall, ExpandsTheNameInNsecData)
{
    RecordQuery query("Kitchen._demo._tcp.local", kDNSServiceType_NSEC);
    backend().come(nsecOf("Kitchen"));
    settle(query);
    ASSERT_EQ(query.replies.size(), 1U);
    EXPECT_EQ(query.replies[0].data, toWire(Labels{"Kitchen"} + DemoType) + OnlyTxtAndSrv.substr(2));
}
