// SPDX-License-Identifier: MIT
//
// A process that uses the library forks: both go on, each with operations of its own.
#include "DnssdLab.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

using namespace vesk::dnssd::tests;

namespace {

/// Runs a part of the test in a child process. False: an expectation failed there.
template <typename Part>
bool succeedsInChild(Part part)
{
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        part();
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void expectThatItIsInherited(Handle& handle)
{
    EXPECT_EQ(DNSServiceRefSockFD(handle.ref()), -1);
    EXPECT_EQ(DNSServiceProcessResult(handle.ref()), kDNSServiceErr_BadReference);
    EXPECT_EQ(DNSServiceUpdateRecord(handle.ref(), nullptr, 0, 4, "\3a=2", 0), kDNSServiceErr_BadReference);
}

void expectAnswers(const char* ownName)
{
    Registration own(ownName, "_demo._tcp", 80);
    Browse browse("_demo._tcp", Lan1);
    Resolve resolve("Kitchen", "_demo._tcp", "local", Lan1);
    EXPECT_TRUE(waitUntil({&own, &browse, &resolve}, [&] {
        return own.isDone() && browse.has("Kitchen") && browse.has(ownName) && !resolve.replies.empty();
    }));
}

} // namespace

TEST(Fork, ChildGetsAnswersOfItsOwnAndTheParentGoesOn)
{
    Registration kitchen("Kitchen", "_demo._tcp", 80, "\3a=1");
    Browse browse("_demo._tcp", Lan1);
    ASSERT_TRUE(waitUntil({&kitchen, &browse}, [&] { return kitchen.isDone() && browse.has("Kitchen"); }));
    EXPECT_TRUE(succeedsInChild([&] {
        expectThatItIsInherited(kitchen);
        expectThatItIsInherited(browse);
        expectAnswers("Child");
        kitchen.release();
        browse.release();
        expectAnswers("Again");
    }));
    EXPECT_TRUE(waitUntil({&kitchen, &browse}, [&] {
        return browse.count("Child", false) == 1 && browse.count("Again", false) == 1;
    }));
    EXPECT_EQ(browse.count("Kitchen", true), 1U);
    EXPECT_EQ(browse.count("Kitchen", false), 0U);
    EXPECT_EQ(kitchen.replies.size(), 1U);
    EXPECT_EQ(kitchen.update("\3a=3"), kDNSServiceErr_NoError);
    EXPECT_TRUE(isSeenFrom("hostb", "_demo._tcp", "\"a=3\"", {&kitchen, &browse}));
}

TEST(Fork, ChildrenOfABusyProcessAllGetAnswers)
{
    Registration kitchen("Kitchen", "_demo._tcp", 80);
    Browse browse("_demo._tcp", Lan1);
    ASSERT_TRUE(waitUntil({&kitchen, &browse}, [&] { return browse.has("Kitchen"); }));
    for (int round = 0; round < 5; ++round) {
        const Browse another(("_type" + std::to_string(round) + "._tcp").c_str());
        kitchen.update(item("round=" + std::to_string(round)));
        EXPECT_TRUE(succeedsInChild([] {
            Browse own("_demo._tcp", Lan1);
            EXPECT_TRUE(waitUntil({&own}, [&] { return own.has("Kitchen"); }));
        })) << round;
    }
}

TEST(Fork, DaemonisedProcessGetsAnswers)
{
    Registration kitchen("Kitchen", "_demo._tcp", 80);
    ASSERT_TRUE(waitUntil({&kitchen}, [&] { return kitchen.isDone(); }));
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        Browse browse("_demo._tcp", Lan1);
        EXPECT_TRUE(waitUntil({&browse}, [&] { return browse.has("Kitchen"); }));
        EXPECT_EQ(daemon(1, 1), 0);
        expectThatItIsInherited(browse);
        expectAnswers("Daemon");
        std::fflush(nullptr);
        const char verdict = testing::Test::HasFailure() ? 'n' : 'y';
        _exit(write(ends[1], &verdict, 1) == 1 ? 0 : 1);
    }
    waitpid(child, nullptr, 0);
    pollfd readable{ends[0], POLLIN, 0};
    ASSERT_EQ(poll(&readable, 1, 90'000), 1);
    char verdict = 'n';
    EXPECT_EQ(read(ends[0], &verdict, 1), 1);
    EXPECT_EQ(verdict, 'y');
    close(ends[0]);
    close(ends[1]);
}
