// SPDX-License-Identifier: MIT
//
// The responder inside the process, chosen by the environment: without a daemon, and beside one. The program
// is its own peer on the same host: "publish NAME" publishes a service until it is ended.
#include "ChildProcess.h"
#include "DnssdLab.h"
#include "vesk_dnssd.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>

using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

std::string program;

constexpr uint16_t Port = 8080;

/// The addresses of this host on its first link, which packets come from.
const char* const Hosta = "10.99.1.1 fe80::99:ff:fe00:101";

VeskDnssdBackendInfo backendInfo()
{
    VeskDnssdBackendInfo info{};
    uint32_t size = sizeof info;
    EXPECT_EQ(DNSServiceGetProperty(kVeskDnssdProperty_Backend, &info, &size), kDNSServiceErr_NoError);
    return info;
}

/// This host, without a bus and a daemon.
class InProcess : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(backendInfo().inUse, kVeskDnssdBackend_Process);
        run("lab-bus hosta kill");
    }
};

/// A service that another process of this host publishes.
std::unique_ptr<Beside> publishInAnotherProcess(const std::string& name)
{
    return std::make_unique<Beside>("exec '" + program + "' publish " + name);
}

/// An IPv4 address of a host, as hostb knows it; "" for none.
std::string resolvedOnHostb(const std::string& host)
{
    const std::string said = outputOf("lab-on hostb timeout 5 avahi-resolve -4 -n " + host + " 2>/dev/null");
    return said.substr(said.find('\t') + 1, said.find('\n') - said.find('\t') - 1);
}

bool isGoneOnHostb(const std::string& name)
{
    return waitUntil({}, [&] {
        return outputOf("lab-on hostb timeout 5 avahi-browse -pt _demo._tcp 2>/dev/null")
                   .find(';' + name + ';') == std::string::npos;
    });
}

bool isNamed(const std::string& name, const std::string& host)
{
    return isSeenFrom("hostb", "_demo._tcp", ";" + name + ";_demo._tcp;local;" + host + ";");
}

std::string nameAtTheDaemon()
{
    return outputOf("dbus-send --system --print-reply=literal --dest=org.freedesktop.Avahi / "
                    "org.freedesktop.Avahi.Server.GetHostName");
}

} // namespace

TEST_F(InProcess, WithoutADaemonListsAndPublishesBeyondTheHost)
{
    const Beside other(publishOnHostb("Hall", "b=1"));
    Browse browse("_demo._tcp");
    Resolve resolve("Hall", "_demo._tcp", "local");
    Addresses addresses("hostb.local.", kDNSServiceProtocol_IPv4);
    Registration registration("Kitchen", "_demo._tcp", Port, item("a=1"));
    EXPECT_TRUE(waitUntil({&browse, &resolve, &addresses, &registration}, [&] {
        return browse.has("Hall") && browse.has("Kitchen") && !resolve.replies.empty() &&
               !addresses.replies.empty() && registration.isDone();
    }));
    EXPECT_EQ(registration.replies[0].name, "Kitchen");
    EXPECT_EQ(resolve.replies[0].host, "hostb.local.");
    EXPECT_EQ(resolve.replies[0].txt, item("b=1"));
    EXPECT_EQ(addresses.replies[0].address, "10.99.1.2");
    EXPECT_TRUE(
        isSeenFrom("hostb", "_demo._tcp", ";Kitchen;_demo._tcp;local;hosta.local;10.99.1.1;8080;\"a=1\""));
    registration.release();
    EXPECT_TRUE(waitUntil({&browse}, [&] { return !browse.has("Kitchen"); }));
}

TEST_F(InProcess, RepliesHaveTheTtlsThatWereSent)
{
    const Beside other("exec lab-on hostb avahi-publish -s Hall _demo._tcp 8080 >/dev/null 2>&1");
    RecordQuery pointer("_demo._tcp.local.", kDNSServiceType_PTR);
    RecordQuery service("Hall._demo._tcp.local.", kDNSServiceType_SRV);
    RecordQuery reverse("2.1.99.10.in-addr.arpa.", kDNSServiceType_PTR);
    EXPECT_TRUE(waitUntil({&pointer, &service, &reverse}, [&] {
        return !pointer.replies.empty() && !service.replies.empty() && !reverse.replies.empty();
    }));
    EXPECT_EQ(pointer.replies[0].ttl, 4500U);
    EXPECT_EQ(service.replies[0].ttl, 120U);
    EXPECT_EQ(reverse.replies[0].ttl, 120U) << "not the usual one of its type";
}

