// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_POLLADAPTER_H
#define VESK_DNSSD_POLLADAPTER_H

#include <avahi-common/watch.h>

#include <functional>

namespace vesk::dnssd {

class EventLoop;

/// Puts libavahi's descriptors and timeouts into the event loop.
class PollAdapter
{
public:
    /// Called before libavahi is told that there is something to be read: false keeps it from it this time.
    using Admit = std::function<bool(int descriptor)>;

    explicit PollAdapter(EventLoop& loop, Admit admit = nullptr);
    PollAdapter(const PollAdapter&) = delete;
    PollAdapter& operator=(const PollAdapter&) = delete;

    const AvahiPoll* api() const { return &m_api; }

    EventLoop& loop() const { return m_loop; }
    bool admits(int descriptor) const { return !m_admit || m_admit(descriptor); }

private:
    EventLoop& m_loop;
    Admit m_admit;
    AvahiPoll m_api{};
};

} // namespace vesk::dnssd

#endif
