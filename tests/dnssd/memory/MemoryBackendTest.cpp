// SPDX-License-Identifier: MIT
//
// What the network in memory does beyond the contract: the very events, and what is left of what has gone.
#include "MemoryBackend.h"

#include "ManualClock.h"
#include "dns_sd.h"

#include <gtest/gtest.h>

#include <utility>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

using Told = std::vector<std::string>;

const Labels Type{"_demo", "_tcp"};
const Labels Domain{"local"};
const Labels Kitchen{"Kitchen", "_demo", "_tcp", "local"};

/// Notes what it is told: "+a" and "-a" for records, "." for the end of the cache.
class Notes final : public RecordListener, public PublishListener, public ResolveListener
{
public:
    Told take() { return std::exchange(m_told, {}); }
    std::function<void()> onCall = [] {};

private:
    void note(const std::string& what)
    {
        m_told.push_back(what);
        onCall();
    }
    void onRecord(const RecordEvent& event) override
    {
        note((event.isPresent ? "+" : "-") + event.record.data);
    }
    void onCacheExhausted() override { note("."); }
    void onQueryFailed(BackendError) override { note("query failed"); }
    void onPublished() override { note("published"); }
    void onNameConflict() override { note("conflict"); }
    void onPublishFailed(BackendError) override { note("publish failed"); }
    void onResolved(const ResolvedService& service) override { note(std::to_string(service.port)); }
    void onResolveFailed() override { note("unresolved"); }

    Told m_told;
};

class MemoryBackendTest : public testing::Test, private Backend::StateListener
{
protected:
    MemoryBackendTest()
    {
        backend.setInUse(true);
        settle();
    }
    void settle() { clock.advance(loop, 1ms); }

    auto askTexts(RecordListener& listener)
    {
        return backend.startQuery({Kitchen, kDNSServiceType_TXT, kDNSServiceClass_IN, 0, {}}, listener);
    }
    auto publish(const std::string& txt, PublishListener& listener)
    {
        return backend.publish({"Kitchen", Type, {}, Domain, {}, 0, 8080, txt}, listener);
    }
    /// On an interface each, so that there may be several.
    void publishElsewhere(const std::string& txt, uint32_t interface)
    {
        backend.otherHosts().publish(
            {{"Kitchen", Type, {}, Domain, {"hostb", "local"}, interface, 8080, txt}, {{10, 1, 1, 2}}});
    }

    ManualClock clock;
    EventLoop loop{clock};
    MemoryBackend backend{loop, *this};
    Notes notes;

private:
    void onBackendState(Backend::State) override {}
};

} // namespace

TEST_F(MemoryBackendTest, HoldsNothingBack)
{
    const QueryPacing pacing = backend.pacing();
    for (const auto wait :
         {pacing.cachePassLimit, pacing.deferredPause, pacing.deferredInterval, pacing.watchDelay})
        EXPECT_EQ(wait, 0ms);
    EXPECT_EQ(pacing.resolvesWithAddress, 0U);
}

TEST_F(MemoryBackendTest, TellsWhatIsThereTheNewestFirst)
{
    publishElsewhere("a", 11);
    publishElsewhere("b", 12);
    publishElsewhere("c", 13);
    const auto query = askTexts(notes);
    settle();
    EXPECT_EQ(notes.take(), (Told{"+c", "+b", "+a", "."}));
}

TEST_F(MemoryBackendTest, TellsEachChangeOnceAndWhatIsNewFirst)
{
    const auto query = askTexts(notes);
    settle();
    EXPECT_EQ(notes.take(), Told{"."});
    publishElsewhere("a", 11);
    settle();
    publishElsewhere("a", 0);
    settle();
    EXPECT_EQ(notes.take(), (Told{"+a", "+a"})) << "on two interfaces";
    publishElsewhere("b", 11);
    settle();
    EXPECT_EQ(notes.take(), (Told{"+b", "-a"}));
    publishElsewhere("b", 11);
    backend.otherHosts().withdraw({"Hall", "_demo", "_tcp", "local"}, 0);
    settle();
    EXPECT_EQ(notes.take(), Told());
}

