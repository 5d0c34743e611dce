// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_COREOBJECT_H
#define VESK_DNSSD_COREOBJECT_H

#include "CoreServer.h"

#include <avahi-common/error.h>

#include <utility>

namespace vesk::dnssd {

/// An object of a server's: a record browser, a service resolver or an entry group. It ends with this, or
/// with the server before. None calls back once it has been released.
template <typename Object, void (*Free)(Object*)>
class CoreObject
{
public:
    explicit CoreObject(std::shared_ptr<CoreServer> server)
        : m_server(std::move(server))
    {
    }
    ~CoreObject() { release(); }
    CoreObject(const CoreObject&) = delete;
    CoreObject& operator=(const CoreObject&) = delete;

    /// Returns libavahi's error when there is no object.
    int adopt(Object* object)
    {
        m_object = object;
        return object ? AVAHI_OK : avahi_server_errno(m_server->get());
    }

    void release()
    {
        Object* object = get();
        m_object = nullptr;
        if (object)
            Free(object);
    }

    /// Null once it is released or the server has ended.
    Object* get() const { return m_server->get() ? m_object : nullptr; }
    const CoreServer& server() const { return *m_server; }

private:
    std::shared_ptr<CoreServer> m_server;
    Object* m_object = nullptr;
};

} // namespace vesk::dnssd

#endif
