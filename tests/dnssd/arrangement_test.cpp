// SPDX-License-Identifier: MIT
//
// What reaches the daemon, and how little of it.
#include "Played.h"

#include <algorithm>
#include <memory>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

const std::string Kitchen = "Kitchen._demo._tcp.local.";

class Arrangement : public WithBackend
{
protected:
    /// Questions of the test before may still linger.
    Arrangement()
    {
        EXPECT_TRUE(waitUntil({}, [] { return questionsNow() == 0; }));
        backend().inspect([] {
            FakeBackend::instance().forgetAsked();
            FakeBackend::instance().holdTimers(true);
        });
    }

    static void letTimePass()
    {
        backend().inspect([] { FakeBackend::instance().holdTimers(false); });
    }

    /// A look at what is known comes first, over one transport.
    static bool isLook(const Query& query) { return query.type == kDNSServiceType_PTR && query.transport; }

    /// Without the looks.
    static std::vector<Query> asked(uint16_t type)
    {
        std::vector<Query> result;
        backend().inspect([&] {
            const auto& all = FakeBackend::instance().asked();
            std::copy_if(all.begin(), all.end(), std::back_inserter(result),
                         [&](const Query& query) { return query.type == type && !isLook(query); });
        });
        return result;
    }

    static std::size_t glances()
    {
        std::size_t count = 0;
        backend().inspect([&] { count = FakeBackend::instance().glances().size(); });
        return count;
    }

    /// Asked in the end, however long it may wait for a quiet moment.
    static bool isAskedInTime(uint16_t type, std::size_t count = 1)
    {
        letTimePass();
        return waitUntil({}, [&] { return asked(type).size() == count; });
    }

    static std::size_t questionsNow()
    {
        std::size_t count = 0;
        backend().inspect([&] { count = FakeBackend::instance().questions(); });
        return count;
    }

    static void comeKitchen(const std::string& txt, Transport transport = Transport::IPv4,
                            uint32_t interface = Lan1)
    {
        backend().come(instancePointer("Kitchen", interface), transport);
        backend().come(service("Kitchen", {"hostb", "local"}, 8080, interface), transport);
        backend().come(txtOf("Kitchen", txt, interface), transport);
    }
};

/// A browsed instance was resolved a moment ago.
class TextAfterGlance : public Arrangement
{
protected:
    TextAfterGlance()
    {
        comeKitchen("\3a=1", Transport::IPv4, Loopback);
        settle(m_browse);
        Resolve resolve("Kitchen", "_demo._tcp", "local", Loopback);
        settle(resolve);
    }

private:
    Browse m_browse{"_demo._tcp", Loopback};
};

class Rush : public Arrangement
{
protected:
    enum class Known
    {
        Name,
        Whole
    };
    using Resolves = std::vector<std::unique_ptr<Resolve>>;

    /// All of them are seen by browsing.
    Resolves resolveMany(unsigned count, Known known)
    {
        Resolves resolves;
        settle(m_browse);
        for (unsigned i = 0; i < count; ++i) {
            const std::string name = "n" + std::to_string(i);
            backend().come(instancePointer(name));
            if (known == Known::Whole) {
                backend().come(service(name, {"hostb", "local"}, 8080));
                backend().come(txtOf(name, "\3a=1"));
            }
        }
        settle(m_browse);
        for (unsigned i = 0; i < count; ++i)
            resolves.push_back(
                std::make_unique<Resolve>(("n" + std::to_string(i)).c_str(), "_demo._tcp", "local", Lan1));
        return resolves;
    }

    static std::vector<Handle*> handles(const Resolves& resolves)
    {
        std::vector<Handle*> all;
        for (const auto& resolve : resolves)
            all.push_back(resolve.get());
        return all;
    }

private:
    Browse m_browse{"_demo._tcp", Lan1};
};

/// More instances are known than the daemon asks the network about in a moment. Each test has a type of its
/// own: what is known of a crowd lingers.
class Crowd : public Arrangement
{
protected:
    static constexpr unsigned Size = 100;

    Crowd()
    {
        for (unsigned i = 0; i < Size; ++i)
            backend().come(member(i), Transport::IPv4);
    }

