// SPDX-License-Identifier: MIT
#include "PlayedNetwork.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

using UpdateCall = PlayedNetwork;

} // namespace

TEST_F(UpdateCall, ChangesWhatIsPublishedLater)
{
    backend().change(Backend::State::Absent);
    Registration registration("Kitchen", "_demo._tcp", 80, "\3a=1");
    EXPECT_EQ(registration.update("\3a=2"), kDNSServiceErr_NoError);
    settle(registration);
    EXPECT_FALSE(registration.isDone());
    backend().change(Backend::State::Running);
    settle(registration);
    EXPECT_TRUE(registration.isDone());
    EXPECT_EQ(lastPublished().txt, "\3a=2");
}

TEST_F(UpdateCall, DoesNotSendTheSameTextAgain)
{
    Registration registration("Kitchen", "_demo._tcp", 80, "\3a=1");
    EXPECT_EQ(registration.update("\3a=1"), kDNSServiceErr_NoError);
    settle(registration);
    EXPECT_EQ(backend().published().size(), 1U);
    EXPECT_EQ(registration.update("\3a=2"), kDNSServiceErr_NoError);
    EXPECT_EQ(registration.update("\3a=2"), kDNSServiceErr_NoError);
    settle(registration);
    EXPECT_EQ(backend().published().size(), 2U);
    EXPECT_EQ(registration.replies.size(), 1U) << "an update has no reply";
}

TEST_F(UpdateCall, RefusesMalformedTxtRecords)
{
    EXPECT_EQ(Registration("a", "_demo._tcp", 80, std::string("\5ab", 3)).error(), kDNSServiceErr_Invalid);
    Registration good("a", "_demo._tcp", 80, "\3a=1");
    EXPECT_EQ(good.error(), kDNSServiceErr_NoError);
    EXPECT_EQ(good.update(std::string("\5ab", 3)), kDNSServiceErr_Invalid);
    EXPECT_EQ(DNSServiceUpdateRecord(good.ref(), nullptr, 0, 0, nullptr, 0), kDNSServiceErr_NoError);
    EXPECT_EQ(good.update(std::string(65535, '\0')), kDNSServiceErr_NoError);
    EXPECT_EQ(DNSServiceUpdateRecord(Browse("_demo._tcp").ref(), nullptr, 0, 0, nullptr, 0),
              kDNSServiceErr_BadReference);
}
