// SPDX-License-Identifier: MIT
#include "EngineThread.h"

#include "ChildProcess.h"
#include "Engine.h"
#include "FakeBackend.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <csignal>
#include <future>
#include <thread>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

class EngineThread : public testing::Test
{
protected:
    EngineThread() { runInThread(engine); }
    ~EngineThread() override { engine->shutDown(std::chrono::seconds(1)); }

    template <typename Function>
    auto inThread(Function function)
    {
        std::packaged_task<decltype(function())()> task(function);
        engine->loop().post([&task] { task(); });
        return task.get_future().get();
    }

    std::shared_ptr<Engine> engine =
        std::make_shared<Engine>(Clock::steady(), [](EventLoop& loop, Backend::StateListener& listener) {
            return std::make_unique<FakeBackend>(loop, listener);
        });
};

} // namespace

TEST_F(EngineThread, RunsTheLoopUnderItsName)
{
    const std::string name = inThread([] {
        char buffer[16] = "";
        pthread_getname_np(pthread_self(), buffer, sizeof buffer);
        return std::string(buffer);
    });
    EXPECT_EQ(name, "dnssd");
    EXPECT_NE(inThread([] { return std::this_thread::get_id(); }), std::this_thread::get_id());
}

TEST_F(EngineThread, LeavesSignalsToTheApplicationButItsOwnFaults)
{
    const sigset_t blocked = inThread([] {
        sigset_t set;
        pthread_sigmask(SIG_SETMASK, nullptr, &set);
        return set;
    });
    for (const int ordinary : {SIGINT, SIGTERM, SIGHUP, SIGCHLD, SIGALRM, SIGUSR1, SIGUSR2, SIGPIPE, SIGPROF})
        EXPECT_EQ(sigismember(&blocked, ordinary), 1) << ordinary;
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT})
        EXPECT_EQ(sigismember(&blocked, fault), 0) << fault;
}

TEST_F(EngineThread, LeavesTheSignalsOfTheCallingThreadAsTheyWere)
{
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_EQ(sigismember(&blocked, SIGTERM), 0);
}
