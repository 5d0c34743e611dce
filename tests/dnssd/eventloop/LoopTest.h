// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_LOOPTEST_H
#define VESK_TESTS_LOOPTEST_H

#include "EventLoop.h"
#include "ManualClock.h"

#include <gtest/gtest.h>

namespace vesk::dnssd::tests {

/// An event loop in the test's own thread, on a clock that the test advances.
class LoopTest : public testing::Test
{
protected:
    void settle() { loop.runUntilIdle(); }
    void advance(std::chrono::microseconds time) { clock.advance(loop, time); }

    /// A task that notes its name.
    Task noting(const std::string& name)
    {
        return [this, name] { order += name; };
    }

    ManualClock clock;
    EventLoop loop{clock};
    std::string order; ///< in which things have happened
};

} // namespace vesk::dnssd::tests

#endif
