// SPDX-License-Identifier: MIT
//
// The calls of vesk_dnssd_memory.h, and what dns_sd.h gives on the network in memory.
#include "vesk_dnssd_memory.h"

#include "ChildProcess.h"
#include "Connection.h"
#include "vesk_dnssd.h"

#include <arpa/inet.h>

#include <filesystem>
#include <thread>

using namespace vesk::dnssd::tests;

namespace {

constexpr char Type[] = "_demo._tcp";
constexpr uint32_t Loopback = 1;
constexpr uint32_t NoInterface = 4711; // that any machine has

VeskDnssdMemoryService service(const char* name, uint16_t port = 8080)
{
    VeskDnssdMemoryService service{};
    service.name = name;
    service.type = Type;
    service.port = htons(port);
    return service;
}

DNSServiceErrorType publish(const char* name, uint16_t port = 8080)
{
    const auto argument = service(name, port);
    return VeskDnssdMemoryPublish(&argument);
}

class MemoryCalls : public testing::Test
{
protected:
    void SetUp() override
    {
        VeskDnssdChooseBackend(kVeskDnssdBackend_Memory); // refused when it has been chosen already
        ASSERT_EQ(VeskDnssdMemoryReset(), kDNSServiceErr_NoError);
    }
    void TearDown() override { VeskDnssdMemoryReset(); }
};

std::string wireName(const std::vector<std::string>& labels)
{
    std::string wire;
    for (const std::string& label : labels)
        (wire += static_cast<char>(label.size())) += label;
    return wire + '\0';
}

} // namespace

// First of all: the choice holds for a process, and for what it forks once it has made an operation.
TEST(MemoryCallsChoice, AreRefusedOnAnotherBackend)
{
    EXPECT_TRUE(succeedsInChild([] {
        if (VeskDnssdChooseBackend(kVeskDnssdBackend_Daemon) != kDNSServiceErr_NoError)
            return false;
        return publish("Kitchen") == kDNSServiceErr_BadState &&
               VeskDnssdMemoryWithdraw("Kitchen", Type, 0) == kDNSServiceErr_BadState &&
               VeskDnssdMemorySetConnected(1) == kDNSServiceErr_BadState &&
               VeskDnssdMemorySetResponding(1) == kDNSServiceErr_BadState &&
               VeskDnssdMemorySetRefusing(0) == kDNSServiceErr_BadState &&
               VeskDnssdMemoryReset() == kDNSServiceErr_BadState;
    }));
}

TEST(MemoryCallsChoice, WorkWhereTheEnvironmentChoosesTheMemory)
{
    EXPECT_TRUE(succeedsInChild([] {
        setenv("VESK_DNSSD_BACKEND", "memory", 1);
        VeskDnssdBackendInfo info{};
        uint32_t size = sizeof info;
        Browse browse(Type);
        return publish("Kitchen") == kDNSServiceErr_NoError &&
               waitUntil({&browse}, [&] { return browse.has("Kitchen"); }) &&
               DNSServiceGetProperty(kVeskDnssdProperty_Backend, &info, &size) == kDNSServiceErr_NoError &&
               info.inUse == kVeskDnssdBackend_Memory && info.state == kVeskDnssdBackendState_Running;
    }));
}

