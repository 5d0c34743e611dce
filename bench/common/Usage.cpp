// SPDX-License-Identifier: MIT
#include "Usage.h"

#include <malloc.h>
#include <time.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace bench {

namespace {

/// Open descriptors to something of that kind, as in "socket:".
unsigned countDescriptors(const std::string& kind)
{
    unsigned count = 0;
    std::error_code gone; // the iterator's own descriptor
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        count += std::filesystem::read_symlink(entry, gone).string().rfind(kind, 0) == 0 ? 1 : 0;
    return count;
}

unsigned long statusValue(const std::string& key)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, key.size() + 1, key + ':') == 0)
            return std::stoul(line.substr(key.size() + 1));
    }
    return 0;
}

double processorTime()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

} // namespace

Usage Usage::now()
{
    const double time = processorTime(); // before what follows takes some
    return {static_cast<unsigned>(statusValue("Threads")),
            countDescriptors("socket:"),
            countDescriptors(""),
            statusValue("VmRSS"),
            mallinfo2().uordblks / 1024,
            time};
}

} // namespace bench
