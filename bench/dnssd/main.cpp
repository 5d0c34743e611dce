// SPDX-License-Identifier: MIT
//
// Lists many instances in every way there is, beside each other in one run. For the lab, with two hosts: the
// second publishes, the first lists. Each way is a process of its own, so that none profits from another.
// Then shows what a thousand watched services hold, and how long the calls take that start an operation.
#include "Lister.h"
#include "Worker.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

using namespace bench;

namespace {

constexpr int Rounds = 3;
constexpr unsigned WatchedServices = 1000;

struct Contestant
{
    const char* way;
    const char* text;
    bool isPeer;   ///< one that ours is measured by
    unsigned most; ///< instances; beyond these it is known to stand still
};

const Contestant Contestants[] = {
    {"ours", "this library", false, 5000},
    {"keep", "libavahi-client, resolvers kept", true, 5000},
    {"release", "libavahi-client, resolvers released", true, 5000},
    {"records", "libavahi-client, records kept", true, 5000},
    {"compat", "packaged compatibility library", false, 500},
};

/// What one contestant has reached in all rounds.
struct Score
{
    const Contestant* contestant;
    unsigned leastComplete = UINT_MAX;
    std::vector<double> times; ///< shortest first
    Result last;

    explicit Score(const Contestant& of)
        : contestant(&of)
    {
    }
    double median() const { return times[times.size() / 2]; }

    void add(const Result& result)
    {
        last = result;
        leastComplete = std::min(leastComplete, result.complete);
        times.push_back(result.milliseconds);
        std::sort(times.begin(), times.end());
    }
};

/// Leaves the daemon as it is after somebody has listed everything: with every record known, and younger than
/// half its life, so that nobody on the network is asked for it again (RFC 6762 section 7.1).
void warmCache(const std::string& program, unsigned instances)
{
    run(program, "records", instances);
}

/// Round by round, so that what disturbs the machine for a while disturbs all.
std::vector<Score> compete(const std::string& program, unsigned instances)
{
    std::vector<Score> scores;
    for (const Contestant& contestant : Contestants) {
        if (instances <= contestant.most)
            scores.emplace_back(contestant);
    }
    for (int round = 0; round < Rounds; ++round) {
        for (Score& score : scores) {
            if (round > 0 && score.leastComplete < instances)
                continue; // once is enough to stand still
            warmCache(program, instances);
            score.add(run(program, score.contestant->way, instances));
        }
    }
    return scores;
}

/// Zero when no peer was ever complete.
double bestPeer(const std::vector<Score>& scores, unsigned instances)
{
    double best = 0;
    for (const Score& score : scores) {
        if (score.contestant->isPeer && score.leastComplete == instances &&
            (best == 0 || score.median() < best))
            best = score.median();
    }
    return best;
}

/// Whether ours was complete every time.
bool compare(const std::string& program, unsigned instances)
{
    const Publisher publisher(program, instances);
    const std::vector<Score> scores = compete(program, instances);
    const double best = bestPeer(scores, instances);
    std::printf("\n%u instances, median of %d rounds\n%-38s %9s %9s %8s %8s %8s %8s %8s\n", instances, Rounds,
                "", "complete", "ms", "ratio", "longest", "threads", "sockets", "MB");
    for (const Score& score : scores)
        std::printf("%-38s %9u %9.1f %8.2f %8.1f %8u %8u %8.1f\n", score.contestant->text,
                    score.leastComplete, score.median(), best > 0 ? score.median() / best : 0,
                    score.times.back(), score.last.threads, score.last.sockets,
                    static_cast<double>(score.last.kilobytes) / 1024);
    std::fflush(stdout);
    return scores.front().leastComplete == instances;
}

/// What the watched services of one process cost, and what is left of it when they are released.
void hold()
{
    std::printf("\n%u services listed and watched by one process\n%-38s %8s %8s %12s %8s %8s\n",
                WatchedServices, "", "threads", "sockets", "descriptors", "MB", "heap MB");
    for (const Stage& stage : holdAndRelease(VESK_DNSSD_LIBRARY, WatchedServices, std::chrono::seconds(30)))
        std::printf("%-38s %8u %8u %12u %8.1f %8.1f\n", stage.moment.c_str(), stage.usage.threads,
                    stage.usage.sockets, stage.usage.descriptors,
                    static_cast<double>(stage.usage.kilobytes) / 1024,
                    static_cast<double>(stage.usage.heap) / 1024);
    std::fflush(stdout);
}

int usage()
{
    std::fputs("Usage: bench-dnssd [INSTANCES...]   as './run bench dnssd [INSTANCES...]'; 1 10 100 500 1000 "
               "2000 if left out\n",
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
        sizes = {1, 10, 100, 500, 1000, 2000};
    bool complete = true;
    for (const unsigned size : sizes)
        complete = compare(argv[0], size) && complete;
    {
        const Publisher publisher(argv[0], WatchedServices);
        hold();
    }
    timeStartCalls(VESK_DNSSD_LIBRARY);
    return complete ? 0 : 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "bench-dnssd: %s\n", error.what());
    return 1;
}
