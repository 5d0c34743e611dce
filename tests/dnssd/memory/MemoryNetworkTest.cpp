// SPDX-License-Identifier: MIT
#include "MemoryNetwork.h"

#include "dns_sd.h"

#include <net/if.h>

#include <gtest/gtest.h>

#include <memory>

using namespace vesk::dnssd;

namespace {

using NamedInterface = struct if_nameindex;
using Claim = PublishedRecord::Claim;
using Host = MemoryNetwork::Host;

constexpr uint32_t Loopback = 1;
constexpr uint32_t Lan1 = 11; // no interface of that index is needed
constexpr uint32_t Lan2 = 12;

const Labels Name{"Kitchen", "local"};

PublishedRecord record(const std::string& data, Claim claim = Claim::Unique, uint32_t interface = 0,
                       uint16_t type = kDNSServiceType_TXT)
{
    return {Name, type, interface, data, 120, claim};
}

class MemoryNetworkTest : public testing::Test
{
protected:
    class Holder final : public MemoryNetwork::Holder
    {
    public:
        Holder(MemoryNetworkTest& test, Host host, const std::vector<PublishedRecord>& records)
            : m_test(test)
        {
            m_test.network.add(*this, host, records);
        }
        ~Holder() override { m_test.network.remove(*this); }
        Holder(const Holder&) = delete;
        Holder& operator=(const Holder&) = delete;

        int conflicts = 0;

    private:
        void onNameConflict() override { ++conflicts; }

        MemoryNetworkTest& m_test;
    };
    using Held = std::unique_ptr<Holder>;

    Held publish(const std::vector<PublishedRecord>& records)
    {
        auto holder = std::make_unique<Holder>(*this, Host::This, records);
        network.announce(*holder);
        return holder;
    }
    Held publishElsewhere(const std::vector<PublishedRecord>& records)
    {
        return std::make_unique<Holder>(*this, Host::Other, records);
    }
    std::string found(uint32_t interface = 0, uint16_t type = kDNSServiceType_ANY)
    {
        std::string data;
        for (const Record& one : network.find({Name, type, kDNSServiceClass_IN, interface, {}}))
            data += one.data;
        return data;
    }

    int changes = 0;
    MemoryNetwork network{[this] { ++changes; }};
};

} // namespace

TEST_F(MemoryNetworkTest, AnswersWithRecordsOfNameAndTypeInTheirOrder)
{
    const auto held = publishElsewhere({record("b"), record("a", Claim::Shared, 0, kDNSServiceType_A)});
    const auto further = publishElsewhere({record("c")});
    EXPECT_EQ(found(), "bac");
    EXPECT_EQ(found(0, kDNSServiceType_TXT), "bc");
    EXPECT_EQ(network.find({{"KITCHEN", "local"}, kDNSServiceType_A, 255, 0, {}}).size(), 1U);
    EXPECT_TRUE(network.find({{"Hall", "local"}, kDNSServiceType_ANY, 1, 0, {}}).empty());
    EXPECT_TRUE(network.find({Name, kDNSServiceType_ANY, 3, 0, {}}).empty()) << "of another class";
}

TEST_F(MemoryNetworkTest, RecordOfAnInterfaceIsThereAloneAndAnyOtherWhereThereIsOne)
{
    const auto one = publishElsewhere({record("1", Claim::Unique, Lan1)});
    const auto any = publishElsewhere({record("*")});
    EXPECT_EQ(found(), "1*");
    EXPECT_EQ(found(Loopback), "*");
    EXPECT_EQ(found(Lan1), "1");
    EXPECT_EQ(found(Lan2), "");
    const auto records = network.find({Name, kDNSServiceType_TXT, 1, 0, {}});
    EXPECT_EQ(records[0].interface, Lan1);
    EXPECT_EQ(records[1].interface, Loopback);
}

TEST_F(MemoryNetworkTest, RecordOfNoInterfaceIsOnEachOneOfTheMachine)
{
    const auto any = publishElsewhere({record("*")});
    const std::unique_ptr<NamedInterface[], decltype(&if_freenameindex)> all(if_nameindex(),
                                                                             if_freenameindex);
    for (int i = 0; all[i].if_index != 0; ++i) {
        const auto records = network.find({Name, kDNSServiceType_TXT, 1, all[i].if_index, {}});
        ASSERT_EQ(records.size(), 1U);
        EXPECT_EQ(records[0].interface, all[i].if_index);
    }
}

