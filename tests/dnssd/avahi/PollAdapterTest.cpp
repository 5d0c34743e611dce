// SPDX-License-Identifier: MIT
#include "PollAdapter.h"

#include "ManualClock.h"

#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

class PollAdapterTest : public testing::Test
{
protected:
    PollAdapterTest() { EXPECT_EQ(pipe(m_pipe.data()), 0); }
    ~PollAdapterTest() override
    {
        for (const int end : m_pipe)
            close(end);
    }

    const AvahiPoll* api() const { return m_adapter.api(); }
    EventLoop& loop() { return m_loop; }
    void advance(std::chrono::milliseconds time) { m_clock.advance(m_loop, time); }
    int readEnd() const { return m_pipe[0]; }
    void write() const { EXPECT_EQ(::write(m_pipe[1], "x", 1), 1); }

    AvahiWatch* watch(AvahiWatchEvent events, int& calls)
    {
        return api()->watch_new(
            api(), readEnd(), events,
            [](AvahiWatch* self, int descriptor, AvahiWatchEvent happened, void* count) {
                char byte = 0;
                EXPECT_EQ(read(descriptor, &byte, 1), 1);
                EXPECT_EQ(happened, AVAHI_WATCH_IN);
                ++*static_cast<int*>(count);
                (void)self;
            },
            &calls);
    }

    static timeval fromNow(std::chrono::microseconds time)
    {
        timeval now{};
        gettimeofday(&now, nullptr);
        const auto moment = std::chrono::seconds(now.tv_sec) + std::chrono::microseconds(now.tv_usec) + time;
        const auto seconds = std::chrono::floor<std::chrono::seconds>(moment);
        return {seconds.count(), static_cast<suseconds_t>((moment - seconds).count())};
    }

    AvahiTimeout* timeout(const timeval* time, int& calls)
    {
        return api()->timeout_new(
            api(), time, [](AvahiTimeout*, void* count) { ++*static_cast<int*>(count); }, &calls);
    }

private:
    ManualClock m_clock;
    EventLoop m_loop{m_clock};
    PollAdapter m_adapter{m_loop};
    std::array<int, 2> m_pipe{};
};

} // namespace

TEST_F(PollAdapterTest, WatchIsCalledWhenItsDescriptorIsReady)
{
    int calls = 0;
    AvahiWatch* watching = watch(AVAHI_WATCH_IN, calls);
    loop().runUntilIdle();
    EXPECT_EQ(calls, 0);
    write();
    loop().runUntilIdle();
    EXPECT_EQ(calls, 1);
    api()->watch_free(watching);
}

TEST_F(PollAdapterTest, WatchWithoutEventsIsNotCalledUntilItHasSome)
{
    int calls = 0;
    AvahiWatch* watching = watch(AvahiWatchEvent(0), calls);
    write();
    loop().runUntilIdle();
    EXPECT_EQ(calls, 0);
    api()->watch_update(watching, AVAHI_WATCH_IN);
    loop().runUntilIdle();
    EXPECT_EQ(calls, 1);
    api()->watch_free(watching);
}

TEST_F(PollAdapterTest, WatchMayBeFreedInItsOwnCallback)
{
    struct Once
    {
        const AvahiPoll* api;
        int calls;
    } once{api(), 0};
    api()->watch_new(
        api(), readEnd(), AVAHI_WATCH_IN,
        [](AvahiWatch* self, int, AvahiWatchEvent, void* context) {
            auto* state = static_cast<Once*>(context);
            ++state->calls;
            state->api->watch_free(self);
        },
        &once);
    write();
    loop().runUntilIdle();
    EXPECT_EQ(once.calls, 1);
}

TEST_F(PollAdapterTest, TimeoutOfTheZeroTimeIsCalledAtOnce)
{
    int calls = 0;
    const timeval zero{};
    AvahiTimeout* waiting = timeout(&zero, calls);
    EXPECT_EQ(calls, 0) << "but not during the call";
    loop().runUntilIdle();
    EXPECT_EQ(calls, 1);
    api()->timeout_free(waiting);
}

TEST_F(PollAdapterTest, TimeoutIsCalledAtItsTimeOfTheDay)
{
    int calls = 0;
    const timeval later = fromNow(1h);
    AvahiTimeout* waiting = timeout(&later, calls);
    advance(59min);
    EXPECT_EQ(calls, 0);
    advance(1min);
    EXPECT_EQ(calls, 1);
    api()->timeout_free(waiting);
}

TEST_F(PollAdapterTest, TimeoutWithoutATimeIsNotCalledUntilItHasOne)
{
    int calls = 0;
    AvahiTimeout* waiting = timeout(nullptr, calls);
    advance(24h);
    EXPECT_EQ(calls, 0);
    const timeval zero{};
    api()->timeout_update(waiting, &zero);
    loop().runUntilIdle();
    EXPECT_EQ(calls, 1);
    api()->timeout_update(waiting, &zero);
    api()->timeout_update(waiting, nullptr);
    loop().runUntilIdle();
    EXPECT_EQ(calls, 1);
    api()->timeout_free(waiting);
}
