// SPDX-License-Identifier: MIT
//
// What the calls make of their arguments and of the records there are, with the daemon played by the test.
#include "Played.h"

#include <gtest/gtest.h>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

DNSServiceErrorType browseError(const char* type, const char* domain = nullptr, uint32_t interface = 0)
{
    return Browse(type, interface, domain).error();
}

DNSServiceErrorType registerError(const char* type, const char* domain = nullptr, const char* host = nullptr)
{
    return Registration("Kitchen", type, 80, "", 0, domain, host).error();
}

std::string longDomain()
{
    std::string domain;
    while (domain.size() < 250)
        domain += "abcdefghi.";
    return domain;
}

std::size_t publications()
{
    std::size_t count = 0;
    backend().inspect([&] { count = FakeBackend::instance().published().size(); });
    return count;
}

using Arguments = WithBackend;
using Property = WithBackend;
using FullName = WithBackend;
using Domains = WithBackend;
using NotOffered = WithBackend;
using Browsing = WithBackend;
using Resolving = WithBackend;
using AddressLookup = WithBackend;
using RecordLookup = WithBackend;
using Registering = WithBackend;
using Surviving = WithBackend;

constexpr uint32_t NoInterface = 0x7FFFFFF0;

const auto unusedRef = reinterpret_cast<DNSServiceRef>(0x10); // never looked at

} // namespace

/* ---- Arguments ---- */

TEST_F(Arguments, NullStringsLeaveTheHandleAsItWas)
{
    DNSServiceRef ref = unusedRef;
    const auto onRegister = [](DNSServiceRef, DNSServiceFlags, DNSServiceErrorType, const char*, const char*,
                               const char*, void*) {};
    const auto onBrowse = [](DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                             const char*, const char*, void*) {};
    const auto onResolve = [](DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                              const char*, uint16_t, uint16_t, const unsigned char*, void*) {};
    const auto onAddress = [](DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                              const sockaddr*, uint32_t, void*) {};
    EXPECT_EQ(DNSServiceBrowse(&ref, 0, 0, nullptr, nullptr, onBrowse, nullptr), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceResolve(&ref, 0, 0, nullptr, "_demo._tcp", "local", onResolve, nullptr),
              kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceResolve(&ref, 0, 0, "a", nullptr, "local", onResolve, nullptr),
              kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceResolve(&ref, 0, 0, "a", "_demo._tcp", nullptr, onResolve, nullptr),
              kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceGetAddrInfo(&ref, 0, 0, 0, nullptr, onAddress, nullptr), kDNSServiceErr_BadParam);
    EXPECT_EQ(
        DNSServiceRegister(&ref, 0, 0, "a", nullptr, nullptr, nullptr, 80, 0, nullptr, onRegister, nullptr),
        kDNSServiceErr_BadParam);
    EXPECT_EQ(ref, unusedRef);

    EXPECT_EQ(DNSServiceBrowse(&ref, 0, 0, "demo", nullptr, onBrowse, nullptr), kDNSServiceErr_BadParam);
    EXPECT_EQ(ref, nullptr);
    EXPECT_EQ(DNSServiceBrowse(nullptr, 0, 0, "_demo._tcp", nullptr, onBrowse, nullptr),
              kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceBrowse(&ref, 0, 0, "_demo._tcp", nullptr, nullptr, nullptr), kDNSServiceErr_BadParam);
}

TEST_F(Arguments, NullHandlesAreRefused)
{
    EXPECT_EQ(DNSServiceRefSockFD(nullptr), -1);
    EXPECT_EQ(DNSServiceProcessResult(nullptr), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceUpdateRecord(nullptr, nullptr, 0, 0, nullptr, 0), kDNSServiceErr_BadParam);
    DNSServiceRefDeallocate(nullptr);
}

TEST_F(Arguments, TypesToBrowse)
{
    for (const char* bad :
         {"demo", "", "_demo._tcp.local", "_demo", "_demo._foo", "_x._sub._demo._tcp", "_demo._tcp,"})
        EXPECT_EQ(browseError(bad), kDNSServiceErr_BadParam) << bad;
    for (const char* good : {"_demo._tcp", "_demo._tcp.", "_DEMO._UDP", "_demo._tcp,_sub",
                             "_abcdefghijklmnopq._tcp", "_services._dns-sd._udp"})
        EXPECT_EQ(browseError(good), kDNSServiceErr_NoError) << good;
}

TEST_F(Arguments, TypesToRegister)
{
    for (const char* bad : {"demo", "_demo", "_demo._foo", "", "_demo._tcp.local", "_a._sub._demo._tcp",
                            "._tcp", "_de mo._tcp", "_d\xC3\xA9mo._tcp", "_-demo._tcp"})
        EXPECT_EQ(registerError(bad), kDNSServiceErr_BadParam) << bad;
    for (const char* good : {"_demo._tcp", "_abcdefghijklmnop._tcp", "_de_mo._tcp", "_123._tcp",
                             "_demo._tcp,_sub", "_demo._tcp,_one,_two"})
        EXPECT_EQ(registerError(good), kDNSServiceErr_NoError) << good;
}

TEST_F(Arguments, DomainsAndHosts)
{
    EXPECT_EQ(browseError("_demo._tcp", "bad..domain"), kDNSServiceErr_BadParam);
    EXPECT_EQ(registerError("_demo._tcp", "bad..dom"), kDNSServiceErr_BadParam);
    EXPECT_EQ(registerError("_demo._tcp", nullptr, "bad..host"), kDNSServiceErr_BadParam);
    EXPECT_EQ(Resolve("a", "_demo._tcp", "").error(), kDNSServiceErr_BadParam);
    EXPECT_EQ(Addresses("a..b.local.").error(), kDNSServiceErr_BadParam);
    EXPECT_EQ(Addresses((std::string(64, 'h') + ".local").c_str()).error(), kDNSServiceErr_BadParam);
    EXPECT_EQ(Addresses("hostb.local", 4).error(), kDNSServiceErr_BadParam);
    EXPECT_EQ(RecordQuery("a..b.local.", 16).error(), kDNSServiceErr_BadParam);
    for (const char* good : {"local", "local.", ""}) {
        EXPECT_EQ(browseError("_demo._tcp", good), kDNSServiceErr_NoError) << good;
        EXPECT_EQ(registerError("_demo._tcp", good), kDNSServiceErr_NoError) << good;
    }
}

