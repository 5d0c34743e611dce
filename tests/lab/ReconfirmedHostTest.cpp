// SPDX-License-Identifier: MIT
//
// Records that an application doubts, of hosts that live and of hosts that died without a goodbye.
#include "DnssdLab.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

const char* const Type = "_demo._tcp.local.";
constexpr auto LongestSilence = 10s; ///< after which a record without an answer is gone

/// Doubts the record that a reply has told.
void reconfirm(const RecordQuery::Reply& reply)
{
    EXPECT_EQ(DNSServiceReconfirmRecord(0, reply.interface, reply.fullname.c_str(), reply.type,
                                        kDNSServiceClass_IN, static_cast<uint16_t>(reply.data.size()),
                                        reply.data.data()),
              kDNSServiceErr_NoError);
}

std::string answeringPeer(unsigned count, unsigned loss)
{
    return "exec lab-on hostb '" DNSSD_ANSWERING_PEER "' 10.99.1.2 " + std::to_string(count) + ' ' +
           std::to_string(loss);
}

bool isInTheCache(const std::string& name)
{
    return outputOf("timeout 5 avahi-browse -pct _demo._tcp").find(name) != std::string::npos;
}

std::ptrdiff_t openDescriptors()
{
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
}

} // namespace

TEST(ReconfirmedHost, IsGoneWhenItDiedWithoutAGoodbyeUntilItIsBack)
{
    Browse browse("_demo._tcp", Lan1);
    RecordQuery pointer(Type, 12, 0, Lan1);
    Resolve resolve("Kitchen", "_demo._tcp", "local", Lan1);
    const std::vector<Handle*> handles{&browse, &pointer, &resolve};
    auto publisher = std::make_unique<Beside>(publishOnHostb("Kitchen"));
    ASSERT_TRUE(waitUntil(handles, [&] { return browse.has("Kitchen") && !pointer.replies.empty(); }));
    const auto descriptors = openDescriptors();

    reconfirm(pointer.replies.front());
    EXPECT_FALSE(waitUntil(
        handles, [&] { return !browse.has("Kitchen"); }, LongestSilence))
        << "it lives";
    EXPECT_EQ(openDescriptors(), descriptors);

    run("lab-daemon hostb kill");
    reconfirm(pointer.replies.front());
    EXPECT_TRUE(waitUntil(
        handles, [&] { return !browse.has("Kitchen"); }, LongestSilence));
    EXPECT_TRUE(waitUntil(handles, [&] { return pointer.present(Lan1).empty(); }));
    EXPECT_TRUE(isInTheCache("Kitchen"));
    Browse later("_demo._tcp", Lan1);
    EXPECT_FALSE(waitUntil(
        {&later}, [&] { return later.has("Kitchen"); }, 1s));

    publisher.reset();
    run("lab-daemon hostb start");
    publisher = std::make_unique<Beside>(publishOnHostb("Kitchen"));
    EXPECT_TRUE(waitUntil({&browse, &pointer, &resolve, &later},
                          [&] { return browse.has("Kitchen") && later.has("Kitchen"); }));
    EXPECT_EQ(openDescriptors(), descriptors + 1) << "that of the later browse";
}

TEST(ReconfirmedHost, IsThereWhileItLivesThroughThirtyPercentLoss)
{
    constexpr unsigned Peers = 20;
    run("lab-daemon hostb kill");
    auto peer = std::make_unique<Beside>(answeringPeer(Peers, 30));
    std::vector<std::unique_ptr<RecordQuery>> queries;
    std::vector<Handle*> handles;
    for (unsigned i = 0; i < Peers; ++i) {
        const std::string name = 'p' + std::to_string(i) + '.' + Type;
        queries.push_back(std::make_unique<RecordQuery>(name.c_str(), 16, 0, Lan1));
        handles.push_back(queries.back().get());
    }
    const auto told = [&](std::size_t replies) {
        return std::count_if(queries.begin(), queries.end(),
                             [&](const auto& query) { return query->replies.size() >= replies; });
    };
    ASSERT_TRUE(waitUntil(handles, [&] { return told(1) == Peers; }));
    for (const auto& query : queries)
        reconfirm(query->replies.front());
    EXPECT_FALSE(waitUntil(
        handles, [&] { return told(2) > 0; }, LongestSilence));

    peer.reset();
    for (const auto& query : queries)
        reconfirm(query->replies.front());
    EXPECT_TRUE(waitUntil(
        handles, [&] { return told(2) == Peers; }, LongestSilence));
    for (const auto& query : queries)
        EXPECT_TRUE(query->present(Lan1).empty());
}
