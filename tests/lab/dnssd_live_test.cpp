// SPDX-License-Identifier: MIT
//
// The client library with a real daemon, and with another host's.
#include "dnssd_lab.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <thread>
#include <tuple>

using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

constexpr uint32_t Lan1 = 11;
constexpr uint32_t Lan2 = 12;
constexpr uint32_t Loopback = 1;
constexpr uint32_t NoInterface = 99;

template <typename Operation>
std::vector<Handle*> all(const std::vector<std::unique_ptr<Operation>>& operations)
{
    std::vector<Handle*> handles;
    for (const auto& operation : operations)
        handles.push_back(operation.get());
    return handles;
}

struct Resources
{
    std::size_t threads = 0;
    std::size_t sockets = 0;
    std::size_t descriptors = 0;
};

Resources resources()
{
    using std::filesystem::directory_iterator;
    Resources used;
    used.threads = static_cast<std::size_t>(std::distance(directory_iterator("/proc/self/task"), {}));
    for (const auto& entry : directory_iterator("/proc/self/fd")) {
        std::error_code gone; // the one that reads the directory
        ++used.descriptors;
        used.sockets += read_symlink(entry, gone).string().rfind("socket:", 0) == 0 ? 1U : 0U;
    }
    return used;
}

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

/// The questions that hostb hears on its first link, as the listener writes them.
class Listener
{
public:
    bool isReady() const
    {
        return waitUntil({}, [this] { return count("listening") == 1; });
    }

