// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_LISTER_H
#define VESK_BENCH_LISTER_H

#include "Usage.h"

#include <chrono>
#include <string>
#include <vector>

namespace bench {

constexpr const char* ServiceType = "_bench._tcp";

/// What a lister has reached: all instances found with host, port, address and TXT record, or the time is up.
struct Outcome
{
    unsigned complete = 0;
    std::chrono::duration<double, std::milli> time{};
    Usage usage; ///< with everything still in use
};

/// How a bare libavahi-client program can go about it.
enum class Native
{
    KeepResolvers,    ///< one service resolver an instance, kept
    ReleaseResolvers, ///< the same, released as soon as it has answered
    KeepRecords       ///< record browsers for SRV and TXT, kept, and one address lookup a host
};

Outcome listNatively(Native way, unsigned instances, std::chrono::seconds limit);

/// Through the C API of the library in that file: browse, resolve, address, then watch the TXT record.
Outcome listByApi(const std::string& library, unsigned instances, std::chrono::seconds limit);

/// What the process has in use at one moment.
struct Stage
{
    std::string moment;
    Usage usage;
};

/// Lists through the C API, goes on watching, releases everything; nothing is handed over meanwhile.
std::vector<Stage> holdAndRelease(const std::string& library, unsigned instances, std::chrono::seconds limit);

/// How long the calls that start an operation take: prints a table.
void timeStartCalls(const std::string& library);

/// Publishes services until standard input is closed; says "ready" when all are there.
int publish(unsigned instances);

/// Browses until standard input is closed; says "ready" when that many instances are there.
int browse(unsigned instances);

} // namespace bench

#endif
