// SPDX-License-Identifier: MIT
#include "IoWatch.h"

#include "EventLoop.h"

namespace vesk::dnssd {

IoWatch::IoWatch(EventLoop& loop, int descriptor, uint32_t events, Callback callback)
    : m_poller(loop.poller())
    , m_descriptor(descriptor)
    , m_events(events)
    , m_callback(std::move(callback))
{
    m_poller.add(*this);
}

IoWatch::~IoWatch()
{
    m_poller.remove(*this);
}

void IoWatch::setEvents(uint32_t events)
{
    if (events == m_events)
        return;
    m_events = events;
    m_poller.eventsChanged(*this);
}

} // namespace vesk::dnssd