    Record member(unsigned number) const
    {
        return pointer(m_type, Labels{"n" + std::to_string(number)} + m_type);
    }
    std::string type() const { return m_type[0] + "._tcp"; }

private:
    static unsigned nextType()
    {
        static unsigned next = 0;
        return next++;
    }

    Labels m_type{"_crowd" + std::to_string(nextType()), "_tcp", "local"};
};

using Looking = Arrangement;
using Sharing = Arrangement;
using Glancing = Arrangement;
using OneTransport = Arrangement;
using Order = Arrangement;

} // namespace

/* ---- Questions are shared ---- */

TEST_F(Sharing, SameQuestionIsAskedOnce)
{
    backend().come(address(kDNSServiceType_A, std::string("\12\0\0\1", 4)));
    Addresses first("hostb.local.", kDNSServiceProtocol_IPv4, Lan1);
    settle(first);
    Addresses second("HOSTB.local", kDNSServiceProtocol_IPv4, Lan1);
    settle(second);
    EXPECT_EQ(asked(kDNSServiceType_A).size(), 1U);
    ASSERT_EQ(second.replies.size(), 1U);
    EXPECT_EQ(second.replies[0].flags,
              DNSServiceFlags(kDNSServiceFlagsAdd | kDNSServiceFlagAnsweredFromCache));
}

TEST_F(Sharing, OtherInterfaceIsAnotherQuestion)
{
    Browse first("_demo._tcp", Lan1);
    Browse second("_demo._tcp", Lan2);
    settle(second);
    EXPECT_EQ(asked(kDNSServiceType_PTR).size(), 2U);
}

TEST_F(Sharing, QuestionLingersForWhoeverAsksNext)
{
    backend().come(instancePointer("Kitchen"));
    Browse("_demo._tcp").process();
    Browse next("_demo._tcp");
    settle(next);
    EXPECT_TRUE(next.has("Kitchen"));
    EXPECT_EQ(asked(kDNSServiceType_PTR).size(), 1U);
}

TEST_F(Sharing, ReleasedQuestionsAreGivenBack)
{
    {
        Browse browse("_demo._tcp");
        RecordQuery record(Kitchen.c_str(), kDNSServiceType_TXT);
        settle(record);
        EXPECT_EQ(questionsNow(), 2U);
    }
    letTimePass();
    EXPECT_TRUE(waitUntil({}, [] { return questionsNow() == 0; }));
}

/* ---- Before a type is asked for, what is known of it is looked at ---- */

TEST_F(Looking, FewInstancesAreAskedForAtOnceOverEveryTransport)
{
    comeKitchen("\3a=1");
    backend().come(instancePointer("Cellar"), Transport::IPv6);
    Browse browse("_demo._tcp");
    settle(browse);
    EXPECT_EQ(asked(kDNSServiceType_PTR).size(), 1U);
    EXPECT_EQ(questionsNow(), 1U) << "the look is over";
    EXPECT_EQ(browse.count("Kitchen", true), 1U);
    EXPECT_EQ(browse.count("Cellar", true), 1U);
}

TEST_F(Looking, NobodyResolvesUntilItHasEnded)
{
    comeKitchen("\3a=1");
    Browse browse("_demo._tcp");
    settle(browse);
    backend().inspect([] { FakeBackend::instance().setNeverExhausted(true); });
    Browse other("_other._tcp");
    Resolve resolve("Kitchen", "_demo._tcp", "local", Lan1);
    settle(resolve);
    EXPECT_EQ(glances(), 0U);

    letTimePass();
    ASSERT_TRUE(waitUntil({&resolve}, [&] { return resolve.replies.size() == 1; }));
    EXPECT_EQ(glances(), 1U);
}

TEST_F(Looking, EndsWhenTheDaemonTakesTooLong)
{
    comeKitchen("\3a=1");
    backend().inspect([] { FakeBackend::instance().setNeverExhausted(true); });
    Browse browse("_demo._tcp");
    settle(browse);
    EXPECT_TRUE(browse.events.empty());
    EXPECT_TRUE(asked(kDNSServiceType_PTR).empty());

    letTimePass();
    ASSERT_TRUE(waitUntil({&browse}, [&] { return browse.has("Kitchen"); }));
    EXPECT_TRUE(isAskedInTime(kDNSServiceType_PTR));
}

