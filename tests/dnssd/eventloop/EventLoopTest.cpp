// SPDX-License-Identifier: MIT
#include "EventLoop.h"

#include "ChildProcess.h"
#include "LoopTest.h"
#include "Timer.h"

#include <sys/epoll.h>

#include <atomic>
#include <future>
#include <memory>
#include <new>
#include <system_error>
#include <thread>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

using EventLoopTest = LoopTest;

/// Does something when the last copy dies.
std::shared_ptr<void> atEnd(Task task)
{
    return {nullptr, [task = std::move(task)](void*) { task(); }};
}

} // namespace

TEST_F(EventLoopTest, RunsTasksInTheirOrder)
{
    for (const char* name : {"a", "b", "c"})
        loop.post(noting(name));
    EXPECT_EQ(order, "") << "nothing happens before the loop runs";
    settle();
    EXPECT_EQ(order, "abc");
}

TEST_F(EventLoopTest, RunsTasksThatTasksPostAfterThoseThatWait)
{
    loop.post([this] {
        order += "a";
        loop.post(noting("c"));
    });
    loop.post(noting("b"));
    settle();
    EXPECT_EQ(order, "abc");
}

TEST_F(EventLoopTest, RunsPreparedTasks)
{
    PreparedTask prepared;
    prepared.push_back(noting("b"));
    loop.post(noting("a"));
    loop.post(std::move(prepared));
    settle();
    EXPECT_EQ(order, "ab");
}

TEST_F(EventLoopTest, CallsDescriptorsThenTimersThenOneTaskInARound)
{
    const EventDescriptor event;
    const IoWatch watch(loop, event.get(), EPOLLIN, [&](uint32_t) {
        event.clear();
        order += "d";
    });
    Timer timer(loop, noting("t"));
    const auto makeReady = [&] {
        event.set();
        timer.start(0ms);
    };
    makeReady();
    loop.post([&] {
        order += "1";
        makeReady();
    });
    loop.post(noting("2"));
    settle();
    EXPECT_EQ(order, "dt1dt2");
}

TEST_F(EventLoopTest, LetsATaskWaitWhileTimersAreDue)
{
    unsigned left = 10;
    Timer timer(loop, [&] {
        order += "t";
        if (--left > 0)
            timer.start(0ms);
    });
    timer.start(0ms);
    loop.post(noting("T"));
    settle();
    EXPECT_EQ(order, "ttttttttttT");
}

TEST_F(EventLoopTest, RunsATaskAfterSixteenRoundsOfDueTimers)
{
    unsigned rounds = 0;
    std::vector<unsigned> ranIn;
    bool isFlooding = true;
    Timer timer(loop, [&] {
        ++rounds;
        if (isFlooding)
            timer.start(0ms);
    });
    timer.start(0ms);
    loop.post([&] { ranIn.push_back(rounds); });
    loop.post([&] {
        ranIn.push_back(rounds);
        isFlooding = false;
    });
    settle();
    EXPECT_EQ(ranIn, (std::vector<unsigned>{16, 32}));
}

TEST_F(EventLoopTest, GivesTasksAboutTheTimeThatAFloodOfDueTimersTook)
{
    unsigned rounds = 0;
    Timer timer(loop, [&] {
        ++rounds;
        clock.pass(10ms);
        timer.start(0ms);
    });
    timer.start(0ms);
    std::vector<unsigned> ranIn;
    for (int i = 0; i < 20; ++i)
        loop.post([&] {
            clock.pass(13ms);
            ranIn.push_back(rounds);
        });
    loop.post([&] { timer.stop(); });
    settle();
    // The fifteen rounds after the first took 150 ms; less the 20 ms of a busy moment, that is ten tasks.
    EXPECT_EQ(std::count(ranIn.begin(), ranIn.end(), 16U), 10);
    EXPECT_EQ(std::count(ranIn.begin(), ranIn.end(), 32U), 10);
}

TEST_F(EventLoopTest, GoesOnAfterAStepWithoutMemory)
{
    const auto fail = [] { throw std::bad_alloc(); };
    const EventDescriptor event;
    event.set();
    const IoWatch watch(loop, event.get(), EPOLLIN, [&](uint32_t) {
        event.clear();
        fail();
    });
    Timer timer(loop, fail);
    timer.start(0ms);
    loop.post(fail);
    loop.post(noting("a"));
    settle();
    EXPECT_EQ(order, "a");
    EXPECT_FALSE(timer.isActive());
    timer.start(0ms);
    loop.post(noting("b"));
    settle();
    EXPECT_EQ(order, "ab");
}

TEST_F(EventLoopTest, DropsTasksThatHaveNotRun)
{
    bool isGone = false;
    loop.post([this, owned = atEnd([&] { isGone = true; })] { order += "a"; });
    loop.dropTasks();
    EXPECT_TRUE(isGone);
    settle();
    EXPECT_EQ(order, "");
    loop.post(noting("b"));
    settle();
    EXPECT_EQ(order, "b");
}

