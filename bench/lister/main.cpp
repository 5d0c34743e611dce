// SPDX-License-Identifier: MIT
//
// Lists many instances by this library's lister and by a bare Qt program, beside each other in one run. For
// the lab, with two hosts: the second publishes, the first lists, each in a process of its own.
#include "BackgroundProcess.h"
#include "Comparison.h"
#include "Peers.h"
#include "QtLister.h"

#include <QCoreApplication>

#include <log4cplus/logger.h>
#include <log4cplus/nullappender.h>

#include <cstdio>
#include <exception>

using namespace bench;
using namespace std::chrono_literals;

namespace {

constexpr auto Limit = 30s;

/// Ours first, then the bare program.
const std::vector<Implementation> Implementations{
    {"ours", "this library's lister"},
    {"bare", "libavahi-client in Qt's event loop"},
};
constexpr std::size_t BarePrograms = 1;
const Implementation& CacheWarmer = Implementations.back();

[[noreturn]] void work(int argc, char** argv, const std::string& method, unsigned instances)
{
    QCoreApplication application(argc, argv);
    // Log lines are made, as by a device in operation, and go nowhere.
    log4cplus::Logger::getRoot().addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender));
    finish(method == "ours" ? listByLister(instances, Limit) : listBare(instances, Limit));
}

bool compare(const std::string& program, unsigned instances)
{
    const BackgroundProcess publisher(program, "hostb", "publish", instances);
    const BackgroundProcess browser(program, "hosta", "browse", instances);
    return print(measure(program, Implementations, CacheWarmer, instances), BarePrograms, instances,
                 "another process browses, too");
}

int usage()
{
    std::fputs("Usage: bench-lister [INSTANCES...]   as './run bench lister [INSTANCES...]'\n", stderr);
    return 2;
}

} // namespace

int main(int argc, char** argv)
try {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (const auto status = runPeer(arguments))
        return *status;
    if (arguments.size() == 3 && arguments[0] == "work")
        work(argc, argv, arguments[1], static_cast<unsigned>(std::stoul(arguments[2])));

    const std::vector<unsigned> sizes =
        arguments.empty() ? std::vector<unsigned>{1, 10, 100, 500, 1000} : readSizes(arguments);
    if (sizes.empty())
        return usage();
    bool complete = true;
    for (const unsigned size : sizes)
        complete = compare(argv[0], size) && complete;
    return complete ? 0 : 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "bench-lister: %s\n", error.what());
    return 1;
}
