// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_PLAYEDNETWORK_H
#define VESK_TESTS_PLAYEDNETWORK_H

#include "Engine.h"
#include "FakeBackend.h"
#include "Handles.h"
#include "ManualClock.h"
#include "ProcessEngine.h"
#include "Records.h"

#include <gtest/gtest.h>

namespace vesk::dnssd::tests {

/**
 * The whole client library over a responder that the test plays, in the test's own thread: nothing happens
 * but in settle() and while the clock is advanced.
 */
class PlayedNetwork : public testing::Test
{
protected:
    PlayedNetwork()
        : m_engine(std::make_shared<Engine>(m_clock,
                                            [](EventLoop& loop, Backend::StateListener& listener) {
                                                return std::make_unique<FakeBackend>(loop, listener);
                                            }))
        , m_backend(FakeBackend::last())
    {
        setProcessEngine(m_engine);
        m_backend.change(Backend::State::Running);
        settle();
    }
    /// Handles that are members of a test have been released by now.
    ~PlayedNetwork() override
    {
        settle();
        setProcessEngine(nullptr);
    }

    FakeBackend& backend() { return m_backend; }
    EventLoop& loop() { return m_engine->loop(); }

    /// Has all happen that can before the clock goes on, and the waiting replies signalled.
    void settle()
    {
        loop().runUntilIdle();
        m_engine->replySignals().flush();
    }

    /// The same, and hands over the replies of a handle.
    void settle(Handle& handle)
    {
        settle();
        handle.process();
    }

    void advance(std::chrono::milliseconds time)
    {
        m_clock.advance(loop(), time);
        settle();
    }

    /// Lets time pass until the condition holds. False: a minute has passed.
    bool eventually(const std::vector<Handle*>& handles, const std::function<bool()>& condition)
    {
        using namespace std::chrono_literals;
        for (auto time = 0ms; time < 60s; time += 10ms) {
            settle();
            for (Handle* handle : handles)
                handle->process();
            if (condition())
                return true;
            advance(10ms);
        }
        return false;
    }

    Service lastPublished() { return m_backend.published().back(); }

private:
    ManualClock m_clock;
    std::shared_ptr<Engine> m_engine;
    FakeBackend& m_backend;
};

} // namespace vesk::dnssd::tests

#endif