TEST_F(InProcess, ThatOnlyListsPublishesNothingNotEvenItsHost)
{
    const Listener listener(Hosta);
    ASSERT_TRUE(listener.isReady());
    const Beside other(publishOnHostb("Hall"));
    Browse browse("_demo._tcp");
    Resolve resolve("Hall", "_demo._tcp", "local");
    Addresses addresses("hosta.local.");
    ASSERT_TRUE(
        waitUntil({&browse, &resolve}, [&] { return browse.has("Hall") && !resolve.replies.empty(); }));
    EXPECT_EQ(resolvedOnHostb("hosta.local"), "");
    const auto isOwn = [](const std::string& line) {
        return line.find("hosta") != std::string::npos || line.find("arpa") != std::string::npos;
    };
    const auto heard = listener.lines();
    EXPECT_EQ(std::count_if(heard.begin(), heard.end(), isOwn), 0);
    EXPECT_TRUE(addresses.replies.empty());

    Registration registration("Kitchen", "_demo._tcp", Port);
    EXPECT_TRUE(waitUntil({&registration, &addresses}, [&] {
        return listener.count("4 1 hosta.local") > 0 && listener.count("6 28 hosta.local") > 0 &&
               listener.count("4 33 Kitchen._demo._tcp.local") > 0 && !addresses.replies.empty();
    }));
    registration.release();
    EXPECT_TRUE(waitUntil({}, [] { return resolvedOnHostb("hosta.local").empty(); }));
}

TEST_F(InProcess, ServiceOfAnotherHostTakesNoAddressesOfThisOneAlong)
{
    const Listener listener(Hosta);
    ASSERT_TRUE(listener.isReady());
    Registration registration("Printer", "_demo._tcp", Port, "", 0, nullptr, "hostb.local.");
    ASSERT_TRUE(waitUntil({&registration}, [&] { return registration.isDone(); }));
    ASSERT_TRUE(waitUntil({}, [&] { return listener.count("4 33 Printer._demo._tcp.local") > 0; }));
    EXPECT_TRUE(isNamed("Printer", "hostb.local"));
    EXPECT_EQ(listener.count("4 1 hosta.local") + listener.count("6 28 hosta.local"), 0U);
}

TEST_F(InProcess, TwoProcessesOfAHostShareItsName)
{
    auto other = publishInAnotherProcess("Hall");
    Registration registration("Kitchen", "_demo._tcp", Port);
    EXPECT_TRUE(isNamed("Hall", "hosta.local"));
    EXPECT_TRUE(isNamed("Kitchen", "hosta.local"));
    Browse browse("_demo._tcp");
    EXPECT_TRUE(waitUntil({&browse, &registration}, [&] { return browse.has("Hall"); }));
    other.reset();
    auto next = publishInAnotherProcess("Cellar");
    EXPECT_TRUE(isNamed("Cellar", "hosta.local"));
    EXPECT_TRUE(isNamed("Kitchen", "hosta.local"));
    registration.process();
    EXPECT_EQ(registration.replies.size(), 1U);
}

/// Their records would live on for more than an hour.
TEST_F(InProcess, ServicesAreWithdrawnWhenTheProcessReturnsFromMain)
{
    run("'" + program + "' publish-until-seen Kitchen");
    EXPECT_TRUE(isGoneOnHostb("Kitchen"));
}

TEST_F(InProcess, NameOfAServiceThatAnotherProcessOfTheHostHasIsReplaced)
{
    const auto other = publishInAnotherProcess("Kitchen");
    ASSERT_TRUE(isNamed("Kitchen", "hosta.local"));
    Registration registration("Kitchen", "_demo._tcp", Port + 1);
    EXPECT_TRUE(waitUntil({&registration}, [&] {
        return registration.isDone() && registration.replies.back().name == "Kitchen (2)";
    }));
}

TEST_F(InProcess, HostNameThatAnotherHostHasIsReplacedAndServicesKeepTheirs)
{
    const Beside other("exec lab-on hostb avahi-publish -a -R hosta.local 10.99.1.77 >/dev/null 2>&1");
    ASSERT_TRUE(waitUntil({}, [] { return resolvedOnHostb("hosta.local") == "10.99.1.77"; }));
    Registration registration("Kitchen", "_demo._tcp", Port, item("a=1"));
    EXPECT_TRUE(isNamed("Kitchen", "hosta-2.local"));
    EXPECT_EQ(resolvedOnHostb("hosta-2.local"), "10.99.1.1");
    EXPECT_EQ(resolvedOnHostb("hosta.local"), "10.99.1.77");
    registration.process();
    ASSERT_EQ(registration.replies.size(), 1U);
    EXPECT_EQ(registration.replies[0].name, "Kitchen");
}

TEST_F(InProcess, HostNameThatTurnsOutToBeTakenIsReplacedAndServicesKeepTheirs)
{
    Registration registration("Kitchen", "_demo._tcp", Port, item("a=1"));
    ASSERT_TRUE(isNamed("Kitchen", "hosta.local"));
    const Beside other(craftOnHostb("pace=100 host=hosta"));
    Registration another("Hall", "_demo._tcp", Port);
    EXPECT_TRUE(isNamed("Kitchen", "hosta-2.local"));
    EXPECT_TRUE(isNamed("Hall", "hosta-2.local"));
    registration.process();
    EXPECT_EQ(registration.replies.size(), 1U);
}