TEST_F(Looking, IsOverWhenTheDaemonGoes)
{
    comeKitchen("\3a=1");
    backend().inspect([] { FakeBackend::instance().setNeverExhausted(true); });
    Browse browse("_demo._tcp");
    settle(browse);
    backend().change(Backend::State::Absent);
    settle(browse);
    EXPECT_EQ(browse.count("Kitchen", true), 1U);

    backend().inspect([] { FakeBackend::instance().setNeverExhausted(false); });
    backend().change(Backend::State::Running);
    settle(browse);
    EXPECT_EQ(browse.events.size(), 1U) << "nobody is told twice";
    EXPECT_EQ(asked(kDNSServiceType_PTR).size(), 1U);
    EXPECT_EQ(questionsNow(), 1U);
}

TEST_F(Looking, EndsWithoutAnErrorBeforeItIsKnownThatTheDaemonHasGone)
{
    comeKitchen("\3a=1");
    backend().inspect([] { FakeBackend::instance().setNeverExhausted(true); });
    Browse browse("_demo._tcp");
    settle(browse);
    backend().inspect([] { FakeBackend::instance().assume(Backend::State::Absent); });
    letTimePass();
    ASSERT_TRUE(waitUntil({&browse}, [&] { return browse.has("Kitchen"); }));

    backend().inspect([] { FakeBackend::instance().assume(Backend::State::Running); });
    backend().change(Backend::State::Absent);
    backend().change(Backend::State::Running);
    EXPECT_TRUE(isAskedInTime(kDNSServiceType_PTR));
    settle(browse);
    ASSERT_EQ(browse.events.size(), 1U) << "and no error";
    EXPECT_EQ(browse.events[0].error, kDNSServiceErr_NoError);
}

TEST_F(Looking, BeginsAnewWhenTheDaemonIsBackAndNothingWasSeen)
{
    backend().inspect([] { FakeBackend::instance().setNeverExhausted(true); });
    Browse browse("_demo._tcp");
    settle(browse);
    backend().change(Backend::State::Absent);
    backend().change(Backend::State::Running);
    comeKitchen("\3a=1");
    settle(browse);
    EXPECT_TRUE(browse.events.empty());
    EXPECT_TRUE(asked(kDNSServiceType_PTR).empty());

    ASSERT_TRUE(isAskedInTime(kDNSServiceType_PTR));
    settle(browse);
    EXPECT_EQ(browse.events.size(), 1U);
}

TEST_F(Crowd, IsToldBeforeTheNetworkIsAsked)
{
    Browse browse(type().c_str());
    settle(browse);
    EXPECT_EQ(browse.events.size(), Size);
    EXPECT_TRUE(asked(kDNSServiceType_PTR).empty());
    EXPECT_EQ(questionsNow(), 0U);

    ASSERT_TRUE(isAskedInTime(kDNSServiceType_PTR));
    settle(browse);
    EXPECT_EQ(browse.events.size(), Size) << "nobody is told twice";
}

TEST_F(Crowd, IsToldWhenTheDaemonTakesTooLong)
{
    backend().inspect([] { FakeBackend::instance().setNeverExhausted(true); });
    Browse browse(type().c_str());
    settle(browse);
    EXPECT_TRUE(browse.events.empty());

    ASSERT_TRUE(isAskedInTime(kDNSServiceType_PTR));
    settle(browse);
    EXPECT_EQ(browse.events.size(), Size);
}

TEST_F(Crowd, WhoIsSeenOtherwiseIsToldWhenTheNetworkIsAsked)
{
    Browse browse(type().c_str());
    settle(browse);
    backend().come(member(Size), Transport::IPv6);
    settle(browse);
    EXPECT_EQ(browse.events.size(), Size);

    letTimePass();
    ASSERT_TRUE(waitUntil({&browse}, [&] { return browse.events.size() == Size + 1; }));
}

TEST_F(Crowd, WhoHasGoneBeforeTheNetworkIsAskedIsTakenBack)
{
    Browse browse(type().c_str());
    settle(browse);
    backend().go(member(0), Transport::IPv4); // nobody listens yet
    letTimePass();
    ASSERT_TRUE(waitUntil({&browse}, [&] { return browse.count("n0", false) == 1; }));
    EXPECT_EQ(browse.events.size(), Size + 1) << "and nobody else";
}

