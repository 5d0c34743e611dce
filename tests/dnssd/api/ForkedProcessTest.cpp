// SPDX-License-Identifier: MIT
//
// Handles in a forked process: those of before the fork are the parent's, new ones work.
#include "ChildProcess.h"
#include "FakeBackend.h"
#include "Handles.h"
#include "ProcessEngine.h"
#include "Records.h"

#include <fcntl.h>
#include <gtest/gtest.h>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

class ForkedProcess : public testing::Test
{
protected:
    ~ForkedProcess() override { setProcessEngine(nullptr); }
};

bool isKitchenSeen()
{
    Browse browse("_demo._tcp");
    FakeBackend::last().come(instancePointer("Kitchen"));
    return browse.error() == kDNSServiceErr_NoError &&
           waitUntil({&browse}, [&] { return browse.has("Kitchen"); });
}

} // namespace

TEST_F(ForkedProcess, StartsOperations)
{
    ASSERT_TRUE(isKitchenSeen());
    EXPECT_TRUE(succeedsInChild([] { return isKitchenSeen(); }));
    EXPECT_TRUE(isKitchenSeen());
}

TEST_F(ForkedProcess, GetsNoDescriptorForAnInheritedHandle)
{
    const Browse browse("_demo._tcp");
    EXPECT_GE(DNSServiceRefSockFD(browse.ref()), 0);
    EXPECT_TRUE(succeedsInChild([&] { return DNSServiceRefSockFD(browse.ref()) == -1; }));
}

TEST_F(ForkedProcess, GetsErrorsForAnInheritedHandle)
{
    const Registration registration("Kitchen", "_demo._tcp", 80);
    EXPECT_TRUE(succeedsInChild(
        [&] { return DNSServiceProcessResult(registration.ref()) == kDNSServiceErr_BadReference; }));
    EXPECT_TRUE(succeedsInChild([&] { return registration.update("\3a=1") == kDNSServiceErr_BadReference; }));
    EXPECT_EQ(registration.update("\3a=1"), kDNSServiceErr_NoError) << "the parent's goes on";
}

TEST_F(ForkedProcess, ReleasesAnInheritedHandleWithoutEffectOnTheParent)
{
    Registration registration("Kitchen", "_demo._tcp", 80);
    const int descriptor = DNSServiceRefSockFD(registration.ref());
    EXPECT_TRUE(succeedsInChild([&] {
        DNSServiceRefDeallocate(registration.ref());
        return fcntl(descriptor, F_GETFD) == -1 && isKitchenSeen();
    }));
    EXPECT_TRUE(waitUntil({&registration}, [&] { return registration.isDone(); }));
}
