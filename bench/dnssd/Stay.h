// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_STAY_H
#define VESK_BENCH_STAY_H

#include "Poll.h"

#include <poll.h>

#include <cstdio>

namespace bench {

constexpr auto Never = std::chrono::steady_clock::time_point::max();

/// Whoever started this process wants it to end.
inline bool inputIsClosed()
{
    pollfd input{0, POLLIN, 0};
    return ::poll(&input, 1, 0) != 0;
}

/// Says "ready" when it is, and goes on until standard input is closed.
template <typename Ready>
void stay(Poll& poll, Ready isReady)
{
    poll.runUntil(Never, [&] { return isReady() || inputIsClosed(); });
    std::puts("ready");
    std::fflush(stdout);
    poll.runUntil(Never, inputIsClosed);
}

} // namespace bench

#endif
