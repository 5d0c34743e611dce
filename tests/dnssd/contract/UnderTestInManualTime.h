// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_UNDERTESTINMANUALTIME_H
#define VESK_TESTS_UNDERTESTINMANUALTIME_H

#include "BackendUnderTest.h"
#include "ManualClock.h"

namespace vesk::dnssd::tests {

/// A backend without a process or a network behind it: time passes as fast as it works.
class UnderTestInManualTime : public BackendUnderTest
{
public:
    const Clock& clock() const override { return m_clock; }

    bool runUntil(EventLoop& loop, const std::function<bool()>& condition) override
    {
        using namespace std::chrono_literals;
        for (auto time = 0ms; time < 60s; time += 10ms) {
            beforeStep();
            loop.runUntilIdle();
            if (condition())
                return true;
            m_clock.advance(loop, 10ms);
        }
        return false;
    }

    Labels type() const override { return {"_contract", "_tcp"}; }

protected:
    /// What the backend would do by itself.
    virtual void beforeStep() {}

    static std::string wireTxt(const std::string& item) { return static_cast<char>(item.size()) + item; }

private:
    ManualClock m_clock;
};

} // namespace vesk::dnssd::tests

#endif