TEST_F(Arguments, NamesThatCannotBeOnTheWire)
{
    EXPECT_EQ(Resolve(std::string(64, 'x').c_str(), "_demo._tcp", "local").error(), kDNSServiceErr_BadParam);
    const std::string domain = longDomain(); // is a name, but leaves no room for another label
    ASSERT_TRUE(parseName(domain));
    EXPECT_EQ(Resolve("Kitchen", "_demo._tcp", domain.c_str()).error(), kDNSServiceErr_BadParam);
    EXPECT_EQ(browseError("_demo._tcp", domain.c_str()), kDNSServiceErr_BadParam);
    EXPECT_EQ(registerError("_demo._tcp", domain.c_str()), kDNSServiceErr_BadParam);
}

TEST_F(Arguments, BytesThatAreNoText)
{
    for (const char* bad : {"\xFF\xFE", "a\xC3", "\xED\xA0\x80", "\xC0\xAF", "\xF5\x80\x80\x80"}) {
        EXPECT_EQ(Resolve(bad, "_demo._tcp", "local").error(), kDNSServiceErr_BadParam);
        EXPECT_EQ(Registration(bad, "_demo._tcp", 80).error(), kDNSServiceErr_BadParam);
        EXPECT_EQ(Registration("a", "_demo._tcp", 80, "", 0, bad).error(), kDNSServiceErr_BadParam);
        EXPECT_EQ(Registration("a", "_demo._tcp", 80, "", 0, nullptr, bad).error(), kDNSServiceErr_BadParam);
        EXPECT_EQ(Addresses(bad).error(), kDNSServiceErr_BadParam);
        EXPECT_EQ(RecordQuery(bad, 16).error(), kDNSServiceErr_BadParam);
        EXPECT_EQ(browseError("_demo._tcp", bad), kDNSServiceErr_BadParam);
        EXPECT_EQ(browseError((std::string("_") + bad + "._tcp").c_str()), kDNSServiceErr_BadParam);
    }
}

TEST_F(Arguments, InterfacesThatDoNotExist)
{
    EXPECT_EQ(browseError("_demo._tcp", nullptr, 99), kDNSServiceErr_NoError);
    EXPECT_EQ(browseError("_demo._tcp", nullptr, kDNSServiceInterfaceIndexLocalOnly), kDNSServiceErr_NoError);
    EXPECT_EQ(browseError("_demo._tcp", nullptr, kDNSServiceInterfaceIndexUnicast), kDNSServiceErr_BadParam);
}

TEST_F(Arguments, InterfacesAreTakenOrRefusedByEveryCall)
{
    const auto errors = [](uint32_t interface) {
        return std::set<DNSServiceErrorType>{
            Browse("_demo._tcp", interface).error(), Resolve("a", "_demo._tcp", "local", interface).error(),
            Addresses("hostx.local", 0, interface).error(), RecordQuery("x.local", 16, 0, interface).error(),
            Registration("a", "_demo._tcp", 80, "", 0, nullptr, nullptr, interface).error()};
    };
    EXPECT_EQ(errors(kDNSServiceInterfaceIndexUnicast),
              std::set<DNSServiceErrorType>{kDNSServiceErr_BadParam});
    for (const uint32_t taken :
         {uint32_t(kDNSServiceInterfaceIndexAny), uint32_t(kDNSServiceInterfaceIndexLocalOnly),
          uint32_t(kDNSServiceInterfaceIndexP2P), NoInterface})
        EXPECT_EQ(errors(taken), std::set<DNSServiceErrorType>{kDNSServiceErr_NoError}) << taken;
}

TEST_F(Arguments, TypesToResolve)
{
    for (const char* bad : {"demo", "_demo._foo", "", "_demo", "_x._sub._demo._tcp"})
        EXPECT_EQ(Resolve("a", bad, "local").error(), kDNSServiceErr_BadParam) << bad;
}

TEST_F(Arguments, LabelsOf64BytesAreRefused)
{
    const std::string name = std::string(64, 'x') + "._demo._tcp.local.";
    EXPECT_EQ(RecordQuery(name.c_str(), 16).error(), kDNSServiceErr_BadParam);
    EXPECT_EQ(browseError("_demo._tcp", std::string(64, 'x').c_str()), kDNSServiceErr_BadParam);
}

TEST_F(Arguments, CallbacksGetTheHandleThatWasGivenBack)
{
    const auto onBrowse = [](DNSServiceRef ref, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                             const char*, const char*,
                             void* seen) { *static_cast<DNSServiceRef*>(seen) = ref; };
    const auto onResolve = [](DNSServiceRef ref, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                              const char*, uint16_t, uint16_t, const unsigned char*,
                              void* seen) { *static_cast<DNSServiceRef*>(seen) = ref; };
    const auto onAddress = [](DNSServiceRef ref, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                              const sockaddr*, uint32_t,
                              void* seen) { *static_cast<DNSServiceRef*>(seen) = ref; };
    const auto onRecord = [](DNSServiceRef ref, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                             uint16_t, uint16_t, uint16_t, const void*, uint32_t,
                             void* seen) { *static_cast<DNSServiceRef*>(seen) = ref; };
    const auto onRegister = [](DNSServiceRef ref, DNSServiceFlags, DNSServiceErrorType, const char*,
                               const char*, const char*,
                               void* seen) { *static_cast<DNSServiceRef*>(seen) = ref; };
    backend().come(instancePointer("Kitchen"));
    backend().come(service("Kitchen", {"hostb", "local"}, 8080));
    backend().come(txtOf("Kitchen", "\3a=1"));
    backend().come(address(kDNSServiceType_A, "abcd"));
    DNSServiceRef refs[5];
    DNSServiceRef seen[5] = {};
    ASSERT_EQ(DNSServiceBrowse(&refs[0], 0, 0, "_demo._tcp", nullptr, onBrowse, &seen[0]), 0);
    ASSERT_EQ(DNSServiceResolve(&refs[1], 0, 0, "Kitchen", "_demo._tcp", "local", onResolve, &seen[1]), 0);
    ASSERT_EQ(DNSServiceGetAddrInfo(&refs[2], 0, 0, 0, "hostb.local", onAddress, &seen[2]), 0);
    ASSERT_EQ(DNSServiceQueryRecord(&refs[3], 0, 0, "Kitchen._demo._tcp.local", 16, 1, onRecord, &seen[3]),
              0);
    ASSERT_EQ(DNSServiceRegister(&refs[4], 0, 0, "Own", "_demo._tcp", nullptr, nullptr, 80, 0, nullptr,
                                 onRegister, &seen[4]),
              0);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(DNSServiceProcessResult(refs[i]), kDNSServiceErr_NoError);
        EXPECT_EQ(seen[i], refs[i]) << i;
        DNSServiceRefDeallocate(refs[i]);
    }
}

