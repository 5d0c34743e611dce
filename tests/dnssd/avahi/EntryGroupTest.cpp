// SPDX-License-Identifier: MIT
//
// What is published as entry groups is updated only once it is published.
#include "RecordGroup.h"
#include "ServiceGroup.h"

#include "ManualClock.h"
#include "dns_sd.h"

#include <gtest/gtest.h>

#include <avahi-common/error.h>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

std::string log; ///< what libavahi and the listener are told, in its order

/// A group of a libavahi that succeeds in everything.
class PlayedGroup final : public EntryGroup
{
public:
    PlayedGroup(EventLoop& loop, PublishListener& listener)
        : EntryGroup(loop, listener)
    {
    }
    using EntryGroup::onState;

    bool isThere() const override { return true; }
    std::string hostName() const override { return "hosta.local"; }
    int addRecord(const RecordEntry& record) override
    {
        const bool isUpdate = (record.flags & AVAHI_PUBLISH_UPDATE) != 0;
        return say((isUpdate ? "update=" : "add=") + record.data);
    }
    int addService(const ServiceEntry&, const std::string&, uint16_t, AvahiStringList*) override
    {
        return say("add");
    }
    int addSubtype(const ServiceEntry&, const std::string&) override { return say("subtype"); }
    int updateTxt(const ServiceEntry&, AvahiStringList* txt) override
    {
        return say("update=" + std::string(reinterpret_cast<char*>(txt->text), txt->size));
    }
    int commit() override { return say("commit"); }

private:
    static int say(const std::string& what)
    {
        log += what + ' ';
        return AVAHI_OK;
    }
};

class EntryGroupTest : public testing::Test, protected EntryGroups, protected PublishListener
{
protected:
    EntryGroupTest() { log.clear(); }

    Made makeGroup(PublishListener& listener) override
    {
        auto made = std::make_unique<PlayedGroup>(loop, listener);
        group = made.get();
        return {AVAHI_OK, std::move(made)};
    }
    void onPublished() override { log += "published "; }
    void onNameConflict() override { log += "conflict "; }
    void onPublishFailed(BackendError) override { log += "failed "; }

    void establish()
    {
        group->onState(AVAHI_ENTRY_GROUP_ESTABLISHED, AVAHI_OK);
        loop.runUntilIdle();
    }

    ManualClock clock;
    EventLoop loop{clock};
    PlayedGroup* group = nullptr;
};

Service kitchen()
{
    return {"Kitchen", {"_demo", "_tcp"}, {}, {"local"}, {}, 0, 8080, std::string(1, '\0')};
}

PublishedRecord record(PublishedRecord::Claim claim)
{
    return {{"name", "local"}, kDNSServiceType_TXT, 0, "a", 120, claim};
}

} // namespace

TEST_F(EntryGroupTest, LastTxtUpdateOfAServiceWaitsUntilItIsPublished)
{
    ServiceGroup service(loop, kitchen());
    ASSERT_EQ(service.start(*this, kitchen(), *this), AVAHI_OK);
    service.update("\1a");
    service.update("\1b");
    clock.advance(loop, std::chrono::seconds(1));
    EXPECT_EQ(log, "add commit ");
    establish();
    EXPECT_EQ(log, "add commit update=b published ");
}

TEST_F(EntryGroupTest, UpdateOfAPublishedServiceIsPassedOnAtOnce)
{
    ServiceGroup service(loop, kitchen());
    ASSERT_EQ(service.start(*this, kitchen(), *this), AVAHI_OK);
    establish();
    service.update("\1a");
    EXPECT_EQ(log, "add commit published update=a ");
}

TEST_F(EntryGroupTest, LastUpdateOfAUniqueRecordWaitsUntilItIsPublished)
{
    RecordGroup published(*this, record(PublishedRecord::Claim::Unique), *this);
    ASSERT_EQ(published.start(record(PublishedRecord::Claim::Unique)), AVAHI_OK);
    published.update("b", 120);
    published.update("c", 120);
    EXPECT_EQ(log, "add=a commit ");
    establish();
    EXPECT_EQ(log, "add=a commit update=c published ");
    published.update("d", 120);
    EXPECT_EQ(log, "add=a commit update=c published update=d ");
}

/// It is not probed for.
TEST_F(EntryGroupTest, UpdateOfASharedRecordIsPublishedAtOnce)
{
    RecordGroup published(*this, record(PublishedRecord::Claim::Shared), *this);
    ASSERT_EQ(published.start(record(PublishedRecord::Claim::Shared)), AVAHI_OK);
    published.update("b", 120);
    EXPECT_EQ(log, "add=a commit add=b commit ");
}
