// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_AVAHIOBJECT_H
#define VESK_DNSSD_AVAHIOBJECT_H

#include "AvahiClientPool.h"
#include "Backend.h"

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

/// Hears what calls of the daemon return, and gives up all connections when it cannot be reached any more.
class AvahiErrorListener
{
public:
    virtual void returned(int error) = 0;
    /// The same for whoever is called by libavahi: it takes effect a turn later.
    virtual void returnedInCallback(int error) = 0;

protected:
    ~AvahiErrorListener() = default;
};

/// An object of the daemon's that is released with this one.
template <typename Object, int (*Free)(Object*)>
class AvahiObject
{
public:
    explicit AvahiObject(AvahiErrorListener& errors)
        : m_errors(errors)
    {
    }
    ~AvahiObject() { m_errors.returned(release()); }
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
    AvahiErrorListener& m_errors;
    std::shared_ptr<AvahiConnection> m_connection;
    Object* m_object = nullptr;
};

} // namespace vesk::dnssd

#endif