TEST_F(MemoryCalls, QueriesOfEveryTypeAreAnsweredWithTheirTtl)
{
    const std::string txt("\x05oven=", 6);
    const char* const addresses[] = {"192.0.2.7", "fe80::7"};
    auto kitchen = service("Kitchen");
    kitchen.host = "hostb";
    kitchen.addresses = addresses;
    kitchen.addressCount = 2;
    kitchen.txtRecord = txt.data();
    kitchen.txtLen = static_cast<uint16_t>(txt.size());
    ASSERT_EQ(VeskDnssdMemoryPublish(&kitchen), kDNSServiceErr_NoError);

    const std::string instance = wireName({"Kitchen", "_demo", "_tcp", "local"});
    const std::string srv = std::string("\0\0\0\0\x1F\x90", 6) + wireName({"hostb", "local"});
    struct
    {
        const char* name;
        uint16_t type;
        std::multiset<std::string> data;
        uint32_t ttl;
    } const rows[] = {
        {"_demo._tcp.local.", kDNSServiceType_PTR, {instance}, 4500},
        {"_services._dns-sd._udp.local.", kDNSServiceType_PTR, {wireName({"_demo", "_tcp", "local"})}, 4500},
        {"kitchen._DEMO._tcp.local.", kDNSServiceType_SRV, {srv}, 120},
        {"Kitchen._demo._tcp.local.", kDNSServiceType_TXT, {txt}, 4500},
        {"hostb.local.", kDNSServiceType_A, {{'\xC0', 0, 2, 7}}, 120},
        {"hostb.local.", kDNSServiceType_AAAA, {"\xFE\x80" + std::string(13, '\0') + '\7'}, 120},
        {"testhost.local.", kDNSServiceType_A, {{127, 0, 0, 1}}, 120},
    };
    for (const auto& row : rows) {
        RecordQuery query(row.name, row.type);
        ASSERT_TRUE(waitUntil({&query}, [&] { return !query.replies.empty(); })) << row.name;
        EXPECT_EQ(query.present(Loopback), row.data) << row.name << row.type;
        EXPECT_EQ(query.replies[0].ttl, row.ttl) << row.name;
    }
    RecordQuery any("Kitchen._demo._tcp.local.", kDNSServiceType_ANY);
    const std::multiset<std::string> both{srv, txt};
    EXPECT_TRUE(waitUntil({&any}, [&] { return any.present(Loopback) == both; }));
}

TEST_F(MemoryCalls, SubtypesAreBrowsed)
{
    auto printer = service("Printer");
    printer.type = "_demo._tcp,_colour,_duplex";
    ASSERT_EQ(VeskDnssdMemoryPublish(&printer), kDNSServiceErr_NoError);
    ASSERT_EQ(publish("Kitchen"), kDNSServiceErr_NoError);
    Browse duplex("_demo._tcp,_duplex");
    Browse all(Type);
    EXPECT_TRUE(waitUntil({&duplex, &all}, [&] { return duplex.has("Printer") && all.has("Kitchen"); }));
    EXPECT_EQ(duplex.events.size(), 1U);
    EXPECT_EQ(all.present().size(), 2U);
}

TEST_F(MemoryCalls, ResolveAndLookupThatStayAreToldOfChanges)
{
    const char* const before[] = {"192.0.2.7"};
    const char* const after[] = {"192.0.2.8"};
    auto kitchen = service("Kitchen", 8080);
    kitchen.addresses = before;
    kitchen.addressCount = 1;
    ASSERT_EQ(VeskDnssdMemoryPublish(&kitchen), kDNSServiceErr_NoError);
    Browse browse(Type);
    ASSERT_TRUE(waitUntil({&browse}, [&] { return browse.has("Kitchen"); }));
    Resolve resolve("Kitchen", Type, "local.", Loopback);
    Addresses addresses("Kitchen.local.", kDNSServiceProtocol_IPv4);
    ASSERT_TRUE(waitUntil({&resolve, &addresses},
                          [&] { return !resolve.replies.empty() && !addresses.replies.empty(); }));
    EXPECT_EQ(resolve.replies[0].port, 8080);
    EXPECT_EQ(resolve.replies[0].host, "Kitchen.local.");

    kitchen.port = htons(8081);
    kitchen.addresses = after;
    ASSERT_EQ(VeskDnssdMemoryPublish(&kitchen), kDNSServiceErr_NoError);
    ASSERT_TRUE(waitUntil({&resolve, &addresses}, [&] {
        return resolve.replies.back().port == 8081 && addresses.replies.size() == 3;
    }));
    EXPECT_EQ(resolve.replies.size(), 2U);
    EXPECT_EQ(addresses.replies[1].address, "192.0.2.8");
    EXPECT_EQ(addresses.replies[1].flags & kDNSServiceFlagsAdd, kDNSServiceFlagsAdd);
    EXPECT_EQ(addresses.replies[2].address, "192.0.2.7");
    EXPECT_EQ(addresses.replies[2].flags & kDNSServiceFlagsAdd, 0U);
    EXPECT_EQ(browse.events.size(), 1U);
}