TEST_F(EventLoopTest, MayBePostedToByWhatDiesWithADroppedTask)
{
    loop.post([owned = atEnd([this] { loop.post(noting("b")); })] {});
    loop.dropTasks();
    settle();
    EXPECT_EQ(order, "b");
}

TEST_F(EventLoopTest, ReturnsFromRunAfterTheTasksPostedBeforeQuit)
{
    loop.post(noting("a"));
    loop.quit();
    loop.post(noting("b"));
    EXPECT_TRUE(loop.run());
    EXPECT_EQ(order, "a");
    settle();
    EXPECT_EQ(order, "ab");
}

TEST(RunningEventLoop, RunsTasksOfAnotherThread)
{
    EventLoop loop(Clock::steady());
    std::thread thread([&] { loop.run(); });
    for (int i = 0; i < 100; ++i) {
        std::promise<std::thread::id> ran;
        loop.post([&] { ran.set_value(std::this_thread::get_id()); });
        EXPECT_EQ(ran.get_future().get(), thread.get_id());
    }
    loop.quit();
    thread.join();
}

TEST(RunningEventLoop, WaitsForTheTimeOfATimer)
{
    EventLoop loop(Clock::steady());
    const auto start = Clock::steady().now();
    Timer timer(loop, [&] { loop.quit(); });
    timer.start(20ms);
    EXPECT_TRUE(loop.run());
    EXPECT_GE(Clock::steady().now() - start, 20ms);
}

TEST(PausedEventLoop, StartsNoStepUntilItIsResumed)
{
    EventLoop loop(Clock::steady());
    std::atomic<bool> isPaused{true};
    bool ranWhilePaused = true;
    ASSERT_TRUE(loop.pause(1s));
    loop.post([&] { ranWhilePaused = isPaused; });
    loop.quit();
    std::promise<void> isRunning;
    std::thread thread([&] {
        isRunning.set_value();
        loop.run();
    });
    isRunning.get_future().wait();
    isPaused = false;
    loop.resume();
    thread.join();
    EXPECT_FALSE(ranWhilePaused);
}

TEST(PausedEventLoop, IsNotPausedWhileAStepGoesOn)
{
    EventLoop loop(Clock::steady());
    std::promise<void> isInStep;
    std::promise<void> mayEnd;
    loop.post([&] {
        isInStep.set_value();
        mayEnd.get_future().wait();
    });
    loop.quit();
    std::thread thread([&] { loop.run(); });
    isInStep.get_future().wait();
    EXPECT_FALSE(loop.pause(1ms));
    mayEnd.set_value();
    thread.join();
    EXPECT_TRUE(loop.pause(1s));
    loop.resume();
}

TEST_F(EventLoopTest, WorksBeyondALoweredLimitOfDescriptors)
{
    if (!CanExhaustDescriptors)
        GTEST_SKIP() << WhyNotExhausted;
    EXPECT_TRUE(succeedsInChild([&] {
        const EventDescriptor event;
        const IoWatch watch(loop, event.get(), EPOLLIN, [&](uint32_t) {
            event.clear();
            order += "d";
        });
        limitDescriptors(1);
        event.set();
        loop.post(noting("T"));
        loop.quit();
        return loop.run() && order == "dT";
    }));
}

TEST_F(EventLoopTest, SaysWhenTheSystemCannotWait)
{
    EXPECT_TRUE(succeedsInChild([&] {
        for (int descriptor = STDERR_FILENO + 1; descriptor < 64; ++descriptor)
            close(descriptor);
        return !loop.run();
    }));
}

TEST_F(EventLoopTest, CannotBeMadeWithoutDescriptors)
{
    if (!CanExhaustDescriptors)
        GTEST_SKIP() << WhyNotExhausted;
    for (const unsigned left : {0U, 1U}) {
        EXPECT_TRUE(succeedsInChild([&] {
            exhaustDescriptors(left);
            try {
                EventLoop another(clock);
            } catch (const std::system_error&) {
                return true;
            }
            return false;
        })) << left;
    }
    EXPECT_TRUE(succeedsInChild([&] {
        exhaustDescriptors(2);
        EventLoop another(clock);
        return true;
    })) << "it needs two";
}

TEST_F(EventLoopTest, ClosesItsDescriptorsInExecutedPrograms)
{
    const int lowest = dup(STDIN_FILENO); // the loop's will follow
    close(lowest);
    EventLoop another(clock);
    EXPECT_EQ(fcntl(lowest, F_GETFD), FD_CLOEXEC);
    unsigned count = 0;
    for (int descriptor = STDERR_FILENO + 1; descriptor < 1024; ++descriptor) {
        const int flags = fcntl(descriptor, F_GETFD);
        count += descriptor >= lowest && flags == FD_CLOEXEC ? 1 : 0;
    }
    EXPECT_GE(count, 2U);
}
