// SPDX-License-Identifier: MIT
#include "Clock.h"

namespace vesk::dnssd {

namespace {

class SteadyClock final : public Clock
{
public:
    TimePoint now() const override { return std::chrono::steady_clock::now(); }
};

} // namespace

const Clock& Clock::steady()
{
    static const SteadyClock clock;
    return clock;
}

} // namespace vesk::dnssd
