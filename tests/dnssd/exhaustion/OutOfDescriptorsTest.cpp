// SPDX-License-Identifier: MIT
//
// The process has no descriptor left.
#include "ChildProcess.h"
#include "Connection.h"
#include "Handles.h"
#include "ProcessEngine.h"

#include <gtest/gtest.h>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

DNSServiceErrorType getProperty()
{
    uint32_t version = 0;
    uint32_t size = sizeof version;
    return DNSServiceGetProperty(kDNSServiceProperty_DaemonVersion, &version, &size);
}

std::set<DNSServiceErrorType> startErrors()
{
    return {Registration("Kitchen", "_demo._tcp", 80).error(),
            Browse("_demo._tcp").error(),
            Resolve("Kitchen", "_demo._tcp", "local").error(),
            Addresses("hostb.local").error(),
            RecordQuery("Kitchen._demo._tcp.local", kDNSServiceType_TXT).error(),
            Connection().error()};
}

const std::set<DNSServiceErrorType> NoMemoryAlone{kDNSServiceErr_NoMemory};

} // namespace

TEST(OutOfDescriptors, IsNoMemoryForTheFirstCall)
{
    if (!CanExhaustDescriptors)
        GTEST_SKIP() << WhyNotExhausted;
    EXPECT_TRUE(succeedsInChild([] {
        exhaustDescriptors();
        return getProperty() == kDNSServiceErr_NoMemory && startErrors() == NoMemoryAlone;
    }));
}

TEST(OutOfDescriptors, IsNoMemoryForStartCallsWhenTheEngineIsThere)
{
    if (!CanExhaustDescriptors)
        GTEST_SKIP() << WhyNotExhausted;
    EXPECT_TRUE(succeedsInChild([] {
        const bool works = getProperty() == kDNSServiceErr_NoError;
        exhaustDescriptors();
        return works && startErrors() == NoMemoryAlone;
    }));
}

/// What shares a connection needs none of its own.
TEST(OutOfDescriptors, LeavesAConnectionAtWork)
{
    if (!CanExhaustDescriptors)
        GTEST_SKIP() << WhyNotExhausted;
    EXPECT_TRUE(succeedsInChild([] {
        Connection connection;
        exhaustDescriptors();
        const ConnectedQuery query(connection.ref(), "Kitchen._demo._tcp.local.");
        const RegisteredRecord record(connection.ref(), "printer.local.", kDNSServiceType_A, "\x0A\1\1\2",
                                      kDNSServiceFlagsUnique);
        const bool hasStarted =
            query.error() == kDNSServiceErr_NoError && record.error() == kDNSServiceErr_NoError;
        return hasStarted && waitUntil({&connection}, [&] { return record.isDone(); }) &&
               record.errors.front() == kDNSServiceErr_NoError;
    }));
}

TEST(OutOfDescriptors, EndsWhenThereAreSomeAgain)
{
    if (!CanExhaustDescriptors)
        GTEST_SKIP() << WhyNotExhausted;
    EXPECT_TRUE(succeedsInChild([] {
        exhaustDescriptors();
        const bool fails = getProperty() == kDNSServiceErr_NoMemory;
        for (int descriptor = STDERR_FILENO + 1; descriptor < 64; ++descriptor)
            close(descriptor);
        Registration registration("Kitchen", "_demo._tcp", 80);
        return fails && waitUntil({&registration}, [&] { return registration.isDone(); });
    }));
}