TEST_F(MemoryCalls, ServiceOfAnInterfaceIsSeenThereAlone)
{
    auto onOne = service("There");
    onOne.interfaceIndex = NoInterface;
    ASSERT_EQ(VeskDnssdMemoryPublish(&onOne), kDNSServiceErr_NoError);
    ASSERT_EQ(publish("Everywhere"), kDNSServiceErr_NoError);
    Browse anywhere(Type);
    Browse loopback(Type, Loopback);
    Browse there(Type, NoInterface);
    ASSERT_TRUE(waitUntil({&anywhere, &loopback, &there}, [&] {
        return anywhere.has("There") && anywhere.has("Everywhere") && loopback.has("Everywhere") &&
               there.has("There");
    }));
    EXPECT_EQ(anywhere.present().count({"There", "_demo._tcp.", "local.", NoInterface}), 1U);
    EXPECT_EQ(anywhere.present().count({"Everywhere", "_demo._tcp.", "local.", Loopback}), 1U);
    EXPECT_EQ(loopback.events.size(), 1U);
    EXPECT_EQ(there.events.size(), 1U) << "what is everywhere is where there is an interface";
    Resolve resolve("There", Type, "local.", NoInterface);
    Addresses addresses("There.local.", kDNSServiceProtocol_IPv4, NoInterface);
    EXPECT_TRUE(waitUntil({&resolve, &addresses},
                          [&] { return !resolve.replies.empty() && !addresses.replies.empty(); }));

    EXPECT_EQ(VeskDnssdMemoryWithdraw("There", Type, Loopback), kDNSServiceErr_NoSuchName);
    EXPECT_EQ(VeskDnssdMemoryWithdraw("There", Type, 0), kDNSServiceErr_NoError);
    EXPECT_TRUE(waitUntil({&anywhere}, [&] { return !anywhere.has("There"); }));
}

TEST_F(MemoryCalls, RegistrationThatMustNotRenameEndsWithTheConflict)
{
    Registration renamed("Kitchen", Type, 81);
    Registration strict("Hall", Type, 82, "", kDNSServiceFlagsNoAutoRename);
    ASSERT_TRUE(waitUntil({&renamed, &strict}, [&] { return renamed.isDone() && strict.isDone(); }));
    ASSERT_EQ(publish("Kitchen", 0), kDNSServiceErr_NoError);
    ASSERT_EQ(publish("HALL", 0), kDNSServiceErr_NoError);
    ASSERT_TRUE(waitUntil({&renamed, &strict},
                          [&] { return renamed.replies.size() == 3 && strict.replies.size() == 3; }));
    EXPECT_EQ(renamed.replies[1].flags & kDNSServiceFlagsAdd, 0U);
    EXPECT_EQ(renamed.replies[2].name, "Kitchen (2)");
    EXPECT_EQ(strict.replies[2].error, kDNSServiceErr_NameConflict);
}

TEST_F(MemoryCalls, IdenticalRegistrationsShareAName)
{
    Registration first("Kitchen", Type, 80);
    Registration same("Kitchen", Type, 80);
    Registration other("KITCHEN", Type, 81);
    ASSERT_TRUE(waitUntil({&first, &same, &other},
                          [&] { return first.isDone() && same.isDone() && other.isDone(); }));
    EXPECT_EQ(same.replies[0].name, "Kitchen");
    EXPECT_EQ(other.replies[0].name, "KITCHEN (2)");
    Browse browse(Type);
    ASSERT_TRUE(waitUntil({&browse}, [&] { return browse.present().size() == 2; }));
    first.release();
    Resolve resolve("Kitchen", Type, "local.", Loopback);
    EXPECT_TRUE(waitUntil({&resolve}, [&] { return !resolve.replies.empty(); }));
}

