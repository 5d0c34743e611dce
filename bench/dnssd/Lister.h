// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_LISTER_H
#define VESK_BENCH_LISTER_H

#include "Outcome.h"

#include <chrono>
#include <string>
#include <vector>

namespace bench {

/// How a bare libavahi-client program lists.
enum class NativeMethod
{
    KeepResolvers,    ///< one service resolver an instance, kept
    ReleaseResolvers, ///< the same, released as soon as it has answered
    KeepRecords       ///< record browsers for SRV and TXT, kept, and one address lookup a host
};

Outcome listNatively(NativeMethod method, unsigned instances, std::chrono::seconds limit);

/// Through the C API of the library in that file: browse, resolve, address, then watch the TXT record.
Outcome listByApi(const std::string& library, unsigned instances, std::chrono::seconds limit);

/// What the process has in use at one moment.
struct Stage
{
    std::string moment;
    Usage usage;
};

/// Lists through the C API, goes on watching, releases everything; processes no replies meanwhile.
std::vector<Stage> watchAndRelease(const std::string& library, unsigned instances,
                                   std::chrono::seconds limit);

/// How long the calls that start an operation take: prints a table.
void timeStartCalls(const std::string& library);

} // namespace bench

#endif
