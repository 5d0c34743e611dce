// SPDX-License-Identifier: MIT
#include "DnssdLab.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>

namespace vesk::dnssd::tests {

namespace {

double processorSeconds()
{
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

} // namespace

void run(const std::string& command)
{
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

std::string outputOf(const std::string& command)
{
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string output;
    std::array<char, 4096> part;
    while (const std::size_t size = pipe ? fread(part.data(), 1, part.size(), pipe.get()) : 0)
        output.append(part.data(), size);
    return output;
}

Beside::Beside(const std::string& command)
    : m_process(fork())
{
    if (m_process != 0)
        return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    setpgid(0, 0);
    execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
    _exit(127);
}

Beside::~Beside()
{
    end();
}

void Beside::end()
{
    if (m_process <= 0)
        return;
    kill(-m_process, SIGTERM);
    kill(m_process, SIGTERM); // it may not have made its group yet
    waitpid(m_process, nullptr, 0);
    m_process = -1;
}

Listener::Listener(const std::string& addresses)
    : m_file(std::string(std::getenv("LAB_DIR")) + "/heard")
    , m_process("exec lab-on hostb '" DNSSD_LISTENER "' lan1 " + addresses + " >" + m_file)
{
}

bool Listener::isReady() const
{
    return waitUntil({}, [this] { return count("listening") == 1; });
}

std::size_t Listener::count(const std::string& line) const
{
    const auto all = lines();
    return static_cast<std::size_t>(std::count(all.begin(), all.end(), line));
}

std::vector<std::string> Listener::lines() const
{
    std::ifstream file(m_file);
    std::vector<std::string> all;
    for (std::string line; std::getline(file, line);)
        all.push_back(line);
    return all;
}

std::string publishOnHostb(const std::string& name, const std::string& txt)
{
    return "exec lab-on hostb avahi-publish -s '" + name + "' _demo._tcp 8080 " + txt + " >/dev/null 2>&1";
}

std::string craftOnHostb(const std::string& orders)
{
    return "exec lab-on hostb '" DNSSD_CRAFTED_PEER "' 10.99.1.2 " + orders;
}

std::string item(const std::string& text)
{
    return static_cast<char>(text.size()) + text;
}

bool isSeenFrom(const std::string& host, const std::string& type, const std::string& text,
                const std::vector<Handle*>& handles)
{
    const std::string command = "lab-on " + host + " timeout 5 avahi-browse -ptr " + type + " 2>/dev/null";
    return waitUntil(handles, [&] { return outputOf(command).find(text) != std::string::npos; });
}

Idle measureIdle(const std::vector<Handle*>& handles, std::chrono::milliseconds time)
{
    std::vector<pollfd> descriptors;
    for (const Handle* handle : handles)
        descriptors.push_back({DNSServiceRefSockFD(handle->ref()), POLLIN, 0});
    const double before = processorSeconds();
    const int readable = poll(descriptors.data(), descriptors.size(), static_cast<int>(time.count()));
    const double spent = processorSeconds() - before;
    return {readable == 0, spent / (static_cast<double>(time.count()) / 1000)};
}

} // namespace vesk::dnssd::tests
