// SPDX-License-Identifier: MIT
//
// A TXT record that changes faster than the daemon forgets: the last one told is the last one published.
#include "DnssdLab.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <sstream>

using namespace vesk::dnssd::tests;

namespace {

const char* const Changing = "Changing._demo._tcp.local.";

/// The values that were told of the item "n", in the order of their replies.
std::vector<int> told(const RecordQuery& query)
{
    std::vector<int> values;
    for (const auto& reply : query.replies) {
        if ((reply.flags & kDNSServiceFlagsAdd) && reply.data.substr(1, 2) == "n=")
            values.push_back(std::atoi(reply.data.c_str() + 3));
    }
    return values;
}

bool isAscending(const std::vector<int>& values)
{
    return std::adjacent_find(values.begin(), values.end(), std::greater_equal<>()) == values.end();
}

bool isAlone(const RecordQuery& query, int value)
{
    return query.present(Lan1) == std::multiset<std::string>{item("n=" + std::to_string(value))};
}

/// The command that publishes the service on the other host and sets "n" to 1, 2 and so on.
std::string countOnHostb(int last, int milliseconds)
{
    const std::string pace = std::to_string(last) + ',' + std::to_string(milliseconds);
    return R"((echo '["advertise","Changing","_demo._tcp",8080]'; echo '["count","Changing","n",)" + pace +
           R"(]'; exec sleep 1000) | exec lab-on hostb ')" LAB_PEER "'";
}

/// The values of the item "n" that a query brings another process, whose library knows nothing yet.
std::vector<int> toldToAnotherProcess()
{
    std::istringstream lines(
        outputOf("timeout 0.3 '" RECORDS_TEST "' watch " + std::string(Changing) + " 16"));
    std::vector<int> values;
    for (std::string sign, data; lines >> sign >> data;) {
        std::string text;
        for (std::size_t i = 2; i + 1 < data.size(); i += 2)
            text += static_cast<char>(std::stoi(data.substr(i, 2), nullptr, 16));
        if (sign == "+" && text.substr(0, 2) == "n=")
            values.push_back(std::stoi(text.substr(2)));
    }
    return values;
}

/// What a query and a resolve say of sixty updates at that pace, to their end.
std::vector<int> toldOfSixtyUpdates(int milliseconds)
{
    constexpr int Last = 60;
    RecordQuery query(Changing, kDNSServiceType_TXT, 0, Lan1);
    Resolve resolve("Changing", "_demo._tcp", "local", Lan1);
    const Beside peer(countOnHostb(Last, milliseconds));
    // Alone: what has been replaced is gone, so that nothing more can come of it.
    const auto isOver = [&] { return isAlone(query, Last) && !resolve.replies.empty(); };
    EXPECT_TRUE(waitUntil({&query, &resolve}, isOver));
    std::vector<int> values = told(query);
    EXPECT_TRUE(isAscending(values)) << testing::PrintToString(values);
    EXPECT_EQ(values.back(), Last);
    EXPECT_EQ(resolve.replies.back().txt, item("n=" + std::to_string(Last)));
    return values;
}

} // namespace

TEST(LastValue, OfUpdatesThatComeFasterThanTheyAreAnnouncedIsToldLast)
{
    EXPECT_FALSE(toldOfSixtyUpdates(20).empty());
}

TEST(LastValue, OfUpdatesThatAreAnnouncedOneByOneIsToldLastAndNoneTwice)
{
    EXPECT_GT(toldOfSixtyUpdates(250).size(), 20U) << "too little has happened to tell";
}

TEST(LastValue, OfOwnUpdatesInARowIsToldAfterEachOfThose)
{
    RecordQuery query(Changing, kDNSServiceType_TXT, 0, Lan1);
    const Registration registration("Changing", "_demo._tcp", 8080);
    ASSERT_TRUE(waitUntil({&query}, [&] { return !query.replies.empty(); }));
    for (int value = 1; value <= 4; ++value)
        registration.update(item("n=" + std::to_string(value)));
    ASSERT_TRUE(waitUntil({&query}, [&] { return isAlone(query, 4); }));
    EXPECT_EQ(told(query), (std::vector<int>{1, 2, 3, 4}));
    for (int value = 5; value <= 40; ++value)
        registration.update(item("n=" + std::to_string(value)));
    ASSERT_TRUE(waitUntil({&query}, [&] { return isAlone(query, 40); }));
    EXPECT_TRUE(isAscending(told(query))) << testing::PrintToString(told(query));
}

TEST(LastValue, OfForgedChangesIsWhatTheDaemonHoldsAtTheEnd)
{
    constexpr int Last = 399;
    run("lab-daemon hostb kill");
    RecordQuery query(Changing, kDNSServiceType_TXT, 0, Lan1);
    const Beside peer(craftOnHostb("pace=10 flushes=400"));
    ASSERT_TRUE(waitUntil({&query}, [&] { return isAlone(query, Last); }));
    EXPECT_TRUE(isAscending(told(query))) << testing::PrintToString(told(query));
    EXPECT_EQ(told(query).back(), Last);
    EXPECT_GT(told(query).size(), 200U) << "too little has happened to tell";
}

TEST(LastValue, OfTheCacheIsToldLastToAQueryThatComesInBetween)
{
    constexpr int Last = 40;
    RecordQuery watcher(Changing, kDNSServiceType_TXT, 0, Lan1);
    const Beside peer(countOnHostb(Last, 200));
    std::size_t mostAtOnce = 0;
    for (int known = 0; known < Last; known = told(watcher).back()) {
        ASSERT_TRUE(
            waitUntil({&watcher}, [&] { return !told(watcher).empty() && told(watcher).back() > known; }));
        const std::vector<int> values = toldToAnotherProcess();
        EXPECT_TRUE(isAscending(values)) << testing::PrintToString(values);
        mostAtOnce = std::max(mostAtOnce, values.size());
    }
    EXPECT_GT(mostAtOnce, 1U) << "too little has happened to tell";
}
