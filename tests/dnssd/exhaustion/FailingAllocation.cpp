// SPDX-License-Identifier: MIT
#include "FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {

thread_local unsigned made = 0;
thread_local unsigned leftUntilFailure = 0; ///< 0: none is to fail
thread_local bool failed = false;

} // namespace

void* operator new(std::size_t size)
{
    ++made;
    if (leftUntilFailure > 0 && --leftUntilFailure == 0) {
        failed = true;
        throw std::bad_alloc();
    }
    if (void* memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace vesk::dnssd::tests {

FailingAllocation::FailingAllocation(unsigned number)
{
    failed = false;
    leftUntilFailure = number;
}

FailingAllocation::~FailingAllocation()
{
    leftUntilFailure = 0;
}

bool FailingAllocation::hasFailed() const
{
    return failed;
}

unsigned allocations()
{
    return made;
}

} // namespace vesk::dnssd::tests
