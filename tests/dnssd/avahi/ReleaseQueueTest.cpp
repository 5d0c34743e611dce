// SPDX-License-Identifier: MIT
#include "ReleaseQueue.h"

#include "ManualClock.h"

#include <gtest/gtest.h>

#include <avahi-common/error.h>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

class ReleaseQueueTest : public testing::Test, private DaemonErrorListener
{
protected:
    class Entry final : public ReleaseQueue::Entry
    {
    public:
        Entry(std::string& order, char name, int error)
            : m_order(order)
            , m_name(name)
            , m_error(error)
        {
        }
        int release() override
        {
            m_order += m_name;
            return m_error;
        }

    private:
        std::string& m_order;
        char m_name;
        int m_error;
    };

    void add(char name, int error = AVAHI_OK) { addTo(m_queue, name, error); }
    /// To a queue that releases after a pause.
    void addLater(char name) { addTo(m_patientQueue, name, AVAHI_OK); }
    EventLoop& loop() { return m_loop; }
    void advance(std::chrono::milliseconds time) { m_clock.advance(m_loop, time); }

    std::string order; ///< of releases, and of the tasks of a test
    std::vector<int> answers;

private:
    void addTo(ReleaseQueue& queue, char name, int error)
    {
        ReleaseQueue::PreparedEntry entry;
        entry.push_back(std::make_unique<Entry>(order, name, error));
        queue.add(std::move(entry));
    }
    void onDaemonAnswer(int avahiError) override { answers.push_back(avahiError); }

    ManualClock m_clock;
    EventLoop m_loop{m_clock};
    ReleaseQueue m_queue{m_loop, *this, {}};
    ReleaseQueue m_patientQueue{m_loop, *this, {5ms, 12ms}};
};

} // namespace

TEST_F(ReleaseQueueTest, AddingReleasesFromTheLoopAndNotDuringTheCall)
{
    add('a');
    EXPECT_EQ(order, "");
    loop().runUntilIdle();
    EXPECT_EQ(order, "a");
}

TEST_F(ReleaseQueueTest, ReleasesKeepTheirOrder)
{
    for (const char name : {'a', 'b', 'c'})
        add(name);
    loop().runUntilIdle();
    EXPECT_EQ(order, "abc");
}

TEST_F(ReleaseQueueTest, ReleasesComeBeforePostedTasks)
{
    loop().post([this] { order += '1'; });
    loop().post([this] { order += '2'; });
    add('a');
    add('b');
    loop().runUntilIdle();
    EXPECT_EQ(order, "ab12");
}

TEST_F(ReleaseQueueTest, ManyReleasesLetATaskRunInBetween)
{
    loop().post([this] { order += '!'; });
    for (int i = 0; i < 100; ++i)
        add('r');
    loop().runUntilIdle();
    EXPECT_LT(order.find('!'), 20U);
    EXPECT_EQ(order.size(), 101U);
}

TEST_F(ReleaseQueueTest, PauseEndsOnceNoneHasBeenAddedForItsTime)
{
    addLater('a');
    advance(4ms);
    addLater('b');
    advance(4ms);
    EXPECT_EQ(order, "");
    advance(1ms);
    EXPECT_EQ(order, "ab");
}

TEST_F(ReleaseQueueTest, PauseEndsWhenTheFirstHasWaitedLongest)
{
    for (const char name : {'a', 'b', 'c', 'd'}) {
        addLater(name);
        advance(3ms);
    }
    EXPECT_EQ(order, "abcd");
}

TEST_F(ReleaseQueueTest, PauseBeginsAnewAfterTheLastRelease)
{
    addLater('a');
    advance(20ms);
    addLater('b');
    advance(4ms);
    EXPECT_EQ(order, "a");
}

TEST_F(ReleaseQueueTest, EachAnswerOfTheDaemonsIsReported)
{
    add('a', AVAHI_OK);
    add('b', AVAHI_ERR_DISCONNECTED);
    loop().runUntilIdle();
    EXPECT_EQ(answers, (std::vector<int>{AVAHI_OK, AVAHI_ERR_DISCONNECTED}));
}
