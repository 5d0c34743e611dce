// SPDX-License-Identifier: MIT
#include "Timer.h"

#include "LoopTest.h"

#include <sys/epoll.h>

#include <memory>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

using TimerTest = LoopTest;

} // namespace

TEST_F(TimerTest, ExpiresOnceAtItsTime)
{
    Timer timer(loop, noting("t"));
    EXPECT_FALSE(timer.isActive());
    timer.start(10ms);
    EXPECT_TRUE(timer.isActive());
    advance(9999us);
    EXPECT_EQ(order, "");
    advance(1us);
    EXPECT_EQ(order, "t");
    EXPECT_FALSE(timer.isActive());
    advance(1min);
    EXPECT_EQ(order, "t");
}

TEST_F(TimerTest, ExpiresLaterWhenItIsStartedAgain)
{
    Timer timer(loop, noting("t"));
    timer.start(10ms);
    advance(5ms);
    timer.start(10ms);
    advance(9ms);
    EXPECT_EQ(order, "");
    advance(1ms);
    EXPECT_EQ(order, "t");
}

TEST_F(TimerTest, DoesNotExpireOnceStoppedOrGone)
{
    Timer stopped(loop, noting("s"));
    auto gone = std::make_unique<Timer>(loop, noting("g"));
    stopped.start(10ms);
    gone->start(10ms);
    stopped.stop();
    gone.reset();
    EXPECT_FALSE(stopped.isActive());
    EXPECT_FALSE(loop.timers().nextDeadline());
    advance(1min);
    EXPECT_EQ(order, "");
}

TEST_F(TimerTest, ExpiresInTheOrderOfDeadlinesThenOfStarts)
{
    Timer a(loop, noting("a")), b(loop, noting("b")), c(loop, noting("c"));
    c.start(10ms);
    b.start(5ms);
    a.start(10ms);
    EXPECT_EQ(loop.timers().nextDeadline(), loop.now() + 5ms);
    advance(10ms);
    EXPECT_EQ(order, "bca");
}

TEST_F(TimerTest, MayStartAgainWhenItExpires)
{
    Timer timer(loop, [&] {
        order += "t";
        EXPECT_FALSE(timer.isActive());
        if (order.size() < 3)
            timer.start(10ms);
    });
    timer.start(10ms);
    advance(20ms);
    EXPECT_EQ(order, "tt");
    advance(1min);
    EXPECT_EQ(order, "ttt");
}

TEST_F(TimerTest, MayStopAnotherThatIsDueToo)
{
    Timer second(loop, noting("2"));
    Timer first(loop, [&] {
        order += "1";
        second.stop();
    });
    first.start(10ms);
    second.start(10ms);
    advance(10ms);
    EXPECT_EQ(order, "1");
}

TEST_F(TimerTest, MayEndItselfAndOthersWhenItExpires)
{
    std::unique_ptr<Timer> first, second;
    second = std::make_unique<Timer>(loop, noting("2"));
    first = std::make_unique<Timer>(loop, [&] {
        order += "1";
        second.reset();
        first.reset();
    });
    first->start(10ms);
    second->start(10ms);
    advance(1min);
    EXPECT_EQ(order, "1");
    EXPECT_FALSE(loop.timers().nextDeadline());
}

TEST_F(TimerTest, StartedWithoutDelayWaitsForTheNextRound)
{
    Timer second(loop, noting("2"));
    const EventDescriptor event;
    const IoWatch watch(loop, event.get(), EPOLLIN, [&](uint32_t) {
        event.clear();
        order += "d";
    });
    Timer first(loop, [&] {
        order += "1";
        event.set();
        second.start(0ms);
    });
    first.start(0ms);
    loop.post(noting("T"));
    settle();
    EXPECT_EQ(order, "1d2T") << "descriptors come between, tasks do not";
}

TEST(SteadyClock, DoesNotGoBack)
{
    const auto before = Clock::steady().now();
    EXPECT_GE(Clock::steady().now(), before);
}