TEST_F(MemoryBackendTest, IdenticalRecordsAreOneUntilBothAreGone)
{
    Notes published;
    const auto query = askTexts(notes);
    auto first = publish("a", published);
    auto second = publish("a", published);
    settle();
    EXPECT_EQ(published.take(), (Told{"published", "published"}));
    EXPECT_EQ(notes.take(), (Told{".", "+a"}));
    first.started.reset();
    settle();
    EXPECT_EQ(notes.take(), Told());
    second.started.reset();
    settle();
    EXPECT_EQ(notes.take(), Told{"-a"});
}

TEST_F(MemoryBackendTest, WhatWasStartedIsNotCalledOnceItIsShutDown)
{
    publishElsewhere("a", 0);
    const auto query = askTexts(notes);
    const auto service = backend.publish({"Hall", Type, {}, Domain, {}, 0, 8080, "b"}, notes);
    const auto record = backend.publishRecord(
        {{"hall", "local"}, kDNSServiceType_A, 0, {10, 0, 0, 1}, 120, PublishedRecord::Claim::Unique}, notes);
    const auto resolve = backend.resolveOnce(Kitchen, 0, Transport::IPv4, false, notes);
    ASSERT_TRUE(query.started && service.started && record.started && resolve.started);
    backend.shutDown(1s);
    settle();
    EXPECT_EQ(notes.take(), Told());
    service.started->update("c");
    record.started->update({10, 0, 0, 2}, 120);
    EXPECT_TRUE(backend.network().find({{"hall", "local"}, kDNSServiceType_ANY, 1, 0, {}}).empty());
}

TEST_F(MemoryBackendTest, StaysAwayOnceItIsShutDown)
{
    backend.shutDown(1s);
    backend.setResponderThere(true);
    settle();
    EXPECT_EQ(backend.state(), Backend::State::Absent);
}

TEST_F(MemoryBackendTest, EndOfAQueryOfAnEarlierResponderEndsNoOther)
{
    auto earlier = askTexts(notes);
    settle();
    backend.setResponderThere(false);
    settle();
    backend.setResponderThere(true);
    settle();
    notes.take();
    const auto later = askTexts(notes);
    earlier.started.reset();
    publishElsewhere("a", 0);
    settle();
    EXPECT_EQ(notes.take(), (Told{"+a", "."}));
}

TEST_F(MemoryBackendTest, NothingIsPublishedAfterAConflict)
{
    const auto query = askTexts(notes);
    const auto own = publish("a", notes);
    settle();
    EXPECT_EQ(notes.take(), (Told{".", "published", "+a"}));
    publishElsewhere("b", 0);
    settle();
    EXPECT_EQ(notes.take(), (Told{"+b", "-a", "conflict"}));
    own.started->update("c");
    settle();
    EXPECT_EQ(notes.take(), Told());
}

TEST_F(MemoryBackendTest, ListenerEndsItsQuestionToTheHostsInTheFirstOfTwoAnswers)
{
    publishElsewhere("a", 11);
    publishElsewhere("b", 12);
    auto question = backend.askHosts({Kitchen, kDNSServiceType_TXT, kDNSServiceClass_IN, 0, {}}, notes);
    notes.onCall = [&] { question.started.reset(); };
    settle();
    EXPECT_EQ(notes.take(), Told{"+a"});
}

TEST_F(MemoryBackendTest, ResolveOfWhatIsNotThereFails)
{
    const auto missing = backend.resolveOnce(Kitchen, 0, Transport::IPv4, false, notes);
    settle();
    EXPECT_EQ(notes.take(), Told{"unresolved"});
    backend.otherHosts().publish({{"Kitchen", Type, {}, Domain, {"hostb", "local"}, 0, 8080, "a"}, {}});
    const auto without = backend.resolveOnce(Kitchen, 0, Transport::IPv4, false, notes);
    const auto with = backend.resolveOnce(Kitchen, 0, Transport::IPv4, true, notes);
    settle();
    EXPECT_EQ(notes.take(), (Told{"8080", "unresolved"}));
}