TEST_F(MemoryCalls, SingleRecordsAreRegisteredAndCollide)
{
    const std::string address{10, 0, 0, 1};
    Connection connection;
    RegisteredRecord unique(connection.ref(), "unique.local.", kDNSServiceType_A, address,
                            kDNSServiceFlagsUnique);
    RegisteredRecord own(connection.ref(), "testhost.local.", kDNSServiceType_A, address,
                         kDNSServiceFlagsUnique);
    ASSERT_EQ(publish("others"), kDNSServiceErr_NoError);
    RegisteredRecord others(connection.ref(), "others.local.", kDNSServiceType_A, address,
                            kDNSServiceFlagsUnique);
    RegisteredRecord shared(connection.ref(), "others.local.", kDNSServiceType_A, address,
                            kDNSServiceFlagsShared);
    ASSERT_TRUE(waitUntil({&connection}, [&] {
        return unique.isDone() && own.isDone() && others.isDone() && shared.isDone();
    }));
    EXPECT_EQ(unique.errors[0], kDNSServiceErr_NoError);
    EXPECT_EQ(own.errors[0], kDNSServiceErr_NameConflict);
    EXPECT_EQ(others.errors[0], kDNSServiceErr_NameConflict);
    EXPECT_EQ(shared.errors[0], kDNSServiceErr_NoError);

    RecordQuery query("unique.local.", kDNSServiceType_A);
    ASSERT_TRUE(waitUntil({&query}, [&] { return query.present(Loopback).count(address) == 1; }));
    const std::string changed{10, 0, 0, 2};
    ASSERT_EQ(unique.update(changed), kDNSServiceErr_NoError);
    EXPECT_TRUE(
        waitUntil({&query}, [&] { return query.present(Loopback) == std::multiset<std::string>{changed}; }));
    ASSERT_EQ(unique.remove(), kDNSServiceErr_NoError);
    EXPECT_TRUE(waitUntil({&query}, [&] { return query.present(Loopback).empty(); }));
}

TEST_F(MemoryCalls, ResponderIsToldByTheProperty)
{
    uint32_t version = 0;
    uint32_t size = sizeof version;
    EXPECT_EQ(DNSServiceGetProperty(kDNSServiceProperty_DaemonVersion, &version, &size),
              kDNSServiceErr_NoError);
    ASSERT_EQ(VeskDnssdMemorySetResponding(0), kDNSServiceErr_NoError);
    EXPECT_EQ(DNSServiceGetProperty(kDNSServiceProperty_DaemonVersion, &version, &size),
              kDNSServiceErr_ServiceNotRunning);
}

TEST_F(MemoryCalls, RefusalIsReported)
{
    ASSERT_EQ(VeskDnssdMemorySetRefusing(1), kDNSServiceErr_NoError);
    Browse browse(Type);
    Registration registration("Kitchen", Type, 80);
    ASSERT_TRUE(
        waitUntil({&browse, &registration}, [&] { return !browse.events.empty() && registration.isDone(); }));
    EXPECT_EQ(browse.events[0].error, kDNSServiceErr_Refused);
    EXPECT_EQ(registration.replies[0].error, kDNSServiceErr_Refused);
}

TEST_F(MemoryCalls, WrongArgumentsAreRefused)
{
    const std::string longName(64, 'a');
    const char* const badAddresses[] = {"192.0.2"};
    const char* const noAddresses[] = {nullptr};
    const auto with = [](auto change) {
        auto argument = service("Kitchen");
        change(argument);
        return VeskDnssdMemoryPublish(&argument);
    };
    EXPECT_EQ(VeskDnssdMemoryPublish(nullptr), kDNSServiceErr_BadParam);
    EXPECT_EQ(with([](auto& a) { a.name = nullptr; }), kDNSServiceErr_BadParam);
    EXPECT_EQ(with([](auto& a) { a.name = ""; }), kDNSServiceErr_BadParam);
    EXPECT_EQ(with([](auto& a) { a.name = "\xFF"; }), kDNSServiceErr_BadParam);
    EXPECT_EQ(with([&](auto& a) { a.name = longName.c_str(); }), kDNSServiceErr_BadParam);
    EXPECT_EQ(with([](auto& a) { a.type = nullptr; }), kDNSServiceErr_BadParam);
    EXPECT_EQ(with([](auto& a) { a.type = "_demo"; }), kDNSServiceErr_BadParam);
    EXPECT_EQ(with([](auto& a) { a.type = "_services._dns-sd._udp"; }), kDNSServiceErr_BadParam);
    EXPECT_EQ(with([](auto& a) { a.host = "a..b"; }), kDNSServiceErr_BadParam);
    for (const char* const* addresses : {badAddresses, noAddresses}) {
        EXPECT_EQ(with([&](auto& a) {
                      a.addresses = addresses;
                      a.addressCount = 1;
                  }),
                  kDNSServiceErr_BadParam);
    }
    EXPECT_EQ(with([](auto& a) {
                  a.txtRecord = "\x09oven";
                  a.txtLen = 5;
              }),
              kDNSServiceErr_Invalid);
    EXPECT_EQ(VeskDnssdMemoryWithdraw(nullptr, Type, 0), kDNSServiceErr_BadParam);
    EXPECT_EQ(VeskDnssdMemoryWithdraw("Kitchen", nullptr, 0), kDNSServiceErr_BadParam);
    EXPECT_EQ(VeskDnssdMemoryWithdraw("Kitchen", Type, 0), kDNSServiceErr_NoSuchName);
    EXPECT_EQ(with([](auto&) {}), kDNSServiceErr_NoError);
    EXPECT_EQ(VeskDnssdMemoryWithdraw("kitchen", Type, 0), kDNSServiceErr_NoError);
}

