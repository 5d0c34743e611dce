// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_RUN_UNTIL_EOF_H
#define VESK_BENCH_RUN_UNTIL_EOF_H

#include "Poll.h"

#include <poll.h>

#include <cstdio>

namespace bench {

constexpr auto Never = std::chrono::steady_clock::time_point::max();

/// The parent process closes the pipe to end this one.
inline bool inputIsClosed()
{
    pollfd input{0, POLLIN, 0};
    return ::poll(&input, 1, 0) != 0;
}

/// Prints "ready" as soon as `isReady()`, and goes on until standard input is closed.
template <typename Ready>
void runUntilEof(Poll& poll, Ready isReady)
{
    poll.runUntil(Never, [&] { return isReady() || inputIsClosed(); });
    std::puts("ready");
    std::fflush(stdout);
    poll.runUntil(Never, inputIsClosed);
}

} // namespace bench

#endif