TEST_F(MemoryNetworkTest, RecordsOfThisHostAreHeardOnceTheyAreAnnounced)
{
    Holder holder(*this, Host::This, {record("a")});
    EXPECT_EQ(found(), "");
    network.announce(holder);
    EXPECT_EQ(found(), "a");
    network.replace(holder, kDNSServiceType_TXT, "b", 60);
    EXPECT_EQ(found(), "b");
    network.replace(holder, kDNSServiceType_A, "c", 60);
    EXPECT_EQ(found(), "b");
    network.removeThisHosts();
    EXPECT_EQ(found(), "");
    network.replace(holder, kDNSServiceType_TXT, "d", 60);
    EXPECT_EQ(found(), "");
}

TEST_F(MemoryNetworkTest, EveryChangeIsToldAndGivesTheNameAnotherVersion)
{
    const std::string name = canonical(Name);
    std::vector<uint64_t> versions{network.versionOf(name)};
    int told = 0;
    const auto expectChange = [&] {
        EXPECT_GT(changes, told);
        told = changes;
        for (const uint64_t version : versions)
            EXPECT_TRUE(version == 0 || version != network.versionOf(name));
        versions.push_back(network.versionOf(name));
    };
    for (int round = 0; round < 2; ++round) {
        auto held = publishElsewhere({record("a")});
        expectChange();
        network.setConnected(false);
        expectChange();
        network.setConnected(true);
        expectChange();
        held.reset();
        EXPECT_GT(changes, told);
        EXPECT_EQ(network.versionOf(name), 0U) << "there is nothing";
    }
}

TEST_F(MemoryNetworkTest, OtherHostsAreNotHeardWhileItIsAway)
{
    const auto own = publish({record("own", Claim::Shared)});
    const auto other = publishElsewhere({record("other", Claim::Shared)});
    network.setConnected(false);
    EXPECT_EQ(found(), "own");
    const auto later = publishElsewhere({record("later", Claim::Shared)});
    EXPECT_EQ(found(), "own");
    network.setConnected(true);
    EXPECT_EQ(found(), "ownotherlater");
}

TEST_F(MemoryNetworkTest, NameOfThisHostIsTakenForOtherDataWhereOneIsUnique)
{
    const Holder unique(*this, Host::This, {record("a", Claim::Unique, Lan1)});
    EXPECT_FALSE(network.isTakenHere({record("a")})) << "the same";
    EXPECT_TRUE(network.isTakenHere({record("b")}));
    EXPECT_TRUE(network.isTakenHere({record("b", Claim::Shared)}));
    EXPECT_TRUE(network.isTakenHere({record("b", Claim::KnownUnique, Lan1)}));
    EXPECT_FALSE(network.isTakenHere({record("b", Claim::Unique, Lan2)}));
    EXPECT_FALSE(network.isTakenHere({record("b", Claim::Unique, 0, kDNSServiceType_A)}));
    network.allowFurther(unique, kDNSServiceType_TXT);
    EXPECT_FALSE(network.isTakenHere({record("b", Claim::Shared)}));
    EXPECT_TRUE(network.isTakenHere({record("b")}));
}

TEST_F(MemoryNetworkTest, SharedRecordsLieBesideEachOther)
{
    const auto own = publish({record("a", Claim::Shared)});
    const auto other = publishElsewhere({record("b", Claim::Shared)});
    EXPECT_FALSE(network.isTakenHere({record("c", Claim::Shared)}));
    EXPECT_TRUE(network.isTakenHere({record("c")}));
    EXPECT_EQ(own->conflicts, 0);
}

TEST_F(MemoryNetworkTest, UniqueRecordIsInConflictWithOtherDataOfAnotherHost)
{
    const auto same = publishElsewhere({record("a")});
    const Holder holder(*this, Host::This, {record("a")});
    EXPECT_FALSE(network.isInConflict(holder));
    const auto other = publishElsewhere({record("b", Claim::Shared)});
    EXPECT_TRUE(network.isInConflict(holder));
    EXPECT_EQ(holder.conflicts, 0) << "it is not announced: it looks for conflicts by itself";
    network.setConnected(false);
    EXPECT_FALSE(network.isInConflict(holder));
}

TEST_F(MemoryNetworkTest, ConflictIsToldTheAnnouncedOnceWhenItComes)
{
    const auto unique = publish({record("a"), record("a", Claim::Unique, 0, kDNSServiceType_A)});
    const auto known = publish({record("a", Claim::KnownUnique)});
    const auto other = publishElsewhere({record("b"), record("b", Claim::Shared, 0, kDNSServiceType_A)});
    EXPECT_EQ(unique->conflicts, 1);
    EXPECT_EQ(known->conflicts, 0);
    EXPECT_EQ(other->conflicts, 0);
}

TEST_F(MemoryNetworkTest, ConflictIsToldWhenTheNetworkIsBack)
{
    const auto unique = publish({record("a")});
    network.setConnected(false);
    const auto other = publishElsewhere({record("b")});
    EXPECT_EQ(unique->conflicts, 0);
    network.setConnected(true);
    EXPECT_EQ(unique->conflicts, 1);
}
