// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_USAGE_H
#define VESK_BENCH_USAGE_H

namespace bench {

/// What this process has in use.
struct Usage
{
    unsigned threads = 0;
    unsigned sockets = 0;
    unsigned descriptors = 0;         ///< of any kind, sockets among them
    unsigned long kilobytes = 0;      ///< resident
    unsigned long heap = 0;           ///< of these in use by the program, as malloc counts
    double processorMilliseconds = 0; ///< that all its threads have used so far

    static Usage now();
};

} // namespace bench

#endif
