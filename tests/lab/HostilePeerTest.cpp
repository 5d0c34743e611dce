// SPDX-License-Identifier: MIT
//
// Another host sends crafted packets. What is whole in them arrives faithfully, the rest not at all, and
// everything goes on.
#include "DnssdLab.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <memory>

using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

/// A lister that resolves and monitors whatever it finds.
class Lister
{
public:
    struct Found
    {
        std::unique_ptr<Resolve> resolve;
        std::unique_ptr<RecordQuery> monitor;
    };
    std::map<std::string, Found> found;
    Browse browse{"_demo._tcp"};
    Addresses addresses{"hostile.local"};

    bool wait(const std::function<bool()>& condition)
    {
        return waitUntil(
            {&browse, &addresses},
            [&] {
                follow();
                return condition();
            },
            90s);
    }

    bool isResolved(const std::string& name) const
    {
        const auto entry = found.find(name);
        return entry != found.end() && entry->second.resolve && !entry->second.resolve->replies.empty();
    }

private:
    void follow()
    {
        for (; m_seen < browse.events.size(); ++m_seen) {
            const auto& event = browse.events[m_seen];
            if (event.isAdd() && found.count(event.instance.name) == 0)
                ask(event.instance);
        }
        for (auto& entry : found) {
            entry.second.resolve->process();
            entry.second.monitor->process();
        }
    }

    void ask(const Instance& instance)
    {
        Found& entry = found[instance.name];
        entry.resolve = std::make_unique<Resolve>(instance.name.c_str(), instance.type.c_str(),
                                                  instance.domain.c_str(), instance.interface);
        char fullname[kDNSServiceMaxDomainName] = "";
        DNSServiceConstructFullName(fullname, instance.name.c_str(), instance.type.c_str(),
                                    instance.domain.c_str());
        entry.monitor = std::make_unique<RecordQuery>(fullname, kDNSServiceType_TXT);
    }

    std::size_t m_seen = 0;
};

std::string utf8(unsigned code)
{
    return code < 0x80
               ? std::string(1, static_cast<char>(code))
               : std::string{static_cast<char>(0xC0 | (code >> 6)), static_cast<char>(0x80 | (code & 0x3F))};
}

std::map<std::string, uint16_t> soundInstances()
{
    std::map<std::string, uint16_t> instances{{"The end", 9999},
                                              {std::string(63, '\1'), 2001},
                                              {std::string(63, '.'), 2003},
                                              {std::string(63, '\\'), 2004},
                                              {"empty txt", 2005},
                                              {"many txt", 2006},
                                              {"long txt", 2007},
                                              {"every byte", 2008}};
    std::string euros;
    while (euros.size() < 63)
        euros += "\xE2\x82\xAC";
    instances[euros] = 2002;
    for (unsigned code = 1; code < 256; ++code) {
        char number[8];
        std::snprintf(number, sizeof number, "i%02x ", code);
        instances[number + utf8(code) + " x"] = static_cast<uint16_t>(1000 + code);
    }
    return instances;
}

} // namespace

TEST(HostilePeer, OddNamesArriveFaithfullyAndBrokenPacketsNotAtAll)
{
    run("lab-daemon hostb kill");
    Beside sender("exec lab-on hostb '" DNSSD_HOSTILE_PEER "' 10.99.1.2");
    Registration own("Kitchen", "_demo._tcp", 8080, "\3a=1");
    Lister lister;
    const auto expected = soundInstances();
    const bool complete = lister.wait([&] {
        for (const auto& entry : expected) {
            if (!lister.isResolved(entry.first))
                return false;
        }
        return lister.isResolved("Kitchen") && !lister.addresses.replies.empty();
    });
    for (const auto& [name, port] : expected) {
        ASSERT_TRUE(lister.isResolved(name)) << testing::PrintToString(name);
        const auto& reply = lister.found[name].resolve->replies.front();
        EXPECT_EQ(reply.port, port) << name;
        EXPECT_EQ(reply.host, "hostile.local.");
        char fullname[kDNSServiceMaxDomainName];
        ASSERT_EQ(DNSServiceConstructFullName(fullname, name.c_str(), "_demo._tcp", "local"), 0);
        EXPECT_EQ(reply.fullname, fullname);
    }
    EXPECT_TRUE(complete);
    EXPECT_EQ(lister.found["long txt"].resolve->replies.front().txt, "\xFFk=" + std::string(253, 'v'));
    EXPECT_EQ(lister.found["empty txt"].resolve->replies.front().txt, std::string(1, '\0'));
    // The daemon leaves empty items out (RFC 6763 section 6.1 has them ignored).
    EXPECT_EQ(lister.found["many txt"].resolve->replies.front().txt, std::string(1, '\0'));

    for (const auto& event : lister.browse.events) {
        EXPECT_EQ(event.error, kDNSServiceErr_NoError);
        EXPECT_LE(event.instance.name.size(), 63U);
        EXPECT_EQ(event.instance.interface, Lan1);
    }
    for (const auto& reply : lister.addresses.replies)
        EXPECT_FALSE(reply.address.empty());
    // The daemon is the same one, and so is our connection to it.
    EXPECT_EQ(own.replies.size(), own.isDone() ? 1U : 0U);
    run("lab-daemon hosta pid | xargs -I{} test -d /proc/{}");
    EXPECT_EQ(lister.browse.count("Kitchen", false), 0U);
}