TEST_F(Crowd, WhoIsLeftOnTheOtherTransportGoesWithThat)
{
    Browse browse(type().c_str());
    settle(browse);
    backend().go(member(0), Transport::IPv4); // nobody listens yet
    backend().come(member(0), Transport::IPv6);
    ASSERT_TRUE(isAskedInTime(kDNSServiceType_PTR));
    settle(browse);
    EXPECT_EQ(browse.events.size(), Size);

    backend().go(member(0), Transport::IPv6);
    ASSERT_TRUE(waitUntil({&browse}, [&] { return browse.count("n0", false) == 1; }));
}

TEST_F(Crowd, GoesAtOnceWhenTheNetworkHasBeenAsked)
{
    Browse browse(type().c_str());
    settle(browse);
    ASSERT_TRUE(isAskedInTime(kDNSServiceType_PTR));
    backend().inspect([] { FakeBackend::instance().holdTimers(true); });
    backend().go(member(0), Transport::IPv4);
    settle(browse);
    EXPECT_EQ(browse.count("n0", false), 1U);
}

/* ---- Instances that are browsed need but a glance ---- */

TEST_F(Glancing, BrowsedInstanceIsResolvedByAGlanceAlone)
{
    comeKitchen("\3a=1");
    Browse browse("_demo._tcp");
    settle(browse);
    Resolve resolve("Kitchen", "_demo._tcp.", "local.", Lan1);
    settle(resolve);
    ASSERT_EQ(resolve.replies.size(), 1U);
    EXPECT_EQ(resolve.replies[0].fullname, Kitchen);
    EXPECT_EQ(resolve.replies[0].host, "hostb.local.");
    EXPECT_EQ(resolve.replies[0].port, 8080);
    EXPECT_EQ(resolve.replies[0].txt, "\3a=1");
    EXPECT_EQ(resolve.replies[0].interface, Lan1);
    EXPECT_EQ(glances(), 1U);
    EXPECT_TRUE(asked(kDNSServiceType_SRV).empty());
    EXPECT_TRUE(asked(kDNSServiceType_TXT).empty());
}

TEST_F(Glancing, ResolverThatStaysHasTheRecordsWatched)
{
    comeKitchen("\3a=1");
    Browse browse("_demo._tcp");
    settle(browse);
    Resolve resolve("Kitchen", "_demo._tcp", "local", Lan1);
    ASSERT_TRUE(isAskedInTime(kDNSServiceType_SRV));
    ASSERT_TRUE(isAskedInTime(kDNSServiceType_TXT));
    settle(resolve);
    EXPECT_EQ(resolve.replies.size(), 1U) << "the same once more is no news";
    backend().come(txtOf("Kitchen", "\3a=2"));
    settle(resolve);
    ASSERT_EQ(resolve.replies.size(), 2U);
    EXPECT_EQ(resolve.replies[1].txt, "\3a=2");
}

TEST_F(TextAfterGlance, IsThereAtOnceAndWatchedSoon)
{
    RecordQuery text(Kitchen.c_str(), kDNSServiceType_TXT, kDNSServiceFlagsForceMulticast, Loopback);
    settle(text);
    ASSERT_EQ(text.replies.size(), 1U);
    EXPECT_EQ(text.replies[0].data, "\3a=1");
    EXPECT_TRUE(asked(kDNSServiceType_TXT).empty());

    backend().come(txtOf("Kitchen", "\3a=2", Loopback)); // nobody listens yet
    ASSERT_TRUE(isAskedInTime(kDNSServiceType_TXT));
    settle(text);
    ASSERT_EQ(text.replies.size(), 2U);
    EXPECT_EQ(text.replies[1].data, "\3a=2");
}

