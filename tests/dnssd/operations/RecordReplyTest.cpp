// SPDX-License-Identifier: MIT
#include "RecordReply.h"

#include "Records.h"

#include <gtest/gtest.h>

#include <set>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

RecordReply replyTo(const Record& record, bool isPresent = true, bool isCached = false,
                    bool isRepeated = false)
{
    return RecordReply({record, Transport::IPv4, isPresent, isCached, isRepeated});
}

} // namespace

TEST(RecordReply, SaysWhetherTheRecordIsThere)
{
    const Record record = txtOf("Kitchen", "a");
    EXPECT_EQ(replyTo(record).kind, Reply::Kind::Appeared);
    EXPECT_EQ(replyTo(record).flags, DNSServiceFlags(kDNSServiceFlagsAdd));
    EXPECT_EQ(replyTo(record, false).kind, Reply::Kind::Vanished);
    EXPECT_EQ(replyTo(record, false).flags, 0U);
    EXPECT_EQ(replyTo(record, true, false, true).kind, Reply::Kind::Repeated);
    EXPECT_EQ(replyTo(record, true, false, true).flags, DNSServiceFlags(kDNSServiceFlagsAdd));
}

TEST(RecordReply, SaysWhetherTheRecordWasCached)
{
    const Record record = txtOf("Kitchen", "a");
    EXPECT_EQ(replyTo(record, true, true).flags,
              DNSServiceFlags(kDNSServiceFlagsAdd | kDNSServiceFlagAnsweredFromCache));
    EXPECT_EQ(replyTo(record, false, true).flags, 0U);
}

TEST(RecordReply, HasTheBackendsTimeToLive)
{
    Record record = txtOf("Kitchen", "a");
    record.ttl = 77;
    EXPECT_EQ(replyTo(record).ttl, 77U);
    EXPECT_EQ(replyTo(record, false).ttl, 0U);
}

TEST(RecordReply, HasTheRecommendedTimeToLiveWhereNoneIsKnown)
{
    Record record = txtOf("Kitchen", "a");
    for (const uint16_t type :
         {kDNSServiceType_A, kDNSServiceType_AAAA, kDNSServiceType_SRV, kDNSServiceType_HINFO}) {
        record.type = type;
        EXPECT_EQ(replyTo(record).ttl, 120U) << type;
    }
    for (const uint16_t type : {kDNSServiceType_TXT, kDNSServiceType_PTR, kDNSServiceType_NSEC}) {
        record.type = type;
        EXPECT_EQ(replyTo(record).ttl, 4500U) << type;
    }
}

TEST(RecordReply, IsAboutInterfaceTypeAndData)
{
    std::set<std::string> subjects;
    Record record = txtOf("Kitchen", "a");
    subjects.insert(replyTo(record).subject);
    subjects.insert(replyTo(record, false).subject);
    EXPECT_EQ(subjects.size(), 1U);
    record.interface = Lan2;
    subjects.insert(replyTo(record).subject);
    record.type = kDNSServiceType_A;
    subjects.insert(replyTo(record).subject);
    record.data = "b";
    subjects.insert(replyTo(record).subject);
    EXPECT_EQ(subjects.size(), 4U);
}
