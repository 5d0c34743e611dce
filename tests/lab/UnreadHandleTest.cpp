// SPDX-License-Identifier: MIT
//
// An application that does not read its handles while the network changes, and then does.
#include "DnssdLab.h"

#include <gtest/gtest.h>

#include <set>

using namespace vesk::dnssd::tests;

namespace {

/// A thousand records a second come, and each goes after a second: no more than twice as many are dropped too
/// late, and the daemon is not exactly on time.
constexpr std::size_t MostThatWait = 3000;

/// The records that are there. One that holds again is reported again.
std::set<std::string> records(const RecordQuery& query)
{
    std::set<std::string> there;
    for (const auto& reply : query.replies) {
        if (reply.flags & kDNSServiceFlagsAdd)
            there.insert(reply.data);
        else
            there.erase(reply.data);
    }
    return there;
}

} // namespace

TEST(UnreadHandle, TellsTheLastTxtRecordAfterThousandsOfChanges)
{
    constexpr std::size_t Changes = 4000;
    const std::set<std::string> last{item("n=" + std::to_string(Changes - 1))};
    run("lab-daemon hostb kill");
    RecordQuery unread("Changing._demo._tcp.local.", kDNSServiceType_TXT, 0, Lan1);
    RecordQuery reader("Changing._demo._tcp.local.", kDNSServiceType_TXT, 0, Lan1);
    const Beside peer(craftOnHostb("pace=10 changes=" + std::to_string(Changes)));
    ASSERT_TRUE(waitUntil({&reader}, [&] { return records(reader) == last; }));
    unread.process();
    EXPECT_EQ(records(unread), last);
    ASSERT_GT(reader.replies.size(), 2 * MostThatWait) << "too little has happened to tell";
    EXPECT_LE(unread.replies.size(), MostThatWait);
}

TEST(UnreadHandle, ListsWhatIsThereAfterThousandsOfInstancesHaveComeAndGone)
{
    constexpr std::size_t Instances = 4000;
    run("lab-daemon hostb kill");
    Browse unread("_demo._tcp", Lan1);
    Browse reader("_demo._tcp", Lan1);
    const Beside peer(craftOnHostb("pace=10 brief=" + std::to_string(Instances) + " announce=Stays"));
    ASSERT_TRUE(waitUntil({&reader}, [&] {
        return reader.events.size() > Instances && reader.present().size() == 1 && reader.has("Stays");
    }));
    unread.process();
    EXPECT_EQ(unread.present(), reader.present());
    ASSERT_GT(reader.events.size(), 2 * MostThatWait) << "too little has happened to tell";
    EXPECT_LE(unread.events.size(), MostThatWait);
}