    std::size_t count(const std::string& wanted) const
    {
        std::ifstream lines(m_file);
        std::size_t found = 0;
        for (std::string line; std::getline(lines, line);)
            found += line == wanted ? 1U : 0U;
        return found;
    }

private:
    std::string m_file = std::string(std::getenv("LAB_DIR")) + "/questions";
    Beside m_process{"exec lab-on hostb '" DNSSD_LISTENER "' lan1 >" + m_file};
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

TEST(Live, EightThreadsAtOnce)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread) {
        threads.emplace_back([thread] {
            for (int round = 0; round < 8 && !testing::Test::HasFailure(); ++round) {
                const std::string name = "Own " + std::to_string(thread) + '-' + std::to_string(round);
                Registration registration(name.c_str(), "_demo._tcp", 8080, "\3a=1");
                Browse browse("_demo._tcp");
                Resolve resolve(name.c_str(), "_demo._tcp", "local");
                Addresses addresses("hosta.local", kDNSServiceProtocol_IPv4);
                RecordQuery query((name + "._demo._tcp.local").c_str(), kDNSServiceType_TXT);
                registration.update("\3a=2");
                if (round % 4 == 3)
                    continue; // released while everything is under way
                EXPECT_TRUE(waitUntil({&registration, &browse, &resolve, &addresses, &query}, [&] {
                    return registration.isDone() && browse.has(name) && !resolve.replies.empty() &&
                           !addresses.replies.empty() && !query.replies.empty();
                }));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Live, OneEventForEachLinkWhateverTheFamilies)
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

TEST(Live, SubtypesAreSeenByOthers)
{
    Registration registration("Kitchen", "_demo._tcp,_printer,_colour", 80);
    Browse asSubtype("_demo._tcp,_colour");
    Browse types("_services._dns-sd._udp");
    EXPECT_TRUE(waitUntil({&registration, &asSubtype, &types},
                          [&] { return asSubtype.has("Kitchen") && types.has("_demo"); }));
    for (const char* type : {"_demo._tcp", "_printer._sub._demo._tcp", "_colour._sub._demo._tcp"})
        EXPECT_TRUE(isSeenFrom("hostb", type, "Kitchen")) << type;
}

TEST(Live, NamesOfEveryByteAndOfTheLongestEscapedForm)
{
    std::vector<std::string> names;
    for (int byte = 1; byte < 128; ++byte) {
        char number[8];
        std::snprintf(number, sizeof number, "%02x ", static_cast<unsigned>(byte));
        names.push_back(number + std::string(1, static_cast<char>(byte)) + " x");
    }
    for (const char* longest : {"\1", "\xC3\xA9", "\xF0\x9F\x98\x80", ".", "\\", "\x7F"}) {
        std::string name;
        while (name.size() + std::string(longest).size() <= 63)
            name += longest;
        names.push_back(name);
    }
    std::vector<std::unique_ptr<Registration>> registrations;
    for (const std::string& name : names)
        registrations.push_back(std::make_unique<Registration>(name.c_str(), "_demo._tcp", uint16_t(80)));
    Browse browse("_demo._tcp", Lan1);
    std::vector<Handle*> handles = all(registrations);
    handles.push_back(&browse);
    EXPECT_TRUE(waitUntil(
        handles, [&] { return browse.present().size() == names.size(); }, 60s));

    std::vector<std::unique_ptr<Resolve>> resolves;
    for (const std::string& name : names) {
        EXPECT_TRUE(browse.has(name)) << name;
        resolves.push_back(std::make_unique<Resolve>(name.c_str(), "_demo._tcp.", "local.", Lan1));
    }
    EXPECT_TRUE(waitUntil(
        all(resolves),
        [&] {
            for (const auto& resolve : resolves) {
                if (resolve->replies.empty())
                    return false;
            }
            return true;
        },
        60s));
    for (std::size_t i = 0; i < names.size(); ++i) {
        ASSERT_FALSE(resolves[i]->replies.empty()) << names[i];
        char fullname[kDNSServiceMaxDomainName];
        ASSERT_EQ(DNSServiceConstructFullName(fullname, names[i].c_str(), "_demo._tcp", "local"), 0);
        EXPECT_EQ(resolves[i]->replies[0].fullname, fullname);
        // What is reported can be asked for as it is.
        RecordQuery query(resolves[i]->replies[0].fullname.c_str(), kDNSServiceType_TXT);
        EXPECT_TRUE(waitUntil({&query}, [&] { return !query.replies.empty(); }));
    }
}

TEST(Live, MoreQuestionsThanOneConnectionHolds)
{
    const Resources before = resources();
    Registration registration("Kitchen", "_demo._tcp", 80, "\3a=1");
    std::vector<std::unique_ptr<RecordQuery>> queries;
    for (int i = 0; i < 1500; ++i) {
        queries.push_back(std::make_unique<RecordQuery>(
            ("n" + std::to_string(i) + "._demo._tcp.local").c_str(), kDNSServiceType_TXT));
        ASSERT_EQ(queries.back()->error(), kDNSServiceErr_NoError);
    }
    RecordQuery last("Kitchen._demo._tcp.local", kDNSServiceType_TXT);
    Registration another("n1499", "_demo._tcp", 80, "\3a=2");
    EXPECT_TRUE(waitUntil(
        {&registration, &last, &another}, [&] { return !last.replies.empty() && another.isDone(); }, 60s));
    EXPECT_EQ(last.replies.at(0).error, kDNSServiceErr_NoError);
    const Resources now = resources();
    EXPECT_LE(now.threads, before.threads + 3);
    EXPECT_LE(now.sockets, before.sockets + 4);
    EXPECT_LE(now.descriptors, before.descriptors + 2 * queries.size());
    EXPECT_TRUE(waitUntil({queries.back().get()}, [&] { return !queries.back()->replies.empty(); }));
    EXPECT_EQ(queries.back()->replies.at(0).data, "\3a=2");
    for (const auto& query : queries) {
        query->process();
        EXPECT_TRUE(query->replies.empty() || query->replies[0].error == kDNSServiceErr_NoError);
    }
}

TEST(Live, BrowsedInstanceIsAskedForOverOneTransport)
{
    const Beside kitchen("exec lab-on hostb avahi-publish -s Kitchen _demo._tcp 80 >/dev/null 2>&1");
    ASSERT_TRUE(waitUntil({}, [] {
        const std::string seen = outputOf("timeout 5 avahi-browse -pt _demo._tcp");
        return seen.find("+;lan1;IPv4;Kitchen") != std::string::npos &&
               seen.find("+;lan1;IPv6;Kitchen") != std::string::npos;
    }));
    const Listener listener;
    ASSERT_TRUE(listener.isReady());
    Browse browse("_demo._tcp", Lan1);
    // The daemon has told all that it knew of the type before it answers this.
    Addresses host("hostb.local", kDNSServiceProtocol_IPv4, Lan1);
    ASSERT_TRUE(waitUntil({&browse, &host}, [&] { return browse.has("Kitchen") && !host.replies.empty(); }));

    Resolve resolve("Kitchen", "_demo._tcp.", "local.", Lan1);
    RecordQuery unseen("Nobody._demo._tcp.local.", kDNSServiceType_SRV, 0, Lan1);
    std::size_t byIPv4 = 0;
    std::size_t byIPv6 = 0;
    EXPECT_TRUE(waitUntil({&browse, &host, &resolve, &unseen}, [&] {
        byIPv4 = listener.count("4 33 Kitchen._demo._tcp.local");
        byIPv6 = listener.count("6 33 Kitchen._demo._tcp.local");
        return byIPv4 + byIPv6 >= 2 && listener.count("4 33 Nobody._demo._tcp.local") > 0 &&
               listener.count("6 33 Nobody._demo._tcp.local") > 0;
    }));
    EXPECT_EQ(std::min(byIPv4, byIPv6), 0U) << byIPv4 << " by IPv4, " << byIPv6 << " by IPv6";
    ASSERT_FALSE(resolve.replies.empty());
    EXPECT_EQ(resolve.replies[0].host, "hostb.local.");
}

/// Who goes and who comes right after the crowd was told is told by the question that follows the look.
TEST(Live, CrowdThatIsKnownIsToldAndThenWatched)
{
    constexpr std::size_t Size = 120;
    const auto publish = [](const std::string& name) {
        return "avahi-publish -s " + name + " _demo._tcp 80";
    };
    const Beside crowd("exec lab-on hostb sh -c 'for i in $(seq " + std::to_string(Size - 1) + "); do " +
                       publish("n$i") + " & done; wait' >/dev/null 2>&1");
    Beside leaver("exec lab-on hostb " + publish("Kitchen") + " >/dev/null 2>&1");
    ASSERT_TRUE(waitUntil({}, [&] {
        return outputOf("timeout 5 avahi-browse -pt _demo._tcp | grep -c '+;lan1;IPv4'") ==
               std::to_string(Size) + '\n';
    }));
    Browse browse("_demo._tcp", Lan1);
    ASSERT_TRUE(waitUntil({&browse}, [&] { return browse.events.size() >= Size; }));
    leaver.end();
    const Beside newcomer("exec lab-on hostb " + publish("Cellar") + " >/dev/null 2>&1");
    EXPECT_TRUE(
        waitUntil({&browse}, [&] { return browse.count("Kitchen", false) == 1 && browse.has("Cellar"); }));
    EXPECT_EQ(browse.events.size(), Size + 2) << "and nobody else";
}

TEST(Live, OneLinkAloneOrNoneAtAll)
{
    Registration near("Near", "_demo._tcp", 80, "", 0, nullptr, nullptr, Lan2);
    Registration nowhere("Nowhere", "_demo._tcp", 80, "", 0, nullptr, nullptr, NoInterface);
    Registration elsewhere("Elsewhere", "_demo._tcp", 80, "", 0, nullptr, nullptr,
                           kDNSServiceInterfaceIndexP2P);
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
    ASSERT_TRUE(
        waitUntil({&last, &browse, &none, &unresolved}, [&] { return browse.count("Last", true) == 2; }));
    EXPECT_EQ(browse.present(), (std::multiset<Instance>{{"Near", "_demo._tcp.", "local.", Lan2},
                                                         {"Last", "_demo._tcp.", "local.", Lan1},
                                                         {"Last", "_demo._tcp.", "local.", Lan2}}));
    EXPECT_TRUE(none.events.empty());
    EXPECT_TRUE(unresolved.replies.empty());
}

TEST(Live, LoopbackCountsWhereThereIsNothingElse)
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

TEST(Live, PortZeroHoldsTheNameAndOffersNothing)
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

TEST(Live, SameServiceTwiceIsNoConflict)
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

TEST(Live, TypesOfUnusualForm)
{
    for (const char* type : {"_abcdefghijklmnop._tcp", "_de_mo._tcp", "_123._tcp", "_Demo._UDP"}) {
        Registration registration("Kitchen", type, 80);
        Browse browse(type);
        ASSERT_TRUE(waitUntil({&registration, &browse}, [&] {
            return registration.isDone() && browse.has("Kitchen");
        })) << type;
        EXPECT_EQ(registration.replies[0].error, kDNSServiceErr_NoError) << type;
    }
}

TEST(Live, ConflictAtTheLongestNameIsRenamedAtACharacter)
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

TEST(Live, ConflictFoundLaterTakesTheOldNameBackFirst)
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
