// SPDX-License-Identifier: MIT
#include "Poller.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace vesk::dnssd {

Poller::Poller()
    : m_epoll(epoll_create1(EPOLL_CLOEXEC))
{
    if (!m_epoll.isValid())
        throw std::system_error(errno, std::generic_category(), "epoll");
}

void Poller::add(Watch& watch)
{
    m_watched[watch.descriptor()].watches.push_back(&watch);
    update(watch.descriptor());
}

void Poller::remove(Watch& watch)
{
    auto& watches = m_watched.at(watch.descriptor()).watches;
    watches.erase(std::find(watches.begin(), watches.end(), &watch));
    update(watch.descriptor());
}

void Poller::eventsChanged(const Watch& watch)
{
    update(watch.descriptor());
}

void Poller::update(int descriptor)
{
    const auto found = m_watched.find(descriptor);
    Watched& watched = found->second;
    uint32_t events = 0;
    for (const Watch* watch : watched.watches)
        events |= watch->events();

    // A descriptor without events is taken out: the system would report its end over and over.
    epoll_event request{};
    request.events = events;
    request.data.fd = descriptor;
    if (events != watched.events) {
        const int verb = events == 0 ? EPOLL_CTL_DEL : watched.events == 0 ? EPOLL_CTL_ADD : EPOLL_CTL_MOD;
        epoll_ctl(m_epoll.get(), verb, descriptor, &request);
        watched.events = events;
    }
    if (watched.watches.empty())
        m_watched.erase(found);
}

bool Poller::wait(int milliseconds)
{
    m_readyCount = epoll_wait(m_epoll.get(), m_ready.data(), static_cast<int>(m_ready.size()), milliseconds);
    return m_readyCount >= 0 || errno == EINTR;
}

int Poller::notifyReady()
{
    int notified = 0;
    for (int i = 0; i < m_readyCount; ++i) {
        const epoll_event& ready = m_ready[static_cast<std::size_t>(i)];
        notified += notify(ready.data.fd, ready.events);
    }
    return notified;
}

int Poller::notify(int descriptor, uint32_t events)
{
    const auto isThere = [&](Watch* watch) {
        const auto found = m_watched.find(descriptor);
        return found != m_watched.end() &&
               std::count(found->second.watches.begin(), found->second.watches.end(), watch) > 0;
    };
    const auto found = m_watched.find(descriptor);
    if (found == m_watched.end())
        return 0;
    int notified = 0;
    const auto watches = found->second.watches; // a callback may add and remove watches
    for (Watch* watch : watches) {
        if (!isThere(watch))
            continue;
        const uint32_t wanted = events & (watch->events() | EPOLLERR | EPOLLHUP);
        if (watch->events() == 0 || wanted == 0)
            continue;
        watch->notify(wanted);
        ++notified;
    }
    return notified;
}

} // namespace vesk::dnssd