/// libavahi-core by itself would end the process.
TEST_F(InProcess, AliasesThatComeAndGoDoNoHarm)
{
    run("lab-daemon hostb kill");
    Addresses addresses("lamp.local.", kDNSServiceProtocol_IPv4);
    Browse browse("_demo._tcp");
    const Beside other(craftOnHostb("pace=1300 alias=lamp announce=End"));
    EXPECT_TRUE(waitUntil({&addresses, &browse}, [&] { return browse.has("End"); }));
    EXPECT_TRUE(addresses.replies.empty());
}

TEST_F(InProcess, AddressesOfTheHostFollowItsInterfaces)
{
    Registration registration("Kitchen", "_demo._tcp", Port);
    Addresses addresses("hosta.local.", kDNSServiceProtocol_IPv4, Lan1);
    const auto isThere = [&](const std::string& wanted) {
        bool isLastAdded = false;
        for (const auto& reply : addresses.replies) {
            if (reply.address == wanted)
                isLastAdded = (reply.flags & kDNSServiceFlagsAdd) != 0;
        }
        return isLastAdded;
    };
    EXPECT_TRUE(waitUntil({&registration, &addresses}, [&] { return isThere("10.99.1.1"); }));
    run("ip address add 10.99.1.50/24 dev lan1");
    EXPECT_TRUE(waitUntil({&registration, &addresses}, [&] { return isThere("10.99.1.50"); }));
    run("ip address del 10.99.1.50/24 dev lan1");
    EXPECT_TRUE(waitUntil({&registration, &addresses}, [&] { return !isThere("10.99.1.50"); }));
    EXPECT_TRUE(isThere("10.99.1.1"));
    run("lab-link hosta 1 down");
    run("lab-link hosta 1 up");
    EXPECT_TRUE(isNamed("Kitchen", "hosta.local"));
    EXPECT_EQ(registration.replies.size(), 1U);
}

TEST_F(InProcess, StartsOnceThereAreDescriptorsForIt)
{
    if (!CanExhaustDescriptors)
        GTEST_SKIP() << WhyNotExhausted;
    const auto state = [] { return backendInfo().state; };
    {
        const Browse first("_demo._tcp"); // what the library opens once is open from here on
        ASSERT_TRUE(waitUntil({}, [&] { return state() == kVeskDnssdBackendState_Running; }));
    }
    ASSERT_TRUE(waitUntil({}, [&] { return state() == kVeskDnssdBackendState_Absent; }));
    const Beside other(publishOnHostb("Hall"));
    exhaustDescriptors(1);
    Browse browse("_demo._tcp");
    EXPECT_EQ(browse.error(), kDNSServiceErr_NoError);
    EXPECT_FALSE(waitUntil(
        {&browse}, [&] { return state() != kVeskDnssdBackendState_Absent; }, 1s));
    limitDescriptors(1024);
    EXPECT_TRUE(waitUntil({&browse}, [&] { return browse.has("Hall"); }));
}

/// As the daemon chooses them: a deprecated address and a link-local one beside others are not published.
TEST(InProcessBesideADaemon, BothKeepTheHostsName)
{
    run("ip address add fd99:1::1/64 dev lan1 nodad");
    run("ip address add fd99:1::77/64 dev lan1 nodad preferred_lft 0");
    run("ip address add 10.99.1.50/24 dev lan1");
    for (int round = 0; round < 3; ++round) {
        Registration registration("Kitchen", "_demo._tcp", Port);
        ASSERT_TRUE(isNamed("Kitchen", "hosta.local"));
        const Beside ofTheDaemon("exec avahi-publish -s Hall _demo._tcp 8081 >/dev/null 2>&1");
        ASSERT_TRUE(isNamed("Hall", "hosta.local"));
        run("ip address add 10.99.1.51/24 dev lan1");
        Addresses addresses("hosta.local.", kDNSServiceProtocol_IPv4, Lan1);
        EXPECT_TRUE(waitUntil({&registration, &addresses}, [&] {
            return std::any_of(addresses.replies.begin(), addresses.replies.end(),
                               [](const auto& reply) { return reply.address == "10.99.1.51"; });
        }));
        run("ip address del 10.99.1.51/24 dev lan1");
        EXPECT_EQ(registration.replies.size(), 1U);
        EXPECT_NE(nameAtTheDaemon().find("hosta"), std::string::npos);
        EXPECT_EQ(nameAtTheDaemon().find("hosta-"), std::string::npos);
        registration.release();
        EXPECT_TRUE(isGoneOnHostb("Kitchen"));
        EXPECT_EQ(resolvedOnHostb("hosta.local").substr(0, 8), "10.99.1.");
    }
}

int main(int argc, char** argv)
{
    program = std::filesystem::read_symlink("/proc/self/exe");
    if (argc == 3 && std::strcmp(argv[1], "publish") == 0) {
        const Registration registration(argv[2], "_demo._tcp", Port);
        pause();
    }
    if (argc == 3 && std::strcmp(argv[1], "publish-until-seen") == 0) {
        static const auto* const neverReleased = new Registration(argv[2], "_demo._tcp", Port);
        return neverReleased->error() == kDNSServiceErr_NoError && isNamed(argv[2], "hosta.local") ? 0 : 1;
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
