// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_EVENTDESCRIPTOR_H
#define VESK_DNSSD_EVENTDESCRIPTOR_H

#include "FileDescriptor.h"

namespace vesk::dnssd {

/// A descriptor that is readable from set() to clear(). It is closed in programs that the process executes.
class EventDescriptor
{
public:
    /// Throws std::system_error when the process has no descriptor left.
    EventDescriptor();

    /// -1 once it is closed.
    int get() const { return m_descriptor.get(); }
    void set() const;
    void clear() const;
    void close() { m_descriptor.close(); }

private:
    FileDescriptor m_descriptor;
};

} // namespace vesk::dnssd

#endif
