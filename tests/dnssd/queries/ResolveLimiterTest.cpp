// SPDX-License-Identifier: MIT
#include "ResolveLimiter.h"

#include "ManualClock.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

QueryPacing twoAtOnce()
{
    QueryPacing pacing;
    pacing.resolvesAtOnce = 2;
    return pacing;
}

class ResolveLimiterTest : public testing::Test
{
protected:
    using Permit = std::unique_ptr<ResolveLimiter::Permit>;

    Permit request(const std::string& name)
    {
        return limiter.request([this, name] { begun += name; });
    }
    void settle() { loop.runUntilIdle(); }
    void advance(std::chrono::milliseconds time) { clock.advance(loop, time); }

    ManualClock clock;
    EventLoop loop{clock};
    QueryPacing pacing = twoAtOnce();
    ResolveLimiter limiter{loop, pacing};
    std::string begun;
};

} // namespace

TEST_F(ResolveLimiterTest, LetsSoManyBeginInTheirOrder)
{
    const Permit a = request("a"), b = request("b"), c = request("c");
    EXPECT_EQ(begun, "") << "a round later at the earliest";
    settle();
    EXPECT_EQ(begun, "ab");
}

TEST_F(ResolveLimiterTest, LetsTheNextBeginWhenOneIsGivenUp)
{
    Permit a = request("a"), b = request("b"), c = request("c"), d = request("d");
    settle();
    b.reset();
    settle();
    EXPECT_EQ(begun, "abc");
    a.reset();
    c.reset();
    settle();
    EXPECT_EQ(begun, "abcd");
}

TEST_F(ResolveLimiterTest, GoesByThePacingAsItIsAtTheMoment)
{
    Permit a = request("a"), b = request("b"), c = request("c"), d = request("d"), e = request("e");
    settle();
    pacing.resolvesAtOnce = 3;
    a.reset();
    settle();
    EXPECT_EQ(begun, "abcd");
    pacing.resolvesAtOnce = 1;
    b.reset();
    settle();
    EXPECT_EQ(begun, "abcd");
}

TEST_F(ResolveLimiterTest, DoesNotBeginWhatIsGivenUpInLine)
{
    Permit a = request("a"), b = request("b"), c = request("c"), d = request("d");
    settle();
    c.reset();
    a.reset();
    settle();
    EXPECT_EQ(begun, "abd");
}

TEST_F(ResolveLimiterTest, DoesNotBeginWhatIsGivenUpAtOnce)
{
    request("a").reset();
    settle();
    EXPECT_EQ(begun, "");
}

TEST_F(ResolveLimiterTest, NoLongerCountsAPermitAfterItsTime)
{
    const Permit a = request("a"), b = request("b"), c = request("c"), d = request("d");
    settle();
    advance(49ms);
    EXPECT_EQ(begun, "ab");
    advance(1ms);
    EXPECT_EQ(begun, "abcd");
}

TEST_F(ResolveLimiterTest, MeasuresTheTimeOfEachPermit)
{
    const Permit a = request("a");
    settle();
    advance(30ms);
    const Permit b = request("b"), c = request("c"), d = request("d");
    settle();
    advance(20ms);
    EXPECT_EQ(begun, "abc");
    advance(29ms);
    EXPECT_EQ(begun, "abc");
    advance(1ms); // the second is 50 ms old
    EXPECT_EQ(begun, "abcd");
}

TEST_F(ResolveLimiterTest, LetsNothingBeginWhileItIsHeld)
{
    std::optional<ResolveLimiter::Hold> first(limiter), second(limiter);
    const Permit a = request("a");
    settle();
    first.reset();
    settle();
    EXPECT_EQ(begun, "");
    second.reset();
    settle();
    EXPECT_EQ(begun, "a");
}

TEST_F(ResolveLimiterTest, MayBeHeldBeforeAGrantedTaskRuns)
{
    const Permit a = request("a");
    std::optional<ResolveLimiter::Hold> hold(limiter);
    settle();
    EXPECT_EQ(begun, "");
    hold.reset();
    settle();
    EXPECT_EQ(begun, "a");
}

TEST_F(ResolveLimiterTest, LetsATaskGiveItsPermitUp)
{
    Permit permit;
    const auto alive = std::make_shared<int>(7);
    permit = limiter.request([&, alive] {
        permit.reset();
        begun += std::to_string(*alive);
    });
    settle();
    EXPECT_EQ(begun, "7");
    const Permit a = request("a"), b = request("b");
    settle();
    EXPECT_EQ(begun, "7ab");
}
