// SPDX-License-Identifier: MIT
//
// Lists many instances in every way there is, beside each other in one run. For the lab, with two hosts: the
// second publishes, the first lists. Each way is a process of its own, so that none profits from another.
// Without a number of instances, also shows what a thousand watched services hold, and how long the calls
// take that start an operation.
#include "Companion.h"
#include "Lister.h"
#include "Worker.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iterator>
#include <string>
#include <vector>

using namespace bench;

namespace {

constexpr std::size_t Rounds = 5;
constexpr unsigned Crowd = 500;
constexpr unsigned WatchedServices = 1000;

struct Contestant
{
    const char* way;
    const char* text;
};

const Contestant Ours{"ours", "this library"};
const Contestant BarePrograms[] = {
    {"keep", "libavahi-client, resolvers kept"},
    {"release", "libavahi-client, resolvers released"},
    {"records", "libavahi-client, records kept"},
};

/// Has a connection of its own for every operation, and stands still when the daemon takes no more.
const Contestant Compatibility{"compat", "packaged compatibility library"};
constexpr unsigned MostForCompatibility = 500;

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

/// Round by round, so that what disturbs the machine for a while disturbs all; each round begins with another
/// one, so that nobody always comes after the same. To stand still once is enough.
void playRounds(const std::string& program, unsigned instances, std::vector<Score>& scores)
{
    const auto goesOn = [instances](const Score& score) { return score.leastComplete >= instances; };
    for (std::size_t round = 0; round < Rounds; ++round) {
        if (std::none_of(scores.begin(), scores.end(), goesOn))
            return;
        warmCache(program, instances);
        for (std::size_t i = 0; i < scores.size(); ++i) {
            Score& score = scores[(round + i) % scores.size()];
            if (!goesOn(score))
                continue;
            if (const auto result = run(program, score.contestant->way, instances))
                score.add(*result);
        }
    }
}

/// Ours first, then the bare programs, then the compatibility library if it takes part: it plays alone at the
/// end, as its hundreds of connections keep the daemon busy when they die.
std::vector<Score> compete(const std::string& program, unsigned instances)
{
    std::vector<Score> scores{Score(Ours)};
    for (const Contestant& contestant : BarePrograms)
        scores.emplace_back(contestant);
    playRounds(program, instances, scores);
    if (instances <= MostForCompatibility) {
        std::vector<Score> alone{Score(Compatibility)};
        playRounds(program, instances, alone);
        scores.push_back(alone.front());
    }
    return scores;
}

/// The median of the fastest bare program that was complete every time; zero when none was.
double bestBareProgram(const std::vector<Score>& scores, unsigned instances)
{
    double best = 0;
    for (std::size_t i = 1; i <= std::size(BarePrograms); ++i) {
        if (scores[i].leastComplete == instances && (best == 0 || scores[i].median() < best))
            best = scores[i].median();
    }
    return best;
}

/// Whether ours was complete every time.
bool compare(const std::string& program, unsigned instances, const char* circumstances)
{
    const std::vector<Score> scores = compete(program, instances);
    const double best = bestBareProgram(scores, instances);
    std::printf("\n%u instances, %s, median of %zu rounds\n%-38s %9s %9s %8s %9s %9s %8s %8s %8s\n",
                instances, circumstances, Rounds, "", "complete", "ms", "ratio", "shortest", "longest",
                "threads", "sockets", "MB");
    for (const Score& score : scores) {
        if (score.times.empty())
            continue;
        std::printf("%-38s %9u %9.1f %8.2f %9.1f %9.1f %8u %8u %8.1f\n", score.contestant->text,
                    score.leastComplete, score.median(), best > 0 ? score.median() / best : 0,
                    score.times.front(), score.times.back(), score.last.threads, score.last.sockets,
                    static_cast<double>(score.last.kilobytes) / 1024);
    }
    std::fflush(stdout);
    return scores.front().leastComplete == instances;
}

/// The first process to browse a type has the daemon ask the network for it, a tenth of a second later, with
/// all that it knows and over every transport. That keeps the daemon busy, and whoever is not done by then
/// waits; so the larger crowds are listed both by a first process and by a second one.
bool compareAll(const std::string& program, unsigned instances)
{
    const Companion publisher(program, "hostb", "publish", instances);
    const bool complete = instances < Crowd || compare(program, instances, "nobody else browses");
    const Companion browser(program, "hosta", "browse", instances);
    return compare(program, instances, "another process browses, too") && complete;
}

/// What the watched services of one process cost, and what is left of it when they are released.
void hold(const std::string& program)
{
    const Companion publisher(program, "hostb", "publish", WatchedServices);
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
    std::fputs("Usage: bench-dnssd [INSTANCES...]   as './run bench dnssd [INSTANCES...]'; without a number, "
               "everything there is to measure\n",
               stderr);
    return 2;
}

} // namespace

int main(int argc, char** argv)
try {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() == 2 && arguments[0] == "publish")
        return publish(static_cast<unsigned>(std::stoul(arguments[1])));
    if (arguments.size() == 2 && arguments[0] == "browse")
        return browse(static_cast<unsigned>(std::stoul(arguments[1])));
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
    const bool everything = sizes.empty();
    if (everything)
        sizes = {1, 10, 100, 500, WatchedServices, 2000};
    // Of thousands of goodbyes a daemon misses hundreds: whom it still believes in has to be among those who
    // come next.
    std::sort(sizes.begin(), sizes.end());
    bool complete = true;
    for (const unsigned size : sizes) {
        complete = compareAll(argv[0], size) && complete;
        if (everything && size == WatchedServices)
            hold(argv[0]);
    }
    if (everything)
        timeStartCalls(VESK_DNSSD_LIBRARY);
    return complete ? 0 : 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "bench-dnssd: %s\n", error.what());
    return 1;
}