TEST_F(TextAfterGlance, ThatHasGoneMeanwhileIsTakenBack)
{
    RecordQuery text(Kitchen.c_str(), kDNSServiceType_TXT, kDNSServiceFlagsForceMulticast, Loopback);
    settle(text);
    ASSERT_EQ(text.replies.size(), 1U);
    backend().go(txtOf("Kitchen", "\3a=1", Loopback)); // nobody listens yet
    EXPECT_TRUE(asked(kDNSServiceType_TXT).empty());
    letTimePass();
    ASSERT_TRUE(waitUntil({&text}, [&] { return text.replies.size() == 2; }));
    EXPECT_EQ(text.replies[1].flags, 0U);
}

TEST_F(Glancing, InstanceThatIsNotSeenIsAskedFor)
{
    Resolve resolve("Kitchen", "_demo._tcp", "local", Lan1);
    settle(resolve);
    EXPECT_EQ(glances(), 0U);
    EXPECT_EQ(asked(kDNSServiceType_SRV).size(), 1U);
    EXPECT_EQ(asked(kDNSServiceType_TXT).size(), 1U);
}

TEST_F(Glancing, OtherSpellingIsAskedForToLearnTheRecordsOwn)
{
    comeKitchen("\3a=1");
    Browse browse("_demo._tcp");
    settle(browse);
    Resolve resolve("KITCHEN", "_DEMO._TCP", "local", Lan1);
    settle(resolve);
    EXPECT_EQ(glances(), 0U);
    ASSERT_EQ(resolve.replies.size(), 1U);
    EXPECT_EQ(resolve.replies[0].fullname, Kitchen);
}

TEST_F(Glancing, AnyInterfaceIsAskedForAsAGlanceSeesOneOnly)
{
    comeKitchen("\3a=1");
    Browse browse("_demo._tcp");
    settle(browse);
    Resolve resolve("Kitchen", "_demo._tcp", "local", 0);
    settle(resolve);
    EXPECT_EQ(glances(), 0U);
    EXPECT_EQ(resolve.replies.size(), 1U);
}

TEST_F(Glancing, GlanceThatShowsNothingGivesWayToTheQuestion)
{
    backend().come(instancePointer("Kitchen"));
    Browse browse("_demo._tcp");
    settle(browse);
    Resolve resolve("Kitchen", "_demo._tcp", "local", Lan1);
    ASSERT_TRUE(isAskedInTime(kDNSServiceType_SRV));
    EXPECT_EQ(glances(), 1U);
    comeKitchen("\3a=1");
    settle(resolve);
    EXPECT_EQ(resolve.replies.size(), 1U);
}

TEST_F(Glancing, InstanceThatIsGoneIsNotSeenAnyMore)
{
    comeKitchen("\3a=1");
    Browse browse("_demo._tcp");
    settle(browse);
    backend().go(instancePointer("Kitchen"));
    settle(browse);
    Resolve resolve("Kitchen", "_demo._tcp", "local", Lan1);
    settle(resolve);
    EXPECT_EQ(glances(), 0U);
}

/* ---- Fifty glances at a time ---- */

TEST_F(Rush, WhoIsAnsweredMakesRoomForTheNext)
{
    const auto resolves = resolveMany(120, Known::Whole);
    const auto isAnswered = [](const auto& resolve) { return resolve->replies.size() == 1; };
    EXPECT_TRUE(waitUntil(handles(resolves),
                          [&] { return std::all_of(resolves.begin(), resolves.end(), isAnswered); }));
    EXPECT_EQ(glances(), 120U);
    EXPECT_TRUE(asked(kDNSServiceType_SRV).empty());
}

TEST_F(Rush, OthersWaitForTheirTurn)
{
    auto resolves = resolveMany(120, Known::Name);
    ASSERT_TRUE(waitUntil({}, [] { return glances() == 50; }));
    backend().settle();
    EXPECT_EQ(glances(), 50U);

    resolves.erase(resolves.begin() + 60, resolves.begin() + 70); // they had no turn yet
    backend().settle();
    EXPECT_EQ(glances(), 50U);
    resolves.erase(resolves.begin(), resolves.begin() + 5);
    ASSERT_TRUE(waitUntil({}, [] { return glances() == 55; }));
    backend().settle();
    EXPECT_EQ(glances(), 55U);
}

