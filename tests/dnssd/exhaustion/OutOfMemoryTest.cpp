// SPDX-License-Identifier: MIT
//
// Each allocation of a call in turn finds no memory: the call says so, and nothing is thrown or leaked.
#include "Connection.h"
#include "FailingAllocation.h"
#include "IgnoredReplies.h"
#include "PlayedNetwork.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

constexpr unsigned TooMany = 10000; // allocations of one call

const std::string LongTxt = "\x1Ftext=longer than a short string";

void onDomain(DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*, void*) {}
void onRegisteredRecord(DNSServiceRef, DNSRecordRef, DNSServiceFlags, DNSServiceErrorType, void*) {}

DNSServiceErrorType startRegister(DNSServiceRef* ref, DNSServiceFlags flags)
{
    return DNSServiceRegister(ref, flags, 0, "The name of a service in the kitchen", "_demo._tcp,_a,_b",
                              "local", "a host in the kitchen.local", 80, 4, "\3a=1", onRegister, nullptr);
}
DNSServiceErrorType startBrowse(DNSServiceRef* ref, DNSServiceFlags flags)
{
    return DNSServiceBrowse(ref, flags, 0, "_demo._tcp,_subtype-of-some-length", "local", onBrowse, nullptr);
}
DNSServiceErrorType startResolve(DNSServiceRef* ref, DNSServiceFlags flags)
{
    return DNSServiceResolve(ref, flags, 0, "The name of a service in the kitchen", "_demo._tcp", "local",
                             onResolve, nullptr);
}
DNSServiceErrorType startAddresses(DNSServiceRef* ref, DNSServiceFlags flags)
{
    return DNSServiceGetAddrInfo(ref, flags, 0, 0, "the name of a host in the kitchen.local", onAddress,
                                 nullptr);
}
DNSServiceErrorType startQuery(DNSServiceRef* ref, DNSServiceFlags flags)
{
    return DNSServiceQueryRecord(ref, flags, 0, "The name of a service in the kitchen._demo._tcp.local.",
                                 kDNSServiceType_TXT, kDNSServiceClass_IN, onRecord, nullptr);
}
DNSServiceErrorType startDomains(DNSServiceRef* ref, DNSServiceFlags flags)
{
    return DNSServiceEnumerateDomains(ref, flags | kDNSServiceFlagsBrowseDomains, 0, onDomain, nullptr);
}
DNSServiceErrorType startSilent(DNSServiceRef* ref, DNSServiceFlags flags)
{
    return DNSServiceBrowse(ref, flags, 0x7FFFFFF0 + 0x80000000U, "_demo._tcp", nullptr, onBrowse, nullptr);
}

DNSServiceErrorType startConnection(DNSServiceRef* ref, DNSServiceFlags)
{
    return DNSServiceCreateConnection(ref);
}

DNSServiceErrorType registerRecord(DNSServiceRef connection, DNSRecordRef* record)
{
    return DNSServiceRegisterRecord(connection, record, kDNSServiceFlagsUnique, 0,
                                    "the name of a printer in the kitchen.local.", kDNSServiceType_TXT,
                                    kDNSServiceClass_IN, uint16_t(LongTxt.size()), LongTxt.data(), 0,
                                    onRegisteredRecord, nullptr);
}
DNSServiceErrorType addRecord(DNSServiceRef service, DNSRecordRef* record)
{
    return DNSServiceAddRecord(service, record, 0, kDNSServiceType_TXT, uint16_t(LongTxt.size()),
                               LongTxt.data(), 0);
}

struct StartCall
{
    const char* name;
    DNSServiceErrorType (*start)(DNSServiceRef*, DNSServiceFlags);
};

const StartCall CallsOnAConnection[] = {{"Register", startRegister}, {"Browse", startBrowse},
                                        {"Resolve", startResolve},   {"Addresses", startAddresses},
                                        {"Query", startQuery},       {"Domains", startDomains},
                                        {"Silent", startSilent}};

