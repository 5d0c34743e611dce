// SPDX-License-Identifier: MIT
//
// What is put on the network, and how much at a time.
#include "DnssdLab.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>

using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

struct Resources
{
    std::size_t threads = 0;
    std::size_t sockets = 0;
    std::size_t descriptors = 0;
};

Resources resources()
{
    using std::filesystem::directory_iterator;
    Resources used;
    used.threads = static_cast<std::size_t>(std::distance(directory_iterator("/proc/self/task"), {}));
    for (const auto& entry : directory_iterator("/proc/self/fd")) {
        std::error_code gone; // the one that reads the directory
        ++used.descriptors;
        used.sockets += read_symlink(entry, gone).string().rfind("socket:", 0) == 0 ? 1U : 0U;
    }
    return used;
}

} // namespace

TEST(NetworkQueries, BeyondWhatOneConnectionHoldsAreAnsweredOnAnother)
{
    const Resources before = resources();
    Registration registration("Kitchen", "_demo._tcp", 80, "\3a=1");
    std::vector<std::unique_ptr<RecordQuery>> queries;
    for (int i = 0; i < 1500; ++i) {
        queries.push_back(std::make_unique<RecordQuery>(
            ("n" + std::to_string(i) + "._demo._tcp.local").c_str(), kDNSServiceType_TXT));
        ASSERT_EQ(queries.back()->error(), kDNSServiceErr_NoError);
    }
    RecordQuery last("Kitchen._demo._tcp.local", kDNSServiceType_TXT);
    Registration another("n1499", "_demo._tcp", 80, "\3a=2");
    EXPECT_TRUE(waitUntil(
        {&registration, &last, &another}, [&] { return !last.replies.empty() && another.isDone(); }, 60s));
    EXPECT_EQ(last.replies.at(0).error, kDNSServiceErr_NoError);
    const Resources now = resources();
    EXPECT_LE(now.threads, before.threads + 3);
    EXPECT_LE(now.sockets, before.sockets + 4);
    EXPECT_LE(now.descriptors, before.descriptors + 2 * queries.size());
    EXPECT_TRUE(waitUntil({queries.back().get()}, [&] { return !queries.back()->replies.empty(); }));
    EXPECT_EQ(queries.back()->replies.at(0).data, "\3a=2");
    for (const auto& query : queries) {
        query->process();
        EXPECT_TRUE(query->replies.empty() || query->replies[0].error == kDNSServiceErr_NoError);
    }
}

TEST(NetworkQueries, ResolvingABrowsedInstanceGoesOutOverOneTransport)
{
    const Beside kitchen("exec lab-on hostb avahi-publish -s Kitchen _demo._tcp 80 >/dev/null 2>&1");
    ASSERT_TRUE(waitUntil({}, [] {
        const std::string seen = outputOf("timeout 5 avahi-browse -pt _demo._tcp");
        return seen.find("+;lan1;IPv4;Kitchen") != std::string::npos &&
               seen.find("+;lan1;IPv6;Kitchen") != std::string::npos;
    }));
    const Listener listener;
    ASSERT_TRUE(listener.isReady());
    Browse browse("_demo._tcp", Lan1);
    // The daemon has told all that it knew of the type before it answers this.
    Addresses host("hostb.local", kDNSServiceProtocol_IPv4, Lan1);
    ASSERT_TRUE(waitUntil({&browse, &host}, [&] { return browse.has("Kitchen") && !host.replies.empty(); }));

    Resolve resolve("Kitchen", "_demo._tcp.", "local.", Lan1);
    RecordQuery unseen("Nobody._demo._tcp.local.", kDNSServiceType_SRV, 0, Lan1);
    std::size_t byIPv4 = 0;
    std::size_t byIPv6 = 0;
    EXPECT_TRUE(waitUntil({&browse, &host, &resolve, &unseen}, [&] {
        byIPv4 = listener.count("4 33 Kitchen._demo._tcp.local");
        byIPv6 = listener.count("6 33 Kitchen._demo._tcp.local");
        return byIPv4 + byIPv6 >= 2 && listener.count("4 33 Nobody._demo._tcp.local") > 0 &&
               listener.count("6 33 Nobody._demo._tcp.local") > 0;
    }));
    EXPECT_EQ(std::min(byIPv4, byIPv6), 0U) << byIPv4 << " by IPv4, " << byIPv6 << " by IPv6";
    ASSERT_FALSE(resolve.replies.empty());
    EXPECT_EQ(resolve.replies[0].host, "hostb.local.");
}

TEST(NetworkQueries, LargeResultInTheCacheIsReportedAndThenWatched)
{
    constexpr std::size_t Size = 120;
    const auto publish = [](const std::string& name) {
        return "avahi-publish -s " + name + " _demo._tcp 80";
    };
    const Beside many("exec lab-on hostb sh -c 'for i in $(seq " + std::to_string(Size - 1) + "); do " +
                      publish("n$i") + " & done; wait' >/dev/null 2>&1");
    Beside leaver("exec lab-on hostb " + publish("Kitchen") + " >/dev/null 2>&1");
    ASSERT_TRUE(waitUntil({}, [&] {
        return outputOf("timeout 5 avahi-browse -pt _demo._tcp | grep -c '+;lan1;IPv4'") ==
               std::to_string(Size) + '\n';
    }));
    Browse browse("_demo._tcp", Lan1);
    ASSERT_TRUE(waitUntil({&browse}, [&] { return browse.events.size() >= Size; }));
    leaver.end();
    const Beside newcomer("exec lab-on hostb " + publish("Cellar") + " >/dev/null 2>&1");
    EXPECT_TRUE(
        waitUntil({&browse}, [&] { return browse.count("Kitchen", false) == 1 && browse.has("Cellar"); }));
    EXPECT_EQ(browse.events.size(), Size + 2) << "and nothing else";
}
