// SPDX-License-Identifier: MIT
#include "RecordSet.h"

#include "Records.h"

#include <gtest/gtest.h>

#include <utility>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

/// Notes what it is told: "+a" and "-a" for records, "~a" for a repeated one, "?" for the wish to settle,
/// "+4a" for a transport.
class RecordSetTest : public testing::Test, private RecordSet::Observer
{
protected:
    static Record text(const std::string& data, uint32_t interface = Lan1)
    {
        return txtOf("Kitchen", data, interface);
    }
    void add(const std::string& data, Transport transport = Transport::IPv4, uint32_t interface = Lan1)
    {
        records.add(text(data, interface), transport, false);
    }
    void remove(const std::string& data, Transport transport = Transport::IPv4, uint32_t interface = Lan1)
    {
        records.remove(text(data, interface), transport);
    }
    /// The responder tells what it has cached, the newest first.
    void readCache(const std::vector<std::string>& cached, Transport transport = Transport::IPv4)
    {
        records.beginCache();
        for (const std::string& data : cached)
            records.add(text(data), transport, true);
        records.endCache();
    }
    std::string reported()
    {
        std::string all;
        for (const Record* record : records.reported())
            all += record->data;
        return all;
    }
    RecordSet::Observer& observer() { return *this; }
    std::vector<std::string> taken() { return std::exchange(told, {}); }

    Query query{Labels{"Kitchen"} + DemoType, kDNSServiceType_TXT, kDNSServiceClass_IN, 0, {}};
    RecordSet records{query, *this};
    std::vector<std::string> told;
    std::vector<std::string> heard;
    bool lastIsCached = false;
    std::string gone; ///< the data of a record that counts as gone

private:
    void onReport(const RecordEvent& event) override
    {
        told.push_back((event.isRepeated ? "~" : event.isPresent ? "+" : "-") + event.record.data);
        lastIsCached = event.isCached;
    }
    bool keepsBack(const Record& record) override { return record.data == gone; }
    void onUnsettled() override { told.push_back("?"); }
    void onHeard(const Record& record, Transport transport, bool isHeard) override
    {
        heard.push_back((isHeard ? "+" : "-") + std::string(transport == Transport::IPv4 ? "4" : "6") +
                        record.data);
    }
};

using Told = std::vector<std::string>;

} // namespace

TEST_F(RecordSetTest, ReportsARecordOnceWhateverTheTransports)
{
    EXPECT_TRUE(records.isEmpty());
    add("a");
    add("a");
    add("a", Transport::IPv6);
    EXPECT_EQ(taken(), Told{"+a"});
    EXPECT_EQ(records.size(), 1U);
    remove("a");
    EXPECT_EQ(taken(), Told());
    remove("a", Transport::IPv6);
    EXPECT_EQ(taken(), Told{"-a"});
    EXPECT_TRUE(records.isEmpty());
}

TEST_F(RecordSetTest, TellsEachTransportOnce)
{
    add("a");
    add("a");
    add("a", Transport::IPv6);
    remove("a");
    remove("a");
    remove("a", Transport::IPv6);
    EXPECT_EQ(heard, (Told{"+4a", "+6a", "-4a", "-6a"}));
}

TEST_F(RecordSetTest, KeepsInterfacesApart)
{
    add("a", Transport::IPv4, Lan1);
    add("a", Transport::IPv4, Lan2);
    EXPECT_EQ(records.size(), 2U);
    remove("a", Transport::IPv4, Lan1);
    EXPECT_EQ(taken(), (Told{"+a", "+a", "-a"}));
}

TEST_F(RecordSetTest, IgnoresTheRemovalOfARecordItDoesNotHold)
{
    remove("a");
    EXPECT_EQ(taken(), Told());
}

TEST_F(RecordSetTest, SaysWhetherARecordWasCached)
{
    records.add(text("a"), Transport::IPv4, true);
    EXPECT_TRUE(lastIsCached);
    records.add(text("b"), Transport::IPv4, false);
    EXPECT_FALSE(lastIsCached);
}

TEST_F(RecordSetTest, ListsReportedRecordsInTheOrderOfArrival)
{
    for (const char* data : {"c", "a", "b"})
        add(data);
    EXPECT_EQ(reported(), "cab");
}

