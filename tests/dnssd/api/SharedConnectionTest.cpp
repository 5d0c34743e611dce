// SPDX-License-Identifier: MIT
//
// Operations that share the descriptor and the replies of a connection.
#include "PlayedNetwork.h"

#include "Connection.h"

#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <memory>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

std::size_t openDescriptors()
{
    const std::filesystem::directory_iterator open("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(open), end(open)));
}

std::string instanceNumber(std::size_t number)
{
    return "i" + std::to_string(number);
}

std::string fullName(const std::string& instance)
{
    return instance + "._demo._tcp.local.";
}

} // namespace

class SharedConnection : public PlayedNetwork
{
protected:
    void come(const std::string& instance) { backend().come(txtOf(instance, "\3a=1")); }

    Connection connection;
    ConnectedQuery first{connection.ref(), fullName("first")};
    ConnectedQuery second{connection.ref(), fullName("second")};
};

TEST_F(SharedConnection, IsTheDescriptorOfEveryOperationOnIt)
{
    const int descriptor = DNSServiceRefSockFD(connection.ref());
    EXPECT_GE(descriptor, 0);
    EXPECT_EQ(DNSServiceRefSockFD(first.ref()), descriptor);
    EXPECT_EQ(DNSServiceRefSockFD(second.ref()), descriptor);
    EXPECT_NE(first.ref(), second.ref());
}

TEST_F(SharedConnection, HandsOverTheRepliesOfAllInTheirOrder)
{
    std::vector<std::string> order;
    first.onReply = [&] { order.emplace_back("first"); };
    second.onReply = [&] { order.emplace_back("second"); };
    come("second");
    come("first");
    settle();
    EXPECT_EQ(DNSServiceProcessResult(connection.ref()), kDNSServiceErr_NoError);
    EXPECT_EQ(order, (std::vector<std::string>{"second", "first"}));
    EXPECT_FALSE(connection.isReadable());
}

TEST_F(SharedConnection, HandsOverTheRepliesOfAllWhicheverOperationIsProcessed)
{
    come("second");
    come("first");
    settle();
    EXPECT_EQ(DNSServiceProcessResult(first.ref()), kDNSServiceErr_NoError);
    EXPECT_EQ(first.data.size(), 1U);
    EXPECT_EQ(second.data.size(), 1U);
}

TEST_F(SharedConnection, SaysMoreComingForRepliesOfOtherOperations)
{
    come("first");
    come("second");
    settle(connection);
    EXPECT_EQ(first.flags, std::vector<DNSServiceFlags>{kDNSServiceFlagsAdd | kDNSServiceFlagsMoreComing});
    EXPECT_EQ(second.flags, std::vector<DNSServiceFlags>{kDNSServiceFlagsAdd});
}

TEST_F(SharedConnection, DropsTheWaitingRepliesOfAReleasedOperation)
{
    come("first");
    come("second");
    settle();
    first.release();
    connection.process();
    EXPECT_TRUE(first.data.empty());
    EXPECT_EQ(second.flags, std::vector<DNSServiceFlags>{kDNSServiceFlagsAdd});
}

TEST_F(SharedConnection, IsNotReadableOnceTheOnlyOperationWithRepliesIsReleased)
{
    come("first");
    settle();
    ASSERT_TRUE(connection.isReadable());
    first.release();
    EXPECT_FALSE(connection.isReadable());
    come("second");
    settle();
    EXPECT_TRUE(connection.isReadable());
}

TEST_F(SharedConnection, ReleasedOperationEndsAtTheBackendAndOthersGoOn)
{
    using namespace std::chrono_literals;
    settle();
    ASSERT_EQ(backend().queries(), 2U);
    first.release();
    advance(3s);
    EXPECT_EQ(backend().queries(), 1U);
    come("second");
    settle(connection);
    EXPECT_EQ(second.data.size(), 1U);
}

