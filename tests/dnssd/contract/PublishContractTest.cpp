// SPDX-License-Identifier: MIT
#include "ContractFixture.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

class PublishContract : public Contract
{
protected:
    bool runUntilSeen(const std::string& name, const std::string& txtItem)
    {
        return runUntil([&] { return world().isSeen(name, txtItem); });
    }
    bool runUntilAddressSeen(const std::string& address)
    {
        return runUntil([&] { return world().isAddressSeen(addressName(), address); });
    }

    /// `publishUnder(name, log)` publishes something that only one host may have.
    template <typename PublishUnder>
    void expectRefusedByReturnValue(PublishUnder publishUnder)
    {
        world().takeNameHere("Kitchen");
        PublishLog log;
        const auto publication = publishUnder("Kitchen", log);
        EXPECT_EQ(publication.error, BackendError::NameConflict);
        EXPECT_EQ(publication.started, nullptr);
        PublishLog other;
        const auto another = publishUnder("Hall", other);
        ASSERT_TRUE(runUntil([&] { return other.published > 0; }));
        EXPECT_EQ(log.calls, 0);
    }
    template <typename PublishUnder>
    void expectConflictInWhichTheListenerEndsIt(PublishUnder publishUnder)
    {
        world().takeNameElsewhere("Kitchen");
        PublishLog log;
        auto publication = publishUnder("Kitchen", log);
        ASSERT_EQ(publication.error, BackendError::None);
        log.onCall = [&] {
            if (log.conflicts > 0)
                publication.started.reset();
        };
        ASSERT_TRUE(runUntil([&] { return !publication.started; }));
        EXPECT_EQ(log.conflicts, 1);
    }
    template <typename Publication>
    void expectNoCallOnceEnded(Publication publication, const PublishLog& log)
    {
        end(publication.started);
        PublishLog other;
        const auto another = publish("Hall", other);
        ASSERT_TRUE(runUntil([&] { return other.published > 0; }));
        EXPECT_EQ(log.calls, 0);
    }

    auto publishingServices()
    {
        return [this](const std::string& name, PublishLog& log) { return publish(name, log); };
    }
    auto publishingUniqueRecords()
    {
        return [this](const std::string& name, PublishLog& log) { return publishUniqueService(name, log); };
    }
};

} // namespace

TEST_F(PublishContract, ServiceIsSeenByOthersWithItsChangesUntilItEnds)
{
    PublishLog log;
    auto publication = publish("Kitchen", log);
    ASSERT_EQ(publication.error, BackendError::None);
    ASSERT_TRUE(runUntil([&] { return log.published > 0; }));
    EXPECT_TRUE(runUntilSeen("Kitchen", "a=1"));
    {
        const InCall inCall;
        publication.started->update(item("a=2"));
    }
    EXPECT_TRUE(runUntilSeen("Kitchen", "a=2"));
    end(publication.started);
    EXPECT_TRUE(runUntil([&] { return !world().isSeen("Kitchen", "a=2"); }));
    EXPECT_EQ(log.conflicts, 0);
    EXPECT_FALSE(log.error);
}

TEST_F(PublishContract, NameOfAnotherProgramOfThisHostIsRefusedByReturnValue)
{
    expectRefusedByReturnValue(publishingServices());
}

TEST_F(PublishContract, NameOfAnotherHostIsAConflictInWhichTheListenerEndsIt)
{
    expectConflictInWhichTheListenerEndsIt(publishingServices());
}

TEST_F(PublishContract, EndedOneIsNotCalledBack)
{
    PublishLog log;
    expectNoCallOnceEnded(publish("Kitchen", log), log);
}

TEST_F(PublishContract, RecordIsSeenByOthersWithItsChangesUntilItEnds)
{
    using Claim = PublishedRecord::Claim;
    for (const Claim claim : {Claim::Shared, Claim::Unique, Claim::KnownUnique}) {
        PublishLog log;
        auto publication = publishAddress(claim, log);
        ASSERT_EQ(publication.error, BackendError::None);
        ASSERT_TRUE(runUntil([&] { return log.published > 0; }));
        EXPECT_TRUE(runUntilAddressSeen({10, 0, 0, 1}));
        {
            const InCall inCall;
            publication.started->update({10, 0, 0, 2}, 120);
        }
        EXPECT_TRUE(runUntilAddressSeen({10, 0, 0, 2}));
        end(publication.started);
        EXPECT_TRUE(runUntil([&] { return !world().isAddressSeen(addressName(), {10, 0, 0, 2}); }));
        EXPECT_EQ(log.conflicts, 0);
        EXPECT_FALSE(log.error);
    }
}

TEST_F(PublishContract, UniqueRecordOfANameOfAnotherProgramOfThisHostIsRefusedByReturnValue)
{
    expectRefusedByReturnValue(publishingUniqueRecords());
}

TEST_F(PublishContract, UniqueRecordOfANameOfAnotherHostIsAConflictInWhichTheListenerEndsIt)
{
    expectConflictInWhichTheListenerEndsIt(publishingUniqueRecords());
}

TEST_F(PublishContract, EndedRecordIsNotCalledBack)
{
    PublishLog log;
    expectNoCallOnceEnded(publishAddress(PublishedRecord::Claim::Unique, log), log);
}
