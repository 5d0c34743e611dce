// SPDX-License-Identifier: MIT
//
// What becomes of a registration whose name somebody else has, with the daemon played by the test.
#include "Played.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

constexpr DNSServiceFlags Gone = 0;
constexpr DNSServiceFlags There = kDNSServiceFlagsAdd;

using Names = std::set<std::string>;

class Conflict : public WithBackend
{
protected:
    static void takeHere(const Names& names)
    {
        backend().inspect([&] { FakeBackend::instance().takeHere(names); });
    }
    static void takeElsewhere(const Names& names)
    {
        backend().inspect([&] { FakeBackend::instance().takeElsewhere(names); });
    }
    static void collide(const std::string& name)
    {
        backend().inspect([&] {
            FakeBackend::instance().takeElsewhere({name});
            FakeBackend::instance().collide(name);
        });
    }

    static bool hasReplies(Registration& registration, std::size_t count)
    {
        return waitUntil({&registration}, [&] { return registration.replies.size() >= count; });
    }

    static void expectReply(const Registration& registration, std::size_t index, DNSServiceFlags flags,
                            const std::string& name, DNSServiceErrorType error = kDNSServiceErr_NoError)
    {
        ASSERT_LT(index, registration.replies.size());
        const auto& reply = registration.replies[index];
        EXPECT_EQ(reply.flags & ~kDNSServiceFlagsMoreComing, flags) << index;
        EXPECT_EQ(reply.error, error) << index;
        EXPECT_EQ(reply.name, name) << index;
        EXPECT_EQ(reply.type, "_demo._tcp.") << index;
        EXPECT_EQ(reply.domain, "local.") << index;
    }

    /// "Kitchen" and "Kitchen (2)" are taken.
    static void expectThirdNameInOneReply()
    {
        Registration registration("Kitchen", "_demo._tcp", 80);
        ASSERT_TRUE(hasReplies(registration, 1));
        settle(registration);
        EXPECT_EQ(registration.replies.size(), 1U);
        expectReply(registration, 0, There, "Kitchen (3)");
    }
};

} // namespace

TEST_F(Conflict, OnThisHostIsRenamedInOneReply)
{
    takeHere({"Kitchen", "Kitchen (2)"});
    expectThirdNameInOneReply();
}

TEST_F(Conflict, OnAnotherHostIsRenamedInOneReply)
{
    takeElsewhere({"Kitchen", "Kitchen (2)"});
    expectThirdNameInOneReply();
}

TEST_F(Conflict, OfTheHostsNameIsRenamedToo)
{
    takeElsewhere({"hosta"});
    Registration registration(nullptr, "_demo._tcp", 80);
    ASSERT_TRUE(hasReplies(registration, 1));
    expectReply(registration, 0, There, "hosta (2)");
}

TEST_F(Conflict, IsReportedWhereNoOtherNameWillDo)
{
    for (const bool here : {true, false}) {
        takeHere(here ? Names{"Kitchen"} : Names());
        takeElsewhere(here ? Names() : Names{"Kitchen"});
        Registration registration("Kitchen", "_demo._tcp", 80, "", kDNSServiceFlagsNoAutoRename);
        ASSERT_EQ(registration.error(), kDNSServiceErr_NoError);
        ASSERT_TRUE(hasReplies(registration, 1));
        expectReply(registration, 0, There, "Kitchen", kDNSServiceErr_NameConflict);

        // Nor is it tried again when the daemon has been away.
        backend().inspect([] { FakeBackend::instance().forgetPublished(); });
        backend().change(Backend::State::Absent);
        backend().change(Backend::State::Running);
        settle(registration);
        settle(registration);
        EXPECT_EQ(registration.replies.size(), 1U);
        backend().inspect([] { EXPECT_TRUE(FakeBackend::instance().published().empty()); });
    }
}

TEST_F(Conflict, FoundLaterTakesTheOldNameBackFirst)
{
    Registration registration("Kitchen", "_demo._tcp", 80, "\3a=1");
    ASSERT_TRUE(hasReplies(registration, 1));
    EXPECT_EQ(registration.update("\3a=2"), kDNSServiceErr_NoError);
    collide("Kitchen");
    ASSERT_TRUE(hasReplies(registration, 3));
    settle(registration);
    EXPECT_EQ(registration.replies.size(), 3U);
    expectReply(registration, 0, There, "Kitchen");
    expectReply(registration, 1, Gone, "Kitchen");
    expectReply(registration, 2, There, "Kitchen (2)");
    EXPECT_EQ(lastPublished().name, "Kitchen (2)");
    EXPECT_EQ(lastPublished().txt, "\3a=2") << "what was updated stays so";

    EXPECT_EQ(registration.update("\3a=3"), kDNSServiceErr_NoError);
    EXPECT_EQ(lastPublished().name, "Kitchen (2)");
    EXPECT_EQ(lastPublished().txt, "\3a=3");
}

TEST_F(Conflict, FoundLaterEndsWhatMustKeepItsName)
{
    Registration registration("Kitchen", "_demo._tcp", 80, "", kDNSServiceFlagsNoAutoRename);
    ASSERT_TRUE(hasReplies(registration, 1));
    collide("Kitchen");
    ASSERT_TRUE(hasReplies(registration, 3));
    expectReply(registration, 0, There, "Kitchen");
    expectReply(registration, 1, Gone, "Kitchen");
    expectReply(registration, 2, There, "Kitchen", kDNSServiceErr_NameConflict);
}

TEST_F(Conflict, NewNameIsKeptWhenTheDaemonComesBack)
{
    takeElsewhere({"Kitchen"});
    Registration registration("Kitchen", "_demo._tcp", 80);
    ASSERT_TRUE(hasReplies(registration, 1));
    backend().change(Backend::State::Absent);
    backend().inspect([] { FakeBackend::instance().forgetPublished(); });
    takeElsewhere({});
    backend().change(Backend::State::Running);
    ASSERT_TRUE(waitUntil({&registration}, [] {
        bool published = false;
        backend().inspect([&] { published = !FakeBackend::instance().published().empty(); });
        return published;
    }));
    settle(registration);
    EXPECT_EQ(lastPublished().name, "Kitchen (2)");
    EXPECT_EQ(registration.replies.size(), 1U);
}
