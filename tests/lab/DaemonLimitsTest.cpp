// SPDX-License-Identifier: MIT
//
// A daemon that takes one client with four objects and no more.
#include "DnssdLab.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

using namespace vesk::dnssd::tests;

TEST(DaemonLimits, OperationsBeyondThemAreRefusedUntilThereIsRoom)
{
    constexpr std::size_t Room = 4;
    constexpr std::size_t Asked = 12;
    Registration first("Kitchen", "_demo._tcp", 80);
    ASSERT_TRUE(waitUntil({&first}, [&] { return first.isDone(); }));
    std::vector<std::unique_ptr<RecordQuery>> queries;
    std::vector<Handle*> handles;
    for (std::size_t i = 0; i < Asked; ++i) {
        const std::string name = "nobody" + std::to_string(i) + ".local";
        queries.push_back(std::make_unique<RecordQuery>(name.c_str(), kDNSServiceType_TXT));
        EXPECT_EQ(queries.back()->error(), kDNSServiceErr_NoError);
        handles.push_back(queries.back().get());
    }
    auto second = std::make_unique<Registration>("Hall", "_demo._tcp", uint16_t(80));
    handles.push_back(second.get());
    ASSERT_TRUE(waitUntil(handles, [&] { return second->isDone(); }));
    EXPECT_EQ(second->replies[0].error, kDNSServiceErr_Refused);
    const auto isRefused = [](const std::unique_ptr<RecordQuery>& query) {
        return query->replies.size() == 1 && query->replies[0].error == kDNSServiceErr_Refused;
    };
    EXPECT_EQ(std::count_if(queries.begin(), queries.end(), isRefused), Asked - (Room - 1));

    // What is released makes room.
    queries.clear();
    EXPECT_TRUE(waitUntil({}, [&] {
        second = std::make_unique<Registration>("Hall", "_demo._tcp", uint16_t(80));
        return waitUntil({second.get()}, [&] { return second->isDone(); }) &&
               second->replies[0].error == kDNSServiceErr_NoError;
    }));
    EXPECT_EQ(first.replies.size(), 1U);
}