TEST_F(Arguments, NamesWithoutAnswerAreSilent)
{
    Resolve noName("", "_demo._tcp", "local");
    Addresses noHost("");
    RecordQuery noRecord(nullptr, 16);
    for (Handle* handle : std::vector<Handle*>{&noName, &noHost, &noRecord}) {
        EXPECT_EQ(handle->error(), kDNSServiceErr_NoError);
        settle(*handle);
        EXPECT_FALSE(handle->isReadable());
    }
}

TEST_F(Arguments, TxtRecords)
{
    EXPECT_EQ(Registration("a", "_demo._tcp", 80, std::string("\5ab", 3)).error(), kDNSServiceErr_Invalid);
    Registration good("a", "_demo._tcp", 80, "\3a=1");
    EXPECT_EQ(good.error(), kDNSServiceErr_NoError);
    EXPECT_EQ(good.update(std::string("\5ab", 3)), kDNSServiceErr_Invalid);
    EXPECT_EQ(DNSServiceUpdateRecord(good.ref(), nullptr, 0, 0, nullptr, 0), kDNSServiceErr_NoError);
    EXPECT_EQ(good.update(std::string(65535, '\0')), kDNSServiceErr_NoError);
    EXPECT_EQ(DNSServiceUpdateRecord(Browse("_demo._tcp").ref(), nullptr, 0, 0, nullptr, 0),
              kDNSServiceErr_BadReference);
}

TEST_F(Arguments, NoWayToADaemon)
{
    backend().setReachable(false);
    EXPECT_EQ(browseError("_demo._tcp"), kDNSServiceErr_ServiceNotRunning);
    EXPECT_EQ(registerError("_demo._tcp"), kDNSServiceErr_ServiceNotRunning);
    EXPECT_EQ(Resolve("a", "_demo._tcp", "local").error(), kDNSServiceErr_ServiceNotRunning);
    EXPECT_EQ(Addresses("hostb.local").error(), kDNSServiceErr_ServiceNotRunning);
    EXPECT_EQ(RecordQuery("hostb.local", 16).ref(), nullptr);
    uint32_t version = 0;
    uint32_t size = sizeof version;
    EXPECT_EQ(DNSServiceGetProperty(kDNSServiceProperty_DaemonVersion, &version, &size),
              kDNSServiceErr_ServiceNotRunning);
    backend().setReachable(true);
    EXPECT_EQ(browseError("_demo._tcp"), kDNSServiceErr_NoError);
}

/* ---- Calls that few need ---- */

TEST_F(Property, DaemonVersionIsTheApiLevel)
{
    uint32_t version = 0;
    uint32_t size = sizeof version;
    EXPECT_EQ(DNSServiceGetProperty(kDNSServiceProperty_DaemonVersion, &version, &size),
              kDNSServiceErr_NoError);
    EXPECT_EQ(version, uint32_t(_DNS_SD_H));
    EXPECT_EQ(size, sizeof version);
    size = 2;
    EXPECT_EQ(DNSServiceGetProperty(kDNSServiceProperty_DaemonVersion, &version, &size),
              kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceGetProperty("Nonsense", &version, &size), kDNSServiceErr_Unsupported);
    EXPECT_EQ(DNSServiceGetProperty(nullptr, &version, &size), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceGetProperty(kDNSServiceProperty_DaemonVersion, nullptr, &size),
              kDNSServiceErr_BadParam);
}

TEST_F(FullName, IsEscapedAndEndsInADot)
{
    char name[kDNSServiceMaxDomainName];
    EXPECT_EQ(DNSServiceConstructFullName(name, "Dr. Who\\x", "_demo._tcp", "local"), kDNSServiceErr_NoError);
    EXPECT_STREQ(name, "Dr\\.\\032Who\\\\x._demo._tcp.local.");
    EXPECT_EQ(DNSServiceConstructFullName(name, nullptr, "_demo._tcp.", "local."), kDNSServiceErr_NoError);
    EXPECT_STREQ(name, "_demo._tcp.local.");
    EXPECT_EQ(DNSServiceConstructFullName(name, "Caf\xC3\xA9", "_demo._udp", "example.com"),
              kDNSServiceErr_NoError);
    EXPECT_STREQ(name, "Caf\xC3\xA9._demo._udp.example.com.");
}

TEST_F(FullName, RefusesWhatIsNone)
{
    char name[kDNSServiceMaxDomainName];
    EXPECT_EQ(DNSServiceConstructFullName(nullptr, "a", "_demo._tcp", "local"), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceConstructFullName(name, "a", nullptr, "local"), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceConstructFullName(name, "a", "demo", "local"), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceConstructFullName(name, "a", "_demo._tcp", ""), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceConstructFullName(name, "a", "_demo._tcp", nullptr), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceConstructFullName(name, std::string(64, 'a').c_str(), "_demo._tcp", "local"),
              kDNSServiceErr_BadParam);
}

