// SPDX-License-Identifier: MIT
//
// Each in a process of its own: the choice is for a process's life.
#include "ChildProcess.h"
#include "FakeBackend.h"
#include "Handles.h"
#include "vesk_dnssd.h"

#include <gtest/gtest.h>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

VeskDnssdBackendInfo info()
{
    VeskDnssdBackendInfo info{};
    uint32_t size = sizeof info;
    EXPECT_EQ(DNSServiceGetProperty(kVeskDnssdProperty_Backend, &info, &size), kDNSServiceErr_NoError);
    EXPECT_EQ(size, sizeof info);
    return info;
}

bool waitUntilRunning()
{
    return waitUntil({}, [] { return info().state == kVeskDnssdBackendState_Running; });
}

} // namespace

TEST(ChooseBackendCall, BeforeTheFirstOperationIsTakenAndThenComesTooLate)
{
    EXPECT_TRUE(succeedsInChild([] {
        if (VeskDnssdChooseBackend(kVeskDnssdBackend_Daemon) != kDNSServiceErr_NoError ||
            VeskDnssdChooseBackend(kVeskDnssdBackend_Process) != kDNSServiceErr_NoError)
            return false;
        const Browse browse("_demo._tcp");
        return FakeBackend::last().kind() == BackendKind::Process &&
               VeskDnssdChooseBackend(kVeskDnssdBackend_Daemon) == kDNSServiceErr_BadState &&
               info().chosen == kVeskDnssdBackend_Process;
    }));
}

TEST(ChooseBackendCall, HoldsInAForkedProcess)
{
    EXPECT_TRUE(succeedsInChild([] {
        VeskDnssdChooseBackend(kVeskDnssdBackend_Process);
        const Browse browse("_demo._tcp");
        return succeedsInChild([] {
            const Browse another("_demo._tcp");
            return FakeBackend::last().kind() == BackendKind::Process &&
                   VeskDnssdChooseBackend(kVeskDnssdBackend_Daemon) == kDNSServiceErr_BadState;
        });
    }));
}

TEST(ChooseBackendCall, OfWhatIsNotOfferedIsRefusedAndChangesNothing)
{
    EXPECT_TRUE(succeedsInChild([] {
        VeskDnssdChooseBackend(kVeskDnssdBackend_Process);
        return VeskDnssdChooseBackend(kVeskDnssdBackend_Memory) == kDNSServiceErr_Unsupported &&
               VeskDnssdChooseBackend(kVeskDnssdBackend_Memory + 1) == kDNSServiceErr_BadParam &&
               VeskDnssdChooseBackend(UINT32_MAX) == kDNSServiceErr_BadParam &&
               info().chosen == kVeskDnssdBackend_Process;
    }));
}

TEST(BackendProperty, TellsWhatIsChosenAndWhetherItIsThere)
{
    EXPECT_TRUE(succeedsInChild([] {
        const VeskDnssdBackendInfo before = info();
        VeskDnssdChooseBackend(kVeskDnssdBackend_Process);
        const VeskDnssdBackendInfo chosen = info();
        const Browse browse("_demo._tcp");
        return before.chosen == kVeskDnssdBackend_Auto && before.inUse == kVeskDnssdBackend_Daemon &&
               before.state == kVeskDnssdBackendState_Absent && chosen.chosen == kVeskDnssdBackend_Process &&
               chosen.inUse == kVeskDnssdBackend_Process && chosen.state == kVeskDnssdBackendState_Absent &&
               waitUntilRunning();
    }));
}

TEST(BackendProperty, FollowsTheBackend)
{
    EXPECT_TRUE(succeedsInChild([] {
        const Browse browse("_demo._tcp");
        if (!waitUntilRunning())
            return false;
        FakeBackend::last().change(Backend::State::Answering);
        return waitUntil({}, [] { return info().state == kVeskDnssdBackendState_Answering; });
    }));
}

TEST(BackendProperty, NeedsRoomForAll)
{
    VeskDnssdBackendInfo info{};
    uint32_t size = sizeof info - 1;
    EXPECT_EQ(DNSServiceGetProperty(kVeskDnssdProperty_Backend, &info, &size), kDNSServiceErr_BadParam);
}
