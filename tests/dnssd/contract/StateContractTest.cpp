// SPDX-License-Identifier: MIT
#include "ContractFixture.h"

#include <algorithm>
#include <chrono>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

class StateContract : public Contract
{
protected:
    void expectThatNothingStarts()
    {
        EXPECT_EQ(browse(m_unavailableQuery).error, BackendError::Unavailable);
        EXPECT_EQ(publish("Hall", m_unavailablePublication).error, BackendError::Unavailable);
        EXPECT_EQ(publishAddress(PublishedRecord::Claim::Unique, m_unavailableRecord).error,
                  BackendError::Unavailable);
        const auto resolve = resolveOnce("Hall", m_unavailableResolve);
        EXPECT_TRUE(resolve.error == BackendError::Unavailable || resolve.error == BackendError::Failed);
        EXPECT_EQ(resolve.started, nullptr);
    }
    void expectThatNoneWasCalled() const
    {
        EXPECT_EQ(m_unavailableQuery.calls, 0);
        EXPECT_EQ(m_unavailablePublication.calls, 0);
        EXPECT_EQ(m_unavailableRecord.calls, 0);
        EXPECT_EQ(m_unavailableResolve.calls, 0);
    }

private:
    RecordLog m_unavailableQuery;
    PublishLog m_unavailablePublication;
    PublishLog m_unavailableRecord;
    ResolveLog m_unavailableResolve;
};

} // namespace

TEST_F(StateContract, LossIsToldOnceAndWhatWasStartedIsNotCalledAgain)
{
    world().announce("Kitchen", "a=1");
    RecordLog records;
    PublishLog published;
    const auto query = browse(records);
    const auto publication = publish("Hall", published);
    ASSERT_TRUE(runUntil([&] { return records.has("Kitchen") && published.published > 0; }));
    ResolveLog resolved;
    const auto resolve = resolveOnce("Kitchen", resolved);
    PublishLog record;
    const auto recordPublication = publishAddress(PublishedRecord::Claim::Unique, record);

    world().stopResponder();
    ASSERT_TRUE(runUntilState(Backend::State::Absent));
    const int before = records.calls + published.calls + resolved.calls + record.calls;
    const auto lost = states().size();
    world().withdraw("Kitchen");
    world().startResponder();
    ASSERT_TRUE(runUntilState(Backend::State::Running));
    EXPECT_EQ(std::count(states().begin() + static_cast<std::ptrdiff_t>(lost), states().end(),
                         Backend::State::Absent),
              0);
    world().announce("Cellar", "a=1");
    RecordLog anew;
    const auto newQuery = browse(anew);
    ASSERT_TRUE(runUntil([&] { return anew.has("Cellar"); }));
    EXPECT_EQ(records.calls + published.calls + resolved.calls + record.calls, before);
}

TEST_F(StateContract, CallsFailWithUnavailableBetweenTheLossAndItsNews)
{
    world().stopResponder();
    EXPECT_EQ(backend().state(), Backend::State::Running) << "the loop has not run";
    expectThatNothingStarts();
    backend().hostName();
    EXPECT_EQ(backend().state(), states().back());
    ASSERT_TRUE(runUntilState(Backend::State::Absent));
    expectThatNothingStarts();
    world().startResponder();
    ASSERT_TRUE(runUntilState(Backend::State::Running));
    expectThatNoneWasCalled();
}

TEST_F(StateContract, ReachesForTheResponderOnlyWhileItIsInUse)
{
    EXPECT_TRUE(backend().isReachable());
    backend().setInUse(false);
    world().stopResponder();
    ASSERT_TRUE(runUntilState(Backend::State::Absent));
    EXPECT_FALSE(backend().isReachable());
    loop().runUntilIdle();
    EXPECT_FALSE(loop().timers().nextDeadline()) << "it will wake up";
    world().startResponder();
    EXPECT_TRUE(backend().isReachable());
    loop().runUntilIdle();
    EXPECT_EQ(backend().state(), Backend::State::Absent);
    backend().setInUse(true);
    EXPECT_TRUE(runUntilState(Backend::State::Running));
}

TEST_F(StateContract, KeepsNoTimerWhenNothingIsStarted)
{
    {
        RecordLog log;
        const auto query = browse(log);
        ASSERT_TRUE(runUntil([&] { return log.exhausted > 0; }));
    }
    backend().setInUse(false);
    EXPECT_TRUE(runUntil([&] { return !loop().timers().nextDeadline(); }));
}

TEST_F(StateContract, ShutDownWithdrawsWithinItsLimitAndLeavesItAbsent)
{
    RecordLog records;
    PublishLog published;
    const auto query = browse(records);
    auto publication = publish("Kitchen", published);
    ASSERT_TRUE(runUntil([&] { return published.published > 0 && world().isSeen("Kitchen", "a=1"); }));
    const int before = records.calls + published.calls;
    const auto start = std::chrono::steady_clock::now();
    {
        const InCall inCall;
        backend().shutDown(2s);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, 3s);
    EXPECT_EQ(backend().state(), Backend::State::Absent);
    expectThatNothingStarts();
    EXPECT_TRUE(runUntil([&] { return !world().isSeen("Kitchen", "a=1"); }));
    EXPECT_EQ(backend().state(), Backend::State::Absent);
    EXPECT_EQ(records.calls + published.calls, before);
    expectThatNoneWasCalled();
    end(publication.started);
}

TEST_F(StateContract, HostHasItsName)
{
    EXPECT_EQ(backend().hostName(), world().hostName());
}
