// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_IOWATCH_H
#define VESK_DNSSD_IOWATCH_H

#include "Poller.h"

#include <functional>

namespace vesk::dnssd {

class EventLoop;

/// Calls its function whenever something has happened to a descriptor. The descriptor stays the caller's, and
/// is open for as long as it is watched.
class IoWatch final : private Poller::Watch
{
public:
    using Callback = std::function<void(uint32_t events)>;

    /// `events`: EPOLLIN, EPOLLOUT, both or none; EPOLLERR and EPOLLHUP come along with either.
    IoWatch(EventLoop& loop, int descriptor, uint32_t events, Callback callback);
    ~IoWatch();
    IoWatch(const IoWatch&) = delete;
    IoWatch& operator=(const IoWatch&) = delete;

    int descriptor() const override { return m_descriptor; }
    uint32_t events() const override { return m_events; }
    void setEvents(uint32_t events);

private:
    void notify(uint32_t events) override { m_callback(events); } // may end this watch

    Poller& m_poller;
    int m_descriptor;
    uint32_t m_events;
    Callback m_callback;
};

} // namespace vesk::dnssd

#endif
