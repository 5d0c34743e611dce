// SPDX-License-Identifier: MIT
#include "Poller.h"

#include "ChildProcess.h"
#include "EventDescriptor.h"

#include <gtest/gtest.h>

#include <memory>
#include <system_error>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

class CountingWatch final : public Poller::Watch
{
public:
    explicit CountingWatch(Poller& poller)
        : m_poller(poller)
    {
        m_poller.add(*this);
    }
    ~CountingWatch() { m_poller.remove(*this); }
    CountingWatch(const CountingWatch&) = delete;
    CountingWatch& operator=(const CountingWatch&) = delete;

    int descriptor() const override { return m_event.get(); }
    uint32_t events() const override { return EPOLLIN; }
    void notify(uint32_t) override { ++m_calls; }
    void set() const { m_event.set(); }
    int calls() const { return m_calls; }

private:
    Poller& m_poller;
    EventDescriptor m_event;
    int m_calls = 0;
};

} // namespace

TEST(Poller, NotifiesOfWhatTheLastWaitFound)
{
    Poller poller;
    const CountingWatch ready(poller), idle(poller);
    EXPECT_TRUE(poller.wait(0));
    EXPECT_EQ(poller.notifyReady(), 0);
    ready.set();
    EXPECT_EQ(poller.notifyReady(), 0) << "nothing is found without waiting";
    EXPECT_TRUE(poller.wait(-1));
    EXPECT_EQ(poller.notifyReady(), 1);
    EXPECT_EQ(ready.calls(), 1);
    EXPECT_EQ(idle.calls(), 0);
}

TEST(Poller, ReachesAllOfManyReadyDescriptors)
{
    Poller poller;
    std::vector<std::unique_ptr<CountingWatch>> watches;
    for (int i = 0; i < 50; ++i) {
        watches.push_back(std::make_unique<CountingWatch>(poller));
        watches.back()->set();
    }
    for (int round = 0; round < 10; ++round) {
        EXPECT_TRUE(poller.wait(0));
        EXPECT_GT(poller.notifyReady(), 0);
    }
    for (const auto& watch : watches)
        EXPECT_GT(watch->calls(), 0);
}

TEST(Poller, CannotBeMadeWithoutDescriptors)
{
    if (!CanExhaustDescriptors)
        GTEST_SKIP() << WhyNotExhausted;
    EXPECT_TRUE(succeedsInChild([] {
        exhaustDescriptors();
        try {
            Poller poller;
        } catch (const std::system_error&) {
            return true;
        }
        return false;
    }));
}
