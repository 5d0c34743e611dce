// SPDX-License-Identifier: MIT
//
// The thread that does all the work: serves several threads, and rests when there is nothing to do.
#include "DnssdLab.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>
#include <vector>

using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

/// A field of the status of the thread "dnssd"; empty while there is none.
std::string statusOfIoThread(const std::string& field)
{
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream lines(task.path() / "status");
        bool isIt = false;
        for (std::string line; std::getline(lines, line);) {
            isIt = isIt || line == "Name:\tdnssd";
            if (isIt && line.rfind(field + ":\t", 0) == 0)
                return line.substr(field.size() + 2);
        }
    }
    return "";
}

bool isBlocked(int signal)
{
    const uint64_t mask = std::stoull(statusOfIoThread("SigBlk"), nullptr, 16);
    return (mask >> (signal - 1) & 1) != 0;
}

unsigned long wakeUpsSoFar()
{
    return std::stoul(statusOfIoThread("voluntary_ctxt_switches"));
}

unsigned long wakeUpsWithin(std::chrono::milliseconds time)
{
    const unsigned long before = wakeUpsSoFar();
    measureIdle({}, time);
    return wakeUpsSoFar() - before;
}

/// An operation of each kind is started and released. Released queries are kept for a second.
void useTheLibrary()
{
    const Registration registration("Kitchen", "_demo._tcp", 80);
    const Browse browse("_demo._tcp");
    const Resolve resolve("Kitchen", "_demo._tcp", "local");
    const Addresses addresses("hosta.local");
    const RecordQuery query("Kitchen._demo._tcp.local.", kDNSServiceType_TXT);
    ASSERT_TRUE(waitUntil({}, [] { return !statusOfIoThread("Name").empty(); }));
}

/// Longer than the longest pause between two attempts to reach the bus.
constexpr auto LongInterval = 5500ms;

void expectNoWakeUp()
{
    ASSERT_TRUE(waitUntil(
        {}, [] { return wakeUpsWithin(1500ms) == 0; }, 30s))
        << "it does not come to rest";
    EXPECT_EQ(wakeUpsWithin(LongInterval), 0U);
}

} // namespace

TEST(IoThread, ServesEightThreadsAtOnce)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread) {
        threads.emplace_back([thread] {
            for (int round = 0; round < 8 && !testing::Test::HasFailure(); ++round) {
                const std::string name = "Own " + std::to_string(thread) + '-' + std::to_string(round);
                Registration registration(name.c_str(), "_demo._tcp", 8080, "\3a=1");
                Browse browse("_demo._tcp");
                Resolve resolve(name.c_str(), "_demo._tcp", "local");
                Addresses addresses("hosta.local", kDNSServiceProtocol_IPv4);
                RecordQuery query((name + "._demo._tcp.local").c_str(), kDNSServiceType_TXT);
                registration.update("\3a=2");
                if (round % 4 == 3)
                    continue; // released while everything is under way
                EXPECT_TRUE(waitUntil({&registration, &browse, &resolve, &addresses, &query}, [&] {
                    return registration.isDone() && browse.has(name) && !resolve.replies.empty() &&
                           !addresses.replies.empty() && !query.replies.empty();
                }));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(IoThread, WithoutHandlesNeverWakesUpBesideADaemon)
{
    useTheLibrary();
    expectNoWakeUp();
}

TEST(IoThread, WithoutHandlesNeverWakesUpWhileThereIsNoDaemon)
{
    run("lab-daemon hosta kill");
    useTheLibrary();
    expectNoWakeUp();
}

TEST(IoThread, WithoutHandlesNeverWakesUpWhileThereIsNoBus)
{
    run("lab-bus hosta kill");
    useTheLibrary();
    expectNoWakeUp();
}

TEST(IoThread, WithAHandleTriesMoreAndMoreRarelyToReachTheBus)
{
    run("lab-bus hosta kill");
    Browse browse("_demo._tcp");
    EXPECT_EQ(browse.error(), kDNSServiceErr_NoError);
    EXPECT_TRUE(waitUntil({&browse}, [] { return !statusOfIoThread("Name").empty(); }));
    EXPECT_GT(wakeUpsWithin(1s), 1U) << "soon at first";
    EXPECT_TRUE(waitUntil(
        {&browse}, [] { return wakeUpsWithin(3500ms) == 0; }, 30s));
    const unsigned long attempts = wakeUpsWithin(LongInterval);
    EXPECT_GE(attempts, 1U);
    EXPECT_LE(attempts, 2U);
}

TEST(IoThread, LeavesSignalsToTheApplicationButForThoseOfItsOwnFaults)
{
    const Browse browse("_demo._tcp");
    ASSERT_TRUE(waitUntil({}, [] { return !statusOfIoThread("SigBlk").empty(); }));
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL})
        EXPECT_FALSE(isBlocked(fault)) << strsignal(fault);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD, SIGUSR1})
        EXPECT_TRUE(isBlocked(signal)) << strsignal(signal);
}
