// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_QUIET_H
#define VESK_BENCH_QUIET_H

#include <chrono>

namespace bench {

/// Returns when no mDNS daemon of the lab has done anything for a second: what the last process has left
/// behind is gone then, its questions and their answers too. Throws std::runtime_error after two minutes.
void waitUntilQuiet();

/// For after that: returns when the daemon has forgotten the questions of a process that began then. It keeps
/// a question until it is due again, 1, 3, 7, 15 and so on seconds after the first time (RFC 6762
/// section 5.2); who asks the same before that has the luck that nobody on the network is asked.
void waitUntilForgotten(std::chrono::steady_clock::time_point begin);

} // namespace bench

#endif
