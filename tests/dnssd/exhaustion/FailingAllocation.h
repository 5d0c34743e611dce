// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_FAILINGALLOCATION_H
#define VESK_TESTS_FAILINGALLOCATION_H

namespace vesk::dnssd::tests {

/// While it lives, the n-th allocation of its thread, counted from 1, finds no memory. The program's own
/// operator new looks after that.
class FailingAllocation
{
public:
    explicit FailingAllocation(unsigned number);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// Whether there was an n-th allocation.
    bool hasFailed() const;
};

/// How many allocations the calling thread has made.
unsigned allocations();

} // namespace vesk::dnssd::tests

#endif
