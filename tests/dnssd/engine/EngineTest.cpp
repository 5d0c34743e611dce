// SPDX-License-Identifier: MIT
#include "Engine.h"

#include "ChildProcess.h"
#include "FakeBackend.h"
#include "ManualClock.h"
#include "RecordOperation.h"

#include <gtest/gtest.h>

#include <new>
#include <system_error>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

BackendFactory fakeBackend()
{
    return [](EventLoop& loop, Backend::StateListener& listener) {
        return std::make_unique<FakeBackend>(loop, listener);
    };
}

/// Notes what happens to it.
class NotingOperation final : public Operation
{
public:
    NotingOperation(std::shared_ptr<ReplyQueue> replies, std::string& order,
                    std::function<void()> whenStarted)
        : Operation(std::move(replies))
        , m_order(order)
        , m_whenStarted(std::move(whenStarted))
    {
    }
    ~NotingOperation() override { m_order += "e"; }
    void start(const OperationContext&) override
    {
        m_order += "s";
        m_whenStarted();
    }
    void fail(DNSServiceErrorType error) override { m_order += std::to_string(error); }

private:
    std::string& m_order;
    std::function<void()> m_whenStarted;
};

class EngineTest : public testing::Test
{
protected:
    std::shared_ptr<Operation> operation(std::function<void()> whenStarted = [] {})
    {
        return std::make_shared<NotingOperation>(std::make_shared<ReplyQueue>(), order,
                                                 std::move(whenStarted));
    }
    void settle() { engine->loop().runUntilIdle(); }

    ManualClock clock;
    std::string order;
    std::shared_ptr<Engine> engine = std::make_shared<Engine>(clock, fakeBackend());
    FakeBackend& backend = FakeBackend::last();
};

} // namespace

TEST_F(EngineTest, StartsAndEndsOperationsInItsLoop)
{
    auto one = operation();
    PreparedTask end = engine->prepareEnd(one);
    engine->start(one);
    EXPECT_EQ(order, "");
    settle();
    EXPECT_EQ(order, "s");
    one.reset();
    engine->loop().post(std::move(end));
    EXPECT_EQ(order, "s");
    settle();
    EXPECT_EQ(order, "se");
}

TEST_F(EngineTest, HasItsBackendInUseFromTheFirstOperationToTheLast)
{
    auto first = operation(), second = operation();
    PreparedTask endOfFirst = engine->prepareEnd(first);
    PreparedTask endOfSecond = engine->prepareEnd(second);
    settle();
    EXPECT_FALSE(backend.isInUse());
    engine->start(std::move(first));
    settle();
    EXPECT_TRUE(backend.isInUse());
    engine->start(std::move(second));
    engine->loop().post(std::move(endOfFirst));
    settle();
    EXPECT_TRUE(backend.isInUse());
    engine->loop().post(std::move(endOfSecond));
    settle();
    EXPECT_FALSE(backend.isInUse());
}

TEST_F(EngineTest, ReportsThatThereIsNoMemoryToStartAnOperation)
{
    auto one = operation([] { throw std::bad_alloc(); });
    PreparedTask end = engine->prepareEnd(one);
    engine->start(std::move(one));
    settle();
    EXPECT_EQ(order, "s-65539");
    EXPECT_TRUE(backend.isInUse());
    engine->loop().post(std::move(end));
    settle();
    EXPECT_FALSE(backend.isInUse());
}

TEST_F(EngineTest, EndsOperationsThatWaitInTasksWithItself)
{
    auto begun = operation(), waiting = operation();
    engine->start(std::move(begun));
    settle();
    engine->start(std::move(waiting));
    engine.reset();
    EXPECT_EQ(order, "see");
}

TEST_F(EngineTest, EndsOperationsBeforeWhatTheyStandOn)
{
    const Query query{{"hostb", "local"}, kDNSServiceType_A, kDNSServiceClass_IN, 0, {}};
    auto waiting =
        std::make_shared<RecordOperation>(std::make_shared<ReplyQueue>(), query, RecordOperation::Options{},
                                          Callback<DNSServiceQueryRecordReply>{});
    PreparedTask end = engine->prepareEnd(waiting);
    engine->start(std::move(waiting));
    settle();
    engine->loop().post(std::move(end));
    engine.reset(); // a sanitizer would see the subscription end after the queries
}

TEST_F(EngineTest, SaysWhetherItsBackendIsReachable)
{
    EXPECT_TRUE(engine->isBackendReachable());
    backend.setReachable(false);
    EXPECT_FALSE(engine->isBackendReachable());
}

TEST_F(EngineTest, IsAliveUntilItIsMarkedDead)
{
    EXPECT_TRUE(engine->isAlive());
    engine->markDead();
    EXPECT_FALSE(engine->isAlive());
}

TEST_F(EngineTest, ShutsItsBackendDownAndEndsItsLoop)
{
    engine->shutDown(std::chrono::seconds(1));
    EXPECT_FALSE(backend.isShutDown());
    EXPECT_TRUE(engine->loop().run());
    EXPECT_TRUE(backend.isShutDown());
}

TEST_F(EngineTest, CannotBeMadeWithoutDescriptors)
{
    if (!CanExhaustDescriptors)
        GTEST_SKIP() << WhyNotExhausted;
    EXPECT_TRUE(succeedsInChild([this] {
        exhaustDescriptors();
        try {
            Engine another(clock, fakeBackend());
        } catch (const std::system_error&) {
            return true;
        }
        return false;
    }));
}