TEST_F(FullName, FitsTheBufferAtItsLongest)
{
    char name[kDNSServiceMaxDomainName];
    const auto label = [](int size) {
        std::string text;
        while (size-- > 0)
            text += "\\001";
        return text + '.';
    };
    const std::string instance(63, '\1');
    // "_d._tcp", the lengths of all labels and the root leave 179 of 255 bytes to the domain.
    const std::string longest = label(59) + label(59) + label(61);
    EXPECT_EQ(DNSServiceConstructFullName(name, instance.c_str(), "_d._tcp", ("\\001" + longest).c_str()),
              kDNSServiceErr_BadParam);
    ASSERT_EQ(DNSServiceConstructFullName(name, instance.c_str(), "_d._tcp", longest.c_str()),
              kDNSServiceErr_NoError);
    EXPECT_GT(std::string(name).size(), 900U);
    EXPECT_LT(std::string(name).size(), sizeof name);
}

TEST_F(Domains, TheLinksDomainIsTheDefault)
{
    for (const DNSServiceFlags kind : {kDNSServiceFlagsBrowseDomains, kDNSServiceFlagsRegistrationDomains}) {
        std::vector<std::pair<DNSServiceFlags, std::string>> seen;
        DNSServiceRef ref = nullptr;
        ASSERT_EQ(
            DNSServiceEnumerateDomains(
                &ref, kind, 0,
                [](DNSServiceRef, DNSServiceFlags flags, uint32_t, DNSServiceErrorType, const char* domain,
                   void* list) { static_cast<decltype(seen)*>(list)->emplace_back(flags, domain); },
                &seen),
            kDNSServiceErr_NoError);
        EXPECT_EQ(DNSServiceProcessResult(ref), kDNSServiceErr_NoError);
        DNSServiceRefDeallocate(ref);
        ASSERT_EQ(seen.size(), 1U);
        EXPECT_EQ(seen[0].first, DNSServiceFlags(kDNSServiceFlagsAdd | kDNSServiceFlagsDefault));
        EXPECT_EQ(seen[0].second, "local.");
    }
}

TEST_F(Domains, NeitherOrBothKindsAreRefused)
{
    DNSServiceRef ref = unusedRef;
    const auto ignore = [](DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                           void*) {};
    EXPECT_EQ(DNSServiceEnumerateDomains(&ref, 0, 0, ignore, nullptr), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceEnumerateDomains(&ref,
                                         kDNSServiceFlagsBrowseDomains | kDNSServiceFlagsRegistrationDomains,
                                         0, ignore, nullptr),
              kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceEnumerateDomains(&ref, kDNSServiceFlagsBrowseDomains, 0, nullptr, nullptr),
              kDNSServiceErr_BadParam);
    EXPECT_EQ(ref, nullptr);
}

TEST_F(NotOffered, SaysSo)
{
    DNSServiceRef ref = unusedRef;
    EXPECT_EQ(DNSServiceCreateConnection(&ref), kDNSServiceErr_Unsupported);
    EXPECT_EQ(ref, nullptr);
    ref = unusedRef;
    EXPECT_EQ(
        DNSServiceNATPortMappingCreate(&ref, 0, 0, kDNSServiceProtocol_TCP, 80, 80, 0, nullptr, nullptr),
        kDNSServiceErr_NATPortMappingUnsupported);
    EXPECT_EQ(ref, nullptr);
    EXPECT_EQ(DNSServiceReconfirmRecord(0, 0, "a.local.", 1, 1, 4, "abcd"), kDNSServiceErr_Unsupported);

    Registration registration("a", "_demo._tcp", 80);
    DNSRecordRef record = nullptr;
    EXPECT_EQ(DNSServiceAddRecord(registration.ref(), &record, 0, 16, 1, "", 0), kDNSServiceErr_Unsupported);
    EXPECT_EQ(DNSServiceRegisterRecord(registration.ref(), &record, 0, 0, "a.local.", 16, 1, 1, "", 0,
                                       nullptr, nullptr),
              kDNSServiceErr_Unsupported);
    EXPECT_EQ(DNSServiceRemoveRecord(registration.ref(), reinterpret_cast<DNSRecordRef>(&ref), 0),
              kDNSServiceErr_BadReference);
}

TEST_F(NotOffered, ChecksItsArguments)
{
    EXPECT_EQ(DNSServiceCreateConnection(nullptr), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceNATPortMappingCreate(nullptr, 0, 0, 0, 0, 0, 0, nullptr, nullptr),
              kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceReconfirmRecord(0, 0, nullptr, 1, 1, 0, nullptr), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceAddRecord(nullptr, nullptr, 0, 16, 0, nullptr, 0), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceRemoveRecord(nullptr, nullptr, 0), kDNSServiceErr_BadParam);
    EXPECT_EQ(
        DNSServiceRegisterRecord(nullptr, nullptr, 0, 0, nullptr, 1, 1, 0, nullptr, 0, nullptr, nullptr),
        kDNSServiceErr_BadParam);
}

/* ---- Browsing ---- */

TEST_F(Browsing, OneEventForEachNameAndInterface)
{
    Browse browse("_demo._tcp");
    for (const uint32_t interface : {Lan1, Lan2}) {
        for (const Transport transport : {Transport::IPv4, Transport::IPv6})
            backend().come(instancePointer("Kitchen", interface), transport);
    }
    settle(browse);
    ASSERT_EQ(browse.events.size(), 2U);
    EXPECT_EQ(browse.events[0].instance, (Instance{"Kitchen", "_demo._tcp.", "local.", Lan1}));
    EXPECT_EQ(browse.events[1].instance, (Instance{"Kitchen", "_demo._tcp.", "local.", Lan2}));

    backend().go(instancePointer("Kitchen"), Transport::IPv4);
    settle(browse);
    EXPECT_EQ(browse.events.size(), 2U) << "it is still known by the other family";
    backend().go(instancePointer("Kitchen"), Transport::IPv6);
    settle(browse);
    ASSERT_EQ(browse.events.size(), 3U);
    EXPECT_FALSE(browse.events[2].isAdd());
    EXPECT_EQ(browse.events[2].instance.interface, Lan1);
}

TEST_F(Browsing, NamesAndInterfacesAreNotMixedUp)
{
    Browse browse("_demo._tcp");
    backend().come(instancePointer("A1", 2));
    backend().come(instancePointer("A", 12));
    settle(browse);
    EXPECT_EQ(browse.present(), (std::multiset<Instance>{{"A", "_demo._tcp.", "local.", 12},
                                                         {"A1", "_demo._tcp.", "local.", 2}}));
}

