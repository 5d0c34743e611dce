// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_COMPARISON_H
#define VESK_BENCH_COMPARISON_H

#include "Worker.h"

#include <climits>
#include <cstddef>
#include <string>
#include <vector>

namespace bench {

constexpr std::size_t Rounds = 5;

/// From this number on, the first browser and a second one are measured separately.
constexpr unsigned ManyInstances = 500;

/// One way to list.
struct Implementation
{
    const char* method; ///< as the process that lists is told it
    const char* text;
};

/// The results of one implementation in all rounds.
struct Measurements
{
    const Implementation* implementation;
    unsigned leastComplete = UINT_MAX;
    std::vector<double> times;          ///< shortest first
    std::vector<double> processorTimes; ///< shortest first
    Result last;

    explicit Measurements(const Implementation& of)
        : implementation(&of)
    {
    }
    void add(const Result& result);
};

/**
 * Measures round by round, so that a disturbance of the machine affects all implementations; each round
 * begins with another one, so that none always follows the same. One incomplete run ends an implementation's
 * rounds.
 */
std::vector<Measurements> measure(const std::string& program,
                                  const std::vector<Implementation>& implementations,
                                  const Implementation& cacheWarmer, unsigned instances);

/// Prints a table. The ratios are to the fastest of the bare programs, those after the first implementation,
/// that was complete every time. Returns whether the first one was.
bool print(const std::vector<Measurements>& measured, std::size_t barePrograms, unsigned instances,
           const char* circumstances);

/// The numbers of instances on a command line, in rising order. Of thousands of goodbyes a daemon misses
/// hundreds: the instances it still caches have to be among those of the next measurement. Empty when an
/// argument is no such number.
std::vector<unsigned> readSizes(const std::vector<std::string>& arguments);

} // namespace bench

#endif
