// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_LABAPPLICATION_H
#define VESK_TESTS_LABAPPLICATION_H

#include "DnssdLab.h"

#include <gtest/gtest.h>

namespace vesk::dnssd::tests {

/// An advertiser, a lister and a monitor, with another host's service that stays all the time.
struct Application
{
    Beside stays{publishOnHostb("Stays", "stays=1")};
    Registration kitchen{"Kitchen", "_demo._tcp", 8081, item("round=0")};
    Browse browse{"_demo._tcp"};
    RecordQuery monitor{"Stays._demo._tcp.local.", kDNSServiceType_TXT};
    Resolve resolve{"Stays", "_demo._tcp", "local"};
    Addresses addresses{"hostb.local", kDNSServiceProtocol_IPv4};

    std::vector<Handle*> handles() { return {&kitchen, &browse, &monitor, &resolve, &addresses}; }

    bool wait(const std::function<bool()>& condition)
    {
        return waitUntil(handles(), condition, std::chrono::minutes(1));
    }

    bool isComplete()
    {
        return kitchen.isDone() && browse.has("Kitchen") && browse.has("Stays") && !monitor.replies.empty() &&
               !resolve.replies.empty() && !addresses.replies.empty();
    }

    bool isSeenWith(const std::string& txt)
    {
        return isSeenFrom("hostb", "_demo._tcp",
                          "Kitchen;_demo._tcp;local;hosta.local;10.99.1.1;8081;\"" + txt + '"', handles());
    }

    /// Nothing that stayed was reported anew.
    void expectNoFalseNews()
    {
        for (const char* name : {"Kitchen", "Stays"}) {
            EXPECT_EQ(browse.count(name, true), 1U) << name;
            EXPECT_EQ(browse.count(name, false), 0U) << name;
        }
        EXPECT_EQ(kitchen.replies.size(), 1U);
        EXPECT_EQ(kitchen.replies[0].name, "Kitchen");
        EXPECT_EQ(monitor.replies.size(), 1U);
        EXPECT_EQ(resolve.replies.size(), 1U);
        EXPECT_EQ(addresses.replies.size(), 1U);
    }
};

/// The application hears nothing, and the library costs nothing.
inline void expectQuiet(const std::vector<Handle*>& handles)
{
    // To notice that the daemon is gone costs once; what counts is what being without it costs.
    EXPECT_TRUE(measureIdle(handles, std::chrono::seconds(1)).noDescriptorWasReadable);
    const Idle idle = measureIdle(handles, std::chrono::seconds(5));
    EXPECT_TRUE(idle.noDescriptorWasReadable);
    EXPECT_LT(idle.load, 0.01);
}

} // namespace vesk::dnssd::tests

#endif
