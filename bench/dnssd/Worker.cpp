// SPDX-License-Identifier: MIT
#include "Worker.h"

#include "Lister.h"
#include "Quiet.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace bench {

namespace {

using namespace std::chrono_literals;

constexpr auto Limit = 30s;

Outcome list(const std::string& way, unsigned instances)
{
    if (way == "keep")
        return listNatively(Native::KeepResolvers, instances, Limit);
    if (way == "release")
        return listNatively(Native::ReleaseResolvers, instances, Limit);
    if (way == "records")
        return listNatively(Native::KeepRecords, instances, Limit);
    return listByApi(way == "ours" ? VESK_DNSSD_LIBRARY : "libdns_sd.so.1", instances, Limit);
}

} // namespace

std::optional<Result> run(const std::string& program, const std::string& way, unsigned instances)
{
    const auto begin = std::chrono::steady_clock::now();
    const std::string command =
        "AVAHI_COMPAT_NOWARN=1 " + program + " work " + way + ' ' + std::to_string(instances);
    const std::unique_ptr<FILE, decltype(&pclose)> output(popen(command.c_str(), "r"), pclose);
    Result result;
    if (!output || std::fscanf(output.get(), "%u %lf %u %u %lu", &result.complete, &result.milliseconds,
                               &result.threads, &result.sockets, &result.kilobytes) != 5) {
        std::fprintf(stderr, "bench-dnssd: '%s' could not run; left out\n", way.c_str());
        return std::nullopt;
    }
    waitUntilQuiet();
    waitUntilForgotten(begin);
    return result;
}

int work(const std::string& way, unsigned instances)
{
    const Outcome outcome = list(way, instances);
    std::printf("%u %f %u %u %lu\n", outcome.complete, outcome.time.count(), outcome.usage.threads,
                outcome.usage.sockets, outcome.usage.kilobytes);
    std::fflush(stdout);
    _exit(0); // thousands of objects left to the system
}

} // namespace bench
