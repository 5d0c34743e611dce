// SPDX-License-Identifier: MIT
#include "IdleWait.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>

namespace bench {

namespace {

using namespace std::chrono_literals;

/// More than the half second for which a daemon may delay an answer (RFC 6762 section 7.2).
constexpr auto IdleTime = 1s;
constexpr auto Limit = 2min;
constexpr auto Interval = 50ms;
constexpr auto Reserve = 200ms;

/// Processor time in clock ticks; zero if the process is no daemon, or gone.
unsigned long daemonTime(const std::filesystem::path& process)
{
    std::ifstream file(process / "stat");
    std::string number;
    std::string name;
    file >> number >> name;
    if (name != "(avahi-daemon)")
        return 0;
    std::string skipped;
    for (int field = 3; field < 14; ++field)
        file >> skipped;
    unsigned long user = 0;
    unsigned long system = 0;
    file >> user >> system;
    return user + system;
}

unsigned long timeOfAllDaemons()
{
    unsigned long sum = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc"))
        sum += daemonTime(entry.path());
    return sum;
}

} // namespace

void waitUntilIdle()
{
    const auto begin = std::chrono::steady_clock::now();
    auto since = begin;
    for (unsigned long time = timeOfAllDaemons();;) {
        std::this_thread::sleep_for(Interval);
        const auto now = std::chrono::steady_clock::now();
        const unsigned long later = timeOfAllDaemons();
        if (later != time)
            since = now;
        time = later;
        if (now - since >= IdleTime)
            return;
        if (now - begin >= Limit)
            throw std::runtime_error("the daemons do not come to rest");
    }
}

void waitUntilForgotten(std::chrono::steady_clock::time_point begin)
{
    auto interval = 1s;
    auto due = begin + interval + Reserve;
    while (due < std::chrono::steady_clock::now()) {
        interval *= 2;
        due += interval;
    }
    std::this_thread::sleep_until(due);
}

} // namespace bench