TEST_F(RecordSetTest, RepeatsTheTextThatHoldsAgainOnceOthersHadTimeToGo)
{
    add("old");
    add("passing");
    taken();
    remove("passing");
    EXPECT_EQ(taken(), (Told{"-passing", "?"}));
    records.settle();
    EXPECT_EQ(taken(), Told{"~old"});
    EXPECT_EQ(reported(), "old");
    records.settle();
    EXPECT_EQ(taken(), Told());
}

TEST_F(RecordSetTest, RepeatsNoTextThatGoesInTime)
{
    add("old");
    add("passing");
    remove("passing");
    remove("old");
    EXPECT_EQ(taken(), (Told{"+old", "+passing", "-passing", "?", "-old"}));
    records.settle();
    EXPECT_EQ(taken(), Told());
}

TEST_F(RecordSetTest, RepeatsNoTextWhenANewerOneHasCome)
{
    add("old");
    add("passing");
    remove("passing");
    add("new");
    taken();
    records.settle();
    EXPECT_EQ(taken(), Told());
}

TEST_F(RecordSetTest, RepeatsNothingWhenReplacedTextsGoInAnyOrder)
{
    for (const char* data : {"1", "2", "3", "4", "5"})
        add(data);
    taken();
    for (const char* data : {"3", "1", "4", "2"})
        remove(data);
    EXPECT_EQ(taken(), (Told{"-3", "-1", "-4", "-2"}));
    records.settle();
    EXPECT_EQ(taken(), Told());
}

TEST_F(RecordSetTest, RepeatsTheLastOfSeveralThatAreLeft)
{
    for (const char* data : {"1", "2", "3", "4"})
        add(data);
    remove("4");
    taken();
    records.settle();
    EXPECT_EQ(taken(), Told{"~3"});
}

TEST_F(RecordSetTest, RepeatsNothingOnAnotherInterface)
{
    add("new", Transport::IPv4, Lan2);
    add("old", Transport::IPv4, Lan1);
    remove("old", Transport::IPv4, Lan1);
    EXPECT_EQ(taken(), (Told{"+new", "+old", "-old"}));
    records.settle();
    EXPECT_EQ(taken(), Told());
}

TEST_F(RecordSetTest, RepeatsNoAddresses)
{
    const Query addresses{{"hostb", "local"}, kDNSServiceType_A, kDNSServiceClass_IN, 0, {}};
    RecordSet set(addresses, observer());
    set.add(address(kDNSServiceType_A, "1111"), Transport::IPv4, false);
    set.add(address(kDNSServiceType_A, "2222"), Transport::IPv4, false);
    set.remove(address(kDNSServiceType_A, "2222"), Transport::IPv4);
    EXPECT_EQ(taken(), (Told{"+1111", "+2222", "-2222"}));
    set.settle();
    EXPECT_EQ(taken(), Told());
}

TEST_F(RecordSetTest, ReportsTheCacheWhenItHasBeenReadTheNewestLast)
{
    records.beginCache();
    for (const char* data : {"c", "b", "a"})
        records.add(text(data), Transport::IPv4, true);
    remove("b");
    EXPECT_EQ(taken(), Told());
    EXPECT_EQ(reported(), "");
    EXPECT_EQ(records.size(), 2U);
    records.endCache();
    EXPECT_EQ(taken(), (Told{"+a", "+c"}));
    EXPECT_EQ(reported(), "ac");
    EXPECT_TRUE(lastIsCached);
    records.endCache();
    EXPECT_EQ(taken(), Told());
}

TEST_F(RecordSetTest, RanksCachedRecordsOfBothTransportsByTheOneThatKnowsMore)
{
    records.beginCache();
    records.add(text("new"), Transport::IPv4, true);
    records.add(text("old"), Transport::IPv4, true);
    records.add(text("old"), Transport::IPv6, true);
    records.endCache();
    EXPECT_EQ(taken(), (Told{"+old", "+new"}));
}

TEST_F(RecordSetTest, ReportsNoCachedTextThatHasBeenReplaced)
{
    records.seed(text("new"));
    taken();
    readCache({"new", "old"});
    EXPECT_EQ(taken(), Told{"?"});
    remove("old");
    records.settle();
    EXPECT_EQ(taken(), Told());
}

TEST_F(RecordSetTest, ReportsACachedTextBesideTheLastOneWhenItStays)
{
    records.seed(text("last"));
    readCache({"last", "first"});
    taken();
    records.settle();
    EXPECT_EQ(taken(), (Told{"+first", "~last"}));
    EXPECT_EQ(reported(), "firstlast");
}

