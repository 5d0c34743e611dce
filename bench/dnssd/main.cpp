// SPDX-License-Identifier: MIT
//
// Lists many instances by every method, beside each other in one run. For the lab, with two hosts: the
// second publishes, the first lists. Each method runs in a process of its own, so that none profits from
// another. Without a number of instances, also shows what a thousand watched services hold, and how long the
// calls take that start an operation.
#include "BackgroundProcess.h"
#include "Comparison.h"
#include "Lister.h"
#include "Peers.h"

#include <cstdio>
#include <exception>

using namespace bench;
using namespace std::chrono_literals;

namespace {

constexpr unsigned WatchedServices = 1000;
constexpr auto Limit = 30s;

/// Ours first, then the bare programs.
const std::vector<Implementation> Implementations{
    {"ours", "this library"},
    {"keep", "libavahi-client, resolvers kept"},
    {"release", "libavahi-client, resolvers released"},
    {"records", "libavahi-client, records kept"},
};
constexpr std::size_t BarePrograms = 3;
const Implementation& CacheWarmer = Implementations.back();

/// Opens a connection for every operation, and hangs when the daemon accepts no more. It is measured alone at
/// the end, as closing its hundreds of connections keeps the daemon busy.
const std::vector<Implementation> Compatibility{{"compat", "packaged compatibility library"}};
constexpr unsigned MaxForCompatibility = 500;

[[noreturn]] void work(const std::string& method, unsigned instances)
{
    if (method == "keep")
        finish(listNatively(NativeMethod::KeepResolvers, instances, Limit));
    if (method == "release")
        finish(listNatively(NativeMethod::ReleaseResolvers, instances, Limit));
    if (method == "records")
        finish(listNatively(NativeMethod::KeepRecords, instances, Limit));
    finish(listByApi(method == "ours" ? VESK_DNSSD_LIBRARY : "libdns_sd.so.1", instances, Limit));
}

/// Whether ours was complete every time.
bool compare(const std::string& program, unsigned instances, const char* circumstances)
{
    std::vector<Measurements> measured = measure(program, Implementations, CacheWarmer, instances);
    if (instances <= MaxForCompatibility)
        measured.push_back(measure(program, Compatibility, CacheWarmer, instances).front());
    return print(measured, BarePrograms, instances, circumstances);
}

/// The first process to browse a type makes the daemon send a query, a tenth of a second later, with all its
/// known answers and over every transport. That keeps the daemon busy, and a lister that is not done by then
/// waits; so large numbers of instances are listed both by a first process and by a second one.
bool compareAll(const std::string& program, unsigned instances)
{
    const BackgroundProcess publisher(program, "hostb", "publish", instances);
    const bool complete =
        instances < ManyInstances || compare(program, instances, "no other process browses");
    const BackgroundProcess browser(program, "hosta", "browse", instances);
    return compare(program, instances, "another process browses, too") && complete;
}

/// What the watched services of one process cost, and what remains of that after their release.
void measureHeldServices(const std::string& program)
{
    const BackgroundProcess publisher(program, "hostb", "publish", WatchedServices);
    std::printf("\n%u services listed and watched by one process\n%-38s %8s %8s %12s %8s %8s\n",
                WatchedServices, "", "threads", "sockets", "descriptors", "MB", "heap MB");
    for (const Stage& stage : watchAndRelease(VESK_DNSSD_LIBRARY, WatchedServices, Limit))
        std::printf("%-38s %8u %8u %12u %8.1f %8.1f\n", stage.moment.c_str(), stage.usage.threads,
                    stage.usage.sockets, stage.usage.descriptors,
                    static_cast<double>(stage.usage.kilobytes) / 1024,
                    static_cast<double>(stage.usage.heap) / 1024);
    std::fflush(stdout);
}

int usage()
{
    std::fputs("Usage: bench-dnssd [INSTANCES...]   as './run bench dnssd [INSTANCES...]'; without a number, "
               "everything there is to measure\n",
               stderr);
    return 2;
}

} // namespace

int main(int argc, char** argv)
try {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (const auto status = runPeer(arguments))
        return *status;
    if (arguments.size() == 3 && arguments[0] == "work")
        work(arguments[1], static_cast<unsigned>(std::stoul(arguments[2])));

    const bool everything = arguments.empty();
    const std::vector<unsigned> sizes =
        everything ? std::vector<unsigned>{1, 10, 100, 500, WatchedServices, 2000} : readSizes(arguments);
    if (sizes.empty())
        return usage();
    bool complete = true;
    for (const unsigned size : sizes) {
        complete = compareAll(argv[0], size) && complete;
        if (everything && size == WatchedServices)
            measureHeldServices(argv[0]);
    }
    if (everything)
        timeStartCalls(VESK_DNSSD_LIBRARY);
    return complete ? 0 : 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "bench-dnssd: %s\n", error.what());
    return 1;
}
