// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_WORKER_H
#define VESK_BENCH_WORKER_H

#include <cstdio>
#include <string>

namespace bench {

struct Result
{
    unsigned complete = 0;
    double milliseconds = 0;
    unsigned threads = 0;
    unsigned sockets = 0;
    unsigned long kilobytes = 0; ///< resident at the end
};

/// Lists in a process of its own, on this host.
Result run(const std::string& program, const std::string& way, unsigned instances);

/// What that process does: lists and prints the result on one line.
int work(const std::string& way, unsigned instances);

/// Services published by the lab's second host, as long as the object lives.
class Publisher
{
public:
    /// Returns when all are published. Throws std::runtime_error.
    Publisher(const std::string& program, unsigned instances);
    ~Publisher();
    Publisher(const Publisher&) = delete;
    Publisher& operator=(const Publisher&) = delete;

private:
    void end() const;

    int m_input; ///< the publisher ends when it is closed
    int m_process;
};

} // namespace bench

#endif