TEST_F(SharedConnection, ReleasedEndsAllItsOperations)
{
    using namespace std::chrono_literals;
    settle();
    ASSERT_EQ(backend().queries(), 2U);
    connection.release();
    advance(3s);
    EXPECT_EQ(backend().queries(), 0U);
    EXPECT_FALSE(backend().isInUse());
}

TEST_F(SharedConnection, MayBeReleasedInACallbackOfAnOperationOnIt)
{
    first.onReply = [this] { connection.release(); };
    come("first");
    come("second");
    settle();
    EXPECT_EQ(DNSServiceProcessResult(connection.ref()), kDNSServiceErr_NoError);
    EXPECT_EQ(first.data.size(), 1U);
    EXPECT_TRUE(second.data.empty());
}

TEST_F(SharedConnection, OperationMayBeReleasedInItsOwnCallback)
{
    first.onReply = [this] { first.release(); };
    come("first");
    come("second");
    settle(connection);
    EXPECT_EQ(first.data.size(), 1U);
    EXPECT_EQ(second.data.size(), 1U);
}

TEST_F(SharedConnection, CarriesEveryKindOfOperation)
{
    const auto share = [this](auto start) {
        DNSServiceRef ref = connection.ref();
        EXPECT_EQ(start(&ref), kDNSServiceErr_NoError);
        EXPECT_NE(ref, connection.ref());
        EXPECT_EQ(DNSServiceRefSockFD(ref), DNSServiceRefSockFD(connection.ref()));
    };
    const DNSServiceFlags flags = kDNSServiceFlagsShareConnection;
    int replies = 0;
    share([&](DNSServiceRef* ref) {
        return DNSServiceBrowse(
            ref, flags, 0, "_demo._tcp", nullptr,
            [](DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*, const char*,
               const char*, void* count) { ++*static_cast<int*>(count); },
            &replies);
    });
    share([&](DNSServiceRef* ref) {
        return DNSServiceResolve(
            ref, flags, 0, "name", "_demo._tcp", "local",
            [](DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*, const char*,
               uint16_t, uint16_t, const unsigned char*, void* count) { ++*static_cast<int*>(count); },
            &replies);
    });
    share([&](DNSServiceRef* ref) {
        return DNSServiceGetAddrInfo(
            ref, flags, 0, 0, "hostb.local",
            [](DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*, const sockaddr*,
               uint32_t, void* count) { ++*static_cast<int*>(count); },
            &replies);
    });
    share([&](DNSServiceRef* ref) {
        return DNSServiceRegister(
            ref, flags, 0, "own", "_demo._tcp", nullptr, nullptr, 0x1234, 0, nullptr,
            [](DNSServiceRef, DNSServiceFlags, DNSServiceErrorType, const char*, const char*, const char*,
               void* count) { ++*static_cast<int*>(count); },
            &replies);
    });
    share([&](DNSServiceRef* ref) {
        return DNSServiceEnumerateDomains(
            ref, flags | kDNSServiceFlagsBrowseDomains, 0,
            [](DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*, void* count) {
                ++*static_cast<int*>(count);
            },
            &replies);
    });
    backend().come(instancePointer("name"));
    backend().come(service("name", {"hostb", "local"}, 80));
    backend().come(txtOf("name", "\3a=1"));
    backend().come(address(kDNSServiceType_A, "\1\2\3\4"));
    EXPECT_TRUE(eventually({&connection}, [&] { return replies == 5; }));
}

TEST_F(SharedConnection, ReleasedWithdrawsItsRegistrations)
{
    DNSServiceRef registration = connection.ref();
    ASSERT_EQ(DNSServiceRegister(&registration, kDNSServiceFlagsShareConnection, 0, "own", "_demo._tcp",
                                 nullptr, nullptr, 0x1234, 0, nullptr, nullptr, nullptr),
              kDNSServiceErr_NoError);
    settle();
    ASSERT_EQ(backend().standing().size(), 1U);
    connection.release();
    settle();
    EXPECT_EQ(backend().standing().size(), 0U);
}

