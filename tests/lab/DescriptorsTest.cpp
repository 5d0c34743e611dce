// SPDX-License-Identifier: MIT
//
// The library when the process has few descriptors left, and what of its own a program that it executes gets.
#include "ChildProcess.h"
#include "DnssdLab.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cstdlib>

using namespace vesk::dnssd::tests;

namespace {

/// Has the process open no descriptor from a number on, but leaves those that are open.
class DescriptorLimit
{
public:
    explicit DescriptorLimit(rlim_t limit)
    {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit lowered{limit, m_before.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &lowered), 0);
    }
    ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &m_before); }
    DescriptorLimit(const DescriptorLimit&) = delete;
    DescriptorLimit& operator=(const DescriptorLimit&) = delete;

private:
    rlimit m_before{};
};

DNSServiceErrorType versionError()
{
    uint32_t version = 0;
    uint32_t size = sizeof version;
    return DNSServiceGetProperty(kDNSServiceProperty_DaemonVersion, &version, &size);
}

void expectThatNothingStarts()
{
    EXPECT_EQ(versionError(), kDNSServiceErr_NoMemory);
    EXPECT_EQ(Browse("_demo._tcp").error(), kDNSServiceErr_NoMemory);
    EXPECT_EQ(Resolve("Kitchen", "_demo._tcp", "local").error(), kDNSServiceErr_NoMemory);
    EXPECT_EQ(Addresses("hostb.local").error(), kDNSServiceErr_NoMemory);
    EXPECT_EQ(RecordQuery("hostb.local", kDNSServiceType_A).error(), kDNSServiceErr_NoMemory);
    EXPECT_EQ(Registration("Kitchen", "_demo._tcp", 80).error(), kDNSServiceErr_NoMemory);
}

} // namespace

TEST(Descriptors, BrowseGoesOnUnderALimitBelowThoseThatAreOpen)
{
    if (!CanExhaustDescriptors)
        GTEST_SKIP() << WhyNotExhausted;
    const std::string signal = std::string(std::getenv("LAB_DIR")) + "/lowered";
    Beside first(publishOnHostb("First"));
    const Beside second("until [ -d " + signal + " ]; do sleep 0.05; done; " + publishOnHostb("Second"));
    Browse browse("_demo._tcp", Lan1);
    ASSERT_TRUE(waitUntil({&browse}, [&] { return browse.has("First"); }));
    {
        const DescriptorLimit limit(1); // poll(2) takes no more than that many descriptors
        EXPECT_EQ(mkdir(signal.c_str(), 0700), 0);
        EXPECT_TRUE(waitUntil({&browse}, [&] { return browse.has("Second"); }));
        first.end();
        EXPECT_TRUE(waitUntil({&browse}, [&] { return !browse.has("First"); }));
        expectThatNothingStarts();
    }
    Browse another("_demo._tcp", Lan1);
    EXPECT_TRUE(waitUntil({&another}, [&] { return another.has("Second"); }));
    EXPECT_TRUE(browse.has("Second"));
}

TEST(Descriptors, CallsWithNoneLeftFailAndWorkAgainAfterwards)
{
    if (!CanExhaustDescriptors)
        GTEST_SKIP() << WhyNotExhausted;
    {
        const DescriptorLimit limit(0);
        expectThatNothingStarts(); // the first calls of the process
    }
    EXPECT_EQ(versionError(), kDNSServiceErr_NoError);
    Registration kitchen("Kitchen", "_demo._tcp", 80);
    Browse browse("_demo._tcp", Lan1);
    ASSERT_TRUE(waitUntil({&kitchen, &browse}, [&] { return browse.has("Kitchen"); }));
    {
        const DescriptorLimit limit(0);
        expectThatNothingStarts();
    }
    EXPECT_EQ(versionError(), kDNSServiceErr_NoError);
    Resolve resolve("Kitchen", "_demo._tcp", "local", Lan1);
    EXPECT_TRUE(waitUntil({&resolve}, [&] { return !resolve.replies.empty(); }));
    EXPECT_TRUE(browse.has("Kitchen"));
}

TEST(Descriptors, ExecutedProgramInheritsNone)
{
    const char* const list = "ls /proc/self/fd";
    const std::string before = outputOf(list);
    Registration kitchen("Kitchen", "_demo._tcp", 80);
    Browse browse("_demo._tcp");
    Resolve resolve("Kitchen", "_demo._tcp", "local");
    Addresses addresses("hosta.local");
    RecordQuery query("Kitchen._demo._tcp.local.", kDNSServiceType_TXT);
    ASSERT_TRUE(waitUntil({&kitchen, &browse, &resolve, &addresses, &query}, [&] {
        return kitchen.isDone() && browse.has("Kitchen") && !resolve.replies.empty() &&
               !addresses.replies.empty() && !query.replies.empty();
    }));
    EXPECT_EQ(outputOf(list), before);
}
