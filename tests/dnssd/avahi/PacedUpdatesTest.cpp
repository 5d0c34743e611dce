// SPDX-License-Identifier: MIT
#include "PacedUpdates.h"

#include "EventLoop.h"
#include "ManualClock.h"

#include <gtest/gtest.h>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

class PacedUpdatesTest : public testing::Test
{
protected:
    void add(const std::string& all)
    {
        for (const char update : all)
            updates.add(std::string(1, update));
    }
    void advance(std::chrono::milliseconds time) { clock.advance(loop, time); }

    void begin() { updates.begin(); }

    ManualClock clock;
    EventLoop loop{clock};
    std::string passed;
    PacedUpdates updates{loop, [this](const std::string& data) { passed += data; }};
};

} // namespace

TEST_F(PacedUpdatesTest, PassesNothingOnBeforeItBeginsAndTheLastOneThen)
{
    add("abc");
    advance(1s);
    EXPECT_EQ(passed, "");
    begin();
    EXPECT_EQ(passed, "c");
    add("d");
    advance(399ms);
    EXPECT_EQ(passed, "c");
    advance(1ms);
    EXPECT_EQ(passed, "cd");
}

TEST_F(PacedUpdatesTest, PassesTheFirstOnAtOnceAndTheOthersInTheirOrderSlowly)
{
    begin();
    add("abc");
    EXPECT_EQ(passed, "a");
    advance(399ms);
    EXPECT_EQ(passed, "a");
    advance(1ms);
    EXPECT_EQ(passed, "ab");
    advance(400ms);
    EXPECT_EQ(passed, "abc");
}

TEST_F(PacedUpdatesTest, PassesAnUpdateOnAtOnceAfterAPause)
{
    begin();
    add("a");
    advance(400ms);
    add("b");
    EXPECT_EQ(passed, "ab");
}

TEST_F(PacedUpdatesTest, PassesTheLastOfManyOn)
{
    begin();
    add("abcdefgh");
    advance(10s);
    EXPECT_EQ(passed, "afgh");
}
