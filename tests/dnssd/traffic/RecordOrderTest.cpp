// SPDX-License-Identifier: MIT
//
// The last record reported is the one that holds.
#include "Traffic.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

using RecordOrder = Traffic;

} // namespace

TEST_F(RecordOrder, TellsALateSubscriberTheNewRecordLast)
{
    RecordQuery first(Kitchen.c_str(), kDNSServiceType_TXT);
    backend().come(txtOf("Kitchen", "\3a=1"));
    backend().come(txtOf("Kitchen", "\3b=1"));
    backend().come(txtOf("Kitchen", "\3a=2"));
    settle(first);
    RecordQuery late(Kitchen.c_str(), kDNSServiceType_TXT);
    settle(late);
    ASSERT_EQ(late.replies.size(), 3U);
    EXPECT_EQ(late.replies[0].data, "\3a=1");
    EXPECT_EQ(late.replies[2].data, "\3a=2");
}

TEST_F(RecordOrder, RepeatsATextThatHoldsAgainAfterTheOneThatReplacedIt)
{
    RecordQuery query(Kitchen.c_str(), kDNSServiceType_TXT);
    backend().come(txtOf("Kitchen", "\3off"));
    backend().come(txtOf("Kitchen", "\2on"));
    backend().go(txtOf("Kitchen", "\2on")); // it has been off again since
    settle(query);
    ASSERT_EQ(query.replies.size(), 3U);
    advance(1099ms);
    settle(query);
    EXPECT_EQ(query.replies.size(), 3U);
    advance(1ms);
    settle(query);
    ASSERT_EQ(query.replies.size(), 4U);
    EXPECT_EQ(query.replies[3].data, "\3off");
    EXPECT_TRUE(query.replies[3].flags & kDNSServiceFlagsAdd);
}

TEST_F(RecordOrder, TellsNoTextAgainWhenItHasBeenReplaced)
{
    const std::vector<std::string> texts{"\1a", "\1b", "\1c", "\1d"};
    RecordQuery query(Kitchen.c_str(), kDNSServiceType_TXT);
    for (const std::string& text : texts)
        backend().come(txtOf("Kitchen", text));
    for (const std::size_t gone : {1, 0, 2})
        backend().go(txtOf("Kitchen", texts[gone]));
    settle();
    advance(1min);
    settle(query);
    ASSERT_EQ(query.replies.size(), 7U);
    for (std::size_t i = 0; i < query.replies.size(); ++i) {
        EXPECT_EQ((query.replies[i].flags & kDNSServiceFlagsAdd) != 0, i < 4);
        EXPECT_TRUE(i >= 4 || query.replies[i].data == texts[i]);
    }
}

TEST_F(RecordOrder, TellsTheNewestOfTheCacheLast)
{
    for (const char* text : {"\1a", "\1b", "\1c"})
        backend().come(txtOf("Kitchen", text));
    RecordQuery query(Kitchen.c_str(), kDNSServiceType_TXT);
    settle(query);
    ASSERT_EQ(query.replies.size(), 3U);
    EXPECT_EQ(query.replies[0].data, "\1a");
    EXPECT_EQ(query.replies[2].data, "\1c");
}

TEST_F(RecordOrder, ResolvesToTheLastTextWhateverGoesAfterIt)
{
    Resolve resolve("Kitchen", "_demo._tcp", "local");
    comeKitchen("\1a");
    for (const char* text : {"\1b", "\1c"}) {
        settle(resolve);
        backend().come(txtOf("Kitchen", text));
    }
    for (const char* text : {"\1b", "\1a"}) {
        settle(resolve);
        backend().go(txtOf("Kitchen", text));
    }
    advance(1min);
    settle(resolve);
    ASSERT_EQ(resolve.replies.size(), 3U);
    EXPECT_EQ(resolve.replies.back().txt, "\1c");
}

TEST_F(RecordOrder, OfACacheWhoseEndIsNotToldIsReportedAfterASecond)
{
    backend().setNeverExhausted(true);
    backend().come(txtOf("Kitchen", "\3a=1"));
    RecordQuery query(Kitchen.c_str(), kDNSServiceType_TXT);
    advance(999ms);
    query.process();
    EXPECT_EQ(query.replies.size(), 0U);
    advance(1ms);
    query.process();
    EXPECT_EQ(query.replies.size(), 1U);
}
