// SPDX-License-Identifier: MIT
#include "Worker.h"

#include "IdleWait.h"

#include <unistd.h>

#include <cstdio>
#include <memory>

namespace bench {

std::optional<Result> run(const std::string& program, const std::string& method, unsigned instances)
{
    const auto begin = std::chrono::steady_clock::now();
    const std::string command =
        "AVAHI_COMPAT_NOWARN=1 " + program + " work " + method + ' ' + std::to_string(instances);
    const std::unique_ptr<FILE, decltype(&pclose)> output(popen(command.c_str(), "r"), pclose);
    Result result;
    if (!output || std::fscanf(output.get(), "%u %lf %lf %u %u %lu", &result.complete, &result.milliseconds,
                               &result.processorMilliseconds, &result.threads, &result.sockets,
                               &result.kilobytes) != 6) {
        std::fprintf(stderr, "bench: '%s' could not run; left out\n", method.c_str());
        return std::nullopt;
    }
    waitUntilIdle();
    waitUntilForgotten(begin);
    return result;
}

void finish(const Outcome& outcome)
{
    const Usage& usage = outcome.usage;
    std::printf("%u %f %f %u %u %lu\n", outcome.complete, outcome.time.count(), usage.processorMilliseconds,
                usage.threads, usage.sockets, usage.kilobytes);
    std::fflush(stdout);
    _exit(0); // the system frees thousands of objects faster
}

} // namespace bench
