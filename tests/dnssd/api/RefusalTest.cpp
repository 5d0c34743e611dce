// SPDX-License-Identifier: MIT
//
// What becomes of operations that the daemon does not start.
#include "PlayedNetwork.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

using Refusal = PlayedNetwork;

} // namespace

TEST_F(Refusal, IsReportedByEveryCall)
{
    backend().failStarts(BackendError::Refused);
    RecordQuery query("a.local.", kDNSServiceType_TXT);
    Browse browse("_refused._tcp");
    Resolve resolve("a", "_refused._tcp", "local");
    Addresses addresses("a.local", kDNSServiceProtocol_IPv4);
    Registration registration("Kitchen", "_demo._tcp", 80);
    settle(query);
    settle(browse);
    settle(resolve);
    settle(addresses);
    settle(registration);
    ASSERT_EQ(query.replies.size(), 1U);
    EXPECT_EQ(query.replies[0].error, kDNSServiceErr_Refused);
    ASSERT_EQ(browse.events.size(), 1U);
    EXPECT_EQ(browse.events[0].error, kDNSServiceErr_Refused);
    EXPECT_EQ(browse.events[0].instance.name, "") << "strings are there, though empty";
    ASSERT_EQ(resolve.replies.size(), 1U) << "both of its queries were refused";
    EXPECT_EQ(resolve.replies[0].error, kDNSServiceErr_Refused);
    ASSERT_EQ(addresses.replies.size(), 1U);
    EXPECT_EQ(addresses.replies[0].error, kDNSServiceErr_Refused);
    ASSERT_EQ(registration.replies.size(), 1U);
    EXPECT_EQ(registration.replies[0].error, kDNSServiceErr_Refused);
}

TEST_F(Refusal, HasTheNumberOfItsReason)
{
    const std::vector<std::pair<BackendError, DNSServiceErrorType>> numbers{
        {BackendError::NotPermitted, kDNSServiceErr_NotPermitted},
        {BackendError::NoMemory, kDNSServiceErr_NoMemory},
        {BackendError::BadName, kDNSServiceErr_BadParam},
        {BackendError::Failed, kDNSServiceErr_Unknown}};
    for (const auto& [error, number] : numbers) {
        backend().failStarts(error);
        RecordQuery query("a.local.", kDNSServiceType_TXT);
        settle(query);
        ASSERT_EQ(query.replies.size(), 1U) << number;
        EXPECT_EQ(query.replies[0].error, number);
    }
}

TEST_F(Refusal, EndsTheSubscription)
{
    backend().failStarts(BackendError::Refused);
    RecordQuery refused("Kitchen._demo._tcp.local.", kDNSServiceType_TXT);
    settle(refused);
    ASSERT_EQ(refused.replies.size(), 1U);

    backend().failStarts(BackendError::None);
    backend().come(txtOf("Kitchen", "\3a=1"));
    backend().change(Backend::State::Absent);
    backend().change(Backend::State::Running);
    advance(1min);
    settle(refused);
    EXPECT_EQ(refused.replies.size(), 1U);
}

TEST_F(Refusal, IsNotRepeatedToTheFirstWhenAnotherAsksTheSame)
{
    backend().failStarts(BackendError::Refused);
    RecordQuery first("Kitchen._demo._tcp.local.", kDNSServiceType_TXT);
    RecordQuery second("Kitchen._demo._tcp.local.", kDNSServiceType_TXT);
    settle(first);
    settle(second);
    EXPECT_EQ(first.replies.size(), 1U);
    EXPECT_EQ(second.replies.size(), 1U);

    backend().failStarts(BackendError::None);
    RecordQuery third("Kitchen._demo._tcp.local.", kDNSServiceType_TXT);
    backend().come(txtOf("Kitchen", "\3a=1"));
    settle(first);
    settle(second);
    settle(third);
    EXPECT_EQ(first.replies.size(), 1U);
    EXPECT_EQ(second.replies.size(), 1U);
    ASSERT_EQ(third.replies.size(), 1U);
    EXPECT_EQ(third.replies[0].data, "\3a=1");
}
