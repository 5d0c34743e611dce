// SPDX-License-Identifier: MIT
//
// A host on two links.
#include "DnssdLab.h"

#include <gtest/gtest.h>

#include <set>

using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

constexpr uint32_t NoInterface = 99;

} // namespace

TEST(NetworkLinks, BrowseReportsAnInstanceOnceForEachLinkWhateverTheFamilies)
{
    Beside publisher("exec lab-on hostb avahi-publish -s Far _demo._tcp 80 >/dev/null 2>&1");
    Registration near("Near", "_demo._tcp", 80);
    Browse browse("_demo._tcp");
    ASSERT_TRUE(waitUntil({&near, &browse}, [&] { return browse.present().size() >= 4; }));
    // Whatever else there is to say about the two is said before a third one is.
    Registration last("Last", "_demo._tcp", 81);
    ASSERT_TRUE(waitUntil({&near, &browse, &last}, [&] { return browse.count("Last", true) == 2; }));
    std::multiset<Instance> expected;
    for (const char* name : {"Far", "Near", "Last"}) {
        for (const uint32_t interface : {Lan1, Lan2})
            expected.insert({name, "_demo._tcp.", "local.", interface});
    }
    EXPECT_EQ(browse.present(), expected);
}

TEST(NetworkLinks, OperationOnOneLinkKeepsToItAndOnNoLinkStaysSilent)
{
    Registration near("Near", "_demo._tcp", 80, "", 0, nullptr, nullptr, Lan2);
    Registration nowhere("Nowhere", "_demo._tcp", 80, "", 0, nullptr, nullptr, NoInterface);
    Registration elsewhere("Elsewhere", "_demo._tcp", 80, "", 0, nullptr, nullptr,
                           kDNSServiceInterfaceIndexP2P); // counts as any
    Browse browse("_demo._tcp");
    Browse none("_demo._tcp", NoInterface);
    Resolve unresolved("Near", "_demo._tcp", "local", NoInterface);
    Addresses everywhere("hosta.local", kDNSServiceProtocol_IPv4, NoInterface);
    const std::vector<Handle*> handles{&near, &nowhere, &elsewhere, &browse, &none, &unresolved, &everywhere};
    EXPECT_TRUE(waitUntil(handles, [&] {
        return near.isDone() && nowhere.isDone() && elsewhere.isDone() && everywhere.replies.size() >= 2 &&
               browse.has("Near");
    }));
    // What was to be seen of the others would have been by then.
    Registration last("Last", "_demo._tcp", 81);
    ASSERT_TRUE(waitUntil({&last, &browse, &none, &unresolved}, [&] {
        return browse.count("Last", true) == 2 && browse.count("Elsewhere", true) == 2;
    }));
    EXPECT_EQ(browse.present(), (std::multiset<Instance>{{"Near", "_demo._tcp.", "local.", Lan2},
                                                         {"Elsewhere", "_demo._tcp.", "local.", Lan1},
                                                         {"Elsewhere", "_demo._tcp.", "local.", Lan2},
                                                         {"Last", "_demo._tcp.", "local.", Lan1},
                                                         {"Last", "_demo._tcp.", "local.", Lan2}}));
    EXPECT_TRUE(none.events.empty());
    EXPECT_TRUE(unresolved.replies.empty());
}

TEST(NetworkLinks, BrowseReportsLoopbackOnlyWhileNoLinkIsUp)
{
    Registration registration("Kitchen", "_demo._tcp", 80);
    Browse browse("_demo._tcp");
    const auto isOn = [&](const std::set<uint32_t>& interfaces) {
        return waitUntil({&registration, &browse}, [&] {
            std::set<uint32_t> seen;
            for (const Instance& instance : browse.present())
                seen.insert(instance.interface);
            return seen == interfaces;
        });
    };
    EXPECT_TRUE(isOn({Lan1, Lan2}));
    run("lab-link hosta 1 down && lab-link hosta 2 down");
    EXPECT_TRUE(isOn({Loopback}));
    run("lab-link hosta 1 up && lab-link hosta 2 up");
    EXPECT_TRUE(isOn({Lan1, Lan2}));
}
