// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_REQUIRE_H
#define VESK_TESTS_REQUIRE_H

#include <cstdio>
#include <cstdlib>

namespace vesk::dnssd {

/// What has to hold for every input; the fuzzer keeps the one for which it does not. The line is the
/// caller's.
inline void require(bool condition, int line = __builtin_LINE())
{
    if (condition)
        return;
    std::fprintf(stderr, "line %d does not hold\n", line);
    std::abort();
}

} // namespace vesk::dnssd

#endif