TEST_F(SharedConnection, TakesOneDescriptorForFiveThousandQueries)
{
    const std::size_t before = openDescriptors();
    std::vector<std::unique_ptr<ConnectedQuery>> queries;
    for (std::size_t i = 0; i < 5000; ++i)
        queries.push_back(std::make_unique<ConnectedQuery>(connection.ref(), fullName(instanceNumber(i))));
    settle();
    EXPECT_EQ(backend().queries(), 5002U);
    EXPECT_EQ(openDescriptors(), before);
    for (std::size_t i = 0; i < 5000; i += 100)
        come(instanceNumber(i));
    settle(connection);
    for (std::size_t i = 0; i < 5000; i += 100)
        ASSERT_EQ(queries[i]->data, std::vector<std::string>{"\3a=1"});
}

TEST_F(SharedConnection, KeepsTheLastReplyOfEachOperationWhenNoneIsTaken)
{
    for (int i = 0; i < 2000; ++i) {
        for (const char* instance : {"first", "second"}) {
            backend().come(txtOf(instance, "\3a=1"));
            backend().go(txtOf(instance, "\3a=1"));
        }
    }
    come("first");
    come("second");
    settle();
    connection.process();
    // What came and went is dropped, and what is there now is told, of each operation for itself.
    EXPECT_LT(first.data.size() + second.data.size(), 1100U);
    EXPECT_TRUE(first.flags.back() & kDNSServiceFlagsAdd);
    EXPECT_TRUE(second.flags.back() & kDNSServiceFlagsAdd);
}

TEST_F(SharedConnection, IsRefusedWhereThereIsNone)
{
    EXPECT_EQ(DNSServiceCreateConnection(nullptr), kDNSServiceErr_BadParam);
    const ConnectedQuery onNothing(nullptr, fullName("name"));
    EXPECT_EQ(onNothing.error(), kDNSServiceErr_BadParam);
    EXPECT_EQ(onNothing.ref(), nullptr);
    const Browse browse("_demo._tcp");
    const ConnectedQuery onBrowse(browse.ref(), fullName("name"));
    EXPECT_EQ(onBrowse.error(), kDNSServiceErr_BadReference);
    EXPECT_EQ(onBrowse.ref(), nullptr);
    const ConnectedQuery onQuery(first.ref(), fullName("name"));
    EXPECT_EQ(onQuery.error(), kDNSServiceErr_BadReference);
    EXPECT_EQ(onQuery.ref(), nullptr);
}

TEST_F(SharedConnection, FailedStartSetsTheReferenceToNullAndLeavesTheConnection)
{
    const ConnectedQuery bad(connection.ref(), "a..b.local.");
    EXPECT_EQ(bad.error(), kDNSServiceErr_BadParam);
    EXPECT_EQ(bad.ref(), nullptr);
    come("first");
    settle(connection);
    EXPECT_EQ(first.data.size(), 1U);
}

TEST_F(SharedConnection, InheritedByAForkIsRefusedWithAllItsOperations)
{
    settle();
    const pid_t child = fork();
    if (child == 0) {
        const ConnectedQuery another(connection.ref(), fullName("name"));
        const bool isRefused = DNSServiceRefSockFD(connection.ref()) == -1 &&
                               DNSServiceRefSockFD(first.ref()) == -1 &&
                               DNSServiceProcessResult(connection.ref()) == kDNSServiceErr_BadReference &&
                               DNSServiceProcessResult(first.ref()) == kDNSServiceErr_BadReference &&
                               another.error() == kDNSServiceErr_BadReference && !another.ref();
        first.release();
        connection.release();
        _exit(isRefused ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    come("first");
    settle(connection);
    EXPECT_EQ(first.data.size(), 1U);
}
