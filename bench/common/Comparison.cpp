// SPDX-License-Identifier: MIT
#include "Comparison.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace bench {

namespace {

constexpr unsigned MaxInstances = 5000;

void insertSorted(std::vector<double>& values, double value)
{
    values.insert(std::upper_bound(values.begin(), values.end(), value), value);
}

double median(const std::vector<double>& values)
{
    return values[values.size() / 2];
}

/// The smallest median of the bare programs that were complete every time; zero when none was.
double best(const std::vector<Measurements>& measured, std::size_t barePrograms, unsigned instances,
            std::vector<double> Measurements::*values)
{
    double smallest = 0;
    for (std::size_t i = 1; i <= barePrograms; ++i) {
        if (measured[i].leastComplete != instances)
            continue;
        const double value = median(measured[i].*values);
        if (smallest == 0 || value < smallest)
            smallest = value;
    }
    return smallest;
}

double ratio(double value, double reference)
{
    return reference > 0 ? value / reference : 0;
}

} // namespace

void Measurements::add(const Result& result)
{
    last = result;
    leastComplete = std::min(leastComplete, result.complete);
    insertSorted(times, result.milliseconds);
    insertSorted(processorTimes, result.processorMilliseconds);
}

std::vector<Measurements> measure(const std::string& program,
                                  const std::vector<Implementation>& implementations,
                                  const Implementation& cacheWarmer, unsigned instances)
{
    std::vector<Measurements> measured(implementations.begin(), implementations.end());
    const auto isComplete = [instances](const Measurements& each) { return each.leastComplete >= instances; };
    for (std::size_t round = 0; round < Rounds; ++round) {
        if (std::none_of(measured.begin(), measured.end(), isComplete))
            break;
        // The daemon's cache then holds every record, younger than half its TTL, and the daemon names them as
        // known answers, so that no publisher answers again (RFC 6762 section 7.1).
        run(program, cacheWarmer.method, instances);
        for (std::size_t i = 0; i < measured.size(); ++i) {
            Measurements& each = measured[(round + i) % measured.size()];
            if (!isComplete(each))
                continue;
            if (const auto result = run(program, each.implementation->method, instances))
                each.add(*result);
        }
    }
    return measured;
}

bool print(const std::vector<Measurements>& measured, std::size_t barePrograms, unsigned instances,
           const char* circumstances)
{
    const double time = best(measured, barePrograms, instances, &Measurements::times);
    const double processorTime = best(measured, barePrograms, instances, &Measurements::processorTimes);
    std::printf("\n%u instances, %s, median of %zu rounds\n%-38s %9s %9s %8s %9s %9s %9s %8s %8s %8s %8s\n",
                instances, circumstances, Rounds, "", "complete", "ms", "ratio", "shortest", "longest",
                "CPU ms", "ratio", "threads", "sockets", "MB");
    for (const Measurements& each : measured) {
        if (each.times.empty())
            continue;
        std::printf("%-38s %9u %9.1f %8.2f %9.1f %9.1f %9.1f %8.2f %8u %8u %8.1f\n",
                    each.implementation->text, each.leastComplete, median(each.times),
                    ratio(median(each.times), time), each.times.front(), each.times.back(),
                    median(each.processorTimes), ratio(median(each.processorTimes), processorTime),
                    each.last.threads, each.last.sockets, static_cast<double>(each.last.kilobytes) / 1024);
    }
    std::fflush(stdout);
    return measured.front().leastComplete == instances;
}

std::vector<unsigned> readSizes(const std::vector<std::string>& arguments)
{
    std::vector<unsigned> sizes;
    for (const std::string& argument : arguments) {
        char* end = nullptr;
        const unsigned long size = std::strtoul(argument.c_str(), &end, 10);
        if (*end != '\0' || size == 0 || size > MaxInstances)
            return {};
        sizes.push_back(static_cast<unsigned>(size));
    }
    std::sort(sizes.begin(), sizes.end());
    return sizes;
}

} // namespace bench
