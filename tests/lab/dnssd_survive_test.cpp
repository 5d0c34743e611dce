// SPDX-License-Identifier: MIT
//
// The daemon and the bus of this host die, hang, come back and come late. Each test has a lab of two hosts
// and a process of its own.
#include "dnssd_lab.h"

#include <gtest/gtest.h>

#include <memory>

using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

constexpr uint32_t Lan1 = 11;

std::string item(const std::string& text)
{
    return static_cast<char>(text.size()) + text;
}

std::string publishOnHostb(const std::string& name, const std::string& txt = "")
{
    return "exec lab-on hostb avahi-publish -s '" + name + "' _demo._tcp 8080 " + txt + " >/dev/null 2>&1";
}

/// An advertiser, a lister and a monitor, with another host's service that stays all the time.
struct Application
{
    Beside stays{publishOnHostb("Stays", "stays=1")};
    Registration kitchen{"Kitchen", "_demo._tcp", 8081, item("round=0")};
    Browse browse{"_demo._tcp"};
    RecordQuery monitor{"Stays._demo._tcp.local.", kDNSServiceType_TXT};
    Resolve resolve{"Stays", "_demo._tcp", "local"};
    Addresses addresses{"hostb.local", kDNSServiceProtocol_IPv4};

    std::vector<Handle*> handles() { return {&kitchen, &browse, &monitor, &resolve, &addresses}; }

    bool wait(const std::function<bool()>& condition) { return waitUntil(handles(), condition, 60s); }

    bool isComplete()
    {
        return kitchen.isDone() && browse.has("Kitchen") && browse.has("Stays") && !monitor.replies.empty() &&
               !resolve.replies.empty() && !addresses.replies.empty();
    }

    bool isSeenWith(const std::string& txt)
    {
        return isSeenFrom("hostb", "_demo._tcp",
                          "Kitchen;_demo._tcp;local;hosta.local;10.99.1.1;8081;\"" + txt + '"', handles());
    }

    /// Nothing that stayed was reported anew.
    void expectNoFalseNews()
    {
        for (const char* name : {"Kitchen", "Stays"}) {
            EXPECT_EQ(browse.count(name, true), 1U) << name;
            EXPECT_EQ(browse.count(name, false), 0U) << name;
        }
        EXPECT_EQ(kitchen.replies.size(), 1U);
        EXPECT_EQ(kitchen.replies[0].name, "Kitchen");
        EXPECT_EQ(monitor.replies.size(), 1U);
        EXPECT_EQ(resolve.replies.size(), 1U);
        EXPECT_EQ(addresses.replies.size(), 1U);
    }
};

void expectQuiet(const std::vector<Handle*>& handles)
{
    // To notice that the daemon is gone costs once; what counts is what being without it costs.
    EXPECT_TRUE(watchQuiet(handles, 1s).noDescriptorWasReadable);
    const Quiet quiet = watchQuiet(handles, 5s);
    EXPECT_TRUE(quiet.noDescriptorWasReadable);
    EXPECT_LT(quiet.load, 0.01);
}

/// `who`: lab-daemon or lab-bus.
bool isStopped(const std::string& who)
{
    return outputOf("ps -o stat= -p $(" + who + " hosta pid)").substr(0, 1) == "T";
}

std::vector<std::unique_ptr<Handle>> startMany()
{
    std::vector<std::unique_ptr<Handle>> many;
    for (int i = 0; i < 100; ++i) {
        const std::string name = "Service " + std::to_string(i);
        many.push_back(std::make_unique<Registration>(name.c_str(), "_more._tcp", uint16_t(9000 + i)));
        many.push_back(std::make_unique<Browse>(("_type" + std::to_string(i) + "._tcp").c_str()));
        many.push_back(std::make_unique<Resolve>(name.c_str(), "_more._tcp", "local"));
        many.push_back(std::make_unique<Addresses>("hostb.local"));
        many.push_back(
            std::make_unique<RecordQuery>((name + "._more._tcp.local").c_str(), kDNSServiceType_TXT));
    }
    return many;
}

/// All calls return although whoever they concern stands still.
void callWhileStopped(const std::string& who)
{
    Application app;
    ASSERT_TRUE(app.wait([&] { return app.isComplete(); }));
    run(who + " hosta stop");
    auto many = startMany();
    for (const auto& handle : many)
        EXPECT_EQ(handle->error(), kDNSServiceErr_NoError);
    app.kitchen.update(item("round=1"));
    many.erase(many.begin() + 5, many.end());
    EXPECT_TRUE(isStopped(who)) << "they returned only when it went on";

    run(who + " hosta cont");
    auto& service = dynamic_cast<Registration&>(*many[0]);
    auto& resolve = dynamic_cast<Resolve&>(*many[2]);
    EXPECT_TRUE(
        waitUntil({&service, &resolve}, [&] { return service.isDone() && !resolve.replies.empty(); }));
    EXPECT_TRUE(app.isSeenWith("round=1"));
}

