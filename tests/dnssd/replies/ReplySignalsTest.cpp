// SPDX-License-Identifier: MIT
#include "ReplySignals.h"

#include "ManualClock.h"
#include "ReplyQueue.h"

#include <gtest/gtest.h>

#include <poll.h>

#include <deque>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

class ReplySignalsTest : public testing::Test
{
protected:
    std::shared_ptr<ReplyQueue> makeQueue()
    {
        return std::make_shared<ReplyQueue>(std::make_shared<ReplyLine>(admission, &signals));
    }
    static void put(ReplyQueue& queue)
    {
        queue.put({Reply::Kind::Lasting, {}, [](DNSServiceFlags) {}});
    }
    std::vector<std::shared_ptr<ReplyQueue>> putEight()
    {
        std::vector<std::shared_ptr<ReplyQueue>> queues;
        for (int i = 0; i < 8; ++i) {
            queues.push_back(makeQueue());
            put(*queues.back());
        }
        settle();
        return queues;
    }
    /// With those of eight further lines.
    void openDescriptors(int64_t number)
    {
        while (admission->descriptors().uses() < number - 8)
            descriptors.emplace_back(admission->descriptors());
    }
    static bool isReadable(const ReplyQueue& queue)
    {
        pollfd descriptor{queue.descriptor(), POLLIN, 0};
        return poll(&descriptor, 1, 0) == 1;
    }
    void settle() { loop.runUntilIdle(); }
    void advance(std::chrono::microseconds time) { clock.advance(loop, time); }
    /// One after the other.
    void expectAreReadableAtOnce(int number)
    {
        for (int i = 0; i < number; ++i) {
            const auto queue = makeQueue();
            put(*queue);
            settle();
            EXPECT_TRUE(isReadable(*queue)) << i;
        }
    }
    /// And not a microsecond earlier.
    void expectNextIsReadableAfter(std::chrono::microseconds time)
    {
        put(*b);
        advance(time - 1us);
        EXPECT_FALSE(isReadable(*b));
        advance(1us);
        EXPECT_TRUE(isReadable(*b));
    }

    ManualClock clock;
    EventLoop loop{clock};
    std::shared_ptr<InstanceAdmission> admission = std::make_shared<InstanceAdmission>();
    ReplySignals signals{loop, admission->descriptors()};
    std::deque<DescriptorBudget::Use> descriptors;
    std::shared_ptr<ReplyQueue> a = makeQueue();
    std::shared_ptr<ReplyQueue> b = makeQueue();
    std::shared_ptr<ReplyQueue> c = makeQueue();
};

} // namespace

TEST_F(ReplySignalsTest, ReplyIsSignalledWithoutDelay)
{
    put(*a);
    EXPECT_FALSE(isReadable(*a)) << "a round later, with those of the same round";
    settle();
    EXPECT_TRUE(isReadable(*a));
}

TEST_F(ReplySignalsTest, TheFewerTheDescriptorsTheMoreLinesAreSignalledWithoutDelay)
{
    expectAreReadableAtOnce(30);
}

TEST_F(ReplySignalsTest, EightLinesAmongManyAreSignalledWithoutDelay)
{
    openDescriptors(120);
    expectAreReadableAtOnce(8);
    expectNextIsReadableAfter(2ms);
}

TEST_F(ReplySignalsTest, FurtherOnesOfTheSameTwoMillisecondsAreSignalledTogether)
{
    openDescriptors(120);
    putEight();
    put(*b);
    advance(1ms);
    put(*c);
    advance(999us);
    EXPECT_FALSE(isReadable(*b));
    advance(1us);
    EXPECT_TRUE(isReadable(*b));
    EXPECT_TRUE(isReadable(*c));
}

TEST_F(ReplySignalsTest, ManyTogetherMakeTheNextOneWait)
{
    openDescriptors(120);
    putEight();
    const auto many = putEight();
    advance(2ms);
    ASSERT_TRUE(isReadable(*many.back()));
    expectNextIsReadableAfter(2ms);
}

TEST_F(ReplySignalsTest, AfterTwoMillisecondsThereIsNoDelayAgain)
{
    openDescriptors(120);
    putEight();
    advance(2ms);
    put(*b);
    settle();
    EXPECT_TRUE(isReadable(*b));
}

TEST_F(ReplySignalsTest, FiveHundredDescriptorsMakeTheNextOneWaitSixMilliseconds)
{
    openDescriptors(500);
    const auto queues = putEight();
    expectNextIsReadableAfter(6ms);
}

TEST_F(ReplySignalsTest, NoNumberOfDescriptorsMakesItWaitLongerThanTwelveMilliseconds)
{
    openDescriptors(5000);
    const auto queues = putEight();
    expectNextIsReadableAfter(12ms);
}

TEST_F(ReplySignalsTest, LineWhoseRepliesAreTakenMeanwhileIsNotSignalled)
{
    put(*a);
    ASSERT_TRUE(a->take()) << "waits for no signal";
    settle();
    EXPECT_FALSE(isReadable(*a));
}

TEST_F(ReplySignalsTest, LineThatHasClosedMeanwhileIsLeftOut)
{
    put(*a);
    put(*b);
    a->close();
    b.reset();
    settle();
    EXPECT_EQ(a->descriptor(), -1);
}

TEST_F(ReplySignalsTest, NoTimerRunsWhileNoReplyWaits)
{
    put(*a);
    settle();
    EXPECT_FALSE(loop.timers().nextDeadline());
}
