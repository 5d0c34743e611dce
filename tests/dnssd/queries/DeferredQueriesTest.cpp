// SPDX-License-Identifier: MIT
#include "DeferredQueries.h"

#include "ManualClock.h"

#include <gtest/gtest.h>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

class DeferredQueriesTest : public testing::Test
{
protected:
    void advance(std::chrono::milliseconds time) { clock.advance(loop, time); }
    void add(unsigned count)
    {
        while (count-- > 0)
            deferred.add(std::to_string(m_added++));
    }

    ManualClock clock;
    EventLoop loop{clock};
    std::vector<std::string> activated;
    QueryPacing usual;
    DeferredQueries deferred{loop, usual, [this](const std::string& key) { activated.push_back(key); }};

private:
    unsigned m_added = 0;
};

} // namespace

TEST_F(DeferredQueriesTest, AreActivatedAfterThePause)
{
    add(2);
    advance(249ms);
    EXPECT_TRUE(activated.empty());
    advance(1ms);
    EXPECT_EQ(activated, (std::vector<std::string>{"0", "1"}));
    advance(1min);
    EXPECT_EQ(activated.size(), 2U);
}

TEST_F(DeferredQueriesTest, WaitForAPauseAfterTheLastOne)
{
    add(1);
    advance(249ms);
    add(1);
    advance(249ms);
    EXPECT_TRUE(activated.empty());
    advance(1ms);
    EXPECT_EQ(activated.size(), 2U);
}

TEST_F(DeferredQueriesTest, WaitForTheLongestPauseAtMost)
{
    for (auto time = 0ms; time < 3999ms; time += 1ms) {
        ASSERT_TRUE(activated.empty()) << time.count();
        add(1);
        advance(1ms);
    }
    advance(1ms); // 4 seconds after the first
    EXPECT_FALSE(activated.empty());
}

TEST_F(DeferredQueriesTest, AreActivatedInBatches)
{
    add(45);
    advance(250ms);
    EXPECT_EQ(activated.size(), 20U);
    advance(19ms);
    EXPECT_EQ(activated.size(), 20U);
    advance(1ms);
    EXPECT_EQ(activated.size(), 40U);
    advance(19ms);
    EXPECT_EQ(activated.size(), 40U);
    advance(1ms);
    EXPECT_EQ(activated.size(), 45U);
    EXPECT_EQ(activated.back(), "44");
}

TEST_F(DeferredQueriesTest, AreForgottenWhenTheyAreCleared)
{
    add(45);
    advance(250ms);
    deferred.clear();
    advance(1min);
    EXPECT_EQ(activated.size(), 20U);
    add(1);
    advance(250ms);
    EXPECT_EQ(activated.size(), 21U);
}

TEST_F(DeferredQueriesTest, GoByThePacingOfTheBackend)
{
    QueryPacing pacing;
    pacing.deferredPause = 10ms;
    pacing.deferredBatch = 1;
    pacing.deferredInterval = 5ms;
    unsigned count = 0;
    DeferredQueries others(loop, pacing, [&](const std::string&) { ++count; });
    others.add("a");
    others.add("b");
    advance(9ms);
    EXPECT_EQ(count, 0U);
    advance(1ms);
    EXPECT_EQ(count, 1U);
    advance(5ms);
    EXPECT_EQ(count, 2U);
    pacing.deferredPause = 20ms;
    others.add("c");
    advance(19ms);
    EXPECT_EQ(count, 2U);
    advance(1ms);
    EXPECT_EQ(count, 3U);
}
