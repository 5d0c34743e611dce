// SPDX-License-Identifier: MIT
#include "EventDescriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>

using namespace vesk::dnssd;

namespace {

bool isReadable(const EventDescriptor& event)
{
    pollfd descriptor{event.get(), POLLIN, 0};
    return poll(&descriptor, 1, 0) == 1;
}

} // namespace

TEST(EventDescriptor, IsReadableFromSetToClear)
{
    const EventDescriptor event;
    EXPECT_FALSE(isReadable(event));
    event.set();
    event.set();
    EXPECT_TRUE(isReadable(event));
    event.clear();
    EXPECT_FALSE(isReadable(event));
    event.clear(); // does not wait
    EXPECT_FALSE(isReadable(event));
}

TEST(EventDescriptor, IsClosedInExecutedPrograms)
{
    const EventDescriptor event;
    EXPECT_EQ(fcntl(event.get(), F_GETFD), FD_CLOEXEC);
}

TEST(EventDescriptor, HasNoNumberOnceClosed)
{
    EventDescriptor event;
    const int descriptor = event.get();
    event.close();
    EXPECT_EQ(event.get(), -1);
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
    event.close();
}
