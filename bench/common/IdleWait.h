// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_IDLE_WAIT_H
#define VESK_BENCH_IDLE_WAIT_H

#include <chrono>

namespace bench {

/// Returns when no mDNS daemon of the lab has used the processor for a second: by then the queries of the
/// last process and their answers are over. Throws std::runtime_error after two minutes.
void waitUntilIdle();

/// To be called after waitUntilIdle(): returns when the daemon has dropped the queries of a process that
/// began at `begin`. It keeps a query until the next repetition is due, 1, 3, 7, 15 and so on seconds after
/// the first one (RFC 6762 section 5.2); the same query before that would not reach the network.
void waitUntilForgotten(std::chrono::steady_clock::time_point begin);

} // namespace bench

#endif
