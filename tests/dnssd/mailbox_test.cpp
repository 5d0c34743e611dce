// SPDX-License-Identifier: MIT
#include <Mailbox.h>

#include <gtest/gtest.h>
#include <poll.h>

#include <thread>

using namespace vesk::dnssd;

namespace {

bool isReadable(const Mailbox& mailbox)
{
    pollfd descriptor{mailbox.descriptor(), POLLIN, 0};
    return poll(&descriptor, 1, 0) == 1;
}

const Reply Nothing = [](DNSServiceFlags) {};

} // namespace

TEST(Mailbox, IsReadableExactlyWhileAReplyWaits)
{
    Mailbox mailbox;
    EXPECT_FALSE(isReadable(mailbox));
    mailbox.put(Nothing);
    mailbox.put(Nothing);
    EXPECT_TRUE(isReadable(mailbox));
    mailbox.take();
    EXPECT_TRUE(isReadable(mailbox));
    mailbox.take();
    EXPECT_FALSE(isReadable(mailbox));
    mailbox.put(Nothing);
    EXPECT_TRUE(isReadable(mailbox));
}

TEST(Mailbox, SaysMoreComingWithAllRepliesButTheLast)
{
    Mailbox mailbox;
    for (int i = 0; i < 3; ++i)
        mailbox.put(Nothing);
    EXPECT_EQ(mailbox.take()->moreComing, static_cast<DNSServiceFlags>(kDNSServiceFlagsMoreComing));
    EXPECT_EQ(mailbox.take()->moreComing, static_cast<DNSServiceFlags>(kDNSServiceFlagsMoreComing));
    EXPECT_EQ(mailbox.take()->moreComing, 0U);
}

TEST(Mailbox, KeepsTheOrder)
{
    Mailbox mailbox;
    std::string order;
    for (const char c : {'a', 'b', 'c'})
        mailbox.put([&order, c](DNSServiceFlags) { order += c; });
    for (int i = 0; i < 3; ++i)
        mailbox.take()->reply(0);
    EXPECT_EQ(order, "abc");
}

TEST(Mailbox, WaitsForAReply)
{
    Mailbox mailbox;
    std::thread writer([&] { mailbox.put(Nothing); });
    EXPECT_TRUE(mailbox.take());
    writer.join();
}

TEST(Mailbox, WakesWhoWaitsWhenItIsClosed)
{
    Mailbox mailbox;
    std::thread closer([&] { mailbox.close(); });
    EXPECT_FALSE(mailbox.take());
    closer.join();
}

TEST(Mailbox, DropsRepliesOnceClosed)
{
    Mailbox mailbox;
    mailbox.put(Nothing);
    mailbox.close();
    mailbox.put(Nothing);
    EXPECT_FALSE(mailbox.take());
    EXPECT_EQ(mailbox.descriptor(), -1);
}
