// SPDX-License-Identifier: MIT
#include "IoWatch.h"

#include "LoopTest.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <memory>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

struct SocketPair
{
    SocketPair()
    {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        near.emplace(ends[0]);
        far.emplace(ends[1]);
    }
    void sendFromFar() const { EXPECT_EQ(write(far->get(), "x", 1), 1); }
    void receiveNear() const
    {
        char byte = 0;
        EXPECT_EQ(read(near->get(), &byte, 1), 1);
    }

    std::optional<FileDescriptor> near;
    std::optional<FileDescriptor> far;
};

class IoWatchTest : public LoopTest
{
protected:
    SocketPair sockets;
    int near = sockets.near->get();
};

} // namespace

TEST_F(IoWatchTest, IsCalledWhileItsDescriptorIsReady)
{
    uint32_t seen = 0;
    const IoWatch watch(loop, near, EPOLLIN, [&](uint32_t events) {
        seen = events;
        order += "r";
        sockets.receiveNear();
    });
    EXPECT_EQ(watch.descriptor(), near);
    settle();
    EXPECT_EQ(order, "");
    sockets.sendFromFar();
    sockets.sendFromFar();
    settle();
    EXPECT_EQ(order, "rr");
    EXPECT_EQ(seen, uint32_t(EPOLLIN));
}

TEST_F(IoWatchTest, IsCalledForItsOwnEventsAlone)
{
    std::unique_ptr<IoWatch> writer;
    const IoWatch reader(loop, near, EPOLLIN, [&](uint32_t events) {
        EXPECT_EQ(events, uint32_t(EPOLLIN));
        order += "r";
        sockets.receiveNear();
    });
    writer = std::make_unique<IoWatch>(loop, near, EPOLLOUT, [&](uint32_t events) {
        EXPECT_EQ(events, uint32_t(EPOLLOUT));
        order += "w";
        writer->setEvents(0);
    });
    settle();
    EXPECT_EQ(order, "w");
    sockets.sendFromFar();
    writer->setEvents(EPOLLOUT);
    settle();
    EXPECT_EQ(order, "wrw");
    writer.reset();
    sockets.sendFromFar();
    settle();
    EXPECT_EQ(order, "wrwr") << "the other one stays";
}

TEST_F(IoWatchTest, IsNotCalledOnceItHasEnded)
{
    {
        const IoWatch watch(loop, near, EPOLLIN, [&](uint32_t) { order += "r"; });
    }
    sockets.sendFromFar();
    settle();
    EXPECT_EQ(order, "");
}

TEST_F(IoWatchTest, MayEndItselfInItsCall)
{
    std::unique_ptr<IoWatch> watch;
    watch = std::make_unique<IoWatch>(loop, near, EPOLLIN, [&](uint32_t) {
        order += "r";
        watch.reset();
    });
    sockets.sendFromFar();
    settle();
    EXPECT_EQ(order, "r");
}

TEST_F(IoWatchTest, MayEndAnotherOfItsDescriptorInItsCall)
{
    std::unique_ptr<IoWatch> second;
    const IoWatch first(loop, near, EPOLLIN, [&](uint32_t) {
        order += "1";
        second.reset();
        sockets.receiveNear();
    });
    second = std::make_unique<IoWatch>(loop, near, EPOLLIN, [&](uint32_t) { order += "2"; });
    sockets.sendFromFar();
    settle();
    EXPECT_EQ(order, "1");
}

TEST_F(IoWatchTest, MayEndOneOfAnotherReadyDescriptorInItsCall)
{
    const SocketPair others;
    std::unique_ptr<IoWatch> first, second;
    first = std::make_unique<IoWatch>(loop, near, EPOLLIN, [&](uint32_t) {
        order += "1";
        second.reset();
        first.reset();
    });
    second = std::make_unique<IoWatch>(loop, others.near->get(), EPOLLIN, [&](uint32_t) {
        order += "2";
        first.reset();
        second.reset();
    });
    sockets.sendFromFar();
    others.sendFromFar();
    settle();
    EXPECT_EQ(order.size(), 1U) << order;
}

TEST_F(IoWatchTest, MayStartAnotherOfItsDescriptorInItsCall)
{
    std::unique_ptr<IoWatch> second;
    const IoWatch first(loop, near, EPOLLIN, [&](uint32_t) {
        order += "1";
        sockets.receiveNear();
        if (!second)
            second = std::make_unique<IoWatch>(loop, near, EPOLLIN, [&](uint32_t) { order += "2"; });
    });
    sockets.sendFromFar();
    settle();
    EXPECT_EQ(order, "1");
    sockets.sendFromFar();
    settle();
    EXPECT_EQ(order, "112");
}

TEST_F(IoWatchTest, HearsOfAHangUp)
{
    std::unique_ptr<IoWatch> watch;
    uint32_t seen = 0;
    watch = std::make_unique<IoWatch>(loop, near, EPOLLOUT, [&](uint32_t events) {
        seen |= events;
        watch.reset();
    });
    sockets.far.reset();
    settle();
    EXPECT_EQ(seen, uint32_t(EPOLLOUT | EPOLLHUP));
}

TEST_F(IoWatchTest, WithoutEventsIsNotCalledForAHangUp)
{
    IoWatch watch(loop, near, EPOLLIN, [&](uint32_t) { order += "r"; });
    watch.setEvents(0);
    sockets.far.reset();
    settle();
    EXPECT_EQ(order, "");
    EXPECT_EQ(watch.events(), 0U);
}

TEST_F(IoWatchTest, WithoutEventsLetsTheSystemWait)
{
    IoWatch watch(loop, near, EPOLLIN, [](uint32_t) {});
    watch.setEvents(0);
    sockets.far.reset();
    const auto start = Clock::steady().now();
    EXPECT_TRUE(loop.poller().wait(20));
    EXPECT_EQ(loop.poller().notifyReady(), 0);
    EXPECT_GE(Clock::steady().now() - start, 20ms) << "the hang-up is reported over and over";
}