TEST_F(Browsing, MoreComingOnAllButTheLast)
{
    Browse browse("_demo._tcp");
    for (const char* name : {"a", "b", "c"})
        backend().come(instancePointer(name));
    settle(browse);
    ASSERT_EQ(browse.events.size(), 3U);
    EXPECT_EQ(browse.events[0].flags, 3U);
    EXPECT_EQ(browse.events[1].flags, 3U);
    EXPECT_EQ(browse.events[2].flags, 2U);
}

TEST_F(Browsing, TypeIsTheRecordsOwn)
{
    Browse browse("_DEMO._TCP", 0, "local.");
    backend().come(pointer(DemoType, {"ok", "_ZZ", "_TCP", "local"}));
    settle(browse);
    ASSERT_EQ(browse.events.size(), 1U);
    EXPECT_EQ(browse.events[0].instance, (Instance{"ok", "_ZZ._TCP.", "local.", Lan1}));
}

TEST_F(Browsing, SubtypesAreInstancesOfTheirType)
{
    Browse browse("_demo._tcp,_printer");
    backend().come(pointer(Labels{"_printer", "_sub"} + DemoType, Labels{"Kitchen"} + DemoType));
    backend().come(instancePointer("Other"));
    settle(browse);
    ASSERT_EQ(browse.events.size(), 1U);
    EXPECT_EQ(browse.events[0].instance, (Instance{"Kitchen", "_demo._tcp.", "local.", Lan1}));
}

TEST_F(Browsing, TypesInUse)
{
    Browse browse("_services._dns-sd._udp");
    backend().come(pointer({"_services", "_dns-sd", "_udp", "local"}, DemoType));
    settle(browse);
    ASSERT_EQ(browse.events.size(), 1U);
    EXPECT_EQ(browse.events[0].instance, (Instance{"_demo", "_tcp.local.", ".", Lan1}));
}

TEST_F(Browsing, NamesAreTheLabelsBytes)
{
    Browse browse("_demo._tcp");
    std::string everyByte;
    for (int byte = 1; byte < 256; ++byte) {
        everyByte = std::string(1, static_cast<char>(byte));
        backend().come(instancePointer(everyByte));
        settle(browse);
        ASSERT_EQ(browse.events.size(), std::size_t(byte));
        EXPECT_EQ(browse.events.back().instance.name, everyByte);
    }
}

TEST_F(Browsing, NamesEndAtAZeroByte)
{
    Browse browse("_demo._tcp");
    backend().come(instancePointer(std::string("be\0hind", 7)));
    settle(browse);
    ASSERT_EQ(browse.events.size(), 1U);
    EXPECT_EQ(browse.events[0].instance.name, "be");
}

TEST_F(Browsing, InterfaceThatDoesNotExistIsSilent)
{
    Browse browse("_demo._tcp", NoInterface);
    backend().come(instancePointer("Kitchen"));
    settle(browse);
    EXPECT_TRUE(browse.events.empty());
}

TEST_F(Browsing, ThisHostAloneIsReportedWithoutInterface)
{
    Browse browse("_demo._tcp", kDNSServiceInterfaceIndexLocalOnly);
    Resolve resolve("Own", "_demo._tcp", "local", kDNSServiceInterfaceIndexLocalOnly);
    for (const uint32_t interface : {Loopback, Lan1}) {
        const std::string name = interface == Loopback ? "Own" : "Far";
        backend().come(instancePointer(name, interface));
        backend().come(service(name, {"hosta", "local"}, 80, interface));
        backend().come(txtOf(name, "\3a=1", interface));
    }
    settle(browse);
    settle(resolve);
    EXPECT_EQ(browse.present(), (std::multiset<Instance>{{"Own", "_demo._tcp.", "local.", 0}}));
    ASSERT_EQ(resolve.replies.size(), 1U);
    EXPECT_EQ(resolve.replies[0].interface, 0U);
}

TEST_F(Browsing, BrokenPointersAreNotHandedOn)
{
    Browse browse("_demo._tcp");
    Record record = instancePointer("x");
    for (const std::string& data :
         {std::string(), std::string(1, '\0'), std::string("\5ab"), std::string("\xC0\x0C"),
          toWire({"a", "b"}), record.data.substr(0, record.data.size() - 1), std::string(300, '\1')}) {
        record.data = data;
        backend().come(record);
    }
    backend().come(instancePointer("good"));
    settle(browse);
    ASSERT_EQ(browse.events.size(), 1U);
    EXPECT_EQ(browse.events[0].instance.name, "good");
}

/* ---- Resolving ---- */

TEST_F(Resolving, NeedsBothRecordsOfOneInterface)
{
    Resolve resolve("Kitchen", "_demo._tcp", "local");
    backend().come(service("Kitchen", {"hostb", "local"}, 8080, Lan1));
    backend().come(txtOf("Kitchen", "\3a=1", Lan2));
    settle(resolve);
    EXPECT_TRUE(resolve.replies.empty());
    backend().come(txtOf("Kitchen", "\3a=2", Lan1));
    settle(resolve);
    ASSERT_EQ(resolve.replies.size(), 1U);
    const auto& reply = resolve.replies[0];
    EXPECT_EQ(reply.flags, 0U);
    EXPECT_EQ(reply.interface, Lan1);
    EXPECT_EQ(reply.fullname, "Kitchen._demo._tcp.local.");
    EXPECT_EQ(reply.host, "hostb.local.");
    EXPECT_EQ(reply.port, 8080);
    EXPECT_EQ(reply.txt, "\3a=2");
}

TEST_F(Resolving, RepliesAgainWhenSomethingChanges)
{
    Resolve resolve("Kitchen", "_demo._tcp", "local");
    backend().come(service("Kitchen", {"hostb", "local"}, 8080));
    backend().come(txtOf("Kitchen", "\3a=1"));
    settle(resolve);
    backend().come(txtOf("Kitchen", "\3a=1"), Transport::IPv6);
    settle(resolve);
    EXPECT_EQ(resolve.replies.size(), 1U) << "the same again is no change";

    backend().come(txtOf("Kitchen", "\3a=2"));
    backend().go(txtOf("Kitchen", "\3a=1"));
    backend().go(txtOf("Kitchen", "\3a=1"), Transport::IPv6);
    settle(resolve);
    ASSERT_EQ(resolve.replies.size(), 2U);
    EXPECT_EQ(resolve.replies[1].txt, "\3a=2");

    backend().go(service("Kitchen", {"hostb", "local"}, 8080));
    settle(resolve);
    EXPECT_EQ(resolve.replies.size(), 2U) << "what goes is not reported";
    backend().come(service("Kitchen", {"hostb", "local"}, 8080));
    settle(resolve);
    EXPECT_EQ(resolve.replies.size(), 3U) << "what comes back is";
}

