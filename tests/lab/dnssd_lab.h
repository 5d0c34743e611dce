// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_DNSSD_LAB_H
#define VESK_TESTS_DNSSD_LAB_H

#include "Handles.h"

#include <sys/types.h>

#include <chrono>
#include <string>

namespace vesk::dnssd::tests {

/// Runs a command of the shell; fails the test when it fails.
void run(const std::string& command);

/// What a command of the shell prints.
std::string outputOf(const std::string& command);

/// A command of the shell that runs beside the test and ends with this object.
class Beside
{
public:
    explicit Beside(const std::string& command);
    ~Beside();
    Beside(const Beside&) = delete;
    Beside& operator=(const Beside&) = delete;
    void end();

private:
    pid_t m_process;
};

/// Whether another host sees the service, by a tool that knows nothing of this library, with that text in the
/// line of what it is resolved to. Replies that come meanwhile are handed over.
bool isSeenFrom(const std::string& host, const std::string& type, const std::string& text,
                const std::vector<Handle*>& handles = {});

/// Whether no reply comes for that time, and how much of it the process computed (1 is a whole processor).
struct Quiet
{
    bool noDescriptorWasReadable;
    double load;
};
Quiet watchQuiet(const std::vector<Handle*>& handles, std::chrono::milliseconds time);

} // namespace vesk::dnssd::tests

#endif
