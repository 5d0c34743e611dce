// SPDX-License-Identifier: MIT
#include "Api.h"
#include "Lister.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <vector>

namespace bench {

namespace {

constexpr int OperationsOfAKind = 200;

void runLabCommand(const std::string& command)
{
    if (std::system(command.c_str()) != 0)
        throw std::runtime_error('\'' + command + "' failed; run this as './run bench dnssd'");
}

/// Starts many operations of every kind, each for another name, and keeps them while it lives.
class StartTimer
{
public:
    explicit StartTimer(const Api& api)
        : m_api(api)
    {
        for (int i = 0; i < OperationsOfAKind; ++i)
            startOneOfEach(std::to_string(i));
    }
    ~StartTimer()
    {
        for (const DNSServiceRef handle : m_handles)
            m_api.release(handle);
    }
    StartTimer(const StartTimer&) = delete;
    StartTimer& operator=(const StartTimer&) = delete;

    /// In microseconds, shortest first.
    std::vector<double> times() const
    {
        std::vector<double> sorted = m_times;
        std::sort(sorted.begin(), sorted.end());
        return sorted;
    }

private:
    void startOneOfEach(const std::string& number)
    {
        const std::string name = "Service " + number;
        const std::string fullName = "Service\\032" + number + "._start._tcp.local.";
        const std::string host = "host" + number + ".local.";
        const std::string type = "_start" + number + "._tcp";
        start([&](DNSServiceRef* handle) {
            return m_api.browse(
                handle, 0, 0, type.c_str(), nullptr, [](auto...) {}, nullptr);
        });
        start([&](DNSServiceRef* handle) {
            return m_api.resolve(
                handle, 0, 0, name.c_str(), "_start._tcp", "local.", [](auto...) {}, nullptr);
        });
        start([&](DNSServiceRef* handle) {
            return m_api.addresses(
                handle, 0, 0, 0, host.c_str(), [](auto...) {}, nullptr);
        });
        start([&](DNSServiceRef* handle) {
            return m_api.query(
                handle, kDNSServiceFlagsForceMulticast, 0, fullName.c_str(), kDNSServiceType_TXT,
                kDNSServiceClass_IN, [](auto...) {}, nullptr);
        });
        start([&](DNSServiceRef* handle) {
            return m_api.publish(
                handle, 0, 0, name.c_str(), "_start._tcp", nullptr, nullptr, 80, 0, nullptr, [](auto...) {},
                nullptr);
        });
    }

    void start(const std::function<DNSServiceErrorType(DNSServiceRef*)>& call)
    {
        DNSServiceRef handle = nullptr;
        const auto begin = std::chrono::steady_clock::now();
        const DNSServiceErrorType error = call(&handle);
        const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - begin;
        if (error != kDNSServiceErr_NoError)
            throw std::runtime_error("an operation could not be started: " + std::to_string(error));
        m_times.push_back(time.count());
        m_handles.push_back(handle);
    }

    const Api& m_api;
    std::vector<DNSServiceRef> m_handles;
    std::vector<double> m_times;
};

void print(const char* daemon, const std::vector<double>& times)
{
    const auto rank = [&](double share) { return times[std::size_t(share * double(times.size() - 1))]; };
    std::printf("%-38s %9.0f %9.0f %9.0f\n", daemon, rank(0.5), rank(0.99), times.back());
    std::fflush(stdout);
}

} // namespace

void timeStartCalls(const std::string& library)
{
    const Api api(library);
    std::printf("\n%d start calls of five kinds, in microseconds\n%-38s %9s %9s %9s\n", 5 * OperationsOfAKind,
                "the daemon", "median", "99%", "longest");
    std::fflush(stdout);
    print("answers", StartTimer(api).times());
    runLabCommand("lab-daemon hosta stop");
    print("is stopped (SIGSTOP)", StartTimer(api).times());
    runLabCommand("lab-daemon hosta cont");
    runLabCommand("lab-daemon hosta kill");
    print("is gone", StartTimer(api).times());
    runLabCommand("lab-daemon hosta start");
    print("is just back", StartTimer(api).times());
}

} // namespace bench
