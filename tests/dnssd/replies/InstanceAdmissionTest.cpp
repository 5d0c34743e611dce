// SPDX-License-Identifier: MIT
//
// Instances in a line of replies, and when they are handed over.
#include "ReplyQueue.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>

#include <memory>
#include <vector>

using namespace vesk::dnssd;

namespace {

using Kind = Reply::Kind;
using Pending = std::vector<std::unique_ptr<PendingResolve>>;

class InstanceAdmissionTest : public testing::Test
{
protected:
    InstanceAdmissionTest()
    {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit limits{1024, m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &limits);
        admission->addLine(replies.line());
    }
    ~InstanceAdmissionTest() override
    {
        admission->removeLine(replies.line());
        setrlimit(RLIMIT_NOFILE, &m_before);
    }

    void appear(const std::string& name)
    {
        replies.put({Kind::Appeared, name, note('+' + name), BrowsedInstance{{name}, 1}});
    }
    void vanish(const std::string& name) { replies.put({Kind::Vanished, name, note('-' + name)}); }
    void say(const std::string& text) { replies.put({Kind::Lasting, {}, note(text)}); }

    bool isReadable() const
    {
        pollfd descriptor{replies.descriptor(), POLLIN, 0};
        return poll(&descriptor, 1, 0) == 1;
    }
    /// "" when nothing can be taken.
    std::string take()
    {
        if (!isReadable())
            return {};
        const auto delivery = replies.take();
        delivery->reply.call(delivery->moreComing);
        return m_noted;
    }

    /// As many as make untried instances wait.
    Pending resolveMany(unsigned count = 64) const
    {
        Pending pending;
        for (unsigned i = 0; i < count; ++i)
            pending.push_back(std::make_unique<PendingResolve>(admission));
        return pending;
    }

    std::shared_ptr<InstanceAdmission> admission = std::make_shared<InstanceAdmission>();
    ReplyQueue replies{std::make_shared<ReplyLine>(admission)};

private:
    std::function<void(DNSServiceFlags)> note(const std::string& text)
    {
        return [this, text](DNSServiceFlags moreComing) { m_noted = text + (moreComing ? "," : ""); };
    }

    rlimit m_before{};
    std::string m_noted;
};

} // namespace

TEST_F(InstanceAdmissionTest, HandsOverInOrderOfArrivalWhileNothingIsShort)
{
    appear("a");
    say("x");
    appear("b");
    vanish("z");
    for (const char* text : {"+a,", "x,", "+b,", "-z", ""})
        EXPECT_EQ(take(), text);
}

TEST_F(InstanceAdmissionTest, HoldsBackWhatComesAfterTooManyUnansweredResolves)
{
    Pending pending = resolveMany();
    appear("a");
    say("x");
    EXPECT_TRUE(admission->isHoldingBack());
    EXPECT_EQ(take(), "x");
    EXPECT_EQ(take(), "");

    pending.pop_back();
    EXPECT_EQ(take(), "+a");
    EXPECT_FALSE(admission->isHoldingBack());
}

TEST_F(InstanceAdmissionTest, HandsOnWhenAResolveIsAnswered)
{
    const Pending pending = resolveMany();
    appear("a");
    EXPECT_EQ(take(), "");
    pending.front()->setAnswered();
    EXPECT_EQ(take(), "+a");
}

TEST_F(InstanceAdmissionTest, KeepsADescriptorForTheAddressOfEachThatIsResolved)
{
    Pending pending = resolveMany(20);
    for (const auto& resolve : pending)
        resolve->setAnswered();
    rlimit limits{};
    getrlimit(RLIMIT_NOFILE, &limits);
    for (; admission->descriptors().available() > 21; --limits.rlim_cur)
        setrlimit(RLIMIT_NOFILE, &limits);
    appear("a");
    EXPECT_EQ(take(), "");
    pending.pop_back();
    EXPECT_EQ(take(), "+a");
}

TEST_F(InstanceAdmissionTest, KeepsAnAdmissionThatTheApplicationMayHaveSeen)
{
    appear("a");
    appear("b");
    ASSERT_TRUE(isReadable());
    const Pending pending = resolveMany();
    appear("c");
    EXPECT_EQ(take(), "+a");
    EXPECT_EQ(take(), "") << "the next one was not admitted yet";
}

TEST_F(InstanceAdmissionTest, TellsNothingOfAnInstanceThatVanishesWhileItIsHeldBack)
{
    Pending pending = resolveMany();
    appear("a");
    appear("b");
    vanish("a");
    EXPECT_EQ(take(), "");
    pending.clear();
    EXPECT_EQ(take(), "+b");
    EXPECT_EQ(take(), "");
}

TEST_F(InstanceAdmissionTest, TellsBothOfAnInstanceThatVanishesWhenItIsAdmitted)
{
    appear("a");
    ASSERT_TRUE(isReadable());
    vanish("a");
    const Pending pending = resolveMany();
    EXPECT_EQ(take(), "+a,");
    EXPECT_EQ(take(), "-a");
    EXPECT_EQ(take(), "");
}

TEST_F(InstanceAdmissionTest, HandsOnWhatAnsweredWhenItWasTriedDespiteUnansweredResolves)
{
    const Pending pending = resolveMany();
    appear("a");
    appear("b");
    const auto trial = admission->beginTrial(true, {});
    ASSERT_TRUE(trial);
    EXPECT_EQ(trial->subject.instance.name, Labels{"b"});
    trial->line->endTrial(trial->subject.key, InstanceBacklog::Outcome::Answered, {});
    EXPECT_EQ(take(), "+b");
    EXPECT_EQ(take(), "");
}

TEST_F(InstanceAdmissionTest, TriesNothingThatIsAdmitted)
{
    appear("a");
    EXPECT_FALSE(admission->beginTrial(true, {}));
}

TEST_F(InstanceAdmissionTest, TellsItsWatcherOnceWhileItHoldsBack)
{
    int calls = 0;
    admission->setWatcher([&calls] { ++calls; });
    Pending pending = resolveMany();
    appear("a");
    appear("b");
    EXPECT_EQ(calls, 1);
    pending.clear();
    EXPECT_FALSE(admission->isHoldingBack());
    pending = resolveMany();
    EXPECT_EQ(take(), "+a");
    EXPECT_EQ(take(), "");
    EXPECT_EQ(calls, 2);
}

TEST_F(InstanceAdmissionTest, CountsInstancesThatWait)
{
    admission->knownChanged(3);
    Pending pending = resolveMany();
    appear("a");
    appear("b");
    EXPECT_EQ(admission->listing().listed, 1U);
    EXPECT_EQ(admission->listing().known, 3U);
    pending.clear();
    EXPECT_EQ(take(), "+a,");
    EXPECT_EQ(admission->listing().listed, 2U);
    replies.close();
    EXPECT_EQ(admission->listing().listed, 3U);
}

TEST_F(InstanceAdmissionTest, EndOfAnUntakenAnswerCallsBackIntoOtherLines)
{
    ReplyQueue answers(std::make_shared<ReplyLine>(admission));
    Pending pending = resolveMany(63);
    auto last = std::make_shared<PendingResolve>(admission);
    appear("a");
    EXPECT_EQ(take(), "");
    answers.put({Kind::Latest, "1", [last = std::move(last)](DNSServiceFlags) {}});
    answers.close(); // drops the reply, and the resolve with it
    EXPECT_EQ(take(), "+a");
}
