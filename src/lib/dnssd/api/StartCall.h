// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_STARTCALL_H
#define VESK_DNSSD_STARTCALL_H

#include "Handle.h"

namespace vesk::dnssd {

/**
 * What all start calls have in common, once their strings are known not to be null. `*sdRef` is the
 * connection to share, if the flags say so; it becomes the handle of what is started, and null until then.
 */
class StartCall
{
public:
    StartCall(DNSServiceRef* sdRef, DNSServiceFlags flags)
        : m_result(*sdRef)
        , m_isShared((flags & kDNSServiceFlagsShareConnection) != 0)
        , m_connection(m_isShared ? *sdRef : nullptr)
    {
        m_result = nullptr;
    }

    /// Why nothing can be started, whatever the other arguments are.
    DNSServiceErrorType error() const
    {
        if (!m_isShared)
            return kDNSServiceErr_NoError;
        if (!m_connection)
            return kDNSServiceErr_BadParam;
        const bool isConnection = m_connection->kind == _DNSServiceRef_t::Kind::Connection;
        return isConnection && !m_connection->isInherited() ? kDNSServiceErr_NoError
                                                            : kDNSServiceErr_BadReference;
    }

    bool isShared() const { return m_isShared; }

    /// Makes a handle for the operation that `make(replies, handle)` gives, and starts it.
    template <typename Make>
    DNSServiceErrorType start(Make make)
    {
        auto handle = m_connection ? std::make_unique<_DNSServiceRef_t>(*m_connection)
                                   : std::make_unique<_DNSServiceRef_t>();
        DNSServiceRef started = handle.get();
        handle->running.start(make(handle->running.replies(), started));
        if (m_connection)
            m_connection->operations.emplace(started, std::move(handle));
        else
            static_cast<void>(handle.release()); // the application's now
        m_result = started;
        return kDNSServiceErr_NoError;
    }

    /// Starts an operation that is never answered.
    DNSServiceErrorType startSilent()
    {
        return start([](auto replies, DNSServiceRef) { return std::make_shared<SilentOperation>(replies); });
    }

private:
    DNSServiceRef& m_result;
    bool m_isShared;
    DNSServiceRef m_connection;
};

} // namespace vesk::dnssd

#endif
