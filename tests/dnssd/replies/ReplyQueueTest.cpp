// SPDX-License-Identifier: MIT
#include "ReplyQueue.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <thread>
#include <vector>

using namespace vesk::dnssd;

namespace {

using Kind = Reply::Kind;

bool isReadable(const ReplyQueue& replies)
{
    pollfd descriptor{replies.descriptor(), POLLIN, 0};
    return poll(&descriptor, 1, 0) == 1;
}

const Reply Nothing{Kind::Lasting, {}, [](DNSServiceFlags) {}};

/// Replies that are not taken are looked through when so many wait.
constexpr std::size_t ReviewLength = 1024;

class UnreadReplyQueue : public testing::Test
{
protected:
    void put(Kind kind, const std::string& subject, const std::string& text)
    {
        replies.put({kind, subject, [this, text](DNSServiceFlags) { m_taken.push_back(text); }});
    }
    void put(Kind kind, const std::string& subject) { put(kind, subject, textOf(kind)); }

    /// Fills the queue up to its review with replies that it drops, and takes what is left.
    std::vector<std::string> review()
    {
        for (std::size_t i = 0; i <= ReviewLength; ++i)
            put(Kind::Latest, "filling", "filling");
        replies.put({Kind::Lasting, {}, [this](DNSServiceFlags) { replies.close(); }});
        while (const auto delivery = replies.take())
            delivery->reply.call(0);
        m_taken.erase(std::remove(m_taken.begin(), m_taken.end(), "filling"), m_taken.end());
        EXPECT_LT(replies.descriptor(), 0);
        return m_taken;
    }

    static std::string textOf(Kind kind)
    {
        switch (kind) {
        case Kind::Lasting:
            return "lasting";
        case Kind::Latest:
            return "latest";
        case Kind::Appeared:
            return "appeared";
        case Kind::Repeated:
            return "repeated";
        case Kind::Vanished:
            return "vanished";
        }
        return "";
    }

    ReplyQueue replies;

private:
    std::vector<std::string> m_taken;
};

using Texts = std::vector<std::string>;

} // namespace

TEST(ReplyQueue, IsReadableExactlyWhileAReplyWaits)
{
    ReplyQueue replies;
    EXPECT_FALSE(isReadable(replies));
    replies.put(Nothing);
    replies.put(Nothing);
    EXPECT_TRUE(isReadable(replies));
    replies.take();
    EXPECT_TRUE(isReadable(replies));
    replies.take();
    EXPECT_FALSE(isReadable(replies));
    replies.put(Nothing);
    EXPECT_TRUE(isReadable(replies));
}

TEST(ReplyQueue, SaysMoreComingWithAllRepliesButTheLast)
{
    ReplyQueue replies;
    for (int i = 0; i < 3; ++i)
        replies.put(Nothing);
    EXPECT_EQ(replies.take()->moreComing, static_cast<DNSServiceFlags>(kDNSServiceFlagsMoreComing));
    EXPECT_EQ(replies.take()->moreComing, static_cast<DNSServiceFlags>(kDNSServiceFlagsMoreComing));
    EXPECT_EQ(replies.take()->moreComing, 0U);
}

TEST(ReplyQueue, KeepsTheOrder)
{
    ReplyQueue replies;
    std::string order;
    for (const char c : {'a', 'b', 'c'})
        replies.put({Kind::Lasting, {}, [&order, c](DNSServiceFlags) { order += c; }});
    for (int i = 0; i < 3; ++i)
        replies.take()->reply.call(0);
    EXPECT_EQ(order, "abc");
}

TEST(ReplyQueue, WaitsForAReply)
{
    ReplyQueue replies;
    std::thread writer([&] { replies.put(Nothing); });
    EXPECT_TRUE(replies.take());
    writer.join();
}

TEST(ReplyQueue, WakesAWaitingThreadWhenItIsClosed)
{
    ReplyQueue replies;
    std::thread closer([&] { replies.close(); });
    EXPECT_FALSE(replies.take());
    closer.join();
}

TEST(ReplyQueue, DropsRepliesOnceClosed)
{
    ReplyQueue replies;
    replies.put(Nothing);
    replies.close();
    replies.put(Nothing);
    EXPECT_FALSE(replies.take());
    EXPECT_EQ(replies.descriptor(), -1);
}

TEST_F(UnreadReplyQueue, DropsNothingBelowItsReviewLength)
{
    for (std::size_t i = 1; i < ReviewLength; ++i)
        put(Kind::Latest, "a");
    std::size_t taken = 0;
    while (isReadable(replies)) {
        replies.take();
        ++taken;
    }
    EXPECT_EQ(taken, ReviewLength - 1);
}

TEST_F(UnreadReplyQueue, DropsPointlessRepliesAtItsReviewLength)
{
    for (std::size_t i = 0; i < ReviewLength; ++i)
        put(Kind::Latest, "a");
    const auto delivery = replies.take();
    ASSERT_TRUE(delivery);
    EXPECT_EQ(delivery->moreComing, 0U);
    EXPECT_FALSE(isReadable(replies));
}