void callFirstWhileStopped(const std::string& who)
{
    run(who + " hosta stop");
    auto many = startMany(); // more than wait to be let in by a bus
    for (const auto& handle : many)
        EXPECT_EQ(handle->error(), kDNSServiceErr_NoError);
    many.clear();
    EXPECT_TRUE(isStopped(who));
    // It stays so: the process has to end all the same, with a handle that was not released.
    static auto& kept = *new Browse("_other._tcp");
    EXPECT_EQ(kept.error(), kDNSServiceErr_NoError);
}

} // namespace

TEST(Survive, DaemonKilledAHundredTimes)
{
    Application app;
    ASSERT_TRUE(app.wait([&] { return app.isComplete(); }));
    for (int round = 1; round <= 100; ++round) {
        run("lab-daemon hosta kill");
        EXPECT_EQ(app.kitchen.update(item("round=" + std::to_string(round))), kDNSServiceErr_NoError);
        run("lab-daemon hosta start");
        for (Handle* handle : app.handles())
            handle->process();
        if (round % 20 == 0) {
            ASSERT_TRUE(app.isSeenWith("round=" + std::to_string(round))) << round;
        }
        ASSERT_FALSE(HasFailure()) << round;
    }

    // What really changes is still reported: by then all that was missed would have been, too.
    Beside comes(publishOnHostb("Comes"));
    ASSERT_TRUE(app.wait([&] { return app.browse.has("Comes"); }));
    expectQuiet(app.handles());
    app.expectNoFalseNews();
    comes.end();
    ASSERT_TRUE(app.wait([&] { return !app.browse.has("Comes"); }));
    app.expectNoFalseNews();
}

TEST(Survive, WhatChangedWhileTheDaemonWasAway)
{
    Application app;
    auto leaves = std::make_unique<Beside>(publishOnHostb("Leaves"));
    ASSERT_TRUE(app.wait([&] { return app.isComplete() && app.browse.has("Leaves"); }));
    run("lab-daemon hosta kill");
    expectQuiet(app.handles());
    leaves.reset();
    app.stays.end();
    Beside changed(publishOnHostb("Stays", "stays=2"));
    Beside comes(publishOnHostb("Comes"));
    run("lab-daemon hosta start");
    ASSERT_TRUE(app.wait([&] {
        return app.browse.has("Comes") && !app.browse.has("Leaves") &&
               app.monitor.present(Lan1) == std::multiset<std::string>{item("stays=2")};
    }));
    EXPECT_EQ(app.browse.count("Stays", false), 0U);
    EXPECT_EQ(app.browse.count("Leaves", false), 1U);
    EXPECT_EQ(app.browse.count("Comes", true), 1U);
    EXPECT_TRUE(app.wait([&] { return app.resolve.replies.back().txt == item("stays=2"); }));
    EXPECT_TRUE(app.isSeenWith("round=0"));
}

TEST(Survive, BusKilledAndStarted)
{
    Application app;
    ASSERT_TRUE(app.wait([&] { return app.isComplete(); }));
    run("lab-bus hosta kill");
    app.kitchen.update(item("round=1"));
    expectQuiet(app.handles());
    EXPECT_EQ(Browse("_demo._tcp").error(), kDNSServiceErr_ServiceNotRunning);
    run("lab-bus hosta start && lab-daemon hosta start");
    EXPECT_TRUE(app.isSeenWith("round=1"));
    Beside comes(publishOnHostb("Comes"));
    ASSERT_TRUE(app.wait([&] { return app.browse.has("Comes"); }));
    expectQuiet(app.handles());
    app.expectNoFalseNews();
}

TEST(Survive, DaemonStartedAfterTheApplication)
{
    run("lab-daemon hosta kill");
    Application app;
    for (Handle* handle : app.handles())
        EXPECT_EQ(handle->error(), kDNSServiceErr_NoError);
    app.kitchen.update(item("round=1"));
    expectQuiet(app.handles());
    run("lab-daemon hosta start");
    ASSERT_TRUE(app.wait([&] { return app.isComplete(); }));
    EXPECT_TRUE(app.isSeenWith("round=1"));
    app.expectNoFalseNews();
}

TEST(Survive, NoBusAtAll)
{
    run("lab-bus hosta kill");
    Browse browse("_demo._tcp");
    EXPECT_EQ(browse.error(), kDNSServiceErr_ServiceNotRunning);
    EXPECT_EQ(browse.ref(), nullptr);
    run("lab-bus hosta start && lab-daemon hosta start");
    Registration registration("Kitchen", "_demo._tcp", 80);
    EXPECT_EQ(registration.error(), kDNSServiceErr_NoError);
    EXPECT_TRUE(waitUntil({&registration}, [&] { return registration.isDone(); }));
}

TEST(Survive, CallsReturnWhileTheDaemonIsStopped)
{
    callWhileStopped("lab-daemon");
}

TEST(Survive, CallsReturnWhileTheBusIsStopped)
{
    callWhileStopped("lab-bus");
}

TEST(Survive, FirstCallOfAProcessWhileTheDaemonIsStopped)
{
    callFirstWhileStopped("lab-daemon");
}

TEST(Survive, FirstCallOfAProcessWhileTheBusIsStopped)
{
    callFirstWhileStopped("lab-bus");
}
