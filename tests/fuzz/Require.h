// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_REQUIRE_H
#define VESK_TESTS_REQUIRE_H

#include <cstdlib>

namespace vesk::dnssd {

/// What has to hold for every input; the fuzzer keeps the one for which it does not.
inline void require(bool condition)
{
    if (!condition)
        std::abort();
}

} // namespace vesk::dnssd

#endif
