// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_COMPANION_H
#define VESK_BENCH_COMPANION_H

#include <string>

namespace bench {

/// A process on one of the lab's hosts that does its task as long as the object lives.
class Companion
{
public:
    /// `task` is "publish" or "browse". Returns when that is done and the daemons are at rest. Throws
    /// std::runtime_error.
    Companion(const std::string& program, const char* host, const char* task, unsigned instances);
    ~Companion();
    Companion(const Companion&) = delete;
    Companion& operator=(const Companion&) = delete;

private:
    void end() const;

    int m_input; ///< the process ends when it is closed
    int m_process;
};

} // namespace bench

#endif
