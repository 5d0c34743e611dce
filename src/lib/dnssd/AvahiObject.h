// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_AVAHIOBJECT_H
#define VESK_DNSSD_AVAHIOBJECT_H

#include "AvahiBackend.h"

#include <avahi-common/address.h>
#include <avahi-common/error.h>

#include <memory>
#include <utility>

namespace vesk::dnssd {

inline AvahiIfIndex daemonIndex(uint32_t interface)
{
    return interface == 0 ? AVAHI_IF_UNSPEC : static_cast<AvahiIfIndex>(interface);
}

inline AvahiProtocol daemonProtocol(std::optional<Transport> transport)
{
    if (!transport)
        return AVAHI_PROTO_UNSPEC;
    return *transport == Transport::IPv4 ? AVAHI_PROTO_INET : AVAHI_PROTO_INET6;
}

/// An object of the daemon's that is released with this one.
template <typename Object, int (*Free)(Object*)>
class AvahiObject
{
public:
    explicit AvahiObject(AvahiBackend& backend)
        : m_backend(backend)
    {
    }
    ~AvahiObject() { m_backend.loseOn(release()); }
    AvahiObject(const AvahiObject&) = delete;
    AvahiObject& operator=(const AvahiObject&) = delete;

    void set(AvahiClientPool::Made<Object> made)
    {
        m_connection = std::move(made.connection);
        m_object = made.object;
    }

    /// Returns the daemon's error.
    int release()
    {
        Object* object = get();
        m_object = nullptr;
        if (!object)
            return AVAHI_OK;
        m_connection->setFull(false);
        return Free(object);
    }

    /// Null once the connection is broken.
    Object* get() const { return m_connection && m_connection->client() ? m_object : nullptr; }
    AvahiClient* client() const { return m_connection->client(); }

private:
    AvahiBackend& m_backend;
    std::shared_ptr<AvahiConnection> m_connection;
    Object* m_object = nullptr;
};

} // namespace vesk::dnssd

#endif