/// Has `call(number, hasFailed)` fail its allocations in turn, and say whether there was one of that number.
template <typename Call>
void failEachAllocation(Call call)
{
    unsigned failures = 0;
    for (unsigned number = 1; number < TooMany; ++number) {
        bool hasFailed = false;
        const DNSServiceErrorType error = call(number, hasFailed);
        if (!hasFailed) {
            EXPECT_EQ(error, kDNSServiceErr_NoError) << number;
            EXPECT_GT(failures, 0U) << "the call allocates nothing";
            return;
        }
        ++failures;
        EXPECT_EQ(error, kDNSServiceErr_NoMemory) << number;
    }
    FAIL() << "the call never succeeds";
}

class OutOfMemoryOfStarts : public PlayedNetwork
{
protected:
    /// Has `start(&ref)` fail its allocations in turn, and ends what it started.
    template <typename Start>
    void expectNoMemoryOfEachStart(Start start)
    {
        failEachAllocation([&](unsigned number, bool& hasFailed) {
            DNSServiceRef ref = nullptr;
            DNSServiceErrorType error = kDNSServiceErr_NoError;
            {
                const FailingAllocation failing(number);
                error = start(&ref);
                hasFailed = failing.hasFailed();
            }
            EXPECT_EQ(ref == nullptr, error != kDNSServiceErr_NoError) << number;
            settle();
            DNSServiceRefDeallocate(ref);
            settle();
            return error;
        });
    }
};

class OutOfMemory : public OutOfMemoryOfStarts, public testing::WithParamInterface<StartCall>
{
};

class OutOfMemoryOnAConnection : public OutOfMemoryOfStarts, public testing::WithParamInterface<StartCall>
{
protected:
    /// A handle on the connection.
    DNSServiceErrorType start(DNSServiceRef* ref) const
    {
        *ref = connection.ref();
        return GetParam().start(ref, kDNSServiceFlagsShareConnection);
    }

    Connection connection;
};

/// A single record, of a connection or of a service.
class OutOfMemoryForARecord : public PlayedNetwork, public testing::WithParamInterface<bool>
{
protected:
    OutOfMemoryForARecord() { settle(service); }

    bool isAdded() const { return GetParam(); }
    DNSServiceRef owner() const { return isAdded() ? service.ref() : connection.ref(); }
    DNSServiceErrorType start(DNSRecordRef* record) const
    {
        return isAdded() ? addRecord(owner(), record) : registerRecord(owner(), record);
    }

    Connection connection;
    Registration service{"Kitchen", "_demo._tcp", 80};
};

using OutOfMemoryCall = PlayedNetwork;

} // namespace

TEST_P(OutOfMemory, IsWhatAStartCallReturns)
{
    expectNoMemoryOfEachStart([](DNSServiceRef* ref) { return GetParam().start(ref, 0); });
    EXPECT_FALSE(backend().isInUse());
}

TEST_P(OutOfMemory, IsNeverMetByARelease)
{
    DNSServiceRef ref = nullptr;
    for (const bool isStarted : {true, false}) {
        ASSERT_EQ(GetParam().start(&ref, 0), kDNSServiceErr_NoError);
        if (isStarted)
            settle();
        const unsigned before = allocations();
        DNSServiceRefDeallocate(ref);
        EXPECT_EQ(allocations(), before);
        settle();
    }
    EXPECT_FALSE(backend().isInUse());
}

/// The loop drops what it is at; whatever that was, later operations work.
TEST_P(OutOfMemory, LeavesTheLoopAtWork)
{
    backend().come(instancePointer("Kitchen"));
    settle();
    bool hasFailed = true;
    for (unsigned number = 1; hasFailed && number < TooMany; ++number) {
        DNSServiceRef ref = nullptr;
        ASSERT_EQ(GetParam().start(&ref, 0), kDNSServiceErr_NoError);
        {
            const FailingAllocation failing(number);
            settle();
            hasFailed = failing.hasFailed();
        }
        advance(1s);
        DNSServiceRefDeallocate(ref);
        advance(3s);
        Browse browse("_demo._tcp");
        settle(browse);
        ASSERT_TRUE(browse.has("Kitchen")) << number;
        browse.release();
        advance(3s);
    }
    EXPECT_FALSE(hasFailed);
    EXPECT_EQ(backend().queries(), 0U);
    EXPECT_FALSE(backend().isInUse());
}