TEST_F(MemoryCalls, WorkInsideACallback)
{
    DNSServiceRef browse = nullptr;
    const DNSServiceBrowseReply onReply = [](DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType,
                                             const char* name, const char*, const char*, void* error) {
        if (std::string(name) == "Kitchen")
            *static_cast<DNSServiceErrorType*>(error) = publish("Hall");
    };
    DNSServiceErrorType error = kDNSServiceErr_Unknown;
    ASSERT_EQ(DNSServiceBrowse(&browse, 0, 0, Type, nullptr, onReply, &error), kDNSServiceErr_NoError);
    ASSERT_EQ(publish("Kitchen"), kDNSServiceErr_NoError);
    ASSERT_EQ(DNSServiceProcessResult(browse), kDNSServiceErr_NoError);
    EXPECT_EQ(error, kDNSServiceErr_NoError);
    Browse another(Type);
    EXPECT_TRUE(waitUntil({&another}, [&] { return another.has("Kitchen") && another.has("Hall"); }));
    DNSServiceRefDeallocate(browse);
}

TEST_F(MemoryCalls, OpenNoSocket)
{
    ASSERT_EQ(publish("Kitchen"), kDNSServiceErr_NoError);
    Browse browse(Type);
    Registration registration("Hall", Type, 80);
    ASSERT_TRUE(
        waitUntil({&browse, &registration}, [&] { return browse.has("Kitchen") && browse.has("Hall"); }));
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone; // that of the iteration itself
        const std::string target = std::filesystem::read_symlink(entry, gone);
        EXPECT_NE(target.substr(0, 7), "socket:") << entry;
    }
}

TEST_F(MemoryCalls, ComeFromManyThreads)
{
    Browse browse(Type);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([name = "host" + std::to_string(i)] {
            for (int round = 0; round < 50; ++round) {
                EXPECT_EQ(publish(name.c_str()), kDNSServiceErr_NoError);
                EXPECT_EQ(VeskDnssdMemoryWithdraw(name.c_str(), Type, 0), kDNSServiceErr_NoError);
            }
            publish(name.c_str());
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(waitUntil({&browse}, [&] {
        return browse.has("host0") && browse.has("host1") && browse.has("host2") && browse.has("host3");
    }));
}

TEST_F(MemoryCalls, ForkedProcessHasANetworkOfItsOwn)
{
    ASSERT_EQ(publish("Kitchen"), kDNSServiceErr_NoError);
    EXPECT_TRUE(succeedsInChild([] {
        Browse browse(Type);
        return publish("Hall") == kDNSServiceErr_NoError &&
               waitUntil({&browse}, [&] { return browse.has("Hall"); }) && !browse.has("Kitchen");
    }));
    Browse browse(Type);
    EXPECT_TRUE(waitUntil({&browse}, [&] { return browse.has("Kitchen"); }));
    EXPECT_FALSE(browse.has("Hall"));
}
