// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_BACKGROUND_PROCESS_H
#define VESK_BENCH_BACKGROUND_PROCESS_H

#include <string>

namespace bench {

/// A process on one of the lab's hosts that runs its task as long as the object lives.
class BackgroundProcess
{
public:
    /// `task` is "publish" or "browse". Returns when that is done and the daemons are at rest. Throws
    /// std::runtime_error.
    BackgroundProcess(const std::string& program, const char* host, const char* task, unsigned instances);
    ~BackgroundProcess();
    BackgroundProcess(const BackgroundProcess&) = delete;
    BackgroundProcess& operator=(const BackgroundProcess&) = delete;

private:
    void end() const;

    int m_input; ///< the process ends when it is closed
    int m_process;
};

} // namespace bench

#endif
