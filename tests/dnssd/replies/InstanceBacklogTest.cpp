// SPDX-License-Identifier: MIT
#include "InstanceBacklog.h"

#include <gtest/gtest.h>

using namespace vesk::dnssd;
using namespace std::chrono_literals;

namespace {

using Outcome = InstanceBacklog::Outcome;

class InstanceBacklogTest : public testing::Test
{
protected:
    InstanceBacklogTest() { add({"a", "b", "c"}); }

    void add(const std::vector<std::string>& names)
    {
        for (const std::string& name : names)
            backlog.add({nullptr, {Reply::Kind::Appeared, name, {}, BrowsedInstance{{name}, 1}}, m_order++});
    }
    std::string next() { return backlog.next() ? backlog.next()->reply.subject : std::string(); }
    std::string tried(bool wantsUntried = true)
    {
        const auto trial = backlog.beginTrial(wantsUntried, now);
        return trial ? trial->instance.name.front() : std::string();
    }
    void end(const std::string& name, Outcome outcome) { backlog.endTrial({nullptr, name}, outcome, now); }

    InstanceBacklog backlog;
    Clock::TimePoint now{};

private:
    uint64_t m_order = 0;
};

} // namespace

TEST_F(InstanceBacklogTest, GivesTheUntriedInTheirOrder)
{
    for (const char* name : {"a", "b", "c"})
        EXPECT_EQ(backlog.takeNext().reply.subject, name);
    EXPECT_EQ(backlog.next(), nullptr);
    EXPECT_EQ(backlog.size(), 0U);
}

TEST_F(InstanceBacklogTest, TriesTheNewestFirst)
{
    EXPECT_EQ(tried(), "c");
    EXPECT_EQ(tried(), "b");
    add({"d"});
    EXPECT_EQ(tried(), "d");
    EXPECT_EQ(next(), "a");
    EXPECT_EQ(tried(), "a");
    EXPECT_EQ(tried(), "");
    EXPECT_EQ(next(), "");
    EXPECT_EQ(backlog.size(), 4U);
}

TEST_F(InstanceBacklogTest, GivesWhatAnsweredBeforeTheUntried)
{
    EXPECT_EQ(tried(), "c");
    EXPECT_FALSE(backlog.hasAnswered());
    end("c", Outcome::Answered);
    EXPECT_TRUE(backlog.hasAnswered());
    EXPECT_EQ(backlog.takeNext().reply.subject, "c");
    EXPECT_EQ(next(), "a");
}

TEST_F(InstanceBacklogTest, TriesASilentOneAgainAfterPausesThatDoubleUpToAnHour)
{
    for (std::chrono::seconds pause : {30s, 60s, 120s, 240s, 480s, 960s, 1920s, 3840s, 3840s}) {
        EXPECT_EQ(tried(pause == 30s), "c");
        end("c", Outcome::Silent);
        EXPECT_EQ(backlog.silent(), 1U);
        now += pause - 1ms;
        EXPECT_EQ(tried(false), "");
        now += 1ms;
    }
    EXPECT_EQ(next(), "a") << "it is not handed on";
}

TEST_F(InstanceBacklogTest, TriesANewerSilentOneThatIsDueBeforeTheUntried)
{
    EXPECT_EQ(tried(), "c");
    end("c", Outcome::Silent);
    now += 30s;
    add({"d"});
    EXPECT_EQ(tried(), "d");
    EXPECT_EQ(tried(), "c");
    EXPECT_EQ(tried(), "b");
}

TEST_F(InstanceBacklogTest, TriesLastWhatCouldNotBeTried)
{
    EXPECT_EQ(tried(), "c");
    end("c", Outcome::Undone);
    EXPECT_EQ(next(), "c");
    EXPECT_EQ(tried(), "b");
    EXPECT_EQ(tried(), "a");
    EXPECT_EQ(tried(), "c");
}

TEST_F(InstanceBacklogTest, TriesNoUntriedUnlessTheyAreWanted)
{
    EXPECT_EQ(tried(false), "");
}

TEST_F(InstanceBacklogTest, ForgetsATrialWhoseInstanceHasGoneOrIsBack)
{
    EXPECT_EQ(tried(), "c");
    EXPECT_TRUE(backlog.remove(nullptr, "c"));
    EXPECT_FALSE(backlog.remove(nullptr, "c"));
    end("c", Outcome::Answered);
    EXPECT_FALSE(backlog.hasAnswered());
    add({"c"});
    end("c", Outcome::Answered);
    EXPECT_FALSE(backlog.hasAnswered());
}

TEST_F(InstanceBacklogTest, ReplacesWhatItHasAboutASubject)
{
    add({"a"});
    EXPECT_EQ(backlog.size(), 3U);
    EXPECT_EQ(next(), "b");
}

TEST_F(InstanceBacklogTest, DropsThoseOfOneOperationOnly)
{
    const auto* other = reinterpret_cast<const ReplyQueue*>(this);
    backlog.add({other, {Reply::Kind::Appeared, "a", {}, BrowsedInstance{{"other"}, 1}}, 9});
    EXPECT_EQ(tried(), "other");
    backlog.removeAll(nullptr);
    EXPECT_EQ(backlog.size(), 1U);
    EXPECT_EQ(next(), "");
    backlog.removeAll(other);
    EXPECT_EQ(backlog.size(), 0U);
}
