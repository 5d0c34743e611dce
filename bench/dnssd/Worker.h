// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_WORKER_H
#define VESK_BENCH_WORKER_H

#include <optional>
#include <string>

namespace bench {

struct Result
{
    unsigned complete = 0;
    double milliseconds = 0;
    unsigned threads = 0;
    unsigned sockets = 0;
    unsigned long kilobytes = 0; ///< resident at the end
};

/// Lists in a process of its own, on this host, and waits until the daemons are as before. Null, and
/// a message, when that process fails.
std::optional<Result> run(const std::string& program, const std::string& way, unsigned instances);

/// What that process does: lists and prints the result on one line.
int work(const std::string& way, unsigned instances);

} // namespace bench

#endif
