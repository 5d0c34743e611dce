// SPDX-License-Identifier: MIT
//
// Lists many instances in every way there is, beside each other in one run. For the lab, with two hosts: the
// second publishes, the first lists. Each way is a process of its own, so that none profits from another.
#include "Lister.h"
#include "Worker.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

using namespace bench;

namespace {

constexpr int Rounds = 3;

struct Contestant
{
    const char* way;
    const char* text;
    bool isPeer; ///< one that ours is measured by
};

const Contestant Contestants[] = {
    {"ours", "this library", false},
    {"keep", "libavahi-client, resolvers kept", true},
    {"release", "libavahi-client, resolvers released", true},
    {"records", "libavahi-client, records kept", true},
    {"compat", "packaged compatibility library", false},
};

/// The best of a few rounds; incomplete when one of them was.
struct Best
{
    Result result;
    unsigned leastComplete;
};

Best measure(const std::string& program, const Contestant& contestant, unsigned instances)
{
    Best best{run(program, contestant.way, instances), 0};
    best.leastComplete = best.result.complete;
    for (int round = 1; round < Rounds && best.leastComplete == instances; ++round) {
        const Result result = run(program, contestant.way, instances);
        best.leastComplete = std::min(best.leastComplete, result.complete);
        if (result.milliseconds < best.result.milliseconds)
            best.result = result;
    }
    return best;
}

bool compare(const std::string& program, unsigned instances)
{
    const Publisher publisher(program, instances);
    run(program, "records", instances); // fills the daemon's cache
    std::vector<Best> all;
    double bestPeer = 0;
    for (const Contestant& contestant : Contestants) {
        all.push_back(measure(program, contestant, instances));
        const Best& best = all.back();
        if (contestant.isPeer && best.leastComplete == instances &&
            (bestPeer == 0 || best.result.milliseconds < bestPeer))
            bestPeer = best.result.milliseconds;
    }
    std::printf("\n%u instances, best of %d rounds\n%-38s %9s %9s %8s %8s %8s %8s\n", instances, Rounds, "",
                "complete", "ms", "ratio", "threads", "sockets", "MB");
    for (std::size_t i = 0; i < all.size(); ++i) {
        const Result& result = all[i].result;
        std::printf("%-38s %9u %9.0f %8.2f %8u %8u %8.1f\n", Contestants[i].text, all[i].leastComplete,
                    result.milliseconds, bestPeer > 0 ? result.milliseconds / bestPeer : 0, result.threads,
                    result.sockets, static_cast<double>(result.kilobytes) / 1024);
    }
    std::fflush(stdout);
    return all.front().leastComplete == instances;
}

int usage()
{
    std::fputs("Usage: bench-dnssd [INSTANCES...]   as './run bench dnssd [INSTANCES...]'; 100 500 1000 2000 "
               "if left out\n",
               stderr);
    return 2;
}

} // namespace

int main(int argc, char** argv)
try {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() == 2 && arguments[0] == "publish")
        return publish(static_cast<unsigned>(std::stoul(arguments[1])));
    if (arguments.size() == 3 && arguments[0] == "work")
        return work(arguments[1], static_cast<unsigned>(std::stoul(arguments[2])));

    std::vector<unsigned> sizes;
    for (const std::string& argument : arguments) {
        char* end = nullptr;
        const unsigned long size = std::strtoul(argument.c_str(), &end, 10);
        if (*end != '\0' || size == 0 || size > 5000)
            return usage();
        sizes.push_back(static_cast<unsigned>(size));
    }
    if (sizes.empty())
        sizes = {100, 500, 1000, 2000};
    bool complete = true;
    for (const unsigned size : sizes)
        complete = compare(argv[0], size) && complete;
    return complete ? 0 : 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "bench-dnssd: %s\n", error.what());
    return 1;
}
