// SPDX-License-Identifier: MIT
#include "PlayedNetwork.h"
#include "StartErrors.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

using BrowseCall = PlayedNetwork;

} // namespace

TEST_F(BrowseCall, TakesTypesOfATransportAndRefusesOthers)
{
    for (const char* bad :
         {"demo", "", "_demo._tcp.local", "_demo", "_demo._foo", "_x._sub._demo._tcp", "_demo._tcp,"})
        EXPECT_EQ(browseError(bad), kDNSServiceErr_BadParam) << bad;
    for (const char* good : {"_demo._tcp", "_demo._tcp.", "_DEMO._UDP", "_demo._tcp,_sub",
                             "_abcdefghijklmnopq._tcp", "_services._dns-sd._udp"})
        EXPECT_EQ(browseError(good), kDNSServiceErr_NoError) << good;
}

TEST_F(BrowseCall, TakesInterfacesThatDoNotExist)
{
    EXPECT_EQ(browseError("_demo._tcp", nullptr, 99), kDNSServiceErr_NoError);
    EXPECT_EQ(browseError("_demo._tcp", nullptr, kDNSServiceInterfaceIndexLocalOnly), kDNSServiceErr_NoError);
    EXPECT_EQ(browseError("_demo._tcp", nullptr, kDNSServiceInterfaceIndexUnicast), kDNSServiceErr_BadParam);
}

TEST_F(BrowseCall, ReportsEachNameOncePerInterface)
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

TEST_F(BrowseCall, TellsNamesFromInterfaces)
{
    Browse browse("_demo._tcp");
    backend().come(instancePointer("A1", 2));
    backend().come(instancePointer("A", 12));
    settle(browse);
    EXPECT_EQ(browse.present(), (std::multiset<Instance>{{"A", "_demo._tcp.", "local.", 12},
                                                         {"A1", "_demo._tcp.", "local.", 2}}));
}

TEST_F(BrowseCall, SaysMoreComingWithAllButTheLast)
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

TEST_F(BrowseCall, ReportsTheTypeAsTheRecordSpellsIt)
{
    Browse browse("_DEMO._TCP", 0, "local.");
    backend().come(pointer(DemoType, {"ok", "_ZZ", "_TCP", "local"}));
    settle(browse);
    ASSERT_EQ(browse.events.size(), 1U);
    EXPECT_EQ(browse.events[0].instance, (Instance{"ok", "_ZZ._TCP.", "local.", Lan1}));
}

TEST_F(BrowseCall, ReportsInstancesOfASubtypeWithTheirType)
{
    Browse browse("_demo._tcp,_printer");
    backend().come(pointer(Labels{"_printer", "_sub"} + DemoType, Labels{"Kitchen"} + DemoType));
    backend().come(instancePointer("Other"));
    settle(browse);
    ASSERT_EQ(browse.events.size(), 1U);
    EXPECT_EQ(browse.events[0].instance, (Instance{"Kitchen", "_demo._tcp.", "local.", Lan1}));
}

TEST_F(BrowseCall, ReportsTypesInUse)
{
    Browse browse("_services._dns-sd._udp");
    backend().come(pointer({"_services", "_dns-sd", "_udp", "local"}, DemoType));
    settle(browse);
    ASSERT_EQ(browse.events.size(), 1U);
    EXPECT_EQ(browse.events[0].instance, (Instance{"_demo", "_tcp.local.", ".", Lan1}));
}

TEST_F(BrowseCall, ReportsTheBytesOfTheLabelAsName)
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

TEST_F(BrowseCall, EndsNamesAtAZeroByte)
{
    Browse browse("_demo._tcp");
    backend().come(instancePointer(std::string("be\0hind", 7)));
    settle(browse);
    ASSERT_EQ(browse.events.size(), 1U);
    EXPECT_EQ(browse.events[0].instance.name, "be");
}

TEST_F(BrowseCall, StaysSilentOnAnInterfaceThatDoesNotExist)
{
    Browse browse("_demo._tcp", NoInterface);
    backend().come(instancePointer("Kitchen"));
    settle(browse);
    EXPECT_TRUE(browse.events.empty());
}

TEST_F(BrowseCall, ReportsThisHostAloneWithoutInterface)
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

TEST_F(BrowseCall, IgnoresBrokenPointers)
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

TEST_F(BrowseCall, ReportsOnlyWhatChangedWhileTheDaemonWasAway)
{
    Browse browse("_demo._tcp");
    backend().come(instancePointer("Stays"));
    backend().come(instancePointer("Leaves"));
    settle(browse);
    browse.events.clear();
    advance(1min); // whatever else waits for a time is over

    backend().change(Backend::State::Absent);
    settle(browse);
    EXPECT_FALSE(browse.isReadable());
    EXPECT_TRUE(browse.events.empty());
    backend().go(instancePointer("Leaves"));
    backend().come(instancePointer("Comes"));
    backend().change(Backend::State::Running);

    settle(browse);
    ASSERT_EQ(browse.events.size(), 1U);
    EXPECT_EQ(browse.events[0].instance.name, "Comes");
    EXPECT_TRUE(browse.events[0].isAdd());

    advance(4999ms);
    settle(browse);
    EXPECT_EQ(browse.events.size(), 1U) << "it may be confirmed yet";
    advance(1ms);
    settle(browse);
    ASSERT_EQ(browse.events.size(), 2U);
    EXPECT_EQ(browse.events[1].instance.name, "Leaves");
    EXPECT_FALSE(browse.events[1].isAdd());
}

TEST_F(BrowseCall, ListsNamesThatDifferAfterAZeroByteAsOne)
{
    const std::string hostile("Kit\0x", 5);
    Browse browse("_demo._tcp");
    backend().come(instancePointer("Kit"));
    backend().come(instancePointer(hostile));
    settle(browse);
    EXPECT_EQ(browse.events.size(), 1U);

    backend().go(instancePointer(hostile));
    settle(browse);
    EXPECT_EQ(browse.events.size(), 1U) << "the real one is still there";
    backend().go(instancePointer("Kit"));
    settle(browse);
    ASSERT_EQ(browse.events.size(), 2U);
    EXPECT_FALSE(browse.events[1].isAdd());
    EXPECT_EQ(browse.events[1].instance.name, "Kit");
}

TEST_F(BrowseCall, ListsANameWithAZeroByteUntilItGoes)
{
    const std::string hostile("Kit\0x", 5);
    Browse browse("_demo._tcp");
    backend().come(instancePointer(hostile));
    backend().come(instancePointer("Kit"));
    backend().go(instancePointer("Kit"));
    settle(browse);
    ASSERT_EQ(browse.events.size(), 1U);
    backend().go(instancePointer(hostile));
    settle(browse);
    EXPECT_TRUE(browse.present().empty());
    EXPECT_EQ(browse.events.size(), 2U);
}

TEST_F(BrowseCall, TakesKindsOfLinksForAny)
{
    backend().come(instancePointer("Kitchen"));
    for (const uint32_t kind :
         {uint32_t(kDNSServiceInterfaceIndexP2P), uint32_t(kDNSServiceInterfaceIndexBLE),
          uint32_t(kDNSServiceInterfaceIndexInfra)}) {
        Browse browse("_demo._tcp", kind);
        settle(browse);
        EXPECT_TRUE(browse.has("Kitchen")) << kind;
    }
}