TEST_F(UnreadReplyQueue, IsNotReadableWhenAllItsRepliesWerePointless)
{
    for (std::size_t i = 0; i < ReviewLength; i += 2) {
        put(Kind::Appeared, "a");
        put(Kind::Vanished, "a");
    }
    EXPECT_FALSE(isReadable(replies));
    replies.put(Nothing);
    EXPECT_TRUE(isReadable(replies));
}

TEST_F(UnreadReplyQueue, KeepsEveryLastingReply)
{
    for (const char* text : {"a", "b", "c"})
        put(Kind::Lasting, "same", text);
    EXPECT_EQ(review(), (Texts{"a", "b", "c"}));
}

TEST_F(UnreadReplyQueue, KeepsOtherRepliesBesideALastingOneOfTheirSubject)
{
    put(Kind::Lasting, "a");
    put(Kind::Vanished, "a");
    put(Kind::Appeared, "b");
    put(Kind::Lasting, "b");
    EXPECT_EQ(review(), (Texts{"lasting", "vanished", "appeared", "lasting"}));
}

TEST_F(UnreadReplyQueue, KeepsTheLatestReplyOfEachSubject)
{
    put(Kind::Latest, "a", "a1");
    put(Kind::Latest, "b", "b1");
    put(Kind::Latest, "a", "a2");
    EXPECT_EQ(review(), (Texts{"b1", "a2"}));
}

/// Two replies about one subject, and what is left of them.
TEST_F(UnreadReplyQueue, KeepsOfTwoRepliesWhatTheApplicationMustKnow)
{
    struct Case
    {
        Kind first;
        Kind second;
        Texts left;
    };
    const std::vector<Case> cases{
        {Kind::Appeared, Kind::Appeared, {"appeared"}}, {Kind::Appeared, Kind::Repeated, {"repeated"}},
        {Kind::Appeared, Kind::Vanished, {}},           {Kind::Repeated, Kind::Appeared, {"appeared"}},
        {Kind::Repeated, Kind::Repeated, {"repeated"}}, {Kind::Repeated, Kind::Vanished, {"vanished"}},
        {Kind::Vanished, Kind::Appeared, {"appeared"}}, {Kind::Vanished, Kind::Repeated, {"repeated"}},
        {Kind::Vanished, Kind::Vanished, {"vanished"}}, {Kind::Latest, Kind::Latest, {"latest"}},
    };
    int number = 0;
    Texts expected;
    for (const Case& one : cases) {
        const std::string subject = std::to_string(number++);
        put(one.first, subject, subject + " first");
        put(one.second, subject, subject + ' ' + textOf(one.second));
        for (const std::string& left : one.left)
            expected.push_back(subject + ' ' + left);
    }
    EXPECT_EQ(review(), expected);
}

TEST_F(UnreadReplyQueue, KeepsASingleReplyOfEachKind)
{
    for (const Kind kind : {Kind::Lasting, Kind::Latest, Kind::Appeared, Kind::Repeated, Kind::Vanished})
        put(kind, textOf(kind));
    EXPECT_EQ(review(), (Texts{"lasting", "latest", "appeared", "repeated", "vanished"}));
}

TEST_F(UnreadReplyQueue, KeepsTheGoingOfWhatTheApplicationKnows)
{
    put(Kind::Vanished, "a");
    put(Kind::Appeared, "a");
    put(Kind::Vanished, "a");
    EXPECT_EQ(review(), Texts{"vanished"});
}

TEST_F(UnreadReplyQueue, KeepsNothingOfWhatCameAndWent)
{
    for (int i = 0; i < 3; ++i) {
        put(Kind::Appeared, "a");
        put(Kind::Vanished, "a");
    }
    EXPECT_EQ(review(), Texts());
}

TEST_F(UnreadReplyQueue, KeepsErrorsThroughAStorm)
{
    replies.put({Kind::Lasting, {}, [](DNSServiceFlags) {}});
    for (std::size_t i = 0; i < 100 * ReviewLength; ++i) {
        put(Kind::Appeared, std::to_string(i));
        put(Kind::Vanished, std::to_string(i));
        put(Kind::Latest, "a");
    }
    replies.put({Kind::Lasting, {}, [](DNSServiceFlags) {}});
    std::size_t lasting = 0;
    std::size_t all = 0;
    for (; isReadable(replies); ++all)
        lasting += replies.take()->reply.kind == Kind::Lasting ? 1 : 0;
    EXPECT_EQ(lasting, 2U);
    EXPECT_LE(all, ReviewLength + 2) << "no more wait than that";
}

TEST_F(UnreadReplyQueue, HoldsAboutTwiceAsManyRepliesAsThereAreSubjects)
{
    constexpr std::size_t Subjects = 3000;
    for (std::size_t i = 0; i < 20 * Subjects; ++i)
        put(Kind::Latest, std::to_string(i % Subjects));
    std::size_t all = 0;
    for (; isReadable(replies); ++all)
        replies.take();
    EXPECT_GE(all, Subjects);
    EXPECT_LE(all, 2 * Subjects);
}