TEST_F(RecordSetTest, ReportsACachedTextThatIsNewerThanTheKnownOne)
{
    records.seed(text("old"));
    taken();
    readCache({"new", "old"});
    EXPECT_EQ(taken(), Told{"+new"});
    remove("old");
    records.settle();
    EXPECT_EQ(taken(), Told{"-old"});
}

TEST_F(RecordSetTest, RepeatsTheTextThatIsLeftWhenTheLastOneCountsAsGone)
{
    add("a");
    add("b");
    taken();
    gone = "b";
    records.reconsider();
    EXPECT_EQ(taken(), (Told{"-b", "?"}));
    records.settle();
    EXPECT_EQ(taken(), Told{"~a"});
    remove("b");
    EXPECT_EQ(taken(), Told());
}

TEST_F(RecordSetTest, DropsWhatIsNotConfirmed)
{
    add("a");
    add("b");
    EXPECT_FALSE(records.hasUnconfirmed());
    records.expectConfirmation();
    EXPECT_TRUE(records.hasUnconfirmed());
    add("b");
    EXPECT_TRUE(records.hasUnconfirmed());
    taken();
    records.dropUnconfirmed();
    EXPECT_EQ(taken(), Told{"-a"});
    EXPECT_FALSE(records.hasUnconfirmed());
}

TEST_F(RecordSetTest, ConfirmsEachTransportForItself)
{
    add("a");
    add("a", Transport::IPv6);
    records.expectConfirmation();
    add("a", Transport::IPv6);
    heard.clear();
    records.dropUnconfirmed();
    EXPECT_EQ(heard, Told{"-4a"});
    EXPECT_EQ(records.size(), 1U);
    remove("a", Transport::IPv6);
    EXPECT_TRUE(records.isEmpty());
}

TEST_F(RecordSetTest, KeepsItsRecordsWhenTransportsAreForgotten)
{
    add("a");
    add("b");
    taken();
    heard.clear();
    records.forgetTransports();
    EXPECT_EQ(heard.size(), 2U);
    EXPECT_EQ(taken(), Told());
    EXPECT_TRUE(records.hasUnconfirmed());
    add("b", Transport::IPv6);
    EXPECT_EQ(taken(), Told()) << "it was reported before";
    records.dropUnconfirmed();
    EXPECT_EQ(taken(), Told{"-a"});
}

TEST_F(RecordSetTest, TakesASeedForTheOnlyRecordUntilItIsConfirmed)
{
    add("old");
    taken();
    records.seed(text("new"));
    EXPECT_EQ(taken(), (Told{"+new", "-old"}));
    EXPECT_TRUE(records.hasUnconfirmed());
    records.seed(text("new"));
    EXPECT_EQ(taken(), Told());
    add("new");
    EXPECT_EQ(taken(), Told());
    EXPECT_FALSE(records.hasUnconfirmed());
}

TEST_F(RecordSetTest, RepeatsASeedThatAnotherTextHasReplacedMeanwhile)
{
    add("back");
    add("passing");
    taken();
    records.seed(text("back"));
    EXPECT_EQ(taken(), (Told{"~back", "-passing"}));
}

TEST_F(RecordSetTest, ReportsLoopbackOnlyWhereThereIsNothingElse)
{
    add("a", Transport::IPv4, Loopback);
    taken(); // whether that was reported depends on this machine's interfaces
    add("b", Transport::IPv4, Lan1);
    EXPECT_EQ(told.front(), "+b");
    EXPECT_EQ(reported(), "b");
}

TEST_F(RecordSetTest, ReportsLoopbackToAQueryOfThatInterface)
{
    query.interface = Loopback;
    RecordSet onLoopback(query, observer());
    onLoopback.add(text("a", Loopback), Transport::IPv4, false);
    EXPECT_EQ(taken(), Told{"+a"});
}

TEST_F(RecordSetTest, ReportsLoopbackBesideOthersWhereItIsALink)
{
    RecordSet onLinks(query, observer(), true);
    onLinks.add(text("a", Loopback), Transport::IPv4, false);
    onLinks.add(text("b", Lan1), Transport::IPv4, false);
    EXPECT_EQ(taken(), (Told{"+a", "+b"}));
}
