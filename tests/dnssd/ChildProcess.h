// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_CHILDPROCESS_H
#define VESK_TESTS_CHILDPROCESS_H

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>

#include <exception>
#include <vector>

namespace vesk::dnssd::tests {

/// Runs a body in a forked process, so that what it does to its process affects no other test. Returns what
/// the body returns; false when it did not end in an orderly way.
template <typename Body>
bool succeedsInChild(Body body)
{
    const pid_t child = fork();
    if (child == 0) {
        bool succeeds = false;
        try {
            succeeds = body();
        } catch (const std::exception&) {
        }
        _exit(succeeds ? 0 : 1);
    }
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// From now on the process can open no more than that many descriptors.
inline void limitDescriptors(rlim_t limit)
{
    rlimit limits{};
    getrlimit(RLIMIT_NOFILE, &limits);
    limits.rlim_cur = limit;
    setrlimit(RLIMIT_NOFILE, &limits);
}

/// The undefined-behaviour sanitizer, which comes with this one, looks at objects by way of a pipe.
#ifdef __SANITIZE_ADDRESS__
inline constexpr bool CanExhaustDescriptors = false;
#else
inline constexpr bool CanExhaustDescriptors = true;
#endif
inline constexpr char WhyNotExhausted[] = "the sanitizers need descriptors themselves";

/// Takes all descriptors but that many; they stay taken.
inline void exhaustDescriptors(unsigned left = 0)
{
    limitDescriptors(64);
    std::vector<int> taken;
    for (int descriptor = dup(STDIN_FILENO); descriptor >= 0; descriptor = dup(STDIN_FILENO))
        taken.push_back(descriptor);
    for (; left > 0 && !taken.empty(); --left, taken.pop_back())
        close(taken.back());
}

} // namespace vesk::dnssd::tests

#endif