TEST_F(Rush, WhoHasNoAnswerIsNotWaitedFor)
{
    const auto resolves = resolveMany(120, Known::Name);
    letTimePass();
    EXPECT_TRUE(waitUntil({}, [] { return glances() == 120; }));
    EXPECT_TRUE(isAskedInTime(kDNSServiceType_SRV, 120));
}

TEST_F(Rush, InstancesThatGoMeanwhileAreAskedForWhenTheirTurnComes)
{
    const auto resolves = resolveMany(60, Known::Name);
    ASSERT_TRUE(waitUntil({}, [] { return glances() == 50; }));
    backend().go(instancePointer("n59"));
    letTimePass();
    EXPECT_TRUE(isAskedInTime(kDNSServiceType_SRV, 60));
    EXPECT_EQ(glances(), 59U);
}

/* ---- One transport is enough for an instance ---- */

TEST_F(OneTransport, BrowsedInstanceIsAskedForOverOneItIsSeenOver)
{
    comeKitchen("\3a=1", Transport::IPv6);
    Browse browse("_demo._tcp");
    settle(browse);
    Resolve resolve("KITCHEN", "_demo._tcp", "local", Lan1);
    settle(resolve);
    ASSERT_EQ(asked(kDNSServiceType_SRV).size(), 1U);
    EXPECT_EQ(asked(kDNSServiceType_SRV)[0].transport, Transport::IPv6);
    EXPECT_EQ(resolve.replies.size(), 1U);
}

TEST_F(OneTransport, QuestionMovesWhenTheInstanceIsLeftOnTheOtherOnly)
{
    comeKitchen("\3a=1", Transport::IPv4);
    comeKitchen("\3a=1", Transport::IPv6);
    Browse browse("_demo._tcp");
    settle(browse);
    Resolve resolve("KITCHEN", "_demo._tcp", "local", Lan1);
    settle(resolve);
    ASSERT_EQ(asked(kDNSServiceType_TXT).size(), 1U);
    EXPECT_EQ(asked(kDNSServiceType_TXT)[0].transport, Transport::IPv4);

    backend().go(instancePointer("Kitchen"), Transport::IPv4);
    ASSERT_TRUE(isAskedInTime(kDNSServiceType_TXT, 2));
    EXPECT_EQ(asked(kDNSServiceType_TXT)[1].transport, Transport::IPv6);
    backend().come(txtOf("Kitchen", "\3a=2"), Transport::IPv6);
    settle(resolve);
    ASSERT_EQ(resolve.replies.size(), 2U);
    EXPECT_EQ(resolve.replies[1].txt, "\3a=2");
}

TEST_F(OneTransport, UnseenInstanceIsAskedForOverBoth)
{
    Resolve resolve("Kitchen", "_demo._tcp", "local", Lan1);
    settle(resolve);
    ASSERT_EQ(asked(kDNSServiceType_SRV).size(), 1U);
    EXPECT_FALSE(asked(kDNSServiceType_SRV)[0].transport);
}

/* ---- The last record told is the one that holds ---- */

TEST_F(Order, LateQueryHearsTheNewRecordLast)
{
    RecordQuery first(Kitchen.c_str(), kDNSServiceType_TXT);
    backend().come(txtOf("Kitchen", "\3a=1"));
    backend().come(txtOf("Kitchen", "\3b=1"));
    backend().come(txtOf("Kitchen", "\3a=2"));
    settle(first);
    RecordQuery late(Kitchen.c_str(), kDNSServiceType_TXT);
    settle(late);
    ASSERT_EQ(late.replies.size(), 3U);
    EXPECT_EQ(late.replies[0].data, "\3a=1");
    EXPECT_EQ(late.replies[2].data, "\3a=2");
}

TEST_F(Order, RecordIsToldAgainWhenTheOutdatedOneToldAfterItGoes)
{
    RecordQuery query(Kitchen.c_str(), kDNSServiceType_TXT);
    backend().come(txtOf("Kitchen", "\3new"));
    backend().come(txtOf("Kitchen", "\3old"));
    backend().go(txtOf("Kitchen", "\3old"));
    settle(query);
    ASSERT_EQ(query.replies.size(), 4U);
    EXPECT_EQ(query.replies[3].data, "\3new");
    EXPECT_TRUE(query.replies[3].flags & kDNSServiceFlagsAdd);
}
