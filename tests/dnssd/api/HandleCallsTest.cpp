// SPDX-License-Identifier: MIT
#include "PlayedNetwork.h"

#include <fcntl.h>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

using HandleCalls = PlayedNetwork;

} // namespace

TEST_F(HandleCalls, RefuseNullHandles)
{
    EXPECT_EQ(DNSServiceRefSockFD(nullptr), -1);
    EXPECT_EQ(DNSServiceProcessResult(nullptr), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceUpdateRecord(nullptr, nullptr, 0, 0, nullptr, 0), kDNSServiceErr_BadParam);
    DNSServiceRefDeallocate(nullptr);
}

TEST_F(HandleCalls, AreReadableExactlyWhileAReplyWaits)
{
    Browse browse("_demo._tcp");
    settle();
    EXPECT_GE(DNSServiceRefSockFD(browse.ref()), 0);
    EXPECT_FALSE(browse.isReadable());
    backend().come(instancePointer("Kitchen"));
    settle();
    EXPECT_TRUE(browse.isReadable());
    EXPECT_EQ(DNSServiceProcessResult(browse.ref()), kDNSServiceErr_NoError);
    EXPECT_FALSE(browse.isReadable());
    EXPECT_TRUE(browse.has("Kitchen"));
}

TEST_F(HandleCalls, HandOverManyRepliesInOneCallAndLeaveTheRestForTheNext)
{
    Browse browse("_demo._tcp");
    settle();
    for (int i = 0; i < 100; ++i)
        backend().come(instancePointer("Instance " + std::to_string(i)));
    settle();
    EXPECT_EQ(DNSServiceProcessResult(browse.ref()), kDNSServiceErr_NoError);
    EXPECT_EQ(browse.events.size(), 64U);
    EXPECT_NE(browse.events.back().flags & kDNSServiceFlagsMoreComing, 0U);
    EXPECT_TRUE(browse.isReadable());
    EXPECT_EQ(DNSServiceProcessResult(browse.ref()), kDNSServiceErr_NoError);
    EXPECT_EQ(browse.events.size(), 100U);
    EXPECT_EQ(browse.events.back().flags & kDNSServiceFlagsMoreComing, 0U);
    EXPECT_FALSE(browse.isReadable());
}

TEST_F(HandleCalls, CloseTheirDescriptorWithTheRelease)
{
    Browse browse("_demo._tcp");
    const int descriptor = DNSServiceRefSockFD(browse.ref());
    EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC) << "nor do programs inherit it that are executed";
    browse.release();
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
}

TEST_F(HandleCalls, MayReleaseTheirHandleInTheCallback)
{
    int calls = 0;
    const auto release = [](DNSServiceRef ref, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                            const char*, const char*, void* count) {
        DNSServiceRefDeallocate(ref);
        ++*static_cast<int*>(count);
    };
    DNSServiceRef ref = nullptr;
    ASSERT_EQ(DNSServiceBrowse(&ref, 0, 0, "_demo._tcp", nullptr, release, &calls), kDNSServiceErr_NoError);
    backend().come(instancePointer("Kitchen"));
    backend().come(instancePointer("Cellar"));
    settle();
    EXPECT_EQ(DNSServiceProcessResult(ref), kDNSServiceErr_NoError);
    EXPECT_EQ(calls, 1) << "a released handle is not called";
    advance(std::chrono::seconds(1));
    EXPECT_EQ(backend().queries(), 0U);
}
