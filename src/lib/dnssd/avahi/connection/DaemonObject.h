// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_DAEMONOBJECT_H
#define VESK_DNSSD_DAEMONOBJECT_H

#include "DaemonConnections.h"
#include "ReleaseQueue.h"

#include <memory>
#include <utility>

namespace vesk::dnssd {

/**
 * An object of the daemon's: a record browser, a service resolver or an entry group, on behalf of an owner
 * that its callbacks are for. Releasing it, at the latest in the destructor, silences it at once; the daemon
 * hears of that a round of the loop later, and withdraws what an entry group had published with a goodbye.
 */
template <typename Object, int (*Free)(Object*), typename Owner>
class DaemonObject
{
public:
    DaemonObject(ReleaseQueue& releases, Owner& owner)
        : m_releases(releases)
    {
        m_entry.push_back(std::make_unique<Held>());
        held().owner = &owner;
    }
    ~DaemonObject() { release(); }
    DaemonObject(const DaemonObject&) = delete;
    DaemonObject& operator=(const DaemonObject&) = delete;

    /// What libavahi is to call back with.
    void* context() const { return &held(); }

    /// The owner that a callback is for; null once the object is released.
    static Owner* ownerOf(void* context) { return static_cast<Held*>(context)->owner; }

    /// Returns libavahi's error.
    int adopt(DaemonConnections::Made<Object> made)
    {
        held().connection = std::move(made.connection);
        held().object = made.object;
        return made.error;
    }

    void release()
    {
        if (m_entry.empty())
            return;
        held().owner = nullptr;
        if (held().get())
            m_releases.add(std::move(m_entry));
        m_entry.clear();
    }

    /// Null once it is released or the connection is broken.
    Object* get() const { return m_entry.empty() ? nullptr : held().get(); }
    AvahiClient* client() const { return held().connection->client(); }

private:
    /// Outlives its owner until the daemon has released the object.
    struct Held final : ReleaseQueue::Entry
    {
        Owner* owner = nullptr;
        std::shared_ptr<DaemonConnection> connection;
        Object* object = nullptr;

        Object* get() const { return connection && connection->client() ? object : nullptr; }
        int release() override
        {
            Object* released = get();
            if (!released)
                return AVAHI_OK;
            connection->setFull(false);
            return Free(released);
        }
    };

    Held& held() const { return static_cast<Held&>(*m_entry.front()); }

    ReleaseQueue& m_releases;
    ReleaseQueue::PreparedEntry m_entry; ///< empty once it is released
};

} // namespace vesk::dnssd

#endif
