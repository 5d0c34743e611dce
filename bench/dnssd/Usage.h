// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_USAGE_H
#define VESK_BENCH_USAGE_H

namespace bench {

/// What this process has in use.
struct Usage
{
    unsigned threads = 0;
    unsigned sockets = 0;
    unsigned long kilobytes = 0; ///< resident

    static Usage now();
};

} // namespace bench

#endif
