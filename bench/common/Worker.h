// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_WORKER_H
#define VESK_BENCH_WORKER_H

#include "Outcome.h"

#include <optional>
#include <string>

namespace bench {

struct Result
{
    unsigned complete = 0;
    double milliseconds = 0;
    double processorMilliseconds = 0; ///< of all threads
    unsigned threads = 0;
    unsigned sockets = 0;
    unsigned long kilobytes = 0; ///< resident at the end
};

/// Lists in a process of its own, on this host, and waits until the daemons are as before. Null, and
/// a message, when that process fails.
std::optional<Result> run(const std::string& program, const std::string& method, unsigned instances);

/// Ends that process: prints the result on one line.
[[noreturn]] void finish(const Outcome& outcome);

} // namespace bench

#endif