TEST_F(Resolving, RecordsThatChangeTogetherAreOneReply)
{
    Resolve resolve("Kitchen", "_demo._tcp", "local");
    backend().come(service("Kitchen", {"hostb", "local"}, 8080));
    backend().come(txtOf("Kitchen", "\3a=1"));
    settle(resolve);
    ASSERT_EQ(resolve.replies.size(), 1U);
    const auto tellTogether = [](bool present) {
        backend().inspect([=] {
            for (const Record& record :
                 {service("Kitchen", {"hostb", "local"}, 8081), txtOf("Kitchen", "\3a=2")})
                FakeBackend::instance().tell(record, Transport::IPv4, present);
        });
    };
    tellTogether(true);
    settle(resolve);
    ASSERT_EQ(resolve.replies.size(), 2U) << "never a new port with an old text";
    EXPECT_EQ(resolve.replies[1].port, 8081);
    EXPECT_EQ(resolve.replies[1].txt, "\3a=2");
    tellTogether(false);
}

TEST_F(Resolving, FullNameIsEscapedAndCanBeAskedForAsItIs)
{
    for (int byte = 1; byte < 128; ++byte) {
        const std::string name = "x" + std::string(1, static_cast<char>(byte)) + "y";
        Resolve resolve(name.c_str(), "_demo._tcp.", "local.");
        backend().come(service(name, {"my h\xC3\xB6st.x", "local"}, 1));
        backend().come(txtOf(name, std::string(1, '\0')));
        settle(resolve);
        ASSERT_EQ(resolve.replies.size(), 1U) << byte;
        EXPECT_EQ(resolve.replies[0].host, "my\\032h\xC3\xB6st\\.x.local.");
        EXPECT_EQ(parseName(resolve.replies[0].fullname), Labels{name} + DemoType) << byte;

        RecordQuery query(resolve.replies[0].fullname.c_str(), kDNSServiceType_TXT);
        settle(query);
        ASSERT_EQ(query.replies.size(), 1U) << byte;
        EXPECT_EQ(query.replies[0].fullname, resolve.replies[0].fullname);
        backend().go(service(name, {"my h\xC3\xB6st.x", "local"}, 1)); // 'a' and 'A' are one name
        backend().go(txtOf(name, std::string(1, '\0')));
    }
}

TEST_F(Resolving, BrokenRecordsAreNotHandedOn)
{
    Resolve resolve("Kitchen", "_demo._tcp", "local");
    backend().come(txtOf("Kitchen", "\3a=1"));
    Record broken = service("Kitchen", {"hostb", "local"}, 1);
    for (const std::size_t size : {std::size_t(0), std::size_t(5), std::size_t(6), broken.data.size() - 1}) {
        Record cut = broken;
        cut.data.resize(size);
        backend().come(cut);
        backend().go(cut);
    }
    settle(resolve);
    EXPECT_TRUE(resolve.replies.empty());
    backend().come(broken);
    settle(resolve);
    EXPECT_EQ(resolve.replies.size(), 1U);
}

/* ---- Addresses and records ---- */

TEST_F(AddressLookup, ScopeIsTheInterfaceOfLinkLocalAddressesOnly)
{
    Addresses addresses("HOSTB.Local", 0);
    const std::string linkLocal{"\xFE\x80\0\0\0\0\0\0\0\0\0\0\0\0\0\1", 16};
    const std::string routable{"\xFD\x99\0\0\0\0\0\0\0\0\0\0\0\0\0\2", 16};
    backend().come(address(kDNSServiceType_AAAA, linkLocal, Lan1));
    backend().come(address(kDNSServiceType_AAAA, linkLocal, Lan2));
    backend().come(address(kDNSServiceType_AAAA, routable, Lan2));
    backend().come(address(kDNSServiceType_A, std::string("\x0A\x63\x01\x02"), Lan1));
    settle(addresses);
    ASSERT_EQ(addresses.replies.size(), 4U);
    EXPECT_EQ(addresses.replies[0].address, "fe80::1%11");
    EXPECT_EQ(addresses.replies[1].address, "fe80::1%12");
    EXPECT_EQ(addresses.replies[2].address, "fd99::2");
    EXPECT_EQ(addresses.replies[3].address, "10.99.1.2");
    for (const auto& reply : addresses.replies) {
        EXPECT_EQ(reply.host, "hostb.local.");
        EXPECT_EQ(reply.port, 0);
        EXPECT_EQ(reply.flags & kDNSServiceFlagsAdd, DNSServiceFlags(kDNSServiceFlagsAdd));
        EXPECT_GT(reply.ttl, 0U);
    }
    backend().go(address(kDNSServiceType_AAAA, routable, Lan2));
    settle(addresses);
    ASSERT_EQ(addresses.replies.size(), 5U);
    EXPECT_EQ(addresses.replies[4].flags, 0U);
    EXPECT_EQ(addresses.replies[4].ttl, 0U);
}

TEST_F(AddressLookup, OneFamilyAlone)
{
    Addresses only4("hostb.local", kDNSServiceProtocol_IPv4);
    Addresses only6("hostb.local", kDNSServiceProtocol_IPv6);
    backend().come(address(kDNSServiceType_A, "abcd"));
    backend().come(address(kDNSServiceType_AAAA, "abcdefghijklmnop"));
    settle(only4);
    settle(only6);
    ASSERT_EQ(only4.replies.size(), 1U);
    EXPECT_EQ(only4.replies[0].address, "97.98.99.100");
    ASSERT_EQ(only6.replies.size(), 1U);
    EXPECT_EQ(only6.replies[0].address, "6162:6364:6566:6768:696a:6b6c:6d6e:6f70");
}

