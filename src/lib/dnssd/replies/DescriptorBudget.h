// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_DESCRIPTORBUDGET_H
#define VESK_DNSSD_DESCRIPTORBUDGET_H

#include "Clock.h"

#include <atomic>
#include <cstdint>
#include <mutex>

namespace vesk::dnssd {

/**
 * How many descriptors the process may still open for what it lists: its soft limit, which may change at any
 * time, less those that are open, the application's own too, and a reserve for what else the application
 * does. Any thread may use it.
 */
class DescriptorBudget
{
public:
    /// A descriptor of this library that comes and goes with operations: counted, so that the process's need
    /// not be looked through each time.
    class Use
    {
    public:
        explicit Use(DescriptorBudget& budget)
            : m_budget(budget)
        {
            ++m_budget.m_uses;
        }
        ~Use() { --m_budget.m_uses; }
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

    private:
        DescriptorBudget& m_budget;
    };

    /// The soft limit.
    static uint32_t limit();

    /// The descriptors that are counted.
    int64_t uses() const { return m_uses; }

    /// Negative when the reserve has been drawn on.
    int64_t available();

private:
    int64_t countOthers();

    std::atomic<int64_t> m_uses{0};
    std::mutex m_mutex; ///< guards what follows
    int64_t m_others = 0;
    Clock::TimePoint m_countedAt;
};

} // namespace vesk::dnssd

#endif
