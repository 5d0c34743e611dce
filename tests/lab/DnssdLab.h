// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_DNSSDLAB_H
#define VESK_TESTS_DNSSDLAB_H

#include "Handles.h"

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace vesk::dnssd::tests {

/// The interfaces of the test's host.
inline constexpr uint32_t Loopback = 1;
inline constexpr uint32_t Lan1 = 11;
inline constexpr uint32_t Lan2 = 12;

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

/// The command that publishes a service of _demo._tcp on the other host.
std::string publishOnHostb(const std::string& name, const std::string& txt = "");

/// The command by which the other host's place is taken by a peer that sends what it is told to; its daemon
/// has to be dead. tests/lab/dnssd_crafted_peer lists the orders.
std::string craftOnHostb(const std::string& orders);

/// The queries that hostb hears on its first link, as tests/lab/dnssd_listener writes them; with addresses,
/// the records in what it hears from those.
class Listener
{
public:
    explicit Listener(const std::string& addresses = "");
    bool isReady() const;
    std::size_t count(const std::string& line) const;
    std::vector<std::string> lines() const;

private:
    std::string m_file;
    Beside m_process;
};

/// An item of a TXT record.
std::string item(const std::string& text);

/// Whether another host sees the service, by a tool that knows nothing of this library, with that text in the
/// line of what it is resolved to. Replies that come meanwhile are handed over.
bool isSeenFrom(const std::string& host, const std::string& type, const std::string& text,
                const std::vector<Handle*>& handles = {});

/// Whether no reply comes for that time, and how much of it the process computed (1 is a whole processor).
struct Idle
{
    bool noDescriptorWasReadable;
    double load;
};
Idle measureIdle(const std::vector<Handle*>& handles, std::chrono::milliseconds time);

} // namespace vesk::dnssd::tests

#endif