TEST_F(AddressLookup, AddressesOfAnotherLengthAreNotHandedOn)
{
    Addresses addresses("hostb.local");
    for (const char* data : {"", "abc", "abcde"})
        backend().come(address(kDNSServiceType_A, data));
    for (const char* data : {"", "abcd", "abcdefghijklmno", "abcdefghijklmnopq"})
        backend().come(address(kDNSServiceType_AAAA, data));
    settle(addresses);
    EXPECT_TRUE(addresses.replies.empty());
}

TEST_F(RecordLookup, RecordsComeAndGoWithTheirData)
{
    RecordQuery query("Kitchen._demo._tcp.local.", kDNSServiceType_TXT);
    const std::string large(65535, '\0');
    backend().come(txtOf("Kitchen", large));
    backend().go(txtOf("Kitchen", large));
    settle(query);
    ASSERT_EQ(query.replies.size(), 2U);
    EXPECT_EQ(query.replies[0].flags, 3U);
    EXPECT_EQ(query.replies[0].data, large);
    EXPECT_GT(query.replies[0].ttl, 0U);
    EXPECT_EQ(query.replies[1].flags, 0U);
    EXPECT_EQ(query.replies[1].data, large);
    EXPECT_EQ(query.replies[1].ttl, 0U);
}

TEST_F(RecordLookup, InterfaceThatDoesNotExistCountsAsAny)
{
    RecordQuery query("Kitchen._demo._tcp.local", 16, 0, NoInterface);
    Addresses addresses("hostb.local", 0, NoInterface);
    backend().come(txtOf("Kitchen", "\3a=1"));
    backend().come(address(kDNSServiceType_A, "abcd"));
    settle(query);
    settle(addresses);
    EXPECT_EQ(query.replies.size(), 1U);
    EXPECT_EQ(addresses.replies.size(), 1U);
}

TEST_F(RecordLookup, ThisHostAloneIsSilent)
{
    RecordQuery query("Kitchen._demo._tcp.local", 16, 0, kDNSServiceInterfaceIndexLocalOnly);
    Addresses addresses("hostb.local", 0, kDNSServiceInterfaceIndexLocalOnly);
    backend().come(txtOf("Kitchen", "\3a=1", Loopback));
    backend().come(address(kDNSServiceType_A, "abcd", Loopback));
    settle(query);
    settle(addresses);
    EXPECT_TRUE(query.replies.empty());
    EXPECT_TRUE(addresses.replies.empty());
}

TEST_F(RecordLookup, EveryWayToWriteANameAsksForIt)
{
    const std::string name = "Big R\xC3\xB6"
                             "om";
    backend().come(txtOf(name, "\3a=1"));
    for (const char* text :
         {"Big R\xC3\xB6"
          "om._demo._tcp.local",
          "Big R\xC3\xB6"
          "om._demo._tcp.local.",
          "Big\\032R\xC3\xB6"
          "om._demo._tcp.local.",
          "Big\\032R\\195\\182om._demo._tcp.local", "BIG r\\195\\182OM._DEMO._tcp.LOCAL."}) {
        RecordQuery query(text, kDNSServiceType_TXT);
        settle(query);
        ASSERT_EQ(query.replies.size(), 1U) << text;
        EXPECT_EQ(query.replies[0].fullname, "Big\\032R\xC3\xB6"
                                             "om._demo._tcp.local.");
    }
}

TEST_F(RecordLookup, RefusalIsReported)
{
    backend().inspect([] { FakeBackend::instance().setRefusing(true); });
    RecordQuery query("a.local.", kDNSServiceType_TXT);
    Browse browse("_refused._tcp");
    Resolve resolve("a", "_refused._tcp", "local");
    Addresses addresses("a.local", kDNSServiceProtocol_IPv4);
    settle(query);
    settle(browse);
    settle(resolve);
    settle(addresses);
    ASSERT_FALSE(query.replies.empty());
    EXPECT_EQ(query.replies[0].error, kDNSServiceErr_Refused);
    ASSERT_FALSE(browse.events.empty());
    EXPECT_EQ(browse.events[0].error, kDNSServiceErr_Refused);
    EXPECT_EQ(browse.events[0].instance.name, "") << "strings are there, though empty";
    ASSERT_FALSE(resolve.replies.empty());
    EXPECT_EQ(resolve.replies[0].error, kDNSServiceErr_Refused);
    ASSERT_FALSE(addresses.replies.empty());
    EXPECT_EQ(addresses.replies[0].error, kDNSServiceErr_Refused);
}

/* ---- Registering ---- */

TEST_F(Registering, NamesAreCutAtACharacter)
{
    struct Case
    {
        std::string given;
        std::string published;
    };
    const std::string two = "\xC3\xA9";
    const std::string three = "\xE2\x82\xAC";
    const std::string four = "\xF0\x9F\x98\x80";
    for (const Case& c :
         {Case{std::string(62, 'q'), std::string(62, 'q')}, Case{std::string(63, 'q'), std::string(63, 'q')},
          Case{std::string(64, 'q'), std::string(63, 'q')},
          Case{std::string(61, 'q') + two, std::string(61, 'q') + two},
          Case{std::string(62, 'q') + two, std::string(62, 'q')},
          Case{std::string(60, 'q') + three, std::string(60, 'q') + three},
          Case{std::string(61, 'q') + three, std::string(61, 'q')},
          Case{std::string(62, 'q') + three, std::string(62, 'q')},
          Case{std::string(59, 'q') + four, std::string(59, 'q') + four},
          Case{std::string(60, 'q') + four, std::string(60, 'q')},
          Case{std::string(62, 'q') + four, std::string(62, 'q')}, Case{"", "hosta"}}) {
        Registration registration(c.given.c_str(), "_demo._tcp", 80);
        settle(registration);
        ASSERT_EQ(registration.replies.size(), 1U);
        EXPECT_EQ(registration.replies[0].name, c.published);
        EXPECT_EQ(registration.replies[0].type, "_demo._tcp.");
        EXPECT_EQ(registration.replies[0].domain, "local.");
        EXPECT_EQ(registration.replies[0].flags, DNSServiceFlags(kDNSServiceFlagsAdd));
    }
}

