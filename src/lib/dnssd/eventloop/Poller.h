// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_POLLER_H
#define VESK_DNSSD_POLLER_H

#include "FileDescriptor.h"

#include <sys/epoll.h>

#include <array>
#include <cstdint>
#include <map>
#include <vector>

namespace vesk::dnssd {

/**
 * Waits for the descriptors of all watches. epoll rather than poll(2): poll fails once RLIMIT_NOFILE is
 * lowered below the number of descriptors, as programs do that lock themselves in.
 */
class Poller
{
public:
    class Watch
    {
    public:
        virtual int descriptor() const = 0;
        /// EPOLLIN, EPOLLOUT, both or none.
        virtual uint32_t events() const = 0;
        virtual void notify(uint32_t events) = 0;

    protected:
        ~Watch() = default;
    };

    /// Throws std::system_error when the process has no descriptor left.
    Poller();

    void add(Watch& watch);
    void remove(Watch& watch);
    void eventsChanged(const Watch& watch);

    /// Waits until a descriptor is ready, for at most that many milliseconds; -1: as long as it takes.
    /// False: the system cannot wait for them any more.
    bool wait(int milliseconds);

    /// Calls the watches of the descriptors that wait() found ready. Returns how many.
    int notifyReady();

private:
    /// libdbus watches a socket twice, for reading and for writing; the system knows each descriptor once.
    struct Watched
    {
        std::vector<Watch*> watches;
        uint32_t events = 0;
    };

    void update(int descriptor);
    int notify(int descriptor, uint32_t events);

    FileDescriptor m_epoll;
    std::array<epoll_event, 16> m_ready{};
    int m_readyCount = 0;
    std::map<int, Watched> m_watched;
};

} // namespace vesk::dnssd

#endif
