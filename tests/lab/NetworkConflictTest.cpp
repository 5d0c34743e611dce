// SPDX-License-Identifier: MIT
//
// Two services of one name, on this host or on another.
#include "DnssdLab.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

/// A peer on hostb, in place of its daemon, that never gives the name away.
class Defender
{
public:
    explicit Defender(const std::string& name)
        : m_claim((name + "._demo._tcp.local.").c_str(), kDNSServiceType_SRV)
        , m_process("exec lab-on hostb '" DNSSD_DEFENDER "' 10.99.1.2 '" + name + "'")
    {
    }
    bool isHeard()
    {
        return waitUntil({&m_claim}, [&] { return !m_claim.replies.empty(); });
    }

private:
    RecordQuery m_claim;
    Beside m_process;
};

/// A reply without MoreComing, which depends on when it is read.
using Said = std::tuple<DNSServiceFlags, DNSServiceErrorType, std::string>;

std::vector<Said> said(const Registration& registration)
{
    std::vector<Said> all;
    for (const auto& reply : registration.replies)
        all.emplace_back(reply.flags & ~kDNSServiceFlagsMoreComing, reply.error, reply.name);
    return all;
}

/// The last word is `last`, and before it at most that the name was there for a moment: daemons that are busy
/// notice late that another one defends it.
void expectLost(Registration& registration, const std::string& name, const Said& last)
{
    EXPECT_TRUE(waitUntil({&registration},
                          [&] { return registration.isDone() && said(registration).back() == last; }));
    const std::vector<Said> atOnce{last};
    const std::vector<Said> late{
        {kDNSServiceFlagsAdd, kDNSServiceErr_NoError, name}, {0, kDNSServiceErr_NoError, name}, last};
    EXPECT_EQ(said(registration), registration.replies.size() == 1 ? atOnce : late);
}

} // namespace

TEST(NetworkConflict, PortZeroHoldsTheNameAndOffersNothing)
{
    Registration holder("Kitchen", "_demo._tcp", 0);
    ASSERT_TRUE(waitUntil({&holder}, [&] { return holder.isDone(); }));
    EXPECT_EQ(holder.replies[0].name, "Kitchen");
    Browse browse("_demo._tcp");
    RecordQuery service("Kitchen._demo._tcp.local.", kDNSServiceType_SRV);
    RecordQuery text("Kitchen._demo._tcp.local.", kDNSServiceType_TXT);
    Registration second("kitchen", "_demo._tcp", 80);
    EXPECT_TRUE(waitUntil({&browse, &second, &service, &text},
                          [&] { return browse.has("kitchen (2)") && !service.replies.empty(); }));
    EXPECT_EQ(browse.count("Kitchen", true), 0U);
    EXPECT_EQ(service.replies[0].data.substr(0, 6), std::string(6, '\0'));
    EXPECT_TRUE(text.replies.empty());
}

TEST(NetworkConflict, SameServiceTwiceKeepsItsName)
{
    Registration first("Kitchen", "_demo._tcp", 80);
    ASSERT_TRUE(waitUntil({&first}, [&] { return first.isDone(); }));
    Registration same("Kitchen", "_demo._tcp", 80);
    Registration other("KITCHEN", "_demo._tcp", 81);
    ASSERT_TRUE(waitUntil({&first, &same, &other}, [&] { return same.isDone() && other.isDone(); }));
    EXPECT_EQ(same.replies[0].name, "Kitchen");
    EXPECT_EQ(other.replies[0].name, "KITCHEN (2)");
    EXPECT_EQ(first.replies.size(), 1U);
}

TEST(NetworkConflict, LongestNameIsCutAtACharacterWhenRenamed)
{
    std::string name;
    while (name.size() < 63)
        name += "\xE2\x82\xAC"; // 21 characters of three bytes
    run("lab-daemon hostb kill");
    Defender defender(name);
    ASSERT_TRUE(defender.isHeard());
    Registration registration(name.c_str(), "_demo._tcp", 80);
    expectLost(registration, name,
               {kDNSServiceFlagsAdd, kDNSServiceErr_NoError, name.substr(0, 19 * 3) + " (2)"});
    Registration strict(name.c_str(), "_demo._tcp", 80, "", kDNSServiceFlagsNoAutoRename);
    expectLost(strict, name, {kDNSServiceFlagsAdd, kDNSServiceErr_NameConflict, name});
}

TEST(NetworkConflict, ConflictFoundLaterTakesTheOldNameBackFirst)
{
    run("lab-daemon hostb kill");
    Registration registration("Kitchen", "_demo._tcp", 80, "\3a=1");
    ASSERT_TRUE(waitUntil({&registration}, [&] { return registration.isDone(); }));
    EXPECT_EQ(registration.update("\3a=2"), kDNSServiceErr_NoError);
    Defender defender("Kitchen");
    RecordQuery text("Kitchen (2)._demo._tcp.local.", kDNSServiceType_TXT);
    EXPECT_TRUE(waitUntil({&registration, &text},
                          [&] { return registration.replies.size() >= 3 && !text.replies.empty(); }));
    EXPECT_EQ(said(registration),
              (std::vector<Said>{{kDNSServiceFlagsAdd, kDNSServiceErr_NoError, "Kitchen"},
                                 {0, kDNSServiceErr_NoError, "Kitchen"},
                                 {kDNSServiceFlagsAdd, kDNSServiceErr_NoError, "Kitchen (2)"}}));
    EXPECT_EQ(text.present(Lan1), std::multiset<std::string>{"\3a=2"});
}

/// The daemon comes back while this process stands still, and another program is faster.
TEST(NetworkConflict, NameTakenWhileTheDaemonWasAwayIsTakenBackBeforeItIsRenamed)
{
    Registration registration("Kitchen", "_demo._tcp", 80);
    ASSERT_TRUE(waitUntil({&registration}, [&] { return registration.isDone(); }));
    run("lab-daemon hosta kill");
    run("trap 'kill -CONT $PPID' EXIT; kill -STOP $PPID; lab-daemon hosta start && { "
        "avahi-publish -s Kitchen _demo._tcp 81 >$LAB_DIR/other 2>&1 & } && "
        "timeout 60 sh -c 'until grep -q Established $LAB_DIR/other; do sleep 0.05; done'");
    EXPECT_TRUE(waitUntil({&registration}, [&] { return registration.replies.size() >= 3; }));
    EXPECT_EQ(said(registration),
              (std::vector<Said>{{kDNSServiceFlagsAdd, kDNSServiceErr_NoError, "Kitchen"},
                                 {0, kDNSServiceErr_NoError, "Kitchen"},
                                 {kDNSServiceFlagsAdd, kDNSServiceErr_NoError, "Kitchen (2)"}}));
}
