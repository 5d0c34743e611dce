// SPDX-License-Identifier: MIT
#include "ReconnectTimer.h"

#include "ManualClock.h"

#include <gtest/gtest.h>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

class ReconnectTimerTest : public testing::Test
{
protected:
    /// An attempt that fails, after exactly that pause.
    void expectAttemptAfter(std::chrono::milliseconds pause)
    {
        m_attempts = 0;
        m_timer.start();
        m_clock.advance(m_loop, pause - 1ms);
        EXPECT_EQ(m_attempts, 0) << pause.count();
        m_clock.advance(m_loop, 1ms);
        EXPECT_EQ(m_attempts, 1) << pause.count();
    }
    ReconnectTimer& timer() { return m_timer; }
    int attemptsIn(std::chrono::milliseconds time)
    {
        m_attempts = 0;
        m_clock.advance(m_loop, time);
        return m_attempts;
    }

private:
    ManualClock m_clock;
    EventLoop m_loop{m_clock};
    int m_attempts = 0;
    ReconnectTimer m_timer{m_loop, [this] { ++m_attempts; }};
};

} // namespace

TEST_F(ReconnectTimerTest, PausesDoubleUpToFiveSeconds)
{
    for (const auto pause : {100ms, 200ms, 400ms, 800ms, 1600ms, 3200ms, 5000ms, 5000ms})
        expectAttemptAfter(pause);
}

TEST_F(ReconnectTimerTest, ConnectionMakesTheNextPauseTheShortestAgain)
{
    expectAttemptAfter(100ms);
    expectAttemptAfter(200ms);
    timer().onConnected();
    expectAttemptAfter(100ms);
}

TEST_F(ReconnectTimerTest, StoppingEndsTheAttempts)
{
    timer().start();
    timer().stop();
    EXPECT_EQ(attemptsIn(10s), 0);
}