TEST_F(Registering, SubtypesGoWithIt)
{
    Registration registration("Kitchen", "_demo._tcp,_printer,_colour", 80);
    settle(registration);
    backend().inspect([] {
        const Service& service = FakeBackend::instance().published().back();
        EXPECT_EQ(service.type, (Labels{"_demo", "_tcp"}));
        EXPECT_EQ(service.subtypes, (std::vector<std::string>{"_printer", "_colour"}));
    });
}

TEST_F(Registering, UpdateBeforeItIsDoneIsWhatIsPublishedLater)
{
    backend().change(Backend::State::Absent);
    Registration registration("Kitchen", "_demo._tcp", 80, "\3a=1");
    EXPECT_EQ(registration.update("\3a=2"), kDNSServiceErr_NoError);
    backend().change(Backend::State::Running);
    ASSERT_TRUE(waitUntil({&registration}, [&] { return registration.isDone(); }));
    backend().inspect([] { EXPECT_EQ(FakeBackend::instance().published().back().txt, "\3a=2"); });
}

TEST_F(Registering, WithoutTextItIsTheEmptyItem)
{
    Registration registration("Kitchen", "_demo._tcp", 80);
    settle(registration);
    backend().inspect(
        [] { EXPECT_EQ(FakeBackend::instance().published().back().txt, std::string(1, '\0')); });
}

TEST_F(Registering, EmptyTextIsTheEmptyItemWhateverThePointer)
{
    DNSServiceRef ref = nullptr;
    ASSERT_EQ(DNSServiceRegister(&ref, 0, 0, "Kitchen", "_demo._tcp", nullptr, nullptr, 80, 0, "", nullptr,
                                 nullptr),
              kDNSServiceErr_NoError)
        << "nor is a callback needed";
    EXPECT_EQ(lastPublished().txt, std::string(1, '\0'));
    ASSERT_EQ(DNSServiceUpdateRecord(ref, nullptr, 0, 4, "\3a=1", 0), kDNSServiceErr_NoError);
    ASSERT_EQ(DNSServiceUpdateRecord(ref, nullptr, 0, 0, "", 0), kDNSServiceErr_NoError);
    EXPECT_EQ(lastPublished().txt, std::string(1, '\0'));
    EXPECT_EQ(publications(), 3U);
    DNSServiceRefDeallocate(ref);
}

TEST_F(Registering, SameTextAgainIsNotSent)
{
    Registration registration("Kitchen", "_demo._tcp", 80, "\3a=1");
    EXPECT_EQ(registration.update("\3a=1"), kDNSServiceErr_NoError);
    settle(registration);
    EXPECT_EQ(publications(), 1U);
    EXPECT_EQ(registration.update("\3a=2"), kDNSServiceErr_NoError);
    EXPECT_EQ(registration.update("\3a=2"), kDNSServiceErr_NoError);
    settle(registration);
    EXPECT_EQ(publications(), 2U);
    EXPECT_EQ(registration.replies.size(), 1U) << "an update has no reply";
}

TEST_F(Registering, HostsAndDomainsInAllTheirForms)
{
    const auto hostOf = [](const char* host) {
        Registration registration("Kitchen", "_demo._tcp", 80, "", 0, nullptr, host);
        settle(registration);
        return lastPublished().host;
    };
    EXPECT_EQ(hostOf(nullptr), Labels());
    EXPECT_EQ(hostOf(""), Labels());
    EXPECT_EQ(hostOf("other.local."), (Labels{"other", "local"}));
    EXPECT_EQ(hostOf("other.local"), (Labels{"other", "local"}));
    EXPECT_EQ(hostOf("other"), (Labels{"other", "local"}));
    for (const char* domain : {static_cast<const char*>(nullptr), "", "local", "local."}) {
        Registration registration("Kitchen", "_demo._tcp", 80, "", 0, domain);
        settle(registration);
        EXPECT_EQ(lastPublished().domain, Labels{"local"});
    }
}

TEST_F(Registering, TypeIsReportedAsItWasGiven)
{
    Registration registration("Kitchen", "_DeMo._TCP", 80);
    settle(registration);
    ASSERT_EQ(registration.replies.size(), 1U);
    EXPECT_EQ(registration.replies[0].type, "_DeMo._TCP.");
}

/* ---- A daemon that goes and comes ---- */

TEST_F(Surviving, OnlyWhatChangedMeanwhileIsReported)
{
    Browse browse("_demo._tcp");
    backend().come(instancePointer("Stays"));
    backend().come(instancePointer("Leaves"));
    settle(browse);
    browse.events.clear();

    backend().change(Backend::State::Absent);
    settle(browse);
    EXPECT_FALSE(browse.isReadable());
    EXPECT_TRUE(browse.events.empty());
    backend().go(instancePointer("Leaves"));
    backend().come(instancePointer("Comes"));
    backend().change(Backend::State::Running);

    ASSERT_TRUE(waitUntil({&browse}, [&] { return browse.events.size() == 2; }));
    settle(browse);
    ASSERT_EQ(browse.events.size(), 2U);
    EXPECT_EQ(browse.events[0].instance.name, "Comes");
    EXPECT_TRUE(browse.events[0].isAdd());
    EXPECT_EQ(browse.events[1].instance.name, "Leaves");
    EXPECT_FALSE(browse.events[1].isAdd());
}

TEST_F(Surviving, RegistrationsComeBackWithoutAnotherReply)
{
    Registration registration("Kitchen", "_demo._tcp", 80, "\3a=1");
    settle(registration);
    backend().change(Backend::State::Absent);
    registration.update("\3a=2");
    backend().change(Backend::State::Running);
    ASSERT_TRUE(waitUntil({&registration}, [] {
        std::size_t published = 0;
        backend().inspect([&] { published = FakeBackend::instance().published().size(); });
        return published == 2;
    }));
    settle(registration);
    EXPECT_EQ(registration.replies.size(), 1U);
    backend().inspect([] {
        EXPECT_EQ(FakeBackend::instance().published().back().name, "Kitchen");
        EXPECT_EQ(FakeBackend::instance().published().back().txt, "\3a=2");
    });
}
