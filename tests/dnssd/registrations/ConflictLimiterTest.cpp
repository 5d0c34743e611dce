// SPDX-License-Identifier: MIT
#include "ConflictLimiter.h"

#include <gtest/gtest.h>

using namespace vesk::dnssd;
using namespace std::chrono_literals;

namespace {

class ConflictLimiterTest : public testing::Test
{
protected:
    /// Conflicts follow each other at that distance; returns the pause that the last one asks for.
    std::chrono::milliseconds conflicts(int count, std::chrono::milliseconds apart)
    {
        std::chrono::milliseconds pause{};
        while (count-- > 0) {
            m_now += apart;
            pause = m_limiter.pauseAfterConflict(m_now);
        }
        return pause;
    }

private:
    Clock::TimePoint m_now{};
    ConflictLimiter m_limiter;
};

} // namespace

TEST_F(ConflictLimiterTest, FourteenConflictsWithinTenSecondsAskForNoPause)
{
    EXPECT_EQ(conflicts(14, 1ms), 0ms);
}

TEST_F(ConflictLimiterTest, FifteenthConflictWithinTenSecondsAsksForFiveSeconds)
{
    conflicts(14, 1ms);
    EXPECT_EQ(conflicts(1, 9s), 5s);
}

TEST_F(ConflictLimiterTest, FifteenConflictsInMoreThanTenSecondsAskForNoPause)
{
    EXPECT_EQ(conflicts(15, 715ms), 0ms);
    EXPECT_EQ(conflicts(100, 715ms), 0ms);
}

TEST_F(ConflictLimiterTest, EachFurtherConflictAsksForFiveSecondsAlthoughFewFallIntoTenSeconds)
{
    conflicts(15, 1ms);
    EXPECT_EQ(conflicts(5, 6s), 5s);
}

TEST_F(ConflictLimiterTest, AttemptThatHasHeldForTenSecondsEndsThePauses)
{
    conflicts(15, 1ms);
    EXPECT_EQ(conflicts(1, 14999ms), 5s);
    EXPECT_EQ(conflicts(1, 15s), 0ms);
}
