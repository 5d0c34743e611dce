// SPDX-License-Identifier: MIT
//
// What becomes of a registration whose name another program or host has.
#include "PlayedNetwork.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

constexpr DNSServiceFlags Gone = 0;
constexpr DNSServiceFlags There = kDNSServiceFlagsAdd;

using Names = std::set<std::string>;

class NameConflict : public PlayedNetwork
{
protected:
    void collide(const std::string& name)
    {
        backend().takeElsewhere({name});
        backend().collide(name);
    }

    bool hasReplies(Registration& registration, std::size_t count)
    {
        settle(registration);
        return registration.replies.size() == count;
    }

    void expectReply(const Registration& registration, std::size_t index, DNSServiceFlags flags,
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
    void expectThirdNameInOneReply()
    {
        Registration registration("Kitchen", "_demo._tcp", 80);
        ASSERT_TRUE(hasReplies(registration, 1));
        expectReply(registration, 0, There, "Kitchen (3)");
    }
};

} // namespace

TEST_F(NameConflict, OnThisHostIsRenamedInOneReply)
{
    backend().takeHere({"Kitchen", "Kitchen (2)"});
    expectThirdNameInOneReply();
}

TEST_F(NameConflict, OnAnotherHostIsRenamedInOneReply)
{
    backend().takeElsewhere({"Kitchen", "Kitchen (2)"});
    expectThirdNameInOneReply();
}

TEST_F(NameConflict, OfTheHostsNameIsRenamedToo)
{
    backend().takeElsewhere({"hosta"});
    Registration registration(nullptr, "_demo._tcp", 80);
    ASSERT_TRUE(hasReplies(registration, 1));
    expectReply(registration, 0, There, "hosta (2)");
}

TEST_F(NameConflict, IsReportedWhereNoOtherNameWillDo)
{
    for (const bool here : {true, false}) {
        backend().takeHere(here ? Names{"Kitchen"} : Names());
        backend().takeElsewhere(here ? Names() : Names{"Kitchen"});
        Registration registration("Kitchen", "_demo._tcp", 80, "", kDNSServiceFlagsNoAutoRename);
        ASSERT_EQ(registration.error(), kDNSServiceErr_NoError);
        ASSERT_TRUE(hasReplies(registration, 1));
        expectReply(registration, 0, There, "Kitchen", kDNSServiceErr_NameConflict);

        // Nor is it tried again when the daemon has been away.
        backend().forgetPublished();
        backend().change(Backend::State::Absent);
        backend().change(Backend::State::Running);
        settle(registration);
        EXPECT_EQ(registration.replies.size(), 1U);
        EXPECT_TRUE(backend().published().empty());
    }
}

TEST_F(NameConflict, FoundLaterTakesTheOldNameBackFirst)
{
    Registration registration("Kitchen", "_demo._tcp", 80, "\3a=1");
    ASSERT_TRUE(hasReplies(registration, 1));
    EXPECT_EQ(registration.update("\3a=2"), kDNSServiceErr_NoError);
    collide("Kitchen");
    ASSERT_TRUE(hasReplies(registration, 3));
    expectReply(registration, 0, There, "Kitchen");
    expectReply(registration, 1, Gone, "Kitchen");
    expectReply(registration, 2, There, "Kitchen (2)");
    EXPECT_EQ(lastPublished().name, "Kitchen (2)");
    EXPECT_EQ(lastPublished().txt, "\3a=2") << "what was updated stays so";

    EXPECT_EQ(registration.update("\3a=3"), kDNSServiceErr_NoError);
    settle();
    EXPECT_EQ(lastPublished().name, "Kitchen (2)");
    EXPECT_EQ(lastPublished().txt, "\3a=3");
}

TEST_F(NameConflict, FoundLaterEndsWhatMustKeepItsName)
{
    Registration registration("Kitchen", "_demo._tcp", 80, "", kDNSServiceFlagsNoAutoRename);
    ASSERT_TRUE(hasReplies(registration, 1));
    collide("Kitchen");
    ASSERT_TRUE(hasReplies(registration, 3));
    expectReply(registration, 0, There, "Kitchen");
    expectReply(registration, 1, Gone, "Kitchen");
    expectReply(registration, 2, There, "Kitchen", kDNSServiceErr_NameConflict);
}

TEST_F(NameConflict, KeepsTheNewNameWhenTheDaemonComesBack)
{
    backend().takeElsewhere({"Kitchen"});
    Registration registration("Kitchen", "_demo._tcp", 80);
    ASSERT_TRUE(hasReplies(registration, 1));
    backend().change(Backend::State::Absent);
    backend().forgetPublished();
    backend().takeElsewhere({});
    backend().change(Backend::State::Running);
    settle(registration);
    ASSERT_FALSE(backend().published().empty());
    EXPECT_EQ(lastPublished().name, "Kitchen (2)");
    EXPECT_EQ(registration.replies.size(), 1U);
}

TEST_F(NameConflict, OnThisHostTakesTheOldNameBackWhenTheDaemonReturns)
{
    Registration registration("Kitchen", "_demo._tcp", 80);
    ASSERT_TRUE(hasReplies(registration, 1));
    backend().change(Backend::State::Absent);
    settle();
    backend().takeHere({"Kitchen"});
    backend().change(Backend::State::Running);
    ASSERT_TRUE(hasReplies(registration, 3));
    expectReply(registration, 0, There, "Kitchen");
    expectReply(registration, 1, Gone, "Kitchen");
    expectReply(registration, 2, There, "Kitchen (2)");
    EXPECT_EQ(lastPublished().name, "Kitchen (2)");
}

TEST_F(NameConflict, OnThisHostEndsWhatMustKeepItsNameWhenTheDaemonReturns)
{
    Registration registration("Kitchen", "_demo._tcp", 80, "", kDNSServiceFlagsNoAutoRename);
    ASSERT_TRUE(hasReplies(registration, 1));
    backend().change(Backend::State::Absent);
    settle();
    backend().takeHere({"Kitchen"});
    backend().change(Backend::State::Running);
    ASSERT_TRUE(hasReplies(registration, 3));
    expectReply(registration, 1, Gone, "Kitchen");
    expectReply(registration, 2, There, "Kitchen", kDNSServiceErr_NameConflict);
}

TEST_F(NameConflict, WithARivalForEveryNameIsTriedFifteenTimesAndThenEveryFiveSeconds)
{
    using namespace std::chrono_literals;
    backend().takeAllElsewhere();
    Registration registration("Kitchen", "_demo._tcp", 80);
    settle();
    EXPECT_EQ(backend().published().size(), 15U);
    advance(4999ms);
    EXPECT_EQ(backend().published().size(), 15U);
    advance(1ms);
    EXPECT_EQ(backend().published().size(), 16U);
    advance(25s);
    EXPECT_EQ(backend().published().size(), 21U);
    EXPECT_TRUE(registration.replies.empty());
}

TEST_F(NameConflict, WaitsForItsPauseWhenTheResponderIsBackMeanwhile)
{
    using namespace std::chrono_literals;
    backend().takeAllElsewhere();
    Registration registration("Kitchen", "_demo._tcp", 80);
    settle();
    backend().change(Backend::State::Absent);
    backend().change(Backend::State::Running);
    advance(4999ms);
    EXPECT_EQ(backend().published().size(), 15U);
    advance(1ms);
    EXPECT_EQ(backend().published().size(), 16U);
}