INSTANTIATE_TEST_SUITE_P(Calls, OutOfMemory, testing::ValuesIn(CallsOnAConnection),
                         [](const auto& test) { return std::string(test.param.name); });
INSTANTIATE_TEST_SUITE_P(Connection, OutOfMemory, testing::Values(StartCall{"Connection", startConnection}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(OutOfMemoryOnAConnection, IsWhatAStartCallReturns)
{
    expectNoMemoryOfEachStart([this](DNSServiceRef* ref) { return start(ref); });
    EXPECT_TRUE(backend().isInUse()) << "by the connection";
    connection.release();
    settle();
    EXPECT_FALSE(backend().isInUse());
}

TEST_P(OutOfMemoryOnAConnection, IsNeverMetByARelease)
{
    DNSServiceRef ref = nullptr;
    ASSERT_EQ(start(&ref), kDNSServiceErr_NoError);
    settle();
    unsigned before = allocations();
    DNSServiceRefDeallocate(ref);
    EXPECT_EQ(allocations(), before);
    ASSERT_EQ(start(&ref), kDNSServiceErr_NoError);
    settle();
    before = allocations();
    connection.release();
    EXPECT_EQ(allocations(), before);
    settle();
    EXPECT_FALSE(backend().isInUse());
}

/// What one operation finds no memory for costs the others on the connection nothing.
TEST_P(OutOfMemoryOnAConnection, LeavesOthersOnItAtWork)
{
    backend().come(txtOf("Kitchen", "\3a=1"));
    settle();
    bool hasFailed = true;
    for (unsigned number = 1; hasFailed && number < TooMany; ++number) {
        DNSServiceRef ref = nullptr;
        ASSERT_EQ(start(&ref), kDNSServiceErr_NoError);
        {
            const FailingAllocation failing(number);
            settle();
            hasFailed = failing.hasFailed();
        }
        DNSServiceRefDeallocate(ref);
        advance(3s);
        ConnectedQuery query(connection.ref(), "Kitchen._demo._tcp.local.");
        settle(connection);
        ASSERT_EQ(query.data, std::vector<std::string>{"\3a=1"}) << number;
        query.release();
        advance(3s);
    }
    EXPECT_FALSE(hasFailed);
    EXPECT_EQ(backend().queries(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Calls, OutOfMemoryOnAConnection, testing::ValuesIn(CallsOnAConnection),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(OutOfMemoryForARecord, IsWhatTheCallReturns)
{
    failEachAllocation([&](unsigned number, bool& hasFailed) {
        DNSRecordRef record = nullptr;
        DNSServiceErrorType error = kDNSServiceErr_NoError;
        {
            const FailingAllocation failing(number);
            error = start(&record);
            hasFailed = failing.hasFailed();
        }
        EXPECT_EQ(record == nullptr, error != kDNSServiceErr_NoError) << number;
        settle();
        EXPECT_EQ(backend().records().size(), error == kDNSServiceErr_NoError ? 1U : 0U) << number;
        return error;
    });
}

TEST_P(OutOfMemoryForARecord, IsWhatAnUpdateReturns)
{
    DNSRecordRef record = nullptr;
    ASSERT_EQ(start(&record), kDNSServiceErr_NoError);
    settle();
    const std::string txt = "\x20text=another long string, and on";
    failEachAllocation([&](unsigned number, bool& hasFailed) {
        const FailingAllocation failing(number);
        const auto error = DNSServiceUpdateRecord(owner(), record, 0, uint16_t(txt.size()), txt.data(), 0);
        hasFailed = failing.hasFailed();
        return error;
    });
    settle();
    ASSERT_EQ(backend().records().size(), 1U);
    EXPECT_EQ(backend().records().front().data, txt);
}

TEST_P(OutOfMemoryForARecord, IsNeverMetByARemoval)
{
    DNSRecordRef record = nullptr;
    ASSERT_EQ(start(&record), kDNSServiceErr_NoError);
    settle();
    const unsigned before = allocations();
    EXPECT_EQ(DNSServiceRemoveRecord(owner(), record, 0), kDNSServiceErr_NoError);
    EXPECT_EQ(allocations(), before);
    settle();
    EXPECT_TRUE(backend().records().empty());
}

/// The loop drops what it is at, and later records are published.
TEST_P(OutOfMemoryForARecord, LeavesTheLoopAtWork)
{
    bool hasFailed = true;
    for (unsigned number = 1; hasFailed && number < TooMany; ++number) {
        DNSRecordRef record = nullptr;
        ASSERT_EQ(start(&record), kDNSServiceErr_NoError);
        {
            const FailingAllocation failing(number);
            settle();
            hasFailed = failing.hasFailed();
        }
        EXPECT_EQ(DNSServiceRemoveRecord(owner(), record, 0), kDNSServiceErr_NoError);
        settle();
        ASSERT_TRUE(backend().records().empty()) << number;
        ASSERT_EQ(start(&record), kDNSServiceErr_NoError);
        settle();
        ASSERT_EQ(backend().records().size(), 1U) << number;
        EXPECT_EQ(DNSServiceRemoveRecord(owner(), record, 0), kDNSServiceErr_NoError);
        settle();
    }
    EXPECT_FALSE(hasFailed);
    service.release();
    connection.release();
    settle();
    EXPECT_FALSE(backend().isInUse());
}

INSTANTIATE_TEST_SUITE_P(Records, OutOfMemoryForARecord, testing::Bool(),
                         [](const auto& test) { return test.param ? "Added" : "Registered"; });

TEST_F(OutOfMemoryCall, LeavesTheResolveLimiterAtWork)
{
    backend().come(instancePointer("Kitchen"));
    backend().come(service("Kitchen", {"hostb", "local"}, 8080));
    backend().come(txtOf("Kitchen", "\3a=1"));
    const Browse browse("_demo._tcp", Lan1);
    settle();
    bool hasFailed = true;
    for (unsigned number = 1; hasFailed && number < TooMany; ++number) {
        Resolve first("Kitchen", "_demo._tcp", "local", Lan1);
        {
            const FailingAllocation failing(number);
            settle();
            hasFailed = failing.hasFailed();
        }
        first.release();
        advance(3s);
        Resolve next("Kitchen", "_demo._tcp", "local", Lan1);
        settle(next);
        ASSERT_EQ(next.replies.size(), 1U) << number;
        next.release();
        advance(3s);
    }
    EXPECT_FALSE(hasFailed);
}

/// The application has its handle's release behind it: what follows on the I/O thread cannot be told of.
TEST_F(OutOfMemoryCall, EndOfOperationsOnTheIoThreadGoesWithoutMemory)
{
    backend().come(instancePointer("Kitchen"));
    backend().come(service("Kitchen", {"hostb", "local"}, 8080));
    backend().come(txtOf("Kitchen", "\3a=1"));
    bool hasFailed = true;
    for (unsigned number = 1; hasFailed && number < TooMany; ++number) {
        Browse browse("_demo._tcp", Lan1);
        settle(browse);
        std::vector<std::unique_ptr<Handle>> handles;
        for (int i = 0; i < 60; ++i)
            handles.push_back(std::make_unique<Resolve>("Kitchen", "_demo._tcp", "local", Lan1));
        handles.push_back(std::make_unique<RecordQuery>("Kitchen._demo._tcp.local.", kDNSServiceType_TXT));
        handles.push_back(std::make_unique<Registration>("Hall", "_demo._tcp", 80));
        settle();
        browse.release();
        handles.clear();
        {
            const FailingAllocation failing(number);
            advance(3s);
            hasFailed = failing.hasFailed();
        }
        advance(3s);
        ASSERT_EQ(backend().queries(), 0U) << number;
        ASSERT_FALSE(backend().isInUse()) << number;
    }
    Browse browse("_demo._tcp");
    settle(browse);
    EXPECT_TRUE(browse.has("Kitchen"));
}

TEST_F(OutOfMemoryCall, UpdateRecordSaysSo)
{
    const Registration registration("Kitchen", "_demo._tcp", 80);
    settle();
    failEachAllocation([&](unsigned number, bool& hasFailed) {
        const FailingAllocation failing(number);
        const auto error = DNSServiceUpdateRecord(registration.ref(), nullptr, 0, uint16_t(LongTxt.size()),
                                                  LongTxt.data(), 0);
        hasFailed = failing.hasFailed();
        return error;
    });
    settle();
    EXPECT_EQ(lastPublished().txt, LongTxt);
}

TEST_F(OutOfMemoryCall, ReconfirmRecordSaysSo)
{
    failEachAllocation([&](unsigned number, bool& hasFailed) {
        const FailingAllocation failing(number);
        const auto error = DNSServiceReconfirmRecord(0, 0, "Kitchen._demo._tcp.local.", kDNSServiceType_TXT,
                                                     kDNSServiceClass_IN, 4, "\3a=1");
        hasFailed = failing.hasFailed();
        return error;
    });
}

/// A step that is given up leaves the record as it was, and the next call starts anew.
TEST_F(OutOfMemoryCall, LeavesReconfirmationsAtWork)
{
    backend().setHostsAnswer(false);
    bool hasFailed = true;
    for (unsigned number = 1; hasFailed && number < TooMany; ++number) {
        RecordQuery query("Kitchen._demo._tcp.local.", kDNSServiceType_TXT, 0, Lan1);
        settle();
        backend().come(txtOf("Kitchen", "\3a=1"));
        settle(query);
        ASSERT_EQ(query.replies.size(), 1U) << number;
        const auto reconfirm = [] {
            DNSServiceReconfirmRecord(0, 0, "Kitchen._demo._tcp.local.", kDNSServiceType_TXT,
                                      kDNSServiceClass_IN, 4, "\3a=1");
        };
        reconfirm();
        {
            const FailingAllocation failing(number);
            settle();
            hasFailed = failing.hasFailed();
        }
        reconfirm();
        settle();
        advance(9s);
        settle(query);
        EXPECT_EQ(query.replies.size(), 2U) << number;
        backend().go(txtOf("Kitchen", "\3a=1"));
        query.release();
        settle();
        advance(10s);
    }
    EXPECT_FALSE(hasFailed);
    EXPECT_EQ(backend().standingHostQuestions(), 0U);
}

TEST_F(OutOfMemoryCall, ConstructFullNameSaysSo)
{
    char name[kDNSServiceMaxDomainName];
    failEachAllocation([&](unsigned number, bool& hasFailed) {
        const FailingAllocation failing(number);
        const auto error =
            DNSServiceConstructFullName(name, "The name of a service in the kitchen", "_demo._tcp", "local");
        hasFailed = failing.hasFailed();
        return error;
    });
}

/// The first call of a process makes its engine.
TEST(OutOfMemoryEngine, IsNotMade)
{
    uint32_t version = 0;
    uint32_t size = sizeof version;
    failEachAllocation([&](unsigned number, bool& hasFailed) {
        setProcessEngine(nullptr);
        const FailingAllocation failing(number);
        const auto error = DNSServiceGetProperty(kDNSServiceProperty_DaemonVersion, &version, &size);
        hasFailed = failing.hasFailed();
        return error;
    });
    Browse browse("_demo._tcp");
    FakeBackend::last().come(instancePointer("Kitchen"));
    EXPECT_TRUE(waitUntil({&browse}, [&] { return browse.has("Kitchen"); }));
    browse.release();
    processEngine()->shutDown(1s);
    setProcessEngine(nullptr);
}
