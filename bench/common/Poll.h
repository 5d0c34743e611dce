// SPDX-License-Identifier: MIT
#ifndef VESK_BENCH_POLL_H
#define VESK_BENCH_POLL_H

#include <avahi-client/client.h>
#include <avahi-common/simple-watch.h>

#include <chrono>
#include <memory>
#include <stdexcept>

namespace bench {

/// The event loop of a bare libavahi-client program.
class Poll
{
public:
    Poll()
        : m_poll(avahi_simple_poll_new(), avahi_simple_poll_free)
    {
    }

    const AvahiPoll* api() const { return avahi_simple_poll_get(m_poll.get()); }

    /// Runs until `done()`, at most until the deadline.
    template <typename Done>
    void runUntil(std::chrono::steady_clock::time_point deadline, Done done)
    {
        while (!done() && std::chrono::steady_clock::now() < deadline)
            avahi_simple_poll_iterate(m_poll.get(), 20);
    }

private:
    std::unique_ptr<AvahiSimplePoll, decltype(&avahi_simple_poll_free)> m_poll;
};

/// A connection; more of them when the daemon takes no more objects on one.
using Client = std::unique_ptr<AvahiClient, decltype(&avahi_client_free)>;

inline Client connect(const Poll& poll)
{
    const auto ignore = [](AvahiClient*, AvahiClientState, void*) {};
    Client client(avahi_client_new(poll.api(), AvahiClientFlags(0), ignore, nullptr, nullptr),
                  avahi_client_free);
    if (!client)
        throw std::runtime_error("no mDNS daemon");
    return client;
}

} // namespace bench

#endif
