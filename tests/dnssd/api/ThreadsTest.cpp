// SPDX-License-Identifier: MIT
//
// Handles belong to one thread each; different ones may be made, used and released at the same time.
#include "Engine.h"
#include "FakeBackend.h"
#include "Handles.h"
#include "ProcessEngine.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

constexpr int Threads = 8;
constexpr int Rounds = 100;
const Labels Name{"Kitchen", "_demo", "_tcp", "local"};

Record record(const Labels& name, uint16_t type, const std::string& data)
{
    return {name, type, kDNSServiceClass_IN, 11, data};
}

/// What the network offers, over and over.
void announce()
{
    FakeBackend& backend = FakeBackend::last();
    backend.come(record({"_demo", "_tcp", "local"}, kDNSServiceType_PTR, toWire(Name)));
    backend.come(record(Name, kDNSServiceType_SRV, std::string(6, '\1') + toWire({"hostb", "local"})));
    backend.come(record(Name, kDNSServiceType_TXT, "\3a=1"));
    backend.come(record({"hostb", "local"}, kDNSServiceType_A, "abcd"));
}

/// Has the process's engine do what was posted before.
void settle()
{
    std::promise<void> done;
    processEngine()->loop().post([&done] { done.set_value(); });
    done.get_future().wait();
}

void useOneOfEach(int thread, int round)
{
    const std::string own = "own " + std::to_string(thread) + ' ' + std::to_string(round);
    Registration registration(own.c_str(), "_demo._tcp", 80, "\3b=1");
    Browse browse("_demo._tcp");
    Resolve resolve("Kitchen", "_demo._tcp", "local");
    Addresses addresses("hostb.local");
    RecordQuery query("Kitchen._demo._tcp.local.", kDNSServiceType_TXT);
    ASSERT_EQ(registration.update("\3b=2"), kDNSServiceErr_NoError);
    if (round % 3 == 0)
        return; // released while everything is under way
    EXPECT_TRUE(waitUntil({&registration, &browse, &resolve, &addresses, &query}, [&] {
        return registration.isDone() && browse.has("Kitchen") && !resolve.replies.empty() &&
               !addresses.replies.empty() && !query.replies.empty();
    }));
    EXPECT_EQ(registration.replies.at(0).name, own);
}

} // namespace

TEST(Threads, MakeUseAndReleaseHandlesAtOnce)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < Threads; ++thread) {
        threads.emplace_back([thread] {
            for (int round = 0; round < Rounds && !testing::Test::HasFailure(); ++round) {
                useOneOfEach(thread, round);
                if (thread == 0 && round == 0)
                    announce();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Threads, GoOnWhileTheDaemonGoesAndComes)
{
    Browse first("_demo._tcp"); // makes the engine
    announce();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < Threads; ++thread) {
        threads.emplace_back([thread] {
            for (int round = 1; round < Rounds && !testing::Test::HasFailure(); ++round)
                useOneOfEach(thread, round);
        });
    }
    for (int round = 0; round < Rounds; ++round) {
        FakeBackend::last().change(Backend::State::Absent);
        settle();
        FakeBackend::last().change(Backend::State::Running);
        settle();
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Threads, HandOverAReplyThatAnotherWaitsFor)
{
    for (int round = 0; round < Rounds; ++round) {
        Registration waiting("Kitchen", "_demo._tcp", 80);
        std::thread other([&] { DNSServiceProcessResult(waiting.ref()); });
        other.join();
        EXPECT_TRUE(waiting.isDone());
    }
}

TEST(Threads, ReleaseHandlesInCallbacks)
{
    struct Pair
    {
        DNSServiceRef own = nullptr;
        DNSServiceRef other = nullptr;
        int calls = 0;
    };
    const auto ignore = [](DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                           const char*, const char*, void*) { FAIL() << "a released handle was called"; };
    const auto releaseBoth = [](DNSServiceRef ref, DNSServiceFlags, uint32_t, DNSServiceErrorType,
                                const char*, const char*, const char*, void* context) {
        auto& pair = *static_cast<Pair*>(context);
        EXPECT_EQ(ref, pair.own);
        DNSServiceRefDeallocate(pair.other);
        DNSServiceRefDeallocate(pair.own);
        ++pair.calls;
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < Threads; ++thread) {
        threads.emplace_back([=] {
            for (int round = 0; round < Rounds; ++round) {
                Pair pair;
                ASSERT_EQ(DNSServiceBrowse(&pair.other, 0, 0, "_demo._tcp", nullptr, ignore, nullptr), 0);
                ASSERT_EQ(DNSServiceBrowse(&pair.own, 0, 0, "_demo._tcp", nullptr, releaseBoth, &pair), 0);
                if (thread == 0 && round == 0)
                    announce();
                EXPECT_EQ(DNSServiceProcessResult(pair.own), kDNSServiceErr_NoError);
                EXPECT_EQ(pair.calls, 1);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}
