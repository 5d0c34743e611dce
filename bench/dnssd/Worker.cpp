// SPDX-License-Identifier: MIT
#include "Worker.h"

#include "Lister.h"
#include "Quiet.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace bench {

namespace {

using namespace std::chrono_literals;

constexpr auto Limit = 30s;

Outcome list(const std::string& way, unsigned instances)
{
    if (way == "keep")
        return listNatively(Native::KeepResolvers, instances, Limit);
    if (way == "release")
        return listNatively(Native::ReleaseResolvers, instances, Limit);
    if (way == "records")
        return listNatively(Native::KeepRecords, instances, Limit);
    return listByApi(way == "ours" ? VESK_DNSSD_LIBRARY : "libdns_sd.so.1", instances, Limit);
}

constexpr int ReadEnd = 0;
constexpr int WriteEnd = 1;

} // namespace

std::optional<Result> run(const std::string& program, const std::string& way, unsigned instances)
{
    const auto begin = std::chrono::steady_clock::now();
    const std::string command =
        "AVAHI_COMPAT_NOWARN=1 " + program + " work " + way + ' ' + std::to_string(instances);
    const std::unique_ptr<FILE, decltype(&pclose)> output(popen(command.c_str(), "r"), pclose);
    Result result;
    if (!output || std::fscanf(output.get(), "%u %lf %u %u %lu", &result.complete, &result.milliseconds,
                               &result.threads, &result.sockets, &result.kilobytes) != 5) {
        std::fprintf(stderr, "bench-dnssd: '%s' could not run; left out\n", way.c_str());
        return std::nullopt;
    }
    waitUntilQuiet();
    waitUntilForgotten(begin);
    return result;
}

int work(const std::string& way, unsigned instances)
{
    const Outcome outcome = list(way, instances);
    std::printf("%u %f %u %u %lu\n", outcome.complete, outcome.time.count(), outcome.usage.threads,
                outcome.usage.sockets, outcome.usage.kilobytes);
    std::fflush(stdout);
    _exit(0); // thousands of objects left to the system
}

Companion::Companion(const std::string& program, const char* host, const char* task, unsigned instances)
{
    waitUntilQuiet();
    int input[2];
    int output[2];
    if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    m_input = input[WriteEnd];
    m_process = fork();
    if (m_process == 0) {
        dup2(input[ReadEnd], STDIN_FILENO);
        dup2(output[WriteEnd], STDOUT_FILENO);
        execlp("lab-on", "lab-on", host, program.c_str(), task, std::to_string(instances).c_str(), nullptr);
        _exit(127);
    }
    close(input[ReadEnd]);
    close(output[WriteEnd]);
    pollfd ready{output[ReadEnd], POLLIN, 0};
    char first = 0;
    const bool isReady = poll(&ready, 1, 180000) == 1 && read(output[ReadEnd], &first, 1) == 1;
    close(output[ReadEnd]);
    if (!isReady) {
        end();
        throw std::runtime_error(std::string("'") + task + "' does not work on host " + host +
                                 "; run this as './run bench dnssd'");
    }
    waitUntilQuiet();
}

Companion::~Companion()
{
    end();
}

void Companion::end() const
{
    close(m_input);
    waitpid(m_process, nullptr, 0);
}

} // namespace bench
