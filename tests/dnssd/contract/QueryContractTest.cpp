// SPDX-License-Identifier: MIT
#include "ContractFixture.h"

#include <algorithm>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

constexpr uint32_t LongestTtl = 4500;

class QueryContract : public Contract
{
protected:
    /// Another host's service that the responder has in its cache.
    void announceAndCache(const std::string& name)
    {
        world().announce(name, "a=1");
        RecordLog log;
        const auto query = browse(log);
        ASSERT_TRUE(runUntil([&] { return log.has(name); }));
    }
};

} // namespace

TEST_F(QueryContract, TellsTheCacheThenItsEndThenTheNetwork)
{
    announceAndCache("Kitchen");
    RecordLog log;
    const auto query = browse(log);
    ASSERT_EQ(query.error, BackendError::None);
    ASSERT_TRUE(runUntil([&] { return log.exhausted > 0; }));
    EXPECT_TRUE(log.has("Kitchen"));
    world().announce("Hall", "a=1");
    ASSERT_TRUE(runUntil([&] { return log.has("Hall"); }));
    for (const auto& event : log.events)
        EXPECT_EQ(event.isCached, event.isBeforeExhausted);
    EXPECT_EQ(log.exhausted, 1);
    EXPECT_FALSE(log.error);
}

TEST_F(QueryContract, TellsTheEndOfAnEmptyCache)
{
    RecordLog log;
    const auto query = browse(log);
    ASSERT_TRUE(runUntil([&] { return log.exhausted > 0; }));
    EXPECT_TRUE(log.events.empty());
}

TEST_F(QueryContract, TellsWhatOfTheQueryComesAndGoes)
{
    RecordLog log;
    const auto query = browse(log);
    world().announce("Kitchen", "a=1");
    ASSERT_TRUE(runUntil([&] { return log.has("Kitchen"); }));
    world().withdraw("Kitchen");
    ASSERT_TRUE(runUntil([&] { return !log.has("Kitchen"); }));
    for (const auto& event : log.events) {
        EXPECT_EQ(event.record.type, kDNSServiceType_PTR);
        EXPECT_EQ(event.record.recordClass, kDNSServiceClass_IN);
        EXPECT_EQ(canonical(event.record.name), canonical(instances().name));
        EXPECT_EQ(event.record.interface, world().interface());
        EXPECT_EQ(event.transport, Transport::IPv4);
        EXPECT_LE(event.record.ttl, LongestTtl);
    }
}

TEST_F(QueryContract, EndedOneIsNotCalledBack)
{
    announceAndCache("Kitchen");
    RecordLog ended;
    auto query = browse(ended);
    end(query.started);
    RecordLog other;
    const auto otherQuery = browse(other);
    ASSERT_TRUE(runUntil([&] { return other.has("Kitchen"); }));
    EXPECT_EQ(ended.calls, 0);
}

TEST_F(QueryContract, ListenerEndsItsQueryInACall)
{
    announceAndCache("Kitchen");
    for (const int lastCall : {1, 2}) { // of a record, and of the end of the cache
        RecordLog log;
        auto query = browse(log);
        log.onCall = [&] {
            if (log.calls == lastCall)
                query.started.reset();
        };
        ASSERT_TRUE(runUntil([&] { return !query.started; }));
        RecordLog other;
        const auto otherQuery = browse(other);
        ASSERT_TRUE(runUntil([&] { return other.exhausted > 0; }));
        EXPECT_EQ(log.calls, lastCall);
    }
}

TEST_F(QueryContract, ListenerEndsOthersInACall)
{
    announceAndCache("Kitchen");
    RecordLog first;
    RecordLog second;
    auto one = browse(first);
    auto another = browse(second);
    first.onCall = [&] { another.started.reset(); };
    second.onCall = [&] { one.started.reset(); };
    ASSERT_TRUE(runUntil([&] { return first.exhausted + second.exhausted > 0; }));
    EXPECT_EQ(std::min(first.calls, second.calls), 0);
}

TEST_F(QueryContract, ListenerStartsOthersInACall)
{
    announceAndCache("Kitchen");
    RecordLog first;
    RecordLog second;
    PublishLog published;
    Backend::Result<Backend::ActiveQuery> another;
    Backend::Result<Backend::Publication> publication;
    first.onCall = [&] {
        if (first.calls > 1)
            return;
        another = browse(second);
        publication = publish("Hall", published);
    };
    const auto one = browse(first);
    EXPECT_TRUE(
        runUntil([&] { return second.has("Kitchen") && published.published > 0 && first.exhausted > 0; }));
    EXPECT_EQ(first.exhausted, 1);
    EXPECT_EQ(second.exhausted, 1);
}

TEST_F(QueryContract, RefusalIsTheReturnValueAndNoCall)
{
    world().leaveNoRoom(backend());
    RecordLog refused;
    const auto query = browse(refused);
    EXPECT_EQ(query.error, BackendError::Refused);
    EXPECT_EQ(query.started, nullptr);
    world().makeRoom();
    RecordLog log;
    Backend::Result<Backend::ActiveQuery> another;
    ASSERT_TRUE(runUntil([&] {
        another = browse(log);
        return another.error == BackendError::None;
    }));
    ASSERT_TRUE(runUntil([&] { return log.exhausted > 0; }));
    EXPECT_EQ(refused.calls, 0);
    EXPECT_EQ(backend().state(), Backend::State::Running);
}

TEST_F(QueryContract, HostsAnswerWhatIsInTheCacheAlready)
{
    announceAndCache("Kitchen");
    RecordLog log;
    const auto question = askHosts(instances(), log);
    ASSERT_EQ(question.error, BackendError::None);
    ASSERT_TRUE(runUntil([&] { return log.has("Kitchen"); }));
    for (const auto& event : log.events) {
        EXPECT_EQ(event.record.interface, world().interface());
        EXPECT_FALSE(event.isCached);
    }
}

TEST_F(QueryContract, ListenerEndsItsQuestionToTheHostsInACall)
{
    announceAndCache("Kitchen");
    RecordLog log;
    auto question = askHosts(instances(), log);
    log.onCall = [&] { question.started.reset(); };
    ASSERT_TRUE(runUntil([&] { return !question.started; }));
    RecordLog other;
    const auto otherQuestion = askHosts(instances(), other);
    ASSERT_TRUE(runUntil([&] { return other.has("Kitchen"); }));
    EXPECT_EQ(log.calls, 1);
}
