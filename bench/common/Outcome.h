// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_OUTCOME_H
#define VESK_BENCH_OUTCOME_H

#include "Usage.h"

#include <chrono>

namespace bench {

constexpr const char* ServiceType = "_bench._tcp";

/// What a lister has reached when all instances have host, port, address and TXT record, or at the deadline.
struct Outcome
{
    unsigned complete = 0;
    std::chrono::duration<double, std::milli> time{};
    Usage usage; ///< with everything still in use
};

} // namespace bench

#endif
