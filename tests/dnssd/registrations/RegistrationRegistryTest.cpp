// SPDX-License-Identifier: MIT
#include "RegistrationRegistry.h"

#include "FakeBackend.h"
#include "ManualClock.h"

#include <gtest/gtest.h>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

class RegistrationRegistryTest : public testing::Test, private Backend::StateListener
{
protected:
    class Member final : public RegistrationRegistry::Member
    {
    public:
        Member(std::string& order, std::string name)
            : m_order(order)
            , m_name(std::move(name))
        {
        }
        void publish(Backend&) override { m_order += '+' + m_name; }
        void onBackendLost() override { m_order += '-' + m_name; }

    private:
        std::string& m_order;
        std::string m_name;
    };

    void change(Backend::State state)
    {
        backend.change(state);
        loop.runUntilIdle();
    }

    ManualClock clock;
    EventLoop loop{clock};
    FakeBackend backend{loop, *this};
    RegistrationRegistry registry{loop, backend};
    std::string order;
    Member a{order, "a"};
    Member b{order, "b"};

private:
    void onBackendState(Backend::State state) override { registry.onBackendState(state); }
};

} // namespace

TEST_F(RegistrationRegistryTest, PublishesAMemberThatEntersAtOnce)
{
    change(Backend::State::Running);
    registry.enter(a);
    EXPECT_EQ(order, "+a");
}

TEST_F(RegistrationRegistryTest, PublishesWhenTheBackendRuns)
{
    registry.enter(a);
    EXPECT_EQ(order, "");
    change(Backend::State::Answering);
    order.clear(); // what it has lost is nothing yet
    change(Backend::State::Running);
    EXPECT_EQ(order, "+a");
}

TEST_F(RegistrationRegistryTest, TellsEachMemberThatTheBackendIsLost)
{
    change(Backend::State::Running);
    registry.enter(a);
    registry.enter(b);
    for (const Backend::State lost : {Backend::State::Answering, Backend::State::Absent}) {
        change(Backend::State::Running);
        order.clear();
        change(lost);
        EXPECT_EQ(order, "-a-b");
    }
}

TEST_F(RegistrationRegistryTest, PublishesOneMemberARound)
{
    registry.enter(a);
    registry.enter(b);
    backend.change(Backend::State::Running);
    loop.post([this] { loop.post([this] { order += '|'; }); });
    loop.runUntilIdle();
    EXPECT_EQ(order, "+a|+b");
}

TEST_F(RegistrationRegistryTest, PublishesMembersInTheOrderInWhichTheyEntered)
{
    std::vector<std::unique_ptr<Member>> members; // so many that no other order is right by chance
    std::string expected;
    for (char name = 'a'; name <= 'z'; ++name)
        members.push_back(std::make_unique<Member>(order, std::string(1, name)));
    for (auto member = members.rbegin(); member != members.rend(); ++member)
        registry.enter(**member);
    for (char name = 'z'; name >= 'a'; --name)
        (expected += '+') += name;
    change(Backend::State::Running);
    EXPECT_EQ(order, expected);
}

TEST_F(RegistrationRegistryTest, PublishesAMemberThatEntersLaterAfterThoseThatWait)
{
    registry.enter(a);
    backend.change(Backend::State::Running);
    loop.post([this] { registry.enter(b); });
    loop.runUntilIdle();
    EXPECT_EQ(order, "+a+b");
}

TEST_F(RegistrationRegistryTest, ForgetsAMemberThatHasLeft)
{
    registry.enter(a);
    registry.enter(b);
    backend.change(Backend::State::Running);
    loop.post([this] { registry.leave(b); }); // while they wait to be published
    loop.runUntilIdle();
    change(Backend::State::Absent);
    change(Backend::State::Running);
    EXPECT_EQ(order, "+a-a+a");
}

TEST_F(RegistrationRegistryTest, PublishesOnlyWhileTheBackendRuns)
{
    registry.enter(a);
    backend.change(Backend::State::Running);
    backend.change(Backend::State::Answering); // before the members have been published
    loop.runUntilIdle();
    order.clear();
    registry.publish(a);
    EXPECT_EQ(order, "");
}
